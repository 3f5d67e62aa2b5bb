#include "Lzfse/BlockDecoder.hpp"

#include "Lzfse/BitReader.hpp"

namespace lzfse {

namespace {

/// One decoding step of an L, M or D state: the transition bits come first, then the
/// extra bits of the value.
inline std::uint32_t decodeValue(const fse::ValueEntry* table, std::uint32_t& state,
                                 BitReader& reader) {
    const fse::ValueEntry entry = table[state];
    const auto bits = static_cast<std::uint32_t>(reader.read(entry.totalBits));
    state = entry.base + (bits >> entry.extraBits);
    return entry.valueBase + (bits & ((1u << entry.extraBits) - 1));
}

inline std::uint8_t decodeLiteral(const fse::LiteralEntry* table, std::uint32_t& state,
                                  BitReader& reader) {
    const fse::LiteralEntry entry = table[state];
    state = entry.base + static_cast<std::uint32_t>(reader.read(entry.nbits));
    return entry.symbol;
}

} // namespace

std::expected<std::size_t, Error> BlockDecoder::unpack(const BlockHeader& header,
                                                       std::span<const std::uint8_t> block,
                                                       std::uint64_t written) {
    const std::size_t size =
        header.size + std::size_t{header.literalPayloadSize} + std::size_t{header.lmdPayloadSize};
    if (size > block.size()) return std::unexpected(Error::truncated);

    fse::buildLiteralTable(header.literalFrequencies(), literalTable_);
    fse::buildValueTable(header.lFrequencies(), format::lExtraBits, format::lBase, lTable_);
    fse::buildValueTable(header.mFrequencies(), format::mExtraBits, format::mBase, mTable_);
    fse::buildValueTable(header.dFrequencies(), format::dExtraBits, format::dBase, dTable_);

    // Both payloads follow the header, so the bit readers' loads in front of them stay inside
    // the block.
    const std::uint8_t* literalPayload = block.data() + header.size;
    if (!decodeLiterals(header, literalPayload)) return std::unexpected(Error::badBitStream);
    const auto triples = decodeTriples(header, literalPayload + header.literalPayloadSize, written);
    if (!triples) return std::unexpected(triples.error());
    return size;
}

bool BlockDecoder::decodeLiterals(const BlockHeader& header, const std::uint8_t* payload) {
    BitReader reader;
    if (!reader.start(payload, header.literalPayloadSize, header.literalBits)) return false;
    std::uint32_t s0 = header.literalStates[0];
    std::uint32_t s1 = header.literalStates[1];
    std::uint32_t s2 = header.literalStates[2];
    std::uint32_t s3 = header.literalStates[3];
    const fse::LiteralEntry* table = literalTable_.data();
    std::uint8_t* literal = literals_.data();
    for (std::uint32_t i = 0; i < header.literalCount; i += 4) {
        if (!reader.refill()) return false;
        literal[i] = decodeLiteral(table, s0, reader);
        literal[i + 1] = decodeLiteral(table, s1, reader);
        literal[i + 2] = decodeLiteral(table, s2, reader);
        literal[i + 3] = decodeLiteral(table, s3, reader);
    }
    return reader.position() >= 0;
}

std::expected<void, Error> BlockDecoder::decodeTriples(const BlockHeader& header,
                                                       const std::uint8_t* payload,
                                                       std::uint64_t written) {
    BitReader reader;
    if (!reader.start(payload, header.lmdPayloadSize, header.lmdBits))
        return std::unexpected(Error::badBitStream);
    std::uint32_t lState = header.lState;
    std::uint32_t mState = header.mState;
    std::uint32_t dState = header.dState;
    std::uint32_t previousD = 0; // none yet in this block
    std::uint32_t literalsLeft = header.literalCount;
    std::uint32_t room = header.rawSize; // bytes the block has still to produce
    Triple* triple = triples_.data();

    // Every check apply() would need is made here, so that it can copy without any.
    for (std::uint32_t n = 0; n < header.matchCount; ++n) {
        if (!reader.refill()) return std::unexpected(Error::badBitStream);
        const std::uint32_t l = decodeValue(lTable_.data(), lState, reader);
        const std::uint32_t m = decodeValue(mTable_.data(), mState, reader);
        std::uint32_t d = decodeValue(dTable_.data(), dState, reader);
        if (d == 0) {
            if (previousD == 0) return std::unexpected(Error::badBitStream);
            d = previousD;
        }
        previousD = d;
        if (l > literalsLeft) return std::unexpected(Error::badBitStream);
        if (l + m > room) return std::unexpected(Error::outputOverflow);
        literalsLeft -= l;
        room -= l + m;
        written += l;
        if (d > written) return std::unexpected(Error::badDistance);
        written += m;
        *triple++ = {l, m, d};
    }
    if (reader.position() < 0) return std::unexpected(Error::badBitStream);
    if (room != 0) return std::unexpected(Error::outputUnderflow);
    tripleCount_ = header.matchCount;
    return {};
}

void BlockDecoder::apply(std::uint8_t* dst) const {
    const std::uint8_t* literal = literals_.data();
    for (const Triple& triple : std::span(triples_.data(), tripleCount_)) {
        copyLiterals(dst, literal, triple.literals);
        dst += triple.literals;
        literal += triple.literals;
        copyMatch(dst, triple.distance, triple.match);
        dst += triple.match;
    }
}

} // namespace lzfse
