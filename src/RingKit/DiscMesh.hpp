#pragma once

#include "RingKit/RingTessellator.hpp"

#include <vector>

namespace ringkit {

/// A corner of the disc's rim: where it lands in the view and where it is in ring units,
/// which the disc's shader reads to draw the band, the arc and the soft edge.
struct DiscVertex {
    float x = 0;
    float y = 0;
    float ringX = 0;
    float ringY = 0;
};

/// The centre disc cut in two for drawing. Inside `plainRadius` it is one flat colour: a
/// polygon of a few wide triangles, drawn with the slices. Only the rim around it, out to
/// `edgeRadius`, needs the shader's work per pixel; a software rasteriser would otherwise
/// spend it on every pixel of the disc's square.
struct DiscMesh {
    /// Corners of the plain polygon, which lie on the plain radius.
    static constexpr int plainCorners = 12;

    std::vector<RingVertex> plain; ///< triangles in `colour`
    std::vector<DiscVertex> rim;   ///< triangles covering plain polygon to edge circle

    /// Rebuilds both triangle lists for radii in ring units (0 < plainRadius < edgeRadius)
    /// placed into the view. Empty lists when the radii do not make a rim.
    void build(double plainRadius, double edgeRadius, RingVertex colour,
               const VertexPlacement& placement = {});
};

} // namespace ringkit
