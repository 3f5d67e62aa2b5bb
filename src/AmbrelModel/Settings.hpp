#pragma once

#include "AmbrelModel/ScanTarget.hpp"

#include <cstdint>
#include <string>

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

} // namespace Settings

} // namespace ambrel
