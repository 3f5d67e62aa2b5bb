#pragma once

#include "Shoreline/ShorelineContext.hpp"

namespace shoreline {

/// Files that belong to a creative application's project (video, audio, design), whose
/// copies are the project's own and must never be proposed.
namespace CreativeProjects {

/// True when the node has a project file's own extension, or lies below the home folder in
/// a folder with a project extension, in a folder named like a project marker, or in a
/// folder holding such a marker.
bool contains(brantle::NodeId node, const ShorelineContext& context);

} // namespace CreativeProjects

} // namespace shoreline
