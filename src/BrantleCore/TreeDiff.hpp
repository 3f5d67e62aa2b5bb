#pragma once

#include "BrantleCore/FileTree.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

/// One item whose size differs between two scans of the same target.
struct TreeChange {
    enum class Kind { grown, shrunk, added, removed };

    std::string path; ///< in the newer tree (the older one for a removed item)
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    Kind kind = Kind::grown;

    /// How much the size moved, whichever way.
    std::uint64_t amount() const {
        return oldSize > newSize ? oldSize - newSize : newSize - oldSize;
    }
    friend bool operator==(const TreeChange&, const TreeChange&) = default;
};

/// "grown", "shrunk", "new" or "removed".
std::string_view changeName(TreeChange::Kind kind);

/// What changed from `before` to `after`, matching nodes by their path below each root: every
/// item in both whose size differs (the roots included), and each new or removed item once
/// (not its contents). A hard-linked file counts at its name first in path order in both trees,
/// so the order a scan met its names in is no change. Largest change first; equal changes by
/// path.
std::vector<TreeChange> diffTrees(const FileTree& before, const FileTree& after);

} // namespace brantle
