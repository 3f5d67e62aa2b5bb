#include "Lzfse/BlockHeader.hpp"

#include "Lzfse/BitWriter.hpp"
#include "Lzfse/Bytes.hpp"
#include "Lzfse/Fse.hpp"

namespace lzfse {

namespace {

std::uint64_t field(std::uint64_t word, unsigned offset, unsigned width) {
    return (word >> offset) & ((std::uint64_t{1} << width) - 1);
}

/// Range checks shared by both header versions.
std::expected<BlockHeader, Error> checked(const BlockHeader& h) {
    using namespace format;
    if (h.literalCount > maxLiteralCount || h.literalCount % 4 != 0 || h.matchCount > maxMatchCount)
        return std::unexpected(Error::badHeader);
    if (h.literalBits < -7 || h.literalBits > 0 || h.lmdBits < -7 || h.lmdBits > 0)
        return std::unexpected(Error::badHeader);
    for (const std::uint16_t state : h.literalStates)
        if (state >= literalStates) return std::unexpected(Error::badHeader);
    if (h.lState >= lStates || h.mState >= mStates || h.dState >= dStates)
        return std::unexpected(Error::badHeader);
    // Each triple produces at most maxM bytes besides its literals.
    if (h.rawSize > std::uint64_t{h.literalCount} + std::uint64_t{h.matchCount} * maxM)
        return std::unexpected(Error::badHeader);
    if (!fse::sumsTo(h.lFrequencies(), lStates) || !fse::sumsTo(h.mFrequencies(), mStates) ||
        !fse::sumsTo(h.dFrequencies(), dStates) ||
        !fse::sumsTo(h.literalFrequencies(), literalStates))
        return std::unexpected(Error::badTable);
    return h;
}

/// Length in bits of the code word for a frequency value.
unsigned codeLength(unsigned value) {
    if (value < 2) return 2;
    if (value < 4) return 3;
    if (value < 8) return 5;
    if (value < 24) return 8;
    return 14;
}

std::uint32_t codeWord(unsigned value) {
    if (value < 2) return value << 1;
    if (value < 4) return ((value - 2) << 2) | 0b01;
    if (value < 8) return ((value - 4) << 3) | 0b011;
    if (value < 24) return ((value - 8) << 4) | 0b0111;
    return ((value - 24) << 4) | 0b1111;
}

/// Decodes the 360 packed frequencies, which must end in the last byte of `bytes`.
bool unpackFrequencies(std::span<const std::uint8_t> bytes, BlockHeader& h) {
    const std::size_t totalBits = bytes.size() * 8;
    std::size_t position = 0;
    for (std::uint16_t& frequency : h.frequencies) {
        // Gather the next 14 bits (fewer at the end, zero-filled).
        std::uint32_t w = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const std::size_t byte = position / 8 + i;
            if (byte < bytes.size()) w |= std::uint32_t{bytes[byte]} << (8 * i);
        }
        w >>= position % 8;
        unsigned length;
        unsigned value;
        if ((w & 1) == 0) {
            length = 2, value = (w >> 1) & 1;
        } else if ((w & 2) == 0) {
            length = 3, value = 2 + ((w >> 2) & 1);
        } else if ((w & 4) == 0) {
            length = 5, value = 4 + ((w >> 3) & 3);
        } else if ((w & 8) == 0) {
            length = 8, value = 8 + ((w >> 4) & 15);
        } else {
            length = 14, value = 24 + ((w >> 4) & 1023);
        }
        position += length;
        if (position > totalBits) return false;
        frequency = static_cast<std::uint16_t>(value);
    }
    return (position + 7) / 8 == bytes.size();
}

} // namespace

std::expected<BlockHeader, Error> readV1Header(std::span<const std::uint8_t> block) {
    if (block.size() < format::v1HeaderSize) return std::unexpected(Error::truncated);
    const std::uint8_t* p = block.data();
    BlockHeader h;
    h.rawSize = load32(p + 4);
    h.literalCount = load32(p + 12);
    h.matchCount = load32(p + 16);
    h.literalPayloadSize = load32(p + 20);
    h.lmdPayloadSize = load32(p + 24);
    h.literalBits = static_cast<std::int32_t>(load32(p + 28));
    for (std::size_t i = 0; i < 4; ++i)
        h.literalStates[i] = load16(p + 32 + 2 * i);
    h.lmdBits = static_cast<std::int32_t>(load32(p + 40));
    h.lState = load16(p + 44);
    h.mState = load16(p + 46);
    h.dState = load16(p + 48);
    for (std::size_t i = 0; i < h.frequencies.size(); ++i)
        h.frequencies[i] = load16(p + 50 + 2 * i);
    h.size = format::v1HeaderSize;
    return checked(h);
}

std::expected<BlockHeader, Error> readV2Header(std::span<const std::uint8_t> block) {
    if (block.size() < format::v2FixedHeaderSize) return std::unexpected(Error::truncated);
    const std::uint8_t* p = block.data();
    const std::uint64_t p0 = load64(p + 8);
    const std::uint64_t p1 = load64(p + 16);
    const std::uint64_t p2 = load64(p + 24);
    BlockHeader h;
    h.rawSize = load32(p + 4);
    h.literalCount = static_cast<std::uint32_t>(field(p0, 0, 20));
    h.literalPayloadSize = static_cast<std::uint32_t>(field(p0, 20, 20));
    h.matchCount = static_cast<std::uint32_t>(field(p0, 40, 20));
    h.literalBits = static_cast<int>(field(p0, 60, 3)) - 7;
    for (unsigned i = 0; i < 4; ++i)
        h.literalStates[i] = static_cast<std::uint16_t>(field(p1, 10 * i, 10));
    h.lmdPayloadSize = static_cast<std::uint32_t>(field(p1, 40, 20));
    h.lmdBits = static_cast<int>(field(p1, 60, 3)) - 7;
    h.size = static_cast<std::size_t>(field(p2, 0, 32));
    h.lState = static_cast<std::uint16_t>(field(p2, 32, 10));
    h.mState = static_cast<std::uint16_t>(field(p2, 42, 10));
    h.dState = static_cast<std::uint16_t>(field(p2, 52, 10));
    if (h.size < format::v2FixedHeaderSize) return std::unexpected(Error::badHeader);
    if (h.size > block.size()) return std::unexpected(Error::truncated);
    if (!unpackFrequencies(
            block.subspan(format::v2FixedHeaderSize, h.size - format::v2FixedHeaderSize), h))
        return std::unexpected(Error::badTable);
    return checked(h);
}

std::size_t v2HeaderSize(const BlockHeader& header) {
    std::size_t bits = 0;
    for (const std::uint16_t f : header.frequencies)
        bits += codeLength(f);
    return format::v2FixedHeaderSize + (bits + 7) / 8;
}

void writeV2Header(const BlockHeader& h, std::uint8_t* out) {
    const auto u64 = [](auto v) { return static_cast<std::uint64_t>(v); };
    const std::uint64_t p0 = u64(h.literalCount) | u64(h.literalPayloadSize) << 20 |
                             u64(h.matchCount) << 40 | u64(h.literalBits + 7) << 60;
    std::uint64_t p1 = u64(h.lmdPayloadSize) << 40 | u64(h.lmdBits + 7) << 60;
    for (unsigned i = 0; i < 4; ++i)
        p1 |= u64(h.literalStates[i]) << (10 * i);
    const std::uint64_t p2 =
        u64(v2HeaderSize(h)) | u64(h.lState) << 32 | u64(h.mState) << 42 | u64(h.dState) << 52;
    store(out, format::v2Magic);
    store(out + 4, h.rawSize);
    store(out + 8, p0);
    store(out + 16, p1);
    store(out + 24, p2);
    BitWriter writer(out + format::v2FixedHeaderSize);
    for (const std::uint16_t f : h.frequencies) {
        writer.write(codeWord(f), codeLength(f));
        writer.flush();
    }
    writer.finish();
}

} // namespace lzfse
