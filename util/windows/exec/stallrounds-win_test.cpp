// How a round of the wait evaluates the figures of a job, without a process.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/consolebreak-win.h"
#include "testing/calls/jobaccounting-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/execwait-win.h"
#include "testing/scopes/environmentscope.h"

namespace {

using namespace testing_support;
using Figures = JobAccounting::Figures;

constexpr JOBOBJECTINFOCLASS listClass = JobObjectBasicProcessIdList;
constexpr JOBOBJECTINFOCLASS accountingClass = JobObjectBasicAndIoAccountingInformation;
constexpr uint32_t timeFlag = watchTime;
constexpr uint32_t io = watchIo;
constexpr uint32_t report = reportOnly;

Figures figures(LONGLONG user, LONGLONG kernel, ULONGLONG reads, ULONGLONG writes,
                ULONGLONG otherOps) {
    Figures result{};
    result.BasicInfo.TotalUserTime.QuadPart = user;
    result.BasicInfo.TotalKernelTime.QuadPart = kernel;
    result.IoInfo.ReadOperationCount = reads;
    result.IoInfo.WriteOperationCount = writes;
    result.IoInfo.OtherOperationCount = otherOps;
    return result;
}

/// The list of a job with this many processes, with the ids 1, 2, 3 and so on.
class LongList {
public:
    explicit LongList(DWORD assigned)
        : mReplaced("QueryInformationJobObject",
                    [](HANDLE job, JOBOBJECTINFOCLASS what, LPVOID buffer, DWORD size,
                       LPDWORD returned) -> BOOL {
                        return what == listClass
                                   ? answer(static_cast<JOBOBJECT_BASIC_PROCESS_ID_LIST*>(buffer),
                                            size)
                                   : sOriginal(job, what, buffer, size, returned);
                    }) {
        sAssigned = assigned;
        sOriginal = mReplaced.original();
    }

private:
    static BOOL answer(JOBOBJECT_BASIC_PROCESS_ID_LIST* list, DWORD size) {
        EXPECT_EQ(size, 400U);
        list->NumberOfAssignedProcesses = sAssigned;
        list->NumberOfProcessIdsInList = std::min<DWORD>(sAssigned, 49);
        for (DWORD at = 0; at < list->NumberOfProcessIdsInList; ++at) {
            list->ProcessIdList[at] = at + 1;
        }
        SetLastError(ERROR_MORE_DATA);
        return sAssigned <= 49 ? TRUE : FALSE;
    }

    static inline DWORD sAssigned = 0;
    static inline decltype(&QueryInformationJobObject) sOriginal = nullptr;
    ReplacedCall<decltype(QueryInformationJobObject)> mReplaced;
};

std::string idsUpTo(int last) {
    std::string text;
    for (int id = 1; id <= last; ++id) {
        text.append(1, ' ').append(std::to_string(id));
    }
    return text;
}

std::vector<std::string> stallReport(const std::string& ids, const std::string& end) {
    std::string text = "Command stalled: \"command\" (pid(s)";
    return {text.append(ids).append("): ").append(end)};
}

std::string pidText() { return std::to_string(GetCurrentProcessId()); }

class StallRounds : public testing::Test {
protected:
    const EnvironmentScope noStallCommand{"NBBRK", std::nullopt};
    JobAccounting accounting;
    const ConsoleBreaks breaks;
};

TEST_F(StallRounds, AChangeOfAWatchedNumberIsProgressAndNoOtherIs) {
    struct Change {
        Figures to;
        bool isTime;
    };
    const std::vector<Change> changes = {{figures(1, 0, 0, 0, 0), true},
                                         {figures(0, 1, 0, 0, 0), true},
                                         {figures(0, 0, 1, 0, 0), false},
                                         {figures(0, 0, 0, 1, 0), false},
                                         {figures(0, 0, 0, 0, 1), false}};
    for (const uint32_t flags : {timeFlag, io, timeFlag | io, timeFlag | report, io | report}) {
        for (size_t at = 0; at < changes.size(); ++at) {
            SimulatedWait exec({".*", 500, flags});
            accounting.setFixed(changes[at].to);
            bool madeProgress = false;
            exec.run(/*count=*/2, [&](size_t round) {
                if (round == 2) {
                    madeProgress = exec.errors().empty();
                }
            });
            const bool isWatched = (flags & (changes[at].isTime ? timeFlag : io)) != 0;
            EXPECT_EQ(madeProgress, isWatched) << "flags " << flags << ", change " << at;
        }
    }
}

TEST_F(StallRounds, AFallIsAChangeToo) {
    SimulatedWait exec({".*", 500, io});
    exec.lastCounters() = std::tuple(0, 0, 5U, 0U, 0U);
    accounting.setFixed(figures(0, 0, 4, 0, 0));
    exec.run(/*count=*/1);
    EXPECT_FALSE(exec.stalled);
}

TEST_F(StallRounds, TheFiveNumbersAreKeptAtProgressOnly) {
    SimulatedWait exec({".*", 5000, timeFlag});
    accounting.setFixed(figures(0, 0, 3, 4, 5));
    exec.run(/*count=*/1);
    EXPECT_EQ(exec.lastCounters(), std::tuple(0, 0, 0U, 0U, 0U));
    accounting.setFixed(figures(1, 2, 3, 4, 5));
    exec.run(/*count=*/1);
    EXPECT_EQ(exec.lastCounters(), std::tuple(1, 2, 3U, 4U, 5U));
}

TEST_F(StallRounds, ProgressGivesTheWholeTimeBack) {
    SimulatedWait exec({".*", 1700, io});
    accounting.setFixed({});
    std::vector<int32_t> countdowns;
    exec.run(/*count=*/5, [&](size_t round) {
        countdowns.push_back(exec.stallCountdown());
        if (round == 3) {
            accounting.setFixed(figures(0, 0, 1, 0, 0));
        }
    });
    EXPECT_EQ(countdowns, (std::vector<int32_t>{1700, 1200, 700, 1700, 1200}));
}

TEST_F(StallRounds, ACommandStallsWhenItsTimeIsOverInHalfSeconds) {
    struct Row {
        int32_t timeout;
        size_t rounds;
    };
    accounting.setFixed({});
    for (const Row& row : {Row{-1000, 1}, Row{1, 1}, Row{499, 1}, Row{500, 1}, Row{501, 2},
                           Row{1000, 2}, Row{1001, 3}, Row{10000, 20}}) {
        SimulatedWait exec({".*", row.timeout, timeFlag | io});
        exec.run(/*count=*/100);
        EXPECT_TRUE(exec.stalled) << row.timeout;
        EXPECT_EQ(exec.rounds, row.rounds) << row.timeout;
    }
}

TEST_F(StallRounds, AStallIsReportedAndBreaksTheGroupOfTheCommand) {
    SimulatedWait exec({".*", 500, timeFlag | io});
    accounting.setFixed({});
    exec.mPid = 4711;
    exec.run(/*count=*/5);
    EXPECT_EQ(exec.errors(), stallReport("", "aborting job"));
    EXPECT_EQ(exec.failure, "");
    EXPECT_EQ(breaks.calls(), (std::vector<ConsoleBreaks::Call>{{CTRL_BREAK_EVENT, 4711}}));
    exec.mPid = Exec::noPid;
}

TEST_F(StallRounds, AStallWithoutARunningCommandBreaksTheGroupThatThereIsNot) {
    SimulatedWait exec({".*", 500, timeFlag | io});
    accounting.setFixed({});
    exec.run(/*count=*/5);
    EXPECT_EQ(breaks.calls(), (std::vector<ConsoleBreaks::Call>{{CTRL_BREAK_EVENT, Exec::noPid}}));
}

TEST_F(StallRounds, ARuleThatOnlyReportsDoesSoOnceInAWait) {
    SimulatedWait exec({".*", 1000, timeFlag | report});
    accounting.setFixed({});
    exec.run(/*count=*/8, [&](size_t round) {
        if (round == 5) {
            accounting.setFixed(figures(1, 0, 0, 0, 0));  // progress, then another stall
        }
    });
    EXPECT_EQ(exec.rounds, 8U);
    EXPECT_FALSE(exec.stalled);
    EXPECT_EQ(exec.errors(), stallReport("", "job will continue running"));
    EXPECT_TRUE(breaks.calls().empty());
    exec.run(/*count=*/1);
    EXPECT_EQ(exec.errors().size(), 2U);
}

TEST_F(StallRounds, ATimeThatIsSpentFallsOnAndDoesNotWrap) {
    SimulatedWait exec({".*", 700, timeFlag | report});
    accounting.setFixed({});
    exec.run(/*count=*/4);
    EXPECT_EQ(exec.stallCountdown(), -1300);
    exec.stallCountdown() = std::numeric_limits<int32_t>::min() + 100;
    exec.run(/*count=*/3);
    EXPECT_LT(exec.stallCountdown(), 0);
}

TEST_F(StallRounds, TheLogReportsTheSecondHalfOfTheTimeOnly) {
    SimulatedWait exec({".*", 2000, timeFlag | io});
    accounting.setFixed(figures(123456789, 29, 3, 4, 5));
    std::vector<std::string> logs;
    exec.run(/*count=*/10, [&](size_t) { logs.push_back(exec.log()); });
    // The first round is progress.
    EXPECT_EQ(logs, std::vector<std::string>(5));
    EXPECT_EQ(exec.log(),
              "\tchecking for stalled job: pids\n"
              "\t  user time: 12345678 microsec\n"
              "\t  system time: 2 microsec\n"
              "\t  reads: 3\n"
              "\t  writes: 4\n"
              "\t  other ops: 5\n"
              "\ttimed out waiting for pid " +
                  pidText() + "\n");
}

TEST_F(StallRounds, HalfOfTheTimeIsRoundedTowardsZero) {
    struct Row {
        int32_t timeout;
        int32_t countdown;
        bool isLogged;
    };
    accounting.setFixed({});
    for (const Row& row :
         {Row{1001, 500, false}, Row{1001, 499, true}, Row{1000, 500, false}, Row{1000, 499, true},
          Row{-3, -1, false}, Row{-3, -2, true}, Row{1, 0, false}, Row{1, -1, true}}) {
        SimulatedWait exec({".*", row.timeout, timeFlag | report});
        exec.stallCountdown() = row.countdown;
        exec.run(/*count=*/1);
        EXPECT_EQ(exec.log().starts_with("\tchecking for stalled job: pids\n\t  user time: 0 "),
                  row.isLogged)
            << row.timeout << ' ' << row.countdown << exec.log();
    }
}

TEST_F(StallRounds, AStallThatIsOnlyReportedHasItsOwnLine) {
    SimulatedWait exec({".*", 1, timeFlag | report});
    accounting.setFixed({});
    exec.run(/*count=*/1);
    EXPECT_EQ(exec.log(), "\ttimed out waiting for pid " + pidText() + " (but not aborting)\n");
}

TEST_F(StallRounds, OfMoreThan49ProcessesTheOthersAreANumber) {
    struct Row {
        DWORD assigned;
        std::string ids;
        std::string others;
    };
    accounting.setFixed({});
    for (const Row& row :
         {Row{2, " 1 2", ""}, Row{49, idsUpTo(49), ""}, Row{50, idsUpTo(49), " (plus 1 others)"},
          Row{1060, idsUpTo(49), " (plus 1011 others)"}}) {
        const LongList list(row.assigned);
        SimulatedWait exec({".*", 1000, timeFlag});
        exec.stallCountdown() = 499;
        exec.run(/*count=*/2);
        EXPECT_EQ(exec.errors(), stallReport(row.ids, "aborting job"));
        const std::string line = "\tchecking for stalled job: pids" + row.ids + row.others + "\n";
        EXPECT_EQ(exec.log().substr(0, exec.log().find('\n') + 1), line);
        EXPECT_EQ(exec.failure, "");
    }
}

TEST_F(StallRounds, AListThatIsUnavailableIsReportedEachRoundAndTheRoundGoesOn) {
    const SystemMessage noWords(L"");
    SimulatedWait exec({".*", 1000, timeFlag});
    accounting.setFixed({});
    exec.stallCountdown() = 999;
    accounting.failNext(listClass, ERROR_ACCESS_DENIED);
    accounting.failNext(listClass, ERROR_NOT_READY);
    exec.run(/*count=*/5);
    const std::string words = "Exec::waitProcessExit couldn't query job process information: ";
    EXPECT_EQ(exec.failure, words + "Error 5\n" + words + "Error 21\n");
    EXPECT_EQ(exec.errors(),
              (std::vector<std::string>{words + "Error 5\n", words + "Error 21\n",
                                        "Command stalled: \"command\" (pid(s)): aborting job"}));
    // The second round is in the second half, and has no list to log.
    EXPECT_TRUE(exec.log().starts_with("\t  user time: 0 microsec\n")) << exec.log();
}

TEST_F(StallRounds, WithoutAccountingARoundIsReportedAndDoesNotCount) {
    const SystemMessage noWords(L"");
    SimulatedWait exec({".*", 500, timeFlag});
    accounting.setFixed({});
    accounting.failNext(accountingClass, ERROR_ACCESS_DENIED);
    accounting.failNext(accountingClass, ERROR_NOT_READY);
    exec.run(/*count=*/2);
    const std::string words = "Exec::waitProcessExit couldn't query job accounting information: ";
    EXPECT_EQ(exec.failure, words + "Error 5\n" + words + "Error 21\n");
    EXPECT_EQ(exec.errors(), (std::vector<std::string>{words + "Error 5\n", words + "Error 21\n"}));
    EXPECT_EQ(exec.stallCountdown(), 500);
    exec.run(/*count=*/1);
    EXPECT_TRUE(exec.stalled);
}

TEST_F(StallRounds, WithoutAJobNoJobIsAskedFor) {
    const SystemMessage noWords(L"");
    SimulatedWait exec({".*", 1000, timeFlag});
    exec.mJob.release();
    exec.run(/*count=*/1);
    EXPECT_EQ(accounting.queryCount(listClass), 0U);
    EXPECT_EQ(accounting.queryCount(accountingClass), 0U);
    const std::string words = "Exec::waitProcessExit couldn't query job ";
    EXPECT_EQ(exec.failure, words + "process information: Error 6\n" + words +
                                "accounting information: Error 6\n");
}

TEST_F(StallRounds, WithoutATextForFailuresTheyAreStillReported) {
    const SystemMessage noWords(L"");
    SimulatedWait exec({".*", 500, timeFlag});
    exec.failureText = nullptr;
    accounting.failNext(accountingClass, ERROR_ACCESS_DENIED);
    exec.run(/*count=*/1);
    EXPECT_EQ(exec.errors(),
              std::vector<std::string>{
                  "Exec::waitProcessExit couldn't query job accounting information: Error 5\n"});
}

TEST_F(StallRounds, WhatIsNotWatchedIsNotAskedFor) {
    struct Row {
        int32_t timeout;
        uint32_t flags;
    };
    for (const Row& row : {Row{0, timeFlag | io}, Row{500, 0}, Row{500, report},
                           Row{500, ~(timeFlag | io | report)}}) {
        SimulatedWait exec({".*", row.timeout, row.flags});
        exec.run(/*count=*/5);
        EXPECT_EQ(exec.rounds, 5U) << row.timeout << ' ' << row.flags;
    }
    SimulatedWait withoutRule({".*", 500, timeFlag});
    withoutRule.currentRule() = nullptr;
    withoutRule.run(/*count=*/5);
    SimulatedWait withoutJobMode({".*", 500, timeFlag});
    withoutJobMode.mJobPattern.clear();
    withoutJobMode.run(/*count=*/5);
    EXPECT_EQ(accounting.queryCount(listClass), 0U);
    EXPECT_EQ(accounting.queryCount(accountingClass), 0U);
}

/// Records whether the lock was free when a stall was reported.
class LockWatcher : public SimulatedWait {
public:
    using SimulatedWait::SimulatedWait;

    void reportError(const char* /*text*/) override { lockFree.push_back(isLockFree()); }
    bool isLockFree() {
        const bool isFree = mHandleLock.tryLock();
        if (isFree) {
            mHandleLock.unlock();
        }
        return isFree;
    }

    std::vector<bool> lockFree;
};

TEST_F(StallRounds, TheLockIsHeldInARoundAndNotBetweenRounds) {
    LockWatcher exec({".*", 500, timeFlag | report});
    accounting.setFixed({});
    exec.run(/*count=*/2, [&](size_t) { exec.lockFree.push_back(exec.isLockFree()); });
    EXPECT_EQ(exec.lockFree, (std::vector<bool>{true, false, true}));
}

}  // namespace
