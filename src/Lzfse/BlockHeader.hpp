#pragma once

#include "Lzfse/Format.hpp"
#include "Lzfse/Lzfse.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>

namespace lzfse {

/// The fields of an LZFSE (v1 or v2) block header, stored plainly.
struct BlockHeader {
    static constexpr std::size_t frequencyCount =
        format::lSymbols + format::mSymbols + format::dSymbols + format::literalSymbols;

    std::uint32_t rawSize = 0;
    std::uint32_t literalCount = 0;
    std::uint32_t matchCount = 0;
    std::uint32_t literalPayloadSize = 0;
    std::uint32_t lmdPayloadSize = 0;
    int literalBits = 0;
    int lmdBits = 0;
    std::array<std::uint16_t, 4> literalStates{};
    std::uint16_t lState = 0;
    std::uint16_t mState = 0;
    std::uint16_t dState = 0;
    /// L, M, D and literal frequencies, in this order (the order of both header versions).
    std::array<std::uint16_t, frequencyCount> frequencies{};
    /// Bytes from the block's magic to its literal payload.
    std::size_t size = 0;

    std::span<const std::uint16_t> lFrequencies() const { return span(0, format::lSymbols); }
    std::span<const std::uint16_t> mFrequencies() const {
        return span(format::lSymbols, format::mSymbols);
    }
    std::span<const std::uint16_t> dFrequencies() const {
        return span(format::lSymbols + format::mSymbols, format::dSymbols);
    }
    std::span<const std::uint16_t> literalFrequencies() const {
        return span(format::lSymbols + format::mSymbols + format::dSymbols, format::literalSymbols);
    }

private:
    std::span<const std::uint16_t> span(std::size_t offset, std::size_t count) const {
        return std::span<const std::uint16_t>(frequencies).subspan(offset, count);
    }
};

/// Reads a v1 header from `block` (magic first, up to the end of the input) and checks it.
std::expected<BlockHeader, Error> readV1Header(std::span<const std::uint8_t> block);

/// Reads a v2 header from `block` (magic first, up to the end of the input) and checks it.
std::expected<BlockHeader, Error> readV2Header(std::span<const std::uint8_t> block);

/// Largest size writeV2Header() can produce.
inline constexpr std::size_t maxV2HeaderSize =
    format::v2FixedHeaderSize + (BlockHeader::frequencyCount * 14 + 7) / 8;

/// Size of the v2 header that writeV2Header() writes for these frequencies.
std::size_t v2HeaderSize(const BlockHeader& header);

/// Writes `header` as a v2 header of v2HeaderSize(header) bytes at `out`, which has room for
/// 8 bytes more.
void writeV2Header(const BlockHeader& header, std::uint8_t* out);

} // namespace lzfse
