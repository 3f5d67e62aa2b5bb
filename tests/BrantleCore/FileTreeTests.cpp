#include "BrantleCore/FileTree.hpp"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;

namespace {

constexpr NodeFlags dir = NodeFlags::directory;
constexpr NodeFlags file{};

NodeId addFile(FileTree& t, NodeId parent, const std::string& name, std::uint64_t size) {
    return t.append(parent, name, size, 0, 0, file);
}

NodeId addDir(FileTree& t, NodeId parent, const std::string& name) {
    return t.append(parent, name, 999, 0, 0, dir);
}

} // namespace

TEST(FileTree, ConstructionAndPaths) {
    EXPECT_EQ(FileTree("/").rootPath(), "/");
    EXPECT_EQ(FileTree("/Volumes/Disk/").rootPath(), "/Volumes/Disk");

    FileTree users("/Users/x");
    EXPECT_EQ(users.count(), 1u);
    EXPECT_EQ(users.name(0), "x");
    EXPECT_EQ(users.path(0), "/Users/x");
    EXPECT_EQ(users.parent(0), FileTree::none);
    EXPECT_EQ(users.flags(0), NodeFlags::directory);
    EXPECT_TRUE(users.nameBytes(0).empty());

    FileTree slash("/");
    EXPECT_EQ(slash.name(0), "/");
    const NodeId a = addDir(slash, 0, "a");
    const NodeId b = addFile(slash, a, "b", 1);
    EXPECT_EQ(slash.path(a), "/a");
    EXPECT_EQ(slash.path(b), "/a/b");
    EXPECT_EQ(slash.node("/a/b"), b);
    EXPECT_EQ(slash.node("/"), 0u);

    EXPECT_EQ(FileTree("/", FileTree::empty).count(), 0u);
}

TEST(FileTree, AppendStoresColumnsAndZeroesFolderSizes) {
    FileTree t("/r");
    const NodeId d = t.append(0, "d", 500, 7, 42, dir | NodeFlags::package);
    const NodeId f = t.append(d, "f", 300, -5, 43, NodeFlags::symlink);
    EXPECT_EQ(t.size(d), 0u);
    EXPECT_EQ(t.size(f), 300u);
    EXPECT_EQ(t.mtime(f), -5);
    EXPECT_EQ(t.inode(d), 42u);
    EXPECT_EQ(t.flags(d), dir | NodeFlags::package);
    EXPECT_EQ(t.parent(f), d);

    t.update(d, 10, 11);
    t.update(f, 20, 21);
    EXPECT_EQ(t.size(d), 0u);
    EXPECT_EQ(t.mtime(d), 11);
    EXPECT_EQ(t.size(f), 20u);
    t.setFlags(f, NodeFlags::unreadable);
    EXPECT_EQ(t.flags(f), NodeFlags::unreadable);
}

TEST(FileTree, NamesAreCutAndRepaired) {
    FileTree t("/r");
    const std::string longName(70000, 'n');
    const NodeId big = addFile(t, 0, longName, 1);
    EXPECT_EQ(t.nameBytes(big).size(), 65535u);
    EXPECT_EQ(t.name(big), std::string(65535, 'n'));

    const NodeId bad = addFile(t, 0, "caf\xE9", 1);
    EXPECT_EQ(t.nameBytes(bad), "caf\xE9");
    EXPECT_EQ(t.name(bad), "caf\xEF\xBF\xBD");
    EXPECT_EQ(t.path(bad), "/r/caf\xEF\xBF\xBD");
    EXPECT_EQ(t.node("/r/caf\xEF\xBF\xBD"), bad);
    EXPECT_EQ(t.node("/r/caf\xE9"), bad); // the name as the system spells it

    // A multi-byte character cut in two by the limit is repaired, not rejected.
    const std::string cut = std::string(65534, 'a') + "\xC3\xA9";
    const NodeId c = addFile(t, 0, cut, 1);
    EXPECT_EQ(t.name(c), std::string(65534, 'a') + "\xEF\xBF\xBD");
}

TEST(FileTree, ChildOrder) {
    FileTree t("/r");
    const NodeId a = addFile(t, 0, "a", 5);
    const NodeId b = addFile(t, 0, "b", 9);
    const NodeId c = addFile(t, 0, "c", 5);
    EXPECT_EQ(t.children(0), (std::vector<NodeId>{c, b, a}));
    EXPECT_EQ(t.childrenBySize(0), (std::vector<NodeId>{b, c, a}));
    EXPECT_TRUE(t.children(a).empty());
}

TEST(FileTree, NodeAtPath) {
    FileTree t("/Users/x");
    const NodeId a = addDir(t, 0, "a");
    const NodeId b = addFile(t, a, "b", 1);
    EXPECT_EQ(t.node("/Users/x"), 0u);
    EXPECT_EQ(t.node("/Users/x/"), 0u);
    EXPECT_EQ(t.node("/Users/x//a"), a);
    EXPECT_EQ(t.node("/Users/x/a/b"), b);
    EXPECT_FALSE(t.node("/Users/xy").has_value());
    EXPECT_FALSE(t.node("/Users").has_value());
    EXPECT_FALSE(t.node("/Users/x/a/c").has_value());
    EXPECT_FALSE(t.node("relative").has_value());
}

TEST(FileTree, RemovalAndSaturation) {
    FileTree t("/r");
    const NodeId d = addDir(t, 0, "d");
    const NodeId f = addFile(t, d, "f", 10);
    const NodeId g = addFile(t, d, "g", 30);
    t.propagateSizes();
    ASSERT_EQ(t.size(0), 40u);

    t.remove(0);
    EXPECT_FALSE(t.isDead(0));
    EXPECT_EQ(t.size(0), 40u);

    t.remove(f);
    t.remove(f);
    EXPECT_TRUE(t.isDead(f));
    EXPECT_EQ(t.size(d), 30u);
    EXPECT_EQ(t.size(0), 30u);
    EXPECT_EQ(t.children(d), std::vector<NodeId>{g});

    // An ancestor showing less than the removed amount stops at zero.
    FileTree s("/s");
    const NodeId sd = addDir(s, 0, "d");
    const NodeId big = addFile(s, sd, "big", 10);
    s.propagateSizes();
    s.update(big, 10, 0);
    // Pretend an earlier incremental change left the ancestors low.
    s.mutableColumns().sizes[sd] = 4;
    s.mutableColumns().sizes[0] = 4;
    s.remove(big);
    EXPECT_EQ(s.size(sd), 0u);
    EXPECT_EQ(s.size(0), 0u);
}

TEST(FileTree, RemoveChildren) {
    FileTree t("/r");
    const NodeId d = addDir(t, 0, "d");
    const NodeId keep = addFile(t, 0, "keep", 1);
    const NodeId x = addFile(t, d, "x", 60);
    const NodeId y = addFile(t, d, "y", 40);
    t.propagateSizes();
    ASSERT_EQ(t.size(0), 101u);

    t.removeChildren(d);
    EXPECT_EQ(t.size(d), 0u);
    EXPECT_EQ(t.size(0), 1u);
    EXPECT_TRUE(t.children(d).empty());
    EXPECT_TRUE(t.isDead(x));
    EXPECT_TRUE(t.isDead(y));
    EXPECT_FALSE(t.isDead(keep));

    // A folder keeps its own size; a file, having no children, is left alone.
    t.setSize(d, 8);
    t.mutableColumns().sizes[0] += 8;
    t.removeChildren(d);
    EXPECT_EQ(t.size(d), 8u);
    EXPECT_EQ(t.size(0), 9u);
    t.removeChildren(keep);
    EXPECT_EQ(t.size(0), 9u);
}

TEST(FileTree, PropagationIgnoresDeadNodesAndReverses) {
    FileTree t("/r");
    const NodeId d = addDir(t, 0, "d");
    const NodeId e = addDir(t, d, "e");
    addFile(t, e, "f", 7);
    const NodeId gone = addFile(t, d, "gone", 100);
    addFile(t, 0, "top", 3);
    t.remove(gone);
    t.propagateSizes();
    EXPECT_EQ(t.size(e), 7u);
    EXPECT_EQ(t.size(d), 7u);
    EXPECT_EQ(t.size(0), 10u);
    // Folders' own sizes come back, and propagate again to the same totals.
    t.setSize(e, 7 + 512);
    t.setSize(d, 7 + 512);
    t.setSize(0, 10 + 512);
    t.toOwnSizes();
    EXPECT_EQ(t.size(e), 512u);
    EXPECT_EQ(t.size(d), 0u);
    EXPECT_EQ(t.size(0), 0u);
    t.propagateSizes();
    EXPECT_EQ(t.size(0), 10u + 512);
}

TEST(FileTree, CompactedKeepsLiveNodesAndReversesOrder) {
    FileTree t("/r");
    const NodeId d = addDir(t, 0, "d");
    addFile(t, d, "a", 1);
    const NodeId b = addFile(t, d, "b", 2);
    addFile(t, d, "c", 3);
    const NodeId e = addDir(t, 0, "e");
    addFile(t, e, "inside", 50);
    t.propagateSizes();
    t.remove(b);
    t.remove(e);

    const FileTree c = t.compacted();
    EXPECT_EQ(c.rootPath(), "/r");
    EXPECT_EQ(c.count(), 4u);
    EXPECT_EQ(c.size(0), 4u);
    const auto cd = c.node("/r/d");
    ASSERT_TRUE(cd.has_value());
    EXPECT_EQ(c.size(*cd), 4u);
    std::vector<std::string> names;
    for (NodeId child : c.children(*cd))
        names.push_back(c.name(child));
    EXPECT_EQ(names, (std::vector<std::string>{"a", "c"}));
    EXPECT_FALSE(c.node("/r/e").has_value());
}

// A plain pointer tree to check the columns against.
namespace {

struct ModelNode {
    std::string name;
    std::uint64_t size = 0;
    bool folder = false;
    ModelNode* parent = nullptr;
    std::vector<std::unique_ptr<ModelNode>> children; // in append order
};

std::uint64_t modelSize(const ModelNode& n) {
    if (!n.folder) return n.size;
    std::uint64_t sum = 0;
    for (const auto& c : n.children)
        sum += modelSize(*c);
    return sum;
}

// A tree lists children newest first; a compacted one lists them in the model's order.
void expectSame(const ModelNode& model, const FileTree& tree, NodeId id, bool compacted) {
    EXPECT_EQ(tree.size(id), modelSize(model)) << tree.path(id);
    const auto kids = tree.children(id);
    ASSERT_EQ(kids.size(), model.children.size()) << tree.path(id);
    for (std::size_t i = 0; i < kids.size(); ++i) {
        const auto& m = *model.children[compacted ? i : model.children.size() - 1 - i];
        EXPECT_EQ(tree.name(kids[i]), m.name);
        expectSame(m, tree, kids[i], compacted);
    }
}

} // namespace

TEST(FileTree, RandomTreesMatchAPointerModel) {
    std::mt19937 rng(1234);
    for (int round = 0; round < 200; ++round) {
        FileTree tree("/m");
        ModelNode root;
        root.folder = true;
        std::vector<std::pair<NodeId, ModelNode*>> nodes{{0, &root}};
        std::vector<std::pair<NodeId, ModelNode*>> folders{{0, &root}};
        const int n = 1 + static_cast<int>(rng() % 300);
        for (int i = 0; i < n; ++i) {
            auto [pid, pmodel] = folders[rng() % folders.size()];
            const bool folder = rng() % 3 == 0;
            auto child = std::make_unique<ModelNode>();
            child->name = "n" + std::to_string(i);
            child->folder = folder;
            child->size = folder ? 0 : rng() % 1000;
            child->parent = pmodel;
            const NodeId id =
                tree.append(pid, child->name, folder ? 77 : child->size, 0, 0, folder ? dir : file);
            nodes.emplace_back(id, child.get());
            if (folder) folders.emplace_back(id, child.get());
            pmodel->children.push_back(std::move(child));
        }
        tree.propagateSizes();

        // Remove random reachable nodes from both (nothing removes below a removed folder).
        const int removals = static_cast<int>(rng() % 20);
        for (int r = 0; r < removals; ++r) {
            auto [id, model] = nodes[1 + rng() % (nodes.size() - 1)];
            if (tree.isDead(id)) continue;
            bool reachable = true;
            for (NodeId a = tree.parent(id); a != FileTree::none; a = tree.parent(a))
                reachable = reachable && !tree.isDead(a);
            if (!reachable) continue;
            tree.remove(id);
            auto& siblings = model->parent->children;
            std::erase_if(siblings, [model](const auto& p) { return p.get() == model; });
        }
        SCOPED_TRACE(round);
        expectSame(root, tree, 0, false);
        expectSame(root, tree.compacted(), 0, true);
        FileTree again = tree.compacted();
        again.toOwnSizes();
        again.propagateSizes();
        expectSame(root, again, 0, true);
    }
}

TEST(FileTreeDeathTest, LimitFaultsStopTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    FileTree t("/r");
    EXPECT_DEATH(t.size(1), "out of range");
    EXPECT_DEATH(t.append(5, "x", 0, 0, 0, file), "out of range");
    EXPECT_DEATH(t.remove(9), "out of range");
    EXPECT_DEATH(
        {
            const NodeId a = addFile(t, 0, "a", ~std::uint64_t{0});
            addFile(t, 0, "b", 1);
            (void)a;
            t.propagateSizes();
        },
        "overflows");
}
