#include "testing/calls/consolebreak-win.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "testing/processes/startedchild-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

constexpr DWORD breakCode = 0xC000013A;
constexpr DWORD noProcess = MAXDWORD;

[[gnu::noinline]] BOOL breakGroup(DWORD group) {
    return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, group);
}

TEST(ConsoleBreaksTest, ABreakEndsTheChild) {
    const TempFolder folder;
    const ConsoleBreaks breaks;
    const StartedChild child({.actions = {"make", folder.utf8("ready"), "sleep", "60000"}});
    ASSERT_TRUE(eventually([&] { return exists(folder.path() / "ready"); }));
    EXPECT_TRUE(breakGroup(child.pid()));
    EXPECT_EQ(child.wait(), breakCode);
}

TEST(ConsoleBreaksTest, AChildThatHasNotBegunEndsWhenItDoes) {
    const ConsoleBreaks breaks;
    StartedChild child({.actions = {"sleep", "60000"}, .isSuspended = true});
    EXPECT_TRUE(breakGroup(child.pid()));
    child.resume();
    EXPECT_EQ(child.wait(), breakCode);
}

TEST(ConsoleBreaksTest, AChildThatIgnoresBreaksGoesOn) {
    const TempFolder folder;
    const ConsoleBreaks breaks;
    const StartedChild child({.actions = {"ignore-break", "make", folder.utf8("ready"), "await",
                                          folder.utf8("go"), "exit", "3"}});
    ASSERT_TRUE(eventually([&] { return exists(folder.path() / "ready"); }));
    EXPECT_TRUE(breakGroup(child.pid()));
    EXPECT_TRUE(breakGroup(child.pid()));
    folder.write("go", "");
    EXPECT_EQ(child.wait(), 3U);
}

TEST(ConsoleBreaksTest, OnlyTheChildOfThatIdIsEnded) {
    const TempFolder folder;
    const ConsoleBreaks breaks;
    const StartedChild other({.actions = {"await", folder.utf8("go"), "exit", "3"}});
    const StartedChild child({.actions = {"sleep", "60000"}});
    EXPECT_TRUE(breakGroup(child.pid()));
    EXPECT_EQ(child.wait(), breakCode);
    folder.write("go", "");
    EXPECT_EQ(other.wait(), 3U);
}

TEST(ConsoleBreaksTest, AnIdThatNoProcessHasIsAnError) {
    const ConsoleBreaks breaks;
    const StartedChild ended({.actions = {}});
    ended.wait();
    for (const DWORD id : {noProcess, ended.pid()}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(breakGroup(id));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST(ConsoleBreaksTest, EachCallIsRecorded) {
    const ConsoleBreaks breaks;
    EXPECT_TRUE(breaks.calls().empty());
    const StartedChild child({.actions = {"sleep", "60000"}});
    breakGroup(noProcess);
    breakGroup(child.pid());
    EXPECT_EQ(breaks.calls(), (std::vector<ConsoleBreaks::Call>{{CTRL_BREAK_EVENT, noProcess},
                                                                {CTRL_BREAK_EVENT, child.pid()}}));
}

TEST(ConsoleBreaksTest, ASecondOneIsRefusedAndTheFirstStays) {
    const ConsoleBreaks breaks;
    EXPECT_THROW(static_cast<void>(ConsoleBreaks()), std::logic_error);
    breakGroup(noProcess);
    EXPECT_EQ(breaks.calls().size(), 1U);
}

}  // namespace
