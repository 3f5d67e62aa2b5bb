#include "BrantleCore/TreeDiff.hpp"

#include <algorithm>
#include <utility>

namespace brantle {

namespace {

using NamedChild = std::pair<std::string_view, NodeId>;

/// A folder's live children ordered by name bytes, so two listings merge in one pass.
std::vector<NamedChild> childrenByName(const FileTree& tree, NodeId folder) {
    std::vector<NamedChild> children;
    for (NodeId child = tree.firstChild(folder); child != FileTree::none;
         child = tree.nextSibling(child)) {
        if (!tree.isDead(child)) children.emplace_back(tree.nameBytes(child), child);
    }
    std::sort(children.begin(), children.end());
    return children;
}

class Differ {
public:
    Differ(const FileTree& before, const FileTree& after) : before_(before), after_(after) {}

    std::vector<TreeChange> run() {
        compare(FileTree::root, FileTree::root);
        std::sort(changes_.begin(), changes_.end(), [](const TreeChange& a, const TreeChange& b) {
            return a.amount() != b.amount() ? a.amount() > b.amount() : a.path < b.path;
        });
        return std::move(changes_);
    }

private:
    bool isFolder(const FileTree& tree, NodeId id) const {
        return tree.flags(id).contains(NodeFlags::directory);
    }

    void compare(NodeId old, NodeId now) {
        const std::uint64_t oldSize = before_.size(old);
        const std::uint64_t newSize = after_.size(now);
        if (oldSize != newSize) {
            changes_.push_back(
                {after_.path(now), oldSize, newSize,
                 newSize > oldSize ? TreeChange::Kind::grown : TreeChange::Kind::shrunk});
        }
        if (isFolder(before_, old) && isFolder(after_, now)) compareChildren(old, now);
    }

    void compareChildren(NodeId old, NodeId now) {
        const auto olds = childrenByName(before_, old);
        const auto nows = childrenByName(after_, now);
        auto o = olds.begin();
        auto n = nows.begin();
        while (o != olds.end() || n != nows.end()) {
            if (n == nows.end() || (o != olds.end() && o->first < n->first)) {
                changes_.push_back({before_.path(o->second), before_.size(o->second), 0,
                                    TreeChange::Kind::removed});
                ++o;
            } else if (o == olds.end() || n->first < o->first) {
                changes_.push_back(
                    {after_.path(n->second), 0, after_.size(n->second), TreeChange::Kind::added});
                ++n;
            } else {
                compare((o++)->second, (n++)->second);
            }
        }
    }

    const FileTree& before_;
    const FileTree& after_;
    std::vector<TreeChange> changes_;
};

} // namespace

std::string_view changeName(TreeChange::Kind kind) {
    switch (kind) {
    case TreeChange::Kind::grown:
        return "grown";
    case TreeChange::Kind::shrunk:
        return "shrunk";
    case TreeChange::Kind::added:
        return "new";
    case TreeChange::Kind::removed:
        return "removed";
    }
    return "grown";
}

std::vector<TreeChange> diffTrees(const FileTree& before, const FileTree& after) {
    return Differ(before, after).run();
}

} // namespace brantle
