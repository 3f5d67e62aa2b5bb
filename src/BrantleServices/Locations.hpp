#pragma once

#include <string>

namespace brantle {

/// Where the system keeps its own files, derived from the environment (HOME, XDG_*) on every
/// call so that tests can point them into a temporary home.
namespace Locations {

/// The per-user data folder for Ambrel ("Application Support/Ambrel"): ~/.local/share/Ambrel.
std::string dataDirectory();
/// The per-user cache folder for Ambrel ("Caches/Ambrel"): ~/.cache/Ambrel.
std::string cacheDirectory();
/// The user's home folder.
std::string homeDirectory();

} // namespace Locations

} // namespace brantle
