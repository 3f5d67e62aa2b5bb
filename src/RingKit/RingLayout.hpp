#pragma once

#include "BrantleCore/FileTree.hpp"
#include "RingKit/RingSegment.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace ringkit {

/// A pseudo-slice laid after the first ring's children (hidden or purgeable volume space).
struct RingExtra {
    RingSegment::Kind kind;
    std::uint64_t bytes = 0;
};

/// Lays a focused folder out as concentric rings of slices and answers which slice lies under
/// a point. Pure functions: no state between calls.
namespace RingLayout {

/// Half a degree: the smallest angle a node may take and still get a slice of its own.
inline constexpr double defaultMinAngle = 0.008726646259971648;

/// The segments of `focus` out to ring `maxDepth`, in pre-order. The whole turn stands for
/// size(focus) plus the extras' bytes; a folder's children fill its whole arc in proportion
/// to their sizes (its own blocks leave no gap); children narrower than `minAngle` (against
/// the whole turn) merge into one `smaller` slice per folder. Empty when that total is 0.
std::vector<RingSegment> layout(const brantle::FileTree& tree, NodeId focus, int maxDepth,
                                double minAngle, std::span<const RingExtra> extras = {});

/// atan2(y, x) brought into [0, 2π).
double angle(double x, double y);

/// The slice, centre disc or nothing at point (x, y), relative to the ring's centre in ring
/// units. On a boundary between two slices the later one wins.
Hit hitTest(std::span<const RingSegment> segments, const RingGeometry& geometry, double x,
            double y);

} // namespace RingLayout

} // namespace ringkit
