#pragma once

#include "RingKit/RingMorph.hpp"
#include "RingKit/RingSegment.hpp"
#include "RingKit/RingTessellator.hpp"

#include <limits>
#include <span>
#include <vector>

namespace ringkit {

/// The drawing state of a ring view, without the drawing: the running morph between layouts
/// and the disk-fullness level that eases toward its target. A view feeds it the clock once
/// per frame and copies out the vertices; it pauses when `frame` says nothing moves.
class RingAnimation {
public:
    /// Longest stretch of time one frame eases, so a frame after a long pause does not jump.
    static constexpr double maxFrameStep = 0.1;
    /// Fraction of the remaining distance the level covers per second (times dt).
    static constexpr double levelRate = 3.5;
    /// Closer than this to its target, the level snaps onto it.
    static constexpr double levelSnap = 0.0005;

    /// The level after easing toward `target` for `dt` seconds (dt already capped).
    static double easedLevel(double level, double target, double dt);

    /// Starts a morph at `now` from what is shown now (mid-morph: the slices where they are)
    /// to `segments`. With reduce motion the next frame shows `segments` as they are.
    void setSegments(std::vector<RingSegment> segments, const RingMorph::ParentLookup& parent,
                     double now, bool reduceMotion);
    /// Where the fullness level goes, 0…1; the level follows over the next frames.
    void setLevelTarget(double target) { levelTarget_ = target; }

    /// Advances to `now` (seconds, monotonic) and rebuilds `vertices()` for drawables of
    /// `pxPerUnit` pixels per ring unit (none when that is not positive). Returns whether
    /// anything still moves, i.e. whether another frame is wanted.
    bool frame(double now, double pxPerUnit, bool dark, const VertexPlacement& placement = {});

    /// The triangle list built by the last frame.
    std::span<const RingVertex> vertices() const { return vertices_; }
    /// The layout being shown or morphed to.
    const std::vector<RingSegment>& segments() const { return segments_; }
    double level() const { return level_; }
    double levelTarget() const { return levelTarget_; }

private:
    std::vector<RingSegment> shownAt(double now) const;

    std::vector<RingSegment> segments_;
    RingMorph::Result morph_;
    double morphStart_ = 0;
    double morphDuration_ = 0;
    double level_ = 0;
    double levelTarget_ = 0;
    double lastFrame_ = -std::numeric_limits<double>::infinity();
    std::vector<RingSlice> slices_;
    std::vector<RingVertex> vertices_;
};

} // namespace ringkit
