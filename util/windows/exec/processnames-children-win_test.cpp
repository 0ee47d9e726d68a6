// The children of processes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <tlhelp32.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/suspendedprogram-win.h"
#include "util/windows/exec/processnames-win.h"

namespace {

using namespace testing_support;

using Pids = std::vector<uint32_t>;

constexpr uint32_t everyParent = 0xffffffff;

struct Process {
    uint32_t pid;
    uint32_t parent;
};

/// The processes of the system, and how they were requested.
struct System {
    std::vector<Process> processes = {};
    bool hasSnapshot = true;
    HANDLE snapshot = nullptr;  ///< really an event
    DWORD flags = 0;
    size_t next = 0;
    int walks = 0;
};
System gSystem;

BOOL give(HANDLE snapshot, LPPROCESSENTRY32 entry) {
    EXPECT_EQ(snapshot, gSystem.snapshot);
    EXPECT_EQ(entry->dwSize, sizeof(PROCESSENTRY32));
    if (gSystem.next == gSystem.processes.size()) {
        SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    entry->th32ProcessID = gSystem.processes[gSystem.next].pid;
    entry->th32ParentProcessID = gSystem.processes[gSystem.next].parent;
    ++gSystem.next;
    return TRUE;
}

/// Makes these the only processes of the system.
class InventedProcesses {
public:
    explicit InventedProcesses(std::vector<Process> processes, bool hasSnapshot = true) {
        gSystem = {};
        gSystem.processes = std::move(processes);
        gSystem.hasSnapshot = hasSnapshot;
    }

private:
    ReplacedCall<decltype(CreateToolhelp32Snapshot)> mSnapshot{
        "CreateToolhelp32Snapshot", [](DWORD flags, DWORD) -> HANDLE {
            gSystem.flags = flags;
            if (!gSystem.hasSnapshot) {
                SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            gSystem.snapshot = CreateEventW(nullptr, TRUE, FALSE, nullptr);
            return gSystem.snapshot;
        }};
    ReplacedCall<decltype(Process32First)> mFirst{"Process32First",
                                                  [](HANDLE snapshot, LPPROCESSENTRY32 entry) {
                                                      ++gSystem.walks;
                                                      gSystem.next = 0;
                                                      return give(snapshot, entry);
                                                  }};
    ReplacedCall<decltype(Process32Next)> mNext{"Process32Next", give};
};

Pids withChildren(Pids pids, std::vector<Process> processes) {
    const InventedProcesses system(std::move(processes));
    addChildProcesses(pids);
    DWORD flags = 0;
    EXPECT_FALSE(GetHandleInformation(gSystem.snapshot, &flags)) << "it is closed";
    return pids;
}

TEST(AddChildProcessesTest, ChildrenOfListedProcessesAreAppendedInTheirOrder) {
    EXPECT_EQ(withChildren({1}, {{12, 2}, {11, 1}, {10, 1}}), (Pids{1, 11, 10}));
    EXPECT_EQ(withChildren({2, 1}, {{11, 1}, {12, 2}, {13, 3}}), (Pids{2, 1, 11, 12}));
    EXPECT_EQ(withChildren({1}, {{10, 2}}), Pids{1});
}

TEST(AddChildProcessesTest, AChildThatIsFoundAdmitsItsOwnThatComesAfterIt) {
    EXPECT_EQ(withChildren({1}, {{10, 1}, {20, 10}, {30, 20}}), (Pids{1, 10, 20, 30}));
}

TEST(AddChildProcessesTest, AChildsOwnThatComesBeforeItIsNotFound) {
    EXPECT_EQ(withChildren({1}, {{20, 10}, {10, 1}}), (Pids{1, 10}));
    EXPECT_EQ(withChildren({1}, {{30, 20}, {10, 1}, {20, 10}}), (Pids{1, 10, 20}));
}

TEST(AddChildProcessesTest, NoProcessIsListedTwice) {
    EXPECT_EQ(withChildren({1, 10}, {{10, 1}, {1, 10}}), (Pids{1, 10}));
    EXPECT_EQ(withChildren({1}, {{10, 1}, {10, 1}}), (Pids{1, 10}));
    EXPECT_EQ(withChildren({0}, {{0, 0}}), Pids{0});
    EXPECT_EQ(withChildren({everyParent, 10}, {{10, 1}}), (Pids{everyParent, 10}));
}

TEST(AddChildProcessesTest, TheIdOfEveryParentMatchesAll) {
    EXPECT_EQ(withChildren({everyParent}, {{20, 10}, {10, 1}, {0, 0}}),
              (Pids{everyParent, 20, 10, 0}));
    EXPECT_EQ(withChildren({7, everyParent}, {{20, 10}, {7, 10}}), (Pids{7, everyParent, 20}));
}

TEST(AddChildProcessesTest, AnEmptyListStaysEmpty) {
    EXPECT_EQ(withChildren({}, {{10, 1}, {0, 0}}), Pids{});
}

TEST(AddChildProcessesTest, TheProcessesOfTheSystemAreWalkedOnce) {
    withChildren({1}, {{20, 10}, {10, 1}});
    EXPECT_EQ(gSystem.flags, DWORD{TH32CS_SNAPPROCESS});
    EXPECT_EQ(gSystem.walks, 1);
}

TEST(AddChildProcessesTest, WithoutASnapshotNothingIsAdded) {
    const InventedProcesses system({{10, 1}}, /*hasSnapshot=*/false);
    Pids pids = {1};
    addChildProcesses(pids);
    EXPECT_EQ(pids, Pids{1});
    EXPECT_EQ(gSystem.walks, 0);
}

TEST(AddChildProcessesTest, AWalkThatFailsAddsNothing) {
    EXPECT_EQ(withChildren({1, everyParent}, {}), (Pids{1, everyParent}));
    EXPECT_EQ(gSystem.walks, 1);
}

TEST(AddChildProcessesTest, AChildOfThisProcessIsFound) {
    const SuspendedProgram child(testing_support::testProgramFolder() / "execchild.exe");
    const SuspendedProgram other(testing_support::testProgramFolder() / "execchild.exe");
    Pids pids = {GetCurrentProcessId(), other.pid()};
    addChildProcesses(pids);
    EXPECT_EQ(std::count(pids.begin(), pids.end(), child.pid()), 1);
    EXPECT_EQ(std::count(pids.begin(), pids.end(), other.pid()), 1);
    Pids ofChild = {child.pid()};
    addChildProcesses(ofChild);
    EXPECT_EQ(ofChild, Pids{child.pid()});
}

TEST(AddChildProcessesTest, TheIdOfEveryParentFindsThisProcessToo) {
    Pids pids = {everyParent};
    addChildProcesses(pids);
    EXPECT_EQ(std::count(pids.begin(), pids.end(), GetCurrentProcessId()), 1);
    std::sort(pids.begin(), pids.end());
    EXPECT_EQ(std::adjacent_find(pids.begin(), pids.end()), pids.end());
}

}  // namespace
