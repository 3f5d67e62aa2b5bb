#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brantle {

/// What a file holds, as its name tells: the kinds the window sums space by.
enum class FileKind : std::uint8_t {
    pictures,
    video,
    music,
    documents,
    archives,     ///< archives and disk images
    code,         ///< code and projects
    applications, ///< applications and libraries
    other,
};

inline constexpr std::size_t fileKindCount = 8;

/// Bytes per kind, indexed by the kind's value.
using KindSizes = std::array<std::uint64_t, fileKindCount>;

/// The kind's name as the legend shows it ("Archives & disk images").
std::string_view fileKindName(FileKind kind);

} // namespace brantle
