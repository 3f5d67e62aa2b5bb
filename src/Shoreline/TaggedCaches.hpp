#pragma once

#include "Shoreline/Finding.hpp"
#include "Shoreline/ShorelineContext.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace shoreline {

/// Folders that their programs tag as caches with a CACHEDIR.TAG file (the Cache Directory
/// Tagging convention): the tag file begins with a fixed signature.
namespace TaggedCaches {

inline constexpr std::string_view tagName = "CACHEDIR.TAG";
inline constexpr std::string_view signature = "Signature: 8a477f597d28d172789f06886806bc55";

/// True when the file at `path` begins with the signature. Reads those bytes only.
bool isValidTag(const std::string& path);

/// The tagged folders of the context's tree of at least 1 MiB, outermost only, leaving out
/// those the package-caches rule names; safe, as the convention promises the program makes
/// them again.
void addTo(const ShorelineContext& context, std::vector<Candidate>& out);

} // namespace TaggedCaches

} // namespace shoreline
