#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace shoreline {

/// How sure a suggestion is that removing the item loses nothing; ordered by raw value.
enum class Safety : std::uint8_t {
    safe = 0,    ///< rebuilt or refetched automatically
    review = 1,  ///< removable, but the user should look first
    caution = 2, ///< may be the user's own data
};

/// The safety with the given raw value (0, 1 or 2), or no value.
constexpr std::optional<Safety> safetyFromRaw(int raw) {
    if (raw < 0 || raw > 2) return std::nullopt;
    return static_cast<Safety>(raw);
}

/// "safe", "review" or "caution".
constexpr std::string_view safetyName(Safety safety) {
    switch (safety) {
    case Safety::safe:
        return "safe";
    case Safety::review:
        return "review";
    case Safety::caution:
        return "caution";
    }
    return "caution";
}

} // namespace shoreline
