#pragma once

#include <set>
#include <string>

namespace shoreline {

/// The applications running now, named the way cache folders are named after them.
namespace RunningApps {

/// On Linux: the file names of this user's running executables, plus the application ids of
/// running Flatpak sandboxes.
std::set<std::string, std::less<>> bundleIDs();

} // namespace RunningApps

} // namespace shoreline
