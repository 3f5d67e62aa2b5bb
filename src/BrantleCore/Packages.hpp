#pragma once

#include <string_view>
#include <unordered_set>

namespace brantle::Packages {

/// The 27 lower-case folder extensions that mark a folder as a package (bundle). Built once,
/// on first use; safe from any thread.
const std::unordered_set<std::string_view>& extensions();

/// True when the folder name has a "." that is not its first character and the text after
/// the last "." is, ignoring case, one of `extensions()`.
bool isPackageName(std::string_view folderName);

} // namespace brantle::Packages
