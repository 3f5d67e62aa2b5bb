#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

/// Textual path operations: no file-system access, no symbolic-link resolution.
namespace PathText {

/// The path with "." and ".." components resolved textually, repeated separators collapsed and
/// any trailing "/" dropped ("/" stays "/"). ".." at the root stays at the root. A relative path
/// stays relative; the empty path stays empty.
std::string standardised(std::string_view path);

/// The path without one trailing "/", unless it is "/" itself: how a scanned root is spelled.
std::string_view withoutTrailingSlash(std::string_view path);

/// The non-empty pieces between separators ("/" has none, "/Volumes/Data" has two).
std::vector<std::string_view> components(std::string_view path);

/// The path without its last component: "/a/b" gives "/a", "/a" gives "/", "/" gives "/".
std::string_view parent(std::string_view path);

/// The last component ("/" for the root).
std::string_view lastComponent(std::string_view path);

/// True when path begins with folder followed by the separator (so "/usrdata" is not inside
/// "/usr"); every path but "/" is inside "/", and nothing is inside the empty path.
bool isInside(std::string_view path, std::string_view folder);

/// True when path equals folder or is inside it.
bool isAtOrInside(std::string_view path, std::string_view folder);

/// What follows folder and its separator in path ("b/c" for "/a/b/c" below "/a"), or no value
/// when path is not inside folder.
std::optional<std::string_view> below(std::string_view path, std::string_view folder);

/// folder + "/" + name, without doubling the separator after "/".
std::string joined(std::string_view folder, std::string_view name);

} // namespace PathText

} // namespace brantle
