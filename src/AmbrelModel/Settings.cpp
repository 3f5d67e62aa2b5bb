#include "AmbrelModel/Settings.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QString>

namespace ambrel::Settings {

namespace {

QSettings store() {
    return QSettings(QStringLiteral("Ambrel"), QStringLiteral("Ambrel"));
}

const QString targetKey = QStringLiteral("target");

QString itemCountKey(const std::string& rootPath) {
    return QStringLiteral("itemCount:") + QString::fromStdString(rootPath);
}

} // namespace

ScanTarget lastTarget() {
    const auto stored = store().value(targetKey).toString();
    if (stored == QStringLiteral("home")) return ScanTarget::home();
    if (stored.startsWith(u'/') && QFileInfo(stored).isDir())
        return ScanTarget::folder(stored.toStdString());
    return ScanTarget::startupDisk();
}

void setLastTarget(const ScanTarget& target) {
    store().setValue(targetKey,
                     target.kind == ScanTarget::Kind::Folder ? QString::fromStdString(target.path)
                     : target.kind == ScanTarget::Kind::Home ? QStringLiteral("home")
                                                             : QStringLiteral("startupDisk"));
}

std::int64_t itemCount(const std::string& rootPath) {
    return store().value(itemCountKey(rootPath), 0).toLongLong();
}

void setItemCount(const std::string& rootPath, std::int64_t count) {
    store().setValue(itemCountKey(rootPath), static_cast<qlonglong>(count));
}

bool colourByKind() {
    return store().value(QStringLiteral("colourByKind"), false).toBool();
}

void setColourByKind(bool on) {
    store().setValue(QStringLiteral("colourByKind"), on);
}

namespace {

const QString excludedKey = QStringLiteral("excludedFolders");

/// Only absolute paths count; "/" itself would leave nothing to scan.
QStringList cleaned(const QStringList& folders) {
    QStringList out;
    for (const QString& folder : folders) {
        const QString clean = QDir::cleanPath(folder);
        if (clean.startsWith(u'/') && clean != QStringLiteral("/")) out.append(clean);
    }
    out.sort();
    out.removeDuplicates();
    return out;
}

} // namespace

QStringList excludedFolders() {
    return cleaned(store().value(excludedKey).toStringList());
}

void setExcludedFolders(const QStringList& folders) {
    store().setValue(excludedKey, cleaned(folders));
}

std::set<std::string, std::less<>> excludedPaths() {
    std::set<std::string, std::less<>> paths;
    for (const QString& folder : excludedFolders())
        paths.insert(QFile::encodeName(folder).toStdString());
    return paths;
}

bool watchSwitch(const QString& key) {
    return store().value(key, true).toBool();
}

void setWatchSwitch(const QString& key, bool on) {
    store().setValue(key, on);
}

namespace {

QString lastAlertKey(std::string_view kind) {
    return QStringLiteral("lastAlert.") + QString::fromUtf8(kind.data(), qsizetype(kind.size()));
}

} // namespace

std::optional<QDateTime> lastAlert(std::string_view kind) {
    auto stored = store().value(lastAlertKey(kind)).toDateTime();
    if (!stored.isValid()) return std::nullopt;
    return stored;
}

void setLastAlert(std::string_view kind, const QDateTime& when) {
    store().setValue(lastAlertKey(kind), when);
}

} // namespace ambrel::Settings
