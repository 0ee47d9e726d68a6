#include <algorithm>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace {

using namespace testing_support;

/// Moves the process to a directory for a scope.
class CurrentDirectory {
public:
    explicit CurrentDirectory(const std::string& path) : mBefore(System::getcwd()) {
        SetCurrentDirectoryW(toWide(path).c_str());
    }
    ~CurrentDirectory() { SetCurrentDirectoryW(toWide(mBefore).c_str()); }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

private:
    std::string mBefore;
};

TEST(GetcwdTest, TheCurrentDirectoryHasForwardSlashesAndIsUtf8) {
    const TempFolder folder;
    const std::string directory = folder.utf8("\xD0\xB6\xE4\xB8\xAD");
    ASSERT_TRUE(CreateDirectoryW(System::unicodePath(directory).c_str(), nullptr));
    const CurrentDirectory current(directory);
    EXPECT_EQ(System::getcwd(), directory);
}

TEST(GetcwdTest, NoAnswerOfWindowsIsAnEmptyText) {
    const ReplacedCall<decltype(GetCurrentDirectoryW)> call(
        "GetCurrentDirectoryW", [](DWORD, LPWSTR) -> DWORD { return 0; });
    EXPECT_EQ(System::getcwd(), "");
}

TEST(GetcwdTest, ALengthWithoutANameIsAnEmptyText) {
    const ReplacedCall<decltype(GetCurrentDirectoryW)> call(
        "GetCurrentDirectoryW", [](DWORD room, LPWSTR) -> DWORD { return room == 0 ? 9 : 0; });
    EXPECT_EQ(System::getcwd(), "");
}

TEST(GetcwdTest, ADirectoryThatGrewInBetweenIsAnEmptyText) {
    const ReplacedCall<decltype(GetCurrentDirectoryW)> call(
        "GetCurrentDirectoryW", [](DWORD room, LPWSTR) -> DWORD { return room + 9; });
    EXPECT_EQ(System::getcwd(), "");
}

TEST(GetcwdTest, ThePrefixIsRemoved) {
    const ReplacedCall<decltype(GetCurrentDirectoryW)> call(
        "GetCurrentDirectoryW", [](DWORD room, LPWSTR buffer) -> DWORD {
            const std::wstring_view name = L"\\\\?\\UNC\\srv\\sh";
            if (room == 0) {
                return static_cast<DWORD>(name.size() + 1);
            }
            name.copy(buffer, name.size());
            return static_cast<DWORD>(name.size());
        });
    EXPECT_EQ(System::getcwd(), "//srv/sh");
}

int gCalls = 0;

TEST(LongPathTest, ARelativeNameBecomesAbsolute) {
    const TempFolder folder;
    folder.write("file.txt", "x");
    const CurrentDirectory current(folder.utf8());
    std::string result;
    EXPECT_TRUE(System::longPath("file.txt", result));
    EXPECT_EQ(result, System::getcwd() + "/file.txt");
}

TEST(LongPathTest, ANameThatIsMissingFailsAndLeavesTheAbsoluteForm) {
    const TempFolder folder;
    const CurrentDirectory current(folder.utf8());
    // Wine treats any prefixed name as a long one, so the test makes the answer.
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW",
                                                        [](LPCWSTR, LPWSTR, DWORD) -> DWORD {
                                                            SetLastError(ERROR_FILE_NOT_FOUND);
                                                            return 0;
                                                        });
    std::string result;
    EXPECT_FALSE(System::longPath("missing", result));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(result, System::getcwd() + "/missing");
    EXPECT_FALSE(System::longPath("c:/missing/x", result));
    EXPECT_EQ(result, "c:/missing/x");
}

TEST(LongPathTest, WhetherTheNameIsThereIsNotAsked) {
    // Some systems answer like this.
    const ReplacedCall<decltype(GetLongPathNameW)> call(
        "GetLongPathNameW", [](LPCWSTR name, LPWSTR buffer, DWORD) -> DWORD {
            const std::wstring_view text = name;
            text.copy(buffer, text.size());
            return static_cast<DWORD>(text.size());
        });
    std::string result;
    EXPECT_TRUE(System::longPath("c:/missing/x", result));
    EXPECT_EQ(result, "c:/missing/x");
    EXPECT_FALSE(System::exists(result));
}

TEST(LongPathTest, ANameOfOver260CharactersIsFetchedByASecondCall) {
    const TempFolder folder;
    std::string deep = folder.utf8();
    for (int i = 0; i < 5; ++i) {
        deep += "/" + std::string(80, static_cast<char>('a' + i));
        ASSERT_TRUE(CreateDirectoryW(System::unicodePath(deep).c_str(), nullptr));
    }
    std::string result;
    EXPECT_TRUE(System::longPath(deep, result));
    EXPECT_EQ(result, deep);
    // The destructor of the folder can't remove names of that length.
    std::string message;
    EXPECT_TRUE(System::removeTree(folder.utf8(), message, /*keepRoot=*/true,
                                   /*closeSystemHandles=*/false, /*waitUntilGone=*/false))
        << message;
}

TEST(LongPathTest, AnAnswerOfExactly260IsTheNameAndIsNotAskedForAgain) {
    gCalls = 0;
    const ReplacedCall<decltype(GetLongPathNameW)> call(
        "GetLongPathNameW", [](LPCWSTR, LPWSTR buffer, DWORD room) -> DWORD {
            ++gCalls;
            std::fill_n(buffer, room, L'n');
            return room;
        });
    std::string result;
    EXPECT_TRUE(System::longPath("c:/x", result));
    EXPECT_EQ(result, std::string(260, 'n'));
    EXPECT_EQ(gCalls, 1);
}

DWORD WINAPI nameOnAShare(LPCWSTR, LPWSTR buffer, DWORD) {
    const std::wstring_view name = L"\\\\?\\UNC\\srv\\sh\\x";
    name.copy(buffer, name.size());
    return static_cast<DWORD>(name.size());
}

TEST(LongPathTest, ANameOnAShareComesWithItsTwoSlashes) {
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW", nameOnAShare);
    std::string result;
    EXPECT_TRUE(System::longPath("//srv/sh/X", result));
    EXPECT_EQ(result, "//srv/sh/x");
}

DWORD gSecondAnswer = 0;

TEST(LongPathTest, ASecondCallThatFailsOrAsksForMoreIsAFailure) {
    for (const DWORD second : {0U, 999U}) {
        gSecondAnswer = second;
        const ReplacedCall<decltype(GetLongPathNameW)> call(
            "GetLongPathNameW",
            [](LPCWSTR, LPWSTR, DWORD room) -> DWORD { return room == 260 ? 400 : gSecondAnswer; });
        std::string result;
        EXPECT_FALSE(System::longPath("c:/x", result));
        EXPECT_EQ(result, "c:/x");
    }
}

DWORD WINAPI shortName(LPCWSTR, LPWSTR buffer, DWORD) {
    const std::wstring_view name = L"\\\\?\\C:\\PROGRA~1\\x";
    name.copy(buffer, name.size());
    return static_cast<DWORD>(name.size());
}

TEST(ShortPathTest, TheNameComesWithoutPrefixAndWithForwardSlashes) {
    const ReplacedCall<decltype(GetShortPathNameW)> call("GetShortPathNameW", shortName);
    std::string result;
    EXPECT_TRUE(System::shortPath("C:/Program Files/x", result));
    EXPECT_EQ(result, "C:/PROGRA~1/x");
}

TEST(ShortPathTest, ANameOnAShareComesWithItsTwoSlashes) {
    const ReplacedCall<decltype(GetShortPathNameW)> call("GetShortPathNameW", nameOnAShare);
    std::string result;
    EXPECT_TRUE(System::shortPath("//srv/sh/X", result));
    EXPECT_EQ(result, "//srv/sh/x");
}

std::wstring gAskedName;

TEST(ShortPathTest, ARelativeNameBecomesAbsolute) {
    const TempFolder folder;
    const CurrentDirectory current(folder.utf8());
    const ReplacedCall<decltype(GetShortPathNameW)> call("GetShortPathNameW",
                                                         [](LPCWSTR name, LPWSTR, DWORD) -> DWORD {
                                                             gAskedName = name;
                                                             return 0;
                                                         });
    std::string result;
    EXPECT_FALSE(System::shortPath("sub/x", result));
    EXPECT_EQ(result, System::getcwd() + "/sub/x");
    EXPECT_EQ(gAskedName, System::unicodePath(result));
}

TEST(ShortPathTest, ARealFolderHasAShortForm) {
    const TempFolder folder;
    std::string result;
    EXPECT_TRUE(System::shortPath(folder.utf8(), result));
    EXPECT_NE(GetFileAttributesW(System::unicodePath(result).c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(ShortPathTest, ANameThatIsMissingFailsAndLeavesTheAbsoluteForm) {
    std::string result;
    EXPECT_FALSE(System::shortPath("c:/missing/x", result));
    EXPECT_EQ(result, "c:/missing/x");
}

TEST(ShortPathTest, AnAnswerAbove260IsTheLengthOfATextThatIsNotFetched) {
    gCalls = 0;
    const ReplacedCall<decltype(GetShortPathNameW)> call("GetShortPathNameW",
                                                         [](LPCWSTR, LPWSTR, DWORD room) -> DWORD {
                                                             ++gCalls;
                                                             EXPECT_EQ(room, 260U);
                                                             return 300;
                                                         });
    std::string result;
    EXPECT_TRUE(System::shortPath("c:/x", result));
    EXPECT_EQ(result, std::string(300, '\0'));
    EXPECT_EQ(gCalls, 1);
}

}  // namespace
