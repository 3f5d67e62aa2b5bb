#include "Shoreline/UserFiles.hpp"

#include "Shoreline/Rules.hpp"

namespace shoreline {

using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;

std::vector<NodeId> UserFiles::walk(const ShorelineContext& context, std::uint64_t minBytes) {
    const FileTree& tree = context.tree;
    const auto home = context.homeNode();
    if (!home) return {};
    std::vector<NodeId> stack;
    for (NodeId child = tree.firstChild(*home); child != FileTree::none;
         child = tree.nextSibling(child)) {
        const auto name = tree.nameBytes(child);
        if (name != "Library" && !name.starts_with('.')) stack.push_back(child);
    }
    const NodeFlags notOwnFile =
        NodeFlags::symlink | NodeFlags::hardlinkDuplicate | NodeFlags::dataless;
    std::vector<NodeId> files;
    while (!stack.empty()) {
        const NodeId node = stack.back();
        stack.pop_back();
        if (tree.size(node) < minBytes) continue;
        const NodeFlags flags = tree.flags(node);
        if (!flags.contains(NodeFlags::directory)) {
            if ((flags & notOwnFile).isEmpty()) files.push_back(node);
            continue;
        }
        if (flags.contains(NodeFlags::package) ||
            ProjectDependenciesRule::kind(tree.nameBytes(node)))
            continue;
        for (NodeId child = tree.firstChild(node); child != FileTree::none;
             child = tree.nextSibling(child)) {
            if (!tree.nameBytes(child).starts_with('.')) stack.push_back(child);
        }
    }
    return files;
}

} // namespace shoreline
