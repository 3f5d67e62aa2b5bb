#include "BrantleCore/CatchUp.hpp"

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/DirectoryReader.hpp"
#include "BrantleCore/TreeCounts.hpp"

#include "support/ChildProcess.hpp"
#include "support/TempFolder.hpp"
#include "support/TreeDump.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using brantle::CatchUpResult;
using brantle::DiskScanner;
using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;
using brantle::ScanOptions;
using brantle::Snapshot;
using brantle::SnapshotMeta;
namespace ChangeHistory = brantle::ChangeHistory;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

/// One scanner for every scan of a test: a single worker, so that which name of a hard-linked
/// file is met first does not depend on timing.
DiskScanner scanner() {
    return DiskScanner(ScanOptions{}, 1);
}

/// A snapshot of `root` taken now, as the application would have saved and loaded it.
Snapshot::Contents snapshotOf(const std::string& root, const std::string& file) {
    const auto eventID = ChangeHistory::currentEventID();
    const FileTree tree = scanner().scan(root);
    EXPECT_TRUE(Snapshot::save(tree, {tree.rootPath(), 1, eventID}, file).has_value());
    auto loaded = Snapshot::load(file);
    EXPECT_TRUE(loaded.has_value());
    return std::move(*loaded);
}

std::string modeName(const CatchUpResult& result) {
    return result.mode == CatchUpResult::Mode::catchUp ? "catch-up" : "rescan";
}

} // namespace

TEST(CatchUp, NewNamesOfCountedFilesAreNotCountedAgain) {
    TempFolder root;
    TempFolder store;
    root.folder("keep");
    root.folder("other");
    root.file("keep/original", 50000);
    Snapshot::Contents loaded = snapshotOf(root.path(), store / "s.brs");
    ASSERT_EQ(link((root / "keep/original").c_str(), (root / "other/second").c_str()), 0);
    root.folder("newdir");
    ASSERT_EQ(link((root / "keep/original").c_str(), (root / "newdir/third").c_str()), 0);

    DiskScanner catcher = scanner();
    const CatchUpResult result = brantle::catchUp(catcher, std::move(loaded), root.path(), 60s);
    EXPECT_EQ(modeName(result), "catch-up");
    const FileTree fresh = scanner().scan(root.path());
    EXPECT_EQ(result.tree.size(FileTree::root), fresh.size(FileTree::root));
    for (const char* name : {"other/second", "newdir/third"})
        EXPECT_EQ(result.tree.flags(*result.tree.node(root / name)), NodeFlags::hardlinkDuplicate)
            << name;
    EXPECT_EQ(treeDump(result.tree, false).size(), treeDump(fresh, false).size());
}

// chmod makes a folder unreadable only for a user without root's override, so the whole
// sequence runs in a child as "nobody" and reports what it saw.
TEST(CatchUp, FolderMadeUnreadableAndReadableAgain) {
    TempFolder root;
    TempFolder store;
    if (geteuid() == 0) {
        ASSERT_EQ(chown(root.path().c_str(), 65534, 65534), 0);
        ASSERT_EQ(chown(store.path().c_str(), 65534, 65534), 0);
    }
    const std::string report = childOutput(
        [&] {
            std::string out;
            root.folder("locked");
            root.folder("locked/inner");
            root.file("locked/a", 4000);
            root.file("locked/inner/b", 9000);
            root.file("open", 100);
            Snapshot::Contents loaded = snapshotOf(root.path(), store / "s.brs");
            for (const mode_t mode : {0000, 0755}) {
                chmod((root / "locked").c_str(), mode);
                DiskScanner catcher = scanner();
                CatchUpResult result =
                    brantle::catchUp(catcher, std::move(loaded), root.path(), 60s);
                const std::string expected = treeDump(scanner().scan(root.path()));
                const std::string got = treeDump(result.tree);
                out +=
                    modeName(result) +
                    (got == expected ? " same\n" : " differs:\n" + got + "instead of\n" + expected);
                loaded = {std::move(result.tree), result.meta};
            }
            const auto locked = loaded.tree.node(root / "locked");
            out += locked && loaded.tree.firstChild(*locked) != FileTree::none ? "children\n"
                                                                               : "none\n";
            return out;
        },
        true);
    EXPECT_EQ(report, "catch-up same\ncatch-up same\nchildren\n");
}

TEST(CatchUp, SnapshotOfAnotherRootIsNeverUsed) {
    TempFolder first;
    TempFolder second;
    TempFolder store;
    first.file("only-in-first", 4000);
    second.file("only-in-second", 8000);
    DiskScanner catcher = scanner();
    CatchUpResult result = brantle::catchUp(catcher, snapshotOf(first.path(), store / "s.brs"),
                                            second.path() + "/", 60s);
    EXPECT_EQ(modeName(result), "rescan");
    EXPECT_EQ(result.meta.rootPath, second.path());
    EXPECT_EQ(treeDump(result.tree), treeDump(scanner().scan(second.path())));
    EXPECT_EQ(result.reread, 1u) << "every folder of the new scan: the root alone";

    result = brantle::catchUp(catcher, std::nullopt, first.path(), 60s);
    EXPECT_EQ(modeName(result), "rescan");
    EXPECT_TRUE(result.tree.node(first / "only-in-first"));
}

TEST(DiskScannerRescan, NewlyReadableFoldersAndListedPathsOutsideTheTree) {
    TempFolder root;
    root.folder("was-locked");
    root.folder("was-locked/sub");
    root.file("was-locked/sub/f", 6000);
    root.folder("still-there");
    root.folder("vanishes");
    root.file("file", 100);
    FileTree tree = scanner().scan(root.path());

    // As a scan without access would have left them: unreadable, no children.
    const auto markUnreadable = [&](const std::string& path) {
        const NodeId id = *tree.node(path);
        tree.removeChildren(id);
        tree.setFlags(id, tree.flags(id) | NodeFlags::unreadable);
        return id;
    };
    markUnreadable(root / "was-locked");
    markUnreadable(root / "vanishes");
    tree.remove(markUnreadable(root / "still-there"));
    const NodeId file = *tree.node(root / "file");
    tree.setFlags(file, NodeFlags::unreadable);
    ASSERT_EQ(rmdir((root / "vanishes").c_str()), 0);
    EXPECT_EQ(DiskScanner::newlyReadable(tree), std::vector<std::string>{root / "was-locked"})
        << "live folders marked unreadable that open now";
    EXPECT_TRUE(DiskScanner::newlyReadable(FileTree("/x", FileTree::empty)).empty());

    DiskScanner rescanner = scanner();
    EXPECT_EQ(rescanner.rescan(tree, DiskScanner::newlyReadable(tree)), 1u);
    EXPECT_EQ(tree.flags(*tree.node(root / "was-locked")), NodeFlags::directory);
    EXPECT_EQ(tree.size(*tree.node(root / "was-locked")),
              testing_support::allocatedBytes(root / "was-locked") +
                  testing_support::allocatedBytes(root / "was-locked/sub") +
                  testing_support::allocatedBytes(root / "was-locked/sub/f"));

    // A listed folder the tree does not know yet stands for its nearest known ancestor; paths
    // outside the root are ignored, and one folder listed twice is read once.
    FileTree current = scanner().scan(root.path());
    fs::create_directories(root / "late/deep/er");
    root.file("late/deep/er/g", 3000);
    EXPECT_EQ(rescanner.rescan(current, {root / "late/deep/er", "/elsewhere", root.path() + "-x"}),
              1u);
    EXPECT_EQ(rescanner.rescan(current, {root / "late/", root / "late"}), 1u);
    EXPECT_EQ(treeDump(current), treeDump(scanner().scan(root.path())));
}

namespace {

/// The files and folders under `root`, outside the deep chain, each kind sorted.
struct Entries {
    std::vector<std::string> files;
    std::vector<std::string> folders{};
};

Entries entriesUnder(const std::string& root) {
    Entries found;
    found.folders.push_back(root);
    for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator();
         ++it) {
        if (it->path().filename() == "deep") {
            it.disable_recursion_pending();
            continue;
        }
        const bool folder = it->is_directory() && !it->is_symlink();
        (folder ? found.folders : found.files).push_back(it->path().string());
    }
    std::sort(found.files.begin(), found.files.end());
    std::sort(found.folders.begin(), found.folders.end());
    return found;
}

/// One random change of the kinds a catch-up must follow.
void changeSomething(std::mt19937& random, const std::string& root, const std::string& deepest,
                     int serial) {
    const Entries now = entriesUnder(root);
    const auto pick = [&](const std::vector<std::string>& from) {
        return from[random() % from.size()];
    };
    const std::string name = "n" + std::to_string(serial);
    const std::string folder = pick(now.folders);
    const auto writeFile = [&](const std::string& path) {
        std::FILE* out = std::fopen(path.c_str(), "wb");
        ASSERT_NE(out, nullptr) << path;
        const std::string bytes(1 + random() % 20000, 'x');
        std::fwrite(bytes.data(), 1, bytes.size(), out);
        std::fclose(out);
    };
    switch (random() % 11) {
    case 0:
        writeFile(folder + "/" + name);
        break;
    case 1:
        fs::create_directories(folder + "/" + name + "/inner");
        writeFile(folder + "/" + name + "/inner/f");
        break;
    case 2:
        if (!now.files.empty()) fs::remove(pick(now.files));
        break;
    case 3: // a rename across parents, hard-linked files included
        if (!now.files.empty()) fs::rename(pick(now.files), folder + "/" + name);
        break;
    case 4:
        if (!now.files.empty()) (void)link(pick(now.files).c_str(), (folder + "/" + name).c_str());
        break;
    case 5: // a folder becomes a file of the same name, or a file a folder
        if (folder != root && random() % 2 == 0) {
            fs::remove_all(folder);
            writeFile(folder);
        } else if (!now.files.empty()) {
            const std::string file = pick(now.files);
            fs::remove(file);
            fs::create_directory(file);
            writeFile(file + "/" + name);
        }
        break;
    case 6:
        if (folder != root) fs::remove_all(folder);
        break;
    case 8: // a file replaced by a new one renamed over it, as editors save
        if (!now.files.empty()) {
            const std::string file = pick(now.files);
            writeFile(folder + "/" + name);
            fs::rename(folder + "/" + name, file);
        }
        break;
    case 9:
        if (!now.files.empty()) fs::create_symlink(pick(now.files), folder + "/" + name);
        break;
    case 7: { // inside the folders deeper than PATH_MAX
        const int fd = brantle::openDirectory(deepest);
        ASSERT_GE(fd, 0);
        const int file = openat(fd, name.c_str(), O_WRONLY | O_CREAT, 0644);
        ASSERT_EQ(write(file, "deep", 4), 4);
        close(file);
        close(fd);
        break;
    }
    default:
        if (folder != root) {
            std::error_code ignored; // moving a folder into itself fails, as it should
            fs::rename(folder, pick(now.folders) + "/" + name, ignored);
        }
        break;
    }
}

void expectSameCounts(const FileTree& caughtUp, const FileTree& fresh) {
    const auto a = brantle::TreeCounts::of(caughtUp);
    const auto b = brantle::TreeCounts::of(fresh);
    EXPECT_EQ(a.nodes, b.nodes);
    EXPECT_EQ(a.bytes, b.bytes);
    EXPECT_EQ(a.hardlinkDuplicates, b.hardlinkDuplicates);
    EXPECT_EQ(a.unreadable, b.unreadable);
    EXPECT_EQ(a.mountPoints, b.mountPoints);
}

} // namespace

TEST(CatchUp, RandomChangesEndWhereAFreshScanEnds) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    TempFolder root;
    TempFolder store;
    for (const char* folder : {"a", "a/b", "c", "d/e/f"})
        fs::create_directories(root / folder);
    // A chain of folders deeper than PATH_MAX.
    std::string deepest = root / "deep";
    fs::create_directory(deepest);
    for (int level = 0; level < 25; ++level) {
        const int fd = brantle::openDirectory(deepest);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(mkdirat(fd, std::string(200, 'd').c_str(), 0755), 0);
        close(fd);
        deepest += "/" + std::string(200, 'd');
    }
    Snapshot::Contents loaded = snapshotOf(root.path(), store / "s.brs");
    constexpr int rounds = 40;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (int change = 0; change < 6; ++change)
            changeSomething(random, root.path(), deepest, round * 10 + change);
        DiskScanner catcher = scanner();
        CatchUpResult result = brantle::catchUp(catcher, std::move(loaded), root.path(), 60s);
        ASSERT_EQ(modeName(result), "catch-up");
        const FileTree fresh = scanner().scan(root.path());
        expectSameCounts(result.tree, fresh);
        ASSERT_EQ(treeDumpWithLinksAlike(result.tree.compacted()),
                  treeDumpWithLinksAlike(fresh.compacted()));
        ASSERT_TRUE(Snapshot::save(result.tree, result.meta, store / "s.brs").has_value());
        auto reloaded = Snapshot::load(store / "s.brs");
        ASSERT_TRUE(reloaded.has_value());
        loaded = std::move(*reloaded);
        if (HasFailure()) break;
    }
}

// An excluded folder stays out whether it was excluded before the snapshot (and then changed
// on disk) or only afterwards (and the snapshot still holds it). Folders count as changed for a
// margin after they were made, so the fixtures age past it first, both at once.
TEST(CatchUp, ExcludedFoldersStayOut) {
    const bool excludedAtSnapshot[] = {true, false};
    TempFolder roots[2];
    for (const TempFolder& root : roots) {
        root.folder("work");
        root.folder("work/skip");
        root.file("work/skip/big", 80000);
        root.file("work/keep", 4000);
    }
    std::this_thread::sleep_for(ChangeHistory::timestampMargin + 1s);
    for (int k = 0; k < 2; ++k) {
        const TempFolder& root = roots[k];
        TempFolder store;
        ScanOptions options;
        options.excludedPaths = {root / "work/skip"};
        const auto eventID = ChangeHistory::currentEventID();
        DiskScanner first(excludedAtSnapshot[k] ? options : ScanOptions{}, 1);
        const FileTree scanned = first.scan(root.path());
        ASSERT_TRUE(Snapshot::save(scanned, {scanned.rootPath(), 1, eventID}, store / "s.brs"));
        // Only the excluded folder changes: its parent is read again for the exclusion alone.
        root.file("work/skip/more", 9000);

        auto loaded = Snapshot::load(store / "s.brs");
        ASSERT_TRUE(loaded.has_value());
        DiskScanner catcher(options, 1);
        const CatchUpResult result =
            brantle::catchUp(catcher, std::move(*loaded), root.path(), 60s);
        EXPECT_EQ(modeName(result), "catch-up");
        EXPECT_FALSE(result.tree.node(root / "work/skip")) << excludedAtSnapshot[k];
        EXPECT_EQ(treeDump(result.tree), treeDump(DiskScanner(options, 1).scan(root.path())))
            << excludedAtSnapshot[k];
    }
}
