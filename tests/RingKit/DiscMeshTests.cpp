#include "RingKit/DiscMesh.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace ringkit;

namespace {

template <typename Vertex> double area(const std::vector<Vertex>& triangles) {
    double sum = 0;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const auto& a = triangles[i];
        const auto& b = triangles[i + 1];
        const auto& c = triangles[i + 2];
        sum += std::abs((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y)) / 2;
    }
    return sum;
}

} // namespace

TEST(DiscMesh, PlainInsideTheRimAndTogetherTheWholeDisc) {
    const RingVertex colour{0, 0, 250, 251, 252, 255};
    const VertexPlacement placement{300, 200, 100, -100};
    DiscMesh mesh;
    mesh.build(0.25, 0.28, colour, placement);
    ASSERT_FALSE(mesh.plain.empty());
    ASSERT_EQ(mesh.plain.size() % 3, 0u);
    ASSERT_EQ(mesh.rim.size() % 3, 0u);
    for (const auto& v : mesh.plain) {
        EXPECT_LE(std::hypot(v.x - 300, v.y - 200), 25 + 1e-3);
        EXPECT_EQ((RingVertex{0, 0, v.r, v.g, v.b, v.a}), colour);
    }
    // The rim's corners carry their place in ring units for the shader.
    for (const auto& v : mesh.rim) {
        EXPECT_NEAR(v.x, 300 + v.ringX * 100, 1e-3);
        EXPECT_NEAR(v.y, 200 - v.ringY * 100, 1e-3);
    }
    // Neither gaps nor overlaps: the two cover exactly the outer polygon, which holds the
    // whole edge circle (its sides' middles lie on it or outside).
    const int sides = 2 * DiscMesh::plainCorners;
    const double outer = 28 / std::cos(std::numbers::pi / sides);
    const double polygon = sides * outer * outer * std::sin(2 * std::numbers::pi / sides) / 2;
    EXPECT_NEAR(area(mesh.plain) + area(mesh.rim), polygon, 0.5);
    EXPECT_GT(polygon, std::numbers::pi * 28 * 28);
    // Most of the disc is plain.
    EXPECT_GT(area(mesh.plain), 0.7 * polygon);
}

TEST(DiscMesh, NoRimNoTriangles) {
    DiscMesh mesh;
    for (const auto& [plain, edge] : {std::pair{0.3, 0.28}, std::pair{0.0, 0.28},
                                      std::pair{-0.1, 0.28}, std::pair{0.2, std::nan("")}}) {
        mesh.build(plain, edge, {});
        EXPECT_TRUE(mesh.plain.empty() && mesh.rim.empty()) << plain << ' ' << edge;
    }
}
