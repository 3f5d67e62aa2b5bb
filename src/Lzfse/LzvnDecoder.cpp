#include "Lzfse/LzvnDecoder.hpp"

#include "Lzfse/Bytes.hpp"

namespace lzfse {

namespace {

constexpr std::uint8_t endOpcode = 0x06;
constexpr std::size_t endOpcodeSize = 8;

/// One decoded opcode: its size in bytes (before its literals), literal count, match
/// length and distance (0 = the previous distance).
struct Opcode {
    std::size_t size;
    std::uint32_t l;
    std::uint32_t m;
    std::uint32_t d;
};

bool isUndefined(std::uint8_t b) {
    return (b >= 0x70 && b <= 0x7F) || (b >= 0xD0 && b <= 0xDF) ||
           (b >= 0x1E && b <= 0x3E && (b & 7) == 6);
}

/// Reads the opcode at p; `available` bytes remain in the payload (at least 1).
bool readOpcode(const std::uint8_t* p, std::size_t available, Opcode& op) {
    const std::uint8_t b = p[0];
    if (b >= 0xF0) { // match with the previous distance
        op = b == 0xF0 ? Opcode{2, 0, 16u + (available > 1 ? p[1] : 0u), 0}
                       : Opcode{1, 0, b & 15u, 0};
    } else if (b >= 0xE0) { // literals only
        op = b == 0xE0 ? Opcode{2, 16u + (available > 1 ? p[1] : 0u), 0, 0}
                       : Opcode{1, b & 15u, 0, 0};
    } else if (b >= 0xA0 && b < 0xC0) { // medium distance
        if (available < 3) return false;
        const std::uint16_t w = load16(p + 1);
        op = {3, (b >> 3) & 3u, (((b & 7u) << 2) | (w & 3u)) + 3, std::uint32_t{w} >> 2};
    } else {
        const std::uint32_t l = b >> 6;
        const std::uint32_t m = ((b >> 3) & 7u) + 3;
        const unsigned low = b & 7u;
        if (low == 6) {
            op = {1, l, m, 0};
        } else if (low == 7) {
            if (available < 3) return false;
            op = {3, l, m, load16(p + 1)};
            if (op.d == 0) op.d = ~0u; // an explicit zero distance is never valid
        } else {
            if (available < 2) return false;
            op = {2, l, m, (low << 8) | p[1]};
            if (op.d == 0) op.d = ~0u;
        }
    }
    return op.size <= available;
}

} // namespace

std::expected<void, Error> decodeLzvn(std::span<const std::uint8_t> payload, BlockOutput out) {
    const std::uint8_t* p = payload.data();
    const std::uint8_t* const end = p + payload.size();
    std::uint8_t* dst = out.cursor;
    std::uint32_t previousD = 0;
    while (p < end) {
        const std::uint8_t b = *p;
        if (b == endOpcode) {
            if (static_cast<std::size_t>(end - p) != endOpcodeSize)
                return std::unexpected(Error::badLzvnOpcode);
            if (dst != out.end) return std::unexpected(Error::outputUnderflow);
            return {};
        }
        if (b == 0x0E || b == 0x16) { // no-op
            ++p;
            continue;
        }
        Opcode op;
        if (isUndefined(b) || !readOpcode(p, static_cast<std::size_t>(end - p), op))
            return std::unexpected(Error::badLzvnOpcode);
        p += op.size;
        if (op.l > static_cast<std::size_t>(end - p)) return std::unexpected(Error::badLzvnOpcode);
        if (std::size_t{op.l} + op.m > static_cast<std::size_t>(out.end - dst))
            return std::unexpected(Error::outputOverflow);
        if (op.d != 0) previousD = op.d;
        std::memcpy(dst, p, op.l);
        dst += op.l;
        p += op.l;
        if (op.m == 0) continue;
        const std::uint32_t d = op.d != 0 ? op.d : previousD;
        if (d == 0 || d > static_cast<std::size_t>(dst - out.begin))
            return std::unexpected(Error::badDistance);
        copyMatch(dst, d, op.m);
        dst += op.m;
    }
    return std::unexpected(Error::badLzvnOpcode);
}

} // namespace lzfse
