#include "RingKit/DiscMesh.hpp"

#include <cmath>
#include <numbers>

namespace ringkit {

void DiscMesh::build(double plainRadius, double edgeRadius, RingVertex colour,
                     const VertexPlacement& placement) {
    plain.clear();
    rim.clear();
    if (!(plainRadius > 0 && plainRadius < edgeRadius && std::isfinite(edgeRadius))) return;
    constexpr int outerCorners = 2 * plainCorners;
    // The outer polygon lies just outside the edge circle, so its chords cut none of it.
    const double outer = edgeRadius / std::cos(std::numbers::pi / outerCorners);
    const auto corner = [&](int k, int of, double radius) {
        const double angle = 2 * std::numbers::pi * k / of;
        const double x = std::cos(angle) * radius;
        const double y = std::sin(angle) * radius;
        return DiscVertex{static_cast<float>(placement.centerX + x * placement.unitX),
                          static_cast<float>(placement.centerY + y * placement.unitY),
                          static_cast<float>(x), static_cast<float>(y)};
    };
    const auto flat = [&](const DiscVertex& v) {
        RingVertex out = colour;
        out.x = v.x;
        out.y = v.y;
        return out;
    };

    // The plain polygon zigzags across from corner 0, so its triangles are wide, not slivers
    // meeting at one point.
    std::vector<DiscVertex> inner;
    inner.reserve(plainCorners);
    for (int k = 0; k < plainCorners; ++k)
        inner.push_back(corner(k, plainCorners, plainRadius));
    int low = 0;
    int high = plainCorners - 1;
    int a = low++;
    int b = high--;
    for (bool fromLow = true; low <= high; fromLow = !fromLow) {
        const int c = fromLow ? low++ : high--;
        plain.insert(plain.end(), {flat(inner[a]), flat(inner[b]), flat(inner[c])});
        a = b;
        b = c;
    }

    // Each side of the plain polygon faces two sides of the outer one: three triangles.
    for (int k = 0; k < plainCorners; ++k) {
        const DiscVertex& from = inner[k];
        const DiscVertex& to = inner[(k + 1) % plainCorners];
        const DiscVertex o0 = corner(2 * k, outerCorners, outer);
        const DiscVertex o1 = corner(2 * k + 1, outerCorners, outer);
        const DiscVertex o2 = corner(2 * k + 2, outerCorners, outer);
        rim.insert(rim.end(), {from, o0, o1, from, o1, to, to, o1, o2});
    }
}

} // namespace ringkit
