#include "ListRow.hpp"

#include "RingAccessible.hpp"
#include "RingItem.hpp"

#include <QAccessible>
#include <QAccessibleObject>
#include <QQuickWindow>

namespace ambrel {

void ListRow::setName(const QString& name) {
    if (name == name_) return;
    name_ = name;
    emit nameChanged();
    QAccessibleEvent event(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&event);
}

void ListRow::setDescription(const QString& description) {
    if (description == description_) return;
    description_ = description;
    emit descriptionChanged();
    QAccessibleEvent event(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

void ListRow::setCurrent(bool current) {
    if (current == current_) return;
    current_ = current;
    emit currentChanged();
    if (!current_) return;
    QAccessibleEvent event(this, QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}

namespace {

class ListRowAccessible : public QAccessibleObject, public QAccessibleActionInterface {
public:
    explicit ListRowAccessible(ListRow* row) : QAccessibleObject(row) {}

    ListRow* row() const { return static_cast<ListRow*>(object()); }
    QWindow* window() const override { return row()->window(); }
    QAccessibleInterface* parent() const override { return accessibleParentOf(row()); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QString text(QAccessible::Text t) const override {
        if (t == QAccessible::Name) return row()->name();
        if (t == QAccessible::Description) return row()->description();
        return {};
    }
    QRect rect() const override { return screenRect(row()); }
    QAccessible::State state() const override {
        QAccessible::State s;
        s.focusable = true;
        s.selectable = true;
        s.focused = row()->current();
        s.selected = row()->current();
        s.invisible = !row()->isVisible();
        return s;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ActionInterface)
            return static_cast<QAccessibleActionInterface*>(this);
        return QAccessibleObject::interface_cast(type);
    }
    QStringList actionNames() const override { return {pressAction(), showMenuAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction()) emit row()->activated();
        if (name == showMenuAction()) emit row()->menuRequested();
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    if (auto* row = qobject_cast<ListRow*>(object)) return new ListRowAccessible(row);
    if (auto* ring = qobject_cast<RingItem*>(object)) return new RingAccessible(ring);
    return nullptr;
}

} // namespace

QAccessibleInterface* accessibleParentOf(const QQuickItem* item) {
    // The nearest ancestor that assistive technology lists, else the window.
    for (auto* p = item->parentItem(); p; p = p->parentItem()) {
        auto* candidate = QAccessible::queryAccessibleInterface(p);
        if (candidate && candidate->role() != QAccessible::Client &&
            candidate->role() != QAccessible::NoRole && candidate->role() != QAccessible::Pane)
            return candidate;
    }
    return QAccessible::queryAccessibleInterface(item->window());
}

QRect screenRect(const QQuickItem* item) {
    if (!item->window()) return {};
    const QRectF scene = item->mapRectToScene(item->boundingRect());
    return QRect(item->window()->mapToGlobal(scene.topLeft().toPoint()), scene.size().toSize());
}

void installAccessibleFactory() {
    static bool installed = false;
    if (installed) return;
    installed = true;
    QAccessible::installFactory(&makeAccessible);
}

} // namespace ambrel
