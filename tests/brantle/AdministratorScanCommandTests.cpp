// brantle scan --as-administrator: the helper's scan reported like a direct one, plus its
// batches; the helper's refusals on standard error.
#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

/// The JSON report without its timing and batch lines, which differ between runs.
std::string withoutTimings(const std::string& json) {
    static const std::regex timing(R"re(\n *"(seconds|batches)": [0-9.e+-]+,?)re");
    return std::regex_replace(json, timing, "");
}

} // namespace

TEST(AdministratorScanCommand, ReportsTheDirectScanAndItsBatches) {
    TempFolder work;
    const std::string corpus = work / "corpus";
    int status = -1;
    ASSERT_TRUE(makeCorpus(corpus, 1500, true)) << "make-tree failed";
    // Which name of a hard-linked file counts depends on the order the workers meet them.
    const std::string helper = " --as-administrator --helper " AMBREL_HELPER;

    const std::string direct = brantleOutput("scan --json '" + corpus + "'", &status);
    ASSERT_EQ(status, 0);
    const std::string json =
        brantleOutput("scan '" + corpus + "'" + helper + " --batch-size 1024 --json", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(withoutTimings(json), withoutTimings(direct));
    std::smatch batches;
    ASSERT_TRUE(std::regex_search(json, batches, std::regex(R"("batches": ([0-9]+))"))) << json;
    EXPECT_GT(std::stoi(batches[1]), 1);

    const std::string human = brantleOutput("scan '" + corpus + "'" + helper, &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(human.find(" items, scanned as administrator in"), std::string::npos) << human;
}

TEST(AdministratorScanCommand, EndsWithTheHelpersMessageOrAUsageError) {
    TempFolder work;
    work.file("file");
    const std::string helper = " --as-administrator --helper " AMBREL_HELPER;
    struct Case {
        std::string arguments;
        int status;
        std::string error;
    };
    const std::vector<Case> cases{
        {"'" + (work / "file") + "'" + helper, 1, "Not a folder: " + (work / "file")},
        {"'" + work.path() + "' --as-administrator --helper '" + (work / "none") + "'", 1,
         "the helper isn't installed at " + (work / "none")},
        {"'" + work.path() + "'" + helper + " --batch-size 0", 2, "usage: brantle scan"},
        {"'" + work.path() + "'" + helper + " --workers 2", 2, "usage: brantle scan"},
    };
    for (const Case& c : cases) {
        int status = -1;
        const std::string error =
            brantleOutput("scan " + c.arguments + " 2>&1 >/dev/null", &status);
        EXPECT_EQ(status, c.status) << c.arguments;
        EXPECT_NE(error.find(c.error), std::string::npos) << c.arguments << ": " << error;
    }
}
