#pragma once

#include "BrantleCore/Snapshot.hpp"

#include <expected>
#include <string>
#include <system_error>

namespace brantle {

/// Writes a tree in ncdu's JSON export format (version 1.2), which `ncdu -f` reads.
/// Each live node becomes one entry: its name as stored (the root's is the root path), its
/// allocated size as dsize (a folder's own blocks), its inode and modification time; a mount point
/// is excluded as another file system; unreadable entries have a read error; symbolic links are not
/// regular files. Names that share an inode with a hard-link duplicate are marked as hard links and
/// all carry the counted size, so ncdu counts it once. The apparent size is not known and is not
/// written.
class NcduWriter {
public:
    static std::string write(const FileTree& tree, const SnapshotMeta& meta);

    /// Replaces the file at `path` atomically with the export.
    static std::expected<void, std::error_code> save(const FileTree& tree, const SnapshotMeta& meta,
                                                     const std::string& path);
};

} // namespace brantle
