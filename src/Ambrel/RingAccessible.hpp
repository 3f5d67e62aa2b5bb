#pragma once

#include <QAccessibleObject>
#include <QQuickItem>

#include <vector>

namespace ambrel {

class RingItem;

/// The nearest ancestor of `item` that assistive technology lists, else its window.
QAccessibleInterface* accessibleParentOf(const QQuickItem* item);
/// Where `item` lies on the screen.
QRect screenRect(const QQuickItem* item);

/// The ring as a list whose items are its slices, so that one scene-graph item still offers
/// every slice by name with "press" (open the folder) and "show menu".
class RingAccessible : public QAccessibleObject {
public:
    explicit RingAccessible(RingItem* ring);
    ~RingAccessible() override;

    RingItem* ring() const;
    QWindow* window() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessible::Role role() const override { return QAccessible::List; }
    QString text(QAccessible::Text t) const override;
    QRect rect() const override;
    QAccessible::State state() const override;

private:
    /// Slice interfaces are made on demand and dropped when the layout changes.
    void dropSlices() const;

    mutable std::vector<QAccessible::Id> slices_;
    QMetaObject::Connection layoutConnection_;
};

} // namespace ambrel
