// brantle scan --save, brantle snapshot and brantle catch-up, run as a user would.
#include "BrantleCore/Snapshot.hpp"

#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonObject jsonOf(const std::string& arguments, int expectedStatus = 0) {
    int status = -1;
    const std::string out = brantleOutput(arguments, &status);
    EXPECT_EQ(status, expectedStatus) << arguments << "\n" << out;
    return QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
}

} // namespace

TEST(SnapshotCommands, SaveShowAndCatchUp) {
    TempFolder root;
    TempFolder store;
    root.folder("a");
    root.file("a/one", 5000);
    root.file("two", 9000);
    const std::string file = store / "snaps/root.brs";

    const QJsonObject scanned =
        jsonOf("scan " + quoted(root.path()) + " --save " + quoted(file) + " --json");
    const auto saved = brantle::Snapshot::load(file);
    ASSERT_TRUE(saved.has_value());

    const QJsonObject shown = jsonOf("snapshot " + quoted(file) + " --json");
    for (const char* key : {"root", "nodes", "files", "bytes", "unreadable", "largest"})
        EXPECT_EQ(shown[key], scanned[key]) << key;
    EXPECT_EQ(shown["nodes"].toInteger(), 4);
    EXPECT_EQ(shown["eventID"].toInteger(), static_cast<qint64>(saved->meta.fsEventID))
        << "the event id survives JSON exactly";
    EXPECT_DOUBLE_EQ(shown["scannedAt"].toDouble(), saved->meta.scannedAt);

    root.file("a/three", 20000);
    const QJsonObject caught = jsonOf("catch-up " + quoted(file) + " --json");
    const QJsonObject rescanned = jsonOf("scan " + quoted(root.path()) + " --json");
    EXPECT_EQ(caught["mode"].toString(), "catch-up");
    EXPECT_GE(caught["reread"].toInteger(), 1);
    for (const char* key : {"root", "nodes", "files", "bytes", "largest"})
        EXPECT_EQ(caught[key], rescanned[key]) << key;
    const QJsonObject after = jsonOf("snapshot " + quoted(file) + " --json");
    EXPECT_EQ(after["bytes"], rescanned["bytes"]) << "the caught-up snapshot was saved back";
    EXPECT_GT(after["eventID"].toInteger(), shown["eventID"].toInteger());

    const std::string text = brantleOutput("snapshot " + quoted(file));
    EXPECT_NE(text.find(root.path() + "\n  scanned at "), std::string::npos) << text;
    EXPECT_NE(text.find(" in 4 items"), std::string::npos) << text;
    const std::string caughtText = brantleOutput("catch-up " + quoted(file));
    EXPECT_NE(caughtText.find("  catch-up: "), std::string::npos) << caughtText;
}

TEST(SnapshotCommands, UnusableFilesAndBadArguments) {
    TempFolder store;
    store.file("garbage", 100);
    for (const char* command : {"snapshot", "catch-up"}) {
        int status = 0;
        const std::string out = brantleOutput(
            std::string(command) + " " + quoted(store / "garbage") + " 2>&1", &status);
        EXPECT_EQ(status, 1) << command;
        EXPECT_EQ(out, "brantle: " + store / "garbage" + ": not a snapshot (bad magic)\n");
        const std::string missing =
            brantleOutput(std::string(command) + " " + quoted(store / "none") + " 2>&1", &status);
        EXPECT_EQ(status, 1) << command;
        EXPECT_NE(missing.find("No such file or directory"), std::string::npos) << missing;
        brantleOutput(std::string(command) + " 2>/dev/null", &status);
        EXPECT_EQ(status, 2) << command;
        brantleOutput(std::string(command) + " a b 2>/dev/null", &status);
        EXPECT_EQ(status, 2) << command;
    }
    int status = 0;
    brantleOutput("scan " + quoted(store.path()) + " --save 2>/dev/null", &status);
    EXPECT_EQ(status, 2);
    brantleOutput("catch-up " + quoted(store / "garbage") + " --save x 2>/dev/null", &status);
    EXPECT_EQ(status, 2) << "only scan saves elsewhere";
    store.file("blocker");
    brantleOutput("scan " + quoted(store.path()) + " --save " + quoted(store / "blocker/x.brs") +
                      " >/dev/null 2>&1",
                  &status);
    EXPECT_EQ(status, 1) << "a snapshot that cannot be written fails the command";
}
