#include "RingKit/Theme.hpp"

namespace ringkit {

Rgba mix(const Rgba& from, const Rgba& to, double e) {
    const auto lerp = [e](float a, float b) {
        return static_cast<float>(a + (static_cast<double>(b) - a) * e);
    };
    return {lerp(from.r, to.r), lerp(from.g, to.g), lerp(from.b, to.b), lerp(from.a, to.a)};
}

namespace {

constexpr Theme::Palette lightPalette{
    .window = Rgba::bytes(246, 246, 249),
    .text = Rgba::bytes(29, 29, 31),
    .secondaryText = Rgba::bytes(110, 110, 115),
    .row = Rgba::bytes(233, 233, 230),
    .accent = Rgba::bytes(76, 139, 245),
    .warning = Rgba::bytes(217, 72, 15),
    .hiddenSpace = Rgba::bytes(142, 142, 147),
    .purgeableSpace = Rgba::bytes(199, 164, 242),
    .disc = Rgba::bytes(255, 255, 255),
    .discTrack = Rgba::bytes(228, 228, 236),
    .discArc = Theme::branchHues[0],
};

constexpr Theme::Palette darkPalette{
    .window = Rgba::bytes(28, 28, 34),
    .text = Rgba::bytes(232, 232, 230),
    .secondaryText = Rgba::bytes(154, 154, 158),
    .row = Rgba::bytes(44, 45, 49),
    .accent = Rgba::bytes(76, 139, 245),
    .warning = Rgba::bytes(217, 72, 15),
    .hiddenSpace = Rgba::bytes(142, 142, 147),
    .purgeableSpace = Rgba::bytes(199, 164, 242),
    .disc = Rgba::bytes(44, 44, 52),
    .discTrack = Rgba::bytes(64, 64, 74),
    .discArc = Rgba::bytes(120, 140, 255),
};

Rgba darkened(Rgba hue) {
    const auto adjust = [](float c) { return c * 0.85f + 0.08f; };
    return {adjust(hue.r), adjust(hue.g), adjust(hue.b), 1.0f};
}

Rgba nodeColor(const RingSegment& segment, bool dark) {
    const int branch = segment.branch < 0 ? 0 : segment.branch;
    const Rgba hue =
        segment.kindHue >= 0
            ? Theme::kindHues[static_cast<std::size_t>(segment.kindHue) % Theme::kindHues.size()]
            : Theme::branchHues[static_cast<std::size_t>(branch) % Theme::branchHues.size()];
    const Rgba background = Theme::palette(dark).window;
    // Outer rings recede toward the background; not clamped, the rings stop before it matters.
    const double t = (dark ? 0.13 : 0.15) * (segment.depth - 1);
    return mix(dark ? darkened(hue) : hue, background, t);
}

} // namespace

const Theme::Palette& Theme::palette(bool isDark) {
    return isDark ? darkPalette : lightPalette;
}

Rgba Theme::color(const RingSegment& segment, bool dark) {
    using Type = RingSegment::Kind::Type;
    switch (segment.kind.type) {
    case Type::node:
        return nodeColor(segment, dark);
    case Type::smaller:
        return dark ? Rgba::bytes(82, 82, 92) : Rgba::bytes(184, 184, 198);
    case Type::hidden:
        return dark ? Rgba::bytes(69, 69, 79) : Rgba::bytes(200, 200, 212);
    case Type::purgeable:
        return dark ? Rgba::bytes(74, 74, 120) : Rgba::bytes(195, 195, 236);
    }
    return {};
}

} // namespace ringkit
