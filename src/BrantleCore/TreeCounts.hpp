#pragma once

#include "BrantleCore/FileTree.hpp"

#include <cstdint>

namespace brantle {

/// What a tree holds, counted over its live nodes reachable from the root.
struct TreeCounts {
    std::int64_t nodes = 0; ///< the root included
    std::int64_t unreadable = 0;
    std::int64_t unreadableFolders = 0;
    std::int64_t mountPoints = 0;
    std::int64_t hardlinkDuplicates = 0;
    std::uint64_t bytes = 0; ///< the root's size

    std::int64_t entries() const { return nodes > 0 ? nodes - 1 : 0; }

    static TreeCounts of(const FileTree& tree);
};

} // namespace brantle
