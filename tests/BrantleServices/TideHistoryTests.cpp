#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/TideHistory.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <limits>
#include <set>
#include <string>

using brantle::FileTree;
using brantle::Growth;
using brantle::NodeFlags;
using brantle::NodeId;
using brantle::TideHistory;
using brantle::TideHistoryError;
using brantle::TideSummary;
using brantle::VolumeInfo;

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t GB = 1'000'000'000;

/// Sets TZ for one test; the C library rereads it on both ends.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& zone) : env_(std::in_place, "TZ", zone) { tzset(); }
    ~ScopedTimeZone() {
        env_.reset();
        tzset();
    }

private:
    std::optional<ScopedEnv> env_;
};

/// Seconds since 1970 of a local wall-clock time in the current TZ.
double localDate(int year, int month, int day, int hour, int minute) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_isdst = -1;
    return static_cast<double>(std::mktime(&tm));
}

TideSummary summaryAt(double date, std::uint64_t used = 0) {
    return TideSummary{date, 500 * GB, used, 0, {{"/home/u", used}}};
}

NodeId addDir(FileTree& tree, NodeId parent, const std::string& name) {
    return tree.append(parent, name, 0, 0, 0, NodeFlags::directory);
}

void addFile(FileTree& tree, NodeId parent, const std::string& name, std::uint64_t size) {
    tree.append(parent, name, size, 0, 0, NodeFlags{});
}

} // namespace

TEST(TideSummary, MakeListsLargeFoldersDownToTheDepth) {
    FileTree tree("/home");
    const NodeId user = addDir(tree, 0, "u");
    const NodeId big = addDir(tree, user, "big");
    const NodeId deep = addDir(tree, big, "deep");
    addFile(tree, addDir(tree, deep, "deeper"), "f", 40);
    addFile(tree, big, "loose", 500);
    const NodeId small = addDir(tree, user, "small");
    addFile(tree, small, "f", 5);
    addFile(tree, user, "bigfile", 1000);
    addFile(tree, addDir(tree, 0, "other"), "f", 900);
    tree.propagateSizes();

    const VolumeInfo volume{1000, 300, 350};
    const auto summary = TideSummary::make(tree, {"/home/u", "/home/u/big/deep", "/nowhere"},
                                           volume, 1700000000.5, 20, 2);
    EXPECT_EQ(summary.volumeUsed, 700u);
    EXPECT_EQ(summary.purgeable, 50u);
    // Files, the small folder, depth 3 below the first root, and the unlisted root are left
    // out; the second root lists its own subfolder.
    const std::map<std::string, std::uint64_t> expected{{"/home/u", 1545},
                                                        {"/home/u/big", 540},
                                                        {"/home/u/big/deep", 40},
                                                        {"/home/u/big/deep/deeper", 40}};
    EXPECT_EQ(summary.folders, expected);

    const auto unknownVolume = TideSummary::make(tree, {"/home"}, std::nullopt, 1, 600, 6);
    EXPECT_EQ(unknownVolume.volumeTotal + unknownVolume.volumeUsed + unknownVolume.purgeable, 0u);
    EXPECT_EQ(unknownVolume.folders,
              (std::map<std::string, std::uint64_t>{
                  {"/home", 2445}, {"/home/u", 1545}, {"/home/other", 900}}));

    FileTree slash("/");
    addFile(slash, addDir(slash, 0, "usr"), "f", 10);
    slash.propagateSizes();
    EXPECT_EQ(TideSummary::make(slash, {"/"}, std::nullopt, 0, 1, 6).folders,
              (std::map<std::string, std::uint64_t>{{"/", 10}, {"/usr", 10}}));
}

TEST(TideSummary, JsonRoundTripAndForeignDecoding) {
    const TideSummary summary{1700000000.5, 100, 50, 0, {{"/a", 10'000'000}}};
    EXPECT_EQ(TideSummary::fromJson(summary.toJson()), summary);

    const TideSummary extreme{-12.25,
                              9'223'372'036'854'775'808u,
                              9'007'199'254'740'993u,
                              1,
                              {{"/max", std::numeric_limits<std::uint64_t>::max()}}};
    EXPECT_EQ(TideSummary::fromJson(extreme.toJson()), extreme);

    // As another encoder writes it: escaped slashes, spacing, extra keys, key order.
    const auto foreign = TideSummary::fromJson(
        R"({ "volumeUsed": 7, "folders": { "\/Users\/x": 123 }, "date": 1700000000,
             "purgeable": 2, "volumeTotal": 9, "extra": true })");
    ASSERT_TRUE(foreign);
    EXPECT_EQ(*foreign, (TideSummary{1700000000, 9, 7, 2, {{"/Users/x", 123}}}));

    for (const char* bad : {
             "",
             "not json",
             "[]",
             R"({"date":1})",
             R"({"date":"x","volumeTotal":1,"volumeUsed":1,"purgeable":0,"folders":{}})",
             R"({"date":1,"volumeTotal":-1,"volumeUsed":1,"purgeable":0,"folders":{}})",
             R"({"date":1,"volumeTotal":1,"volumeUsed":1.5,"purgeable":0,"folders":{}})",
             R"({"date":1,"volumeTotal":1,"volumeUsed":1,"purgeable":0,"folders":[]})",
             R"({"date":1,"volumeTotal":1,"volumeUsed":1,"purgeable":0,"folders":{"/a":"9"}})",
             R"({"date":1,"volumeTotal":1,"volumeUsed":1,"purgeable":0,"folders":{"/a":-9}})",
         }) {
        EXPECT_FALSE(TideSummary::fromJson(bad)) << bad;
    }
}

TEST(TideHistory, DailyFilesFollowTheLocalTimeZone) {
    const ScopedTimeZone tz("EST5");
    const TempFolder temp;
    const TideHistory history(temp.path());

    // In UTC both of these fall on 2 January.
    const double lateEvening = localDate(2026, 1, 1, 23, 30);
    const double pastMidnight = localDate(2026, 1, 2, 0, 30);
    ASSERT_TRUE(history.save(summaryAt(lateEvening, 1)));
    ASSERT_TRUE(history.save(summaryAt(pastMidnight, 2)));
    EXPECT_EQ(namesIn(temp.path()), (std::set<std::string>{"2026-01-01.json", "2026-01-02.json"}));

    // A second save of the day replaces the first.
    ASSERT_TRUE(history.save(summaryAt(localDate(2026, 1, 2, 18, 0), 3)));
    EXPECT_EQ(namesIn(temp.path()).size(), 2u);
    const auto loaded = history.load();
    ASSERT_EQ(loaded.size(), 2u);
    EXPECT_EQ(loaded[0], summaryAt(lateEvening, 1));
    EXPECT_EQ(loaded[1], summaryAt(localDate(2026, 1, 2, 18, 0), 3));

    EXPECT_FALSE(TideHistory::fileName(1e300));
}

TEST(TideHistory, LoadSortsByDateAndSkipsWhatItCannotRead) {
    const TempFolder temp;
    const fs::path folder = temp / "deep/History";
    const TideHistory history(folder.string());
    EXPECT_TRUE(history.load().empty());

    ASSERT_TRUE(history.save(summaryAt(2'000'000'000, 2)));
    writeFile(folder / "zzz-renamed.json", summaryAt(1'000'000'000, 1).toJson().toStdString());
    writeFile(folder / "2026-01-01.json", "{\"date\": 5, truncated");
    writeFile(folder / "notes.txt", summaryAt(1'500'000'000).toJson().toStdString());
    fs::create_directory(folder / "folder.json");

    const auto loaded = history.load();
    ASSERT_EQ(loaded.size(), 2u);
    EXPECT_EQ(loaded[0].date, 1'000'000'000);
    EXPECT_EQ(loaded[1].date, 2'000'000'000);
    EXPECT_TRUE(fs::exists(folder / "2026-01-01.json"));

    // A history folder that cannot be created reports it.
    writeFile(temp / "plain");
    EXPECT_EQ(TideHistory(temp / "plain/History").save(summaryAt(1)).error(),
              TideHistoryError::folderNotCreated);
}

TEST(TideHistory, PruneKeepsAMonthDailyAndAYearWeekly) {
    // 22:00 here is already the next day in UTC, so a UTC calendar would pick other weeks.
    const ScopedTimeZone tz("EST5");
    const TempFolder temp;
    const TideHistory history(temp.path());

    // Newest on Monday 23 November 2026; 365 days back is a Sunday, the last one kept.
    std::set<std::string> expected;
    double now = 0;
    for (int age = 0; age < 400; ++age) {
        std::tm day{};
        day.tm_year = 2026 - 1900;
        day.tm_mon = 10;
        day.tm_mday = 23 - age;
        day.tm_hour = 22;
        day.tm_isdst = -1;
        const auto date = static_cast<double>(std::mktime(&day));
        if (age == 0) now = date;
        char name[32];
        std::strftime(name, sizeof name, "%Y-%m-%d.json", &day);
        // Written directly: saving syncs every file, which is slow on a busy machine.
        writeFile(temp / name,
                  summaryAt(date, static_cast<std::uint64_t>(age)).toJson().toStdString());
        const bool sunday = day.tm_wday == 0;
        // Age 30 is the newest summary of its week once the daily month is left.
        if (age < 30 || age == 30 || (age <= 365 && sunday)) expected.insert(name);
    }
    writeFile(temp / "2020-01-01.json", "corrupt");
    expected.insert("2020-01-01.json");

    history.prune(now);
    EXPECT_EQ(namesIn(temp.path()), expected);

    history.prune(now);
    EXPECT_EQ(namesIn(temp.path()), expected);
}

TEST(TideHistory, GrowthNamesTheFolderThatReallyGrew) {
    const auto growth = [](std::map<std::string, std::uint64_t> from,
                           std::map<std::string, std::uint64_t> to) {
        return TideHistory::growth(TideSummary{0, 0, 0, 0, std::move(from)},
                                   TideSummary{1, 0, 0, 0, std::move(to)}, 5 * GB);
    };
    const auto gb = [](std::uint64_t n) { return n * 1'000'000'000; };

    // One child explaining four fifths replaces its parent, however deep.
    EXPECT_EQ(growth({{"/a", gb(1)}, {"/a/b", gb(1)}}, {{"/a", gb(11)}, {"/a/b", gb(10)}}),
              (std::vector<Growth>{{"/a/b", 9 * GB}}));
    EXPECT_EQ(growth({{"/a", gb(1)}, {"/a/b", gb(1)}}, {{"/a", gb(11)}, {"/a/b", gb(9)}}),
              (std::vector<Growth>{{"/a/b", 8 * GB}}));
    EXPECT_EQ(growth({}, {{"/a", gb(10)}, {"/a/b", gb(9)}, {"/a/b/c", gb(9)}}),
              (std::vector<Growth>{{"/a/b/c", 9 * GB}}));
    // Otherwise both are listed, parent first.
    EXPECT_EQ(growth({}, {{"/a", gb(10)}, {"/a/b", gb(7)}}),
              (std::vector<Growth>{{"/a", 10 * GB}, {"/a/b", 7 * GB}}));
    // Growth spread over children names the parent and each grown child.
    EXPECT_EQ(growth({}, {{"/s", gb(13)}, {"/s/x", gb(6)}, {"/s/y", gb(7)}, {"/s/z", gb(4)}}),
              (std::vector<Growth>{{"/s", 13 * GB}, {"/s/y", 7 * GB}, {"/s/x", 6 * GB}}));

    // New folders count whole; shrinking and small growth are never reported, but a folder
    // that grew inside a shrinking one is.
    EXPECT_EQ(growth({{"/old", gb(50)}, {"/p", gb(20)}, {"/p/c", gb(1)}, {"/small", gb(1)}},
                     {{"/new", gb(6)}, {"/p", gb(18)}, {"/p/c", gb(7)}, {"/small", gb(5)}}),
              (std::vector<Growth>{{"/new", 6 * GB}, {"/p/c", 6 * GB}}));
    EXPECT_EQ(growth({}, {{"/x", gb(5)}, {"/", gb(40)}, {"/y", gb(5) - 1}}),
              (std::vector<Growth>{{"/", 40 * GB}, {"/x", 5 * GB}}));
    EXPECT_TRUE(growth({{"/a", gb(9)}}, {{"/a", gb(9)}}).empty());
}
