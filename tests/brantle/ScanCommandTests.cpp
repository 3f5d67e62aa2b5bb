// brantle scan: its JSON keys and figures, its human summary, and its usage errors.

#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <string>

TEST(ScanCommand, ReportsTheTreeAndRejectsBadArguments) {
    TempFolder work;
    const std::string corpus = work / "corpus";
    int status = -1;
    commandOutput("python3 " AMBREL_MAKE_TREE " --entries 3000 '" + corpus + "' >/dev/null 2>&1",
                  &status);
    ASSERT_EQ(status, 0) << "make-tree failed";

    const std::string json = brantleOutput("scan --workers 2 --json '" + corpus + "'", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(json.find("\"files\": 3000,"), std::string::npos) << json;
    EXPECT_NE(json.find("\"nodes\": 3001,"), std::string::npos) << json;
    EXPECT_NE(json.find("\"root\": \"" + corpus + "\""), std::string::npos) << json;
    for (const char* key :
         {"bytes", "seconds", "unreadable", "mountPoints", "hardlinkDuplicates", "largest"})
        EXPECT_NE(json.find("\"" + std::string(key) + "\""), std::string::npos) << key;

    brantleOutput("scan --workers x '" + corpus + "' 2>/dev/null", &status);
    EXPECT_EQ(status, 2);
    brantleOutput("scan 2>/dev/null", &status);
    EXPECT_EQ(status, 2);
    const std::string human = brantleOutput("scan '" + corpus + "'", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(human.find("3000 items"), std::string::npos) << human;
}
