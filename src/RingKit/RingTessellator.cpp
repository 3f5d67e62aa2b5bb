#include "RingKit/RingTessellator.hpp"

#include <algorithm>
#include <cmath>

namespace ringkit {

namespace {

std::uint8_t toByte(double fraction) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(fraction, 0.0, 1.0) * 255.0));
}

struct Edge {
    RingVertex inner;
    RingVertex outer;
};

} // namespace

RingVertex RingTessellator::premultiplied(const Rgba& color, double alpha) {
    const double a = std::clamp(static_cast<double>(color.a) * alpha, 0.0, 1.0);
    return {0, 0, toByte(color.r * a), toByte(color.g * a), toByte(color.b * a), toByte(a)};
}

double RingTessellator::stepAngle(double radiusPx) {
    // Corners at r × lift, lift = 2 / (1 + cos h) for a half step h, put the chord's middle
    // at r × lift × cos h: both stray r (1 − cos h) / (1 + cos h), which is set to the
    // tolerance t and solved for h.
    const double t = chordTolerance / radiusPx;
    if (!(t > 0) || t >= 1) return maxStepAngle;
    return std::min(maxStepAngle, 2 * std::acos((1 - t) / (1 + t)));
}

void RingTessellator::appendSlice(const RingSlice& slice, double pxPerUnit,
                                  std::vector<RingVertex>& out, const VertexPlacement& placement,
                                  const RingGeometry& geometry) {
    if (!(pxPerUnit > 0)) return;
    const double inner = geometry.inner(slice.depth);
    const double outer = geometry.outer(slice.depth);
    double a0 = slice.start;
    double a1 = slice.end;
    // One pixel of arc at the ring's middle; slices narrower than three of them stay whole.
    const double gap = 1 / (pxPerUnit * (inner + outer) / 2);
    if (a1 - a0 > 3 * gap) {
        a0 += gap / 2;
        a1 -= gap / 2;
    }
    if (!(a0 < a1)) return;
    const double rIn = inner + 0.8 / pxPerUnit;
    const double rOut = outer - 0.8 / pxPerUnit;
    if (!(rIn < rOut)) return;

    const double span = a1 - a0;
    if (!std::isfinite(span)) return;
    // More than a turn is never meaningful; the cap keeps a corrupt slice from flooding memory.
    const auto steps = std::clamp(std::ceil(span / stepAngle(rOut * pxPerUnit)), 1.0, 720.0);
    // Few wide quads cost a software rasteriser far less than many thin ones: their edges,
    // where it works pixel by pixel, are shorter. Lifting the corners keeps the chords true.
    const double lift = 2 / (1 + std::cos(span / steps / 2));
    const double rInCorner = rIn * lift;
    const double rOutCorner = rOut * lift;
    const RingVertex colour = premultiplied(slice.color, slice.alpha);
    const auto edgeAt = [&](double b) {
        const double c = std::cos(b);
        const double s = std::sin(b);
        Edge edge{colour, colour};
        edge.inner.x = static_cast<float>(placement.centerX + c * rInCorner * placement.unitX);
        edge.inner.y = static_cast<float>(placement.centerY + s * rInCorner * placement.unitY);
        edge.outer.x = static_cast<float>(placement.centerX + c * rOutCorner * placement.unitX);
        edge.outer.y = static_cast<float>(placement.centerY + s * rOutCorner * placement.unitY);
        return edge;
    };
    const auto n = static_cast<std::size_t>(steps);
    Edge previous = edgeAt(a0);
    for (std::size_t k = 1; k <= n; ++k) {
        const Edge next = edgeAt(k == n ? a1 : a0 + span * static_cast<double>(k) / steps);
        out.insert(out.end(), {previous.inner, previous.outer, next.inner, next.inner,
                               previous.outer, next.outer});
        previous = next;
    }
}

void RingTessellator::tessellate(std::span<const RingSlice> slices, double pxPerUnit,
                                 std::vector<RingVertex>& out, const VertexPlacement& placement,
                                 const RingGeometry& geometry) {
    out.clear();
    for (const auto& slice : slices)
        appendSlice(slice, pxPerUnit, out, placement, geometry);
}

} // namespace ringkit
