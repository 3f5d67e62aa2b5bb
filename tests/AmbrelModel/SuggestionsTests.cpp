// What the Suggestions pane binds to, on real files in a home of its own: the rows with the
// home shown as "~", the ticks and their totals, and where each finding stands against the
// Cleanup List.
#include "ModelEnvironment.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

using namespace ambrel;

namespace {

/// The home folder swapped for a temporary one while a test runs.
class OwnHome {
public:
    OwnHome() : shared_(std::getenv("HOME")) { setenv("HOME", folder.path().c_str(), 1); }
    ~OwnHome() { setenv("HOME", shared_.c_str(), 1); }
    TempFolder folder;

private:
    std::string shared_;
};

void makeOld(const std::string& path, int days) {
    const auto then = ::time(nullptr) - days * 86'400;
    const timespec times[2] = {{then, 0}, {then, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

void analyzed(AppModel& model, const std::string& root) {
    model.load(ScanTarget::folder(root), false);
    ASSERT_TRUE(settleReady(model));
    model.show(AppModel::Section::Shoreline);
    ASSERT_TRUE(
        settle(model, [&] { return model.shorelinePhase() == AppModel::ShorelinePhase::Ready; }));
}

std::uint64_t sizeOf(const AppModel& model, const std::string& path) {
    return model.tree()->size(*model.tree()->node(path));
}

} // namespace

TEST(Suggestions, TicksAndTheirTotals) {
    OwnHome home;
    const auto one = home.folder / ".cache/one", two = home.folder / ".cache/two";
    const auto old = home.folder / "Downloads/old.bin";
    for (const auto& folder : {one, two})
        std::filesystem::create_directories(folder);
    std::filesystem::create_directories(home.folder / "Downloads");
    writeFile(one + "/blob", std::string(2'000'000, 'a'));
    writeFile(two + "/blob", std::string(3'000'000, 'b'));
    writeFile(old, std::string(2'000'000, 'c'));
    makeOld(old, 200);
    AppModel model;
    analyzed(model, home.folder.path());
    const auto caches = sizeOf(model, one) + sizeOf(model, two);
    const auto download = sizeOf(model, old);

    struct Step {
        const char* what;
        std::string path;
        bool tick;
        int count;
        std::uint64_t bytes;
    };
    const std::vector<Step> steps = {
        {"the safe caches start ticked, the old download not", "", false, 2, caches},
        {"ticking the download adds it", old, true, 3, caches + download},
        {"ticking it twice counts it once", old, true, 3, caches + download},
        {"unticking a cache takes it out", one, false, 2, sizeOf(model, two) + download},
        {"a path that is no finding cannot be ticked", home.folder / "Downloads", true, 2,
         sizeOf(model, two) + download},
    };
    for (const auto& step : steps) {
        if (!step.path.empty()) model.setChecked(QString::fromStdString(step.path), step.tick);
        EXPECT_EQ(model.checkedCount(), step.count) << step.what;
        EXPECT_EQ(model.checkedBytes(), step.bytes) << step.what;
    }
    EXPECT_EQ(model.shorelineTotal(), caches + download);

    QStringList shown;
    for (const auto& category : model.shorelineRows())
        for (const auto& finding : category.toMap()["findings"].toList())
            shown.append(finding.toMap()["shownPath"].toString());
    EXPECT_EQ(shown, QStringList({"~/.cache/two", "~/.cache/one", "~/Downloads/old.bin"}));
}

TEST(Suggestions, FindingsAgainstTheCleanupList) {
    OwnHome home;
    const auto cache = home.folder / ".cache/thumbs";
    const auto sibling = home.folder / ".cache/thumb";
    std::filesystem::create_directories(cache);
    std::filesystem::create_directories(sibling);
    writeFile(cache + "/blob", std::string(2'000'000, 'a'));
    AppModel model;
    analyzed(model, home.folder.path());
    const auto finding = QString::fromStdString(cache);

    struct Step {
        const char* what;
        std::string listed;
        int state; // 0 none, 1 listed, 2 inside a listed folder: the pane's mark
    };
    const std::vector<Step> steps = {
        {"nothing listed", "", 0},
        {"a sibling whose name only begins alike", sibling, 0},
        {"the finding itself listed", cache, 1},
        {"its folder listed, which takes the finding in", home.folder / ".cache", 2},
    };
    for (const auto& step : steps) {
        if (!step.listed.empty()) model.stage(QString::fromStdString(step.listed));
        EXPECT_EQ(model.pathStageState(finding), step.state) << step.what;
    }
}

TEST(Suggestions, DuplicatesStandUnderTheCopyThatIsKept) {
    OwnHome home;
    const std::string copy(50 * 1'048'576 + 4096, 'd');
    for (const auto* folder : {"Documents", "Downloads"}) {
        std::filesystem::create_directories(home.folder / folder);
        writeFile(home.folder / folder + std::string("/film.mov"), copy);
    }
    AppModel model;
    analyzed(model, home.folder.path());
    QVariantMap duplicate;
    for (const auto& category : model.shorelineRows())
        if (category.toMap()["id"] == "duplicates")
            duplicate = category.toMap()["findings"].toList().value(0).toMap();
    EXPECT_EQ(duplicate["shownPath"], "~/Downloads/film.mov");
    EXPECT_EQ(duplicate["group"], "~/Documents/film.mov");
}
