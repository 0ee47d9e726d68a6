// Exec under load: many threads at once, and a process that is ended in the middle of a run.

#include <atomic>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/counts/processresources-win.h"
#include "testing/eventually.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/testedexec-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"
#include "util/windows/environment-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"

namespace {

namespace fs = std::filesystem;
using namespace testing_support;

fs::path childProgram() { return testing_support::testProgramFolder() / "execchild.exe"; }

size_t fileCount(const fs::path& folder) {
    return static_cast<size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// What each thread has of its own: a directory to work in, and a program that only its own `Path`
/// leads to.
class Worker {
public:
    explicit Worker(int number)
        : mProgram("child" + std::to_string(number)), mDirectory(mFolder.path() / "work") {
        const fs::path programs = mFolder.path() / "bin";
        fs::create_directory(mDirectory);
        fs::create_directory(programs);
        fs::copy_file(childProgram(), programs / (mProgram + ".exe"));
        mPath = utf8(programs);
        mEnvironment.append("Path=").append(mPath).append(1, '\0').append(1, '\0');
    }

    /// Returns whether the command got what this thread gave it.
    bool run() {
        const CommandResult result = mExec.run(mProgram + " folder say | variable PATH",
                                               utf8(mDirectory), mEnvironment.c_str());
        return result.code == 0 && result.output == utf8(mDirectory) + '|' + mPath &&
               result.error.empty() && mExec.errors().empty();
    }

private:
    const TempFolder mFolder;
    std::string mProgram;
    fs::path mDirectory;
    std::string mPath;
    std::string mEnvironment;
    TestedExec mExec;
};

/// Runs commands in this many threads at once, and returns how many commands got something else
/// than expected.
int failuresUnderLoad(int threads, int commands) {
    // Make all before the first command: another worker's child could hold open a program that is
    // still being copied.
    std::deque<Worker> workers;
    for (int number = 0; number < threads; ++number) {
        workers.emplace_back(number);
    }
    std::atomic<int> failures = 0;
    std::vector<std::jthread> runners;
    runners.reserve(workers.size());
    for (Worker& worker : workers) {
        runners.emplace_back([&worker, commands, &failures] {
            for (int i = 0; i < commands; ++i) {
                failures += worker.run() ? 0 : 1;
            }
        });
    }
    runners.clear();
    return failures;
}

void expectEachCommandSeesItsOwn(int threads, int commands) {
    const TempFolder captures;
    const EnvironmentScope temp("TMP", captures.path().string());
    const std::string directory = System::getcwd();
    const std::optional<std::string> path = environmentVariable("Path");
    EXPECT_EQ(failuresUnderLoad(threads, commands), 0);
    EXPECT_EQ(System::getcwd(), directory);
    EXPECT_EQ(environmentVariable("Path"), path);
    EXPECT_EQ(fileCount(captures.path()), 0U);

    // What a process opens once, for example where threads first meet at a lock, stays open. A
    // command that leaks a handle would do so each time.
    const auto grows = [threads] {
        const size_t handles = handleCount();
        EXPECT_EQ(failuresUnderLoad(threads, /*commands=*/2), 0);
        return handleCount() > handles;
    };
    EXPECT_FALSE(grows() && grows() && grows());
}

TEST(ExecUnderLoad, EachOf200CommandsInEightThreadsSeesItsOwnDirectoryAndPath) {
    expectEachCommandSeesItsOwn(/*threads=*/8, /*commands=*/25);
}

TEST(ExecUnderLoad, EachOf2000CommandsInEightThreadsSeesItsDirectoryAndPathSoak) {
    expectEachCommandSeesItsOwn(/*threads=*/8, /*commands=*/250);
}

/// A process of its own that runs a command.
class Host {
public:
    explicit Host(const std::string& line) {
        std::wstring text = (testing_support::testProgramFolder() / "exechost.exe").wstring();
        text.insert(0, 1, L'"').append(L"\" \"").append(fs::path(line).wstring()).append(1, L'"');
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        if (CreateProcessW(nullptr, text.data(), nullptr, nullptr, /*bInheritHandles=*/FALSE, 0,
                           nullptr, nullptr, &startup, &process)) {
            *mProcess.receive() = process.hProcess;
            CloseHandle(process.hThread);
        }
    }

    bool isStarted() const { return mProcess.isOpen(); }
    void end() {
        TerminateProcess(mProcess.get(), 1);
        WaitForSingleObject(mProcess.get(), INFINITE);
    }

private:
    ScopedHandle mProcess;
};

std::optional<DWORD> numberIn(const fs::path& file) {
    DWORD number = 0;
    return std::ifstream(file) >> number ? std::optional(number) : std::nullopt;
}

TEST(ExecUnderLoad, AProcessThatIsEndedInTheMiddleOfARunLeavesNoLockedFile) {
    const TempFolder folder;
    const TempFolder captures;
    const EnvironmentScope temp("TMP", captures.path().string());
    const fs::path go = folder.write("go", "");
    const fs::path pidFile = folder.path() / "pid";
    Host host(utf8(childProgram()) + " out 1000 100 pid " + utf8(pidFile) + " await-gone " +
              utf8(go));
    ASSERT_TRUE(host.isStarted());
    // The process that moves the file into place still holds it open for a moment.
    std::optional<DWORD> pid;
    ASSERT_TRUE(eventually([&] { return (pid = numberIn(pidFile)).has_value(); }));
    const ScopedHandle child(OpenProcess(SYNCHRONIZE, /*bInheritHandle=*/FALSE, *pid));
    ASSERT_TRUE(child.isOpen());
    host.end();
    fs::remove(go);
    ASSERT_EQ(WaitForSingleObject(child.get(), 30000), WAIT_OBJECT_0);

    ASSERT_EQ(fileCount(captures.path()), 2U);
    for (const fs::directory_entry& entry : fs::directory_iterator(captures.path())) {
        const ScopedHandle file(CreateFileW(entry.path().c_str(), GENERIC_READ | GENERIC_WRITE,
                                            /*dwShareMode=*/0, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_TRUE(file.isOpen()) << entry.path();
    }
}

}  // namespace
