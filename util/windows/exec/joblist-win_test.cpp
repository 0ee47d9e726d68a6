// The list of a job's processes, and the names of those that a command leaves behind.

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <psapi.h>

#include "testing/badaddress.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/execwait-win.h"

namespace {

using namespace testing_support;

constexpr JOBOBJECTINFOCLASS listClass = JobObjectBasicProcessIdList;

/// Records the sizes of the buffers that the list was requested with.
class ListSizes {
public:
    ListSizes()
        : mReplaced("QueryInformationJobObject",
                    [](HANDLE job, JOBOBJECTINFOCLASS what, LPVOID buffer, DWORD size,
                       LPDWORD returned) -> BOOL {
                        if (what == listClass) {
                            sSizes.push_back(size);
                        }
                        return sOriginal(job, what, buffer, size, returned);
                    }) {
        sOriginal = mReplaced.original();
        sSizes.clear();
    }
    /// The sizes since the last call.
    std::vector<DWORD> take() { return std::exchange(sSizes, {}); }

private:
    static inline std::vector<DWORD> sSizes;
    static inline decltype(&QueryInformationJobObject) sOriginal = nullptr;
    ReplacedCall<decltype(QueryInformationJobObject)> mReplaced;
};

/// A process whose end was seen may stay in the list for a moment; the list is then requested
/// again.
void expectAll(const std::vector<DWORD>& sizes, DWORD size) {
    EXPECT_FALSE(sizes.empty());
    EXPECT_EQ(sizes, std::vector<DWORD>(sizes.size(), size));
}

class JobListTest : public testing_support::ExecWaitTest {
protected:
    JobListTest() {
        exec.setStallRules(everyCommand(/*timeout=*/0, /*flags=*/0));
        wakes.onTimeout([this](size_t) {
            if (exec.mPid == Exec::noPid) {
                make("go");
            }
            return QuickWakes::awaitEnd;
        });
    }
    /// A leftover that waits for the file "go", and then makes the file "end".
    std::string leftover() const { return "spawn await " + file("go") + " make " + file("end"); }
    bool hasWaited() {
        return exec.log().find("\tExec::waitChildren: waiting") != std::string::npos;
    }
};

TEST_F(JobListTest, TheBufferGrowsByDoublingAndStaysSoForTheCall) {
    ListSizes sizes;
    exec.setPidBufferSize(16);
    std::string actions;
    for (int number = 0; number < 9; ++number) {
        actions.append("spawn-and 2 await ").append(file("go")).append(1, ' ');
    }
    EXPECT_EQ(exec.run(waitedChild(actions)).code, 0);
    EXPECT_TRUE(exec.errors().empty());
    std::vector<DWORD> taken = sizes.take();
    ASSERT_GE(taken.size(), 5U);
    EXPECT_EQ(std::vector<DWORD>(taken.begin(), taken.begin() + 4),
              (std::vector<DWORD>{16, 32, 64, 128}));
    EXPECT_EQ(std::vector<DWORD>(taken.begin() + 4, taken.end()),
              std::vector<DWORD>(taken.size() - 4, 128));
    EXPECT_EQ(exec.mPidBufferSize, 16U);
    EXPECT_TRUE(jobEmpties());
    sizes.take();
    exec.run(waitedChild(""));
    expectAll(sizes.take(), 16);
}

TEST_F(JobListTest, ABufferOf1024BytesIsTheLargestToBeginWith) {
    ListSizes sizes;
    exec.run(waitedChild(""));
    expectAll(sizes.take(), 1024);
    exec.setPidBufferSize(1025);
    exec.run(waitedChild(""));
    expectAll(sizes.take(), 1024);
    exec.setPidBufferSize(1000);
    exec.run(waitedChild(""));
    expectAll(sizes.take(), 1000);
}

TEST_F(JobListTest, ABufferThatHasGrownIsFreed) {
    SimulatedWait empty({".*", 0, 0});
    const auto grow = [&] {
        accounting.failNext(listClass, ERROR_MORE_DATA);
        accounting.failNext(listClass, ERROR_MORE_DATA);
        empty.waitChildren("command", /*failureText=*/nullptr);
    };
    grow();
    const size_t before = testing_support::heapBytes();
    for (int turn = 0; turn < 20; ++turn) {
        grow();
    }
    EXPECT_LT(testing_support::heapBytes(), before + 2048);
    EXPECT_TRUE(empty.errors().empty());
}

using JobListDeathTest = JobListTest;

TEST_F(JobListDeathTest, WithoutMemoryForTheBufferTheProcessIsStopped) {
    constexpr size_t size = 1012;
    SimulatedWait wait({".*", 0, 0});
    wait.setPidBufferSize(size);
    const auto grow = [&] {
        static void* (*original)(size_t) = nullptr;
        const ReplacedCall<void*(size_t)> noMemory("malloc", [](size_t bytes) -> void* {
            return bytes == 2 * size ? nullptr : original(bytes);
        });
        original = noMemory.original();
        accounting.failNext(listClass, ERROR_MORE_DATA);
        wait.waitChildren("command", /*failureText=*/nullptr);
    };
    EXPECT_EXIT(grow(), hasTouchedBadAddress, "assertion failed at .*: pids != 0");
}

/// Makes calls in a wait for leftovers fail. After ten failures it lets the leftover go, so that a
/// wait that depends on these calls ends.
class Failures {
public:
    explicit Failures(std::filesystem::path letGo) {
        sLetGo = std::move(letGo);
        sCount = 0;
    }
    static int count() { return sCount; }
    static BOOL fail(DWORD error) {
        if (++sCount == 10) {
            std::ofstream stream(sLetGo);
        }
        SetLastError(error);
        return FALSE;
    }

private:
    static inline std::filesystem::path sLetGo;
    static inline int sCount = 0;
};

TEST_F(JobListTest, AProcessThatCannotBeOpenedIsTakenForOver) {
    const Failures failures(folder.path() / "go");
    static decltype(&OpenProcess) original = nullptr;
    const ReplacedCall<decltype(OpenProcess)> refused(
        "OpenProcess", [](DWORD access, BOOL inherit, DWORD pid) -> HANDLE {
            // PROCESS_ALL_ACCESS as it was before Windows 6.0.
            constexpr DWORD allAccess = 0x1f0fff;
            return access == allAccess && !Failures::fail(ERROR_ACCESS_DENIED)
                       ? nullptr
                       : original(access, inherit, pid);
        });
    original = refused.original();
    EXPECT_EQ(exec.run(waitedChild(leftover())).code, 0);
    EXPECT_TRUE(isThere("end")) << "it wasn't counted among the servers";
    EXPECT_GE(Failures::count(), 10);
    EXPECT_FALSE(hasWaited());
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(JobListTest, AProcessWithoutANameIsNeitherWaitedForNorCounted) {
    const Failures failures(folder.path() / "go");
    const ReplacedCall<decltype(GetProcessImageFileNameW)> noName(
        "K32GetProcessImageFileNameW", [](HANDLE, LPWSTR, DWORD) -> DWORD { return 0; });
    const ReplacedCall<decltype(ReadProcessMemory)> noMemory(
        "ReadProcessMemory", [](HANDLE, LPCVOID, LPVOID, SIZE_T, SIZE_T*) -> BOOL {
            return Failures::fail(ERROR_PARTIAL_COPY);
        });
    EXPECT_EQ(exec.run(waitedChild(leftover())).code, 0);
    EXPECT_TRUE(isThere("end"));
    EXPECT_GE(Failures::count(), 10);
    EXPECT_FALSE(hasWaited());
    EXPECT_TRUE(exec.errors().empty());
}

TEST_F(JobListTest, ANameThatTheSystemDoesNotGiveIsReadFromTheProcess) {
    const ReplacedCall<decltype(GetProcessImageFileNameW)> noName(
        "K32GetProcessImageFileNameW", [](HANDLE, LPWSTR, DWORD) -> DWORD { return 0; });
    const std::string command = waitedChild(leftover());
    EXPECT_EQ(exec.run(command).code, 0);
    const std::string program =
        testing_support::utf8(testing_support::testProgramFolder() / "execchild.exe");
    EXPECT_NE(exec.log().find("\tExec::waitChildren: waiting for process " + program +
                              " for command " + command + "\n"),
              std::string::npos)
        << exec.log();
}

TEST_F(JobListTest, ANameOutsideAsciiIsLoggedAsUtf8) {
    const std::filesystem::path copy = folder.path() / L"\u00e4 \u4e2d.exe";
    std::filesystem::copy_file(testing_support::testProgramFolder() / "execchild.exe", copy);
    const std::string command = file("\xc3\xa4 \xe4\xb8\xad.exe") + ' ' + leftover();
    EXPECT_EQ(exec.run(command).code, 0);
    EXPECT_TRUE(exec.log().ends_with("\xc3\xa4 \xe4\xb8\xad.exe for command " + command + "\n"))
        << exec.log();
}

}  // namespace
