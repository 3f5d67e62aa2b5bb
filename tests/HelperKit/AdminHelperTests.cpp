// Preparing the helper: the handshake with the real helper, an out-of-date helper started
// again, versions that never match, and a helper that is not installed.
#include "HelperKit/AdminHelper.hpp"

#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace helperkit;
using Readiness = AdminHelper::Readiness;

namespace {

/// A helper program that notes each start in `starts` and is the scripted, out-of-date helper
/// for the first `oldStarts` starts and the real one afterwards.
std::string countingHelper(const TempFolder& work, int oldStarts) {
    const std::string script = work / "helper.sh";
    writeFile(script, "#!/bin/sh\necho start >> '" + (work / "starts") + "'\nif [ $(wc -l < '" +
                          (work / "starts") + "') -le " + std::to_string(oldStarts) +
                          " ]; then exec '" AMBREL_SCRIPTED_HELPER
                          "' --version 1/old; fi\nexec '" AMBREL_HELPER "' \"$@\"\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    return script;
}

int startsOf(const TempFolder& work) {
    const std::string text = fileText(work / "starts");
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

TEST(AdminHelper, TheHandshakeReadiesTheHelperOfThisBuildAndReplacesAnOlderOne) {
    struct Case {
        int oldStarts;
        std::string expected;
        Readiness readiness;
        int starts;
    };
    const std::vector<Case> cases{
        {0, AdminHelper::expectedVersion(), Readiness::ready(), 1},
        {2, AdminHelper::expectedVersion(), Readiness::ready(), 3},
        {3, AdminHelper::expectedVersion(), Readiness::failed("the helper didn't respond"), 3},
        {0, "1/another build", Readiness::failed("the helper didn't respond"), 3},
    };
    for (const Case& c : cases) {
        TempFolder work;
        AdminHelper helper({countingHelper(work, c.oldStarts), {}, false}, c.expected);
        EXPECT_EQ(helper.prepare(), c.readiness) << c.oldStarts << " " << c.expected;
        EXPECT_EQ(startsOf(work), c.starts) << c.oldStarts << " " << c.expected;
        const auto client = helper.takeClient();
        EXPECT_EQ(client != nullptr, c.readiness == Readiness::ready());
        // The client that answered serves the scan.
        if (client) {
            EXPECT_TRUE(client->scan(work.path()).has_value());
        }
    }
}

TEST(AdminHelper, FailsWithItsReasonWhenTheHelperCannotServe) {
    TempFolder work;
    const std::string missing = work / "missing-helper";
    EXPECT_EQ(AdminHelper({missing, {}, false}).prepare(),
              Readiness::failed("the helper isn't installed at " + missing));
    // A program that ends without a word.
    EXPECT_EQ(AdminHelper({"/bin/true", {}, false}).prepare(),
              Readiness::failed("the helper didn't respond"));
}
