#pragma once
// A text picture of a tree for comparing two trees in tests: one line per live, reachable node
// with its path, size, flags and modification time, sorted by path.

#include "BrantleCore/FileTree.hpp"

#include <algorithm>
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
