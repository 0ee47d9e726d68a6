// Waiting for a command, ending it by force, and the host of 16-bit programs.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/execwait-win.h"
#include "util/platform/errortext-win.h"

namespace {

using namespace testing_support;

constexpr JOBOBJECTINFOCLASS list = JobObjectBasicProcessIdList;

/// Records the calls of TerminateProcess. They still happen, and can wait for the end, so that no
/// file is in use afterwards.
class Terminations {
public:
    struct Call {
        DWORD pid;
        UINT code;
        bool operator==(const Call&) const = default;
    };

    explicit Terminations(bool awaitsEnd = false)
        : mReplaced("TerminateProcess", [](HANDLE process, UINT code) -> BOOL {
              sCalls.push_back({GetProcessId(process), code});
              const BOOL isEnding = sOriginal(process, code);
              if (sAwaitsEnd) {
                  EXPECT_EQ(WaitForSingleObject(process, 30000), DWORD{WAIT_OBJECT_0});
              }
              return isEnding;
          }) {
        sOriginal = mReplaced.original();
        sCalls.clear();
        sAwaitsEnd = awaitsEnd;
    }
    static const std::vector<Call>& calls() { return sCalls; }

private:
    static inline std::vector<Call> sCalls;
    static inline bool sAwaitsEnd = false;
    static inline decltype(&TerminateProcess) sOriginal = nullptr;
    ReplacedCall<decltype(TerminateProcess)> mReplaced;
};

class WaitTest : public testing_support::ExecWaitTest {
protected:
    /// The command waits for the file "go", which exists from the first wake on.
    CommandResult runToItsEnd(const std::string& line, const std::string& directory = {}) {
        remove("go");
        wakes.onTimeout([this](size_t) {
            pid = exec.mPid;
            make("go");
            return QuickWakes::awaitEnd;
        });
        return exec.run(line, directory);
    }
    std::string awaitGo(const std::string& end) const { return "await " + file("go") + ' ' + end; }
    /// Runs a command that ignores breaks, and aborts it at the first wake, when it is ready.
    CommandResult runAborted(const std::string& line, const std::string& directory = {}) {
        atFirstWake("ready", [this] {
            pid = exec.mPid;
            abort();
        });
        return exec.run(line, directory);
    }
    std::string stubborn() const { return "ignore-break make " + file("ready") + " sleep 60000"; }

    DWORD pid = 0;
};

TEST_F(WaitTest, ThePidIsThatOfTheCommandUntilItIsOver) {
    const CommandResult result =
        runToItsEnd(waitedChild("pid " + file("pid") + ' ' + awaitGo("exit 9")));
    EXPECT_EQ(result.code, 9);
    DWORD told = 0;
    std::ifstream(folder.path() / "pid") >> told;
    EXPECT_EQ(pid, told);
    EXPECT_EQ(exec.mPid, Exec::noPid);
}

TEST_F(WaitTest, TheLogOfAPlainRun) {
    struct Row {
        const char* actions;
        const char* end;
    };
    const std::string directory = folder.utf8();
    for (const Row& row : {Row{"", ""}, Row{"exit 9", "\texit code 9\n"}}) {
        runToItsEnd(waitedChild(awaitGo(row.actions)), directory);
        EXPECT_EQ(exec.log(), "\twd: " + directory + "\twaiting for child pid " +
                                  std::to_string(pid) + "\n" + row.end);
    }
}

TEST_F(WaitTest, WithoutJobModeNoJobIsAskedFor) {
    wakes.onTimeout([this](size_t wake) -> DWORD {
        make("go");
        return wake < 5 ? DWORD{WAIT_TIMEOUT} : QuickWakes::awaitEnd;
    });
    EXPECT_EQ(exec.run(waitedChild("await " + file("go") + " exit 9")).code, 9);
    EXPECT_EQ(accounting.queryCount(list), 0U);
}

TEST_F(WaitTest, AnyOtherResultOfTheWaitIsATimeOut) {
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake == 1) {
            return WAIT_ABANDONED;
        }
        make("go");
        return QuickWakes::awaitEnd;
    });
    EXPECT_EQ(exec.run(waitedChild("await " + file("go") + " exit 9")).code, 9);
    EXPECT_EQ(wakes.timeouts(), 2U);
}

TEST_F(WaitTest, AWaitThatFailsIsReportedAndEndsTheRun) {
    const SystemMessage noWords(L"");
    exec.setStallRules(everyCommand(/*timeout=*/0, /*flags=*/0));
    wakes.onTimeout([](size_t) {
        SetLastError(ERROR_NOT_READY);
        return WAIT_FAILED;
    });
    // A capture that the child still has open couldn't be removed.
    Exec::RunInfo info;
    info.mDirectArgv = {waitedChild(awaitingGo() + " make " + file("end"))};
    info.mStdoutMode = info.mStderrMode = streamFile;
    info.mStdoutFile = info.mStderrFile = folder.utf8("out");
    const CommandResult result = exec.run(info);
    const std::string text =
        "Exec::waitProcessExit got error waiting for process to exit: Error 21\n";
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(result.error, text);
    EXPECT_EQ(exec.errors(), std::vector<std::string>{text});
    EXPECT_EQ(exec.log().find("exit code"), std::string::npos);
    EXPECT_EQ(accounting.queryCount(list), 0U) << "what is left is not waited for";
    letGo();
    EXPECT_TRUE(isThere("end"));
}

TEST_F(WaitTest, AnAbortedCommandThatIgnoresTheBreakIsEndedAtTheThirdWake) {
    const Terminations terminations;
    const CommandResult result = runAborted(waitedChild(stubborn()));
    EXPECT_EQ(wakes.timeouts(), 3U);
    EXPECT_EQ(terminations.calls(), (std::vector<Terminations::Call>{{pid, 1}}));
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.aborted);
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(WaitTest, ACommandThatGoesWithinTheGraceIsNotEndedByForce) {
    const Terminations terminations;
    wakes.onTimeout([this](size_t wake) -> DWORD {
        if (wake == 1) {
            await("ready");
            abort();
        }
        if (wake < 2) {
            return WAIT_TIMEOUT;
        }
        make("go");
        return QuickWakes::awaitEnd;
    });
    const CommandResult result = exec.run(
        waitedChild("ignore-break make " + file("ready") + " await " + file("go") + " exit 9"));
    EXPECT_TRUE(result.aborted);
    EXPECT_TRUE(terminations.calls().empty());
    EXPECT_EQ(exec.log().find("didn't exit"), std::string::npos);
}

/// Makes the wait without a limit fail.
class FailingEndWait {
public:
    FailingEndWait()
        : mReplaced("WaitForSingleObject", [](HANDLE object, DWORD milliseconds) -> DWORD {
              const DWORD result = sOriginal(object, milliseconds);
              if (milliseconds != INFINITE || GetProcessId(object) == 0) {
                  return result;
              }
              SetLastError(ERROR_NOT_READY);
              return WAIT_FAILED;
          }) {
        sOriginal = mReplaced.original();
    }

private:
    static inline decltype(&WaitForSingleObject) sOriginal = nullptr;
    ReplacedCall<decltype(WaitForSingleObject)> mReplaced;
};

TEST_F(WaitTest, AFailedWaitForTheEndByForceIsReportedAndEndsTheRun) {
    const SystemMessage noWords(L"");
    const FailingEndWait failing;
    const CommandResult result = runAborted(waitedChild(stubborn()));
    const std::string text =
        "Exec::waitProcessExit got error waiting for aborted process to exit: Error 21\n";
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_FALSE(result.aborted) << "a failed wait ends the run before the abort is looked at";
    EXPECT_EQ(result.error, text);
    EXPECT_EQ(exec.errors(), std::vector<std::string>{text});
}

TEST_F(WaitTest, AProcessWhoseNameIsUnavailableIsStillWaitedFor) {
    constexpr uint32_t missing = 0x7ffffff0;
    bool stalled = true;
    wakes.onTimeout([](size_t) -> DWORD { return WAIT_OBJECT_0; });
    EXPECT_TRUE(exec.waitProcessExit(GetCurrentProcess(), missing, "command",
                                     /*failureText=*/nullptr, &stalled, /*workingDirectory=*/"",
                                     /*environment=*/nullptr, /*passThrough=*/nullptr));
    EXPECT_FALSE(stalled);
    EXPECT_EQ(exec.log(), "\tCouldn't get handle of process 2147483632: " +
                              win32ErrorText("OpenProcess", ERROR_INVALID_PARAMETER) + "\n");
    EXPECT_TRUE(exec.errors().empty());
}

/// Records what the wait does with the dialog of a 16-bit program.
class Dialog {
public:
    /// Makes a window with this title exist.
    explicit Dialog(std::string_view title) {
        sTitle = title;
        sSearches.clear();
        sClicks.clear();
    }
    static std::vector<std::string> searches() { return sSearches; }
    /// For each click of the button, the number of processes ended by then.
    static std::vector<size_t> clicks() { return sClicks; }

private:
    static HWND window() { return reinterpret_cast<HWND>(&sTitle); }
    static HWND WINAPI find(LPCSTR windowClass, LPCSTR title) {
        EXPECT_EQ(windowClass, nullptr);
        sSearches.emplace_back(title);
        return sTitle == title ? window() : nullptr;
    }
    static LRESULT WINAPI send(HWND dialog, int item, UINT message, WPARAM wParam, LPARAM lParam) {
        EXPECT_EQ(dialog, window());
        EXPECT_EQ(item, IDOK);
        EXPECT_EQ(message, UINT{BM_CLICK});
        EXPECT_EQ(wParam, 0U);
        EXPECT_EQ(lParam, 0);
        sClicks.push_back(Terminations::calls().size());
        return 0;
    }

    static inline std::string sTitle;
    static inline std::vector<std::string> sSearches;
    static inline std::vector<size_t> sClicks;
    ReplacedCall<decltype(FindWindowA)> mFind{"FindWindowA", &find};
    ReplacedCall<decltype(SendDlgItemMessageA)> mSend{"SendDlgItemMessageA", &send};
};

class NtvdmTest : public WaitTest {
protected:
    /// A command line for a copy of execchild under this name.
    std::string copiedChild(const std::string& name, const std::string& actions) const {
        std::filesystem::copy_file(testing_support::testProgramFolder() / "execchild.exe",
                                   folder.path() / name,
                                   std::filesystem::copy_options::overwrite_existing);
        return file(name) + ' ' + actions;
    }

    const Terminations terminations{/*awaitsEnd=*/true};
};

TEST_F(NtvdmTest, TheHostOf16BitProgramsIsEndedWithItsProgram) {
    EXPECT_EQ(runToItsEnd(copiedChild("ntvdm.exe", awaitGo("exit 9"))).code, 9);
    EXPECT_EQ(terminations.calls().size(), 1U);
    EXPECT_EQ(terminations.calls().front().code, 0U);
}

TEST_F(NtvdmTest, ItIsKnownByItsNameAnywhereInThePathInThisCaseOfLetters) {
    struct Row {
        const char* name;
        size_t terminations;
    };
    size_t expected = 0;
    for (const Row& row : {Row{"xntvdm.exe", 1}, Row{"ntvdm.exe.com", 1}, Row{"NTVDM2.exe", 0},
                           Row{"ntvdm.com", 0}, Row{"nTvdm.exe", 0}}) {
        expected += row.terminations;
        EXPECT_EQ(runToItsEnd(copiedChild(row.name, awaitGo("exit 9"))).code, 9) << row.name;
        EXPECT_EQ(terminations.calls().size(), expected) << row.name;
    }
}

TEST_F(NtvdmTest, ItsDialogIsClosedBeforeItIsEndedByForce) {
    struct Row {
        const char* title;
        std::vector<std::string> searches;
        size_t clicks;
    };
    const std::string first = "16 bit MS-DOS Subsystem";
    const std::string second = "ntvdm.exe - System Error";
    const std::string line = copiedChild("ntvdm.exe", stubborn());
    for (const Row& row :
         {Row{"16 bit MS-DOS Subsystem", {first}, 1},
          Row{"ntvdm.exe - System Error", {first, second}, 1}, Row{"Other", {first, second}, 0}}) {
        exec.reset();
        const size_t before = terminations.calls().size();
        const Dialog dialog(row.title);
        const CommandResult result = runAborted(line);
        EXPECT_TRUE(result.aborted);
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_EQ(wakes.timeouts(), 3U);
        EXPECT_EQ(Dialog::searches(), row.searches);
        EXPECT_EQ(Dialog::clicks(), std::vector<size_t>(row.clicks, before));
        ASSERT_EQ(terminations.calls().size(), before + 1);
        EXPECT_EQ(terminations.calls().back(), (Terminations::Call{pid, 1}));
        remove("ready");
    }
}

TEST_F(NtvdmTest, AnotherProgramGetsNoDialogClosed) {
    const Dialog dialog("16 bit MS-DOS Subsystem");
    runAborted(waitedChild(stubborn()));
    EXPECT_TRUE(Dialog::searches().empty());
}

TEST_F(NtvdmTest, ItsHandleIsClosed) {
    const std::string line = copiedChild("ntvdm.exe", awaitGo("exit 9"));
    runToItsEnd(line);
    const size_t before = testing_support::handleCount();
    runToItsEnd(line);
    EXPECT_EQ(testing_support::handleCount(), before);
}

}  // namespace
