#pragma once

#include "AmbrelModel/ScanTarget.hpp"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace ambrel {

/// The values kept across launches in the user's settings: the target shown last, per root
/// path the node count of its last finished tree, the excluded folders and the switches.
namespace Settings {

/// The target shown last time; the startup disk at first launch or when the chosen folder
/// is gone.
ScanTarget lastTarget();
void setLastTarget(const ScanTarget& target);

/// The node count stored for a root path, passed to the scanner as the expected count (0
/// when never stored).
std::int64_t itemCount(const std::string& rootPath);
void setItemCount(const std::string& rootPath, std::int64_t count);

/// The folders scans leave out, absolute and clean, sorted, without duplicates; applied from
/// the next scan or catch-up on.
QStringList excludedFolders();
void setExcludedFolders(const QStringList& folders);
/// The same as the file system names them, for the scanner and the suggestions.
std::set<std::string, std::less<>> excludedPaths();

/// A Space Watch switch ("showMenuBar", "alertLowSpace", "alertFillingFast",
/// "alertBigGrowth"); each is on until turned off.
bool watchSwitch(const QString& key);
void setWatchSwitch(const QString& key, bool on);

/// Whether the ring is coloured by file kind; off until turned on.
bool colourByKind();
void setColourByKind(bool on);

/// When the alert of `kind` was last posted ("lastAlert." + kind), if ever.
std::optional<QDateTime> lastAlert(std::string_view kind);
void setLastAlert(std::string_view kind, const QDateTime& when);

} // namespace Settings

} // namespace ambrel
