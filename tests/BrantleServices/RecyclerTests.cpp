#include "BrantleServices/Recycler.hpp"

#include "support/ChildProcess.hpp"
#include "support/GuardForTests.hpp"
#include "support/TempFolder.hpp"
#include "support/TmpfsMount.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace brantle;
namespace fs = std::filesystem;

TEST(Recycler, MovesEachItemToTheHomeTrash) {
    TempHome home;
    const auto& root = home.root;
    writeFile(root / "work/a.txt", "first");
    writeFile(root / "work/dir/inner.txt");
    writeFile(root / "work/target.txt", "target");
    fs::create_symlink(root / "work/target.txt", root / "work/link");
    writeFile(root / "other/a.txt", "second");

    const auto outcomes = Recycler::recycle(
        allowedRemovals({root / "work/a.txt", root / "work/dir", root / "work/link",
                         root / "work/missing", root / "other/a.txt"}));

    ASSERT_EQ(outcomes.size(), 5u);
    EXPECT_EQ(outcomes[0], (RecycleOutcome{root / "work/a.txt", home.trash + "/files/a.txt", {}}));
    EXPECT_EQ(fileText(home.trash + "/files/a.txt"), "first");
    EXPECT_NE(fileText(home.trash + "/info/a.txt.trashinfo").find("Path=" + root / "work/a.txt"),
              std::string::npos);
    EXPECT_FALSE(fs::exists(root / "work/a.txt"));

    EXPECT_EQ(outcomes[1].trashed, home.trash + "/files/dir");
    EXPECT_TRUE(fs::exists(home.trash + "/files/dir/inner.txt"));

    EXPECT_EQ(outcomes[2].trashed, home.trash + "/files/link");
    EXPECT_TRUE(fs::is_symlink(home.trash + "/files/link"));
    EXPECT_EQ(fileText(root / "work/target.txt"), "target");

    EXPECT_EQ(outcomes[3].original, root / "work/missing");
    EXPECT_FALSE(outcomes[3].trashed);
    EXPECT_TRUE(outcomes[3].error);

    ASSERT_TRUE(outcomes[4].trashed);
    EXPECT_NE(*outcomes[4].trashed, *outcomes[0].trashed);
    EXPECT_EQ(fs::path(*outcomes[4].trashed).parent_path(), home.trash + "/files");
    EXPECT_EQ(fileText(*outcomes[4].trashed), "second");

    EXPECT_FALSE(fs::exists(root / "files"));
    EXPECT_TRUE(Recycler::recycle({}).empty());
}

TEST(Recycler, ItemOnAnotherVolumeGoesToThatVolumesTrash) {
    TempHome home;
    TmpfsMount volume(home.root / "volume");
    if (!volume.mounted()) GTEST_SKIP() << "no tmpfs: mounting one needs root";
    writeFile(volume.path() + "/x.bin", "on the volume");

    const auto outcomes = Recycler::recycle(allowedRemovals({volume.path() + "/x.bin"}));

    const auto volumeTrash = volume.path() + "/.Trash-" + std::to_string(::getuid());
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].trashed, volumeTrash + "/files/x.bin");
    EXPECT_EQ(fileText(volumeTrash + "/files/x.bin"), "on the volume");
    EXPECT_TRUE(fs::exists(volumeTrash + "/info/x.bin.trashinfo"));
    EXPECT_FALSE(fs::exists(home.trash + "/files/x.bin"));
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
