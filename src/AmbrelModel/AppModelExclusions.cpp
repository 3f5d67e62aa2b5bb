// The folders scans leave out, as the settings window edits them.
#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/Settings.hpp"

#include <QUrl>

namespace ambrel {

QStringList AppModel::excludedFolders() const {
    return Settings::excludedFolders();
}

void AppModel::addExcludedFolder(const QString& folder) {
    requireMainThread();
    const QUrl url(folder);
    const QString path = url.isLocalFile() ? url.toLocalFile() : folder;
    const QStringList before = Settings::excludedFolders();
    Settings::setExcludedFolders(before + QStringList{path});
    if (Settings::excludedFolders() != before) emit excludedFoldersChanged();
}

void AppModel::removeExcludedFolder(const QString& folder) {
    requireMainThread();
    QStringList folders = Settings::excludedFolders();
    if (folders.removeAll(folder) == 0) return;
    Settings::setExcludedFolders(folders);
    emit excludedFoldersChanged();
}

} // namespace ambrel
