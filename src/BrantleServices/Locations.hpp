#pragma once

#include "BrantleCore/FileTree.hpp"

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
/// The home folder with every symbolic link resolved ("/var/home/u" when "/home" links to
/// "/var/home"), or the home folder as given when it cannot be resolved.
std::string realHomeDirectory();
/// The home folder as the tree names it: as given when the tree holds it, else its real
/// path when the tree holds that (a startup-disk scan reaches a linked home by its real
/// path), else the home folder as given.
std::string homeIn(const FileTree& tree);
/// The user's Trash folder of the freedesktop.org Trash: "Trash" in the data home.
std::string trashDirectory();

} // namespace Locations

} // namespace brantle
