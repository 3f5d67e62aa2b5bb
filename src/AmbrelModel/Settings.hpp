#pragma once

#include "AmbrelModel/ScanTarget.hpp"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ambrel {

/// The values kept across launches in the user's settings: the target shown last and, per
/// root path, the node count of its last finished tree.
namespace Settings {

/// The target shown last time; the startup disk at first launch or when the chosen folder
/// is gone.
ScanTarget lastTarget();
void setLastTarget(const ScanTarget& target);

/// The node count stored for a root path, passed to the scanner as the expected count (0
/// when never stored).
std::int64_t itemCount(const std::string& rootPath);
void setItemCount(const std::string& rootPath, std::int64_t count);

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
