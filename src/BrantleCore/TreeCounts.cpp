#include "BrantleCore/TreeCounts.hpp"

#include <vector>

namespace brantle {

TreeCounts TreeCounts::of(const FileTree& tree) {
    TreeCounts counts;
    if (tree.count() == 0) return counts;
    const auto& parents = tree.columns().parents;
    const auto& flagBits = tree.columns().flagBits;
    // Nodes below a removed folder are not flagged dead themselves, only unreachable.
    std::vector<bool> live(tree.count());
    for (NodeId id = 0; id < tree.count(); ++id) {
        const NodeFlags flags(flagBits[id]);
        live[id] = !flags.contains(NodeFlags::dead) && (id == FileTree::root || live[parents[id]]);
        if (!live[id]) continue;
        ++counts.nodes;
        if (flags.contains(NodeFlags::unreadable)) {
            ++counts.unreadable;
            if (flags.contains(NodeFlags::directory)) ++counts.unreadableFolders;
        }
        if (flags.contains(NodeFlags::mountPoint)) ++counts.mountPoints;
        if (flags.contains(NodeFlags::hardlinkDuplicate)) ++counts.hardlinkDuplicates;
    }
    counts.bytes = tree.size(FileTree::root);
    return counts;
}

} // namespace brantle
