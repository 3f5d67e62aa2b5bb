#include "BrantleServices/TideAlerts.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleServices/TideHistory.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

namespace brantle::TideAlerts {

namespace {

std::optional<TideAlert> lowSpace(const VolumeInfo& volume) {
    const std::uint64_t free = volume.availableForImportantUsages;
    const std::uint64_t threshold = std::max(lowSpaceFloorBytes, volume.total / 10);
    if (free < threshold) return TideAlert::lowSpace(free);
    return std::nullopt;
}

std::optional<TideAlert> fillingFast(const std::vector<TideSummary>& history, double now) {
    const auto days = TideHistory::forecastDaysToFull(history, now);
    if (!days || !(*days < fillingFastDays)) return std::nullopt;
    const double whole = std::floor(*days);
    if (!(whole >= -9.2e18 && whole <= 9.2e18)) fatal("days until full do not fit an integer");
    return TideAlert::fillingFast(static_cast<std::int64_t>(whole));
}

std::optional<TideAlert> bigGrowth(const std::vector<TideSummary>& history) {
    if (history.size() < 2) return std::nullopt;
    const TideSummary& previous = history[history.size() - 2];
    const TideSummary& latest = history.back();
    if (latest.date - previous.date > bigGrowthMaxGapSeconds) return std::nullopt;
    auto grown = TideHistory::growth(previous, latest, bigGrowthBytes);
    if (grown.empty()) return std::nullopt;
    return TideAlert::bigGrowth(std::move(grown.front()));
}

} // namespace

std::vector<TideAlert> evaluate(const VolumeInfo& volume, const std::vector<TideSummary>& history,
                                double now) {
    std::vector<TideAlert> alerts;
    for (auto alert : {lowSpace(volume), fillingFast(history, now), bigGrowth(history)}) {
        if (alert) alerts.push_back(std::move(*alert));
    }
    return alerts;
}

} // namespace brantle::TideAlerts
