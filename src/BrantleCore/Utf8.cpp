#include "BrantleCore/Utf8.hpp"

#include <cstdint>

namespace brantle {

namespace {

// Length of the well-formed sequence at `i`, or 0 with `bad` set to the length of the
// maximal ill-formed prefix (at least 1), following the Unicode "maximal subpart" rule.
std::size_t sequenceLength(std::string_view s, std::size_t i, std::size_t& bad) {
    const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(s[k]); };
    const std::uint8_t lead = byte(i);
    bad = 1;
    if (lead < 0x80) return 1;
    std::size_t need = 0;
    std::uint8_t low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        need = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        need = 2;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        need = 3;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    for (std::size_t k = 1; k <= need; ++k) {
        if (i + k >= s.size()) return 0;
        const std::uint8_t b = byte(i + k);
        const std::uint8_t lo = k == 1 ? low : 0x80;
        const std::uint8_t hi = k == 1 ? high : 0xBF;
        if (b < lo || b > hi) return 0;
        bad = k + 1;
    }
    return need + 1;
}

} // namespace

bool isValidUtf8(std::string_view bytes) {
    std::size_t bad = 0;
    for (std::size_t i = 0; i < bytes.size();) {
        if (static_cast<std::uint8_t>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const std::size_t n = sequenceLength(bytes, i, bad);
        if (n == 0) return false;
        i += n;
    }
    return true;
}

std::string repairedUtf8(std::string_view bytes) {
    if (isValidUtf8(bytes)) return std::string(bytes);
    std::string out;
    out.reserve(bytes.size() + 8);
    std::size_t bad = 0;
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t n = sequenceLength(bytes, i, bad);
        if (n == 0) {
            out += replacementCharacter;
            i += bad;
        } else {
            out.append(bytes.substr(i, n));
            i += n;
        }
    }
    return out;
}

} // namespace brantle
