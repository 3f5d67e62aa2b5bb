#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqml.h>

namespace ambrel {

/// The counted texts of the Cleanup List and its confirmation sheet, with their plurals and
/// sizes in the desktop's byte format. Sizes come from QML as numbers.
class CleanupTexts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    Q_INVOKABLE static QString size(double bytes);
    /// "3 items · 12 MB" under the pane's header.
    Q_INVOKABLE static QString countLine(int count, double bytes);
    Q_INVOKABLE static QString title(int count, bool permanent);
    Q_INVOKABLE static QString body(double bytes, bool permanent);
    /// The tick box that holds the confirming button while warnings are shown.
    Q_INVOKABLE static QString warningsRead(int warnings, int items);
    Q_INVOKABLE static QString headline(int count, double bytes, bool permanent);
    Q_INVOKABLE static QString afterRemoval(bool permanent);
};

} // namespace ambrel
