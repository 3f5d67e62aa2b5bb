#pragma once

#include "RingKit/RingSegment.hpp"

#include <array>

namespace ringkit {

/// A straight (not premultiplied) RGBA colour, channels as fractions of 1.
struct Rgba {
    float r = 0;
    float g = 0;
    float b = 0;
    float a = 1;

    /// Opaque colour from 0–255 channels.
    static constexpr Rgba bytes(int r, int g, int b) {
        return {static_cast<float>(r) / 255.0f, static_cast<float>(g) / 255.0f,
                static_cast<float>(b) / 255.0f, 1.0f};
    }
    friend constexpr bool operator==(const Rgba&, const Rgba&) = default;
};

/// `from` moved toward `to` by e (0 gives from, 1 gives to), every channel alike.
Rgba mix(const Rgba& from, const Rgba& to, double e);

/// The window's colours in light and dark appearance: the ring's slices, the centre disc and
/// the views around them draw from here.
namespace Theme {

/// The colours of one appearance.
struct Palette {
    Rgba window; ///< the window's background, which outer rings fade toward
    Rgba text;
    Rgba secondaryText;
    Rgba row;    ///< a hovered row, the empty part of a bar
    Rgba accent; ///< share bars and used space
    Rgba warning;
    Rgba hiddenSpace;
    Rgba purgeableSpace;
    Rgba disc;      ///< the centre disc
    Rgba discTrack; ///< the gauge's track on the disc
    Rgba discArc;   ///< the gauge's arc
};

/// The light or dark palette.
const Palette& palette(bool dark);

/// One hue per first-ring branch, repeating every eight branches.
inline constexpr std::array<Rgba, 8> branchHues{
    Rgba::bytes(91, 91, 214),   Rgba::bytes(59, 168, 160),  Rgba::bytes(224, 168, 79),
    Rgba::bytes(212, 107, 166), Rgba::bytes(142, 107, 216), Rgba::bytes(79, 167, 122),
    Rgba::bytes(224, 122, 95),  Rgba::bytes(107, 122, 144)};

/// One hue per file kind, in the order of the kinds: pictures, video, music, documents,
/// archives, code, applications, other.
inline constexpr std::array<Rgba, 8> kindHues{
    Rgba::bytes(212, 107, 166), Rgba::bytes(142, 107, 216), Rgba::bytes(224, 168, 79),
    Rgba::bytes(76, 139, 245),  Rgba::bytes(176, 128, 88),  Rgba::bytes(79, 167, 122),
    Rgba::bytes(59, 168, 160),  Rgba::bytes(150, 150, 162)};

/// The colour a slice is drawn in (alpha 1): its kind's or else its branch's hue faded toward the
/// background with depth for a node, a fixed grey for merged, hidden and purgeable slices.
Rgba color(const RingSegment& segment, bool dark);

} // namespace Theme

} // namespace ringkit
