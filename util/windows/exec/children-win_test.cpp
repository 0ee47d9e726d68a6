// Waiting for what a command leaves behind in its job.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/systemmessage-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/execwait-win.h"
#include "testing/processes/suspendedprogram-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace testing_support;

constexpr JOBOBJECTINFOCLASS listClass = JobObjectBasicProcessIdList;

class ChildrenTest : public testing_support::ExecWaitTest {
protected:
    /// From now on commands run in a job, unwatched.
    void useJob() { exec.setStallRules(everyCommand(/*timeout=*/0, /*flags=*/0)); }

    /// A leftover that waits for `letGo`, and then makes the file "end".
    std::string leftover() const { return "spawn " + awaitingGo() + " make " + file("end"); }
    void endLeftover() const {
        letGo();
        EXPECT_TRUE(isThere("end"));
        remove("end");
    }

    /// Does this at the first wake in a wait for a leftover, and then waits for its end.
    void atFirstLeftover(const std::function<void()>& action) {
        wakes.onTimeout([this, action](size_t) -> DWORD {
            if (exec.mPid == Exec::noPid) {
                action();
            }
            return QuickWakes::awaitEnd;
        });
    }
    CommandResult runWithLeftover(const std::string& line) {
        atFirstLeftover([this] { make("go"); });
        return exec.run(line);
    }

    /// A command line for a copy of execchild under this name, which may include folders.
    std::string copiedChild(const std::string& name, const std::string& actions) const {
        const std::filesystem::path copy = folder.path() / name;
        std::filesystem::create_directories(copy.parent_path());
        std::filesystem::copy_file(testing_support::testProgramFolder() / "execchild.exe", copy);
        return file(name) + ' ' + actions;
    }
    /// The system's name for the program execchild.
    static std::string nativeName() {
        const testing_support::SuspendedProgram program(testing_support::testProgramFolder() /
                                                        "execchild.exe");
        std::wstring name(32'767, L'\0');
        auto size = static_cast<DWORD>(name.size());
        EXPECT_TRUE(
            QueryFullProcessImageNameW(program.handle(), PROCESS_NAME_NATIVE, name.data(), &size));
        name.resize(size);
        return toUtf8(name);
    }
    size_t count(const std::string& part) {
        const std::string log = exec.log();
        size_t result = 0;
        for (size_t at = log.find(part); at != std::string::npos; at = log.find(part, at + 1)) {
            ++result;
        }
        return result;
    }
};

TEST_F(ChildrenTest, InJobModeWhatOutlivesTheCommandIsWaitedFor) {
    useJob();
    const std::string command = waitedChild("spawn-and 4 await " + file("go") + " make " +
                                            file("end") + " await " + file("seen"));
    DWORD pid = 0;
    wakes.onTimeout([&](size_t) -> DWORD {
        if (exec.mPid != Exec::noPid) {
            pid = exec.mPid;
            make("seen");
        } else {
            make("go");
        }
        return QuickWakes::awaitEnd;
    });
    const std::string directory = folder.utf8();
    EXPECT_EQ(exec.run(command, directory).code, 0);
    EXPECT_TRUE(isThere("end"));
    // A process whose end was seen may stay in the list for a moment. It is then waited for again.
    const std::string line = "\tExec::waitChildren: waiting for process " + nativeName() +
                             " for command " + command + "\n";
    std::string expected =
        "\twd: " + directory + "\twaiting for child pid " + std::to_string(pid) + "\n" + line;
    for (size_t more = count("waitChildren"); more > 1; --more) {
        expected.append(line);
    }
    EXPECT_EQ(exec.log(), expected);
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(ChildrenTest, WithoutJobModeItIsNot) {
    EXPECT_EQ(exec.run(waitedChild(leftover())).code, 0);
    EXPECT_FALSE(isThere("end"));
    EXPECT_EQ(count("waitChildren"), 0U);
    endLeftover();
}

TEST_F(ChildrenTest, TheExitCodeIsThatOfTheCommand) {
    useJob();
    const CommandResult result = runWithLeftover(waitedChild(
        "spawn-and 6 await " + file("go") + " make " + file("end") + " exit 7 say x exit 9"));
    EXPECT_EQ(result.code, 9);
    EXPECT_EQ(result.output, "x");
    EXPECT_TRUE(isThere("end"));
}

TEST_F(ChildrenTest, WhatALeftoverStartsIsWaitedForToo) {
    useJob();
    runWithLeftover(
        waitedChild("spawn await " + file("go") + " spawn sleep 100 make " + file("end")));
    EXPECT_TRUE(isThere("end"));
}

TEST_F(ChildrenTest, ServersThatStayAreNotWaitedFor) {
    for (const char* name : {"mspdbsrv.exe", "vctip.exe", "VBCSCompiler.exe", "conhost.exe",
                             "xvctip.exe", "conhost.exe.d/other.exe", "vctip.exe.com"}) {
        useJob();
        EXPECT_EQ(exec.run(copiedChild(name, leftover())).code, 0) << name;
        EXPECT_FALSE(isThere("end")) << name;
        EXPECT_EQ(count("waitChildren"), 0U) << name;
        endLeftover();
        exec.reset();
    }
}

TEST_F(ChildrenTest, NamesThatDifferInTheirCaseOrEndAreWaitedFor) {
    for (const char* name : {"MSPDBSRV.EXE", "Vctip.exe", "vbcscompiler.exe", "Conhost.exe",
                             "conhost.com", "vctip2.exe"}) {
        useJob();
        EXPECT_EQ(runWithLeftover(copiedChild(name, leftover())).code, 0) << name;
        EXPECT_TRUE(isThere("end")) << name;
        EXPECT_TRUE(jobEmpties());
        remove("go");
        remove("end");
    }
}

TEST_F(ChildrenTest, AServerOnItsOwnEndsTheWaitAfterOnePass) {
    useJob();
    const std::string server = copiedChild("conhost.exe", leftover());
    exec.run(server);
    EXPECT_EQ(accounting.queryCount(listClass), 1U);
    endLeftover();
}

TEST_F(ChildrenTest, AServerBesideALeftoverEndsTheWaitWithTheNextPass) {
    useJob();
    const std::string server = copiedChild("vctip.exe", leftover());
    exec.run(server);
    EXPECT_EQ(accounting.queryCount(listClass), 1U);
    atFirstLeftover([this] { make("other"); });
    exec.run(waitedChild("spawn await " + file("other") + " make " + file("other end")));
    EXPECT_TRUE(isThere("other end"));
    EXPECT_FALSE(isThere("end"));
    // A process whose end was seen may stay in the list for a moment, which makes one more pass.
    EXPECT_GE(accounting.queryCount(listClass), 3U);
    endLeftover();
}

TEST_F(ChildrenTest, AnAbortDuringTheWaitForALeftoverEndsIt) {
    useJob();
    wakes.onTimeout([this](size_t) -> DWORD {
        if (exec.mPid == Exec::noPid && !exec.mAborted) {
            abort();
        }
        return WAIT_TIMEOUT;
    });
    const CommandResult result = exec.run(waitedChild(leftover()));
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.aborted);
    EXPECT_TRUE(breaks.calls().empty()) << "there is no command to break any more";
    EXPECT_EQ(count("sending break event"), 0U);
    EXPECT_EQ(count("\tExec::waitProcessExit: child "), 1U);
    EXPECT_TRUE(jobEmpties());
}

TEST_F(ChildrenTest, ALeftoverThatStallsIsEnded) {
    exec.setStallRules(everyCommand(500, watchTime));
    accounting.setFixed({});
    // The command itself may take all the time it needs.
    wakes.onTimeout([this](size_t) -> DWORD {
        return exec.mPid == Exec::noPid ? DWORD{WAIT_TIMEOUT} : QuickWakes::awaitEnd;
    });
    const std::string command = waitedChild(leftover());
    const CommandResult result = exec.run(command);
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(result.error, "") << "the stall of a leftover is not the command's";
    ASSERT_EQ(exec.errors().size(), 1U);
    EXPECT_TRUE(exec.errors()[0].starts_with("Command stalled: \"" + command + "\" (pid(s) "));
    EXPECT_EQ(breaks.calls(),
              (std::vector<testing_support::ConsoleBreaks::Call>{{CTRL_BREAK_EVENT, Exec::noPid}}));
    EXPECT_EQ(count(" didn't exit (" + command + ")\n"), 1U);
    EXPECT_TRUE(jobEmpties());
}

TEST_F(ChildrenTest, AFailedWaitForALeftoverIsReportedAndTheRunGoesOn) {
    const SystemMessage noWords(L"");
    useJob();
    bool hasFailed = false;
    wakes.onTimeout([&](size_t) -> DWORD {
        if (exec.mPid != Exec::noPid || hasFailed) {
            return QuickWakes::awaitEnd;
        }
        hasFailed = true;
        make("go");
        SetLastError(ERROR_NOT_READY);
        return WAIT_FAILED;
    });
    const std::string words =
        "Exec::waitProcessExit got error waiting for process to exit: Error 21\n";
    Exec::RunInfo info;
    info.mDirectArgv = {waitedChild("complain y " + leftover())};
    for (const bool isMerged : {false, true}) {
        const size_t errorsBefore = exec.errors().size();
        hasFailed = false;
        info.mMergeOutput = isMerged;
        const CommandResult result = exec.run(info);
        EXPECT_EQ(result.code, 0);
        // The captured text follows.
        EXPECT_EQ(isMerged ? result.output : result.error, words + "y");
        EXPECT_EQ(isMerged ? result.error : result.output, "");
        EXPECT_EQ(exec.errors(), std::vector<std::string>(errorsBefore + 1, words));
        EXPECT_TRUE(isThere("end"));
        EXPECT_TRUE(jobEmpties());
        remove("go");
        remove("end");
    }
}

TEST_F(ChildrenTest, AListThatIsUnavailableIsReportedAndIsEmpty) {
    const SystemMessage noWords(L"");
    useJob();
    accounting.failNext(listClass, ERROR_ACCESS_DENIED);
    const CommandResult result = exec.run(waitedChild(leftover()));
    const std::string text =
        "Exec::waitChildren got error from QueryInformationJobObject: Error 5\n";
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.error, text);
    EXPECT_EQ(exec.errors(), std::vector<std::string>{text});
    EXPECT_EQ(accounting.queryCount(listClass), 1U);
    EXPECT_FALSE(isThere("end"));
    endLeftover();
}

TEST_F(ChildrenTest, EveryHandleIsClosed) {
    useJob();
    copiedChild("vctip.exe", "");
    const auto run = [this] {
        runWithLeftover(waitedChild(leftover()));
        remove("awaiting");
        remove("go");
        remove("end");
        exec.run(file("vctip.exe") + ' ' + leftover());
        endLeftover();
        EXPECT_TRUE(jobEmpties());
    };
    run();
    const size_t before = testing_support::handleCount();
    run();
    EXPECT_EQ(testing_support::handleCount(), before);
}

}  // namespace
