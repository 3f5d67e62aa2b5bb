#pragma once

#include <QString>
#include <QUuid>

namespace ambrel {

/// The one-line message at the top of the window. Every notice gets a new id, so the same
/// text shown twice counts as a new notice.
struct Notice {
    QUuid id;
    QString text;
    bool isWarning = false;

    static Notice make(QString text, bool isWarning) {
        return {QUuid::createUuid(), std::move(text), isWarning};
    }
    friend bool operator==(const Notice&, const Notice&) = default;
};

} // namespace ambrel
