#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/consolebreak-win.h"
#include "testing/calls/jobaccounting-win.h"
#include "testing/calls/quickwakes-win.h"
#include "testing/eventually.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/processend-win.h"
#include "testing/processes/testedexec-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace testing_support {

/// Returns the command line that makes execchild perform these actions.
inline std::string waitedChild(const std::string& actions) {
    std::string line = "\"";
    return line.append(utf8(testProgramFolder() / "execchild.exe")).append("\" ").append(actions);
}

/// Returns one rule, which applies to every command.
inline std::list<Exec::StallRule> everyCommand(int32_t timeout, StallFlags flags) {
    return {{".*", timeout, flags}};
}

/// Returns the message that the caller gets for a command that stalled.
inline std::string stallText(const std::string& command) {
    std::string text = "\nCommand \"";
    return text.append(command).append(
        "\" was not making progress so it was automatically aborted.\n");
}

/// A test of waiting for real commands, with quick wake-ups. Breaks reach the commands. Expects at
/// its end that their capture files are gone.
class ExecWaitTest : public testing::Test {
protected:
    void TearDown() override {
        for (const auto& entry : std::filesystem::directory_iterator(captures.path())) {
            // The process of a death test leaves its folders behind.
            EXPECT_TRUE(entry.is_directory()) << entry.path();
        }
    }

    /// Returns the path of a file in the test's folder, in quotes.
    std::string file(const std::string& name) const { return '"' + folder.utf8(name) + '"'; }
    bool isThere(const std::string& name) const {
        return std::filesystem::exists(folder.path() / name);
    }
    void make(const std::string& name) const { folder.write(name, ""); }
    void remove(const std::string& name) const { std::filesystem::remove(folder.path() / name); }
    void await(const std::string& name) const {
        EXPECT_TRUE(eventually([&] { return isThere(name); })) << name;
    }
    /// Returns the actions that make a process write its id to a file and then wait for `letGo`.
    std::string awaitingGo() const { return "pid " + file("awaiting") + " await " + file("go"); }
    /// Lets that process go on, and waits until it ends. After that it doesn't use any file.
    void letGo() const {
        // Waits until the file exists and the id can be read.
        DWORD pid = 0;
        EXPECT_TRUE(eventually([&] {
            std::ifstream(folder.path() / "awaiting") >> pid;
            return pid != 0;
        }));
        make("go");
        EXPECT_TRUE(ends(pid));
        remove("go");
        remove("awaiting");
    }

    /// At the first wake, waits until the command has made the file, and then runs the action.
    void atFirstWake(const std::string& name, const std::function<void()>& action = {}) {
        wakes.onTimeout([this, name, action](size_t wake) -> DWORD {
            if (wake == 1) {
                await(name);
                if (action) {
                    action();
                }
            }
            return WAIT_TIMEOUT;
        });
    }
    /// Returns whether the job becomes empty. Processes that have ended may count for another
    /// moment.
    [[nodiscard]] bool jobEmpties() const {
        return eventually([this] {
            JOBOBJECT_BASIC_PROCESS_ID_LIST list{};
            return QueryInformationJobObject(exec.mJob.get(), JobObjectBasicProcessIdList, &list,
                                             sizeof list, /*lpReturnLength=*/nullptr) &&
                   list.NumberOfAssignedProcesses == 0;
        });
    }
    void abort() {
        MutexLock lock(exec.mHandleLock);
        exec.abort(lock, /*signal=*/15);
    }

    const TempFolder folder;
    const TempFolder captures;
    const EnvironmentScope tmp{"TMP", captures.path().string()};
    const EnvironmentScope noStallCommand{"NBBRK", std::nullopt};
    QuickWakes wakes;
    const ConsoleBreaks breaks;
    JobAccounting accounting;
    TestedExec exec;
};

/// An Exec that waits for a process that never ends, without any time passing. Its job is empty.
class SimulatedWait : public TestedExec {
public:
    explicit SimulatedWait(const StallRule& rule) {
        *mJob.receive() = CreateJobObjectA(/*lpJobAttributes=*/nullptr, /*lpName=*/nullptr);
        setStallRules({rule});
        selectStallRule("command");
    }

    /// Waits until the command has stalled, or `count` rounds are over. Before each round,
    /// `beforeRound` is called with the round's number, from 1 on.
    void run(size_t count, const std::function<void(size_t)>& beforeRound = {}) {
        const QuickWakes wakes(
            [&](size_t wake) -> DWORD {
                if (stalled || wake > count) {
                    return WAIT_OBJECT_0;
                }
                rounds = wake;
                if (beforeRound) {
                    beforeRound(wake);
                }
                return WAIT_TIMEOUT;
            },
            /*milliseconds=*/0);
        EXPECT_TRUE(waitProcessExit(GetCurrentProcess(), GetCurrentProcessId(), "command",
                                    failureText, &stalled, directory,
                                    /*environment=*/nullptr, /*passThrough=*/nullptr));
    }

    std::string failure;
    std::string* failureText = &failure;
    std::string directory;
    bool stalled = true;
    size_t rounds = 0;  ///< of the last wait
};

}  // namespace testing_support
