#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

/// Tells whether the program holds the system's Full Disk Access permission by trying to open
/// a few files and folders that the permission guards, and reading the error codes.
namespace FullDiskAccess {

enum class Status { granted, denied, unknown };

/// An open attempt: 0 when the path opened, otherwise the system's error number.
using OpenFunction = std::function<int(const std::string&)>;

/// The six guarded paths under the home folder `home`, in the order they are tried.
std::vector<std::string> probes(std::string_view home);

/// 0 when `path` opens read-only and non-blocking (closed again at once), else errno.
int tryOpen(const std::string& path);

/// `granted` as soon as one path opens; `denied` when none opened but one was refused
/// (EPERM or EACCES); `unknown` otherwise, also for an empty list.
Status status(const std::vector<std::string>& probing, const OpenFunction& open);

/// The status for the current user's home folder with the real open; never cached.
Status current();

} // namespace FullDiskAccess

} // namespace brantle
