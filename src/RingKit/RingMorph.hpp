#pragma once

#include "BrantleCore/FileTree.hpp"
#include "RingKit/RingSegment.hpp"
#include "RingKit/RingTessellator.hpp"

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace ringkit {

/// Pairs an old layout with a new one so that slices glide instead of jumping, and the
/// arithmetic of that glide. No state of its own.
namespace RingMorph {

/// One slice of the new layout and where it starts from.
struct Pair {
    RingSegment from;
    RingSegment to;
    friend bool operator==(const Pair&, const Pair&) = default;
};

/// `pairs`: one per new segment, in the new order. `fading`: old segments with no
/// counterpart, in the old order.
struct Result {
    std::vector<Pair> pairs;
    std::vector<RingSegment> fading;
};

/// A node's parent, or no value at the top of the tree.
using ParentLookup = std::function<std::optional<NodeId>(NodeId)>;

/// Matches segments by kind alone. A new slice without a match grows from the start angle
/// its parent had in the old layout (or from its own start when the parent was not shown).
Result pair(std::span<const RingSegment> old, std::span<const RingSegment> next,
            const ParentLookup& parent);

/// The parent look-up of a tree: no value for the root and for ids the tree does not hold.
ParentLookup parentsOf(const brantle::FileTree& tree);

/// Seconds a morph takes; 0 with reduce motion, so the new layout shows at once.
inline constexpr double animationDuration = 0.38;
double duration(bool reduceMotion);

/// Linear progress in [0, 1] at `now` of a morph begun at `start`; 1 when duration is 0.
double progress(double now, double start, double duration);

/// Eased progress 1 − (1 − t)³: fast start, gentle stop.
double eased(double t);

/// The pair's segment moved from `from` toward `to` by e: angles interpolated; kind, bytes,
/// branch and depth those of `to`.
RingSegment interpolate(const Pair& pair, double e);

/// Replaces `out` with what a frame draws at eased progress e: every pair moved by e (angles,
/// ring and colour), then, while e < 1, the fading slices at their old place with alpha 1 − e.
void frameSlices(const Result& morph, double e, bool dark, std::vector<RingSlice>& out);

} // namespace RingMorph

} // namespace ringkit
