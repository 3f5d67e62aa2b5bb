#include "BrantleServices/FullDiskAccess.hpp"

#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <map>

namespace FullDiskAccess = brantle::FullDiskAccess;
using Status = brantle::FullDiskAccess::Status;

TEST(FullDiskAccess, StatusFollowsTheFirstOpenAndTheRefusals) {
    const auto paths = FullDiskAccess::probes("/Users/x");
    ASSERT_EQ(paths.size(), 6u);

    std::vector<std::string> tried;
    const auto withResults = [&](std::map<std::string, int> results) {
        tried.clear();
        return [&tried, results](const std::string& path) {
            tried.push_back(path);
            const auto found = results.find(path);
            return found == results.end() ? ENOENT : found->second;
        };
    };
    EXPECT_EQ(FullDiskAccess::status(paths, withResults({})), Status::unknown);
    EXPECT_EQ(tried.size(), 6u);
    EXPECT_EQ(FullDiskAccess::status(paths, withResults({{paths[0], EPERM}, {paths[1], 0}})),
              Status::granted);
    EXPECT_EQ(tried.size(), 2u) << "the rest is not tried once one path opened";
    EXPECT_EQ(FullDiskAccess::status(paths, withResults({{paths[2], EACCES}, {paths[4], EPERM}})),
              Status::denied);
    EXPECT_EQ(FullDiskAccess::status(paths, withResults({{paths[3], EIO}})), Status::unknown);
    EXPECT_EQ(FullDiskAccess::status({}, withResults({})), Status::unknown);
}

TEST(FullDiskAccess, RealOpensAndTheCurrentHome) {
    TempFolder home;
    home.folder("Library");
    home.folder("Library/Mail");
    EXPECT_EQ(FullDiskAccess::status(FullDiskAccess::probes(home.path()), FullDiskAccess::tryOpen),
              Status::granted);
    {
        ScopedEnv env("HOME", home.path());
        EXPECT_EQ(FullDiskAccess::current(), Status::granted);
    }
    ScopedEnv env("HOME", home / "Library/Safari");
    EXPECT_EQ(FullDiskAccess::current(), Status::unknown) << "nothing to probe";
}
