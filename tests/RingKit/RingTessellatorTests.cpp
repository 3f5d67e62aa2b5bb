#include "RingKit/RingTessellator.hpp"
#include "RingTestSupport.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace ringkit;

namespace {

constexpr double degree = RingTessellator::stepAngle;
constexpr double px = 500; // pixels per ring unit
const Rgba opaque{0.2f, 0.4f, 0.6f, 1.0f};

std::vector<RingVertex> tessellated(const RingSlice& slice, double pxPerUnit = px) {
    std::vector<RingVertex> out;
    RingTessellator::appendSlice(slice, pxPerUnit, out);
    return out;
}

double radius(const RingVertex& v) {
    return std::hypot(v.x, v.y);
}
double angleOf(const RingVertex& v) {
    return std::atan2(v.y, v.x);
}

} // namespace

TEST(RingTessellator, OneQuadPerDegreeWithTheGapAndTheInset) {
    // Ring 1 middle radius 0.368: the gap is 1 / (500 × 0.368) rad, half of it off each end.
    const double gap = 1 / (px * 0.368);
    const auto ten = tessellated({0.0, 9.5 * degree + gap, 1, opaque, 1});
    EXPECT_EQ(ten.size(), 60u);
    const auto eleven = tessellated({0.0, 10.5 * degree + gap, 1, opaque, 1});
    EXPECT_EQ(eleven.size(), 66u);
    EXPECT_EQ(tessellated({0.0, 2 * std::numbers::pi, 1, opaque, 1}).size(), 360u * 6);

    EXPECT_NEAR(angleOf(ten.front()), gap / 2, 1e-6);
    EXPECT_NEAR(angleOf(ten.back()), 9.5 * degree + gap / 2, 1e-6);
    double lowest = 1, highest = 0;
    for (const auto& v : ten) {
        lowest = std::min(lowest, radius(v));
        highest = std::max(highest, radius(v));
    }
    EXPECT_NEAR(lowest, 0.3 + 0.8 / px, 1e-6);
    EXPECT_NEAR(highest, 0.436 - 0.8 / px, 1e-6);

    // Ring 3 sits further out.
    const auto third = tessellated({1.0, 1.2, 3, opaque, 1});
    EXPECT_NEAR(radius(third[0]), 0.3 + 2 * 0.136 + 0.8 / px, 1e-6);
    // Each step is two triangles sharing the quad's diagonal.
    EXPECT_EQ(ten[2], ten[3]);
    EXPECT_EQ(ten[1], ten[4]);
}

TEST(RingTessellator, NarrowSlicesKeepTheirWidthAndEmptyOnesVanish) {
    const double gap = 1 / (px * 0.368);
    const auto narrow = tessellated({1.0, 1.0 + 2.9 * gap, 1, opaque, 1});
    ASSERT_EQ(narrow.size(), 6u);
    EXPECT_NEAR(angleOf(narrow[0]), 1.0, 1e-6);
    EXPECT_NEAR(angleOf(narrow[5]), 1.0 + 2.9 * gap, 1e-6);
    EXPECT_TRUE(tessellated({1.0, 1.0, 1, opaque, 1}).empty());
    EXPECT_TRUE(tessellated({1.0, 0.9, 1, opaque, 1}).empty());
    EXPECT_TRUE(tessellated({0.0, 1.0, 1, opaque, 1}, 0).empty());
    EXPECT_TRUE(tessellated({0.0, 1.0, 1, opaque, 1}, 0.5).empty()); // inset swallows the ring
    EXPECT_EQ(tessellated({0.0, 1e300, 1, opaque, 1}).size(), 720u * 6);
    EXPECT_TRUE(tessellated({0.0, std::nan(""), 1, opaque, 1}).empty());
}

TEST(RingTessellator, ColoursArePremultipliedAndFaded) {
    const auto v = tessellated({0.0, 1.0, 1, {1.0f, 0.5f, 0.0f, 1.0f}, 0.5})[0];
    EXPECT_EQ(v.r, 128);
    EXPECT_EQ(v.g, 64);
    EXPECT_EQ(v.b, 0);
    EXPECT_EQ(v.a, 128);

    // Several slices in one list, placed into view coordinates (y downward, 100 px per unit).
    std::vector<RingVertex> out{RingVertex{}};
    const std::vector<RingSlice> slices{{0.0, 0.5, 1, opaque, 1}, {0.5, 1.0, 2, opaque, 1}};
    RingTessellator::tessellate(slices, px, out, {200, 150, 100, -100});
    EXPECT_EQ(out.size(), 2u * 29 * 6);
    EXPECT_GT(out[0].x, 200 + 30);
    EXPECT_LT(out[2].y, 150); // counter-clockwise in ring units is upward on screen
}
