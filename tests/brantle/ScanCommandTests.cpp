// brantle scan: its JSON keys and figures, its human summary, and its usage errors.

#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <string>

TEST(ScanCommand, ReportsTheTreeAndRejectsBadArguments) {
    TempFolder work;
    const std::string corpus = work / "corpus";
    int status = -1;
    ASSERT_TRUE(makeCorpus(corpus, 3000)) << "make-tree failed";

    const std::string json = brantleOutput("scan --workers 2 --json '" + corpus + "'", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(json.find("\"files\": 3000,"), std::string::npos) << json;
    EXPECT_NE(json.find("\"nodes\": 3001,"), std::string::npos) << json;
    EXPECT_NE(json.find("\"root\": \"" + corpus + "\""), std::string::npos) << json;
    for (const char* key :
         {"seconds", "unreadable", "mountPoints", "hardlinkDuplicates", "largest"})
        EXPECT_NE(json.find("\"" + std::string(key) + "\""), std::string::npos) << key;
    // The total is du's to the byte: hard links once, one device, folders' own blocks counted.
    const std::string du = commandOutput("du -s -B1 -x '" + corpus + "'");
    EXPECT_NE(json.find("\"bytes\": " + du.substr(0, du.find('\t')) + ","), std::string::npos)
        << json << du;

    // Bad arguments are usage errors (2); a place that cannot be scanned is a failure (1).
    for (const std::string bad : {"--workers x", "--workers 0", "--workers 1025", ""}) {
        brantleOutput("scan " + bad + (bad.empty() ? "" : " '" + corpus + "'") + " 2>/dev/null",
                      &status);
        EXPECT_EQ(status, 2) << bad;
    }
    work.file("plain", 10);
    const std::pair<std::string, std::string> failures[] = {
        {"scan '" + work / "missing'", work / "missing: No such file or directory"},
        {"scan '" + work / "plain'", "Not a folder: " + work / "plain"},
        {"ring '" + work / "plain'", "Not a folder: " + work / "plain"},
        {"suggest '" + work / "missing'", work / "missing: No such file or directory"},
    };
    for (const auto& [command, message] : failures) {
        const std::string error = brantleOutput(command + " 2>&1 >/dev/null", &status);
        EXPECT_EQ(status, 1) << command;
        EXPECT_EQ(error, message + "\n") << command;
    }
    const std::string human = brantleOutput("scan '" + corpus + "'", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(human.find("3000 items"), std::string::npos) << human;
}
