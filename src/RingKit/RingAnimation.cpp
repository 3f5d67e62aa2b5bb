#include "RingKit/RingAnimation.hpp"

#include <algorithm>
#include <cmath>

namespace ringkit {

double RingAnimation::easedLevel(double level, double target, double dt) {
    level += (target - level) * std::min(1.0, dt * levelRate);
    return std::abs(target - level) < levelSnap ? target : level;
}

std::vector<RingSegment> RingAnimation::shownAt(double now) const {
    const double e = RingMorph::eased(RingMorph::progress(now, morphStart_, morphDuration_));
    std::vector<RingSegment> shown;
    shown.reserve(morph_.pairs.size());
    for (const auto& pair : morph_.pairs) {
        RingSegment segment = RingMorph::interpolate(pair, e);
        segment.depth = e < 0.5 ? pair.from.depth : pair.to.depth;
        shown.push_back(segment);
    }
    return shown;
}

void RingAnimation::setSegments(std::vector<RingSegment> segments,
                                const RingMorph::ParentLookup& parent, double now,
                                bool reduceMotion) {
    const std::vector<RingSegment> shown = shownAt(now);
    morph_ = RingMorph::pair(shown, segments, parent);
    segments_ = std::move(segments);
    morphStart_ = now;
    morphDuration_ = RingMorph::duration(reduceMotion);
}

bool RingAnimation::frame(double now, double pxPerUnit, bool dark,
                          const VertexPlacement& placement) {
    const double dt = std::clamp(now - lastFrame_, 0.0, maxFrameStep);
    lastFrame_ = now;
    level_ = easedLevel(level_, levelTarget_, dt);
    const double e = RingMorph::eased(RingMorph::progress(now, morphStart_, morphDuration_));
    vertices_.clear();
    if (pxPerUnit > 0) {
        RingMorph::frameSlices(morph_, e, dark, slices_);
        RingTessellator::tessellate(slices_, pxPerUnit, vertices_, placement);
    }
    return e < 1 || level_ != levelTarget_;
}

} // namespace ringkit
