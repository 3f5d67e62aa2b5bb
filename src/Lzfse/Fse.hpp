#pragma once

// Table-driven asymmetric numeral systems with one contiguous run of states per symbol.

#include <cstdint>
#include <span>

namespace lzfse::fse {

/// Decoding step for a literal state: emit `symbol`, then state = base + read(nbits).
struct LiteralEntry {
    std::uint8_t nbits;
    std::uint8_t symbol;
    std::uint16_t base;
};

/// Decoding step for an L, M or D state: read totalBits bits r; state = base + (r >>
/// extraBits); value = valueBase + (r & mask(extraBits)).
struct ValueEntry {
    std::uint8_t totalBits;
    std::uint8_t extraBits;
    std::uint16_t base;
    std::uint32_t valueBase;
};

/// Encoding step for one symbol from state x: n = k - (x < threshold); write the low n bits
/// of x; the new state is offset + ((x + N) >> n).
struct EncoderEntry {
    std::uint16_t k;
    std::uint16_t threshold;
    std::int32_t offset;
};

/// True when the frequencies add up to exactly `states`.
bool sumsTo(std::span<const std::uint16_t> frequencies, int states);

/// Fills one literal entry per state; the frequencies must sum to table.size().
void buildLiteralTable(std::span<const std::uint16_t> frequencies, std::span<LiteralEntry> table);

/// Fills one value entry per state from the frequencies (summing to table.size()) and the
/// per-symbol extra bit counts and base values.
void buildValueTable(std::span<const std::uint16_t> frequencies,
                     std::span<const std::uint8_t> extraBits,
                     std::span<const std::uint32_t> valueBases, std::span<ValueEntry> table);

/// Fills one encoder entry per symbol with a non-zero frequency.
void buildEncoderTable(std::span<const std::uint16_t> frequencies, int states,
                       std::span<EncoderEntry> table);

/// Scales the counts to frequencies summing to `states`, every counted symbol getting at least
/// 1, with the same integer arithmetic as the reference encoder (so its tables are reproduced).
void normalize(std::span<const std::uint32_t> counts, int states,
               std::span<std::uint16_t> frequencies);

/// Encodes one symbol: writes the transition bits with `write(bits, n)` and updates state.
template <typename Writer>
inline void encode(std::uint32_t& state, const EncoderEntry& entry, int states, Writer& writer) {
    const unsigned n = entry.k - (state < entry.threshold ? 1u : 0u);
    writer.write(state & ((1u << n) - 1), n);
    state = static_cast<std::uint32_t>(
        entry.offset +
        static_cast<std::int32_t>((state + static_cast<std::uint32_t>(states)) >> n));
}

} // namespace lzfse::fse
