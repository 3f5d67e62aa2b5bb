#include "RingKit/RingLayout.hpp"
#include "RingKit/RingMorph.hpp"
#include "RingKit/Theme.hpp"
#include "RingTestSupport.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace ringkit;
using brantle::FileTree;
using ringkit::testing::file;
using ringkit::testing::folder;
using Kind = RingSegment::Kind;

namespace {

struct Home {
    FileTree tree{"/home/u"};
    NodeId docs = folder(tree, 0, "docs");
    NodeId work = folder(tree, docs, "work");
    NodeId report = file(tree, work, "report", 400);
    NodeId letter = file(tree, docs, "letter", 100);
    NodeId music = folder(tree, 0, "music");
    NodeId song = file(tree, music, "song", 300);

    Home() { tree.propagateSizes(); }
    std::vector<RingSegment> layout(NodeId focus, int maxDepth = 5) const {
        return RingLayout::layout(tree, focus, maxDepth, RingLayout::defaultMinAngle);
    }
};

const RingMorph::Pair& pairOf(const RingMorph::Result& morph, Kind kind) {
    const auto found = std::find_if(morph.pairs.begin(), morph.pairs.end(),
                                    [&](const RingMorph::Pair& p) { return p.to.kind == kind; });
    if (found == morph.pairs.end()) throw std::runtime_error("kind not paired");
    return *found;
}

} // namespace

TEST(RingMorph, ZoomingInGlidesChildrenGrowsNewSlicesAndFadesTheRest) {
    Home home;
    const auto before = home.layout(0, 2);        // docs, work, letter, music, song
    const auto after = home.layout(home.docs, 2); // work, report, letter
    const auto morph = RingMorph::pair(before, after, RingMorph::parentsOf(home.tree));
    ASSERT_EQ(morph.pairs.size(), after.size());
    for (std::size_t i = 0; i < after.size(); ++i)
        EXPECT_EQ(morph.pairs[i].to, after[i]);

    const auto& work = pairOf(morph, Kind::node(home.work));
    EXPECT_EQ(work.from, before[1]); // from its old angles and ring
    EXPECT_EQ(work.to.depth, 1);
    EXPECT_DOUBLE_EQ(work.to.span(), 2 * std::numbers::pi * 0.8);
    // report was not shown: it opens from the old start of work, its parent.
    const auto& report = pairOf(morph, Kind::node(home.report));
    EXPECT_EQ(report.from.start, before[1].start);
    EXPECT_EQ(report.from.end, before[1].start);
    EXPECT_EQ(report.from.depth, report.to.depth);

    // docs itself is now the centre; it and music's slices fade in the old order.
    std::vector<Kind> fading;
    for (const auto& s : morph.fading)
        fading.push_back(s.kind);
    EXPECT_EQ(fading, (std::vector<Kind>{Kind::node(home.docs), Kind::node(home.music),
                                         Kind::node(home.song)}));
}

TEST(RingMorph, NewSlicesWithoutAMatchGrowFromTheirAnchor) {
    const std::vector<RingSegment> old{
        {Kind::node(7), 1, 1.0, 2.0, 10, 0},
        {Kind::hidden(), 1, 2.0, 3.0, 10, -1},
        {Kind::node(7), 1, 1.5, 2.5, 10, 0}, // a repeated kind: the later one counts
    };
    const std::vector<RingSegment> next{
        {Kind::smaller(7, 3), 2, 1.8, 1.9, 3, -1}, // parent drawn before
        {Kind::smaller(9, 2), 2, 4.0, 4.2, 2, -1}, // parent not drawn
        {Kind::purgeable(), 1, 5.0, 6.0, 10, -1},  // no anchor at all
        {Kind::node(12), 2, 0.5, 0.7, 10, 0},      // parent 7 through the look-up
        {Kind::hidden(), 1, 3.0, 5.0, 20, -1},
    };
    const auto morph = RingMorph::pair(old, next, [](NodeId id) -> std::optional<NodeId> {
        return id == 12 ? std::optional<NodeId>(7) : std::nullopt;
    });
    ASSERT_EQ(morph.pairs.size(), 5u);
    EXPECT_EQ(morph.pairs[0].from.start, 1.5);
    EXPECT_EQ(morph.pairs[0].from.end, 1.5);
    EXPECT_EQ(morph.pairs[1].from.start, 4.0);
    EXPECT_EQ(morph.pairs[1].from.end, 4.0);
    EXPECT_EQ(morph.pairs[2].from.start, 5.0);
    EXPECT_EQ(morph.pairs[3].from.start, 1.5);
    EXPECT_EQ(morph.pairs[4].from, old[1]);
    ASSERT_EQ(morph.fading.size(), 2u); // both copies of node 7
    EXPECT_EQ(morph.fading[0], old[0]);
    EXPECT_EQ(morph.fading[1], old[2]);
}

TEST(RingMorph, AnimationArithmetic) {
    EXPECT_EQ(RingMorph::progress(10.0, 10.0, 0.0), 1.0); // reduce motion: done at once
    EXPECT_EQ(RingMorph::progress(9.0, 10.0, 0.38), 0.0); // a clock that went back

    const RingMorph::Pair pair{{Kind::node(1), 2, 1.0, 2.0, 5, 3},
                               {Kind::node(1), 1, 0.0, 4.0, 9, 0}};

    // Pairs move by e in angle, ring and colour; fading slices lose alpha and vanish at the end.
    const RingMorph::Result morph{{pair}, {{Kind::hidden(), 1, 4.0, 6.0, 1, -1}}};
    std::vector<RingSlice> slices;
    RingMorph::frameSlices(morph, 0.25, false, slices);
    ASSERT_EQ(slices.size(), 2u);
    EXPECT_EQ(slices[0].start, 0.75);
    EXPECT_EQ(slices[0].end, 2.5);
    EXPECT_EQ(slices[0].depth, 1.75);
    EXPECT_NE(slices[0].color, Theme::color(pair.to, false));
    EXPECT_EQ(slices[0].alpha, 1.0);
    EXPECT_EQ(slices[1].start, 4.0);
    EXPECT_EQ(slices[1].alpha, 0.75);
    EXPECT_EQ(slices[1].color, Theme::color(morph.fading[0], false));
    RingMorph::frameSlices(morph, 1.0, true, slices);
    ASSERT_EQ(slices.size(), 1u);
    EXPECT_EQ(slices[0].color, Theme::color(pair.to, true));
}
