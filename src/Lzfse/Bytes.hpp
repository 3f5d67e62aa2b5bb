#pragma once

// Little-endian loads and stores at any alignment.

#include <bit>
#include <cstdint>
#include <cstring>

namespace lzfse {

template <typename T> inline T load(const std::uint8_t* p) {
    T value;
    std::memcpy(&value, p, sizeof value);
    if constexpr (std::endian::native == std::endian::big) value = std::byteswap(value);
    return value;
}

template <typename T> inline void store(std::uint8_t* p, T value) {
    if constexpr (std::endian::native == std::endian::big) value = std::byteswap(value);
    std::memcpy(p, &value, sizeof value);
}

inline std::uint16_t load16(const std::uint8_t* p) {
    return load<std::uint16_t>(p);
}
inline std::uint32_t load32(const std::uint8_t* p) {
    return load<std::uint32_t>(p);
}
inline std::uint64_t load64(const std::uint8_t* p) {
    return load<std::uint64_t>(p);
}

/// Copies 16 bytes; the callers keep slack after their buffers so whole chunks can run over.
inline void copy16(std::uint8_t* dst, const std::uint8_t* src) {
    std::memcpy(dst, src, 16);
}
inline void copy8(std::uint8_t* dst, const std::uint8_t* src) {
    std::memcpy(dst, src, 8);
}

} // namespace lzfse
