#pragma once
// Small pieces shared by the rules' reason texts and name tests.

#include <cstdint>
#include <string>
#include <string_view>

namespace shoreline {

inline constexpr std::uint64_t oneMiB = 1'048'576;
inline constexpr std::uint64_t fiveMiB = 5'242'880;
inline constexpr std::uint64_t tenMiB = 10'485'760;

/// "1 day" for exactly one day, otherwise "N days".
std::string ageText(std::int64_t days);
/// The count with the locale's digit grouping ("1,234" in English).
std::string groupedCount(std::int64_t count);
/// The extension after the last "." of a name, lower-cased; empty for none or a name that
/// only starts with a dot.
std::string lowerExtension(std::string_view name);

} // namespace shoreline
