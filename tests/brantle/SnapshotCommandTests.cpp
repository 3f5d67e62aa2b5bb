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
    store.file("blocker");
    int status = 0;
    for (const std::string command : {"snapshot", "catch-up"}) {
        const std::string out =
            brantleOutput(command + " " + quoted(store / "garbage") + " 2>&1", &status);
        EXPECT_EQ(status, 1) << command;
        EXPECT_EQ(out, "brantle: " + store / "garbage" + ": not a snapshot (bad magic)\n");
        const std::string missing =
            brantleOutput(command + " " + quoted(store / "none") + " 2>&1", &status);
        EXPECT_EQ(status, 1) << command;
        EXPECT_NE(missing.find("No such file or directory"), std::string::npos) << missing;
    }
    // Usage errors (2), and a snapshot that cannot be written fails the command (1).
    const std::pair<std::string, int> cases[] = {
        {"snapshot", 2},
        {"snapshot a b", 2},
        {"catch-up", 2},
        {"catch-up a b", 2},
        {"scan " + quoted(store.path()) + " --save", 2},
        {"catch-up " + quoted(store / "garbage") + " --save x", 2}, // only scan saves elsewhere
        {"scan " + quoted(store.path()) + " --save " + quoted(store / "blocker/x.brs"), 1},
    };
    for (const auto& [arguments, expected] : cases) {
        brantleOutput(arguments + " >/dev/null 2>&1", &status);
        EXPECT_EQ(status, expected) << arguments;
    }
}
