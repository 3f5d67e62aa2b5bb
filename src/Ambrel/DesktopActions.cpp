#include "DesktopActions.hpp"

#include "BrantleServices/Locations.hpp"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QUrl>

namespace ambrel {

void DesktopActions::copyPath(const QString& path) {
    QGuiApplication::clipboard()->setText(path);
}

void DesktopActions::showInFiles(const QString& path) {
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                               QStringLiteral("/org/freedesktop/FileManager1"),
                                               QStringLiteral("org.freedesktop.FileManager1"),
                                               QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    const auto reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 3000);
    if (reply.type() == QDBusMessage::ReplyMessage) return;
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

} // namespace ambrel

namespace ambrel {

void DesktopActions::openTrash() {
    if (QDesktopServices::openUrl(QUrl(QStringLiteral("trash:///")))) return;
    const auto files = brantle::Locations::trashDirectory() + "/files";
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(files)));
}

} // namespace ambrel
