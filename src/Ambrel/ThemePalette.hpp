#pragma once

#include "BrantleCore/TreeDiff.hpp"
#include "RingKit/Theme.hpp"

#include <QColor>
#include <QObject>
#include <QtQml/qqml.h>

namespace ambrel {

/// The theme's palette for QML, in the appearance the desktop uses (its window colour decides
/// light or dark when the palette is made). Growth since the previous scan is orange against
/// blue rather than red against green, so the two read apart for most colour-blind eyes;
/// unchanged slices recede toward the background.
class ThemePalette : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Theme)
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark CONSTANT)
    Q_PROPERTY(QColor window READ window CONSTANT)
    Q_PROPERTY(QColor text READ text CONSTANT)
    Q_PROPERTY(QColor secondaryText READ secondaryText CONSTANT)
    Q_PROPERTY(QColor row READ row CONSTANT)
    Q_PROPERTY(QColor accent READ accent CONSTANT)
    Q_PROPERTY(QColor warning READ warning CONSTANT)
    Q_PROPERTY(QColor hiddenSpace READ hiddenSpace CONSTANT)
    Q_PROPERTY(QColor purgeableSpace READ purgeableSpace CONSTANT)
    Q_PROPERTY(QColor grown READ grown CONSTANT)
    Q_PROPERTY(QColor shrunk READ shrunk CONSTANT)
    Q_PROPERTY(QColor added READ added CONSTANT)
    Q_PROPERTY(QColor unchanged READ unchanged CONSTANT)

public:
    explicit ThemePalette(QObject* parent = nullptr);

    /// Whether the desktop's own palette is dark.
    static bool desktopIsDark();
    static QColor color(const ringkit::Rgba& rgba);
    /// The colour of a slice or mark when the ring shows growth.
    static ringkit::Rgba growthColor(brantle::NodeChange change, bool dark);

    bool dark() const { return dark_; }
    QColor window() const { return color(palette().window); }
    QColor text() const { return color(palette().text); }
    QColor secondaryText() const { return color(palette().secondaryText); }
    QColor row() const { return color(palette().row); }
    QColor accent() const { return color(palette().accent); }
    QColor warning() const { return color(palette().warning); }
    QColor hiddenSpace() const { return color(palette().hiddenSpace); }
    QColor purgeableSpace() const { return color(palette().purgeableSpace); }
    QColor grown() const { return color(growthColor(brantle::NodeChange::grown, dark_)); }
    QColor shrunk() const { return color(growthColor(brantle::NodeChange::shrunk, dark_)); }
    QColor added() const { return color(growthColor(brantle::NodeChange::added, dark_)); }
    QColor unchanged() const { return color(growthColor(brantle::NodeChange::unchanged, dark_)); }
    /// The colour of file kind `kind` (its value) as the ring's first ring shows it.
    Q_INVOKABLE QColor kindColor(int kind) const;

private:
    const ringkit::Theme::Palette& palette() const { return ringkit::Theme::palette(dark_); }

    bool dark_;
};

} // namespace ambrel
