#include "RingKit/RingTessellator.hpp"
#include "RingTestSupport.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace ringkit;

namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr double px = 500; // pixels per ring unit
const Rgba opaque{0.2f, 0.4f, 0.6f, 1.0f};

std::vector<RingVertex> tessellated(const RingSlice& slice, double pxPerUnit = px) {
    std::vector<RingVertex> out;
    RingTessellator::appendSlice(slice, pxPerUnit, out);
    return out;
}

double angleOf(const RingVertex& v) {
    return std::atan2(v.y, v.x);
}

// How far, in pixels, the drawn inner and outer edges stray from the true arcs: at every
// corner and at every chord's middle.
double worstStray(const std::vector<RingVertex>& v, double rIn, double rOut, double pxPerUnit) {
    double worst = 0;
    const auto take = [&](float x, float y, double r) {
        worst = std::max(worst, std::abs(std::hypot(x, y) - r) * pxPerUnit);
    };
    for (std::size_t q = 0; q + 5 < v.size(); q += 6) {
        // A quad: inner, outer, next inner, next inner, outer, next outer.
        take(v[q].x, v[q].y, rIn);
        take(v[q + 1].x, v[q + 1].y, rOut);
        take((v[q].x + v[q + 2].x) / 2, (v[q].y + v[q + 2].y) / 2, rIn);
        take((v[q + 1].x + v[q + 5].x) / 2, (v[q + 1].y + v[q + 5].y) / 2, rOut);
    }
    return worst;
}

} // namespace

TEST(RingTessellator, ArcsAreFewChordsTrueToTheToleranceWithTheGapAndTheInset) {
    struct Case {
        double pxPerUnit;
        double depth;
        double span;
        double fewestDegreesPerQuad; // the quads are this wide at least, but for the last
    };
    // Ring 1 runs from 0.3 to 0.436, ring 3 from 0.572 to 0.708; a tiny view takes the
    // widest step.
    for (const Case c : {Case{500, 1, 1.0, 4}, Case{500, 1, 2 * std::numbers::pi, 4},
                         Case{1500, 3, 2.0, 2}, Case{20, 1, 2 * std::numbers::pi, 10}}) {
        SCOPED_TRACE(::testing::Message() << c.pxPerUnit << " px, ring " << c.depth);
        const double rIn = 0.3 + 0.136 * (c.depth - 1) + 0.8 / c.pxPerUnit;
        const double rOut = 0.3 + 0.136 * c.depth - 0.8 / c.pxPerUnit;
        const auto v = tessellated({0.0, c.span, c.depth, opaque, 1}, c.pxPerUnit);
        ASSERT_EQ(v.size() % 6, 0u);
        const double quads = static_cast<double>(v.size() / 6);
        EXPECT_LE(quads, std::ceil(c.span / (c.fewestDegreesPerQuad * degree)));
        EXPECT_LE(worstStray(v, rIn, rOut, c.pxPerUnit), RingTessellator::chordTolerance + 1e-3);
    }

    // Half a pixel of arc at the ring's middle (0.368) comes off each end.
    const double gap = 1 / (px * 0.368);
    const auto ten = tessellated({0.0, 10 * degree + gap, 1, opaque, 1});
    EXPECT_NEAR(angleOf(ten.front()), gap / 2, 1e-6);
    EXPECT_NEAR(angleOf(ten.back()), 10 * degree + gap / 2, 1e-6);
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
    const VertexPlacement placement{200, 150, 100, -100};
    RingTessellator::tessellate(slices, px, out, placement);
    std::vector<RingVertex> each;
    for (const auto& slice : slices)
        RingTessellator::appendSlice(slice, px, each, placement);
    EXPECT_EQ(out, each);
    EXPECT_GT(out[0].x, 200 + 30);
    EXPECT_LT(out[2].y, 150); // counter-clockwise in ring units is upward on screen
}
