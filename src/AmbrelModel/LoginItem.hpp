#pragma once

#include <QString>

namespace ambrel::LoginItem {

/// The argument the login item starts Ambrel with: tray only, no window.
inline constexpr auto trayArgument = "--login";

/// "~/.config/autostart/ambrel.desktop" (under XDG_CONFIG_HOME).
QString autostartFile();
/// Whether Ambrel starts at login.
bool isSet();
/// Writes (atomically) or removes the autostart entry; a failure is logged with the prefix
/// "Ambrel login item:" and returns false.
bool set(bool on);

} // namespace ambrel::LoginItem
