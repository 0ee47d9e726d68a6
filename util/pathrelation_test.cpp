#include "util/pathrelation.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(LiesInOnDriveTest, WhateverPathsBeginWithItGivesTheSame) {
    for (int first = -128; first < 128; ++first) {
        for (int second = -128; second < 128; ++second) {
            const std::string prefix = static_cast<char>(first) + std::string(":/a");
            const std::string path = static_cast<char>(second) + std::string(":\\A\\b");
            ASSERT_EQ(liesInOnDrive(prefix, path), liesIn(prefix, path))
                << first << " and " << second;
        }
    }
    EXPECT_TRUE(liesInOnDrive("X:", "x:/a"));
    EXPECT_TRUE(liesInOnDrive("x:", "X:/a"));
}

TEST(LiesInOnDriveTest, OneOfTheTwoMayBeEmpty) {
    EXPECT_TRUE(liesInOnDrive("", ""));
    EXPECT_TRUE(liesInOnDrive("", "/a"));
    EXPECT_FALSE(liesInOnDrive("", "C:"));
    EXPECT_FALSE(liesInOnDrive("C:", ""));
}

TEST(RestBelowTest, TheRestBeginsAtItsFirstNameAndNothingLeftIsTheEnd) {
    EXPECT_EQ(restBelow("M:/v", "m:\\V\\/x//y"), 6U);
    EXPECT_EQ(restBelow("M:/v", "M:/v//"), 6U);
    EXPECT_EQ(restBelow("M:/v", "M:/v"), 4U);
    EXPECT_EQ(restBelow("M:", "M:"), 2U);
}

TEST(RestBelowTest, ThereIsNoneOfARelativePathOrOneElsewhere) {
    EXPECT_EQ(restBelow("M:/v", "v/x"), std::nullopt);
    EXPECT_EQ(restBelow("M:/v", "M:/vx/y"), std::nullopt);
    EXPECT_EQ(restBelow("M:/v", "M:/"), std::nullopt);
}

}  // namespace
