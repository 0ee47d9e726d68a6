// The command that "NBBRK" names. A process reads it once, so each test has a process of its own.

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/processes/execwait-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/threads/boundedthread.h"

namespace {

namespace fs = std::filesystem;
using namespace testing_support;

/// Ends the process with the result of the checks. Writes their messages to standard error, where
/// the parent reads them.
[[noreturn]] void end(const std::function<void()>& checks) {
    checks();
    const testing::TestResult& result =
        *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int part = 0; part < result.total_part_count(); ++part) {
        std::cerr << result.GetTestPartResult(part).message() << std::endl;
    }
    std::_Exit(result.Failed() ? 1 : 0);
}

class StallCommandDeathTest : public testing_support::ExecWaitTest {
protected:
    void inAFreshProcess(const std::function<void()>& checks) {
        accounting.setFixed({});
        exec.setStallRules(everyCommand(500, watchTime));
        // A command that should end by itself gets all the time for it.
        wakes.onTimeout([this](size_t) -> DWORD {
            return exec.stallCountdown() > 0 ? DWORD{WAIT_TIMEOUT} : QuickWakes::awaitEnd;
        });
        EXPECT_EXIT(end(checks), testing::ExitedWithCode(0), "");
    }
    /// A command that stalls, and ends by itself once the file "broken" exists.
    std::string stalling() const { return waitedChild("await " + file("broken") + " exit 9"); }
    std::string breaking() const { return waitedChild("make " + file("broken")); }
    bool hasEndedByItself() { return exec.log().ends_with("\n\texit code 9\n"); }
};

TEST_F(StallCommandDeathTest, ItIsRunInsteadOfABreak) {
    inAFreshProcess([this] {
        const EnvironmentScope variable("NBBRK", breaking());
        const CommandResult result = exec.run(stalling());
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(result.error, stallText(stalling()));
        EXPECT_EQ(exec.errors().size(), 1U);
        EXPECT_TRUE(hasEndedByItself()) << exec.log();
        EXPECT_TRUE(breaks.calls().empty());
    });
}

TEST_F(StallCommandDeathTest, ItHasTheDirectoryAndTheEnvironmentOfTheRun) {
    inAFreshProcess([this] {
        fs::create_directory(folder.path() / "bin");
        fs::create_directory(folder.path() / "work");
        fs::copy_file(testing_support::testProgramFolder() / "execchild.exe",
                      folder.path() / "bin" / "breaker.exe");
        std::string environment = "PATH=" + folder.utf8("bin");
        environment.append(2, '\0');
        const EnvironmentScope variable("NBBRK", "breaker make broken");
        EXPECT_EQ(exec.run(waitedChild("await " + file("work/broken") + " exit 9"),
                           folder.utf8("work"), environment.c_str())
                      .code,
                  Exec::failureCode);
        EXPECT_TRUE(hasEndedByItself()) << exec.log();
    });
}

TEST_F(StallCommandDeathTest, ForALeftoverItHasThoseOfTheProcess) {
    inAFreshProcess([this] {
        fs::create_directory(folder.path() / "here");
        fs::create_directory(folder.path() / "work");
        fs::current_path(folder.path() / "here");
        const EnvironmentScope variable("NBBRK", waitedChild("make broken"));
        wakes.onTimeout([this](size_t) -> DWORD {
            const bool isToStall = exec.mPid == Exec::noPid && exec.stallCountdown() > 0;
            return isToStall ? DWORD{WAIT_TIMEOUT} : QuickWakes::awaitEnd;
        });
        std::string environment = "PATH=nowhere";
        environment.append(2, '\0');
        const CommandResult result =
            exec.run(waitedChild("spawn await " + file("here/broken") + " make " + file("end")),
                     folder.utf8("work"), environment.c_str());
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(isThere("end"));
        EXPECT_FALSE(isThere("work/broken"));
        EXPECT_TRUE(breaks.calls().empty());
    });
}

TEST_F(StallCommandDeathTest, WhatItWritesAndReturnsIsDropped) {
    inAFreshProcess([this] {
        const EnvironmentScope variable("NBBRK", waitedChild("say x complain y exit 7"));
        wakes.onTimeout({});
        const CommandResult result = exec.run(stalling());
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, stallText(stalling()));
        EXPECT_NE(exec.log().find(" didn't exit ("), std::string::npos)
            << "nothing broke it but the end of its grace";
        EXPECT_TRUE(exec.log().ends_with("\n\texit code 1\n"));
    });
}

TEST_F(StallCommandDeathTest, OneThatIsNotThereIsDropped) {
    inAFreshProcess([this] {
        const EnvironmentScope variable("NBBRK", "no-such-program");
        wakes.onTimeout({});
        const CommandResult result = exec.run(stalling());
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_EQ(result.error, stallText(stalling()));
        EXPECT_EQ(exec.errors().size(), 1U);
        EXPECT_TRUE(breaks.calls().empty());
        EXPECT_TRUE(exec.log().ends_with("\n\texit code 1\n"));
    });
}

TEST_F(StallCommandDeathTest, ADirectoryThatHasGoneIsDropped) {
    inAFreshProcess([this] {
        const EnvironmentScope variable("NBBRK", breaking());
        *exec.mJob.receive() = CreateJobObjectA(/*lpJobAttributes=*/nullptr, /*lpName=*/nullptr);
        exec.selectStallRule("command");
        wakes.onTimeout([this](size_t) -> DWORD {
            return exec.errors().empty() ? WAIT_TIMEOUT : WAIT_OBJECT_0;
        });
        bool stalled = false;
        EXPECT_TRUE(exec.waitProcessExit(GetCurrentProcess(), GetCurrentProcessId(), "command",
                                         /*failureText=*/nullptr, &stalled, folder.utf8("gone"),
                                         /*environment=*/nullptr, /*passThrough=*/nullptr));
        EXPECT_TRUE(stalled);
        EXPECT_EQ(exec.errors().size(), 1U);
        EXPECT_TRUE(breaks.calls().empty());
        EXPECT_FALSE(isThere("broken"));
    });
}

TEST_F(StallCommandDeathTest, TheLockIsHeldWhileItRuns) {
    inAFreshProcess([this] {
        // With full paths the value could be too long.
        const EnvironmentScope variable("NBBRK",
                                        waitedChild("make running await looked make broken"));
        bool wasFree = true;
        BoundedThread observer([&] {
            await("running");
            wasFree = exec.mHandleLock.tryLock();
            make("looked");
        });
        exec.run(stalling(), folder.utf8());
        observer.join();
        EXPECT_FALSE(wasFree);
        EXPECT_TRUE(hasEndedByItself()) << exec.log();
    });
}

TEST_F(StallCommandDeathTest, AValueOf259CharactersIsTaken) {
    inAFreshProcess([this] {
        std::string value = breaking() + " say ";
        ASSERT_LT(value.size(), 259U);
        value.resize(259, 'x');
        const EnvironmentScope variable("NBBRK", value);
        exec.run(stalling());
        EXPECT_TRUE(hasEndedByItself()) << exec.log();
    });
}

TEST_F(StallCommandDeathTest, OnceReadItStays) {
    inAFreshProcess([this] {
        for (const std::optional<std::string>& value :
             {std::optional(breaking()), std::optional<std::string>(),
              std::optional(waitedChild("make " + file("other")))}) {
            const EnvironmentScope variable("NBBRK", value);
            exec.run(stalling());
            EXPECT_TRUE(hasEndedByItself()) << exec.log();
            remove("broken");
        }
        EXPECT_FALSE(isThere("other"));
        EXPECT_TRUE(breaks.calls().empty());
    });
}

TEST_F(StallCommandDeathTest, WithoutItTheCommandGetsABreakNowAndLater) {
    inAFreshProcess([this] {
        for (const std::optional<std::string>& value :
             {std::optional<std::string>(), std::optional(breaking())}) {
            const EnvironmentScope variable("NBBRK", value);
            EXPECT_EQ(exec.run(stalling()).code, Exec::failureCode);
        }
        EXPECT_EQ(breaks.calls().size(), 2U);
        EXPECT_FALSE(isThere("broken"));
    });
}

TEST_F(StallCommandDeathTest, AnEmptyValueIsNone) {
    inAFreshProcess([this] {
        // The C runtime can't set one.
        SetEnvironmentVariableA("NBBRK", "");
        EXPECT_EQ(exec.run(stalling()).code, Exec::failureCode);
        EXPECT_EQ(breaks.calls().size(), 1U);
    });
}

}  // namespace
