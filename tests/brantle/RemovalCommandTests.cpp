// brantle trash and brantle erase: real removals, one line per path, and the JSON result.
#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace fs = std::filesystem;

namespace {

QJsonObject json(const std::string& args) {
    return QJsonDocument::fromJson(QByteArray::fromStdString(brantleRun(args).first)).object();
}

} // namespace

TEST(RemovalCommands, TrashMovesWhatTheGuardAllowsAndSaysWhyNotForTheRest) {
    TempHome home;
    const auto& root = home.root;
    writeFile(root / "work/a.txt", "a");
    writeFile(root / "home/.ssh/id", "key");
    fs::create_directory_symlink(root / "home", root / "work/hl");

    const auto [out, status] =
        brantleRun("trash " + root / "work/a.txt" + " " + root / "work/hl/.ssh " +
                   root / "home/.ssh " + root / "work/missing");

    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "moved: " + root / "work/a.txt" +
                       "\n"
                       "not moved: .ssh: It's reached through a symbolic link, so Ambrel won't "
                       "remove it.\n"
                       "not moved: .ssh: Holds passwords or keys\n"
                       "not moved: missing: No such file or directory\n");
    EXPECT_EQ(fileText(home.trash + "/files/a.txt"), "a");
    EXPECT_EQ(fileText(root / "home/.ssh/id"), "key");

    const auto ledger = json("trash --ledger --json");
    ASSERT_EQ(ledger["entries"].toArray().size(), 1);
    const auto entry = ledger["entries"].toArray()[0].toObject();
    EXPECT_EQ(entry["original"].toString().toStdString(), root / "work/a.txt");
    EXPECT_EQ(entry["trashed"].toString().toStdString(), home.trash + "/files/a.txt");
    EXPECT_EQ(ledger["waitingBytes"].toInteger(), entry["bytes"].toInteger());
    EXPECT_GT(entry["bytes"].toInteger(), 0);

    fs::remove(home.trash + "/files/a.txt"); // the Trash is emptied
    EXPECT_EQ(json("trash --ledger --json")["freedBytes"].toInteger(), entry["bytes"].toInteger());
}

TEST(RemovalCommands, EraseReturnsOnceEverythingIsDeleted) {
    TempHome home;
    const auto& root = home.root;
    for (int i = 0; i < 50; ++i)
        writeFile(root / "work/build/d" + std::to_string(i % 5) + "/f" + std::to_string(i));

    const auto result = json("erase --json " + root / "work/build " + root / "home");

    EXPECT_TRUE(result["permanent"].toBool());
    EXPECT_EQ(result["movedCount"].toInt(), 1);
    EXPECT_GT(result["movedBytes"].toInteger(), 50 * 4096);
    EXPECT_EQ(result["failures"].toArray(),
              QJsonArray{QString::fromStdString(fs::path(root / "home").filename().string() +
                                                ": Standard folder in your home")});
    EXPECT_FALSE(fs::exists(root / "work/build"));
    EXPECT_TRUE(fs::is_empty(root / "home/.cache/Ambrel/Erasing"));
    EXPECT_EQ(brantleRun("erase " + root / "work").first, "deleted: " + root / "work" + "\n");
}

TEST(RemovalCommands, UsageErrors) {
    TempHome home;
    for (const auto* args : {"trash", "erase", "erase --bogus /x", "trash --ledger /x",
                             "erase --ledger", "trash --json"})
        EXPECT_EQ(brantleRun(args).second, 2) << args;
    EXPECT_EQ(brantleRun("erase " + home.root / "none").second, 1);
}
