#include "Lzfse/BlockEncoder.hpp"

#include "Lzfse/BitWriter.hpp"

#include <bit>
#include <cstring>
#include <span>

namespace lzfse {

namespace {

/// Largest payload sizes of a full block, plus the writers' 8 bytes of slack.
constexpr std::size_t maxLiteralPayload = format::maxLiteralCount * 10 / 8 + 16;
constexpr std::size_t maxLmdPayload = 8 + format::maxMatchCount * 54 / 8 + 16;

template <std::size_t N>
constexpr std::array<std::uint8_t, N> symbolTable(std::span<const std::uint32_t> base) {
    std::array<std::uint8_t, N> table{};
    std::size_t symbol = 0;
    for (std::size_t v = 0; v < N; ++v) {
        while (symbol + 1 < base.size() && base[symbol + 1] <= v)
            ++symbol;
        table[v] = static_cast<std::uint8_t>(symbol);
    }
    return table;
}

constexpr auto lSymbolOf = symbolTable<format::maxL + 1>(format::lBase);
constexpr auto mSymbolOf = symbolTable<format::maxM + 1>(format::mBase);

/// D symbols come in groups of four sharing one extra bit count e, with bases
/// 4 (2^e - 1) + j 2^e: so d + 4 = 2^e (4 + j) + extra.
inline std::uint32_t dSymbolOf(std::uint32_t d) {
    const auto e = static_cast<std::uint32_t>(std::bit_width(d + 4) - 3);
    return 4 * e + ((d + 4) >> e) - 4;
}

/// Writes the extra bits of `value` for `symbol`, then the symbol's transition bits.
inline void encodeValue(std::uint32_t value, std::uint32_t symbol,
                        std::span<const std::uint8_t> extraBits,
                        std::span<const std::uint32_t> base, const fse::EncoderEntry* table,
                        int states, std::uint32_t& state, BitWriter& writer) {
    writer.write(value - base[symbol], extraBits[symbol]);
    fse::encode(state, table[symbol], states, writer);
}

} // namespace

void BlockEncoder::encode(PendingBlock& block, std::vector<std::uint8_t>& out) {
    while (block.literalCount % 4 != 0)
        block.literals[block.literalCount++] = 0;
    countSymbols(block);

    BlockHeader& h = header_;
    h.rawSize = static_cast<std::uint32_t>(block.rawSize);
    h.literalCount = static_cast<std::uint32_t>(block.literalCount);
    h.matchCount = static_cast<std::uint32_t>(block.triples.size());
    std::span<std::uint16_t> frequencies(h.frequencies);
    fse::normalize(lCounts_, format::lStates, frequencies.subspan(0, format::lSymbols));
    fse::normalize(mCounts_, format::mStates,
                   frequencies.subspan(format::lSymbols, format::mSymbols));
    fse::normalize(dCounts_, format::dStates,
                   frequencies.subspan(format::lSymbols + format::mSymbols, format::dSymbols));
    fse::normalize(literalCounts_, format::literalStates,
                   frequencies.subspan(format::lSymbols + format::mSymbols + format::dSymbols));
    fse::buildEncoderTable(h.lFrequencies(), format::lStates, lTable_);
    fse::buildEncoderTable(h.mFrequencies(), format::mStates, mTable_);
    fse::buildEncoderTable(h.dFrequencies(), format::dStates, dTable_);
    fse::buildEncoderTable(h.literalFrequencies(), format::literalStates, literalTable_);

    const std::size_t start = out.size();
    const std::size_t headerSize = v2HeaderSize(h);
    out.resize(start + headerSize + maxLiteralPayload + maxLmdPayload);
    std::uint8_t* literalPayload = out.data() + start + headerSize;
    h.literalPayloadSize = static_cast<std::uint32_t>(encodeLiterals(block, literalPayload));
    h.lmdPayloadSize =
        static_cast<std::uint32_t>(encodeTriples(block, literalPayload + h.literalPayloadSize));
    // The header writer stores whole words past its end, so it must not write in place.
    std::array<std::uint8_t, maxV2HeaderSize + 8> headerBytes;
    writeV2Header(h, headerBytes.data());
    std::memcpy(out.data() + start, headerBytes.data(), headerSize);
    out.resize(start + headerSize + h.literalPayloadSize + h.lmdPayloadSize);
}

void BlockEncoder::countSymbols(PendingBlock& block) {
    lCounts_.fill(0);
    mCounts_.fill(0);
    dCounts_.fill(0);
    literalCounts_.fill(0);
    codedD_.resize(block.triples.size());
    std::uint32_t last = 0;
    for (std::size_t i = 0; i < block.triples.size(); ++i) {
        const Triple& t = block.triples[i];
        const std::uint32_t d = t.d == last ? 0 : t.d;
        last = t.d;
        codedD_[i] = d;
        ++lCounts_[lSymbolOf[t.l]];
        ++mCounts_[mSymbolOf[t.m]];
        ++dCounts_[dSymbolOf(d)];
    }
    for (std::size_t i = 0; i < block.literalCount; ++i)
        ++literalCounts_[block.literals[i]];
}

std::size_t BlockEncoder::encodeLiterals(const PendingBlock& block, std::uint8_t* out) {
    BitWriter writer(out);
    std::array<std::uint32_t, 4> states{};
    const fse::EncoderEntry* table = literalTable_.data();
    for (std::size_t i = block.literalCount; i > 0; i -= 4) {
        for (std::size_t lane = 4; lane-- > 0;)
            fse::encode(states[lane], table[block.literals[i - 4 + lane]], format::literalStates,
                        writer);
        writer.flush();
    }
    header_.literalBits = -static_cast<int>(writer.finish());
    for (std::size_t lane = 0; lane < 4; ++lane)
        header_.literalStates[lane] = static_cast<std::uint16_t>(states[lane]);
    return writer.size();
}

std::size_t BlockEncoder::encodeTriples(const PendingBlock& block, std::uint8_t* out) {
    std::memset(out, 0, 8); // lets a decoder load whole words in front of the first bits
    BitWriter writer(out + 8);
    std::uint32_t lState = 0;
    std::uint32_t mState = 0;
    std::uint32_t dState = 0;
    for (std::size_t i = block.triples.size(); i-- > 0;) {
        const Triple& t = block.triples[i];
        const std::uint32_t d = codedD_[i];
        encodeValue(d, dSymbolOf(d), format::dExtraBits, format::dBase, dTable_.data(),
                    format::dStates, dState, writer);
        encodeValue(t.m, mSymbolOf[t.m], format::mExtraBits, format::mBase, mTable_.data(),
                    format::mStates, mState, writer);
        encodeValue(t.l, lSymbolOf[t.l], format::lExtraBits, format::lBase, lTable_.data(),
                    format::lStates, lState, writer);
        writer.flush();
    }
    header_.lmdBits = -static_cast<int>(writer.finish());
    header_.lState = static_cast<std::uint16_t>(lState);
    header_.mState = static_cast<std::uint16_t>(mState);
    header_.dState = static_cast<std::uint16_t>(dState);
    return 8 + writer.size();
}

} // namespace lzfse
