#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>

namespace ambrel {

/// One Ambrel per session: the first process owns the bus name "app.ambrel.Ambrel"; a later
/// launch asks it to come forward and ends.
class SingleInstance : public QDBusVirtualObject {
public:
    /// Claims the name; false when another process holds it, which was then asked to come
    /// forward. Without a session bus every launch runs on its own.
    static bool claim(QDBusConnection bus);

    /// Answers the later launches' calls with `comeForward`.
    SingleInstance(QDBusConnection bus, std::function<void()> comeForward);
    ~SingleInstance() override;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QDBusConnection bus_;
    std::function<void()> comeForward_;
};

} // namespace ambrel
