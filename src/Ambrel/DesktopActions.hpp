#pragma once

#include <QObject>
#include <QtQml/qqml.h>

namespace ambrel {

/// What the menus of rows and slices do outside the window: the clipboard, the file manager,
/// the default application and a terminal.
class DesktopActions : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// Puts `path` on the clipboard as text.
    Q_INVOKABLE static void copyPath(const QString& path);
    /// Shows `path` selected in the file manager; without one on the session bus, opens the
    /// folder that holds it.
    Q_INVOKABLE static void showInFiles(const QString& path);
    /// Opens `path` with its default application; returns why not, or nothing.
    Q_INVOKABLE static QString open(const QString& path);
    /// Starts a terminal working in `folder`: $TERMINAL, else the system's chosen terminal
    /// (x-terminal-emulator), else a well-known one; returns why not, or nothing.
    Q_INVOKABLE static QString openTerminal(const QString& folder);
    /// Opens the Trash in the file manager; without a handler for trash:/, its folder.
    Q_INVOKABLE static void openTrash();
};

} // namespace ambrel
