#pragma once
// The model's types as QML knows them: the model itself (handed to the window, never made in
// QML), its comparison with the previous scan and the scan target's kinds.

#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/ScanTarget.hpp"

#include <QObject>
#include <QtQml/qqml.h>

namespace ambrel {

struct AppModelForeign {
    Q_GADGET
    QML_FOREIGN(ambrel::AppModel)
    QML_NAMED_ELEMENT(AppModel)
    QML_UNCREATABLE("The application has one model")
};

struct ScanComparisonForeign {
    Q_GADGET
    QML_FOREIGN(ambrel::ScanComparison)
    QML_NAMED_ELEMENT(ScanComparison)
    QML_UNCREATABLE("The model owns the comparison")
};

struct SearchResultsForeign {
    Q_GADGET
    QML_FOREIGN(ambrel::SearchResults)
    QML_NAMED_ELEMENT(SearchResults)
    QML_UNCREATABLE("The model makes the search")
};

namespace ScanTargetForeign {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(ambrel::ScanTargetKinds)
QML_NAMED_ELEMENT(ScanTarget)
} // namespace ScanTargetForeign

} // namespace ambrel
