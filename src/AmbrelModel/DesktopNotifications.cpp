#include "AmbrelModel/DesktopNotifications.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

namespace ambrel {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString defaultAction = QStringLiteral("default");

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {
    // Any sender: the service's unique name changes when the desktop restarts its server.
    bus_.connect(QString(), path, service, QStringLiteral("ActionInvoked"), this,
                 SLOT(onActionInvoked(uint, QString)));
    bus_.connect(QString(), path, service, QStringLiteral("NotificationClosed"), this,
                 SLOT(onClosed(uint, uint)));
}

void DesktopNotifications::post(const QString& kind, const QString& title, const QString& body,
                                const QString& section) {
    auto call = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    const auto shown = shownByKind_.find(kind);
    const uint replaces = shown == shownByKind_.end() ? 0 : shown->second;
    QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("app.ambrel.Ambrel")},
                      {QStringLiteral("urgency"), QVariant::fromValue(uchar{1})},
                      {QStringLiteral("category"), QStringLiteral("device")}};
    call << QStringLiteral("Ambrel") << replaces << QStringLiteral("app.ambrel.Ambrel") << title
         << body << QStringList{defaultAction, QStringLiteral("Open")} << hints << qint32{-1};
    // Asynchronous: a slow notification server never stalls the window.
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, kind, title, body, section] {
                watcher->deleteLater();
                const QDBusPendingReply<uint> reply = *watcher;
                if (reply.isError()) {
                    emit undelivered(title, body, section);
                    return;
                }
                sections_[reply.value()] = section;
                shownByKind_[kind] = reply.value();
            });
}

void DesktopNotifications::onActionInvoked(uint id, const QString& action) {
    const auto found = sections_.find(id);
    if (found == sections_.end() || action != defaultAction) return;
    emit clicked(found->second);
}

void DesktopNotifications::onClosed(uint id, uint /*reason*/) {
    sections_.erase(id);
    std::erase_if(shownByKind_, [id](const auto& entry) { return entry.second == id; });
}

} // namespace ambrel
