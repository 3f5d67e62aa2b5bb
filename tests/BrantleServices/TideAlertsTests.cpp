#include "BrantleServices/TideAlerts.hpp"
#include "BrantleServices/TideHistory.hpp"

#include <gtest/gtest.h>

#include <string>

using brantle::Growth;
using brantle::TideAlert;
using brantle::TideHistory;
using brantle::TideSummary;
using brantle::VolumeInfo;
namespace TideAlerts = brantle::TideAlerts;

namespace {

constexpr std::uint64_t GB = 1'000'000'000;
constexpr double day = 86'400;
constexpr double start = 1'800'000'000;

TideSummary usage(double date, std::uint64_t used, std::uint64_t total = 100 * GB,
                  std::map<std::string, std::uint64_t> folders = {}) {
    return TideSummary{date, total, used, 0, std::move(folders)};
}

/// Three daily summaries growing 1 GB a day, leaving `freeBytes` on the last one.
std::vector<TideSummary> fillingHistory(std::uint64_t freeBytes) {
    const std::uint64_t lastUsed = 100 * GB - freeBytes;
    return {usage(start, lastUsed - 2 * GB), usage(start + day, lastUsed - GB),
            usage(start + 2 * day, lastUsed)};
}

VolumeInfo roomy() {
    return VolumeInfo{1000 * GB, 500 * GB, 500 * GB};
}

} // namespace

TEST(TideHistory, ForecastNeedsThreeRecentPointsOfGrowth) {
    const auto forecast = [](const std::vector<TideSummary>& history) {
        return TideHistory::forecastDaysToFull(history, history.back().date);
    };
    EXPECT_EQ(forecast(fillingHistory(7 * GB)), 7.0);
    EXPECT_EQ(forecast(fillingHistory(0)), 0.0);

    auto twoPoints = fillingHistory(7 * GB);
    twoPoints.erase(twoPoints.begin() + 1);
    EXPECT_FALSE(forecast(twoPoints));

    // The oldest of three is more than 14 days old, or has no total.
    auto stale = fillingHistory(7 * GB);
    stale.front().date = stale.back().date - 14 * day - 1;
    EXPECT_FALSE(forecast(stale));
    stale.front().date += 1;
    EXPECT_TRUE(forecast(stale));
    auto noTotal = fillingHistory(7 * GB);
    noTotal.front().volumeTotal = 0;
    EXPECT_FALSE(forecast(noTotal));

    auto short_ = fillingHistory(7 * GB);
    short_.back().date = start + 2 * day - 1;
    EXPECT_FALSE(forecast(short_));

    EXPECT_FALSE(forecast(
        {usage(start, 50 * GB), usage(start + day, 50 * GB), usage(start + 2 * day, 50 * GB)}));
    EXPECT_FALSE(forecast(
        {usage(start, 52 * GB), usage(start + day, 51 * GB), usage(start + 2 * day, 50 * GB)}));
    // Over full counts as no room left.
    EXPECT_EQ(forecast({usage(start, 99 * GB), usage(start + day, 100 * GB),
                        usage(start + 2 * day, 101 * GB)}),
              0.0);
    // A noisy line still fits: slope 1.5 GB/day through (0,0) (1,2) (2,3).
    EXPECT_DOUBLE_EQ(*forecast({usage(start, 10 * GB), usage(start + day, 12 * GB),
                                usage(start + 2 * day, 13 * GB)}),
                     87.0 / 1.5);
}

TEST(TideAlerts, LowSpaceAtItsThresholds) {
    const auto alerts = [](std::uint64_t total, std::uint64_t freeBytes) {
        return TideAlerts::evaluate(VolumeInfo{total, 1, freeBytes}, {}, start);
    };
    EXPECT_EQ(alerts(1000 * GB, 99 * GB), std::vector{TideAlert::lowSpace(99 * GB)});
    EXPECT_TRUE(alerts(1000 * GB, 100 * GB).empty());
    EXPECT_EQ(alerts(128 * GB, 19'900'000'000), std::vector{TideAlert::lowSpace(19'900'000'000)});
    EXPECT_TRUE(alerts(128 * GB, 20 * GB).empty());
    EXPECT_EQ(alerts(0, 0), std::vector{TideAlert::lowSpace(0)});
}

TEST(TideAlerts, FillingFastBelowSevenDays) {
    const auto alerts = [](std::uint64_t freeBytes) {
        const auto history = fillingHistory(freeBytes);
        return TideAlerts::evaluate(roomy(), history, history.back().date);
    };
    EXPECT_TRUE(alerts(7 * GB).empty());
    EXPECT_EQ(alerts(6'900'000'000), std::vector{TideAlert::fillingFast(6)});
    EXPECT_EQ(alerts(500'000'000), std::vector{TideAlert::fillingFast(0)});
}

TEST(TideAlerts, BigGrowthBetweenTheLastTwoSummaries) {
    const auto alerts = [](double gap, std::uint64_t grown) {
        const std::vector history{
            usage(start - 30 * day, 1, 0, {{"/h", 0}}),
            usage(start, 1, 0, {{"/h", 100 * GB}, {"/h/a", 10 * GB}, {"/h/b", GB}}),
            usage(
                start + gap, 1, 0,
                {{"/h", 100 * GB + grown + 6 * GB}, {"/h/a", 10 * GB + grown}, {"/h/b", 7 * GB}})};
        return TideAlerts::evaluate(roomy(), history, start + gap);
    };
    // The largest record of the growth list: /h grew 6 GB + grown, /h/a grown, /h/b 6 GB.
    EXPECT_EQ(alerts(36 * 3600, 8 * GB),
              std::vector{TideAlert::bigGrowth(Growth{"/h", static_cast<std::int64_t>(14 * GB)})});
    EXPECT_EQ(alerts(3600, 60 * GB), std::vector{TideAlert::bigGrowth(
                                         Growth{"/h/a", static_cast<std::int64_t>(60 * GB)})});
    EXPECT_TRUE(alerts(36 * 3600 + 1, 60 * GB).empty());

    for (const auto& [grown, count] : {std::pair{5 * GB - 1, 0u}, std::pair{5 * GB, 1u}}) {
        const std::vector history{usage(start, 1, 0, {{"/h", 0}}),
                                  usage(start + day, 1, 0, {{"/h", grown}})};
        EXPECT_EQ(TideAlerts::evaluate(roomy(), history, start + day).size(), count) << grown;
    }
}

TEST(TideAlerts, AllThreeInTheirFixedOrder) {
    auto history = fillingHistory(3 * GB);
    history[1].folders = {{"/h", GB}};
    history[2].folders = {{"/h", 9 * GB}};
    const auto alerts =
        TideAlerts::evaluate(VolumeInfo{100 * GB, 3 * GB, 3 * GB}, history, history.back().date);
    ASSERT_EQ(alerts.size(), 3u);
    EXPECT_EQ(alerts[0], TideAlert::lowSpace(3 * GB));
    EXPECT_EQ(alerts[1], TideAlert::fillingFast(3));
    EXPECT_EQ(alerts[2], TideAlert::bigGrowth(Growth{"/h", static_cast<std::int64_t>(8 * GB)}));
}
