// Names of programs. The host of 16-bit programs: processnames-ntvdm-win_test.cpp. The children of
// processes: processnames-children-win_test.cpp.

#include "util/windows/exec/processnames-win.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <psapi.h>
#include <winternl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/suspendedprogram-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/scopedhandle-win.h"

namespace {

using namespace testing_support;

const std::filesystem::path programPath = testing_support::testProgramFolder() / "execchild.exe";

/// Returns the name, written into a buffer that held something else. Checks that it ends within the
/// buffer.
std::wstring nameOf(HANDLE process) {
    std::array<wchar_t, processNameRoom + 10> room;
    room.fill(L'#');
    processImageName(process, room.data());
    EXPECT_EQ(room[processNameRoom - 1], L'\0');
    EXPECT_TRUE(std::all_of(room.begin() + processNameRoom, room.end(),
                            [](wchar_t c) { return c == L'#'; }));
    return room.data();
}

TEST(ProcessImageNameTest, TheKernelNamesTheProgram) {
    const SuspendedProgram program(programPath);
    std::wstring native(1000, L'\0');
    DWORD size = 1000;
    ASSERT_TRUE(
        QueryFullProcessImageNameW(program.handle(), PROCESS_NAME_NATIVE, native.data(), &size));
    native.resize(size);
    ASSERT_EQ(native.substr(0, 8), L"\\Device\\");
    EXPECT_EQ(nameOf(program.handle()), native);
}

TEST(ProcessImageNameTest, TheKernelIsAskedFor260CharactersOfWhichTheLastIsCut) {
    static DWORD asked;
    const ReplacedCall<decltype(K32GetProcessImageFileNameW)> call(
        "K32GetProcessImageFileNameW", [](HANDLE, LPWSTR name, DWORD room) -> DWORD {
            asked = room;
            std::fill_n(name, room, L'k');
            return room;
        });
    EXPECT_EQ(nameOf(GetCurrentProcess()), std::wstring(259, L'k'));
    EXPECT_EQ(asked, 260U);
}

/// For its lifetime, the kernel has no names, but leaves something in their place.
class NoKernelNames {
    ReplacedCall<decltype(K32GetProcessImageFileNameW)> mCall{
        "K32GetProcessImageFileNameW", [](HANDLE, LPWSTR name, DWORD room) -> DWORD {
            std::fill_n(name, room, L'?');
            SetLastError(ERROR_ACCESS_DENIED);
            return 0;
        }};
};

TEST(ProcessImageNameTest, OtherwiseItIsReadFromTheMemoryOfTheProcess) {
    const SuspendedProgram program(programPath);
    const NoKernelNames none;
    std::filesystem::path expected = programPath;
    EXPECT_EQ(nameOf(program.handle()), expected.make_preferred().wstring());
}

TEST(ProcessImageNameTest, ANameInMemoryMayHaveAnyLetters) {
    const TempFolder folder;
    std::filesystem::path copy = folder.path() / L"\u4E2D \u00E4.exe";
    std::filesystem::copy_file(programPath, copy);
    const SuspendedProgram program(copy);
    const NoKernelNames none;
    EXPECT_EQ(nameOf(program.handle()), copy.make_preferred().wstring());
}

struct Read {
    const void* address;
    size_t size;
};

/// How the memory of a process is read.
struct Reading {
    decltype(ReadProcessMemory)* original = nullptr;
    std::vector<Read> reads = {};
    size_t failing = 0;        ///< which read fails; 0 for none
    bool hasLength = false;    ///< whether to give the name the length below
    USHORT length = 0;         ///< in bytes
    PEB peb = {};              ///< what was read first
    UNICODE_STRING name = {};  ///< what was read second
};
Reading gReading;

BOOL WINAPI readMemory(HANDLE process, LPCVOID address, LPVOID buffer, SIZE_T size, SIZE_T* done) {
    gReading.reads.push_back({address, size});
    const size_t count = gReading.reads.size();
    if (count == gReading.failing) {
        std::memset(buffer, '?', size);
        SetLastError(ERROR_PARTIAL_COPY);
        return FALSE;
    }
    if (count == 3 && gReading.hasLength) {
        std::fill_n(static_cast<wchar_t*>(buffer), size / sizeof(wchar_t), L'm');
        return TRUE;
    }
    const BOOL isRead = gReading.original(process, address, buffer, size, done);
    if (count == 1) {
        gReading.peb = *static_cast<const PEB*>(buffer);
    } else if (count == 2) {
        auto* parameters = static_cast<RTL_USER_PROCESS_PARAMETERS*>(buffer);
        if (gReading.hasLength) {
            parameters->ImagePathName.Length = gReading.length;
        }
        gReading.name = parameters->ImagePathName;
    }
    return isRead;
}

/// Replaces both sources of names.
class ReplacedReading {
public:
    explicit ReplacedReading(const Reading& reading = {}) {
        gReading = reading;
        gReading.original = mCall.original();
    }

private:
    NoKernelNames mNone;
    ReplacedCall<decltype(ReadProcessMemory)> mCall{"ReadProcessMemory", readMemory};
};

TEST(ProcessImageNameTest, TheRecordsOfTheProcessLeadToItsName) {
    const SuspendedProgram program(programPath);
    const ReplacedReading reading;
    const std::wstring name = nameOf(program.handle());
    EXPECT_FALSE(name.empty());
    ASSERT_EQ(gReading.reads.size(), 3U);
    EXPECT_EQ(gReading.reads[0].size, 712U);
    EXPECT_EQ(gReading.reads[1].size, 128U);
    EXPECT_EQ(gReading.reads[2].size, name.size() * 2);
    EXPECT_EQ(gReading.reads[1].address, gReading.peb.ProcessParameters);
    EXPECT_EQ(gReading.reads[2].address, gReading.name.Buffer);
}

TEST(ProcessImageNameTest, AReadThatFailsLeavesTheNameEmpty) {
    const SuspendedProgram program(programPath);
    for (size_t failing = 1; failing <= 3; ++failing) {
        const ReplacedReading reading({.failing = failing});
        EXPECT_EQ(nameOf(program.handle()), L"") << "read " << failing;
        EXPECT_EQ(gReading.reads.size(), failing);
    }
}

TEST(ProcessImageNameTest, OfANameInMemoryAtMost520BytesAreReadAndTheLastCharacterIsCut) {
    struct Row {
        USHORT length;
        size_t read;
        size_t characters;
    };
    const SuspendedProgram program(programPath);
    for (const auto& [length, read, characters] : {
             Row{0, 0, 0},
             Row{2, 2, 1},
             Row{516, 516, 258},
             Row{518, 518, 259},
             Row{520, 520, 259},
             Row{522, 520, 259},
             Row{65534, 520, 259},
         }) {
        const ReplacedReading reading({.hasLength = true, .length = length});
        EXPECT_EQ(nameOf(program.handle()), std::wstring(characters, L'm')) << length;
        ASSERT_LE(gReading.reads.size(), 3U);
        EXPECT_EQ(gReading.reads.size() == 3 ? gReading.reads[2].size : 0, read) << length;
    }
}

/// The name of a process of this program; nothing if the system can't start it.
std::optional<std::wstring> nameWhenStarted(const std::filesystem::path& path) {
    try {
        return nameOf(SuspendedProgram(path).handle());
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

TEST(ProcessImageNameTest, AProgramWithALongPathHasTheFirst259CharactersOfIt) {
    const TempFolder folder;
    std::filesystem::path deep = L"\\\\?\\" + folder.path().wstring();
    deep.make_preferred();
    constexpr int levels = 3;
    for (int level = 0; level < levels; ++level) {
        deep /= std::wstring(90, L'd');
        ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
    }
    ASSERT_TRUE(CopyFileW(programPath.c_str(), (deep / "program.exe").c_str(), TRUE));
    const std::optional<std::wstring> name = nameWhenStarted(deep / "program.exe");
    // Only these calls accept such a path.
    DeleteFileW((deep / "program.exe").c_str());
    for (int level = 0; level < levels; ++level) {
        RemoveDirectoryW(deep.c_str());
        deep = deep.parent_path();
    }
    if (!name) {
        GTEST_SKIP() << "this system starts no program with such a path";
    }
    EXPECT_EQ(name->size(), 259U);
    EXPECT_NE(name->find(std::wstring(90, L'd') + L"\\d"), std::wstring::npos) << "a cut path";
}

TEST(ProcessImageNameTest, WhatIsNoProcessHasNoName) {
    const ScopedHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    EXPECT_EQ(nameOf(event.get()), L"");
    EXPECT_EQ(nameOf(nullptr), L"");
}

TEST(ProcessImageNameTest, AProcessThatHasEndedHasNoMemoryToReadItFrom) {
    const SuspendedProgram program(programPath);
    program.end();
    const NoKernelNames none;
    EXPECT_EQ(nameOf(program.handle()), L"");
}

TEST(ProcessImageNameTest, AHandleThatMayNotReadMemoryDoesNot) {
    const SuspendedProgram program(programPath);
    const ScopedHandle restricted(
        OpenProcess(PROCESS_QUERY_INFORMATION, /*bInheritHandle=*/FALSE, program.pid()));
    const NoKernelNames none;
    EXPECT_EQ(nameOf(restricted.get()), L"");
}

// The system's function is looked up once in a process, so each test of that uses a process of its
// own.

int gLookups;
PROCESSINFOCLASS gClass;
ULONG gSize;

NTSTATUS NTAPI refuse(HANDLE, PROCESSINFOCLASS infoClass, void*, ULONG size, ULONG*) {
    gClass = infoClass;
    gSize = size;
    return static_cast<NTSTATUS>(0xC0000022);
}

using Lookup = decltype(GetProcAddress);

FARPROC WINAPI findRefusal(HMODULE module, LPCSTR name) {
    ++gLookups;
    const bool isMeant = module == GetModuleHandleW(L"ntdll.dll") &&
                         std::strcmp(name, "NtQueryInformationProcess") == 0;
    return isMeant ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(refuse)) : nullptr;
}

FARPROC WINAPI findNothing(HMODULE, LPCSTR) {
    ++gLookups;
    return nullptr;
}

/// Asks twice for the name of a process that could be named. Exits with 0 if both names are empty;
/// the parent checks the number of lookups.
void nameTwice(Lookup* lookup) {
    const NoKernelNames none;
    const ReplacedCall<Lookup> call("GetProcAddress", lookup);
    const std::wstring names = nameOf(GetCurrentProcess()) + nameOf(GetCurrentProcess());
    std::cerr << gLookups << " lookups, class " << gClass << ", " << gSize << " bytes";
    std::exit(names.empty() ? 0 : 1);
}

TEST(ProcessImageNameDeathTest, TheFunctionForTheBasicFactsOfAProcessIsLookedUpOnce) {
    EXPECT_EXIT(nameTwice(findRefusal), testing::ExitedWithCode(0),
                "^1 lookups, class 0, 48 bytes$");
}

TEST(ProcessImageNameDeathTest, WithoutThatFunctionThereIsNoName) {
    EXPECT_EXIT(nameTwice(findNothing), testing::ExitedWithCode(0),
                "^1 lookups, class 0, 0 bytes$");
}

}  // namespace
