#include "BrantleCore/CatchUp.hpp"

#include "BrantleCore/ChangeHistory.hpp"

#include "support/ChildProcess.hpp"
#include "support/TempFolder.hpp"
#include "support/TreeDump.hpp"

#include <gtest/gtest.h>

#include <filesystem>

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

void replaceWithLarger(const TempFolder& root, const std::string& name, std::size_t bytes) {
    root.file(name + ".partial", bytes);
    ASSERT_EQ(rename((root / (name + ".partial")).c_str(), (root / name).c_str()), 0);
}

std::string modeName(const CatchUpResult& result) {
    return result.mode == CatchUpResult::Mode::catchUp ? "catch-up" : "rescan";
}

} // namespace

TEST(CatchUp, EndsWhereAFreshScanOfTheChangedFolderEnds) {
    TempFolder root;
    TempFolder store;
    for (const char* folder :
         {"docs", "docs/drafts", "docs/drafts/deep", "media", "media/links", "turns-file", "doomed",
          "doomed/sub", "doomed/sub/subsub", "remade", "quiet", "quiet/nested", "moving"})
        root.folder(folder);
    root.file("docs/report.txt", 5000);
    root.file("docs/notes.txt", 3000);
    root.file("docs/old.txt", 7000);
    root.file("docs/drafts/d1", 100);
    root.file("docs/drafts/deep/x", 9000);
    root.file("media/song.mp3", 40000);
    root.file("media/replace.bin", 4000);
    root.file("media/links/a", 12000);
    ASSERT_EQ(link((root / "media/links/a").c_str(), (root / "media/links/b").c_str()), 0);
    root.file("turns-folder", 100);
    root.file("turns-file/inner", 500);
    root.file("doomed/sub/subsub/f", 1000);
    root.file("remade/z", 100);
    root.file("quiet/q", 3000);
    root.file("quiet/nested/n", 3000);
    root.file("moving/m", 4000);
    Snapshot::Contents loaded = snapshotOf(root.path(), store / "s.brs");

    root.file("docs/new.txt", 6000);
    ASSERT_EQ(unlink((root / "docs/old.txt").c_str()), 0);
    ASSERT_EQ(rename((root / "docs/notes.txt").c_str(), (root / "docs/notes-2.txt").c_str()), 0);
    ASSERT_EQ(rename((root / "docs/drafts/deep").c_str(), (root / "docs/drafts/deeper").c_str()),
              0);
    ASSERT_EQ(rename((root / "moving").c_str(), (root / "docs/moved").c_str()), 0);
    replaceWithLarger(root, "media/replace.bin", 90000);
    replaceWithLarger(root, "docs/report.txt", 70000);
    ASSERT_EQ(symlink("song.mp3", (root / "media/alias").c_str()), 0);
    ASSERT_EQ(unlink((root / "turns-folder").c_str()), 0);
    root.folder("turns-folder");
    root.file("turns-folder/now-inside", 2000);
    fs::remove_all(root / "turns-file");
    root.file("turns-file", 8000);
    fs::remove_all(root / "doomed");
    fs::remove_all(root / "remade");
    root.folder("remade");
    root.file("remade/other", 30000);
    fs::create_directories(root / "fresh/1/2/3/4");
    root.file("fresh/1/2/3/4/leaf", 50000);
    root.file("fresh/1/side", 700);

    DiskScanner catcher = scanner();
    const CatchUpResult result = brantle::catchUp(catcher, std::move(loaded), root.path(), 60s);
    EXPECT_EQ(modeName(result), "catch-up");
    EXPECT_GE(result.reread, 5u);
    const FileTree fresh = scanner().scan(root.path());
    EXPECT_EQ(treeDump(result.tree), treeDump(fresh));
    EXPECT_EQ(result.meta.rootPath, root.path());

    // What is saved after the catch-up reads back the same.
    ASSERT_TRUE(Snapshot::save(result.tree, result.meta, store / "s.brs").has_value());
    const auto reloaded = Snapshot::load(store / "s.brs");
    ASSERT_TRUE(reloaded.has_value());
    EXPECT_EQ(treeDump(reloaded->tree), treeDump(fresh));
    EXPECT_EQ(reloaded->meta, result.meta);
}

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
