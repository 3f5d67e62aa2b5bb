#include "BrantleCore/PathText.hpp"

#include <gtest/gtest.h>

using namespace brantle;

TEST(PathText, StandardisationIsTextual) {
    using PathText::standardised;
    EXPECT_EQ(standardised("/a/./b/../c/"), "/a/c");
    EXPECT_EQ(standardised("/../.."), "/");
    EXPECT_EQ(standardised("//a//b//"), "/a/b");
    EXPECT_EQ(standardised("a/../../b"), "../b");
    EXPECT_EQ(standardised(""), "");
    EXPECT_EQ(PathText::parent("/a"), "/");
    EXPECT_EQ(PathText::parent("/"), "/");
    EXPECT_TRUE(PathText::isInside("/usr/x", "/usr"));
    EXPECT_FALSE(PathText::isInside("/usrdata", "/usr"));
    EXPECT_FALSE(PathText::isInside("/usr", "/usr"));
    EXPECT_TRUE(PathText::isInside("/a", "/"));
    EXPECT_FALSE(PathText::isInside("/a", ""));
    EXPECT_EQ(PathText::below("/a/b/c", "/a"), "b/c");
    EXPECT_EQ(PathText::below("/a", "/"), "a");
    EXPECT_FALSE(PathText::below("/ab", "/a"));
}
