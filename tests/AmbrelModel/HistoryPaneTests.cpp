// What the History pane and the settings window read from the model, over a history folder
// written with the real store and snapshots written by real scans.
#include "AmbrelModel/ScanTarget.hpp"
#include "BrantleCore/ByteFormat.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideHistory.hpp"
#include "ModelEnvironment.hpp"

#include <gtest/gtest.h>

#include <QDateTime>

#include <filesystem>
#include <fstream>

using ambrel::AppModel;

namespace {

constexpr double day = 86'400;
constexpr std::uint64_t gigabyte = 1'000'000'000;

/// Whole seconds, so that the dates survive the files exactly.
double now() {
    return double(QDateTime::currentSecsSinceEpoch());
}

/// Daily summaries up to a minute ago, oldest first: "~/Videos" grows by `dailyGrowth`,
/// "~/Downloads" took 5 GB between the first two days, the disk is 1 TB.
std::vector<brantle::TideSummary> fixture(int days, std::uint64_t dailyGrowth) {
    const auto home = brantle::Locations::homeDirectory();
    std::vector<brantle::TideSummary> history;
    const double last = now() - 60;
    for (int i = 0; i < days; ++i) {
        const std::uint64_t videos = 20 * gigabyte + std::uint64_t(i) * dailyGrowth;
        const std::uint64_t downloads = (i == 0 ? 1 : 6) * gigabyte;
        history.push_back({.date = last - (days - 1 - i) * day,
                           .volumeTotal = 1000 * gigabyte,
                           .volumeUsed = 481 * gigabyte + videos + downloads - 6 * gigabyte,
                           .purgeable = 0,
                           .folders = {{home, videos + downloads + gigabyte},
                                       {home + "/Videos", videos},
                                       {home + "/Downloads", downloads}}});
    }
    return history;
}

/// A model whose history is `summaries`, saved to the history folder by the store.
std::unique_ptr<AppModel> modelWithHistory(const std::vector<brantle::TideSummary>& summaries) {
    const auto store = brantle::TideHistory::standard();
    std::filesystem::remove_all(store.directory());
    for (const auto& summary : summaries)
        EXPECT_TRUE(store.save(summary).has_value());
    auto model = std::make_unique<AppModel>();
    model->startTideWatch();
    return model;
}

QStringList paths(const QVariantList& rows) {
    QStringList result;
    for (const auto& row : rows)
        result << row.toMap()[QStringLiteral("path")].toString() + QStringLiteral(" ") +
                      row.toMap()[QStringLiteral("sizeText")].toString();
    return result;
}

} // namespace

TEST(HistoryPane, ChartsEveryStoredDayAndListsWhatGrewLargestFirst) {
    const auto history = fixture(21, 2 * gigabyte);
    const auto model = modelWithHistory(history);

    const auto points = model->usageHistory();
    ASSERT_EQ(points.size(), 21);
    for (int i = 0; i < 21; ++i) {
        const auto point = points[i].toMap();
        EXPECT_NEAR(point["date"].toDouble(), history[i].date * 1000, 1);
        EXPECT_EQ(point["used"].toDouble(), double(history[i].volumeUsed));
    }
    // The week saw only the videos grow; the month also the downloads, and the home folder
    // is named by its children, not itself.
    EXPECT_EQ(paths(model->weekGrowth()), QStringList{"~/Videos +14 GB"});
    EXPECT_EQ(paths(model->monthGrowth()), (QStringList{"~/Videos +40 GB", "~/Downloads +5 GB"}));
}

struct Forecast {
    const char* name;
    int days;
    std::uint64_t dailyGrowth;
    const char* text;
};

class HistoryForecast : public ::testing::TestWithParam<Forecast> {};

TEST_P(HistoryForecast, SaysInWordsWhenTheDiskIsFull) {
    const auto model = modelWithHistory(fixture(GetParam().days, GetParam().dailyGrowth));
    EXPECT_EQ(model->forecastText().toStdString(), GetParam().text);
}

// 1 TB: 459 GB left after 20 days at 2 GB a day; 199 GB left after 3 days at 100 GB a day.
INSTANTIATE_TEST_SUITE_P(
    Histories, HistoryForecast,
    ::testing::Values(
        Forecast{"Filling", 21, 2 * gigabyte, "At this rate the disk is full in about 230 days."},
        Forecast{"FillingFast", 4, 100 * gigabyte,
                 "At this rate the disk is full in about 2 days."},
        Forecast{"Steady", 21, 0,
                 "The disk is not filling up: use held steady or fell over the last two weeks."},
        Forecast{"TwoDays", 2, 2 * gigabyte,
                 "Not enough history for a forecast yet: Ambrel records a summary each day it "
                 "scans your home folder."},
        Forecast{"Empty", 0, 0,
                 "Not enough history for a forecast yet: Ambrel records a summary each day it "
                 "scans your home folder."}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(SettingsWindow, ClearingStoredScansRemovesThemAndSaysHowMuchThatFreed) {
    namespace fs = std::filesystem;
    const fs::path snapshots = fs::path(ambrel::snapshotPath("/")).parent_path();
    fs::remove_all(snapshots);
    TempFolder first, second;
    std::ofstream(first / "a") << std::string(100'000, 'a');
    std::ofstream(second / "b") << std::string(10, 'b');
    AppModel model;
    for (const auto* folder : {&first, &second}) {
        model.scanTarget(ambrel::ScanTarget::folder(folder->path()));
        ASSERT_TRUE(settleReady(model));
        model.waitForBackgroundWork();
    }
    std::uint64_t stored = 0;
    int files = 0;
    for (const auto& entry : fs::directory_iterator(snapshots)) {
        stored += entry.file_size();
        ++files;
    }
    ASSERT_EQ(files, 2);

    EXPECT_EQ(model.clearStoredScans().toStdString(),
              "Cleared stored scans: " + brantle::formatBytes(stored) + " freed.");
    EXPECT_TRUE(fs::is_empty(snapshots));
    EXPECT_EQ(model.clearStoredScans().toStdString(),
              "Cleared stored scans: " + brantle::formatBytes(0) + " freed.");
}
