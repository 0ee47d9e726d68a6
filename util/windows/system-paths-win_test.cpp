#include "util/windows/system-paths-win.h"

#include <algorithm>
#include <random>
#include <string_view>
#include <vector>

#include <boost/regex.hpp>
#include <gtest/gtest.h>

#include <windows.h>

#include "testing/debugoutput-win.h"
#include "testing/replacedcall-win.h"
#include "testing/tempfolder.h"
#include "util/pathfun.h"
#include "util/windows/unicodetext-win.h"

namespace {

using testing_support::DebugOutput;
using testing_support::ReplacedCall;
using testing_support::TempFolder;

struct Row {
    const char* path;
    const wchar_t* wide;
};

void expectPaths(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(System::unicodePath(row.path), row.wide) << row.path;
    }
}

TEST(UnicodePathTest, ALocalPathIsFoldedAndPrefixed) {
    expectPaths({{"c:/a/../b", L"\\\\?\\c:\\b"},
                 {"C:\\", L"\\\\?\\C:\\"},
                 {"z:/x\\.\\y/", L"\\\\?\\z:\\x\\y"},
                 {"c:/..", L"\\\\?\\c:\\"}});
}

TEST(UnicodePathTest, APathThatIsNoLocalPathIsOnlyWidened) {
    expectPaths({{"", L""},
                 {"c:foo", L"c:foo"},
                 {"c:", L"c:"},
                 {"1:/x/../y", L"1:\\x\\..\\y"},
                 {"a/../b", L"a\\..\\b"},
                 {"/x/y", L"\\x\\y"},
                 {"/", L"\\"},
                 {"/\\srv\\sh\\x", L"\\\\srv\\sh\\x"}});
}

TEST(UnicodePathTest, ANetworkPathIsFoldedBehindTheUncPrefix) {
    expectPaths({{"//server/share/x", L"\\\\?\\UNC\\server\\share\\x"},
                 {"\\\\server\\share\\a\\..\\b", L"\\\\?\\UNC\\server\\share\\b"},
                 {"//?/x/y", L"\\\\?\\UNC\\?\\x\\y"}});
}

TEST(UnicodePathTest, APathThatIsPrefixedAlreadyKeepsItsPrefixAndIsNotFolded) {
    expectPaths({{"\\\\?\\c:\\a.", L"\\\\?\\c:\\a"},
                 {"\\\\?\\c:/a/../b", L"\\\\?\\c:\\a\\..\\b"},
                 {"//?\\c:\\x", L"\\\\?\\c:\\x"},
                 {"\\\\?\\", L"\\\\?\\"}});
}

TEST(UnicodePathTest, BlanksAndDotsAtTheEndOfEachNameAreRemoved) {
    expectPaths({{"a b . /c", L"a b\\c"},
                 {"c:/a./b .. /c ", L"\\\\?\\c:\\a\\b\\c"},
                 {"//srv/sh./x.", L"\\\\?\\UNC\\srv\\sh\\x"},
                 {"a.b/c d.e", L"a.b\\c d.e"}});
}

TEST(UnicodePathTest, NamesOfDotsAloneSurvive) {
    expectPaths({{"../...", L"..\\..."},
                 {"c:/.../x", L"\\\\?\\c:\\...\\x"},
                 {"a/..", L"a\\.."},
                 {"./a", L".\\a"}});
}

TEST(UnicodePathTest, OfANameOfBlanksTheExpressionLeavesTheFirst) {
    expectPaths({{"a/ /b", L"a\\ \\b"}, {"a/  /b", L"a\\ \\b"}, {"a/. /b", L"a\\. \\b"}});
}

TEST(UnicodePathTest, TheNullDeviceLosesThePrefixOfALocalPath) {
    expectPaths({{"c:/nul", L"c:\\nul"},
                 {"c:/a/NUL", L"c:\\a\\NUL"},
                 {"c:/NuL.", L"c:\\NuL"},
                 {"\\\\?\\c:\\x\\nul", L"c:\\x\\nul"},
                 {"c:/anul", L"\\\\?\\c:\\anul"},
                 {"c:/nul/x", L"\\\\?\\c:\\nul\\x"}});
}

TEST(UnicodePathTest, ANetworkPathToTheNullDeviceKeepsItsPrefix) {
    expectPaths({{"//srv/sh/nul", L"\\\\?\\UNC\\srv\\sh\\nul"}, {"x/nul", L"x\\nul"}});
}

TEST(UnicodePathTest, NamesOfAllPlanesAreWidened) {
    EXPECT_EQ(System::unicodePath("c:/\xD0\xB6/\xE4\xB8\xAD/\xF0\x9F\x98\x80"),
              L"\\\\?\\c:\\\x0436\\\x4E2D\\\xD83D\xDE00");
}

TEST(UnicodePathTest, AServerWithoutAShareIsToldToTheDebuggerAndGivesNothing) {
    for (const std::string path : {"//srv", "\\\\srv\\", "//", "\\\\"}) {
        const DebugOutput output;
        EXPECT_EQ(System::unicodePath(path), L"");
        ASSERT_EQ(output.texts().size(), 1U);
        EXPECT_EQ(output.texts()[0],
                  "System::unicodePath(\"" + path + "\"):  the path is not absolute\n");
    }
}

TEST(UnicodePathTest, ANameThatTheExpressionGivesUpOnIsToldToTheDebuggerAndStaysAsFarAsItIs) {
    // A run of dots that ends nowhere is tried from each of its places: the library's own limit.
    const std::string path = "c:/" + std::string(30000, '.') + "x/a.";
    const DebugOutput output;
    const std::wstring wide = System::unicodePath(path);
    if (output.texts().empty()) {
        EXPECT_EQ(wide, L"\\\\?\\c:\\" + std::wstring(30000, L'.') + L"x\\a");
    } else {
        EXPECT_EQ(wide, L"\\\\?\\c:\\" + std::wstring(30000, L'.') + L"x\\a.");
    }
}

/// What the expression alone makes of a relative path.
std::wstring byExpression(const std::string& path) {
    std::wstring wide = toWide(path);
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    static const boost::wregex trailing(L"([^\\\\.])[ \\.]+(\\\\|$)");
    return boost::regex_replace(wide, trailing, std::wstring(L"\\1\\2"));
}

const std::vector<std::string> LETTERS = {" ", ".", "/", "a", "\n", "\xE2\x80\xA8", "\r"};

TEST(UnicodePathTest, TheScanNeverKeepsTheExpressionFromAMatch) {
    const auto expectSame = [](const std::string& path) {
        if (path.substr(0, 2) != "//") {
            ASSERT_EQ(System::unicodePath(path), byExpression(path))
                << testing::PrintToString(path);
        }
    };
    // All short texts of the letters that matter...
    std::vector<std::string> texts = {""};
    for (size_t length = 0; length < 5; ++length) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            for (const std::string& letter : LETTERS) {
                longer.push_back(text + letter);
            }
        }
        for (const std::string& text : longer) {
            expectSame(text);
        }
        texts.swap(longer);
    }
    // ... and long ones at random.
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        std::string text;
        for (size_t size = random() % 60; text.size() < size;) {
            text += LETTERS[random() % LETTERS.size()];
        }
        expectSame(text);
    }
}

TEST(StripUnicodePrefixTest, ThePrefixGoesAndAShareKeepsItsTwoBackslashes) {
    const wchar_t* const rows[][2] = {{L"\\\\?\\c:\\x", L"c:\\x"},
                                      {L"\\\\?\\UNC\\srv\\sh", L"\\\\srv\\sh"},
                                      {L"\\\\?\\UNC\\", L"UNC\\"},
                                      {L"\\\\?\\unc\\s", L"unc\\s"},
                                      {L"\\\\?\\", L"\\\\?\\"},
                                      {L"c:\\x", L"c:\\x"},
                                      {L"", L""}};
    for (const auto& row : rows) {
        std::wstring path = row[0];
        stripUnicodePrefix(path);
        EXPECT_EQ(path, row[1]);
    }
}

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
    // Wine takes any prefixed name for a long one, so the answer is made.
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
    const ReplacedCall<decltype(GetShortPathNameW)> call(
        "GetShortPathNameW", [](LPCWSTR, LPWSTR, DWORD) -> DWORD { return 300; });
    std::string result;
    EXPECT_TRUE(System::shortPath("c:/x", result));
    EXPECT_EQ(result, std::string(300, '\0'));
}

}  // namespace
