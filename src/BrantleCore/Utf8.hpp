#pragma once

#include <string>
#include <string_view>

namespace brantle {

/// U+FFFD as UTF-8: what stands in for each ill-formed sequence of a repaired name.
inline constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// True when the bytes are well-formed UTF-8 (no overlongs, surrogates or values past U+10FFFF).
bool isValidUtf8(std::string_view bytes);

/// The bytes decoded as UTF-8, each maximal ill-formed subsequence replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes);

} // namespace brantle
