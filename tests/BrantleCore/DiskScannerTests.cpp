#include "BrantleCore/DiskScanner.hpp"

#include "support/ChildProcess.hpp"
#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <sstream>
#include <sys/mount.h>
#include <thread>

using brantle::DiskScanner;
using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;
using brantle::ScanOptions;
using testing_support::allocatedBytes;

namespace {

NodeId nodeAt(const FileTree& tree, const std::string& path) {
    const auto id = tree.node(path);
    EXPECT_TRUE(id.has_value()) << path;
    return id.value_or(FileTree::root);
}

NodeFlags flagsAt(const FileTree& tree, const std::string& path) {
    return tree.flags(nodeAt(tree, path));
}

/// Every folder's size is the sum of its children's.
bool sizesPropagated(const FileTree& tree) {
    for (NodeId id = 0; id < tree.count(); ++id) {
        if (!tree.flags(id).contains(NodeFlags::directory)) continue;
        // A folder counts its own blocks, unless it is another volume.
        std::uint64_t sum =
            tree.flags(id).contains(NodeFlags::mountPoint) ? 0 : allocatedBytes(tree.rawPath(id));
        for (const NodeId child : tree.children(id))
            sum += tree.size(child);
        if (sum != tree.size(id)) return false;
    }
    return true;
}

std::uint64_t firstNumber(const std::string& text) {
    return std::stoull(text);
}

} // namespace

TEST(DiskScanner, LinksNamesPackagesAndEmptyFolders) {
    TempFolder root;
    root.folder("sub");
    root.folder("sub/deeper");
    root.file("shared", 5000);
    ASSERT_EQ(link((root / "shared").c_str(), (root / "sub/second").c_str()), 0);
    ASSERT_EQ(link((root / "shared").c_str(), (root / "sub/deeper/third").c_str()), 0);
    root.file("plain.txt", 10000);
    ASSERT_EQ(symlink("plain.txt", (root / "to-file").c_str()), 0);
    const std::string longTarget = "sub/" + std::string(200, 'y');
    ASSERT_EQ(symlink(longTarget.c_str(), (root / "long-link").c_str()), 0);
    ASSERT_EQ(symlink("sub", (root / "to-folder").c_str()), 0);
    root.file("caf\xe9.txt");
    root.file(std::string(255, 'n'));
    root.folder("empty");
    root.folder("Foo.APP");
    root.file("Foo.APP/inside", 3000);
    root.folder(".app");
    root.file("x.app");

    int calls = 0;
    DiskScanner scanner(ScanOptions::forVolume(root.path()), 2, std::chrono::hours(1));
    const FileTree tree = scanner.scan(root.path(), 0, [&](const auto&) { ++calls; });
    EXPECT_EQ(calls, 1) << "the first progress report comes at once, the next after the interval";

    // One file with three names counts once, whichever name was met first.
    int counted = 0, duplicates = 0;
    for (const char* name : {"shared", "sub/second", "sub/deeper/third"}) {
        const NodeId id = nodeAt(tree, root / name);
        if (tree.flags(id).contains(NodeFlags::hardlinkDuplicate)) {
            ++duplicates;
            EXPECT_EQ(tree.size(id), 0u);
        } else {
            ++counted;
            EXPECT_EQ(tree.size(id), allocatedBytes(root / "shared"));
        }
    }
    EXPECT_EQ(counted, 1);
    EXPECT_EQ(duplicates, 2);
    // Folders have several links too, but are never duplicates.
    EXPECT_EQ(flagsAt(tree, root / "sub/deeper"), NodeFlags::directory);

    // Symbolic links are stored as links with their own allocation and never followed.
    for (const char* name : {"to-file", "long-link", "to-folder"}) {
        const NodeId id = nodeAt(tree, root / name);
        EXPECT_EQ(tree.flags(id), NodeFlags::symlink) << name;
        EXPECT_EQ(tree.size(id), allocatedBytes(root / name)) << name;
        EXPECT_EQ(tree.firstChild(id), FileTree::none);
    }
    EXPECT_GT(tree.size(nodeAt(tree, root / "long-link")), 0u) << "a long target takes a block";

    // Names are stored as the bytes on disk and repaired only when read.
    const NodeId odd = nodeAt(tree, root / "caf\xEF\xBF\xBD.txt");
    EXPECT_EQ(tree.nameBytes(odd), "caf\xe9.txt");
    EXPECT_EQ(tree.name(odd), "caf\xEF\xBF\xBD.txt");
    EXPECT_EQ(tree.nameBytes(nodeAt(tree, root / std::string(255, 'n'))).size(), 255u);

    const NodeId empty = nodeAt(tree, root / "empty");
    EXPECT_EQ(tree.firstChild(empty), FileTree::none);
    EXPECT_EQ(tree.size(empty), allocatedBytes(root / "empty"));

    EXPECT_EQ(flagsAt(tree, root / "Foo.APP"), NodeFlags::directory | NodeFlags::package);
    EXPECT_EQ(tree.size(nodeAt(tree, root / "Foo.APP")),
              allocatedBytes(root / "Foo.APP") + allocatedBytes(root / "Foo.APP/inside"));
    EXPECT_EQ(flagsAt(tree, root / ".app"), NodeFlags::directory);
    EXPECT_EQ(flagsAt(tree, root / "x.app"), NodeFlags{});

    EXPECT_TRUE(sizesPropagated(tree));
}

TEST(DiskScanner, ExcludedPathsAndVolumeOptions) {
    TempFolder root;
    root.folder("a");
    root.folder("a/skip");
    root.file("a/skip/big", 50000);
    root.file("a/keep", 4096);
    root.file("skip-me", 4096);
    ScanOptions options;
    options.excludedPaths = {root / "a/skip", root / "skip-me", root / "a/keep/not-there"};
    DiskScanner scanner(options, 2);
    const FileTree tree = scanner.scan(root.path() + "/");
    EXPECT_EQ(tree.rootPath(), root.path());
    EXPECT_FALSE(tree.node(root / "a/skip"));
    EXPECT_FALSE(tree.node(root / "skip-me"));
    EXPECT_TRUE(tree.node(root / "a/keep"));
    EXPECT_EQ(tree.count(), 3u);
    EXPECT_EQ(tree.size(FileTree::root), allocatedBytes(root.path()) + allocatedBytes(root / "a") +
                                             allocatedBytes(root / "a/keep"));
}

// Permission failures are real only without root's override, so the scan runs in a child
// that gives up its privileges and reports every node as "path flags children".
TEST(DiskScanner, UnreadableFoldersAndEntries) {
    TempFolder root;
    root.folder("locked");
    root.file("locked/hidden");
    root.folder("listable");
    root.file("listable/entry");
    root.folder("listable/inner");
    root.file("fine", 4096);
    ASSERT_EQ(chmod((root / "locked").c_str(), 0), 0);
    ASSERT_EQ(chmod((root / "listable").c_str(), 0444), 0);

    const std::string report = childOutput(
        [&] {
            std::string out;
            for (const std::string& path : {root.path(), root / "locked"}) {
                DiskScanner scanner(ScanOptions{}, 2);
                const FileTree tree = scanner.scan(path);
                for (NodeId id = 0; id < tree.count(); ++id)
                    out += tree.path(id) + " " + std::to_string(tree.flags(id).rawValue) + " " +
                           std::to_string(tree.children(id).size()) + "\n";
            }
            return out;
        },
        true);
    ASSERT_FALSE(report.empty());

    std::map<std::string, std::pair<int, int>> nodes;
    std::istringstream lines(report);
    std::string path;
    for (int flags, children; lines >> path >> flags >> children;)
        nodes[path] = {flags, children};

    const int directory = NodeFlags::directory.rawValue;
    const int unreadable = NodeFlags::unreadable.rawValue;
    // A folder that cannot be opened keeps no children.
    EXPECT_EQ(nodes[root / "locked"], std::make_pair(directory | unreadable, 0));
    EXPECT_FALSE(nodes.contains(root / "locked/hidden"));
    // A folder that lists but cannot be searched: its entries are kept, flagged, not entered.
    EXPECT_EQ(nodes[root / "listable"], std::make_pair(directory, 2));
    EXPECT_EQ(nodes[root / "listable/entry"], std::make_pair(unreadable, 0));
    EXPECT_EQ(nodes[root / "listable/inner"], std::make_pair(directory | unreadable, 0));
    EXPECT_EQ(nodes[root / "fine"], std::make_pair(0, 0));
    EXPECT_EQ(nodes[root.path()].second, 3);
    // Scanned as the root itself, a folder that cannot be opened is one unreadable node.
    EXPECT_EQ(std::count_if(report.begin(), report.end(), [](char c) { return c == '\n'; }),
              static_cast<long>(nodes.size()) + 1);

    DiskScanner scanner(ScanOptions{}, 2);
    const FileTree missing = scanner.scan(root / "no-such-folder");
    EXPECT_EQ(missing.count(), 1u);
    EXPECT_EQ(missing.flags(FileTree::root), NodeFlags::directory | NodeFlags::unreadable);
    EXPECT_EQ(missing.size(FileTree::root), 0u);
}

TEST(DiskScanner, OtherVolumesAreNotEntered) {
    TempFolder root;
    root.folder("mnt");
    root.file("own", 8192);
    if (mount("tmpfs", (root / "mnt").c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "cannot mount a tmpfs here (needs root): " << std::strerror(errno);
    root.file("mnt/elsewhere", 100000);
    DiskScanner scanner(ScanOptions::forVolume(root.path()), 2);
    const FileTree tree = scanner.scan(root.path());
    umount((root / "mnt").c_str());

    const NodeId mnt = nodeAt(tree, root / "mnt");
    EXPECT_EQ(tree.flags(mnt), NodeFlags::directory | NodeFlags::mountPoint);
    EXPECT_EQ(tree.firstChild(mnt), FileTree::none);
    EXPECT_TRUE(sizesPropagated(tree)) << "another volume counts nothing";
}

TEST(DiskScanner, ReadsTreesDeeperThanPathMax) {
    TempFolder root;
    const std::string name(200, 'd');
    constexpr int depth = 30; // about 6 KB of path, more than PATH_MAX
    int fd = open(root.path().c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdirat(fd, name.c_str(), 0755), 0);
        const int next = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(fd);
        fd = next;
    }
    const int file = openat(fd, "bottom", O_WRONLY | O_CREAT, 0644);
    ASSERT_EQ(write(file, std::string(5000, 'b').data(), 5000), 5000);
    struct stat info {};
    fstat(file, &info);
    close(file);
    close(fd);

    DiskScanner scanner(ScanOptions{}, 2);
    const FileTree tree = scanner.scan(root.path());
    EXPECT_EQ(tree.count(), static_cast<std::size_t>(depth) + 2);
    NodeId id = FileTree::root;
    for (int level = 0; level < depth; ++level) {
        id = tree.firstChild(id);
        ASSERT_NE(id, FileTree::none) << "stopped at level " << level;
        EXPECT_EQ(tree.flags(id), NodeFlags::directory) << "level " << level;
    }
    const NodeId bottom = tree.firstChild(id);
    ASSERT_NE(bottom, FileTree::none);
    EXPECT_EQ(tree.nameBytes(bottom), "bottom");
    EXPECT_EQ(tree.size(FileTree::root),
              firstNumber(commandOutput("du -s -B1 -x '" + root.path() + "'")));
    EXPECT_GT(tree.path(bottom).size(), static_cast<std::size_t>(PATH_MAX));
}

TEST(DiskScanner, CancelReturnsPropagatedPartialTreeAndScannerIsReusable) {
    TempFolder root;
    for (int i = 0; i < 60; ++i) {
        const std::string folder = "f" + std::to_string(i);
        root.folder(folder);
        for (int j = 0; j < 4; ++j)
            root.file(folder + "/file" + std::to_string(j), 2000);
    }
    root.file("top", 3000);
    constexpr std::size_t fullCount = 2 + 60 * 5;

    DiskScanner scanner(ScanOptions{}, 2, std::chrono::nanoseconds(0));
    scanner.cancel(); // before a scan: no effect on it
    EXPECT_EQ(scanner.scan(root.path()).count(), fullCount);

    // Every progress report holds its worker until the cancel has been made elsewhere.
    std::mutex mutex;
    std::condition_variable changed;
    bool reported = false, cancelled = false;
    std::thread canceller([&] {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return reported; });
        scanner.cancel();
        cancelled = true;
        changed.notify_all();
    });
    const FileTree partial = scanner.scan(root.path(), 0, [&](const auto&) {
        std::unique_lock lock(mutex);
        reported = true;
        changed.notify_all();
        changed.wait(lock, [&] { return cancelled; });
    });
    canceller.join();
    EXPECT_LT(partial.count(), fullCount);
    EXPECT_GT(partial.count(), 1u);
    EXPECT_TRUE(sizesPropagated(partial));
    EXPECT_GT(partial.size(FileTree::root), 0u);

    const FileTree full = scanner.scan(root.path(), 1000);
    EXPECT_EQ(full.count(), fullCount);
    EXPECT_TRUE(sizesPropagated(full));
}

// Previews taken while the scan runs hold only the top levels; a folder cut off at the last
// level holds everything read inside it so far, and no total runs ahead of the finished scan.
TEST(DiskScanner, PreviewsHoldTheTopLevelsWithTotalsSoFar) {
    TempFolder root;
    std::string deep = "d";
    for (int level = 0; level < 9; ++level, deep += "/d") {
        root.folder(deep);
        root.file(deep + "/file", 5000);
    }
    for (int i = 0; i < 40; ++i) {
        root.folder("wide" + std::to_string(i));
        root.file("wide" + std::to_string(i) + "/file", 3000);
    }
    DiskScanner scanner(ScanOptions{}, 2, std::chrono::nanoseconds(0));
    std::vector<FileTree> previews;
    std::mutex mutex;
    const FileTree full = scanner.scan(root.path(), 0, {}, [&](FileTree top) {
        const std::lock_guard lock(mutex);
        previews.push_back(std::move(top));
    });
    ASSERT_FALSE(previews.empty());
    for (const FileTree& preview : previews)
        for (NodeId id = 0; id < preview.count(); ++id) {
            const auto path = preview.path(id);
            EXPECT_LE(std::ranges::count(path.substr(root.path().size()), '/'),
                      DiskScanner::previewDepth);
            EXPECT_LE(preview.size(id), full.size(nodeAt(full, path))) << path;
        }

    FileTree ownSizes = full.compacted();
    ownSizes.toOwnSizes();
    FileTree top = ownSizes.topLevels(2);
    top.propagateSizes();
    EXPECT_EQ(top.size(FileTree::root), full.size(FileTree::root));
    EXPECT_EQ(top.size(nodeAt(top, root.path() + "/d/d")),
              full.size(nodeAt(full, root.path() + "/d/d")));
    EXPECT_FALSE(top.node(root.path() + "/d/d/d").has_value());
}

// The scanner's total is what du reports, folders' own blocks and all.
TEST(DiskScanner, AgreesWithDuOnGeneratedTree) {
    TempFolder work;
    const std::string corpus = work / "corpus";
    ASSERT_TRUE(makeCorpus(corpus, 3000)) << "make-tree failed";

    DiskScanner scanner(ScanOptions::forVolume(corpus), 2);
    const FileTree tree = scanner.scan(corpus);
    EXPECT_EQ(tree.size(FileTree::root),
              firstNumber(commandOutput("du -s -B1 -x '" + corpus + "'")));
    EXPECT_EQ(tree.count(), 3001u);
    EXPECT_TRUE(sizesPropagated(tree));
}
