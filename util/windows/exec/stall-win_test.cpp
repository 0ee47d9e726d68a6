// Real commands that stall, or don't, because of the work that they do.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/processes/execwait-win.h"

namespace {

using namespace testing_support;

constexpr uint32_t timeFlag = watchTime;
constexpr uint32_t ioFlag = watchIo;
constexpr uint32_t stallReport = reportOnly;
constexpr auto breakCode = static_cast<int32_t>(0xC000013A);

class StallTest : public testing_support::ExecWaitTest {
protected:
    /// Does the work four times, with a round after each.
    CommandResult runWorkInFourRounds(const std::string& work) {
        std::string actions;
        for (const char* stop : {"s1", "s2", "s3", "s4"}) {
            actions.append(work).append(" make ").append(file(stop)).append(" await-gone ");
            actions.append(file(stop)).append(1, ' ');
        }
        wakes.onTimeout([this](size_t wake) -> DWORD {
            if (wake > 1) {
                remove("s" + std::to_string(wake - 1));
            }
            if (wake > 4) {
                return QuickWakes::awaitEnd;
            }
            await("s" + std::to_string(wake));
            return WAIT_TIMEOUT;
        });
        return exec.run(waitedChild(actions + "exit 9"));
    }

    std::vector<std::string> report(const std::string& command, const char* end) const {
        std::string text = "Command stalled: \"";
        text.append(command).append("\" (pid(s) ").append(pid).append("): ").append(end);
        return {text};
    }
    /// Notes the id of the command as soon as it has made the file.
    void notePidAt(const std::string& name) {
        atFirstWake(name, [this] { pid = std::to_string(exec.mPid.load()); });
    }

    std::string pid;
};

TEST_F(StallTest, ACommandThatComputesGoesOnWhereProcessorTimeIsWatched) {
    exec.setStallRules(everyCommand(500, timeFlag));
    EXPECT_EQ(runWorkInFourRounds("burn 20").code, 9);
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(StallTest, ACommandThatReadsAndWritesGoesOnWhereThatIsWatched) {
    exec.setStallRules(everyCommand(500, ioFlag));
    EXPECT_EQ(runWorkInFourRounds("io 100 " + file("data")).code, 9);
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(StallTest, TheWorkOfWhatACommandStartsIsItsProgress) {
    exec.setStallRules(everyCommand(500, ioFlag));
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake > 1) {
            make("go");
            return QuickWakes::awaitEnd;
        }
        await("worked");
        return WAIT_TIMEOUT;
    });
    const std::string grandchild =
        "io 100 " + file("data") + " make " + file("worked") + " await " + file("go");
    EXPECT_EQ(
        exec.run(waitedChild("spawn-and 7 " + grandchild + " await " + file("go") + " exit 9"))
            .code,
        9);
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(StallTest, ACommandThatDoesNothingIsBroken) {
    const std::string command = waitedChild("make " + file("ready") + " sleep 60000");
    exec.setStallRules(everyCommand(1000, timeFlag | ioFlag));
    notePidAt("ready");
    const CommandResult result = exec.run(command);
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_EQ(result.error, stallText(command));
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(exec.errors(), report(command, "aborting job"));
    EXPECT_EQ(breaks.calls(), (std::vector<ConsoleBreaks::Call>{
                                  {CTRL_BREAK_EVENT, static_cast<DWORD>(std::stoul(pid))}}));
    EXPECT_FALSE(exec.mAborted);
}

TEST_F(StallTest, ACommandThatIgnoresTheBreakIsEndedThreeWakesAfterTheStall) {
    const std::string command = waitedChild("ignore-break make " + file("ready") + " sleep 60000");
    exec.setStallRules(everyCommand(500, timeFlag));
    accounting.setFixed({});
    notePidAt("ready");
    const CommandResult result = exec.run(command);
    EXPECT_EQ(wakes.timeouts(), 4U);
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_EQ(result.error, stallText(command));
    EXPECT_EQ(breaks.calls().size(), 1U);
}

TEST_F(StallTest, TheLogOfAStall) {
    const std::string command = waitedChild("ignore-break make " + file("ready") + " sleep 60000");
    const std::string directory = folder.utf8();
    exec.setStallRules(everyCommand(2000, timeFlag));
    JobAccounting::Figures figures{};
    figures.BasicInfo.TotalUserTime.QuadPart = 75;
    figures.IoInfo.WriteOperationCount = 6;
    accounting.setFixed(figures);
    notePidAt("ready");
    exec.run(command, directory);
    const std::string figuresText =
        "\tchecking for stalled job: pids " + pid +
        "\n\t  user time: 7 microsec\n\t  system time: 0 microsec\n\t  reads: 0\n"
        "\t  writes: 6\n\t  other ops: 0\n";
    EXPECT_EQ(exec.log(), "\twd: " + directory + "\twaiting for child pid " + pid + "\n" +
                              figuresText + "\ttimed out waiting for pid " + pid +
                              "\n\tExec::waitProcessExit: child " + pid + " didn't exit (" +
                              command + ")\n\texit code 1\n");
}

TEST_F(StallTest, ARuleThatOnlyReportsLetsTheCommandGoOn) {
    const std::string command =
        waitedChild("make " + file("ready") + " await " + file("go") + " say x exit 9");
    exec.setStallRules(everyCommand(500, timeFlag | stallReport));
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake == 1) {
            await("ready");
            pid = std::to_string(exec.mPid.load());
        }
        if (wake < 6) {
            return WAIT_TIMEOUT;
        }
        make("go");
        return QuickWakes::awaitEnd;
    });
    const CommandResult result = exec.run(command);
    EXPECT_EQ(result.code, 9);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(exec.errors(), report(command, "job will continue running"));
    EXPECT_TRUE(breaks.calls().empty());
}

TEST_F(StallTest, WhatWasWrittenBeforeAStallComesBackBeforeTheText) {
    Exec::RunInfo info;
    info.mDirectArgv = {waitedChild("say x complain y make " + file("ready") + " sleep 60000")};
    exec.setStallRules(everyCommand(500, timeFlag | ioFlag));
    atFirstWake("ready");
    const CommandResult separate = exec.run(info);
    EXPECT_EQ(separate.output, "x");
    EXPECT_EQ(separate.error, "y" + stallText(info.mDirectArgv[0]));
    EXPECT_EQ(separate.code, Exec::failureCode);
    remove("ready");
    info.mMergeOutput = true;
    atFirstWake("ready");
    const CommandResult merged = exec.run(info);
    EXPECT_EQ(merged.output, "xy" + stallText(info.mDirectArgv[0]));
    EXPECT_EQ(merged.error, "");
}

TEST_F(StallTest, TheSignalOfAStalledCygwinCommandIsKnown) {
    Exec::RunInfo info;
    info.mDirectArgv = {waitedChild("make " + file("ready") + " sleep 60000")};
    info.mCygwinCommand = true;
    exec.setStallRules(everyCommand(500, timeFlag | ioFlag));
    exec.mChildSignal = 77;
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake > 1) {
            return QuickWakes::awaitEnd;  // or its end by force could come first
        }
        await("ready");
        return WAIT_TIMEOUT;
    });
    EXPECT_EQ(exec.run(info).code, Exec::failureCode);
    EXPECT_EQ(exec.childSignal(), 1U) << "bits 8 to 14 of what a break makes of a process";
}

TEST_F(StallTest, TheTextsOfAStalledCommandAreNotConverted) {
    Exec::RunInfo info;
    info.mDirectArgv = {waitedChild("say16 x make " + file("ready") + " sleep 60000")};
    info.mUtf16Output = true;
    exec.setStallRules(everyCommand(500, timeFlag | ioFlag));
    atFirstWake("ready");
    const CommandResult result = exec.run(info);
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_EQ(result.output, std::string("x\0", 2));
    EXPECT_EQ(result.error, stallText(info.mDirectArgv[0]));
}

TEST_F(StallTest, WithoutATextForFailuresTheExitCodeComesBack) {
    Exec::RunInfo info;
    info.mDirectArgv = {waitedChild("make " + file("ready") + " sleep 60000")};
    info.mCaptureOutput = false;
    exec.setStallRules(everyCommand(500, timeFlag));
    accounting.setFixed({});
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake > 1) {
            return QuickWakes::awaitEnd;
        }
        await("ready");
        pid = std::to_string(exec.mPid.load());
        return WAIT_TIMEOUT;
    });
    const CommandResult result = exec.run(info);
    EXPECT_EQ(result.code, breakCode);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(exec.errors(), report(info.mDirectArgv[0], "aborting job"));
}

TEST_F(StallTest, AnAbortAfterAStallLeavesItAStall) {
    const std::string command = waitedChild("ignore-break make " + file("ready") + " sleep 60000");
    exec.setStallRules(everyCommand(500, timeFlag));
    accounting.setFixed({});
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake == 1) {
            await("ready");
        } else if (wake == 2) {
            abort();
        }
        return WAIT_TIMEOUT;
    });
    const CommandResult result = exec.run(command);
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(result.error, stallText(command));
    // The grace period doesn't start again.
    EXPECT_EQ(wakes.timeouts(), 4U);
}

TEST_F(StallTest, AnAbortedCommandIsNotWatchedAnyMore) {
    exec.setStallRules(everyCommand(500, timeFlag));
    accounting.setFixed({});
    atFirstWake("ready", [this] { abort(); });
    const CommandResult result =
        exec.run(waitedChild("ignore-break make " + file("ready") + " sleep 60000"));
    EXPECT_TRUE(result.aborted);
    EXPECT_TRUE(exec.errors().empty());
    EXPECT_EQ(accounting.queryCount(JobObjectBasicAndIoAccountingInformation), 0U);
}

TEST_F(StallTest, AStalledCommandLeavesTheNextOneAlone) {
    exec.setStallRules({{".*sleep.*", 500, timeFlag}});
    exec.run(waitedChild("sleep 60000"));
    const CommandResult next = exec.run(waitedChild("say x exit 9"));
    EXPECT_EQ(next.code, 9);
    EXPECT_EQ(next.output, "x");
    EXPECT_EQ(next.error, "");
    EXPECT_FALSE(next.aborted);
}

TEST_F(StallTest, ACommandThatEndsBeforeTheFirstWakeIsNotAskedAbout) {
    wakes.onTimeout([](size_t) { return QuickWakes::awaitEnd; });
    exec.setStallRules(everyCommand(1, timeFlag | ioFlag));
    EXPECT_EQ(exec.run(waitedChild("exit 9")).code, 9);
    EXPECT_EQ(accounting.queryCount(JobObjectBasicAndIoAccountingInformation), 0U);
}

}  // namespace
