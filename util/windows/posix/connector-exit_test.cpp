// The end of a process by a signal, and what a process was started by.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/allocationcount.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/childrecord.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "util/windows/cygwinconnector.h"

namespace {

using cygwin::connector;
using testing::ExitedWithCode;
using namespace testing_support;

constexpr int failureCode = POSIXPROVIDER_NO_TEXT;
constexpr uint32_t knownMagic = testing_support::knownMagics[0];

/// Runs in a child, with or without a thread that handles SIGTERM.
[[noreturn]] void exitWith(int exitCode, uint32_t signal, bool hasThread) {
    const PosixProvider provider;
    connector c(embeddingOf(provider));
    if (hasThread) {
        c.start_signal_thread({{POSIXPROVIDER_SIGTERM, [](int) {}}});
    }
    c.exit_with_signal(exitCode, signal);
}

TEST(ExitWithSignalDeathTest, TheProcessDiesOfTheSignal) {
    for (const bool hasThread : {false, true}) {
        EXPECT_EXIT(exitWith(3, POSIXPROVIDER_SIGTERM, hasThread),
                    ExitedWithCode(128 + POSIXPROVIDER_SIGTERM), "^$");
    }
}

TEST(ExitWithSignalDeathTest, ASignalThatDoesNotKillGivesTheExitCode) {
    EXPECT_EXIT(
        {
            PosixProvider provider;
            provider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
            connector(embeddingOf(provider)).exit_with_signal(3, POSIXPROVIDER_SIGCHLD);
        },
        ExitedWithCode(3), "^Failed to raise signal 27; instead exiting with code 3\r?\n");
}

TEST(ExitWithSignalDeathTest, NoSignalHasItsNumber) {
    EXPECT_EQ(connector::no_signal, 0x80000000U);
}

TEST(ExitWithSignalDeathTest, WithoutASignalTheProcessExitsAtOnce) {
    for (const bool hasThread : {false, true}) {
        EXPECT_EXIT(exitWith(4, connector::no_signal, hasThread), ExitedWithCode(4), "^$");
    }
}

TEST(ExitWithSignalDeathTest, AStopThatFailsIsReportedFirst) {
    EXPECT_EXIT(
        {
            PosixProvider provider;
            connector c(embeddingOf(provider));
            provider.failNext(POSIXPROVIDER_MUTEX_LOCK, failureCode);
            c.exit_with_signal(5, connector::no_signal);
        },
        ExitedWithCode(5), "^vrpsx::mutex::lock: error 9999\r?\n");
}

/// What the process would have exited with.
struct Exited {
    int code;
    size_t allocations;
};

int throwExit(vrpsx::raw::system*, int code) {
    throw Exited{code, testing_support::allocationCount()};
}

int gSwitches = 0;

BOOL WINAPI countSwitch() {
    ++gSwitches;
    return FALSE;
}

TEST(ExitWithSignalTest, ItRaises32TimesAndExitsWithoutTheHeap) {
    const testing_support::ReplacedCall<BOOL WINAPI()> call("SwitchToThread", &countSwitch);
    gSwitches = 0;
    PosixProvider provider;
    provider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
    {
        testing_support::PatchedSystem patched(provider);
        patched.table.exit = &throwExit;
        connector c(embeddingOf(provider));
        static_cast<void>(c.last_error());
        testing::internal::CaptureStderr();
        const size_t before = testing_support::allocationCount();
        try {
            c.exit_with_signal(3, POSIXPROVIDER_SIGCHLD);
        } catch (const Exited& exited) {
            EXPECT_EQ(exited.code, 3);
            EXPECT_EQ(exited.allocations, before);
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Failed to raise signal 27; instead exiting with code 3\n");
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_KILL), 32);
        EXPECT_EQ(provider.sleeps(),
                  std::vector<PosixProvider::Time>(32, PosixProvider::Time{0, 100'000'000}));
        EXPECT_EQ(gSwitches, 32) << "others run before each sleep";
    }
    provider.expectClean();
}

TEST(ExitWithSignalTest, ItRaises32TimesATenthOfASecondApart) {
    PosixProvider provider;
    provider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
    {
        connector c(embeddingOf(provider));
        provider.fail(POSIXPROVIDER_SYSTEM_NANOSLEEP, 32, failureCode, /*withResult=*/false);
        EXPECT_THROW(c.exit_with_signal(3, POSIXPROVIDER_SIGCHLD), vrpsx::system_exception_t);
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_KILL), 32);
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_NANOSLEEP), 32);
        ASSERT_FALSE(provider.sleeps().empty());
        for (const PosixProvider::Time& sleep : provider.sleeps()) {
            EXPECT_EQ(sleep, (PosixProvider::Time{0, 100'000'000}));
        }
    }
    provider.expectClean();
}

TEST(ExitWithSignalTest, WhatFailsIsThrownAndTheProcessGoesOn) {
    const struct {
        posixprovider_entry entry;
        int unblockings;  ///< the default disposition comes first
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_SYSTEM_SIGACTION_INIT, 0, "vrpsx::system::sigaction_init: error 9999"},
        {POSIXPROVIDER_SYSTEM_SIGACTION, 0, "vrpsx::system::sigaction: error 9999"},
        {POSIXPROVIDER_SYSTEM_SIGSET_INIT, 0, "vrpsx::system::sigset_init: error 9999"},
        {POSIXPROVIDER_SIGSET_ADD, 0, "vrpsx::sigset::add: error 9999"},
        {POSIXPROVIDER_SYSTEM_THREAD_SIGMASK, 1, "vrpsx::system::thread_sigmask: error 9999"},
        {POSIXPROVIDER_SYSTEM_KILL, 1, "vrpsx::system::kill: error 9999"},
        {POSIXPROVIDER_SYSTEM_NANOSLEEP, 1, "vrpsx::system::nanosleep: error 9999"},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        {
            connector c(embeddingOf(provider));
            provider.failNext(row.entry, failureCode);
            try {
                c.exit_with_signal(3, POSIXPROVIDER_SIGCHLD);
            } catch (const vrpsx::system_exception_t& failure) {
                EXPECT_STREQ(failure.what(), row.text);
                EXPECT_EQ(failure.code, failureCode);
            }
        }
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_SIGMASK), row.unblockings) << row.text;
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_EXIT), 0);
        provider.expectClean();
    }
}

TEST(ExitWithSignalTest, TheSignalGetsItsDefaultDispositionAndIsUnblocked) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    const vrpsx::embedding e = embeddingOf(provider);
    vrpsx::with_sigset(e, [&e](const vrpsx::sigset& signals) {
        signals.add(POSIXPROVIDER_SIGCHLD);
        e.thread_sigmask(e.block_signals(), signals);
    });
    vrpsx::with_sigaction(e, [&e](const vrpsx::sigaction& action) {
        action.set_handler(POSIXPROVIDER_IGNORE_DISPOSITION);
        e.sigaction(POSIXPROVIDER_SIGCHLD, action);
    });
    EXPECT_TRUE(provider.isBlocked(POSIXPROVIDER_SIGCHLD));
    EXPECT_EQ(provider.disposition(POSIXPROVIDER_SIGCHLD), POSIXPROVIDER_IGNORE_DISPOSITION);
    provider.failNext(POSIXPROVIDER_SYSTEM_KILL, failureCode);
    EXPECT_THROW(c.exit_with_signal(3, POSIXPROVIDER_SIGCHLD), vrpsx::system_exception_t);
    EXPECT_FALSE(provider.isBlocked(POSIXPROVIDER_SIGCHLD));
    EXPECT_EQ(provider.disposition(POSIXPROVIDER_SIGCHLD), POSIXPROVIDER_DEFAULT_DISPOSITION);
}

ChildRecord gRecord;

void WINAPI giveRecord(STARTUPINFOA* info) {
    *info = {};
    info->lpReserved2 = gRecord.data();
    info->cbReserved2 = static_cast<WORD>(gRecord.size());
}

TEST(InvokedFromCygwinTest, TheFirstAnswerStaysAndADescriptionLooksAnew) {
    const PosixProvider provider;
    const connector c(embeddingOf(provider));
    EXPECT_FALSE(cygwin::invoked_from_cygwin());
    gRecord = newerRecord(29, knownMagic);
    const testing_support::ReplacedCall<void WINAPI(STARTUPINFOA*)> call("GetStartupInfoA",
                                                                         &giveRecord);
    EXPECT_EQ(c.describe(), "version 1.7.35.\nInvoked from a cygwin process.");
    EXPECT_FALSE(cygwin::invoked_from_cygwin());
}

/// Returns what a child prints that was started with this record.
std::string childsAnswer(const ChildRecord& record) {
    testing_support::ChildRun run;
    run.program = testing_support::testProgramFolder() / "cygwinchild.exe";
    run.startupRecord = record;
    const testing_support::ChildResult result = testing_support::runChild(run);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.exitCode, 0U);
    std::string text = result.output;
    std::erase(text, '\r');
    return text;
}

/// The child's C runtime treats the first word of the older layout as its own count.
ChildRecord olderRecordOfNoFiles(size_t size, uint32_t magic) {
    ChildRecord record = testing_support::olderRecord(size, magic);
    testing_support::putWord(record, 0, 0);
    return record;
}

TEST(InvokedFromCygwinTest, EachKnownReleaseIsKnownInBothLayouts) {
    for (const uint32_t magic : testing_support::knownMagics) {
        const char* const answer = "yes yes version 1.7.35.\nInvoked from a cygwin process.";
        EXPECT_EQ(childsAnswer(newerRecord(100, magic)), answer) << magic;
        EXPECT_EQ(childsAnswer(olderRecordOfNoFiles(100, magic)), answer) << magic;
    }
}

TEST(InvokedFromCygwinTest, AnUnknownReleaseIsTakenAndNamed) {
    const std::string before =
        "yes yes version 1.7.35.\nInvoked from a cygwin process with unknown CHILD_INFO_MAGIC ";
    EXPECT_EQ(childsAnswer(newerRecord(29, 0xABCDEF)), before + "0xabcdef.");
    EXPECT_EQ(childsAnswer(newerRecord(29, 0)), before + "0x0.");
    EXPECT_EQ(childsAnswer(olderRecordOfNoFiles(17, 0xFFFFFFFF)), before + "0xffffffff.");
    EXPECT_EQ(childsAnswer(olderRecordOfNoFiles(28, 1)), before + "0x1.");
}

TEST(InvokedFromCygwinTest, OtherRecordsAreNotCygwins) {
    const char* const answer = "no no version 1.7.35.\n";
    EXPECT_EQ(childsAnswer({}), answer);
    EXPECT_EQ(childsAnswer(newerRecord(28, knownMagic)), answer);
    EXPECT_EQ(childsAnswer(olderRecordOfNoFiles(16, knownMagic)), answer);
    EXPECT_EQ(childsAnswer(ChildRecord(64, 0)), answer);
}

}  // namespace
