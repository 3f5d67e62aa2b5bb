#include "DesktopActions.hpp"

#include "BrantleServices/Locations.hpp"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
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

QString DesktopActions::open(const QString& path) {
    if (!QFileInfo::exists(path))
        return QStringLiteral("Couldn't open \u201C%1\u201D: it is no longer there.").arg(path);
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(path))) return {};
    return QStringLiteral("No application could open \u201C%1\u201D.").arg(path);
}

namespace {

// The user's own choice first, then the one the system names, then the usual suspects.
QStringList terminalCommand() {
    if (auto chosen = QProcess::splitCommand(qEnvironmentVariable("TERMINAL")); !chosen.isEmpty())
        return chosen;
    for (const char* name : {"x-terminal-emulator", "gnome-terminal", "konsole", "xfce4-terminal",
                             "kitty", "alacritty", "foot", "xterm"}) {
        const auto found = QStandardPaths::findExecutable(QString::fromLatin1(name));
        if (!found.isEmpty()) return {found};
    }
    return {};
}

} // namespace

QString DesktopActions::openTerminal(const QString& folder) {
    if (!QFileInfo(folder).isDir())
        return QStringLiteral("Couldn't open a terminal: \u201C%1\u201D is not a folder.")
            .arg(folder);
    const auto command = terminalCommand();
    if (command.isEmpty())
        return QStringLiteral("No terminal was found. Set TERMINAL to the command of yours.");
    QProcess process;
    process.setProgram(command.first());
    process.setArguments(command.mid(1));
    process.setWorkingDirectory(folder);
    if (process.startDetached()) return {};
    return QStringLiteral("Couldn't start the terminal \u201C%1\u201D: %2.")
        .arg(command.first(), process.errorString());
}

} // namespace ambrel

namespace ambrel {

void DesktopActions::openTrash() {
    if (QDesktopServices::openUrl(QUrl(QStringLiteral("trash:///")))) return;
    const auto files = brantle::Locations::trashDirectory() + "/files";
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(files)));
}

} // namespace ambrel
