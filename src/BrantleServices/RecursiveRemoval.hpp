#pragma once

#include <string>

namespace brantle {

/// Removal of a whole tree relative to folder descriptors, so symbolic links are removed as
/// themselves and never followed, and trees deeper than PATH_MAX go too.
namespace RecursiveRemoval {

/// Removes the entry `name` of the open folder `folder`, with everything inside it. Folders
/// on another mount than the entry itself (mounted volumes, bind mounts) are not entered, and
/// an entry that is itself a mount root is left alone. Errors are ignored:
/// whatever cannot be removed stays, and the rest goes.
void removeEntry(int folder, const std::string& name);

} // namespace RecursiveRemoval

} // namespace brantle
