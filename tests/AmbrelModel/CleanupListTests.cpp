// The Cleanup List's rules for adding, and its removal runs on real files, the real Trash and
// the real eraser under the temporary home.
#include "ModelEnvironment.hpp"

#include "AmbrelModel/CleanupList.hpp"
#include "AmbrelModel/RemovalRun.hpp"
#include "BrantleCore/ByteFormat.hpp"
#include "support/GuardForTests.hpp"

#include <gtest/gtest.h>

#include <filesystem>

using namespace ambrel;

namespace {

brantle::GuardVerdict allowEverything(const std::string& path) {
    return brantle::GuardVerdict::allowed(allowed(path));
}

std::vector<std::string> paths(const CleanupList& list) {
    std::vector<std::string> out;
    for (const auto& item : list.items())
        out.push_back(item.path);
    return out;
}

// The test guard with `home` as the home folder, which it refuses to remove.
brantle::DeletionGuard guardWithHome(const std::string& home) {
    auto profile = brantle::PlatformProfile::linux();
    profile.isMountPoint = nullptr;
    return {home, "/nonexistent/app", nullptr,
            std::make_shared<const brantle::PlatformProfile>(profile)};
}

StagedItem staged(const std::string& path, std::uint64_t bytes) {
    return {QUuid::createUuid(), path, QString::fromStdString(path.substr(path.rfind('/') + 1)),
            bytes, allowed(path)};
}

} // namespace

TEST(CleanupList, Containment) {
    struct Case {
        const char* what;
        std::vector<std::string> added;
        std::vector<std::string> listed;
    };
    const std::vector<Case> cases = {
        {"folder absorbs listed items", {"/t/a/x", "/t/b", "/t/a/y/z", "/t/a"}, {"/t/b", "/t/a"}},
        {"item inside a listed folder refused", {"/t/a", "/t/a/x"}, {"/t/a"}},
        {"same path twice refused", {"/t/a", "/t/a"}, {"/t/a"}},
        {"b and bc side by side", {"/t/b", "/t/bc"}, {"/t/b", "/t/bc"}},
    };
    for (const auto& c : cases) {
        CleanupList list(allowEverything);
        for (const auto& path : c.added)
            list.stage(path, 10, QString::fromStdString(path));
        EXPECT_EQ(paths(list), c.listed) << c.what;
    }
    CleanupList list(allowEverything);
    list.stage("/t/b", 10, "b");
    EXPECT_EQ(list.stageState("/t/b"), StageState::staged);
    EXPECT_EQ(list.stageState("/t/b/c"), StageState::insideStaged);
    EXPECT_EQ(list.stageState("/t/bc"), StageState::none);
    EXPECT_EQ(list.stageState(""), StageState::none);
}

TEST(CleanupList, Notices) {
    CleanupList list([](const std::string& path) {
        return path == "/t/home" ? brantle::GuardVerdict::blocked("It's your home folder")
                                 : allowEverything(path);
    });
    EXPECT_FALSE(list.stage("/t/a", 5, "a"));
    const auto twice = list.stage("/t/a/b", 5, "b");
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->text, "“b” is already in the Cleanup List (or inside something that is).");
    EXPECT_FALSE(twice->isWarning);
    const auto blocked = list.stage("/t/home", 5, "home");
    ASSERT_TRUE(blocked);
    EXPECT_EQ(blocked->text, "Ambrel won't remove “home”: It's your home folder.");
    EXPECT_TRUE(blocked->isWarning);
    EXPECT_EQ(list.stagedBytes(), 5u);
    EXPECT_EQ(CleanupList::addedText(1, "4 KB"), "Added 1 item (4 KB) to the Cleanup List.");
    EXPECT_EQ(CleanupList::addedText(2, "8 KB"), "Added 2 items (8 KB) to the Cleanup List.");
}

TEST(CleanupList, MoveToTrashRecordsAndGoesOnAfterFailures) {
    TempFolder place;
    place.folder("keep");
    place.folder("blocked");
    place.file("keep/old.log", 5000);
    place.file("blocked/x", 10);
    const auto item = place / "keep/old.log";
    const auto gone = place / "vanished";
    const auto guard = guardWithHome(place / "blocked");
    brantle::Eraser eraser(place / "staging");
    const auto outcome = removeStaged(
        {staged(gone, 1), staged(place / "blocked", 10), staged(item, 5000)}, false, guard, eraser);
    EXPECT_EQ(outcome.result.movedCount, 1);
    ASSERT_EQ(outcome.result.failures.size(), 2u);
    EXPECT_TRUE(outcome.result.failures[0].startsWith("blocked: "));
    EXPECT_TRUE(outcome.result.failures[1].startsWith("vanished: "));
    EXPECT_TRUE(std::filesystem::exists(place / "blocked/x"));
    EXPECT_FALSE(std::filesystem::exists(item));
    const auto trash = ModelEnvironment::home() / ".local/share/Trash";
    ASSERT_EQ(outcome.ledgerEntries.size(), 1u);
    EXPECT_EQ(outcome.ledgerEntries[0].original, item);
    EXPECT_TRUE(outcome.ledgerEntries[0].trashed.starts_with(trash + "/files/"));
    EXPECT_TRUE(std::filesystem::exists(outcome.ledgerEntries[0].trashed));
    const auto name = std::filesystem::path(outcome.ledgerEntries[0].trashed).filename().string();
    EXPECT_TRUE(std::filesystem::exists(trash + "/info/" + name + ".trashinfo"));
}

TEST(CleanupList, DeleteImmediately) {
    TempFolder place;
    place.folder("cache");
    place.file("cache/a", 3000);
    brantle::Eraser eraser(place / "staging");
    const auto outcome = removeStaged({staged(place / "cache", 3000)}, true,
                                      guardWithHome("/nonexistent/home"), eraser);
    EXPECT_TRUE(outcome.result.failures.empty());
    EXPECT_FALSE(std::filesystem::exists(place / "cache"));
    eraser.waitUntilIdle();
    EXPECT_TRUE(std::filesystem::is_empty(place / "staging"));
}

TEST(CleanupList, ModelTakesMovedItemOutOfTheTree) {
    TempFolder root;
    root.folder("big");
    root.folder("big/inner");
    root.file("big/inner/a", 40000);
    root.file("keep", 4000);
    AppModel model;
    model.load(ScanTarget::folder(root.path()), false);
    ASSERT_TRUE(settleReady(model));
    const auto inner = *model.tree()->node(root / "big/inner");
    const auto before = model.tree()->size(brantle::FileTree::root);
    const auto bytes = model.tree()->size(inner);
    model.focusOn(int(inner));
    model.toggleStaged(int(inner));
    ASSERT_EQ(model.stageState(int(inner)), 1);
    model.moveToTrash();
    ASSERT_TRUE(settle(model, [&] { return model.lastTrashResult().has_value(); }));
    EXPECT_EQ(model.lastTrashResult()->movedCount, 1)
        << model.trashResultMap()["failures"].toString().toStdString();
    EXPECT_EQ(model.tree()->size(brantle::FileTree::root), before - bytes);
    EXPECT_EQ(model.tree()->path(model.focus()), root / "big");
    EXPECT_TRUE(model.cleanupList().items().empty());
    EXPECT_FALSE(std::filesystem::exists(root / "big/inner"));

    model.refreshTrashLedger();
    ASSERT_EQ(model.trashLedger().entries.size(), 1u);
    const auto trashed = model.trashLedger().entries[0].trashed;
    EXPECT_TRUE(std::filesystem::exists(trashed));
    model.deleteClearedTrashNow();
    ASSERT_TRUE(settle(model, [&] { return model.erasingBytes() == 0; }));
    EXPECT_FALSE(std::filesystem::exists(trashed));
    EXPECT_TRUE(model.trashLedger().entries.empty());
}

TEST(CleanupList, TickedSuggestionsJoinTheListWithOneNotice) {
    // A home of its own, so the only suggestions are the two caches made here.
    TempFolder home;
    const std::string shared = std::getenv("HOME");
    setenv("HOME", home.path().c_str(), 1);
    const auto one = home / ".cache/one";
    const auto two = home / ".cache/two";
    std::filesystem::create_directories(one);
    writeFile(one + "/blob", std::string(2'000'000, 'a'));

    struct Step {
        const char* what;
        std::vector<std::string> listed;
        int count;
    };
    const std::vector<Step> steps = {
        {"one ticked finding", {one}, 1},
        {"two ticked, one of them listed already", {one, two}, 2},
    };
    for (const auto& step : steps) {
        if (step.count == 2) {
            std::filesystem::create_directories(two);
            writeFile(two + "/blob", std::string(2'000'000, 'b'));
        }
        AppModel model;
        model.load(ScanTarget::folder(home.path()), false);
        ASSERT_TRUE(settleReady(model));
        model.show(AppModel::Section::Shoreline);
        ASSERT_TRUE(settle(
            model, [&] { return model.shorelinePhase() == AppModel::ShorelinePhase::Ready; }));
        ASSERT_EQ(model.shorelineChecked().size(), step.count) << step.what;
        std::uint64_t bytes = 0;
        for (const auto& path : step.listed)
            bytes += model.tree()->size(*model.tree()->node(path));
        if (step.count == 2) model.stage(QString::fromStdString(one));
        model.sendCheckedToLowTide();
        EXPECT_EQ(paths(model.cleanupList()), step.listed) << step.what;
        EXPECT_EQ(
            model.noticeText(),
            CleanupList::addedText(step.count, QString::fromStdString(brantle::formatBytes(bytes))))
            << step.what;
        EXPECT_FALSE(model.noticeIsWarning());
    }
    setenv("HOME", shared.c_str(), 1);
}
