// The host of 16-bit programs.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/suspendedprogram-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/errortext-win.h"
#include "util/windows/exec/processnames-win.h"
#include "util/windows/scopedhandle-win.h"

namespace {

using namespace testing_support;

const std::filesystem::path programPath = testing_support::testProgramFolder() / "execchild.exe";

struct Found {
    HANDLE handle;
    std::string log;
};

Found find(uint32_t pid) {
    std::ostringstream log;
    const HANDLE handle = getNtvdm(pid, log);
    return {handle, log.str()};
}

bool isHandle(HANDLE handle) {
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) != FALSE;
}

/// A process whose program has this path, in its own folder.
class Copy {
public:
    explicit Copy(const std::filesystem::path& path) : mProgram(place(path)) {}

    const SuspendedProgram& program() const { return mProgram; }

private:
    std::filesystem::path place(const std::filesystem::path& path) const {
        std::filesystem::path copy = mFolder.path() / path;
        std::filesystem::create_directories(copy.parent_path());
        std::filesystem::copy_file(programPath, copy);
        return copy.make_preferred();
    }

    TempFolder mFolder;
    SuspendedProgram mProgram;
};

TEST(GetNtvdmTest, TheHostIsGivenWithAHandleThatCanEndIt) {
    const Copy host("ntvdm.exe");
    const Found found = find(host.program().pid());
    ASSERT_NE(found.handle, INVALID_HANDLE_VALUE) << found.log;
    EXPECT_EQ(found.log, "");
    const ScopedHandle owner(found.handle);
    EXPECT_EQ(GetProcessId(owner.get()), host.program().pid());
    EXPECT_TRUE(TerminateProcess(owner.get(), 7));
    EXPECT_EQ(WaitForSingleObject(owner.get(), 30'000), DWORD{WAIT_OBJECT_0});
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(owner.get(), &code));
    EXPECT_EQ(code, 7U);
}

TEST(GetNtvdmTest, TheNameCountsAnywhereInThePath) {
    for (const char* path : {"ntvdm.exe/program.exe", "an ntvdm.exe.exe"}) {
        const Copy host(path);
        const Found found = find(host.program().pid());
        EXPECT_NE(found.handle, INVALID_HANDLE_VALUE) << path;
        EXPECT_EQ(found.log, "") << path;
        const ScopedHandle owner(found.handle);
    }
}

struct OpenCall {
    DWORD access;
    BOOL isInherited;
    DWORD pid;
};
std::vector<OpenCall> gOpenCalls;
HANDLE gOpened;
decltype(OpenProcess)* gOpenProcess;

/// Opens processes as the system does, and records the requests and the last handle.
class SeenOpening {
public:
    SeenOpening()
        : mCall("OpenProcess", [](DWORD access, BOOL isInherited, DWORD pid) -> HANDLE {
              gOpenCalls.push_back({access, isInherited, pid});
              gOpened = gOpenProcess(access, isInherited, pid);
              return gOpened;
          }) {
        gOpenProcess = mCall.original();
        gOpenCalls.clear();
    }

private:
    ReplacedCall<decltype(OpenProcess)> mCall;
};

TEST(GetNtvdmTest, AProcessIsOpenedWithTheRightsThatAreNeeded) {
    const SuspendedProgram program(programPath);
    const SeenOpening opening;
    find(program.pid());
    ASSERT_EQ(gOpenCalls.size(), 1U);
    EXPECT_EQ(gOpenCalls[0].access,
              DWORD{PROCESS_TERMINATE | PROCESS_VM_READ | PROCESS_QUERY_INFORMATION | SYNCHRONIZE});
    EXPECT_FALSE(gOpenCalls[0].isInherited);
    EXPECT_EQ(gOpenCalls[0].pid, program.pid());
}

TEST(GetNtvdmTest, AnotherProgramIsNotTheHostAndItsHandleIsClosed) {
    const SuspendedProgram program(programPath);
    const SeenOpening opening;
    const Found found = find(program.pid());
    EXPECT_EQ(found.handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.log, "");
    ASSERT_NE(gOpened, nullptr);
    EXPECT_FALSE(isHandle(gOpened));
}

TEST(GetNtvdmTest, AProcessThatCannotBeOpenedIsALineInTheLog) {
    const SystemMessage message(L"Access is denied.\r\n");
    const ReplacedCall<decltype(OpenProcess)> call("OpenProcess", [](DWORD, BOOL, DWORD) -> HANDLE {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    for (const uint32_t pid : {1234U, 4'294'967'292U}) {
        const Found found = find(pid);
        EXPECT_EQ(found.handle, INVALID_HANDLE_VALUE);
        EXPECT_EQ(found.log, std::string("\tCouldn't get handle of process ") +
                                 std::to_string(pid) + ": OpenProcess: Access is denied. (5)\n");
    }
}

TEST(GetNtvdmTest, AProcessThatIsNotThereIsALineInTheLog) {
    const Found found = find(4'294'967'292U);
    EXPECT_EQ(found.handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.log, std::string("\tCouldn't get handle of process 4294967292: ") +
                             win32ErrorText("OpenProcess", ERROR_INVALID_PARAMETER) + "\n");
}

TEST(GetNtvdmTest, AProcessWithoutANameIsALineInTheLogAndItsHandleIsClosed) {
    const SystemMessage none(L"");
    const ReplacedCall<decltype(OpenProcess)> call("OpenProcess", [](DWORD, BOOL, DWORD) -> HANDLE {
        gOpened = CreateEventW(nullptr, TRUE, FALSE, nullptr);  // not a process at all
        return gOpened;
    });
    const Found found = find(1234);
    EXPECT_EQ(found.handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(
        found.log,
        "\tCouldn't get name of process 1234: GetProcessImageFileName: Windows error 6 (6)\n");
    ASSERT_NE(gOpened, nullptr);
    EXPECT_FALSE(isHandle(gOpened));
}

// The function for names is looked up once in a process. So each test of that uses a process of its
// own, which exits with 0 if everything is as expected.

/// Ends the process and writes what differs.
[[noreturn]] void endWith(const std::string& seen, const std::string& expected) {
    if (seen != expected) {
        std::cerr << "[" << seen << "] and not [" << expected << "]";
    }
    std::exit(seen == expected ? 0 : 1);
}

/// The result of two searches, the second with the system's own function again.
template <class Signature>
std::string searchTwice(const char* replaced, Signature* replacement) {
    const SeenOpening opening;
    std::string seen;
    {
        const SystemMessage message(L"There is no such thing.\r\n");
        const ReplacedCall<Signature> call(replaced, replacement);
        const Found first = find(GetCurrentProcessId());
        seen = first.log + (first.handle == INVALID_HANDLE_VALUE ? "-1;" : "found;");
    }
    const Found second = find(GetCurrentProcessId());
    seen += second.log + (second.handle == INVALID_HANDLE_VALUE ? "-1;" : "found;");
    return seen + std::to_string(gOpenCalls.size()) + " opened";
}

void searchWithoutLibrary() {
    const std::string seen =
        searchTwice<decltype(LoadLibraryA)>("LoadLibraryA", [](LPCSTR) -> HMODULE {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        });
    endWith(seen,
            "\tCouldn't check for ntvdm.exe: LoadLibrary(\"psapi.dll\"): There is no such thing. "
            "(126)\n-1;-1;0 opened");
}

TEST(GetNtvdmDeathTest, WithoutTheLibraryTheSearchIsGivenUpWithOneLine) {
    EXPECT_EXIT(searchWithoutLibrary(), testing::ExitedWithCode(0), "");
}

void searchWithoutFunction() {
    const std::string seen =
        searchTwice<decltype(GetProcAddress)>("GetProcAddress", [](HMODULE, LPCSTR) -> FARPROC {
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
        });
    endWith(seen,
            "\tCouldn't check for ntvdm.exe: GetProcAddress(\"GetProcessImageFileNameA\"): There "
            "is no such thing. (127)\n-1;-1;0 opened");
}

TEST(GetNtvdmDeathTest, WithoutTheFunctionTheSearchIsGivenUpWithOneLine) {
    EXPECT_EXIT(searchWithoutFunction(), testing::ExitedWithCode(0), "");
}

// A library and a function that replace the system's.

std::string gLoaded;
std::string gLookedUp;
DWORD gRoom;
DWORD gNameError;

HMODULE WINAPI load(LPCSTR name) {
    gLoaded += name;
    return GetModuleHandleW(nullptr);
}

/// Returns a name without a terminating NUL, which would be the host's with one character more; or
/// fails.
DWORD WINAPI nameWithoutEnd(HANDLE, LPSTR name, DWORD room) {
    gRoom = room;
    SetLastError(gNameError);
    std::fill_n(name, room, 'x');
    const std::string_view host = "ntvdm.exe";
    host.copy(name + room - host.size(), host.size());
    return gNameError == 0 ? room : 0;
}

FARPROC WINAPI lookUp(HMODULE module, LPCSTR name) {
    gLookedUp.append(module == GetModuleHandleW(nullptr) ? "" : "elsewhere ").append(name);
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(nameWithoutEnd));
}

void searchWithStandIns() {
    const SystemMessage message(L"There is no such thing.\r\n");
    const ReplacedCall<decltype(LoadLibraryA)> loading("LoadLibraryA", load);
    const ReplacedCall<decltype(GetProcAddress)> lookup("GetProcAddress", lookUp);
    const Found first = find(GetCurrentProcessId());
    std::string seen = first.log + (first.handle == INVALID_HANDLE_VALUE ? "-1" : "found");
    gNameError = ERROR_ACCESS_DENIED;
    seen.append(";").append(find(GetCurrentProcessId()).log);
    seen.append(std::to_string(gRoom)).append(";" + gLoaded).append(";" + gLookedUp);
    endWith(seen, std::string("-1;\tCouldn't get name of process ") +
                      std::to_string(GetCurrentProcessId()) +
                      ": GetProcessImageFileName: There is no such thing. (5)\n"
                      "260;psapi.dll;GetProcessImageFileNameA");
}

TEST(GetNtvdmDeathTest, TheFunctionIsLookedUpOnceAndGivesUpTo260CharactersOrALine) {
    EXPECT_EXIT(searchWithStandIns(), testing::ExitedWithCode(0), "");
}

}  // namespace
