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

/// How a node of the newer tree stands against the older tree.
enum class NodeChange : std::uint8_t { unchanged, grown, shrunk, added };

/// The changes laid onto the newer tree's node ids, so a view looks a node up in O(1): how
/// much its size moved (signed) and how it stands. Everything inside a new folder is new;
/// dead nodes are unchanged.
struct ChangeColumns {
    std::vector<std::int64_t> deltas;
    std::vector<NodeChange> states;
};

/// What a window shows of a comparison, from one walk: the columns over `after`, and the
/// `limit` largest changes in the order of `diffTrees`.
struct TreeComparison {
    ChangeColumns columns;
    std::vector<TreeChange> largest;
};

TreeComparison compareTrees(const FileTree& before, const FileTree& after, std::size_t limit);

} // namespace brantle
