#pragma once

#include "BrantleServices/Growth.hpp"

#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>

namespace brantle {

/// A condition about the startup volume that Space Watch may turn into a notification.
struct TideAlert {
    /// Free space (important-usage figure) below the threshold.
    struct LowSpace {
        std::uint64_t freeBytes = 0;
        friend bool operator==(const LowSpace&, const LowSpace&) = default;
    };
    /// The volume will be full within a week; whole days left.
    struct FillingFast {
        std::int64_t days = 0;
        friend bool operator==(const FillingFast&, const FillingFast&) = default;
    };
    /// One folder grew much between the last two summaries.
    struct BigGrowth {
        Growth growth;
        friend bool operator==(const BigGrowth&, const BigGrowth&) = default;
    };

    std::variant<LowSpace, FillingFast, BigGrowth> payload;

    static TideAlert lowSpace(std::uint64_t freeBytes) { return {LowSpace{freeBytes}}; }
    static TideAlert fillingFast(std::int64_t days) { return {FillingFast{days}}; }
    static TideAlert bigGrowth(Growth growth) { return {BigGrowth{std::move(growth)}}; }

    /// The kind's key text: "lowSpace", "fillingFast" or "bigGrowth".
    std::string_view kind() const {
        constexpr std::string_view kinds[] = {"lowSpace", "fillingFast", "bigGrowth"};
        return kinds[payload.index()];
    }

    friend bool operator==(const TideAlert&, const TideAlert&) = default;
};

} // namespace brantle
