#pragma once

#include <QImage>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

namespace ambrel {

class AppModel;

/// Space Watch in the tray: a ring filled as the startup disk is, its free space in the
/// tooltip, and on a click a small panel with the free space, the fullness, what grew this
/// week and the ways to open or quit Ambrel.
class TrayIcon : public QObject {
    Q_OBJECT

public:
    explicit TrayIcon(AppModel& model, QObject* parent = nullptr);

    /// A ring of `size` device pixels filled to `fullness` (0…1), drawn for `pixelRatio`.
    static QImage glyph(double fullness, int size, qreal pixelRatio = 1.0);
    /// Shows a notification the desktop's service could not; a click opens `section`.
    void showMessage(const QString& title, const QString& body, const QString& section);
    bool isVisible() const { return icon_.isVisible(); }
    /// Shows the panel at the cursor, as a click on the icon does.
    void showPanel();
    QMenu& panel() { return panel_; }

private:
    void refresh();
    void fillPanel();

    AppModel& model_;
    QSystemTrayIcon icon_;
    QMenu panel_;
    QString messageSection_;
};

} // namespace ambrel
