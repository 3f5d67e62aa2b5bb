#include "BrantleServices/Eraser.hpp"
#include "BrantleServices/RecursiveRemoval.hpp"

#include "support/ChildProcess.hpp"
#include "support/GuardForTests.hpp"
#include "support/TempFolder.hpp"
#include "support/TmpfsMount.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <regex>
#include <set>

using namespace brantle;
namespace fs = std::filesystem;

namespace {

void makeTree(const std::string& root, int folders, int filesPerFolder) {
    for (int d = 0; d < folders; ++d) {
        const auto folder = root + "/d" + std::to_string(d);
        fs::create_directories(folder);
        for (int f = 0; f < filesPerFolder; ++f)
            writeFile(folder + "/f" + std::to_string(f));
    }
}

// A chain of nested folders far deeper than PATH_MAX, made relative to descriptors, with a
// file at every level. Returns the chain's length in bytes.
std::size_t makeDeepChain(const std::string& top, int depth, std::size_t nameLength = 40) {
    const std::string name(nameLength, 'n');
    fs::create_directories(top);
    int fd = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int level = 0; level < depth && fd >= 0; ++level) {
        ::close(::openat(fd, "file", O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
        ::mkdirat(fd, name.c_str(), 0755);
        const int child = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::close(fd);
        fd = child;
    }
    if (fd >= 0) ::close(fd);
    return static_cast<std::size_t>(depth) * (name.size() + 1);
}

// The relative path of a chain's folder at a level ("/n…n" repeated).
std::string chainLevel(int level, std::size_t nameLength = 4) {
    std::string path;
    for (int i = 0; i < level; ++i)
        path += "/" + std::string(nameLength, 'n');
    return path;
}

} // namespace

TEST(Eraser, TakesItemsAtOnceAndDeletesThemInTheBackground) {
    TempFolder root;
    Eraser eraser(root / "cache/Ambrel/Erasing");
    makeTree(root / "project/node_modules", 3, 5);
    writeFile(root / "work/target.txt", "target");
    fs::create_symlink(root / "work/target.txt", root / "work/link");
    makeTree(root / "kept", 1, 2);
    fs::create_directory_symlink(root / "kept", root / "work/folder-link");
    writeFile(root / "work/file.txt");

    const auto outcomes = eraser.erase(
        allowedRemovals({root / "project/node_modules", root / "work/link", root / "work/gone",
                         root / "work/folder-link", root / "work/file.txt"}));

    ASSERT_TRUE(outcomes);
    ASSERT_EQ(outcomes->size(), 5u);
    EXPECT_EQ((*outcomes)[0], (EraseOutcome{root / "project/node_modules", std::nullopt}));
    EXPECT_EQ((*outcomes)[2],
              (EraseOutcome{root / "work/gone", FileError{ENOENT, root / "work/gone"}}));
    EXPECT_FALSE((*outcomes)[4].error);
    EXPECT_FALSE(fs::exists(root / "project/node_modules"));
    EXPECT_FALSE(fs::exists(fs::symlink_status(root / "work/link")));
    EXPECT_FALSE(fs::exists(root / "work/file.txt"));

    eraser.waitUntilIdle();
    EXPECT_TRUE(namesIn(eraser.staging()).empty());
    EXPECT_TRUE(fs::exists(root / "work/target.txt"));
    EXPECT_EQ(namesIn(root / "kept/d0").size(), 2u);
    EXPECT_EQ(namesIn(root / "work"), std::set<std::string>{"target.txt"});
}

TEST(Eraser, ItemOnAnotherVolumeIsDeletedWhereItStands) {
    TempFolder root;
    TmpfsMount volume(root / "volume");
    if (!volume.mounted()) GTEST_SKIP() << "no tmpfs: mounting one needs root";
    makeTree(volume.path() + "/big", 4, 10);
    Eraser eraser(root / "Erasing");

    const auto outcomes = eraser.erase(allowedRemovals({volume.path() + "/big"}));

    ASSERT_TRUE(outcomes);
    EXPECT_FALSE(outcomes->front().error);
    eraser.waitUntilIdle();
    EXPECT_FALSE(fs::exists(volume.path() + "/big"));
    EXPECT_TRUE(fs::exists(volume.path()));
    EXPECT_TRUE(namesIn(eraser.staging()).empty());
}

TEST(Eraser, RemovalReachesBelowPathMaxButNotIntoOtherVolumes) {
    TempFolder root;
    ASSERT_GT(makeDeepChain(root / "deep", 300), std::size_t{PATH_MAX});
    makeTree(root / "deep", 3, 3);
    Eraser::remove(root / "deep");
    EXPECT_FALSE(fs::exists(root / "deep"));

    TmpfsMount volume(root / "outer/mounted");
    if (!volume.mounted()) GTEST_SKIP() << "no tmpfs: mounting one needs root";
    writeFile(volume.path() + "/on-volume");
    writeFile(root / "outer/beside");
    const int fd = ::open(root.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    RecursiveRemoval::removeEntry(fd, "outer");
    ::close(fd);
    EXPECT_TRUE(fs::exists(volume.path() + "/on-volume"));
    EXPECT_FALSE(fs::exists(root / "outer/beside"));
}

TEST(Eraser, LeftoversStayStagedUnderDistinctNamesUntilResumed) {
    TempFolder root;
    fs::permissions(root.path(), fs::perms::all);
    const int status = inChild(
        [&] {
            const auto readOnly = fs::perms::owner_read | fs::perms::owner_exec;
            for (const auto project : {"one", "two"}) {
                makeTree(root / project + "/node_modules", 2, 2);
                writeFile(root / project + "/node_modules/locked/x");
                fs::permissions(root / project + "/node_modules/locked", readOnly);
            }
            // A write-protected folder deep down a chain, with more levels above it than the
            // removal keeps open, so ancestors are listed again after it fails.
            makeDeepChain(root / "deep", 110, 4);
            fs::permissions(root / "deep" + chainLevel(100), readOnly);
            Eraser eraser(root / "Erasing");
            const auto outcomes = eraser.erase(allowedRemovals(
                {root / "one/node_modules", root / "two/node_modules", root / "deep"}));
            if (!outcomes) return 1;
            eraser.waitUntilIdle();

            const std::regex stagedName(
                "[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}-(node_modules|deep)");
            std::set<std::string> modules;
            for (const auto& name : namesIn(root / "Erasing")) {
                const auto staged = root / "Erasing/" + name;
                if (!std::regex_match(name, stagedName)) return 2;
                if (name.ends_with("-deep")) {
                    if (!fs::exists(staged + chainLevel(101))) return 3;
                    if (fs::exists(staged + chainLevel(102))) return 4;
                    fs::permissions(staged + chainLevel(100), fs::perms::owner_all);
                    continue;
                }
                modules.insert(name);
                if (!fs::exists(staged + "/locked/x") || fs::exists(staged + "/d0")) return 5;
                fs::permissions(staged + "/locked", fs::perms::owner_all);
            }
            if (modules.size() != 2) return 6;
            eraser.resumePending();
            eraser.waitUntilIdle();
            return namesIn(root / "Erasing").empty() ? 0 : 7;
        },
        true);
    EXPECT_EQ(status, 0);
}

TEST(Eraser, StagingFolderThatCannotBeMadeFailsTheWholeCall) {
    TempFolder root;
    fs::permissions(root.path(), fs::perms::all);
    const int status = inChild(
        [&] {
            fs::create_directories(root / "locked");
            fs::permissions(root / "locked", fs::perms::owner_read | fs::perms::owner_exec);
            writeFile(root / "item");
            Eraser eraser(root / "locked/cache/Erasing");
            const auto outcomes = eraser.erase(allowedRemovals({root / "item"}));
            if (outcomes || outcomes.error().code != EACCES) return 1;
            return fs::exists(root / "item") ? 0 : 2;
        },
        true);
    EXPECT_EQ(status, 0);
}

TEST(Eraser, ResumesWhatAKilledProcessLeftStaged) {
    TempFolder root;
    makeTree(root / "project/build", 50, 100);
    const auto staging = root / "Erasing";

    const int killed = inChild([&] {
        Eraser eraser(staging);
        if (!eraser.erase(allowedRemovals({root / "project/build"}))) return 1;
        std::raise(SIGKILL);
        return 2;
    });

    EXPECT_EQ(killed, 128 + SIGKILL);
    EXPECT_FALSE(fs::exists(root / "project/build"));
    ASSERT_EQ(namesIn(staging).size(), 1u);
    const int resumed = inChild([&] {
        Eraser eraser(staging);
        eraser.resumePending();
        eraser.waitUntilIdle();
        return namesIn(staging).empty() ? 0 : 1;
    });
    EXPECT_EQ(resumed, 0);
    EXPECT_TRUE(namesIn(staging).empty());
    EXPECT_TRUE(fs::exists(root / "project"));
}
