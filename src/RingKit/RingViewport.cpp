#include "RingKit/RingViewport.hpp"

#include "RingKit/RingLayout.hpp"

#include <algorithm>

namespace ringkit {

double RingViewport::unit() const {
    return std::min(width, height) * 0.5 * 0.96;
}

RingPoint RingViewport::toRing(double px, double py) const {
    const double u = unit();
    if (!(u > 0)) return {};
    return {(px - width / 2) / u, (height / 2 - py) / u};
}

VertexPlacement RingViewport::placement() const {
    return {width / 2, height / 2, unit(), -unit()};
}

Hit RingViewport::hitTest(std::span<const RingSegment> segments, double px, double py) const {
    const RingPoint point = segments.empty() ? RingPoint{} : toRing(px, py);
    return RingLayout::hitTest(segments, RingGeometry{}, point.x, point.y);
}

} // namespace ringkit
