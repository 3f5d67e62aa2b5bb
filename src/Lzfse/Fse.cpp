#include "Lzfse/Fse.hpp"

#include <algorithm>
#include <bit>

namespace lzfse::fse {

namespace {

/// floor(log2(v)) for v >= 1.
int floorLog2(std::uint32_t v) {
    return static_cast<int>(std::bit_width(v)) - 1;
}

/// Calls fill(state, symbol, nbits, delta) for every decoder state: each symbol owns as many
/// consecutive states as its frequency, and each state reads nbits more bits.
template <typename Fill>
void forEachState(std::span<const std::uint16_t> frequencies, int states, Fill fill) {
    const int log2States = floorLog2(static_cast<std::uint32_t>(states));
    std::size_t state = 0;
    for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
        const int f = frequencies[symbol];
        for (int j = 0; j < f; ++j) {
            const int v = f + j;
            const int nbits = log2States - floorLog2(static_cast<std::uint32_t>(v));
            fill(state++, symbol, nbits, static_cast<std::uint16_t>((v << nbits) - states));
        }
    }
}

} // namespace

bool sumsTo(std::span<const std::uint16_t> frequencies, int states) {
    int sum = 0;
    for (const std::uint16_t f : frequencies)
        sum += f;
    return sum == states;
}

void buildLiteralTable(std::span<const std::uint16_t> frequencies, std::span<LiteralEntry> table) {
    forEachState(frequencies, static_cast<int>(table.size()),
                 [&](std::size_t state, std::size_t symbol, int nbits, std::uint16_t delta) {
                     table[state] = {static_cast<std::uint8_t>(nbits),
                                     static_cast<std::uint8_t>(symbol), delta};
                 });
}

void buildValueTable(std::span<const std::uint16_t> frequencies,
                     std::span<const std::uint8_t> extraBits,
                     std::span<const std::uint32_t> valueBases, std::span<ValueEntry> table) {
    forEachState(frequencies, static_cast<int>(table.size()),
                 [&](std::size_t state, std::size_t symbol, int nbits, std::uint16_t delta) {
                     table[state] = {static_cast<std::uint8_t>(nbits + extraBits[symbol]),
                                     extraBits[symbol], delta, valueBases[symbol]};
                 });
}

void buildEncoderTable(std::span<const std::uint16_t> frequencies, int states,
                       std::span<EncoderEntry> table) {
    const int log2States = floorLog2(static_cast<std::uint32_t>(states));
    int start = 0;
    for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
        const int f = frequencies[symbol];
        if (f == 0) continue;
        const int k = log2States - floorLog2(static_cast<std::uint32_t>(f));
        // X = x + N reads k bits when X >= f << k, i.e. x >= (f << k) - N.
        table[symbol] = {static_cast<std::uint16_t>(k),
                         static_cast<std::uint16_t>((f << k) - states), start - f};
        start += f;
    }
}

void normalize(std::span<const std::uint32_t> counts, int states,
               std::span<std::uint16_t> frequencies) {
    const int log2States = floorLog2(static_cast<std::uint32_t>(states));
    std::uint32_t total = 0;
    for (const std::uint32_t c : counts)
        total += c;
    const std::uint32_t step = total == 0 ? 0 : (1u << 31) / total;

    int sum = 0;
    int largest = 0;
    std::size_t largestSymbol = 0;
    for (std::size_t s = 0; s < counts.size(); ++s) {
        std::uint32_t f = (((counts[s] * step) >> (30 - log2States)) + 1) >> 1;
        if (f == 0 && counts[s] > 0) f = 1;
        frequencies[s] = static_cast<std::uint16_t>(f);
        sum += static_cast<int>(f);
        if (static_cast<int>(f) > largest) {
            largest = static_cast<int>(f);
            largestSymbol = s;
        }
    }

    const int remainder = states - sum;
    if (-remainder < (largest >> 2)) {
        frequencies[largestSymbol] = static_cast<std::uint16_t>(largest + remainder);
        return;
    }
    // Too much handed out: take it back from the larger frequencies first, never below 1.
    int excess = -remainder;
    for (int shift = 3; shift >= 0 && excess > 0; --shift) {
        for (std::size_t s = 0; s < counts.size() && excess > 0; ++s) {
            if (frequencies[s] <= 1) continue;
            const int take = std::min((frequencies[s] - 1) >> shift, excess);
            frequencies[s] = static_cast<std::uint16_t>(frequencies[s] - take);
            excess -= take;
        }
    }
}

} // namespace lzfse::fse
