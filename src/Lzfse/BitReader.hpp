#pragma once

#include "Lzfse/Bytes.hpp"

#include <cstddef>
#include <cstdint>

namespace lzfse {

/// Reads an entropy-coded payload from its end towards its start: the payload is one
/// little-endian integer, and each read takes the highest bits not yet consumed.
///
/// Loads are whole 8-byte words ending at the byte that holds the next unread bit, so they
/// may reach up to 8 bytes in front of the payload; the caller guarantees those bytes belong
/// to the input (they are block header bytes). Bits below the payload are never trusted:
/// position() goes negative once they have been consumed.
class BitReader {
public:
    /// Starts at the end of payload [begin, begin + size) less `-bits` padding bits.
    /// Returns false when the padding bits are not zero or the payload is too short.
    bool start(const std::uint8_t* begin, std::size_t size, int bits) {
        begin_ = begin;
        position_ = static_cast<std::int64_t>(size) * 8 + bits;
        if (bits < -7 || bits > 0 || position_ < 0) return false;
        if (bits < 0 && (begin[size - 1] >> (8 + bits)) != 0) return false;
        return refill();
    }

    /// Makes at least 56 unread bits available to read(). Returns false once the position
    /// has gone below the start of the payload.
    bool refill() {
        if (position_ < 0) return false;
        const std::int64_t byteEnd = (position_ + 7) >> 3;
        const auto shift = static_cast<unsigned>(byteEnd * 8 - position_);
        bits_ = load64(begin_ + byteEnd - 8) << shift;
        return true;
    }

    /// Takes the next n bits (0 <= n <= 56 since the last refill).
    std::uint64_t read(unsigned n) {
        const std::uint64_t value = (bits_ >> 1) >> (63 - n);
        bits_ <<= n;
        position_ -= n;
        return value;
    }

    /// Number of payload bits not yet read; negative after reading past the start.
    std::int64_t position() const { return position_; }

private:
    const std::uint8_t* begin_ = nullptr;
    std::int64_t position_ = 0;
    std::uint64_t bits_ = 0;
};

} // namespace lzfse
