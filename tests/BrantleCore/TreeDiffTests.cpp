// Two trees compared by path: the order a scan met a file's hard links in is no change.
#include "BrantleCore/TreeDiff.hpp"

#include <gtest/gtest.h>

using namespace brantle;

namespace {

/// "/t" holding a/x and b/y, two names of one 8192-byte file, and a plain file c; the link is
/// counted at `countedAt` ("a" or "b"), and c has `cSize` bytes.
FileTree linkedTree(std::string_view countedAt, std::uint64_t cSize) {
    FileTree tree("/t");
    const NodeId a = tree.append(FileTree::root, "a", 0, 0, 1, NodeFlags::directory);
    const NodeId b = tree.append(FileTree::root, "b", 0, 0, 2, NodeFlags::directory);
    const bool atA = countedAt == "a";
    tree.append(a, "x", atA ? 8192 : 0, 0, 9, atA ? NodeFlags{} : NodeFlags::hardlinkDuplicate);
    tree.append(b, "y", atA ? 0 : 8192, 0, 9, atA ? NodeFlags::hardlinkDuplicate : NodeFlags{});
    tree.append(FileTree::root, "c", cSize, 0, 3, {});
    tree.propagateSizes();
    return tree;
}

} // namespace

TEST(TreeDiff, HardLinksCountedElsewhereAreNoChange) {
    EXPECT_TRUE(diffTrees(linkedTree("a", 100), linkedTree("b", 100)).empty());
    const std::vector<TreeChange> expected{
        {"/t", 8292, 8392, TreeChange::Kind::grown},
        {"/t/c", 100, 200, TreeChange::Kind::grown},
    };
    EXPECT_EQ(diffTrees(linkedTree("b", 100), linkedTree("a", 200)), expected);
}
