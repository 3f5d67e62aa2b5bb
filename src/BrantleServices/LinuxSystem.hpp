#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace brantle {

/// The few facts about the running Linux system that the deletion guard needs.
namespace LinuxSystem {

/// True when the path is a mount point in /proc/self/mountinfo (read on every call, so a
/// volume mounted later counts). False when the table cannot be read.
bool isMountPoint(const std::string& path);

/// The mount points listed in a mountinfo text, with their octal escapes decoded.
std::set<std::string> mountPointsIn(const std::string& mountinfo);

/// The XDG user folders (desktop, documents, downloads, music, pictures, public, templates,
/// videos) as configured for this user.
std::vector<std::string> userFolders();

/// The /proc folders of the processes running as this user.
std::vector<std::filesystem::path> ownProcesses();

/// The standardised executables of this user's running processes, plus the AppImage files
/// they were started from.
std::set<std::string> runningApplications();

/// The application's own file: $APPIMAGE when set, else this process's executable.
std::string applicationPath();

} // namespace LinuxSystem

} // namespace brantle
