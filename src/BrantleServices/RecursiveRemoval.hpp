#pragma once

#include <string>

namespace brantle {

/// Removal of a whole tree relative to folder descriptors, so symbolic links are removed as
/// themselves and never followed, and trees deeper than PATH_MAX go too.
namespace RecursiveRemoval {

/// Removes the entry `name` of the open folder `folder`, with everything inside it. Folders
/// on another device than `folder` (mounted volumes) are not entered. Errors are ignored:
/// whatever cannot be removed stays, and the rest goes.
void removeEntry(int folder, const std::string& name);

} // namespace RecursiveRemoval

} // namespace brantle
