#pragma once

#include "Shoreline/ShorelineContext.hpp"

#include <vector>

namespace shoreline {

/// Finds sets of byte-for-byte identical large files among the user's own files.
namespace DuplicateFinder {

/// Sets of two or more identical files, each of at least `duplicateMinBytes`: grouped by
/// exact size, then by a head-and-tail digest, then by a whole-file digest. Files that
/// cannot be read drop out. The order of the sets is not significant.
std::vector<std::vector<brantle::NodeId>> identicalSets(const ShorelineContext& context);

} // namespace DuplicateFinder

} // namespace shoreline
