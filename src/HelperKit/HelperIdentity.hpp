#pragma once

#include <string>
#include <string_view>

namespace helperkit {

/// What both ends of the administrator helper agree on.
namespace HelperIdentity {

/// The service's name; on Linux also the polkit action that authorises starting the helper.
inline constexpr std::string_view machService = "app.ambrel.helper";
inline constexpr std::string_view polkitAction = "app.ambrel.helper";
inline constexpr std::string_view plistName = "app.ambrel.helper.plist";
inline constexpr std::string_view appIdentifier = "app.ambrel.Ambrel";
inline constexpr std::string_view helperIdentifier = "app.ambrel.helper";

/// Raised whenever a message or its meaning changes.
inline constexpr int protocolVersion = 1;

/// The protocol version in decimal, a slash, and the build string: "1/0.1.0".
std::string versionString(std::string_view build);

/// This build's string, the same in the application and in the helper built with it.
std::string_view build();

/// Where the package installs the helper program (the path the polkit policy names).
std::string_view installedPath();

} // namespace HelperIdentity

} // namespace helperkit
