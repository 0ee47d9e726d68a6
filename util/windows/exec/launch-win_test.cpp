// How a command is started: what CreateProcessW gets, and what happens around the call.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/beforeresume-win.h"
#include "testing/calls/consolebreak-win.h"
#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/numberedmessage.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/exec/environment-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

class ExecLaunchTest : public CommandTest {
protected:
    static std::string pidOf(const RecordedStarts& starts) {
        return std::to_string(starts.last().process.dwProcessId);
    }
};

TEST_F(ExecLaunchTest, ThePlainRunIsLogged) {
    const RecordedStarts starts;
    mExec->logStream() << "what was";
    const CommandResult result = mExec->run(execChild("say x"), mFolder.utf8());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(result.error, "");
    EXPECT_FALSE(result.aborted);
    // The first line has no end.
    EXPECT_EQ(mExec->log(),
              "\twd: " + mFolder.utf8() + "\twaiting for child pid " + pidOf(starts) + "\n");
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_EQ(mExec->mPid, Exec::noPid);
}

TEST_F(ExecLaunchTest, AMissingDirectoryIsThrownAfterTheResultsAreWritten) {
    const SystemMessage message(L"It can't be.");
    const std::string current = System::getcwd();
    const std::string directory = mFolder.utf8("none");
    Exec::RunInfo info = childInfo();
    std::string output = "before";
    std::string error = "before";
    bool aborted = true;
    try {
        mExec->runCommand(info, directory, nullptr, nullptr, &output, &error, &aborted);
        ADD_FAILURE();
    } catch (const NumberedRuntimeError& e) {
        EXPECT_EQ(e.code(), directoryNotEntered);
        EXPECT_STREQ(e.what(), "It can't be");
    }
    EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(output, "");
    EXPECT_EQ(error, "");
    EXPECT_FALSE(aborted);
    EXPECT_EQ(mExec->log(), "\twd: " + directory);
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_EQ(System::getcwd(), current);
    EXPECT_TRUE(isStartLockFree());
}

struct ConsoleOpening {
    std::string name;
    DWORD access, share;
    bool hasAttributes;
    DWORD disposition, flags;
    bool hasTemplate;
    bool operator==(const ConsoleOpening&) const = default;
};
bool gHasConsole = false;
std::vector<ConsoleOpening> gOpenings;

HANDLE WINAPI openConsole(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                          DWORD disposition, DWORD flags, HANDLE pattern) {
    gOpenings.push_back(
        {name, access, share, attributes != nullptr, disposition, flags, pattern != nullptr});
    return gHasConsole ? CreateEventW(nullptr, TRUE, FALSE, nullptr) : INVALID_HANDLE_VALUE;
}

TEST_F(ExecLaunchTest, TheFlagsDependOnTheConsoleAndTheJob) {
    const ReplacedCall<decltype(CreateFileA)> console("CreateFileA", &openConsole);
    struct Row {
        bool hasConsole;
        bool hasJob;
        DWORD flags;
    };
    constexpr DWORD always =
        CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP | CREATE_UNICODE_ENVIRONMENT;
    for (const Row& row : {Row{false, false, always | DETACHED_PROCESS}, Row{true, false, always},
                           Row{false, true, always | DETACHED_PROCESS | CREATE_BREAKAWAY_FROM_JOB},
                           Row{true, true, always | CREATE_BREAKAWAY_FROM_JOB}}) {
        gHasConsole = row.hasConsole;
        gOpenings.clear();
        mExec->mJobPattern = row.hasJob ? "x" : "";
        const RecordedStarts starts;
        EXPECT_EQ(mExec->run(execChild()).code, 0);
        EXPECT_EQ(starts.last().flags, row.flags);
        EXPECT_EQ(gOpenings,
                  std::vector<ConsoleOpening>({{"CONIN$", GENERIC_READ, FILE_SHARE_WRITE, false,
                                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, false}}));
    }
}

TEST_F(ExecLaunchTest, TheStartHasTheLineTheDirectoryAndInheritedHandles) {
    const RecordedStarts starts;
    const std::string line = execChild("say \xc3\xa4");
    EXPECT_EQ(mExec->run(line, mFolder.utf8()).output, "\xc3\xa4");
    ASSERT_EQ(starts.calls().size(), 1U);
    const RecordedStarts::Call& call = starts.last();
    EXPECT_EQ(call.program, (testing_support::testProgramFolder() / "execchild.exe").wstring());
    EXPECT_EQ(call.line, toWide(line));
    EXPECT_FALSE(call.hasAttributes);
    EXPECT_EQ(call.inherits, TRUE);
    EXPECT_EQ(call.directory, toWide(mFolder.utf8()));
    EXPECT_EQ(call.startup.cb, sizeof(STARTUPINFOW));
    EXPECT_EQ(call.startup.dwFlags, DWORD{STARTF_USESTDHANDLES});
    for (HANDLE handle :
         {call.startup.hStdInput, call.startup.hStdOutput, call.startup.hStdError}) {
        EXPECT_NE(handle, nullptr);
        EXPECT_NE(handle, INVALID_HANDLE_VALUE);
    }
}

TEST_F(ExecLaunchTest, AnEmptyDirectoryIsPassedAsNull) {
    const RecordedStarts starts;
    const CommandResult result = mExec->run(execChild("folder"), "");
    EXPECT_EQ(starts.last().directory, std::nullopt);
    EXPECT_EQ(starts.last().currentDirectory, toWide(result.output));
    EXPECT_TRUE(mExec->log().starts_with("\twd: \twaiting")) << mExec->log();
}

TEST_F(ExecLaunchTest, AnEnvironmentIsPassedUnlessItIsNullOrEmpty) {
    struct Row {
        const char* environment;
        std::optional<std::wstring> passed;
    };
    const Row rows[] = {
        {nullptr, std::nullopt},
        {"\0", std::nullopt},
        {"b=2\0a=\xc3\xa4\0", std::wstring(L"a=\xe4\0b=2\0", 8)},
    };
    for (const Row& row : rows) {
        const RecordedStarts starts;
        EXPECT_EQ(mExec->run(execChild(), "", row.environment).code, 0);
        EXPECT_EQ(starts.last().environment, row.passed);
    }
}

TEST_F(ExecLaunchTest, OnlyInsideTheStartAreDirectoryAndLockTheChilds) {
    const std::wstring before = toWide(System::getcwd());
    std::vector<bool> isFree;
    std::vector<std::string> directories;
    const RecordedStarts starts({}, [&] { isFree.push_back(isStartLockFree()); });
    const BeforeResume resumed([&](HANDLE thread) {
        isFree.push_back(isStartLockFree());
        directories.push_back(System::getcwd());
        EXPECT_EQ(thread, starts.last().process.hThread);
    });
    EXPECT_EQ(mExec->run(execChild(), mFolder.utf8()).code, 0);
    EXPECT_EQ(starts.last().currentDirectory, mFolder.path().wstring());
    EXPECT_EQ(directories, Texts({toUtf8(before)}));
    EXPECT_EQ(isFree, std::vector<bool>({false, true}));
}

TEST_F(ExecLaunchTest, NoChildIsKnownBeforeItRuns) {
    std::vector<uint32_t> pids;
    const BeforeResume resumed([&](HANDLE) { pids.push_back(mExec->mPid); });
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(pids, std::vector<uint32_t>({Exec::noPid, Exec::noPid}));
}

TEST_F(ExecLaunchTest, TheCountdownBeginsWhenTheChildRuns) {
    const BeforeResume resumed([&](HANDLE) { mExec->stallCountdown() = 1; });
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(mExec->stallCountdown(), 0);
    mExec->setStallRules({{".*execchild.*", 7000}});
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(mExec->stallCountdown(), 7000);
}

/// Records the calls of `abort`, and lets the child go on.
class PatientExec : public TestedExec {
public:
    void abort(MutexLock& lock, int signal) override NB_REQUIRES(mHandleLock) {
        EXPECT_TRUE(lock.check(mHandleLock));
        signals.push_back(signal);
        pids.push_back(mPid);
    }

    std::vector<int> signals;
    std::vector<uint32_t> pids;
};

TEST_F(ExecLaunchTest, OfAnAbortedCommandNoOutputIsRead) {
    const RecordedStarts starts;
    PatientExec exec;
    exec.mAborted = true;
    const CommandResult result = exec.run(execChild("say x complain y exit 3"));
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(exec.signals, std::vector<int>({9}));
    EXPECT_EQ(exec.pids, std::vector<uint32_t>({starts.last().process.dwProcessId}));
    EXPECT_EQ(exec.log().find("exit code"), std::string::npos);
    EXPECT_EQ(exec.mPid, Exec::noPid);
}

TEST_F(ExecLaunchTest, EveryRunIsAbortedUntilAReset) {
    PatientExec exec;
    exec.mAborted = true;
    for (int run = 0; run < 2; ++run) {
        const CommandResult result = exec.run(execChild());
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_TRUE(result.aborted);
    }
    exec.reset();
    const CommandResult result = exec.run(execChild());
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(exec.signals.size(), 2U);
}

class ThrowingExec : public TestedExec {
public:
    void abort(MutexLock& /*lock*/, int /*signal*/) override NB_REQUIRES(mHandleLock) {
        throw std::runtime_error("abort");
    }
};

TEST_F(ExecLaunchTest, AnExceptionInTheRunForgetsThePid) {
    const RecordedStarts starts;
    ThrowingExec exec;
    exec.mAborted = true;
    // A capture that the child still has open couldn't be removed.
    Exec::RunInfo info = childInfo("say x");
    info.mStdoutMode = info.mStderrMode = streamFile;
    info.mStdoutFile = info.mStderrFile = mFolder.utf8("out");
    EXPECT_THROW(exec.run(info), std::runtime_error);
    EXPECT_EQ(exec.mPid, Exec::noPid);
    EXPECT_TRUE(testing_support::ends(starts.last().process.dwProcessId));
    EXPECT_EQ(testing_support::fileContent(mFolder.path() / "out"), "x");
}

HANDLE gUnwaitable = nullptr;
decltype(&WaitForSingleObject) gWait = nullptr;

DWORD WINAPI waitInVain(HANDLE handle, DWORD timeout) {
    if (handle == gUnwaitable) {
        SetLastError(ERROR_ACCESS_DENIED);
        return WAIT_FAILED;
    }
    return gWait(handle, timeout);
}

TEST_F(ExecLaunchTest, AFailedWaitEndsTheRun) {
    const SystemMessage message(L"It can't be.");
    const ConsoleBreaks breaks;
    const RecordedStarts starts;
    const ReplacedCall<decltype(WaitForSingleObject)> wait("WaitForSingleObject", &waitInVain);
    gWait = wait.original();
    const BeforeResume resumed([&](HANDLE) { gUnwaitable = starts.last().process.hProcess; });
    // A capture that the child still has open couldn't be removed.
    Exec::RunInfo info = childInfo("say x");
    info.mStdoutMode = info.mStderrMode = streamFile;
    info.mStdoutFile = info.mStderrFile = mFolder.utf8("out");
    const CommandResult result = mExec->run(info);
    gUnwaitable = nullptr;
    const std::string words =
        "Exec::waitProcessExit got error waiting for process to exit: It can't be\n";
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, words);
    EXPECT_EQ(mExec->errors(), Texts({words}));
    EXPECT_EQ(mExec->mPid, Exec::noPid);
    EXPECT_TRUE(testing_support::ends(starts.last().process.dwProcessId));
}

TEST(ExecLaunchDeathTest, ACommandIsExactlyOneLine) {
    for (const Texts& lines : {Texts(), Texts({"execchild", "execchild"})}) {
        EXPECT_DEATH(
            {
                TestedExec exec;
                Exec::RunInfo info;
                info.mDirectArgv = lines;
                exec.run(info);
            },
            "assertion failed at .*exec/launch-win\\.cpp.*: runInfo\\.mDirectArgv\\.size\\(\\) "
            "== 1");
    }
}

}  // namespace
