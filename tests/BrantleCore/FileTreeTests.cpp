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

TEST(FileTree, PathsAndLookUp) {
    EXPECT_EQ(FileTree("/Volumes/Disk/").rootPath(), "/Volumes/Disk");
    FileTree slash("/");
    EXPECT_EQ(slash.name(0), "/");
    const NodeId sa = addDir(slash, 0, "a");
    EXPECT_EQ(slash.path(addFile(slash, sa, "b", 1)), "/a/b");
    EXPECT_EQ(slash.node("/"), 0u);

    FileTree t("/Users/x");
    const NodeId a = addDir(t, 0, "a");
    const NodeId b = addFile(t, a, "b", 1);
    EXPECT_EQ(t.node("/Users/x/"), 0u);
    EXPECT_EQ(t.node("/Users/x//a"), a);
    EXPECT_EQ(t.node("/Users/x/a/b"), b);
    for (const char* outside : {"/Users/xy", "/Users", "/Users/x/a/c", "relative"})
        EXPECT_FALSE(t.node(outside).has_value()) << outside;
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

TEST(FileTree, ChildrenBySizeKeepListOrderAmongEquals) {
    FileTree t("/r");
    const NodeId a = addFile(t, 0, "a", 5);
    const NodeId b = addFile(t, 0, "b", 9);
    const NodeId c = addFile(t, 0, "c", 5);
    EXPECT_EQ(t.childrenBySize(0), (std::vector<NodeId>{b, c, a}));
}

TEST(FileTree, RemovalSaturatesAndSparesTheRoot) {
    FileTree t("/r");
    const NodeId d = addDir(t, 0, "d");
    const NodeId big = addFile(t, d, "big", 10);
    t.propagateSizes();
    t.remove(0);
    EXPECT_FALSE(t.isDead(0));
    // Ancestors left lower than the removed amount stop at zero.
    t.mutableColumns().sizes[d] = 4;
    t.mutableColumns().sizes[0] = 4;
    t.remove(big);
    t.remove(big);
    EXPECT_EQ(t.size(d), 0u);
    EXPECT_EQ(t.size(0), 0u);
}

TEST(FileTree, RemoveChildrenKeepsTheFoldersOwnSize) {
    FileTree t("/r");
    const NodeId d = addDir(t, 0, "d");
    const NodeId keep = addFile(t, 0, "keep", 1);
    const NodeId x = addFile(t, d, "x", 60);
    addFile(t, d, "y", 40);
    t.setSize(d, 8);
    t.propagateSizes();
    ASSERT_EQ(t.size(0), 109u);
    t.removeChildren(d);
    t.removeChildren(keep);
    EXPECT_EQ(t.size(d), 8u);
    EXPECT_EQ(t.size(0), 9u);
    EXPECT_TRUE(t.children(d).empty());
    EXPECT_TRUE(t.isDead(x));
}

// A plain pointer tree to check the columns against.
namespace {

struct ModelNode {
    std::string name;
    std::uint64_t size = 0; // a folder's own blocks
    bool folder = false;
    ModelNode* parent = nullptr;
    std::vector<std::unique_ptr<ModelNode>> children; // in append order
};

std::uint64_t modelSize(const ModelNode& n) {
    std::uint64_t sum = n.size;
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
            child->size = folder ? 4096 * (rng() % 3) : rng() % 1000;
            child->parent = pmodel;
            const NodeId id = tree.append(pid, child->name, child->size, 0, 0, folder ? dir : file);
            tree.setSize(id, child->size);
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
        // Dead nodes count in neither direction.
        tree.toOwnSizes();
        tree.propagateSizes();
        expectSame(root, tree, 0, false);
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
