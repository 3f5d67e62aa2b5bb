#pragma once

#include "RingKit/RingSegment.hpp"
#include "RingKit/RingTessellator.hpp"

#include <span>

namespace ringkit {

/// A point in ring units, relative to the ring's centre, y growing upward.
struct RingPoint {
    double x = 0;
    double y = 0;
    friend bool operator==(const RingPoint&, const RingPoint&) = default;
};

/// The square a view draws the ring in: radius 1 is 0.96 of half the view's smaller side,
/// centred. View coordinates have y growing downward (as in Qt Quick items); ring y grows
/// upward, so angles run counter-clockwise on screen.
struct RingViewport {
    double width = 0;
    double height = 0;

    /// View units per ring unit.
    double unit() const;
    /// The view point (px, py) in ring units.
    RingPoint toRing(double px, double py) const;
    /// Where tessellated vertices must land to be in view coordinates.
    VertexPlacement placement() const;
    /// The slice, centre disc or nothing under view point (px, py), with the default ring
    /// geometry. With no segments every point maps to the centre.
    Hit hitTest(std::span<const RingSegment> segments, double px, double py) const;
};

} // namespace ringkit
