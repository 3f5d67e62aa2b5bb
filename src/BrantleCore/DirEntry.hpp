#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

/// Whether a folder's own allocated blocks count in its size: on Linux they are real space
/// that deleting the folder frees, and every tool there counts them.
#ifdef __APPLE__
inline constexpr bool folderBlocksCount = false;
#else
inline constexpr bool folderBlocksCount = true;
#endif

/// A device number as the system reports it (st_dev); 0 means not known.
using DeviceNumber = std::uint64_t;

/// One directory entry with what the tree needs. `name` holds the raw name bytes as the
/// system gave them, so that the entry can be opened again; the tree repairs invalid UTF-8
/// only when a name is read for display. The name lives in the owning DirEntryList.
struct DirEntry {
    std::string_view name;
    bool isDir = false;
    bool isSymlink = false;
    bool dataless = false;
    std::uint64_t allocSize = 0; ///< allocated bytes, never the logical size
    std::int64_t mtime = 0;      ///< whole seconds since 1970
    std::uint64_t inode = 0;
    std::uint32_t linkCount = 1;
    std::int32_t error = 0; ///< the system's per-entry error, 0 when none
    /// The device the entry lives on (for a mount point, the mounted volume) where the system
    /// reports it with the other attributes (Linux); 0 where it does not (macOS).
    DeviceNumber device = 0;
};

/// A reusable list of entries whose names share one byte pool, so that a worker reads
/// folder after folder without a heap allocation per entry.
class DirEntryList {
public:
    /// Entries a list keeps room for between folders; wider folders' storage is released.
    static constexpr std::size_t keptCapacity = 4096;

    void clear();
    /// Adds the entry with a copy of `name` (the entry's own `name` is ignored).
    void add(const DirEntry& entry, std::string_view name);
    /// The entries added since the last clear; valid until the next add or clear.
    std::span<const DirEntry> entries();
    std::size_t size() const { return entries_.size(); }

private:
    std::vector<DirEntry> entries_;
    std::vector<std::uint32_t> nameOffsets_;
    std::string names_;
};

} // namespace brantle
