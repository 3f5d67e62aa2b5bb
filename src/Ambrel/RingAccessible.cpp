#include "RingAccessible.hpp"

#include "RingItem.hpp"

#include <QQuickWindow>

namespace ambrel {

namespace {

class SliceAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    SliceAccessible(RingItem* ring, int index) : ring_(ring), index_(index) {}

    bool isValid() const override {
        const RingItem* ring = ring_.data();
        return ring != nullptr && static_cast<std::size_t>(index_) < ring->segments().size();
    }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return ring_ ? ring_->window() : nullptr; }
    QAccessibleInterface* parent() const override {
        return ring_ ? QAccessible::queryAccessibleInterface(ring_.data()) : nullptr;
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QString text(QAccessible::Text t) const override {
        if (!isValid()) return {};
        if (t == QAccessible::Name) return ring_->sliceName(index_);
        if (t == QAccessible::Description)
            return ring_->sliceDetails(index_).replace(QLatin1Char('\n'), QStringLiteral(", "));
        return {};
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override { return isValid() ? ring_->sliceScreenRect(index_) : QRect(); }
    QAccessible::State state() const override {
        QAccessible::State s;
        s.focusable = true;
        s.selectable = true;
        const RingItem* ring = ring_.data();
        if (ring == nullptr) return s;
        s.selected = ring->hoveredIndex() == index_;
        s.focused = s.selected && ring->hasActiveFocus();
        return s;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }
    QStringList actionNames() const override { return {pressAction(), showMenuAction()}; }
    void doAction(const QString& name) override {
        if (!isValid()) return;
        if (name == pressAction()) ring_->openSlice(index_);
        if (name == showMenuAction()) ring_->requestMenu(index_);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QPointer<RingItem> ring_;
    int index_;
};

} // namespace

RingAccessible::RingAccessible(RingItem* ring) : QAccessibleObject(ring) {
    layoutConnection_ =
        QObject::connect(ring, &RingItem::slicesChanged, ring, [this] { dropSlices(); });
}

RingAccessible::~RingAccessible() {
    QObject::disconnect(layoutConnection_);
    dropSlices();
}

RingItem* RingAccessible::ring() const {
    return qobject_cast<RingItem*>(object());
}

void RingAccessible::dropSlices() const {
    for (const auto id : slices_)
        if (id) QAccessible::deleteAccessibleInterface(id);
    slices_.clear();
}

QWindow* RingAccessible::window() const {
    const RingItem* item = ring();
    return item ? item->window() : nullptr;
}

QAccessibleInterface* RingAccessible::parent() const {
    const RingItem* item = ring();
    return item ? accessibleParentOf(item) : nullptr;
}

int RingAccessible::childCount() const {
    const RingItem* item = ring();
    return item ? static_cast<int>(item->segments().size()) : 0;
}

QAccessibleInterface* RingAccessible::child(int index) const {
    if (index < 0 || index >= childCount()) return nullptr;
    if (slices_.size() < static_cast<std::size_t>(childCount()))
        slices_.resize(static_cast<std::size_t>(childCount()), 0);
    auto& id = slices_[static_cast<std::size_t>(index)];
    if (!id) id = QAccessible::registerAccessibleInterface(new SliceAccessible(ring(), index));
    // registered above, so never null
    return QAccessible::accessibleInterface(id);
}

int RingAccessible::indexOfChild(const QAccessibleInterface* child) const {
    for (std::size_t i = 0; i < slices_.size(); ++i)
        if (slices_[i] && QAccessible::accessibleInterface(slices_[i]) == child)
            return static_cast<int>(i);
    return -1;
}

QString RingAccessible::text(QAccessible::Text t) const {
    return t == QAccessible::Name ? QStringLiteral("Ring") : QString();
}

QRect RingAccessible::rect() const {
    const RingItem* item = ring();
    return item ? screenRect(item) : QRect();
}

QAccessible::State RingAccessible::state() const {
    QAccessible::State s;
    s.focusable = true;
    const RingItem* item = ring();
    s.focused = item && item->hasActiveFocus();
    return s;
}

} // namespace ambrel
