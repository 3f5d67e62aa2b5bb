#pragma once

// Constants of the LZFSE stream format shared by the encoder and the decoder.

#include <array>
#include <cstdint>

namespace lzfse::format {

inline constexpr std::uint32_t endOfStreamMagic = 0x24787662; // "bvx$"
inline constexpr std::uint32_t rawMagic = 0x2D787662;         // "bvx-"
inline constexpr std::uint32_t v1Magic = 0x31787662;          // "bvx1"
inline constexpr std::uint32_t v2Magic = 0x32787662;          // "bvx2"
inline constexpr std::uint32_t lzvnMagic = 0x6E787662;        // "bvxn"

inline constexpr int literalSymbols = 256;
inline constexpr int lSymbols = 20;
inline constexpr int mSymbols = 20;
inline constexpr int dSymbols = 64;
inline constexpr int literalStates = 1024;
inline constexpr int lStates = 64;
inline constexpr int mStates = 64;
inline constexpr int dStates = 256;

inline constexpr std::uint32_t maxLiteralCount = 40000;
inline constexpr std::uint32_t maxMatchCount = 10000;
inline constexpr std::uint32_t maxL = 315;
inline constexpr std::uint32_t maxM = 2359;
inline constexpr std::uint32_t maxD = 262139;

inline constexpr std::size_t v1HeaderSize = 772;
inline constexpr std::size_t v2FixedHeaderSize = 32;
inline constexpr std::size_t lzvnHeaderSize = 12;
inline constexpr std::size_t rawHeaderSize = 8;

inline constexpr std::array<std::uint8_t, lSymbols> lExtraBits{0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                               0, 0, 0, 0, 0, 0, 2, 3, 5, 8};
inline constexpr std::array<std::uint32_t, lSymbols> lBase{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                                           10, 11, 12, 13, 14, 15, 16, 20, 28, 60};
inline constexpr std::array<std::uint8_t, mSymbols> mExtraBits{0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                               0, 0, 0, 0, 0, 0, 3, 5, 8, 11};
inline constexpr std::array<std::uint32_t, mSymbols> mBase{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                                           10, 11, 12, 13, 14, 15, 16, 24, 56, 312};

inline constexpr std::array<std::uint8_t, dSymbols> dExtraBits = [] {
    std::array<std::uint8_t, dSymbols> bits{};
    for (int s = 0; s < dSymbols; ++s)
        bits[static_cast<std::size_t>(s)] = static_cast<std::uint8_t>(s / 4);
    return bits;
}();

inline constexpr std::array<std::uint32_t, dSymbols> dBase = [] {
    std::array<std::uint32_t, dSymbols> base{};
    for (std::size_t s = 1; s < dSymbols; ++s)
        base[s] = base[s - 1] + (1u << dExtraBits[s - 1]);
    return base;
}();

} // namespace lzfse::format
