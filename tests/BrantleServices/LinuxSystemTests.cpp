#include "BrantleServices/LinuxSystem.hpp"

#include <gtest/gtest.h>

#include <set>

using namespace brantle;

TEST(LinuxSystem, MountTableFieldsAreUnescaped) {
    const auto points =
        LinuxSystem::mountPointsIn("22 1 8:1 / / rw,relatime - ext4 /dev/sda1 rw\n"
                                   "40 22 0:35 / /media/u/My\\040Disk rw - vfat /dev/sdb1 rw\n"
                                   "41 22 0:36 / /mnt/back\\134slash rw - tmpfs none rw\n"
                                   "garbage\n");
    EXPECT_EQ(points, (std::set<std::string>{"/", "/media/u/My Disk", "/mnt/back\\slash"}));
    EXPECT_TRUE(LinuxSystem::isMountPoint("/"));
    EXPECT_TRUE(LinuxSystem::isMountPoint("/proc"));
    EXPECT_FALSE(LinuxSystem::isMountPoint("/proc/self"));
}
