#pragma once

#include "BrantleCore/TreeDiff.hpp"
#include "RingKit/Theme.hpp"

#include <QColor>
#include <QObject>
#include <QtQml/qqml.h>

namespace ambrel {

/// The colours of slices and marks when the ring shows growth since the previous scan. Orange
/// against blue rather than red against green, so the two read apart for most colour-blind
/// eyes; each is lighter in the dark look, and unchanged slices recede toward the background.
class GrowthColors : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor grown READ grown CONSTANT)
    Q_PROPERTY(QColor shrunk READ shrunk CONSTANT)
    Q_PROPERTY(QColor added READ added CONSTANT)
    Q_PROPERTY(QColor unchanged READ unchanged CONSTANT)

public:
    explicit GrowthColors(QObject* parent = nullptr);

    static ringkit::Rgba rgba(brantle::NodeChange change, bool dark);

    QColor grown() const { return color(brantle::NodeChange::grown); }
    QColor shrunk() const { return color(brantle::NodeChange::shrunk); }
    QColor added() const { return color(brantle::NodeChange::added); }
    QColor unchanged() const { return color(brantle::NodeChange::unchanged); }

private:
    QColor color(brantle::NodeChange change) const;

    bool dark_;
};

} // namespace ambrel
