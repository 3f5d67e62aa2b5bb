// The model's Space Watch side: its start, the switches the settings show, the notifications'
// way back into the window and what the History pane reads.
#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/HistoryView.hpp"
#include "AmbrelModel/LoginItem.hpp"
#include "AmbrelModel/Settings.hpp"
#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/ByteFormat.hpp"

#include <QDateTime>

namespace ambrel {

void AppModel::startTideWatch() {
    requireMainThread();
    connect(watch_, &SpaceWatch::openRequested, this, &AppModel::openSection, Qt::UniqueConnection);
    watch_->start();
}

void AppModel::openSection(const QString& section) {
    requireMainThread();
    show(section.isNull() || section == QStringLiteral("history") ? Section::History
         : section == QStringLiteral("shoreline")                 ? Section::Shoreline
                                                                  : Section::Explorer);
    emit windowRequested();
}

bool AppModel::showMenuBar() const {
    return Settings::watchSwitch(QStringLiteral("showMenuBar"));
}

void AppModel::setShowMenuBar(bool on) {
    if (on == showMenuBar()) return;
    Settings::setWatchSwitch(QStringLiteral("showMenuBar"), on);
    emit showMenuBarChanged();
}

bool AppModel::openAtLogin() const {
    return LoginItem::isSet();
}

void AppModel::setOpenAtLogin(bool on) {
    if (on == openAtLogin()) return;
    LoginItem::set(on);
    emit openAtLoginChanged();
}

namespace {

bool isAlertKey(const QString& key) {
    return key == QStringLiteral("alertLowSpace") || key == QStringLiteral("alertFillingFast") ||
           key == QStringLiteral("alertBigGrowth");
}

} // namespace

bool AppModel::alertSwitch(const QString& key) const {
    return isAlertKey(key) && Settings::watchSwitch(key);
}

void AppModel::setAlertSwitch(const QString& key, bool on) {
    if (isAlertKey(key)) Settings::setWatchSwitch(key, on);
}

QString AppModel::clearStoredScans() {
    requireMainThread();
    const auto freed = StoredSnapshot::clearAll();
    return QStringLiteral("Cleared stored scans: %1 freed.")
        .arg(QString::fromStdString(brantle::formatBytes(freed)));
}

// The pane shows a few dozen folders at most; the rest of a long list is noise.
constexpr int growthRowLimit = 12;

QVariantList AppModel::usageHistory() const {
    return HistoryView::usage(history_);
}

QVariantList AppModel::weekGrowth() const {
    return HistoryView::growthRows(watch_->growth(7), growthRowLimit);
}

QVariantList AppModel::monthGrowth() const {
    return HistoryView::growthRows(watch_->growth(30), growthRowLimit);
}

QString AppModel::forecastText() const {
    return HistoryView::forecast(history_, double(QDateTime::currentMSecsSinceEpoch()) / 1000);
}

} // namespace ambrel
