#include "BrantleCore/ChangeHistory.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FSEventsCollector.hpp"

#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

using brantle::ChangeSet;
using brantle::DiskScanner;
using brantle::FileTree;
using brantle::FSEventsCollector;
using brantle::ScanOptions;
namespace ChangeHistory = brantle::ChangeHistory;
using namespace std::chrono_literals;

namespace {

std::chrono::steady_clock::time_point past() {
    return std::chrono::steady_clock::now() - 1s;
}

} // namespace

TEST(FSEventsCollector, FlagRulesDecideBetweenFoldersAndRescan) {
    FSEventsCollector quiet;
    quiet.receive("", FSEventsCollector::historyDone);
    EXPECT_TRUE(quiet.waitUntilDone(past()));
    EXPECT_EQ(quiet.answer(false), ChangeSet::of({})) << "no change: an empty list";

    FSEventsCollector changed;
    changed.receive("/Users/x/b/", 0);
    changed.receive("/Users/x/a", 0);
    changed.receive("/Users/x/b", 0);
    changed.receive("/", 0);
    changed.receive("/Users/x/ignored-marker", FSEventsCollector::historyDone);
    EXPECT_TRUE(changed.waitUntilDone(past()));
    EXPECT_EQ(changed.answer(false), ChangeSet::of({"/", "/Users/x/a", "/Users/x/b"}))
        << "one trailing slash trimmed, each folder once, the marker's path not added";

    for (const std::uint32_t flag :
         {FSEventsCollector::mustScanSubDirs, FSEventsCollector::userDropped,
          FSEventsCollector::kernelDropped, FSEventsCollector::eventIdsWrapped,
          FSEventsCollector::rootChanged}) {
        FSEventsCollector dropped;
        dropped.receive("/Users/x/a", 0);
        dropped.receive("/Users/x/c", flag | 0x100);
        dropped.receive("/Users/x/d", 0);
        dropped.receive("", FSEventsCollector::historyDone);
        EXPECT_TRUE(dropped.answer(false).needsFullRescan()) << flag;
    }

    // No completion within the time-out: a rescan, whatever was gathered.
    FSEventsCollector unfinished;
    unfinished.receive("/Users/x/a", 0);
    EXPECT_FALSE(unfinished.waitUntilDone(past()));
    EXPECT_TRUE(unfinished.answer(true).needsFullRescan());
}

TEST(FSEventsCollector, TheMarkerFromAnotherThreadWakesTheWaiter) {
    FSEventsCollector collector;
    std::jthread stream([&] {
        collector.receive("/a", 0);
        collector.receive("", FSEventsCollector::historyDone);
    });
    EXPECT_TRUE(collector.waitUntilDone(std::chrono::steady_clock::now() + 600s));
    EXPECT_EQ(collector.answer(false), ChangeSet::of({"/a"}));
}

TEST(ChangeHistory, FolderTimesNameTheChangedFolders) {
    TempFolder root;
    for (const char* folder : {"a", "a/b", "a/b/c", "d", "gone", "gone/inner", "e"})
        root.folder(folder);
    root.file("a/b/c/file");
    root.file("d/file");
    const FileTree tree = DiskScanner(ScanOptions{}, 1).scan(root.path());
    const auto since = ChangeHistory::currentEventID();
    EXPECT_GT(since, 1'700'000'000ULL * 1'000'000'000ULL) << "nanoseconds since 1970";

    // Nothing touched since: nothing listed (without a margin, which would list everything
    // made just now).
    EXPECT_EQ(ChangeHistory::changedDirectories(root.path(), since, 60s, tree, 0ns),
              ChangeSet::of({}));

    root.file("a/b/new");
    std::filesystem::remove_all(root / "gone");
    ASSERT_EQ(chmod((root / "e").c_str(), 0700), 0); // a change of the folder's own inode
    const ChangeSet changes =
        ChangeHistory::changedDirectories(root.path() + "/", since, 60s, tree);
    ASSERT_FALSE(changes.needsFullRescan());
    const auto& listed = changes.directories;
    for (const char* expected : {"", "/a/b", "/e"})
        EXPECT_NE(std::find(listed.begin(), listed.end(), root.path() + expected), listed.end())
            << expected;
    EXPECT_EQ(std::find(listed.begin(), listed.end(), root / "gone/inner"), listed.end())
        << "a vanished folder reports its parent, never itself";
    EXPECT_TRUE(std::is_sorted(listed.begin(), listed.end()));
    EXPECT_EQ(std::adjacent_find(listed.begin(), listed.end()), listed.end());
}

TEST(ChangeHistory, EveryDoubtIsAFullRescan) {
    TempFolder root;
    root.folder("a");
    const FileTree tree = DiskScanner(ScanOptions{}, 1).scan(root.path());
    const auto now = ChangeHistory::currentEventID();
    const auto check = [&](std::string_view under, ChangeHistory::EventID since,
                           std::chrono::duration<double> timeout, const FileTree& known) {
        return ChangeHistory::changedDirectories(under, since, timeout, known).needsFullRescan();
    };
    EXPECT_FALSE(check(root.path(), now, 60s, tree));
    EXPECT_TRUE(check(root.path(), now + 3'600'000'000'000ULL, 60s, tree)) << "clock went back";
    EXPECT_TRUE(check(root.path(), 0, 60s, tree)) << "no event id";
    EXPECT_TRUE(check(root / "a", now, 60s, tree)) << "the tree of another root";
    EXPECT_TRUE(check(root.path(), now, 0s, tree)) << "no time to look";
    EXPECT_TRUE(check(root.path(), now, 60s, FileTree(root.path(), FileTree::empty)));
    std::filesystem::remove_all(root / "a");
    ASSERT_EQ(rmdir(root.path().c_str()), 0);
    EXPECT_TRUE(check(root.path(), now, 60s, tree)) << "the root is gone";
    ASSERT_EQ(mkdir(root.path().c_str(), 0755), 0); // for the folder's own clean-up
}
