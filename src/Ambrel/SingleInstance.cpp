#include "SingleInstance.hpp"

#include <QDBusMessage>

namespace ambrel {

namespace {

const QString name = QStringLiteral("app.ambrel.Ambrel");
const QString path = QStringLiteral("/app/ambrel/Ambrel");
const QString activate = QStringLiteral("Activate");

} // namespace

bool SingleInstance::claim(QDBusConnection bus) {
    if (!bus.isConnected() || bus.registerService(name)) return true;
    bus.call(QDBusMessage::createMethodCall(name, path, name, activate), QDBus::Block, 5'000);
    return false;
}

SingleInstance::SingleInstance(QDBusConnection bus, std::function<void()> comeForward)
    : bus_(std::move(bus)), comeForward_(std::move(comeForward)) {
    bus_.registerVirtualObject(path, this);
}

SingleInstance::~SingleInstance() {
    bus_.unregisterObject(path);
}

QString SingleInstance::introspect(const QString& /*path*/) const {
    return QStringLiteral("<interface name=\"app.ambrel.Ambrel\">"
                          "<method name=\"Activate\"/></interface>");
}

bool SingleInstance::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.member() != activate) return false;
    comeForward_();
    connection.send(message.createReply());
    return true;
}

} // namespace ambrel
