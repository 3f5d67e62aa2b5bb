#pragma once

#include "Lzfse/Bytes.hpp"

#include <cstddef>
#include <cstdint>

namespace lzfse {

/// Writes values least-significant bit first into increasing bit positions: the layout
/// BitReader reads back in reverse order.
class BitWriter {
public:
    /// Writes at `out`, which must have room for every byte written plus 8 bytes of slack.
    explicit BitWriter(std::uint8_t* out) : begin_(out), out_(out) {}

    /// Appends the low n bits of value (the caller keeps the bits above n zero). Up to 56
    /// bits may be written between two flush() calls.
    void write(std::uint64_t value, unsigned n) {
        bits_ |= value << count_;
        count_ += n;
    }

    /// Moves the completed bytes out of the accumulator.
    void flush() {
        store(out_, bits_);
        const unsigned whole = count_ & ~7u;
        out_ += whole >> 3;
        bits_ = whole == 64 ? 0 : bits_ >> whole;
        count_ &= 7;
    }

    /// Completes the last byte with zero bits; returns the number of padding bits added.
    unsigned finish() {
        flush();
        if (count_ == 0) return 0;
        const unsigned padding = 8 - count_;
        store(out_, bits_);
        ++out_;
        bits_ = 0;
        count_ = 0;
        return padding;
    }

    std::size_t size() const { return static_cast<std::size_t>(out_ - begin_); }

private:
    std::uint8_t* begin_;
    std::uint8_t* out_;
    std::uint64_t bits_ = 0;
    unsigned count_ = 0;
};

} // namespace lzfse
