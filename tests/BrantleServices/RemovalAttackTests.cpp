// Paths built to turn the eraser and the recycler against the user, each tried on both for
// real: the protected target must stay intact, and the item fails with its reason.
#include "BrantleServices/AnchoredItem.hpp"
#include "BrantleServices/Eraser.hpp"
#include "BrantleServices/Recycler.hpp"

#include "support/ChildProcess.hpp"
#include "support/GuardForTests.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <sys/mount.h>
#include <thread>

using namespace brantle;
namespace fs = std::filesystem;

namespace {

const std::string throughLink(AnchorReason::throughLink);
const std::string mountPoint(AnchorReason::mountPoint);

struct Target {
    std::string path;
    std::function<bool()> intact;
    std::string home;
};

struct Attack {
    std::string name;
    std::function<Target(const std::string& root)> setUp;
    std::string expectedReason; // empty: the item itself goes, the protected target stays
    bool inMountNamespace = false;
    bool asNobody = false;
};

bool holds(const std::string& path, const std::string& text) {
    return fileText(path) == text;
}

// A private mount namespace, so that the mounts made here never reach the machine's.
bool privateMounts() {
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool bindMount(const std::string& from, const std::string& to) {
    return ::mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

std::string failureOf(const GuardedRemoval& removal, bool erase, const std::string& root) {
    if (erase) {
        Eraser eraser(root + "/cache/Erasing");
        const auto outcomes = eraser.erase(std::span(&removal, 1));
        eraser.waitUntilIdle();
        if (!outcomes) return "staging: " + outcomes.error().description();
        const auto& error = outcomes->front().error;
        return error ? error->description() : "";
    }
    const auto outcomes = Recycler::recycle(std::span(&removal, 1));
    return outcomes.front().error.value_or("");
}

// "reason | intact" as seen after the attempt, from a child process.
std::string attempt(const Attack& attack, bool erase, const TempFolder& root) {
    return childOutput(
        [&] {
            if (attack.inMountNamespace && !privateMounts()) return std::string("no namespace");
            const auto target = attack.setUp(root.path());
            ScopedEnv home("HOME", target.home);
            ScopedEnv data("XDG_DATA_HOME", root / "data");
            const auto verdict = linuxGuard(target.home).check(target.path);
            const std::string reason = verdict.removal()
                                           ? failureOf(*verdict.removal(), erase, root.path())
                                           : std::string(verdict.reason());
            return reason + " | " + (target.intact() ? "intact" : "DAMAGED");
        },
        attack.asNobody);
}

const std::vector<Attack> attacks = {
    {"link in the middle of the path to the home",
     [](const std::string& root) {
         writeFile(root + "/home/.ssh/id", "key");
         fs::create_directories(root + "/home/area");
         fs::create_directory_symlink(root + "/home", root + "/home/area/hl");
         return Target{root + "/home/area/hl/.ssh",
                       [=] { return holds(root + "/home/.ssh/id", "key"); }, root + "/home"};
     },
     throughLink},
    {"link in the middle of the path to /etc",
     [](const std::string& root) {
         const auto size = fs::file_size("/etc/passwd");
         fs::create_directory_symlink("/etc", root + "/etclink");
         return Target{
             root + "/etclink/passwd",
             [=] { return fs::exists("/etc/passwd") && fs::file_size("/etc/passwd") == size; },
             root + "/home"};
     },
     throughLink, false, true},
    {"link in the middle of the path to a mount point",
     [](const std::string& root) {
         fs::create_directories(root + "/volume");
         ::mount("none", (root + "/volume").c_str(), "tmpfs", 0, "size=1m");
         writeFile(root + "/volume/data", "on the volume");
         fs::create_directories(root + "/area");
         fs::create_directory_symlink(root + "/volume", root + "/area/ml");
         return Target{root + "/area/ml/data",
                       [=] { return holds(root + "/volume/data", "on the volume"); },
                       root + "/home"};
     },
     throughLink, true},
    {"home reached through a linked /home, named by its real path",
     [](const std::string& root) {
         writeFile(root + "/var/home/u/.ssh/id", "key");
         fs::create_directory_symlink(root + "/var/home", root + "/home");
         return Target{root + "/var/home/u/.ssh",
                       [=] { return holds(root + "/var/home/u/.ssh/id", "key"); },
                       root + "/home/u"};
     },
     "Holds passwords or keys"},
    {"NUL byte in the path",
     [](const std::string& root) {
         writeFile(root + "/home/Documents/thesis.txt", "years");
         return Target{root + "/home/" + std::string("\0junk", 5),
                       [=] { return holds(root + "/home/Documents/thesis.txt", "years"); },
                       root + "/home"};
     },
     "Not a valid path — it holds a NUL byte"},
    {"the Trash itself",
     [](const std::string& root) {
         writeFile(root + "/home/.local/share/Trash/files/kept", "waiting");
         return Target{
             root + "/home/.local/share/Trash",
             [=] { return holds(root + "/home/.local/share/Trash/files/kept", "waiting"); },
             root + "/home"};
     },
     "The Trash itself — empty the Trash instead"},
    {"bind mount of the same file system inside the removed folder",
     [](const std::string& root) {
         writeFile(root + "/protected/keep", "mine");
         writeFile(root + "/area/junk");
         fs::create_directories(root + "/area/bind");
         bindMount(root + "/protected", root + "/area/bind");
         return Target{root + "/area",
                       [=] {
                           return holds(root + "/protected/keep", "mine") &&
                                  !fs::exists(root + "/area/junk");
                       },
                       root + "/home"};
     },
     "", true},
    {"folder that is itself a mount root",
     [](const std::string& root) {
         writeFile(root + "/protected/keep", "mine");
         fs::create_directories(root + "/area/mounted");
         bindMount(root + "/protected", root + "/area/mounted");
         return Target{root + "/area/mounted",
                       [=] { return holds(root + "/protected/keep", "mine"); }, root + "/home"};
     },
     mountPoint, true},
};

} // namespace

TEST(RemovalAttacks, NeitherTheEraserNorTheRecyclerTouchesWhatWasNotJudged) {
    for (const auto& attack : attacks) {
        if (attack.inMountNamespace && ::geteuid() != 0) {
            std::printf("skipped \"%s\": mount namespaces need root\n", attack.name.c_str());
            continue;
        }
        for (const bool erase : {true, false}) {
            TempFolder root;
            fs::permissions(root.path(), fs::perms::all);
            EXPECT_EQ(attempt(attack, erase, root), attack.expectedReason + " | intact")
                << attack.name << (erase ? " (eraser)" : " (recycler)");
        }
    }
}

// Deleting a tree while a folder high up in it is moved elsewhere: climbing back through ".."
// reaches the folder's new parent, which must not be emptied.
TEST(RemovalAttacks, AFolderMovedAwayMidDeletionLeavesItsNewPlaceAlone) {
    TempFolder root;
    writeFile(root / "elsewhere/precious", "mine");
    std::string deep = root / "tree/top";
    for (int level = 0; level < 60; ++level)
        deep += "/level" + std::to_string(level);
    fs::create_directories(deep);
    for (int i = 0; i < 3000; ++i)
        ::close(::open((deep + "/f" + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0644));
    const auto first = fs::directory_iterator(deep)->path();

    std::jthread mover([&] {
        while (fs::exists(first))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        fs::rename(root / "tree/top/level0", root / "elsewhere/level0");
    });
    Eraser::remove(root / "tree/top");
    mover.join();

    EXPECT_EQ(fileText(root / "elsewhere/precious"), "mine");
    EXPECT_TRUE(fs::exists(root / "elsewhere/level0"));
}

// The kernel's RESOLVE_NO_SYMLINKS and the walk used without it refuse the same paths.
TEST(RemovalAttacks, BothWaysOfReachingTheFolderRefuseLinks) {
    TempFolder root;
    writeFile(root / "real/inner/file");
    fs::create_directory_symlink(root / "real", root / "link");
    for (const auto opener : {AnchoredItem::openFolder, AnchoredItem::openFolderStepwise}) {
        EXPECT_TRUE(AnchoredItem::open(root / "real/inner/file", opener));
        EXPECT_EQ(AnchoredItem::open(root / "link/inner/file", opener).error().reason, throughLink);
        EXPECT_EQ(AnchoredItem::open(root / "link/inner", opener).error().reason, throughLink);
        const auto link = AnchoredItem::open(root / "link", opener); // a link is itself an item
        ASSERT_TRUE(link);
        EXPECT_TRUE(S_ISLNK(link->status.st_mode));
        EXPECT_EQ(AnchoredItem::open(root / "real/none/x", opener).error().code, ENOENT);
        EXPECT_EQ(AnchoredItem::open(root / "real/inner/file/x", opener).error().code, ENOTDIR);
    }
}
