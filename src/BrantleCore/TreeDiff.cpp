#include "BrantleCore/TreeDiff.hpp"

#include <algorithm>
#include <unordered_map>
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

/// The tree's sizes with each hard-linked file counted at its name first in path order, and
/// folders summed again: which name a scan counts depends on the order it met them, and that
/// is no change. Empty when the tree has no hard-link duplicates (its own sizes serve).
std::vector<std::uint64_t> linkNeutralSizes(const FileTree& tree) {
    const auto& flags = tree.columns().flagBits;
    std::unordered_map<std::uint64_t, std::vector<NodeId>> links;
    for (NodeId id = 1; id < tree.count(); ++id) {
        if (flags[id] & NodeFlags::hardlinkDuplicate.rawValue) links[tree.inode(id)];
    }
    if (links.empty()) return {};
    constexpr auto skipped = (NodeFlags::directory | NodeFlags::dead).rawValue;
    for (NodeId id = 1; id < tree.count(); ++id) {
        const auto link = links.find(tree.inode(id));
        if (link != links.end() && (flags[id] & skipped) == 0) link->second.push_back(id);
    }
    // Each folder's own blocks first, as a scan leaves them before propagating.
    const auto& whole = tree.columns().sizes;
    std::vector<std::uint64_t> sizes(whole.begin(), whole.end());
    for (NodeId id = 1; id < tree.count(); ++id) {
        if (flags[id] & NodeFlags::dead.rawValue) continue;
        auto& parentSize = sizes[tree.parent(id)];
        parentSize = parentSize < whole[id] ? 0 : parentSize - whole[id];
    }
    for (const auto& [inode, names] : links) {
        std::uint64_t counted = 0;
        for (const NodeId id : names) {
            counted = std::max(counted, sizes[id]);
            sizes[id] = 0;
        }
        const auto first = std::min_element(names.begin(), names.end(), [&](NodeId a, NodeId b) {
            return tree.rawPath(a) < tree.rawPath(b);
        });
        if (first != names.end()) sizes[*first] = counted;
    }
    for (NodeId id = static_cast<NodeId>(tree.count()); id-- > 1;) {
        if ((flags[id] & NodeFlags::dead.rawValue) == 0) sizes[tree.parent(id)] += sizes[id];
    }
    return sizes;
}

class Differ {
public:
    Differ(const FileTree& before, const FileTree& after)
        : before_(before), after_(after), beforeSizes_(linkNeutralSizes(before)),
          afterSizes_(linkNeutralSizes(after)) {}

    std::vector<TreeChange> run() {
        compare(FileTree::root, FileTree::root);
        std::sort(changes_.begin(), changes_.end(), [](const TreeChange& a, const TreeChange& b) {
            return a.amount() != b.amount() ? a.amount() > b.amount() : a.path < b.path;
        });
        return std::move(changes_);
    }

private:
    static std::uint64_t sizeOf(const FileTree& tree, const std::vector<std::uint64_t>& sizes,
                                NodeId id) {
        return sizes.empty() ? tree.size(id) : sizes[id];
    }
    std::uint64_t oldSize(NodeId id) const { return sizeOf(before_, beforeSizes_, id); }
    std::uint64_t newSize(NodeId id) const { return sizeOf(after_, afterSizes_, id); }

    bool isFolder(const FileTree& tree, NodeId id) const {
        return tree.flags(id).contains(NodeFlags::directory);
    }

    void compare(NodeId old, NodeId now) {
        const std::uint64_t before = oldSize(old);
        const std::uint64_t after = newSize(now);
        if (before != after) {
            changes_.push_back(
                {after_.path(now), before, after,
                 after > before ? TreeChange::Kind::grown : TreeChange::Kind::shrunk});
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
                changes_.push_back(
                    {before_.path(o->second), oldSize(o->second), 0, TreeChange::Kind::removed});
                ++o;
            } else if (o == olds.end() || n->first < o->first) {
                changes_.push_back(
                    {after_.path(n->second), 0, newSize(n->second), TreeChange::Kind::added});
                ++n;
            } else {
                compare((o++)->second, (n++)->second);
            }
        }
    }

    const FileTree& before_;
    const FileTree& after_;
    const std::vector<std::uint64_t> beforeSizes_;
    const std::vector<std::uint64_t> afterSizes_;
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
