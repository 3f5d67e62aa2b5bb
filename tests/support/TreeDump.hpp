#pragma once
// A text picture of a tree for comparing two trees in tests: one line per live, reachable node
// with its path, size, flags and modification time, sorted by path.

#include "BrantleCore/FileTree.hpp"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

inline std::string treeDump(const brantle::FileTree& tree, bool withTimes = true) {
    using brantle::FileTree;
    std::vector<std::string> lines;
    if (tree.count() == 0) return {};
    std::vector<brantle::NodeId> stack{FileTree::root};
    while (!stack.empty()) {
        const brantle::NodeId id = stack.back();
        stack.pop_back();
        std::string line = tree.rawPath(id) + " size=" + std::to_string(tree.size(id)) +
                           " flags=" + std::to_string(tree.flags(id).rawValue);
        if (withTimes && id != FileTree::root) line += " mtime=" + std::to_string(tree.mtime(id));
        lines.push_back(std::move(line));
        for (const brantle::NodeId child : tree.children(id))
            stack.push_back(child);
    }
    std::sort(lines.begin(), lines.end());
    std::string dump;
    for (const std::string& line : lines)
        dump += line + "\n";
    return dump;
}

/// The tree's picture with every name of a hard-linked file showing the counted size and no
/// duplicate flag, folders summed again: which name counts depends on the order the names
/// were met.
inline std::string treeDumpWithLinksAlike(brantle::FileTree tree) {
    using namespace brantle;
    tree.toOwnSizes();
    std::map<std::uint64_t, std::uint64_t> counted;
    for (NodeId id = 1; id < tree.count(); ++id) {
        if (tree.flags(id).contains(NodeFlags::hardlinkDuplicate)) counted[tree.inode(id)] = 0;
    }
    for (NodeId id = 1; id < tree.count(); ++id) {
        const auto link = counted.find(tree.inode(id));
        if (link != counted.end() && tree.size(id) != 0) link->second = tree.size(id);
    }
    for (NodeId id = 1; id < tree.count(); ++id) {
        const auto link = counted.find(tree.inode(id));
        if (link == counted.end() || tree.flags(id).contains(NodeFlags::directory)) continue;
        NodeFlags flags = tree.flags(id);
        flags.remove(NodeFlags::hardlinkDuplicate);
        tree.setFlags(id, flags);
        tree.update(id, link->second, tree.mtime(id));
    }
    tree.propagateSizes();
    return treeDump(tree, false);
}
