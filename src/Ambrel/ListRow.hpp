#pragma once

#include <QQuickItem>
#include <QtQml/qqml.h>

namespace ambrel {

/// A row of a list as assistive technology sees it: a list item named by its visible text
/// whose "press" opens it and whose "show menu" opens its context menu.
class ListRow : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    /// What the row says besides its name: size, share and marks.
    Q_PROPERTY(QString description READ description WRITE setDescription NOTIFY descriptionChanged)
    /// The list's keyboard is on this row.
    Q_PROPERTY(bool current READ current WRITE setCurrent NOTIFY currentChanged)

public:
    using QQuickItem::QQuickItem;

    QString name() const { return name_; }
    void setName(const QString& name);
    QString description() const { return description_; }
    void setDescription(const QString& description);
    bool current() const { return current_; }
    void setCurrent(bool current);

signals:
    void nameChanged();
    void descriptionChanged();
    void currentChanged();
    void activated();
    void menuRequested();

private:
    QString name_;
    QString description_;
    bool current_ = false;
};

/// Makes the accessible interfaces of `ListRow` and `RingItem`; installed once.
void installAccessibleFactory();

} // namespace ambrel
