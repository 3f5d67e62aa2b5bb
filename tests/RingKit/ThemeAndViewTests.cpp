#include "RingKit/RingAnimation.hpp"
#include "RingKit/RingViewport.hpp"
#include "RingKit/Theme.hpp"
#include "RingTestSupport.hpp"

#include <gtest/gtest.h>

#include <numbers>

using namespace ringkit;
using Kind = RingSegment::Kind;

TEST(Theme, BranchHuesRepeatAndFadeWhileGreysStay) {
    const auto color = [](Kind kind, int depth, int branch, bool dark = false) {
        return Theme::color(RingSegment{kind, depth, 0, 1, 1, branch}, dark);
    };
    const Kind node = Kind::node(1);
    EXPECT_EQ(color(node, 1, 9), color(node, 1, 1)); // hues repeat every eight
    EXPECT_NE(color(node, 1, 0), color(node, 1, 1));
    EXPECT_EQ(color(node, 1, -1), color(node, 1, 0));
    EXPECT_GT(color(node, 3, 0).r, color(node, 1, 0).r); // deeper rings fade toward the window
    EXPECT_EQ(color(Kind::smaller(0, 2), 4, -1), color(Kind::smaller(0, 2), 1, -1));
    EXPECT_NE(color(Kind::purgeable(), 1, -1, true), color(Kind::purgeable(), 1, -1));
}

TEST(RingViewport, PointsMapToRingUnitsAndBack) {
    const RingViewport view{200, 100}; // unit = 100 × 0.5 × 0.96 = 48
    EXPECT_EQ(view.toRing(100, 50), (RingPoint{0, 0}));
    EXPECT_EQ(view.toRing(148, 50), (RingPoint{1, 0}));
    EXPECT_EQ(view.toRing(100, 98), (RingPoint{0, -1})); // below the centre on screen

    const std::vector<RingSegment> ring{
        {Kind::node(1), 1, std::numbers::pi, 2 * std::numbers::pi, 5, 0}};
    EXPECT_EQ(view.hitTest(ring, 100, 50 + 48 * 0.35), Hit::segment(0));
    EXPECT_EQ(view.hitTest(ring, 100, 50 - 48 * 0.35), Hit::none());
    EXPECT_EQ(view.hitTest({}, 190, 95), Hit::center()); // nothing laid out
    EXPECT_EQ(RingViewport{}.toRing(3, 4), (RingPoint{0, 0}));
}

TEST(RingAnimation, FullnessEasesAtMostATenthOfASecondPerFrame) {
    EXPECT_NEAR(RingAnimation::easedLevel(0, 1, 0.1), 0.35, 1e-12);
    EXPECT_EQ(RingAnimation::easedLevel(0.5, 0.5004, 0.01), 0.5004); // snaps when close
    EXPECT_EQ(RingAnimation::easedLevel(0, 1, 1.0), 1.0);

    RingAnimation animation;
    animation.setLevelTarget(0.8);
    EXPECT_TRUE(animation.frame(100.0, 0, false));
    EXPECT_NEAR(animation.level(), 0.8 * 0.35, 1e-12); // first frame after a long pause
    double now = 100.0;
    for (int i = 0; i < 200 && animation.frame(now += 1.0 / 60, 0, false);)
        ++i;
    EXPECT_EQ(animation.level(), 0.8);
    EXPECT_FALSE(animation.frame(now + 1, 0, false)); // nothing moves: pause
}

TEST(RingAnimation, MorphsRunTheirCourseOrJumpWithReduceMotion) {
    const std::vector<RingSegment> first{{Kind::node(1), 1, 0, std::numbers::pi, 5, 0},
                                         {Kind::node(2), 1, std::numbers::pi, 6, 5, 1}};
    const std::vector<RingSegment> second{{Kind::node(1), 1, 0, 6, 10, 0}};
    const auto noParents = [](NodeId) { return std::optional<NodeId>(); };
    const double px = 400;
    std::vector<RingVertex> finalVertices;
    std::vector<RingSlice> finalSlices;
    RingMorph::frameSlices(RingMorph::pair(second, second, noParents), 1, false, finalSlices);
    RingTessellator::tessellate(finalSlices, px, finalVertices);

    RingAnimation jump;
    jump.setSegments(first, noParents, 10.0, true);
    jump.setSegments(second, noParents, 10.0, true);
    EXPECT_FALSE(jump.frame(10.0, px, false));
    EXPECT_TRUE(std::ranges::equal(jump.vertices(), finalVertices));
    EXPECT_EQ(jump.segments(), second);

    RingAnimation glide;
    glide.setSegments(first, noParents, 10.0, true);
    glide.setSegments(second, noParents, 20.0, false);
    EXPECT_TRUE(glide.frame(20.19, px, false));
    EXPECT_FALSE(std::ranges::equal(glide.vertices(), finalVertices));
    // A new layout mid-glide starts from where the slices are now, not where they began.
    glide.setSegments(first, noParents, 20.19, false);
    EXPECT_TRUE(glide.frame(20.19, px, false));
    const double e = RingMorph::eased(RingMorph::progress(20.19, 20.0, 0.38));
    const RingSegment now = RingMorph::interpolate({first[0], second[0]}, e);
    std::vector<RingVertex> nowVertices; // node 2 opens from zero width: nothing drawn yet
    RingTessellator::appendSlice({now.start, now.end, 1, Theme::color(now, false), 1}, px,
                                 nowVertices);
    EXPECT_TRUE(std::ranges::equal(glide.vertices(), nowVertices));

    EXPECT_FALSE(glide.frame(21.0, px, false));
    std::vector<RingSlice> firstSlices;
    RingMorph::frameSlices(RingMorph::pair(first, first, noParents), 1, false, firstSlices);
    std::vector<RingVertex> firstVertices;
    RingTessellator::tessellate(firstSlices, px, firstVertices);
    EXPECT_TRUE(std::ranges::equal(glide.vertices(), firstVertices));
}
