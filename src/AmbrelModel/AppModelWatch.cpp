// The model's Space Watch side: its start, the switches the settings show and the
// notifications' way back into the window.
#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/LoginItem.hpp"
#include "AmbrelModel/Settings.hpp"

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

} // namespace ambrel
