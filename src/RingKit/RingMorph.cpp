#include "RingKit/RingMorph.hpp"

#include "RingKit/Theme.hpp"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace ringkit {

namespace {

using Kind = RingSegment::Kind;

std::optional<NodeId> anchorOf(const Kind& kind, const RingMorph::ParentLookup& parent) {
    switch (kind.type) {
    case Kind::Type::node:
        return parent ? parent(kind.id) : std::nullopt;
    case Kind::Type::smaller:
        return kind.id;
    case Kind::Type::hidden:
    case Kind::Type::purgeable:
        break;
    }
    return std::nullopt;
}

double lerp(double from, double to, double e) {
    return from + (to - from) * e;
}

} // namespace

RingMorph::Result RingMorph::pair(std::span<const RingSegment> old,
                                  std::span<const RingSegment> next, const ParentLookup& parent) {
    std::unordered_map<Kind, std::size_t> oldByKind;
    oldByKind.reserve(old.size());
    for (std::size_t i = 0; i < old.size(); ++i)
        oldByKind[old[i].kind] = i; // a repeated kind: the later one wins
    std::unordered_set<Kind> matched;
    Result result;
    result.pairs.reserve(next.size());
    for (const RingSegment& segment : next) {
        if (const auto found = oldByKind.find(segment.kind); found != oldByKind.end()) {
            result.pairs.push_back({old[found->second], segment});
            matched.insert(segment.kind);
            continue;
        }
        double growth = segment.start;
        if (const auto anchor = anchorOf(segment.kind, parent)) {
            const auto parentSlice = oldByKind.find(Kind::node(*anchor));
            if (parentSlice != oldByKind.end()) growth = old[parentSlice->second].start;
        }
        RingSegment from = segment;
        from.start = growth;
        from.end = growth;
        result.pairs.push_back({from, segment});
    }
    for (const RingSegment& segment : old) {
        if (!matched.contains(segment.kind)) result.fading.push_back(segment);
    }
    return result;
}

RingMorph::ParentLookup RingMorph::parentsOf(const brantle::FileTree& tree) {
    return [&tree](NodeId id) -> std::optional<NodeId> {
        if (id >= tree.count()) return std::nullopt;
        const NodeId up = tree.parent(id);
        if (up == brantle::FileTree::none) return std::nullopt;
        return up;
    };
}

double RingMorph::duration(bool reduceMotion) {
    return reduceMotion ? 0.0 : animationDuration;
}

double RingMorph::progress(double now, double start, double duration) {
    if (!(duration > 0)) return 1.0;
    const double t = (now - start) / duration;
    return std::isnan(t) ? 1.0 : std::clamp(t, 0.0, 1.0);
}

double RingMorph::eased(double t) {
    const double rest = 1 - t;
    return 1 - rest * rest * rest;
}

RingSegment RingMorph::interpolate(const Pair& pair, double e) {
    RingSegment out = pair.to;
    out.start = lerp(pair.from.start, pair.to.start, e);
    out.end = lerp(pair.from.end, pair.to.end, e);
    return out;
}

void RingMorph::frameSlices(const Result& morph, double e, bool dark, std::vector<RingSlice>& out) {
    out.clear();
    for (const Pair& pair : morph.pairs) {
        // A slice that changes ring on a refocus also moves between the radii.
        out.push_back({lerp(pair.from.start, pair.to.start, e), lerp(pair.from.end, pair.to.end, e),
                       lerp(pair.from.depth, pair.to.depth, e),
                       mix(Theme::color(pair.from, dark), Theme::color(pair.to, dark), e), 1.0});
    }
    if (e >= 1) return;
    for (const RingSegment& segment : morph.fading) {
        out.push_back({segment.start, segment.end, static_cast<double>(segment.depth),
                       Theme::color(segment, dark), 1 - e});
    }
}

} // namespace ringkit
