// The tests of the host: no ClearCase, no file of a project, no set-up of the machine.

#include "hostlogic.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "clearcase/fakescenario.h"

namespace {

TEST(PlanWriteTest, AVersionIsCheckedOutFirst) {
    FakeScenario scenario;
    scenario.element("C:/src/a.c", elementVersion);
    const WritePlan plan = planWrite(scenario.connect(), "C:\\src\\a.c");
    EXPECT_EQ(plan.action, BeforeWrite::checkOut);
    EXPECT_EQ(plan.path, "C:\\src\\a.c");
}

TEST(PlanWriteTest, EachTypeHasItsAction) {
    FakeScenario scenario;
    for (const auto& [type, action] : {std::pair(elementUnexpected, BeforeWrite::refuse),
                                       std::pair(elementNull, BeforeWrite::refuse),
                                       std::pair(elementVersion, BeforeWrite::checkOut),
                                       std::pair(elementDirectoryVersion, BeforeWrite::refuse),
                                       std::pair(elementViewPrivate, BeforeWrite::nothing),
                                       std::pair(elementViewDerived, BeforeWrite::nothing),
                                       std::pair(elementDerivedObject, BeforeWrite::nothing),
                                       std::pair(elementCheckedOutFile, BeforeWrite::nothing),
                                       std::pair(elementCheckedOutDir, BeforeWrite::refuse)}) {
        scenario.element("C:/src/a.c", type);
        EXPECT_EQ(planWrite(scenario.connect(), "C:/src/a.c").action, action) << type;
    }
}

TEST(PlanWriteTest, AFileThatNobodyKnowsIsTheUsersOwn) {
    FakeScenario scenario;
    const WritePlan plan = planWrite(scenario.connect(), "C:/no such folder/a.c");
    EXPECT_EQ(plan.action, BeforeWrite::nothing);
}

TEST(PlanWriteTest, LinksLeadToTheFile) {
    FakeScenario scenario;
    scenario.link("C:/src/a.h", "..\\inc\\a.h").link("C:/inc/a.h", "D:\\common\\a.h");
    scenario.element("D:/common/a.h", elementVersion);
    const WritePlan plan = planWrite(scenario.connect(), "C:/src/a.h");
    EXPECT_EQ(plan.action, BeforeWrite::checkOut);
    EXPECT_EQ(plan.path, "D:\\common\\a.h");
}

TEST(PlanWriteTest, LinksWithoutAnEndAreRefused) {
    FakeScenario scenario;
    scenario.link("C:/src/a", "b").link("C:/src/b", "a");
    const WritePlan plan = planWrite(scenario.connect(), "C:/src/a");
    EXPECT_EQ(plan.action, BeforeWrite::refuse);
    EXPECT_EQ(plan.path, "C:/src/a");
}

TEST(PlanWriteTest, FortyLinksAreFollowedAndNoMore) {
    FakeScenario scenario;
    for (int link = 0; link <= 40; ++link) {
        scenario.link("C:/" + std::to_string(link), std::to_string(link + 1));
    }
    scenario.element("C:/41", elementVersion);
    ClearCaseConnection& connection = scenario.connect();
    EXPECT_EQ(planWrite(connection, "C:/1").action, BeforeWrite::checkOut);
    EXPECT_EQ(planWrite(connection, "C:/0").action, BeforeWrite::refuse);
}

TEST(PlanWriteTest, AfterTheCheckOutTheFileIsWritten) {
    FakeScenario scenario;
    scenario.element("C:/src/a.c", elementVersion);
    EXPECT_EQ(planWrite(scenario.connect(), "C:/src/a.c").action, BeforeWrite::checkOut);
    scenario.element("C:/src/a.c", elementCheckedOutFile);
    EXPECT_EQ(planWrite(scenario.connect(), "C:/src/a.c").action, BeforeWrite::nothing);
}

TEST(DescribeTest, APlanIsALineForPeople) {
    EXPECT_EQ(describe({BeforeWrite::nothing, "C:/a"}), "write C:/a");
    EXPECT_EQ(describe({BeforeWrite::checkOut, "C:/a"}), "check out and write C:/a");
    EXPECT_EQ(describe({BeforeWrite::refuse, "C:/a"}), "refuse to write C:/a");
}

}  // namespace
