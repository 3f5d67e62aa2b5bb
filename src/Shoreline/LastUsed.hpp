#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace shoreline {

/// When the user last opened a file, as seconds since 1970.
namespace LastUsed {

/// The system's last-used date of the item at `path`: on macOS the metadata index's
/// kMDItemLastUsedDate; on Linux the access time when it is later than the modification time
/// (so it can only shorten an age). No value when unknown.
std::optional<std::int64_t> spotlight(const std::string& path);

} // namespace LastUsed

} // namespace shoreline
