// Aborts, without and with a POSIX side.

#include <cstddef>
#include <cstdint>
#include <ios>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/badaddress.h"
#include "testing/calls/debugoutput-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/processes/execwait-win.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "util/windows/cygwinconnector.h"

namespace {

using namespace testing_support;

const std::string abortedText = "aborted by call to Exec::abort\n";

/// The message of a stream that goes bad.
std::string streamFailure() {
    std::ostringstream stream;
    stream.exceptions(std::ios::failbit);
    try {
        stream.setstate(std::ios::failbit);
    } catch (const std::ios::failure& e) {
        return e.what();
    }
    return "no failure";
}

std::string waitingFor(const std::string& pid) { return "\twaiting for child pid " + pid + "\n"; }
std::string breakSent(const std::string& pid) {
    return "\tsending break event to Windows pid " + pid + "\n";
}

class AbortTest : public testing_support::ExecWaitTest {
protected:
    /// Runs a command that is aborted at the first wake, after it has made the file "ready".
    CommandResult runAborted(const std::string& line, const std::string& directory = {}) {
        remove("ready");
        atFirstWake("ready", [this] {
            notePid();
            abort();
        });
        return exec.run(line, directory);
    }
    void notePid() {
        number = exec.mPid;
        pid = std::to_string(number);
    }
    /// The start of the log of a run in the test's folder.
    std::string logHead() const { return "\twd: " + folder.utf8(); }
    /// The log line for a command that was ended by force.
    std::string forced(const std::string& line) const {
        return "\tExec::waitProcessExit: child " + pid + " didn't exit (" + line + ")\n";
    }
    std::string sleeping() const { return waitedChild("make " + file("ready") + " sleep 60000"); }
    std::string stubborn() const {
        return waitedChild("ignore-break make " + file("ready") + " sleep 60000");
    }
    std::vector<ConsoleBreaks::Call> oneBreak() const { return {{CTRL_BREAK_EVENT, number}}; }

    DWORD number = 0;
    std::string pid;
};

TEST_F(AbortTest, ACommandThatRunsGetsABreak) {
    const CommandResult result =
        runAborted(waitedChild("say x complain y make " + file("ready") + " sleep 60000"));
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(result.output, "") << "nothing is read of an aborted command";
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(exec.errors().empty());
    EXPECT_EQ(breaks.calls(), oneBreak());
    EXPECT_EQ(exec.mPid, Exec::noPid);
}

TEST_F(AbortTest, TheLogOfAnAbortedCommand) {
    runAborted(stubborn(), folder.utf8());
    EXPECT_EQ(exec.log(),
              logHead() + waitingFor(pid) + abortedText + breakSent(pid) + forced(stubborn()));
}

TEST_F(AbortTest, AbortsOfOneCommandAddUpAndGiveNoMoreTime) {
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake == 1) {
            await("ready");
            notePid();
        }
        abort();
        return WAIT_TIMEOUT;
    });
    EXPECT_TRUE(exec.run(stubborn(), folder.utf8()).aborted);
    const std::string each = abortedText + breakSent(pid);
    EXPECT_EQ(wakes.timeouts(), 3U);
    EXPECT_EQ(exec.log(), logHead() + waitingFor(pid) + each + each + each + forced(stubborn()));
}

TEST_F(AbortTest, BeforeARunItIsALineAndAFlag) {
    abort();
    EXPECT_EQ(exec.log(), abortedText);
    EXPECT_TRUE(exec.mAborted);
    EXPECT_TRUE(breaks.calls().empty());
}

TEST_F(AbortTest, ACommandAfterAnAbortIsStartedAndBrokenAtOnce) {
    abort();
    wakes.onTimeout([](size_t) { return QuickWakes::awaitEnd; });
    const CommandResult result =
        exec.run(waitedChild("sleep 60000 make " + file("end")), folder.utf8());
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
    ASSERT_EQ(breaks.calls().size(), 1U);
    const std::string child = std::to_string(breaks.calls().front().group);
    EXPECT_EQ(exec.log(), logHead() + abortedText + breakSent(child) + waitingFor(child));
    EXPECT_FALSE(isThere("end"));
}

TEST_F(AbortTest, AfterARunItIsALineAndAFlag) {
    EXPECT_EQ(exec.run(waitedChild("say x exit 9")).code, 9);
    const std::string log = exec.log();
    abort();
    EXPECT_EQ(exec.log(), log + abortedText);
    EXPECT_TRUE(exec.mAborted);
    EXPECT_TRUE(breaks.calls().empty());
}

TEST_F(AbortTest, ItStaysUntilAReset) {
    EXPECT_TRUE(runAborted(sleeping()).aborted);
    EXPECT_TRUE(exec.mAborted);
    for (int run = 0; run < 2; ++run) {
        const CommandResult next = exec.run(waitedChild("sleep 60000"));
        EXPECT_TRUE(next.aborted);
        EXPECT_EQ(next.code, Exec::failureCode);
    }
    exec.reset();
    EXPECT_FALSE(exec.mAborted);
    wakes.onTimeout([](size_t) { return QuickWakes::awaitEnd; });
    const CommandResult last = exec.run(waitedChild("say x exit 9"));
    EXPECT_FALSE(last.aborted);
    EXPECT_EQ(last.code, 9);
    EXPECT_EQ(last.output, "x");
}

TEST_F(AbortTest, ACommandThatEndsByItselfAfterAnAbortCountsAsAborted) {
    wakes.onTimeout([this](size_t) {
        await("ready");
        abort();
        make("go");
        return QuickWakes::awaitEnd;
    });
    const CommandResult result = exec.run(
        waitedChild("ignore-break make " + file("ready") + " await " + file("go") + " exit 0"));
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(exec.log().find("exit code"), std::string::npos);
}

TEST_F(AbortTest, ABreakThatFailsIsNotLookedAt) {
    const ReplacedCall<decltype(GenerateConsoleCtrlEvent)> refused(
        "GenerateConsoleCtrlEvent", [](DWORD, DWORD) -> BOOL {
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
        });
    EXPECT_TRUE(runAborted(sleeping(), folder.utf8()).aborted);
    EXPECT_TRUE(exec.errors().empty());
    EXPECT_EQ(exec.log(),
              logHead() + waitingFor(pid) + abortedText + breakSent(pid) + forced(sleeping()));
}

TEST_F(AbortTest, AnEndOfTheObjectBreaksTheChildThatItStillKnows) {
    {
        TestedExec other;
        other.mPid = 4711;
    }
    const TestedExec without;
    EXPECT_EQ(breaks.calls(), (std::vector<ConsoleBreaks::Call>{{CTRL_BREAK_EVENT, 4711}}));
}

TEST_F(AbortTest, WhatFailsAtTheEndOfTheObjectIsReportedToTheDebugger) {
    const DebugOutput debugger;
    {
        TestedExec other;
        other.mPid = 4711;
        // A log that can't be written, and throws an exception.
        other.logStream().setstate(std::ios::badbit);
        other.logStream().exceptions(std::ios::failbit);
    }
    EXPECT_EQ(debugger.texts(), std::vector<std::string>{streamFailure() + "\n"});
    EXPECT_TRUE(breaks.calls().empty());
}

/// Records the signals.
class SignalledExec : public TestedExec {
public:
    void abort(MutexLock& lock, int signal) override NB_REQUIRES(mHandleLock) {
        signals.push_back(signal);
        TestedExec::abort(lock, signal);
    }
    std::vector<int> signals;
};

TEST_F(AbortTest, ARunThatFindsAnAbortCallsItAgainWithSignal9) {
    SignalledExec other;
    other.mAborted = true;
    EXPECT_TRUE(other.run(waitedChild("sleep 60000")).aborted);
    EXPECT_EQ(other.signals, std::vector<int>{9});
}

using AbortDeathTest = AbortTest;

// Unchecked: the compiler refuses the wrong lock as well.
void abortWith(MutexLock& lock, Exec& exec) NB_NO_THREAD_SAFETY_ANALYSIS { exec.abort(lock, 9); }

TEST_F(AbortDeathTest, ALockOfAnotherMutexStopsTheProcess) {
    Mutex other;
    MutexLock lock(other);
    EXPECT_EXIT(abortWith(lock, exec), hasTouchedBadAddress,
                "assertion failed at .*: lock.check.mHandleLock.");
    TestedExec otherExec;
    MutexLock otherLock(otherExec.mHandleLock);
    EXPECT_EXIT(abortWith(otherLock, exec), hasTouchedBadAddress, "lock.check.mHandleLock.");
}

/// With a connection to a POSIX side.
class CygwinAbortTest : public AbortTest {
protected:
    CygwinAbortTest() { exec.setCygwinConnector(connector.get()); }
    ~CygwinAbortTest() override { exec.reset(); }

    /// Runs a command that ignores breaks and is aborted with SIGTERM at the first wake. If
    /// `cygwinPid` isn't -1, the POSIX side knows it as that process of that group.
    CommandResult runKnownAs(int64_t cygwinPid, int64_t group) {
        atFirstWake("ready", [this, cygwinPid, group] {
            notePid();
            if (cygwinPid != -1) {
                provider.addProcess(number, cygwinPid, group);
            }
            MutexLock lock(exec.mHandleLock);
            exec.abort(lock, POSIXPROVIDER_SIGTERM);
        });
        return exec.run(stubborn(), folder.utf8());
    }
    /// The log of a command that doesn't exit, with the lines of the abort.
    std::string log(const std::string& abortLines) const {
        return logHead() + waitingFor(pid) + abortedText + abortLines + forced(stubborn());
    }

    PosixProvider provider;
    std::unique_ptr<cygwin::connector> connector =
        std::make_unique<cygwin::connector>(embeddingOf(provider));
};

TEST_F(CygwinAbortTest, TheGroupOfAPosixProcessGetsTheSignalAndNoBreak) {
    const CommandResult result = runKnownAs(/*cygwinPid=*/77, /*group=*/55);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_EQ(provider.kills(), (std::vector<PosixProvider::Kill>{{-55, POSIXPROVIDER_SIGTERM}}));
    EXPECT_TRUE(breaks.calls().empty());
    EXPECT_EQ(exec.log(), log("\tsending a Cygwin signal to Cygwin pid/-pgid -55: Terminated\n"));
}

TEST_F(CygwinAbortTest, WithoutAGroupTheProcessItselfGetsIt) {
    provider.failNext(POSIXPROVIDER_SYSTEM_GETPGID, POSIXPROVIDER_NO_TEXT);
    runKnownAs(/*cygwinPid=*/77, /*group=*/55);
    EXPECT_EQ(provider.kills(), (std::vector<PosixProvider::Kill>{{77, POSIXPROVIDER_SIGTERM}}));
    EXPECT_TRUE(breaks.calls().empty());
    EXPECT_EQ(exec.log(), log("\tsending a Cygwin signal to Cygwin pid/-pgid 77: Terminated\n"));
}

TEST_F(CygwinAbortTest, AProcessThatThePosixSideDoesNotKnowGetsABreak) {
    EXPECT_TRUE(runKnownAs(/*cygwinPid=*/-1, /*group=*/-1).aborted);
    EXPECT_TRUE(provider.kills().empty());
    EXPECT_EQ(breaks.calls(), oneBreak());
    EXPECT_EQ(exec.log(), log(breakSent(pid)));
}

TEST_F(CygwinAbortTest, ASignalThatCannotBeSentIsLoggedAndABreakIs) {
    struct Row {
        int code;
        const char* words;
    };
    for (const Row& row : {Row{POSIXPROVIDER_NOT_PERMITTED, "Not the owner"},
                           Row{POSIXPROVIDER_NO_TEXT, "error 9999"}}) {
        remove("ready");
        const size_t before = breaks.calls().size();
        provider.failNext(POSIXPROVIDER_SYSTEM_KILL, row.code);
        EXPECT_TRUE(runKnownAs(/*cygwinPid=*/77, /*group=*/55).aborted);
        EXPECT_EQ(breaks.calls().size(), before + 1);
        EXPECT_EQ(breaks.calls().back(), oneBreak().front());
        EXPECT_EQ(exec.log(), log("\tsending a Cygwin signal to Cygwin pid/-pgid -55: Terminated\n"
                                  "\tfailed to send Cygwin signal: " +
                                  std::string(row.words) + "\n" + breakSent(pid)));
        exec.mAborted = false;
    }
}

TEST_F(CygwinAbortTest, WithoutAChildThePosixSideIsNotAsked) {
    abort();
    EXPECT_EQ(provider.calls(POSIXPROVIDER_INTERNALIZE_PID), 0);
    EXPECT_EQ(exec.log(), abortedText);
}

TEST_F(CygwinAbortTest, TheEndOfTheObjectSendsSignal9) {
    provider.addProcess(/*windowsPid=*/4711, /*pid=*/77, /*group=*/55);
    {
        TestedExec other;
        other.setCygwinConnector(connector.get());
        other.mPid = 4711;
    }
    EXPECT_EQ(provider.kills(), (std::vector<PosixProvider::Kill>{{-55, 9}}));
    EXPECT_TRUE(breaks.calls().empty());
}

}  // namespace
