#include "TrayIcon.hpp"

#include "AmbrelModel/AppModel.hpp"
#include "BrantleCore/ByteFormat.hpp"

#include <QApplication>
#include <QCursor>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <filesystem>

namespace ambrel {

namespace {

double volumeFullness(const AppModel& model) {
    const auto& volume = model.startupVolume();
    if (!volume || volume->total == 0) return 0;
    return static_cast<double>(volume->used()) / static_cast<double>(volume->total);
}

QString freeText(const AppModel& model) {
    const auto& volume = model.startupVolume();
    if (!volume) return QStringLiteral("Free space unknown");
    return QString::fromStdString(brantle::formatBytes(volume->availableForImportantUsages)) +
           QStringLiteral(" free");
}

} // namespace

QImage TrayIcon::glyph(double fullness, int size, qreal pixelRatio) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // Whole-pixel stroke widths keep the ring crisp at 16 px as at 48 px.
    const qreal stroke = std::max<qreal>(2, std::round(size / 6.0));
    const QRectF ring =
        QRectF(0, 0, size, size).adjusted(stroke / 2, stroke / 2, -stroke / 2, -stroke / 2);
    painter.setPen(QPen(QColor(128, 128, 128, 110), stroke));
    painter.drawEllipse(ring);
    const double filled = std::clamp(fullness, 0.0, 1.0);
    const QColor colour = filled >= 0.9 ? QColor(0xe0, 0x4f, 0x3a) : QColor(0x3a, 0x8e, 0xe6);
    painter.setPen(QPen(colour, stroke, Qt::SolidLine, Qt::FlatCap));
    painter.drawArc(ring, 90 * 16, -static_cast<int>(filled * 360 * 16));
    painter.end();
    image.setDevicePixelRatio(pixelRatio);
    return image;
}

TrayIcon::TrayIcon(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
    connect(&model_, &AppModel::volumeChanged, this, &TrayIcon::refresh);
    connect(&model_, &AppModel::showMenuBarChanged, this, &TrayIcon::refresh);
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context) showPanel();
    });
    connect(&icon_, &QSystemTrayIcon::messageClicked, this,
            [this] { model_.openSection(messageSection_); });
    refresh();
}

void TrayIcon::refresh() {
    const double fullness = volumeFullness(model_);
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48}) {
        icon.addPixmap(QPixmap::fromImage(glyph(fullness, size)));
        icon.addPixmap(QPixmap::fromImage(glyph(fullness, size * 2, 2.0)));
    }
    icon_.setIcon(icon);
    icon_.setToolTip(QStringLiteral("Ambrel — ") + freeText(model_));
    icon_.setVisible(model_.showMenuBar());
    // Without the tray there is nothing left to reach Ambrel by once the window closes.
    QApplication::setQuitOnLastWindowClosed(!model_.showMenuBar());
}

void TrayIcon::fillPanel() {
    panel_.clear();
    const auto addLine = [this](const QString& text) { panel_.addAction(text)->setEnabled(false); };
    addLine(freeText(model_));
    addLine(QStringLiteral("%1% full").arg(qRound(volumeFullness(model_) * 100)));
    const auto grown = model_.watch().growth(7);
    if (grown.empty()) addLine(QStringLiteral("Nothing grew much this week"));
    for (std::size_t i = 0; i < std::min<std::size_t>(grown.size(), 3); ++i)
        addLine(QString::fromStdString(std::filesystem::path(grown[i].path).filename().string()) +
                QStringLiteral(" +") +
                QString::fromStdString(
                    brantle::formatBytes(static_cast<std::uint64_t>(grown[i].bytes))));
    panel_.addSeparator();
    panel_.addAction(QStringLiteral("Open Ambrel"), &model_,
                     [this] { model_.openSection(QStringLiteral("explorer")); });
    panel_.addAction(QStringLiteral("Quit Ambrel"), qApp, &QCoreApplication::quit);
}

void TrayIcon::showPanel() {
    fillPanel();
    panel_.popup(QCursor::pos());
}

void TrayIcon::showMessage(const QString& title, const QString& body, const QString& section) {
    messageSection_ = section;
    icon_.showMessage(title, body);
}

} // namespace ambrel
