// The class: a command, its fields, and the functions that run no command.

#include "util/windows/exec-win.h"

#include <array>
#include <bit>
#include <cstddef>
#include <iterator>
#include <list>
#include <new>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/consolebreak-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/eventually.h"
#include "testing/processes/startedchild-win.h"
#include "testing/processes/testedexec-win.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/threads/boundedthread.h"
#include "util/windows/cygwinconnector.h"

namespace {

using namespace testing_support;

using Rules = std::list<Exec::StallRule>;
using Texts = std::vector<std::string>;

std::pair<int, unsigned> limitsOf(Exec& exec) {
    std::pair<int, unsigned> limits;
    exec.getOutputLimits(&limits.first, &limits.second);
    return limits;
}

TEST(ExecTest, ModesFlagsAndResultsHaveTheirNumbers) {
    EXPECT_EQ(streamOutput, 0);
    EXPECT_EQ(streamError, 1);
    EXPECT_EQ(streamFile, 2);
    EXPECT_EQ(streamAppend, 3);
    EXPECT_EQ(watchTime, 1U);
    EXPECT_EQ(watchIo, 2U);
    EXPECT_EQ(reportOnly, 4U);
    EXPECT_EQ(Exec::noPid, 0xffffffffU);
    EXPECT_EQ(Exec::noSignal, 0x80000000U);
    EXPECT_EQ(Exec::failureCode, 1);
    EXPECT_EQ(Exec::notFoundCode, 255);
}

TEST(ExecTest, ACommandIsCapturedAndNotRedirectedByDefault) {
    const Exec::RunInfo info;
    EXPECT_EQ(info.mProgram, "");
    EXPECT_EQ(info.mDirectArgv, Texts());
    EXPECT_EQ(info.mAlternateArgv, Texts());
    EXPECT_EQ(info.mStdinFile, "");
    EXPECT_EQ(info.mStdoutFile, "");
    EXPECT_EQ(info.mStderrFile, "");
    EXPECT_EQ(info.mStdoutMode, streamOutput);
    EXPECT_EQ(info.mStderrMode, streamError);
    EXPECT_FALSE(info.mMergeOutput);
    EXPECT_TRUE(info.mCaptureOutput);
    EXPECT_FALSE(info.mUtf16Output);
    EXPECT_FALSE(info.mCygwinCommand);
}

TEST(ExecTest, ClearedRedirectionsAreTheDefaultAndTheRestStays) {
    Exec::RunInfo info = {.mProgram = "p",
                          .mDirectArgv = {"d"},
                          .mAlternateArgv = {"a"},
                          .mStdinFile = "i",
                          .mStdoutFile = "o",
                          .mStderrFile = "e",
                          .mStdoutMode = streamAppend,
                          .mStderrMode = streamFile,
                          .mMergeOutput = true,
                          .mCaptureOutput = false,
                          .mUtf16Output = true,
                          .mCygwinCommand = true};
    info.clearRedirections();
    EXPECT_EQ(info.mStdinFile, "");
    EXPECT_EQ(info.mStdoutFile, "");
    EXPECT_EQ(info.mStderrFile, "");
    EXPECT_EQ(info.mStdoutMode, streamOutput);
    EXPECT_EQ(info.mStderrMode, streamError);
    EXPECT_EQ(info.mProgram, "p");
    EXPECT_EQ(info.mDirectArgv, Texts({"d"}));
    EXPECT_EQ(info.mAlternateArgv, Texts({"a"}));
    EXPECT_TRUE(info.mMergeOutput);
    EXPECT_FALSE(info.mCaptureOutput);
    EXPECT_TRUE(info.mUtf16Output);
    EXPECT_TRUE(info.mCygwinCommand);
}

TEST(ExecTest, ANewObjectRunsNothingAndKnowsNothing) {
    TestedExec exec;
    EXPECT_EQ(exec.mPid, Exec::noPid);
    EXPECT_FALSE(exec.mAborted);
    EXPECT_TRUE(exec.stallRules().empty());
    EXPECT_EQ(exec.currentRule(), nullptr);
    EXPECT_EQ(exec.mJobPattern, "");
    EXPECT_EQ(exec.stallCountdown(), 0);
    EXPECT_EQ(exec.log(), "");
    EXPECT_EQ(limitsOf(exec), std::pair(5000000, 5000U));
    EXPECT_EQ(exec.mChildSignal, Exec::noSignal);
    EXPECT_EQ(exec.mJob.get(), nullptr);
    EXPECT_EQ(exec.lastCounters(), std::tuple(0, 0, 0U, 0U, 0U));
    EXPECT_EQ(exec.mPidBufferSize, 1024U);
    EXPECT_EQ(exec.cygwinVersion(), std::tuple(0, 0));
    EXPECT_EQ(exec.connector(), nullptr);
    EXPECT_TRUE(exec.mPathCache.empty());
    EXPECT_EQ(exec.mPathCacheHits, 0U);
    EXPECT_EQ(exec.mPathCacheMisses, 0U);
}

TEST(ExecTest, AResetForgetsCommandsRulesAndTheConnector) {
    PosixProvider provider;
    {
        cygwin::connector connector(testing_support::embeddingOf(provider));
        TestedExec exec;
        exec.setCygwinConnector(&connector);
        exec.mJobPattern = "b";
        exec.setStallRules({{"a", 1, watchTime}, {"b", 2, watchIo}});
        ASSERT_NE(exec.currentRule(), nullptr);
        exec.mPid = 5;
        exec.mAborted = true;
        exec.mChildSignal = 9;
        exec.mPathCache["/x"] = "c:\\x";
        exec.mPathCacheHits = 3;
        exec.mPathCacheMisses = 4;

        exec.reset();
        EXPECT_EQ(exec.currentRule(), nullptr);
        EXPECT_EQ(exec.mJobPattern, "");
        EXPECT_TRUE(exec.stallRules().empty());
        EXPECT_EQ(exec.mPid, Exec::noPid);
        EXPECT_FALSE(exec.mAborted);
        EXPECT_EQ(exec.mChildSignal, Exec::noSignal);
        EXPECT_EQ(exec.cygwinVersion(), std::tuple(0, 0));
        EXPECT_EQ(exec.connector(), nullptr);
        EXPECT_TRUE(exec.mPathCache.empty());
        EXPECT_EQ(exec.mPathCacheHits, 0U);
        EXPECT_EQ(exec.mPathCacheMisses, 0U);
    }
    provider.expectClean();
}

TEST(ExecTest, AResetKeepsTheLogTheJobTheLimitsAndTheLastCounters) {
    TestedExec exec;
    exec.logStream() << "log";
    *exec.mJob.receive() = CreateJobObjectA(nullptr, nullptr);
    HANDLE job = exec.mJob.get();
    exec.setOutputLimits(7, 6);
    exec.lastCounters() = std::tuple(1, 2, 3U, 4U, 5U);
    exec.stallCountdown() = 8;
    exec.setPidBufferSize(9);

    exec.reset();
    EXPECT_EQ(exec.log(), "log");
    EXPECT_EQ(exec.mJob.get(), job);
    EXPECT_EQ(limitsOf(exec), std::pair(7, 6U));
    EXPECT_EQ(exec.lastCounters(), std::tuple(1, 2, 3U, 4U, 5U));
    EXPECT_EQ(exec.stallCountdown(), 8);
    EXPECT_EQ(exec.mPidBufferSize, 9U);
}

TEST(ExecTest, OutputLimitsAreWhatWasSetLast) {
    TestedExec exec;
    EXPECT_EQ(limitsOf(exec), std::pair(5000000, 5000U));
    exec.setOutputLimits(-1, 0xffffffff);
    EXPECT_EQ(limitsOf(exec), std::pair(-1, 0xffffffffU));
}

TEST(ExecTest, ABufferForPidsHasAtMost1024Bytes) {
    TestedExec exec;
    struct Row {
        uint32_t size;
        uint32_t result;
    };
    for (const Row& row : {Row{0, 0}, Row{1025, 0}, Row{1, 1}, Row{0xffffffff, 1}, Row{1024, 1024},
                           Row{1023, 1023}}) {
        exec.setPidBufferSize(row.size);
        EXPECT_EQ(exec.mPidBufferSize, row.result) << row.size;
    }
}

TEST(ExecTest, WithoutAJobNoNewRuleIsCurrent) {
    TestedExec exec;
    exec.stallCountdown() = 5;
    const Rules rules = {{"", 1, watchTime}, {"b", 2, watchIo}};
    exec.setStallRules(rules);
    EXPECT_EQ(exec.currentRule(), nullptr);
    EXPECT_EQ(exec.stallCountdown(), 0);
    ASSERT_EQ(exec.stallRules().size(), 2U);
    EXPECT_EQ(exec.stallRules().back().mPattern, "b");
    EXPECT_EQ(exec.stallRules().back().mTimeout, 2);
    EXPECT_EQ(exec.stallRules().back().mFlags, watchIo);
}

TEST(ExecTest, TheFirstNewRuleOfTheJobsPatternIsCurrent) {
    TestedExec exec;
    exec.mJobPattern = "b";
    const Rules rules = {
        {"a", 1, watchTime}, {"B", 2, watchTime}, {"b", 3, watchTime}, {"b", 4, watchTime}};
    exec.setStallRules(rules);
    EXPECT_EQ(exec.stallCountdown(), 3);
    EXPECT_EQ(exec.currentRule(), &*std::next(exec.stallRules().begin(), 2));
    EXPECT_EQ(exec.mJobPattern, "b");
}

TEST(ExecTest, WithoutARuleOfTheJobsPatternTheTimeOfTheOldOneStays) {
    TestedExec exec;
    exec.mJobPattern = "b";
    exec.setStallRules({{"b", 3000, watchTime}});
    exec.stallCountdown() = 500;
    exec.setStallRules({{"bb", 7000, watchTime}});
    EXPECT_EQ(exec.currentRule(), nullptr);
    EXPECT_EQ(exec.stallCountdown(), 3000);
    EXPECT_EQ(exec.mJobPattern, "b");
    exec.setStallRules({});
    EXPECT_EQ(exec.stallCountdown(), 0);
    EXPECT_TRUE(exec.stallRules().empty());
}

TEST(ExecTest, RulesThatReplaceThemselvesAreTheSame) {
    TestedExec exec;
    exec.mJobPattern = "b";
    exec.setStallRules({{"a", 1, watchTime}, {"b", 2, watchTime}});
    exec.setStallRules(exec.stallRules());
    EXPECT_EQ(exec.stallRules().size(), 2U);
    EXPECT_EQ(exec.currentRule(), &exec.stallRules().back());
}

TEST(ExecTest, WhatChangesTheRulesWaitsForTheLock) {
    PosixProvider provider;
    cygwin::connector connector(testing_support::embeddingOf(provider));
    TestedExec exec;
    exec.mJobPattern = "b";
    std::optional<MutexLock> lock(exec.mHandleLock);
    std::vector<BoundedThread> threads;
    threads.emplace_back([&exec] { exec.setStallRules({{"b", 1, watchTime}}); });
    threads.emplace_back([&exec] { exec.reset(); });
    threads.emplace_back([&] { exec.setCygwinConnector(&connector); });
    // Without a lock, a call would go unnoticed only if it took longer than this; with a lock, no
    // call can get through.
    Sleep(20);
    EXPECT_TRUE(exec.stallRules().empty());
    EXPECT_EQ(exec.mJobPattern, "b");
    EXPECT_EQ(exec.connector(), nullptr);
    lock.reset();
    for (BoundedThread& thread : threads) {
        thread.join();
    }
}

TEST(ExecTest, AConnectorGivesItsVersionAndNoneGivesZeros) {
    PosixProvider provider("2.11.1(0.329/5/3)");
    {
        cygwin::connector connector(testing_support::embeddingOf(provider));
        TestedExec exec;
        exec.setCygwinConnector(&connector);
        EXPECT_EQ(exec.connector(), &connector);
        EXPECT_EQ(exec.cygwinVersion(), std::tuple(2011, 1));
        exec.setCygwinConnector(nullptr);
        EXPECT_EQ(exec.connector(), nullptr);
        EXPECT_EQ(exec.cygwinVersion(), std::tuple(0, 0));
    }
    provider.expectClean();
}

/// The parts of a pointer to a virtual function.
struct OperationPointer {
    size_t tableOffset;  ///< plus 1, to distinguish it from a function's address
    ptrdiff_t adjustment;
};

template <class Operation>
size_t placeOf(Operation operation) {
    return (std::bit_cast<OperationPointer>(operation).tableOffset - 1) / sizeof(void*);
}

/// Records the calls of the reserved functions, and of the destructor.
class NotingExec : public Exec {
public:
    explicit NotingExec(Texts& notes) : mNotes(notes) {}
    ~NotingExec() override { mNotes.emplace_back("destructor"); }
    void reserved1() override { mNotes.emplace_back("reserved1"); }
    void reserved2() override { mNotes.emplace_back("reserved2"); }
    void reserved3() override { mNotes.emplace_back("reserved3"); }

    /// Calls the function at a place of the object's table, which must have no parameters.
    void callAt(size_t place) {
        const OperationPointer pointer{place * sizeof(void*) + 1, 0};
        (this->*std::bit_cast<void (Exec::*)()>(pointer))();
    }

private:
    Texts& mNotes;
};

// A derived class in another module calls the functions by their places.
TEST(ExecTest, TheOperationsKeepTheirPlaces) {
    EXPECT_EQ(placeOf(&Exec::runCommand), 2U);
    EXPECT_EQ(placeOf(&Exec::abort), 3U);
    EXPECT_EQ(placeOf(&Exec::reset), 4U);
    EXPECT_EQ(placeOf(&Exec::setStallRules), 6U);
    EXPECT_EQ(placeOf(&Exec::setOutputLimits), 8U);
    EXPECT_EQ(placeOf(&Exec::getOutputLimits), 9U);
    EXPECT_EQ(placeOf(&Exec::log), 10U);
    EXPECT_EQ(placeOf(&Exec::reportError), 11U);
    Texts notes;
    auto* exec = new NotingExec(notes);
    for (const size_t place : {5U, 7U, 12U}) {
        exec->callAt(place);
    }
    // The destructor has the first two places: one that only destroys, and one that also frees the
    // memory.
    exec->callAt(1);
    EXPECT_EQ(notes, Texts({"reserved1", "reserved2", "reserved3", "destructor"}));
    notes.clear();
    alignas(NotingExec) std::array<std::byte, sizeof(NotingExec)> memory;
    (new (memory.data()) NotingExec(notes))->callAt(0);
    EXPECT_EQ(notes, Texts({"destructor"}));
}

TEST(ExecTest, TheReservedOperationsDoNothing) {
    TestedExec exec;
    exec.mJobPattern = "b";
    exec.setStallRules({{"b", 3000, watchTime}});
    exec.mPid = 4711;
    exec.mAborted = true;
    exec.logStream() << "log";
    exec.mChildSignal = 15;
    exec.setOutputLimits(7, 6);
    exec.reserved1();
    exec.reserved2();
    exec.reserved3();
    EXPECT_EQ(exec.mJobPattern, "b");
    EXPECT_EQ(exec.stallCountdown(), 3000);
    EXPECT_EQ(exec.currentRule(), &exec.stallRules().front());
    EXPECT_EQ(exec.mPid, 4711U);
    EXPECT_TRUE(exec.mAborted);
    EXPECT_EQ(exec.log(), "log");
    EXPECT_EQ(exec.childSignal(), 15U);
    EXPECT_EQ(limitsOf(exec), std::pair(7, 6U));
    EXPECT_EQ(exec.errors(), Texts());
    exec.mPid = Exec::noPid;
}

TEST(ExecTest, TheSignalOfTheLastChildCanBeAskedFor) {
    TestedExec exec;
    EXPECT_EQ(exec.childSignal(), Exec::noSignal);
    exec.mChildSignal = 15;
    EXPECT_EQ(exec.childSignal(), 15U);
}

TEST(ExecTest, AFailureIsALineOnStandardError) {
    Exec exec;
    testing::internal::CaptureStderr();
    exec.reportError("a failure");
    exec.reportError("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a failure\n\n");
}

TEST(ExecTest, AReportGoesAfterTheFailuresAndToTheOperation) {
    TestedExec exec;
    std::string failures = "before ";
    exec.report("one\n", &failures);
    exec.report("two", nullptr);
    EXPECT_EQ(failures, "before one\n");
    EXPECT_EQ(exec.errors(), Texts({"one\n", "two"}));
}

TEST(ExecTest, AReportOfTheLastErrorHasItsMessage) {
    const SystemMessage message(L"It can't be.\r\n");
    TestedExec exec;
    std::string failures = "before ";
    SetLastError(ERROR_ACCESS_DENIED);
    exec.reportWithLastError("The thing", &failures);
    EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_ACCESS_DENIED));
    SetLastError(ERROR_INVALID_HANDLE);
    exec.reportWithLastError("Another", nullptr);
    EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(failures, "before The thing: It can't be\n");
    EXPECT_EQ(exec.errors(), Texts({"The thing: It can't be\n", "Another: It can't be\n"}));
}

TEST(ExecTest, TheEndOfAnObjectBreaksItsCommandAndDoesNotWaitForIt) {
    const TempFolder folder;
    const StartedChild child(
        {.actions = {"ignore-break", "make", folder.utf8("ready"), "sleep", "60000"}});
    ASSERT_TRUE(eventually([&folder] { return exists(folder.path() / "ready"); }));
    const ConsoleBreaks breaks;
    {
        TestedExec exec;
        exec.mPid = child.pid();
    }
    EXPECT_EQ(breaks.calls(), std::vector<ConsoleBreaks::Call>({{CTRL_BREAK_EVENT, child.pid()}}));
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, child.pid());
    EXPECT_EQ(WaitForSingleObject(process, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    CloseHandle(process);
}

TEST(ExecTest, TheEndOfAnIdleObjectBreaksNothing) {
    const ConsoleBreaks breaks;
    { const TestedExec exec; }
    EXPECT_TRUE(breaks.calls().empty());
}

TEST(ExecTest, TheEndOfAnObjectClosesItsJob) {
    std::optional<TestedExec> exec(std::in_place);
    *exec->mJob.receive() = CreateJobObjectA(nullptr, nullptr);
    HANDLE job = exec->mJob.get();
    DWORD flags = 0;
    ASSERT_TRUE(GetHandleInformation(job, &flags));
    exec.reset();
    EXPECT_FALSE(GetHandleInformation(job, &flags));
}

}  // namespace
