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

QColor ThemePalette::kindColor(int kind) const {
    ringkit::RingSegment slice;
    slice.kindHue = kind;
    return color(ringkit::Theme::color(slice, dark_));
}

} // namespace ambrel
