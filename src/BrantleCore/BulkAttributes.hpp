#pragma once

#include "BrantleCore/DirEntry.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace brantle {

/// The layout of a macOS getattrlistbulk result for the attributes the directory reader asks
/// for. The walk over it is plain byte parsing, so it is built and tested on every system.
namespace BulkAttributes {

inline constexpr std::uint32_t commonReturnedAttributes = 0x8000'0000u;
inline constexpr std::uint32_t commonError = 0x2000'0000u;
inline constexpr std::uint32_t commonFileId = 0x0200'0000u;
inline constexpr std::uint32_t commonFlags = 0x0004'0000u;
inline constexpr std::uint32_t commonModificationTime = 0x0000'0400u;
inline constexpr std::uint32_t commonObjectType = 0x0000'0008u;
inline constexpr std::uint32_t commonName = 0x0000'0001u;
/// Everything above: what the reader requests in the common group.
inline constexpr std::uint32_t commonRequest = 0xA204'0409u;
inline constexpr std::uint32_t fileLinkCount = 0x1u;
inline constexpr std::uint32_t fileAllocatedSize = 0x4u;
inline constexpr std::uint32_t fileRequest = 0x5u;

inline constexpr std::uint32_t objectTypeDirectory = 2;
inline constexpr std::uint32_t objectTypeSymlink = 5;
/// The file-flags bit that marks contents not stored locally.
inline constexpr std::uint32_t datalessFlag = 0x4000'0000u;

/// Appends the `count` packed entries at the start of `buffer` to `out`. Each entry is its
/// 32-bit length, the five words of its returned-attribute set, then only the attributes it
/// returned, in request order. Returns false, leaving `out` partly filled, when an entry
/// does not fit the buffer or its name reference points outside it.
bool appendEntries(std::span<const std::byte> buffer, std::uint32_t count, DirEntryList& out);

} // namespace BulkAttributes

} // namespace brantle
