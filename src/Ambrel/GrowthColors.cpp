#include "GrowthColors.hpp"

#include "ThemePalette.hpp"

namespace ambrel {

GrowthColors::GrowthColors(QObject* parent)
    : QObject(parent), dark_(ThemePalette::desktopIsDark()) {}

ringkit::Rgba GrowthColors::rgba(brantle::NodeChange change, bool dark) {
    using ringkit::Rgba;
    switch (change) {
    case brantle::NodeChange::grown:
        return dark ? Rgba::bytes(245, 150, 60) : Rgba::bytes(222, 110, 20);
    case brantle::NodeChange::shrunk:
        return dark ? Rgba::bytes(90, 170, 245) : Rgba::bytes(40, 120, 210);
    case brantle::NodeChange::added:
        return dark ? Rgba::bytes(215, 120, 230) : Rgba::bytes(170, 60, 190);
    case brantle::NodeChange::unchanged:
        break;
    }
    return dark ? Rgba::bytes(72, 74, 82) : Rgba::bytes(205, 207, 212);
}

QColor GrowthColors::color(brantle::NodeChange change) const {
    return ThemePalette::color(rgba(change, dark_));
}

} // namespace ambrel
