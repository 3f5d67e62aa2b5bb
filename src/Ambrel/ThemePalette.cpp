#include "ThemePalette.hpp"

#include <QGuiApplication>
#include <QPalette>

namespace ambrel {

ThemePalette::ThemePalette(QObject* parent) : QObject(parent), dark_(desktopIsDark()) {}

bool ThemePalette::desktopIsDark() {
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

QColor ThemePalette::color(const ringkit::Rgba& rgba) {
    return QColor::fromRgbF(rgba.r, rgba.g, rgba.b, rgba.a);
}

ringkit::Rgba ThemePalette::growthColor(brantle::NodeChange change, bool dark) {
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

QColor ThemePalette::kindColor(int kind) const {
    ringkit::RingSegment slice;
    slice.kindHue = kind;
    return color(ringkit::Theme::color(slice, dark_));
}

} // namespace ambrel
