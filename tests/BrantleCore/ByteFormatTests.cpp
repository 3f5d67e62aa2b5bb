#include "BrantleCore/ByteFormat.hpp"

#include <gtest/gtest.h>

#include <limits>

using brantle::formatBytes;

TEST(ByteFormat, DecimalUnitsLikeTheDesktop) {
    EXPECT_EQ(formatBytes(0), "0 bytes");
    EXPECT_EQ(formatBytes(1), "1 byte");
    EXPECT_EQ(formatBytes(999), "999 bytes");
    EXPECT_EQ(formatBytes(1000), "1 KB");
    EXPECT_EQ(formatBytes(340'000), "340 KB");
    EXPECT_EQ(formatBytes(340'600), "341 KB");
    EXPECT_EQ(formatBytes(999'400), "999 KB");
    EXPECT_EQ(formatBytes(999'600), "1 MB");
    EXPECT_EQ(formatBytes(1'234'567), "1.2 MB");
    EXPECT_EQ(formatBytes(1'000'000), "1 MB");
    EXPECT_EQ(formatBytes(999'960'000), "1 GB");
    EXPECT_EQ(formatBytes(4'560'000'000), "4.56 GB");
    EXPECT_EQ(formatBytes(12'300'000'000), "12.3 GB");
    EXPECT_EQ(formatBytes(2'000'000'000'000), "2 TB");
    EXPECT_EQ(formatBytes(std::numeric_limits<std::uint64_t>::max()), "18.45 EB");
}
