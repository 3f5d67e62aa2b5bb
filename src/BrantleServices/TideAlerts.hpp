#pragma once

#include "BrantleServices/TideAlert.hpp"
#include "BrantleServices/TideSummary.hpp"
#include "BrantleServices/VolumeInfo.hpp"

#include <cstdint>
#include <vector>

namespace brantle::TideAlerts {

inline constexpr std::uint64_t lowSpaceFloorBytes = 20'000'000'000;
inline constexpr double fillingFastDays = 7.0;
inline constexpr std::int64_t bigGrowthBytes = 5'000'000'000;
inline constexpr double bigGrowthMaxGapSeconds = 129'600;

/// The alerts that hold now, in the order low space, filling fast, big growth, each at most
/// once. `history` is the daily summaries, oldest first.
std::vector<TideAlert> evaluate(const VolumeInfo& volume, const std::vector<TideSummary>& history,
                                double now);

} // namespace brantle::TideAlerts
