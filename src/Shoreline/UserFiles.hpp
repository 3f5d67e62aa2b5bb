#pragma once

#include "Shoreline/ShorelineContext.hpp"

#include <cstdint>
#include <vector>

namespace shoreline {

/// The user's own files, outside Library, dot-folders, packages and dependency folders.
namespace UserFiles {

/// Regular files of at least `minBytes` under the home folder; symbolic links, hard-link
/// duplicates and cloud placeholders are left out. Smaller folders are not entered.
std::vector<brantle::NodeId> walk(const ShorelineContext& context, std::uint64_t minBytes);

} // namespace UserFiles

} // namespace shoreline
