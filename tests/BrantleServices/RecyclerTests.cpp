#include "BrantleServices/Recycler.hpp"
#include "BrantleServices/TrashInfo.hpp"

#include "support/ChildProcess.hpp"
#include "support/CommandOutput.hpp"
#include "support/GuardForTests.hpp"
#include "support/TempFolder.hpp"
#include "support/TmpfsMount.hpp"

#include <gtest/gtest.h>

#include <regex>
#include <sys/stat.h>

using namespace brantle;
namespace fs = std::filesystem;

namespace {

// What a file manager does to put a trashed item back: read its info file, resolve the
// Path= against the Trash's volume, and rename the item there. Returns the restored path.
std::string restored(const std::string& trashed, const std::string& topDir = "") {
    const auto trash = fs::path(trashed).parent_path().parent_path().string();
    const auto name = fs::path(trashed).filename().string();
    const auto info = TrashInfo::parsed(fileText(trash + "/info/" + name + ".trashinfo"));
    if (!info) return "no info for " + name;
    EXPECT_TRUE(std::regex_match(info->deletionDate,
                                 std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d")));
    const auto original = info->path.starts_with('/') ? info->path : topDir + "/" + info->path;
    fs::rename(trashed, original);
    fs::remove(trash + "/info/" + name + ".trashinfo");
    return original;
}

} // namespace

TEST(Recycler, MovesEachItemToTheHomeTrashAsAFileManagerWouldFindIt) {
    TempHome home;
    const auto& root = home.root;
    const std::string odd = "a b%\xff.txt";
    writeFile(root / "work/a.txt", "first");
    writeFile(root / "work/dir/inner.txt");
    writeFile(root / "work/target.txt", "target");
    fs::create_symlink(root / "work/target.txt", root / "work/link");
    writeFile(root / "other/a.txt", "second");
    writeFile(root / "work" + "/" + odd, "odd");

    const auto outcomes = Recycler::recycle(
        allowedRemovals({root / "work/a.txt", root / "work/dir", root / "work/link",
                         root / "work/missing", root / "other/a.txt", root / "work/" + odd}));

    ASSERT_EQ(outcomes.size(), 6u);
    EXPECT_EQ(outcomes[0], (RecycleOutcome{root / "work/a.txt", home.trash + "/files/a.txt", {}}));
    EXPECT_EQ(outcomes[1].trashed, home.trash + "/files/dir");
    EXPECT_TRUE(fs::is_symlink(home.trash + "/files/link"));
    EXPECT_EQ(fileText(root / "work/target.txt"), "target");
    EXPECT_EQ(outcomes[3],
              (RecycleOutcome{root / "work/missing", {}, "No such file or directory"}));
    ASSERT_TRUE(outcomes[4].trashed); // same name, distinct trash name
    EXPECT_NE(outcomes[4].trashed, outcomes[0].trashed);
    EXPECT_FALSE(fs::exists(root / "files")); // nothing trashed relative to the working folder

    for (const std::size_t i : {0, 1, 2, 4, 5})
        ASSERT_EQ(restored(*outcomes[i].trashed), outcomes[i].original);
    EXPECT_EQ(fileText(root / "work/a.txt"), "first");
    EXPECT_EQ(fileText(root / "other/a.txt"), "second");
    EXPECT_EQ(fileText(root / "work/" + odd), "odd");
    EXPECT_TRUE(fs::exists(root / "work/dir/inner.txt"));
    EXPECT_TRUE(fs::is_symlink(root / "work/link"));
    EXPECT_TRUE(Recycler::recycle({}).empty());
}

TEST(Recycler, KeepsTheHomeTrashsDirectorySizesUpToDate) {
    TempHome home;
    writeFile(home.trash + "/directorysizes", "4096 1700000000 old\n");
    writeFile(home.root / "work/big dir/data", std::string(10000, 'x'));

    const auto outcomes = Recycler::recycle(allowedRemovals({home.root / "work/big dir"}));

    ASSERT_TRUE(outcomes[0].trashed);
    struct stat info {};
    ::stat((home.trash + "/info/big dir.trashinfo").c_str(), &info);
    std::istringstream lines(fileText(home.trash + "/directorysizes"));
    std::string old, added;
    std::getline(lines, old);
    std::getline(lines, added);
    EXPECT_EQ(old, "4096 1700000000 old");
    EXPECT_EQ(added,
              std::to_string(testing_support::allocatedBytes(home.trash + "/files/big dir") +
                             testing_support::allocatedBytes(home.trash + "/files/big dir/data")) +
                  " " + std::to_string(info.st_mtime) + " big%20dir");
}

TEST(Recycler, ItemOnAnotherVolumeGoesToThatVolumesTrash) {
    TempHome home;
    TmpfsMount volume(home.root / "volume");
    if (!volume.mounted()) GTEST_SKIP() << "no tmpfs: mounting one needs root";
    const auto uid = std::to_string(::getuid());
    writeFile(volume.path() + "/sub/x.bin", "on the volume");
    writeFile(volume.path() + "/y.bin", "shared trash");
    fs::create_directory_symlink(home.root.path(), volume.path() + "/.Trash"); // not a Trash

    const auto first = Recycler::recycle(allowedRemovals({volume.path() + "/sub/x.bin"}));
    fs::remove(volume.path() + "/.Trash");
    fs::create_directory(volume.path() + "/.Trash");
    fs::permissions(volume.path() + "/.Trash", fs::perms::all | fs::perms::sticky_bit);
    const auto second = Recycler::recycle(allowedRemovals({volume.path() + "/y.bin"}));

    EXPECT_EQ(first[0].trashed, volume.path() + "/.Trash-" + uid + "/files/x.bin");
    EXPECT_EQ(second[0].trashed, volume.path() + "/.Trash/" + uid + "/files/y.bin");
    EXPECT_FALSE(fs::exists(home.trash + "/files/x.bin"));
    // A volume's Trash names its items relative to the volume.
    const auto info =
        TrashInfo::parsed(fileText(volume.path() + "/.Trash-" + uid + "/info/x.bin.trashinfo"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->path, "sub/x.bin");
    EXPECT_EQ(restored(*first[0].trashed, volume.path()), volume.path() + "/sub/x.bin");
    EXPECT_EQ(restored(*second[0].trashed, volume.path()), volume.path() + "/y.bin");
    EXPECT_EQ(fileText(volume.path() + "/sub/x.bin"), "on the volume");
}

// GLib's own reading of the Trash, where its trash:// backend (GVfs) is there to ask.
TEST(Recycler, GioListsAndRestoresWhatWasTrashed) {
    TempHome home;
    writeFile(home.root / "work/report.txt", "draft");
    const auto outcomes = Recycler::recycle(allowedRemovals({home.root / "work/report.txt"}));
    ASSERT_TRUE(outcomes[0].trashed);
    const std::string env =
        "HOME=" + home.root / "home" + " XDG_DATA_HOME=" + home.root / "home/.local/share" + " ";
    const std::string bus = std::getenv("DBUS_SESSION_BUS_ADDRESS") ? "" : "dbus-run-session -- ";
    int status = -1;
    const auto listed = commandOutput(env + bus + "gio trash --list 2>&1", &status);
    const auto lastLine = listed.substr(listed.rfind('\n', listed.size() - 2) + 1);
    if (status != 0)
        GTEST_SKIP() << "gio cannot read trash:// here (" << lastLine.substr(0, lastLine.size() - 1)
                     << "); the info files were checked by parsing them";
    EXPECT_NE(listed.find(home.root / "work/report.txt"), std::string::npos) << listed;
    commandOutput(env + bus + "gio trash --restore trash:///report.txt 2>&1", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fileText(home.root / "work/report.txt"), "draft");
}

TEST(Recycler, AFailedMoveDoesNotStopTheOthers) {
    TempFolder root;
    fs::permissions(root.path(), fs::perms::all);
    const int status = inChild(
        [&] {
            ScopedEnv home{"HOME", root / "home"};
            ScopedEnv data{"XDG_DATA_HOME", root / "home/.local/share"};
            writeFile(root / "locked/item");
            writeFile(root / "free/item");
            fs::permissions(root / "locked", fs::perms::owner_read | fs::perms::owner_exec);
            const auto outcomes =
                Recycler::recycle(allowedRemovals({root / "locked/item", root / "free/item"}));
            if (outcomes.size() != 2 || !outcomes[0].error || outcomes[0].trashed) return 1;
            if (!fs::exists(root / "locked/item")) return 2;
            if (outcomes[1].error || !outcomes[1].trashed || fs::exists(root / "free/item"))
                return 3;
            return 0;
        },
        true);
    EXPECT_EQ(status, 0);
}
