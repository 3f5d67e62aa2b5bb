#include "AmbrelModel/LoginItem.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QtGlobal>

namespace ambrel::LoginItem {

namespace {

QByteArray entry() {
    return QByteArrayLiteral("[Desktop Entry]\n"
                             "Type=Application\n"
                             "Name=Ambrel\n"
                             "Comment=Space Watch in the tray\n"
                             "Icon=app.ambrel.Ambrel\n"
                             "Exec=ambrel ") +
           trayArgument + QByteArrayLiteral("\nX-GNOME-Autostart-enabled=true\n");
}

bool write(const QString& file) {
    if (!QDir().mkpath(QFileInfo(file).path())) return false;
    QSaveFile out(file);
    return out.open(QIODevice::WriteOnly) && out.write(entry()) == entry().size() && out.commit();
}

} // namespace

QString autostartFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/ambrel.desktop");
}

bool isSet() {
    return QFileInfo::exists(autostartFile());
}

bool set(bool on) {
    const QString file = autostartFile();
    const bool done = on ? write(file) : (!QFile::exists(file) || QFile::remove(file));
    if (!done)
        qWarning("Ambrel login item: cannot %s %s", on ? "write" : "remove", qPrintable(file));
    return done;
}

} // namespace ambrel::LoginItem
