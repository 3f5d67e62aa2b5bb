#pragma once

#include "RingKit/RingSegment.hpp"
#include "RingKit/Theme.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

namespace ringkit {

/// One vertex of the slice triangles: position and premultiplied colour in bytes. Same layout
/// as the scene graph's coloured 2D point, so a vertex list can be copied into it whole.
struct RingVertex {
    float x = 0;
    float y = 0;
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
    std::uint8_t a = 0;
    friend bool operator==(const RingVertex&, const RingVertex&) = default;
};
static_assert(sizeof(RingVertex) == 12 && std::is_standard_layout_v<RingVertex>);

/// One slice as a frame draws it: angles (radians), ring (fractional while the slice moves
/// between rings), straight colour and the fade factor that multiplies its alpha.
struct RingSlice {
    double start = 0;
    double end = 0;
    double depth = 1;
    Rgba color;
    double alpha = 1;
};

/// Where ring units land in the output: (centerX + x × unitX, centerY + y × unitY). The
/// default keeps ring units; a view with y growing downward passes a negative unitY.
struct VertexPlacement {
    double centerX = 0;
    double centerY = 0;
    double unitX = 1;
    double unitY = 1;
};

/// Turns slices into a triangle list: a one-pixel gap between neighbouring slices, a
/// 0.8-pixel margin between rings, arcs as chords that stray at most `chordTolerance` pixels.
namespace RingTessellator {

/// How far, in pixels, a drawn arc may stray from the true circle, to either side.
inline constexpr double chordTolerance = 0.1;
/// The largest angle one quad of a slice spans, however small the ring (10 degrees).
inline constexpr double maxStepAngle = 0.17453292519943295;

/// The widest step whose chord strays at most `chordTolerance` from an arc of `radiusPx`
/// pixels, when its ends sit just outside the arc so the chord's middle falls as far inside.
double stepAngle(double radiusPx);

/// Appends the slice's triangles (six vertices per step, the step set by the outer arc) to `out`.
/// `pxPerUnit` is drawable pixels per ring unit; gaps and margins are measured in those pixels.
/// Nothing is appended for a slice the gap would invert, or when pxPerUnit is not positive.
void appendSlice(const RingSlice& slice, double pxPerUnit, std::vector<RingVertex>& out,
                 const VertexPlacement& placement = {}, const RingGeometry& geometry = {});

/// Replaces `out` with the triangles of every slice, in order (its capacity is reused).
void tessellate(std::span<const RingSlice> slices, double pxPerUnit, std::vector<RingVertex>& out,
                const VertexPlacement& placement = {}, const RingGeometry& geometry = {});

/// The colour as premultiplied bytes, alpha multiplied by `alpha` first.
RingVertex premultiplied(const Rgba& color, double alpha);

} // namespace RingTessellator

} // namespace ringkit
