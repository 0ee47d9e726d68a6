// The folder of the running program and those around it, and the process's environment and current
// directory.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/host-win.h"

namespace {

using namespace testing_support;

// A process determines the program's folder only once. Therefore tests of how it is found are death
// tests: the statement runs in its own process, and reports on standard error.

std::wstring gProgram;

/// Answers with `gProgram`, cut to the size of the buffer.
DWORD WINAPI programName(HMODULE module, LPWSTR name, DWORD room) {
    std::cerr << (module == nullptr ? "" : "another module ") << room << ";";
    const size_t length = std::min<size_t>(gProgram.size(), room);
    gProgram.copy(name, length);
    if (length < room) {
        name[length] = L'\0';
    }
    return static_cast<DWORD>(length);
}

void print(const std::string& path) { std::cerr << "[" << path << "]"; }
void printDirectory() { print(System::programDirectory()); }

[[noreturn]] void printDirectoryOf(const std::wstring& program) {
    const ReplacedCall<decltype(GetModuleFileNameW)> call("GetModuleFileNameW", programName);
    gProgram = program;
    printDirectory();
    std::exit(0);
}

std::wstring programOfLength(size_t length) { return L"C:\\p\\" + std::wstring(length - 5, L'x'); }

TEST(SystemProgramDirectoryDeathTest, ANameThatFillsTheBufferIsAskedForAgainWithTwiceTheRoom) {
    EXPECT_EXIT(printDirectoryOf(programOfLength(259)), testing::ExitedWithCode(0),
                "^260;\\[C:\\\\p\\]$");
    EXPECT_EXIT(printDirectoryOf(programOfLength(260)), testing::ExitedWithCode(0),
                "^260;520;\\[C:\\\\p\\]$");
    EXPECT_EXIT(printDirectoryOf(programOfLength(1040)), testing::ExitedWithCode(0),
                "^260;520;1040;2080;\\[C:\\\\p\\]$");
}

TEST(SystemProgramDirectoryDeathTest, TheNameIsCutAtTheLastBackslashAndIsUtf8) {
    EXPECT_EXIT(printDirectoryOf(L"C:\\\u03A9/a\\b c\\x.exe"), testing::ExitedWithCode(0),
                "^260;\\[C:\\\\\xCE\xA9/a\\\\b c\\]$");
}

TEST(SystemProgramDirectoryDeathTest, ANameWithoutABackslashIsNotCut) {
    EXPECT_EXIT(printDirectoryOf(L"C:/p/x.exe"), testing::ExitedWithCode(0),
                "^260;\\[C:/p/x.exe\\]$");
}

void printWhatIsKept() {
    const ReplacedCall<decltype(GetModuleFileNameW)> call("GetModuleFileNameW", programName);
    const std::string* none = &System::programDirectory();
    std::cerr << (none == &System::programDirectory() ? "same" : "another");
    for (const wchar_t* program : {L"", L"C:\\one\\x.exe", L"C:\\two\\x.exe"}) {
        gProgram = program;
        printDirectory();
    }
    std::exit(0);
}

TEST(SystemProgramDirectoryDeathTest, TheFirstFolderIsKeptAndWithoutOneItIsEmpty) {
    EXPECT_EXIT(printWhatIsKept(), testing::ExitedWithCode(0),
                "^260;260;same260;\\[\\]260;\\[C:\\\\one\\]\\[C:\\\\one\\]$");
}

void failToConvert() {
    gProgram = L"C:\\p\\x.exe";
    const ReplacedCall<decltype(GetModuleFileNameW)> call("GetModuleFileNameW", programName);
    const ReplacedCall<decltype(WideCharToMultiByte)> conversion(
        "WideCharToMultiByte",
        [](UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) -> int { return 0; });
    printDirectory();
    std::exit(0);
}

TEST(SystemProgramDirectoryDeathTest, AFolderThatCannotBeConvertedIsEmpty) {
    EXPECT_EXIT(failToConvert(), testing::ExitedWithCode(0), "^260;\\[\\]$");
}

void loseTheRace() {
    static const std::string* winner = nullptr;
    const ReplacedCall<decltype(GetModuleFileNameW)> call(
        "GetModuleFileNameW", [](HMODULE, LPWSTR name, DWORD) -> DWORD {
            static int calls = 0;
            if (++calls == 1) {
                winner = &System::programDirectory();  // another thread is faster
                return static_cast<DWORD>(std::wcslen(lstrcpyW(name, L"C:\\late\\x.exe")));
            }
            return static_cast<DWORD>(std::wcslen(lstrcpyW(name, L"C:\\first\\x.exe")));
        });
    printDirectory();
    std::cerr << (winner == &System::programDirectory() ? " of the first" : " of its own");
    std::exit(0);
}

TEST(SystemProgramDirectoryDeathTest, OfTwoThatFindItTheFirstOnesTextIsGivenToBoth) {
    EXPECT_EXIT(loseTheRace(), testing::ExitedWithCode(0), "^\\[C:\\\\first\\] of the first$");
}

/// Loses the race with a folder of many characters, and reports whether its copy was freed.
void loseTheRaceWithALongFolder() {
    static bool nested = false;
    static const std::wstring late = L"C:\\" + std::wstring(20'000, L'x') + L"\\x.exe";
    const ReplacedCall<decltype(GetModuleFileNameW)> call(
        "GetModuleFileNameW", [](HMODULE, LPWSTR name, DWORD room) -> DWORD {
            if (nested) {
                return static_cast<DWORD>(std::wcslen(lstrcpyW(name, L"C:\\first\\x.exe")));
            }
            if (room <= late.size()) {
                return room;
            }
            nested = true;
            static_cast<void>(System::programDirectory());  // another thread is faster
            lstrcpyW(name, late.c_str());
            return static_cast<DWORD>(late.size());
        });
    const size_t before = heapBytes();
    printDirectory();
    std::cerr << (heapBytes() < before + late.size() / 2 ? " freed" : " kept");
    std::exit(0);
}

TEST(SystemProgramDirectoryDeathTest, TheTextOfTheOneThatIsLateIsFreed) {
    EXPECT_EXIT(loseTheRaceWithALongFolder(), testing::ExitedWithCode(0),
                "^\\[C:\\\\first\\] freed$");
}

std::string programFolder() { return toUtf8(testing_support::testProgramFolder().wstring()); }

TEST(SystemProgramDirectoryTest, ItIsTheFolderOfTheRunningProgram) {
    EXPECT_EQ(System::programDirectory(), programFolder());
    EXPECT_EQ(&System::programDirectory(), &System::programDirectory());
}

std::string fallback() { return "the fallback"; }

TEST(SystemPathBelowProgramTest, ASlashIsBetweenUnlessTheRelativePathBringsOne) {
    const std::string program = programFolder();
    EXPECT_EQ(System::pathBelowProgram("a/b", fallback), program + "/a/b");
    EXPECT_EQ(System::pathBelowProgram("/a/b", fallback), program + "/a/b");
    EXPECT_EQ(System::pathBelowProgram("", fallback), program);
}

TEST(SystemPathBelowProgramTest, ABackslashIsNoSlashBetween) {
    EXPECT_EQ(System::pathBelowProgram("\\a", fallback), programFolder() + "/\\a");
}

void printPathsBelow(const std::wstring& program) {
    const ReplacedCall<decltype(GetModuleFileNameW)> call("GetModuleFileNameW", programName);
    gProgram = program;
    for (const char* relative : {"a", "/a", ""}) {
        print(System::pathBelowProgram(relative, fallback));
    }
    std::exit(0);
}

TEST(SystemPathBelowProgramDeathTest, NoSlashIsAddedToAFolderThatEndsInOne) {
    EXPECT_EXIT(printPathsBelow(L"C:/p/\\x.exe"), testing::ExitedWithCode(0),
                "^260;\\[C:/p/a\\]\\[C:/p//a\\]\\[C:/p/\\]$");
}

TEST(SystemPathBelowProgramDeathTest, ASlashIsAddedToAFolderThatEndsInABackslash) {
    EXPECT_EXIT(printPathsBelow(L"C:\\p\\\\x.exe"), testing::ExitedWithCode(0),
                R"(^260;\[C:\\p\\/a\]\[C:\\p\\/a\]\[C:\\p\\\]$)");
}

TEST(SystemPathBelowProgramDeathTest, WithoutAFolderItIsWhatTheFallbackReturns) {
    EXPECT_EXIT(printPathsBelow(L""), testing::ExitedWithCode(0),
                "^260;\\[the fallback\\]260;\\[the fallback\\]260;\\[the fallback\\]$");
}

TEST(SystemPathBelowProgramTest, BaseConfigurationAndInstallationLieAroundTheProgram) {
    const std::string program = programFolder();
    EXPECT_EQ(System::baseDirectory(), program + "/../..");
    EXPECT_EQ(System::configurationDirectory(), program + "/../../conf");
    EXPECT_EQ(System::installationFallback(), program + "/../../..");
}

void printWithoutProgram() {
    const ReplacedCall<decltype(GetModuleFileNameW)> call("GetModuleFileNameW", programName);
    for (const std::string& path : {System::baseDirectory(), System::configurationDirectory(),
                                    System::installationFallback()}) {
        std::cerr << (path == System::getcwd() ? "current;" : path + ";");
    }
    std::exit(0);
}

TEST(SystemPathBelowProgramDeathTest, WithoutAProgramsFolderTheyAreTheCurrentDirectory) {
    EXPECT_EXIT(printWithoutProgram(), testing::ExitedWithCode(0),
                "^260;260;260;current;current;current;$");
}

/// Returns the variable as the C runtime and as Windows report it, or "(none)" if it is missing.
std::wstring variable(const wchar_t* name) {
    const wchar_t* known = _wgetenv(name);
    std::wstring value(100, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), 100));
    return std::wstring(known != nullptr ? known : L"(none)")
        .append(L" ")
        .append(value.empty() ? L"(none)" : value);
}

TEST(SystemSetEnvironmentTest, AVariableIsSetChangedAndRemovedForTheRuntimeAndTheSystem) {
    const wchar_t* name = L"NB_TEST_\u00C4\u03A9";
    ASSERT_EQ(variable(name), L"(none) (none)");
    EXPECT_EQ(System::setEnvironment("NB_TEST_\xC3\x84\xCE\xA9=\xD1\x8F=1"), callSucceeded);
    EXPECT_EQ(variable(name), L"\u044F=1 \u044F=1");
    EXPECT_EQ(System::setEnvironment("NB_TEST_\xC3\x84\xCE\xA9=b"), callSucceeded);
    EXPECT_EQ(variable(name), L"b b");
    EXPECT_EQ(System::unsetEnvironment("NB_TEST_\xC3\x84\xCE\xA9"), callSucceeded);
    EXPECT_EQ(variable(name), L"(none) (none)");
}

TEST(SystemSetEnvironmentTest, AnEntryWithAnEmptyValueRemovesTheVariable) {
    EXPECT_EQ(System::setEnvironment("NB_TEST_EMPTY=x"), callSucceeded);
    EXPECT_EQ(System::setEnvironment("NB_TEST_EMPTY="), callSucceeded);
    EXPECT_EQ(variable(L"NB_TEST_EMPTY"), L"(none) (none)");
}

TEST(SystemSetEnvironmentTest, AnEntryWithoutASignFails) {
    EXPECT_EQ(System::setEnvironment("NB_TEST_NO_SIGN"), callFailed);
    EXPECT_EQ(variable(L"NB_TEST_NO_SIGN"), L"(none) (none)");
}

/// Puts the current directory back.
class DirectoryScope {
public:
    DirectoryScope() = default;
    ~DirectoryScope() { SetCurrentDirectoryW(toWide(mBefore).c_str()); }
    DirectoryScope(const DirectoryScope&) = delete;
    DirectoryScope& operator=(const DirectoryScope&) = delete;

private:
    std::string mBefore = System::getcwd();
};

TEST(SystemChangeDirectoryTest, APathOfAnyLettersBecomesTheCurrentDirectory) {
    const TempFolder folder;
    const std::string path = folder.utf8("\xE4\xB8\xAD \xC3\xA4");
    ASSERT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    const DirectoryScope scope;
    EXPECT_TRUE(System::changeDirectory(path));
    EXPECT_EQ(System::getcwd(), path);
}

TEST(SystemChangeDirectoryTest, AMissingFolderIsAFailureAndNothingChanges) {
    const std::string before = System::getcwd();
    const DirectoryScope scope;
    EXPECT_FALSE(System::changeDirectory("c:/missing/x"));
    EXPECT_NE(GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(System::getcwd(), before);
}

TEST(SystemChangeDirectoryTest, ThePathGoesToWindowsAsItIs) {
    static std::wstring asked;
    const ReplacedCall<decltype(SetCurrentDirectoryW)> call("SetCurrentDirectoryW",
                                                            [](LPCWSTR path) -> BOOL {
                                                                asked = path;
                                                                return TRUE;
                                                            });
    EXPECT_TRUE(System::changeDirectory("c:/a/./b /..\\c. "));
    EXPECT_EQ(asked, L"c:/a/./b /..\\c. ");
}

}  // namespace
