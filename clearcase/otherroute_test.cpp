#include <map>
#include <string>

#include <gtest/gtest.h>

#include "clearcase/viewpaths.h"

namespace {

using Drives = std::map<std::string, std::string>;

const std::string mvfsRoot = "M:";

TEST(OtherRouteTest, AViewDriveLeadsToTheFolderOfItsViewWithTheRestOfThePath) {
    const Drives tags = {{"X:", "tag1"}};
    const DriveMap drives = {mvfsRoot, tags};
    EXPECT_EQ(otherRoute("X:", drives), "M:/tag1");
    EXPECT_EQ(otherRoute("X:\\", drives), "M:/tag1");
    EXPECT_EQ(otherRoute("X:\\vob\\a", drives), "M:/tag1/vob\\a");
}

TEST(OtherRouteTest, AFolderOfTheMvfsDriveLeadsToTheFirstDriveOfItsView) {
    const Drives tags = {{"U:", "tag"}, {"X:", "tag1"}, {"Y:", "tag1"}};
    const DriveMap drives = {mvfsRoot, tags};
    EXPECT_EQ(otherRoute("M:\\tag1", drives), "X:");
    EXPECT_EQ(otherRoute("M:\\tag1\\vob\\a", drives), "X:/vob\\a");
}

TEST(OtherRouteTest, WhatHasNoOtherRouteGivesNothing) {
    const Drives tags = {{"X:", "tag1"}};
    const DriveMap drives = {mvfsRoot, tags};
    EXPECT_EQ(otherRoute("Z:", drives), "");
    EXPECT_EQ(otherRoute("M:\\tag2", drives), "");
    EXPECT_EQ(otherRoute("M:\\TAG1", drives), "");
    EXPECT_EQ(otherRoute("M:", drives), "");
    EXPECT_EQ(otherRoute("M:\\", drives), "");
    EXPECT_EQ(otherRoute("", drives), "");
}

}  // namespace
