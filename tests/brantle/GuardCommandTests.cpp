// brantle guard: one verdict line per path, and its usage errors.

#include "support/CommandOutput.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

TEST(GuardCommand, PrintsOneVerdictPerPath) {
    int status = -1;
    const std::string output = brantleOutput(
        "guard --profile macos --home /Users/u --app /Applications/Ambrel.app"
        " --running /Applications/A.app --running /Applications/B.app/"
        " /usr/local /Applications/B.app /Applications/C.app /Users/u/Library/Caches/x"
        " /Applications/Ambrel.app/Contents relative 2>&1",
        &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output, "blocked: Part of macOS\n"
                      "blocked: This app is running — quit it first\n"
                      "allowed: Uninstalls this app\n"
                      "allowed\n"
                      "blocked: Ambrel itself\n"
                      "blocked: Not an absolute path\n");

    for (const auto& [arguments, expected] : std::vector<std::pair<std::string, int>>{
             {"--profile windows /x", 2}, {"--home", 2}, {"--home /h", 2}, {"/x", 0}}) {
        brantleOutput("guard " + arguments + " >/dev/null 2>&1", &status);
        EXPECT_EQ(status, expected) << arguments;
    }
}
