#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <map>

namespace ambrel {

/// Desktop notifications through the session bus's org.freedesktop.Notifications service.
/// Each notification names the section of the window a click opens; when no service answers,
/// `undelivered` hands the texts on (the tray shows them as its own message).
class DesktopNotifications : public QObject {
    Q_OBJECT

public:
    explicit DesktopNotifications(QDBusConnection bus, QObject* parent = nullptr);

    /// Shows a notification, replacing the one of the same `kind` still on screen.
    void post(const QString& kind, const QString& title, const QString& body,
              const QString& section);

signals:
    /// The user clicked a notification that named `section`.
    void clicked(const QString& section);
    void undelivered(const QString& title, const QString& body, const QString& section);

private slots:
    void onActionInvoked(uint id, const QString& action);
    void onClosed(uint id, uint reason);

private:
    QDBusConnection bus_;
    std::map<uint, QString> sections_; ///< by notification id, while on screen
    std::map<QString, uint> shownByKind_;
};

} // namespace ambrel
