#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace shoreline {

/// SHA-256 digests of file contents, for telling identical files apart.
namespace FileDigest {

using Digest = std::array<std::uint8_t, 32>;

inline constexpr std::size_t edgeBytes = 65'536;
inline constexpr std::size_t chunkBytes = 4'194'304;

/// SHA-256 over the first 64 KiB and, when the file is longer, its last 64 KiB. No value
/// when the file cannot be opened or read.
std::optional<Digest> quick(const std::string& path);
/// SHA-256 over the whole file, read in 4 MiB chunks. No value when it cannot be read.
std::optional<Digest> full(const std::string& path);

} // namespace FileDigest

} // namespace shoreline
