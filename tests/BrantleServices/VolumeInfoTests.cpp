#include "BrantleServices/VolumeInfo.hpp"

#include "support/CommandOutput.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

using brantle::VolumeInfo;

TEST(VolumeInfo, DerivedFiguresNeverWrap) {
    const VolumeInfo volume{100, 30, 45};
    EXPECT_EQ(volume.used(), 70u);
    EXPECT_EQ(volume.purgeable(), 15u);
    EXPECT_EQ(volume.hidden(50), 20u);
    EXPECT_EQ(volume.hidden(90), 0u);

    const VolumeInfo odd{100, 130, 20};
    EXPECT_EQ(odd.used(), 0u);
    EXPECT_EQ(odd.purgeable(), 0u);
    EXPECT_EQ(odd.hidden(0), 0u);

    EXPECT_EQ(VolumeInfo::fromCapacities(100, 30, std::nullopt), (VolumeInfo{100, 30, 30}));
    EXPECT_EQ(VolumeInfo::fromCapacities(100, 30, -5), (VolumeInfo{100, 30, 0}));
    EXPECT_FALSE(VolumeInfo::fromCapacities(std::nullopt, 30, 30));
    EXPECT_FALSE(VolumeInfo::fromCapacities(100, std::nullopt, 30));
    // Absurd figures saturate instead of stopping the program.
    EXPECT_EQ(VolumeInfo::fromCapacities(-1, 30, 50), (VolumeInfo{0, 0, 0}));
    EXPECT_EQ(VolumeInfo::fromCapacities(100, 130, 130), (VolumeInfo{100, 100, 100}));
}

TEST(VolumeInfo, MatchesDfForARealFolder) {
    const std::string folder = std::filesystem::current_path().string();
    const std::string df = commandOutput("df -B1 --output=size,avail '" + folder + "' | tail -n 1");
    unsigned long long size = 0;
    unsigned long long avail = 0;
    ASSERT_EQ(std::sscanf(df.c_str(), "%llu %llu", &size, &avail), 2) << df;

    const auto volume = VolumeInfo::containing(folder);
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->total, size);
    // Others may write meanwhile; the reserved blocks that separate free from available are
    // far larger than this margin.
    const auto margin = 256ull << 20;
    EXPECT_LT(std::max<std::uint64_t>(volume->available, avail) -
                  std::min<std::uint64_t>(volume->available, avail),
              margin);

    EXPECT_FALSE(VolumeInfo::containing(folder + "/no/such/folder"));
}
