#pragma once

#include "BrantleCore/FileTree.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace ringkit {

using brantle::NodeId;

/// One annular slice of the ring: ring `depth` (1 around the centre disc) from angle `start`
/// to `end` (radians, counter-clockwise from the positive x axis), standing for `bytes`.
struct RingSegment {
    /// What a slice stands for: a tree node, the merged small children of a folder, or one
    /// of the two volume-level extras. Payload fields that a case does not use stay 0.
    struct Kind {
        enum class Type : std::uint8_t { node, smaller, hidden, purgeable };

        Type type = Type::node;
        /// The node id for `node`, the folder whose children were merged for `smaller`.
        NodeId id = 0;
        /// How many children a `smaller` slice merges.
        std::int32_t count = 0;

        static constexpr Kind node(NodeId node) { return {Type::node, node, 0}; }
        static constexpr Kind smaller(NodeId parent, std::int32_t count) {
            return {Type::smaller, parent, count};
        }
        static constexpr Kind hidden() { return {Type::hidden, 0, 0}; }
        static constexpr Kind purgeable() { return {Type::purgeable, 0, 0}; }

        constexpr bool isNode() const { return type == Type::node; }
        friend constexpr bool operator==(const Kind&, const Kind&) = default;
    };

    Kind kind;
    int depth = 1;
    double start = 0;
    double end = 0;
    std::uint64_t bytes = 0;
    /// Index among the focus's children of the first-ring ancestor; −1 for merged and extra
    /// slices. Drives the colour.
    int branch = -1;
    /// The file kind whose colour the slice takes instead of its branch's; −1 for none.
    int kindHue = -1;

    double span() const { return end - start; }
    friend bool operator==(const RingSegment&, const RingSegment&) = default;
};

/// The ring's radii in ring units (1.0 is the edge of the drawing square).
struct RingGeometry {
    double centerRadius = 0.3;
    double outerRadius = 0.98;
    int maxDepth = 5;

    /// Width of one ring; all rings are equally wide and touch.
    double ringWidth() const { return (outerRadius - centerRadius) / maxDepth; }
    /// Inner radius of ring d (1-based); d may be fractional while a slice moves between rings.
    double inner(double d) const { return centerRadius + ringWidth() * (d - 1); }
    double outer(double d) const { return centerRadius + ringWidth() * d; }
    friend bool operator==(const RingGeometry&, const RingGeometry&) = default;
};

/// What lies under a point: a slice (its index in the segment list), the centre disc, or
/// nothing.
struct Hit {
    enum class Type : std::uint8_t { segment, center, none };

    Type type = Type::none;
    std::size_t index = 0;

    static constexpr Hit segment(std::size_t index) { return {Type::segment, index}; }
    static constexpr Hit center() { return {Type::center, 0}; }
    static constexpr Hit none() { return {Type::none, 0}; }
    friend constexpr bool operator==(const Hit&, const Hit&) = default;
};

} // namespace ringkit

template <> struct std::hash<ringkit::RingSegment::Kind> {
    std::size_t operator()(const ringkit::RingSegment::Kind& kind) const noexcept {
        const auto type = static_cast<std::uint64_t>(kind.type);
        const auto count = static_cast<std::uint32_t>(kind.count);
        return std::hash<std::uint64_t>{}((type << 62) ^ (std::uint64_t{count} << 32) ^ kind.id);
    }
};
