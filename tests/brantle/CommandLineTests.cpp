// brantle's own options: --help and --version on standard output with status 0, usage errors
// on standard error with status 2, and a command's --help printed instead of running it.

#include "support/CommandOutput.hpp"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

struct Case {
    std::string arguments;
    int status;
    std::string stdoutStart; ///< empty: nothing on standard output
    std::string stderrStart; ///< empty: nothing on standard error
};

} // namespace

TEST(CommandLine, HelpVersionAndUsageErrors) {
    const Case cases[] = {
        {"--help", 0, "usage: brantle COMMAND [ARGS]\n", ""},
        {"-h", 0, "usage: brantle COMMAND [ARGS]\n", ""},
        {"help", 0, "usage: brantle COMMAND [ARGS]\n", ""},
        {"", 2, "", "usage: brantle COMMAND [ARGS]\n"},
        {"frob", 2, "", "brantle: unknown command 'frob'\nusage: brantle COMMAND"},
        {"help frob", 2, "", "brantle: unknown command 'frob'\n"},
        {"--frob", 2, "", "brantle: unknown command '--frob'\n"},
        // Help wins over the command's own arguments, so nothing is scanned or written.
        {"scan /nonexistent --save /nonexistent/x --help", 0, "usage: brantle scan PATH", ""},
        {"lzfse -h", 0, "usage: brantle lzfse encode|decode IN OUT\n\nCompresses", ""},
        {"scan", 2, "", "usage: brantle scan PATH"},
    };
    for (const auto& [arguments, status, stdoutStart, stderrStart] : cases) {
        SCOPED_TRACE(arguments);
        int exit = -1;
        const std::string out = brantleOutput(arguments + " 2>/dev/null", &exit);
        const std::string err = brantleOutput(arguments + " 2>&1 >/dev/null");
        EXPECT_EQ(exit, status);
        EXPECT_EQ(out.substr(0, stdoutStart.size()), stdoutStart);
        EXPECT_EQ(out.empty(), stdoutStart.empty());
        EXPECT_EQ(err.substr(0, stderrStart.size()), stderrStart);
        EXPECT_EQ(err.empty(), stderrStart.empty());
    }
}

TEST(CommandLine, VersionAndEveryListedCommandsHelp) {
    int status = -1;
    EXPECT_TRUE(std::regex_match(brantleOutput("--version", &status),
                                 std::regex("brantle [0-9]+\\.[0-9]+\\.[0-9]+\n")));
    EXPECT_EQ(status, 0);

    const std::string listing = brantleOutput("--help");
    const std::regex listed("\n  brantle ([a-z-]+) ");
    int commands = 0;
    for (std::sregex_iterator it(listing.begin(), listing.end(), listed), end; it != end; ++it) {
        const std::string name = (*it)[1];
        SCOPED_TRACE(name);
        const std::string help = brantleOutput(name + " --help", &status);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(help.rfind("usage: brantle " + name + " ", 0), 0u) << help;
        EXPECT_EQ(brantleOutput("help " + name), help);
        ++commands;
    }
    EXPECT_GE(commands, 7);
}
