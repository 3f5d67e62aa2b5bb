#include "RingKit/RingLayout.hpp"
#include "RingTestSupport.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <random>

using namespace ringkit;
using brantle::FileTree;
using brantle::NodeFlags;
using ringkit::testing::file;
using ringkit::testing::folder;
using Kind = RingSegment::Kind;

namespace {

constexpr double turn = 2 * std::numbers::pi;
constexpr double minAngle = RingLayout::defaultMinAngle;

// A random tree: mostly small files, some folders (with their own blocks, as on Linux), some
// empty files and a few big ones.
FileTree randomTree(std::mt19937& random, int nodes) {
    FileTree tree("/random");
    std::vector<NodeId> folders{0};
    for (int i = 1; i < nodes; ++i) {
        const NodeId parent = folders[random() % folders.size()];
        const auto roll = random() % 100;
        if (roll < 20) {
            folders.push_back(folder(tree, parent, "d" + std::to_string(i)));
            tree.setSize(folders.back(), 4096 * (random() % 3));
        } else {
            const std::uint64_t bytes = roll < 25   ? 0
                                        : roll < 28 ? 1'000'000 + random() % 50'000'000
                                                    : random() % 40'000;
            file(tree, parent, "f" + std::to_string(i), bytes);
        }
    }
    tree.propagateSizes();
    return tree;
}

void expectSegment(const RingSegment& actual, const RingSegment& expected) {
    EXPECT_EQ(actual.kind, expected.kind);
    EXPECT_EQ(actual.depth, expected.depth);
    EXPECT_NEAR(actual.start, expected.start, 1e-12);
    EXPECT_NEAR(actual.end, expected.end, 1e-12);
    EXPECT_EQ(actual.bytes, expected.bytes);
    EXPECT_EQ(actual.branch, expected.branch);
}

} // namespace

TEST(RingLayout, TheTurnIsTheFocusPlusTheExtras) {
    FileTree tree("/t");
    file(tree, 0, "small", 100);
    file(tree, 0, "big", 300);
    tree.propagateSizes();
    const std::vector<RingExtra> extras{{Kind::hidden(), 400}, {Kind::purgeable(), 0}};
    const auto segments = RingLayout::layout(tree, 0, 5, minAngle, extras);
    ASSERT_EQ(segments.size(), 3u);
    expectSegment(segments[0], {Kind::node(2), 1, 0, turn * 3 / 8, 300, 0});
    expectSegment(segments[1], {Kind::node(1), 1, turn * 3 / 8, turn / 2, 100, 1});
    expectSegment(segments[2], {Kind::hidden(), 1, turn / 2, turn, 400, -1});

    // A focus of 0 bytes shows its non-zero extras alone, over the whole turn.
    FileTree empty("/e");
    const std::vector<RingExtra> both{{Kind::hidden(), 10}, {Kind::purgeable(), 30}};
    const auto onlyExtras = RingLayout::layout(empty, 0, 5, minAngle, both);
    ASSERT_EQ(onlyExtras.size(), 2u);
    expectSegment(onlyExtras[1], {Kind::purgeable(), 1, turn / 4, turn, 30, -1});
    EXPECT_TRUE(RingLayout::layout(empty, 0, 5, minAngle).empty());
    EXPECT_TRUE(RingLayout::layout(empty, 0, 5, minAngle, std::span(extras).subspan(1)).empty());
    EXPECT_TRUE(RingLayout::layout(FileTree("/n", FileTree::empty), 0, 5, minAngle).empty());
}

TEST(RingLayoutDeathTest, OverflowingTotalIsFatal) {
    FileTree tree("/t");
    file(tree, 0, "f", 10);
    tree.propagateSizes();
    const std::vector<RingExtra> extras{{Kind::hidden(), UINT64_MAX - 5}};
    EXPECT_DEATH(RingLayout::layout(tree, 0, 5, minAngle, extras), "overflow");
}

TEST(RingLayout, NarrowChildrenMergeIntoOneSmallerSlice) {
    // 1,000 equal children are each narrower than half a degree: one slice for all of them,
    // and nothing further out even though they are folders with content.
    FileTree thousand("/k");
    for (int i = 0; i < 1000; ++i)
        file(thousand, folder(thousand, 0, "d" + std::to_string(i)), "x", 4096);
    thousand.propagateSizes();
    const auto merged = RingLayout::layout(thousand, 0, 5, minAngle);
    ASSERT_EQ(merged.size(), 1u);
    EXPECT_EQ(merged[0].kind, Kind::smaller(0, 1000));
    EXPECT_EQ(merged[0].depth, 1);
    EXPECT_EQ(merged[0].start, 0);
    EXPECT_NEAR(merged[0].end, turn, 1e-12);
    EXPECT_EQ(merged[0].bytes, 4'096'000u);

    // A child of exactly the minimum angle keeps its slice; a narrower one is merged, the
    // merged slice comes after its siblings' descendants, and zero-byte children count nowhere.
    FileTree tree("/m");
    const NodeId a = folder(tree, 0, "a");
    const NodeId inA = file(tree, a, "inA", 900);
    const NodeId exact = file(tree, 0, "exact", 50);
    file(tree, 0, "tiny", 49);
    file(tree, 0, "zero", 0);
    file(tree, 0, "tiny2", 1);
    tree.propagateSizes();
    const double perByte = turn / 1000.0;
    const auto segments = RingLayout::layout(tree, 0, 5, perByte * 50);
    ASSERT_EQ(segments.size(), 4u);
    EXPECT_EQ(segments[0].kind, Kind::node(a));
    EXPECT_EQ(segments[1].kind, Kind::node(inA));
    EXPECT_EQ(segments[1].depth, 2);
    EXPECT_EQ(segments[2].kind, Kind::node(exact));
    EXPECT_EQ(segments[3], (RingSegment{Kind::smaller(0, 2), 1, perByte * 900 + perByte * 50,
                                        perByte * 900 + perByte * 50 + perByte * 50, 50, -1}));
}

TEST(RingLayout, DepthLimitsAndFilesStopTheRings) {
    FileTree tree("/deep");
    NodeId parent = 0;
    std::vector<NodeId> chain;
    for (int depth = 1; depth <= 7; ++depth)
        chain.push_back(parent = folder(tree, parent, "level" + std::to_string(depth)));
    file(tree, parent, "bottom", 1000);
    // A file node that was given a child anyway: the file is drawn, the child is not.
    const NodeId odd = file(tree, 0, "odd", 1000);
    file(tree, odd, "under-a-file", 500);
    tree.propagateSizes();

    const auto segments = RingLayout::layout(tree, 0, 5, minAngle);
    std::vector<int> depths;
    for (const auto& s : segments)
        depths.push_back(s.depth);
    EXPECT_EQ(depths, (std::vector<int>{1, 1, 2, 3, 4, 5}));
    EXPECT_EQ(segments[0].kind, Kind::node(odd));
    EXPECT_EQ(segments[5].kind, Kind::node(chain[4]));
    EXPECT_EQ(RingLayout::layout(tree, 0, 2, minAngle).size(), 3u);
    EXPECT_EQ(RingLayout::layout(tree, chain[5], 5, minAngle).size(), 2u);
}

TEST(RingLayout, BranchesNumberTheFirstRingAndDescendantsInheritThem) {
    FileTree tree("/b");
    const NodeId photos = folder(tree, 0, "photos");
    const NodeId raw = folder(tree, photos, "raw");
    file(tree, raw, "img", 300);
    file(tree, 0, "empty", 0);
    const NodeId music = folder(tree, 0, "music");
    file(tree, music, "song", 200);
    file(tree, 0, "notes", 100);
    tree.propagateSizes();

    const auto segments = RingLayout::layout(tree, 0, 5, minAngle);
    std::map<std::string, int> branchOf;
    for (const auto& s : segments) {
        ASSERT_TRUE(s.kind.isNode());
        branchOf[tree.name(s.kind.id)] = s.branch;
    }
    EXPECT_EQ(branchOf,
              (std::map<std::string, int>{
                  {"photos", 0}, {"raw", 0}, {"img", 0}, {"music", 1}, {"song", 1}, {"notes", 2}}));
}

TEST(RingLayout, RandomTreesKeepChildrenInsideTheirParents) {
    std::mt19937 random(20261122);
    for (int round = 0; round < 60; ++round) {
        const FileTree tree = randomTree(random, 200 + static_cast<int>(random() % 3000));
        std::vector<NodeId> folders;
        for (NodeId id = 0; id < tree.count(); ++id)
            if (tree.flags(id).contains(NodeFlags::directory)) folders.push_back(id);
        const NodeId focus = round % 3 == 0 ? 0 : folders[random() % folders.size()];
        const double minimum = round % 4 == 0 ? 0.0 : minAngle * (1 + random() % 8);
        const int maxDepth = 1 + static_cast<int>(random() % 6);
        const auto segments = RingLayout::layout(tree, focus, maxDepth, minimum);
        if (segments.empty()) continue;

        // Each slice lies inside the slice of its folder, which comes before it, and a
        // folder's children fill it to its end however many own blocks it holds.
        std::map<NodeId, std::size_t> indexOfNode;
        std::map<std::size_t, double> filledTo;
        double ring1 = 0;
        for (std::size_t i = 0; i < segments.size(); ++i) {
            const RingSegment& s = segments[i];
            ASSERT_GE(s.end, s.start);
            if (s.depth == 1) ring1 += s.span();
            if (s.kind.isNode()) indexOfNode[s.kind.id] = i;
            const NodeId up = s.kind.isNode() ? tree.parent(s.kind.id) : s.kind.id;
            if (up == focus) {
                ASSERT_EQ(s.depth, 1);
                continue;
            }
            ASSERT_TRUE(indexOfNode.contains(up));
            const RingSegment& outer = segments[indexOfNode[up]];
            ASSERT_EQ(outer.depth, s.depth - 1);
            ASSERT_GE(s.start, outer.start);
            ASSERT_LE(s.end, outer.end + 1e-9);
            filledTo[indexOfNode[up]] = s.end;
            if (s.kind.isNode()) {
                ASSERT_EQ(s.branch, outer.branch);
            }
        }
        EXPECT_NEAR(ring1, turn, 1e-9);
        for (const auto& [index, end] : filledTo)
            ASSERT_NEAR(end, segments[index].end, 1e-9) << tree.path(segments[index].kind.id);

        // Within a ring, slices never overlap.
        for (int depth = 1; depth <= maxDepth; ++depth) {
            std::vector<std::pair<double, double>> spans;
            for (const auto& s : segments)
                if (s.depth == depth) spans.emplace_back(s.start, s.end);
            std::sort(spans.begin(), spans.end());
            for (std::size_t i = 1; i < spans.size(); ++i)
                ASSERT_LE(spans[i - 1].second, spans[i].first + 1e-9);
        }
    }
}

TEST(RingLayout, HitTestFindsTheSliceUnderAPoint) {
    const double pi = std::numbers::pi;
    const std::vector<RingSegment> segments{
        {Kind::node(1), 1, 0, pi, 500, 0},
        {Kind::node(2), 2, 0, pi / 2, 250, 0}, // ring 2 under node 1 stops halfway
        {Kind::node(3), 1, pi, turn, 500, 1},
        {Kind::node(4), 5, 0, pi, 100, 0},
    };
    const RingGeometry geometry;
    const auto hit = [&](double x, double y) {
        return RingLayout::hitTest(segments, geometry, x, y);
    };
    EXPECT_EQ(hit(0, 0), Hit::center());
    EXPECT_EQ(hit(0.299, 0), Hit::center());
    EXPECT_EQ(hit(0.3, 0.001), Hit::segment(0));
    EXPECT_EQ(hit(0, 0.98), Hit::segment(3)); // the outer edge belongs to the last ring
    EXPECT_EQ(hit(0, 0.981), Hit::none());
    EXPECT_EQ(hit(-0.35, 0), Hit::segment(2)); // on a boundary: the later slice
    EXPECT_EQ(hit(0, -0.35), Hit::segment(2)); // straight below: 3π/2
    EXPECT_EQ(hit(0.486, 0.01), Hit::segment(1));
    EXPECT_EQ(hit(-0.486, 0.01), Hit::none()); // the unfilled tail of node 1
    EXPECT_EQ(hit(std::nan(""), 0), Hit::none());
    EXPECT_EQ(RingLayout::hitTest({}, geometry, 0.5, 0), Hit::none());
}
