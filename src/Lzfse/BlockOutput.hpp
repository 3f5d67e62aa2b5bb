#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lzfse {

/// Writable bytes every BlockOutput keeps after `end`, so copies may run over in whole chunks.
inline constexpr std::size_t outputSlack = 32;

/// Where a block decoder writes: the stream's output so far is [begin, cursor) and the block
/// must fill [cursor, end) exactly. At least outputSlack writable bytes follow `end`.
struct BlockOutput {
    std::uint8_t* begin;
    std::uint8_t* cursor;
    std::uint8_t* end;
};

/// Appends `count` bytes copied from `distance` bytes back, byte by byte in effect (a short
/// distance repeats the last `distance` bytes). May write up to 15 bytes past dst + count.
inline void copyMatch(std::uint8_t* dst, std::size_t distance, std::size_t count) {
    const std::uint8_t* src = dst - distance;
    if (distance >= 16) {
        for (std::size_t i = 0; i < count; i += 16)
            std::memcpy(dst + i, src + i, 16);
    } else if (distance == 1) {
        std::memset(dst, *src, count);
    } else {
        // The bytes repeat with a period of the largest multiple of the distance up to 16:
        // the first period is made byte by byte, then stamped as a whole, without reading
        // back what the previous stamp has just written.
        const std::size_t period = 16 / distance * distance;
        for (std::size_t i = 0; i < count && i < period; ++i)
            dst[i] = src[i];
        if (count <= period) return;
        std::uint8_t pattern[16];
        std::memcpy(pattern, dst, 16);
        for (std::size_t i = period; i < count; i += period)
            std::memcpy(dst + i, pattern, 16);
    }
}

/// Copies `count` bytes; may read and write up to 15 bytes past the ends.
inline void copyLiterals(std::uint8_t* dst, const std::uint8_t* src, std::size_t count) {
    for (std::size_t i = 0; i < count; i += 16)
        std::memcpy(dst + i, src + i, 16);
}

} // namespace lzfse
