#include "BrantleCore/TreeDiff.hpp"

#include <algorithm>
#include <limits>
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

/// A change as the walk finds it; its path is made only for the changes kept.
struct Found {
    NodeId id; ///< in the newer tree, or the older one for a removed item
    std::uint64_t oldSize;
    std::uint64_t newSize;
    TreeChange::Kind kind;

    std::uint64_t amount() const {
        return oldSize > newSize ? oldSize - newSize : newSize - oldSize;
    }
};

class Differ {
public:
    Differ(const FileTree& before, const FileTree& after, bool withColumns)
        : before_(before), after_(after), beforeSizes_(linkNeutralSizes(before)),
          afterSizes_(linkNeutralSizes(after)) {
        if (withColumns) {
            columns_.deltas.assign(after.count(), 0);
            columns_.states.assign(after.count(), NodeChange::unchanged);
        }
    }

    void run() { compare(FileTree::root, FileTree::root); }

    /// The `limit` largest changes, largest first, equal changes by path.
    std::vector<TreeChange> largest(std::size_t limit) {
        if (limit == 0) return {};
        auto byAmount = [](const Found& a, const Found& b) { return a.amount() > b.amount(); };
        if (found_.size() > limit) {
            // Only changes at least as large as the limit-th need a path, ties included.
            const auto nth = found_.begin() + static_cast<std::ptrdiff_t>(limit - 1);
            std::nth_element(found_.begin(), nth, found_.end(), byAmount);
            const auto threshold = nth->amount();
            std::erase_if(found_, [&](const Found& f) { return f.amount() < threshold; });
        }
        std::vector<TreeChange> changes;
        changes.reserve(found_.size());
        for (const Found& f : found_) {
            const auto& tree = f.kind == TreeChange::Kind::removed ? before_ : after_;
            changes.push_back({tree.path(f.id), f.oldSize, f.newSize, f.kind});
        }
        std::sort(changes.begin(), changes.end(), [](const TreeChange& a, const TreeChange& b) {
            return a.amount() != b.amount() ? a.amount() > b.amount() : a.path < b.path;
        });
        if (changes.size() > limit) changes.resize(limit);
        return changes;
    }

    ChangeColumns takeColumns() { return std::move(columns_); }

private:
    static std::uint64_t sizeOf(const FileTree& tree, const std::vector<std::uint64_t>& sizes,
                                NodeId id) {
        return sizes.empty() ? tree.size(id) : sizes[id];
    }
    std::uint64_t oldSize(NodeId id) const { return sizeOf(before_, beforeSizes_, id); }
    std::uint64_t newSize(NodeId id) const { return sizeOf(after_, afterSizes_, id); }
    bool withColumns() const { return !columns_.states.empty(); }

    bool isFolder(const FileTree& tree, NodeId id) const {
        return tree.flags(id).contains(NodeFlags::directory);
    }

    void compare(NodeId old, NodeId now) {
        const std::uint64_t before = oldSize(old);
        const std::uint64_t after = newSize(now);
        if (before != after) {
            const auto kind = after > before ? TreeChange::Kind::grown : TreeChange::Kind::shrunk;
            found_.push_back({now, before, after, kind});
            if (withColumns()) {
                columns_.deltas[now] =
                    static_cast<std::int64_t>(after) - static_cast<std::int64_t>(before);
                columns_.states[now] =
                    kind == TreeChange::Kind::grown ? NodeChange::grown : NodeChange::shrunk;
            }
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
                found_.push_back({o->second, oldSize(o->second), 0, TreeChange::Kind::removed});
                ++o;
            } else if (o == olds.end() || n->first < o->first) {
                found_.push_back({n->second, 0, newSize(n->second), TreeChange::Kind::added});
                if (withColumns()) markAdded(n->second);
                ++n;
            } else {
                compare((o++)->second, (n++)->second);
            }
        }
    }

    /// The new item and everything inside it.
    void markAdded(NodeId top) {
        std::vector<NodeId> pending{top};
        while (!pending.empty()) {
            const NodeId id = pending.back();
            pending.pop_back();
            columns_.deltas[id] = static_cast<std::int64_t>(newSize(id));
            columns_.states[id] = NodeChange::added;
            for (NodeId child = after_.firstChild(id); child != FileTree::none;
                 child = after_.nextSibling(child)) {
                if (!after_.isDead(child)) pending.push_back(child);
            }
        }
    }

    const FileTree& before_;
    const FileTree& after_;
    const std::vector<std::uint64_t> beforeSizes_;
    const std::vector<std::uint64_t> afterSizes_;
    std::vector<Found> found_;
    ChangeColumns columns_;
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
    Differ differ(before, after, false);
    differ.run();
    return differ.largest(std::numeric_limits<std::size_t>::max());
}

TreeComparison compareTrees(const FileTree& before, const FileTree& after, std::size_t limit) {
    Differ differ(before, after, true);
    differ.run();
    auto largest = differ.largest(limit);
    return {differ.takeColumns(), std::move(largest)};
}

} // namespace brantle
