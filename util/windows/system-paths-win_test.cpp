#include "util/windows/system-paths-win.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <locale>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/alltexts.h"
#include "testing/calls/debugoutput-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/allocationcount.h"
#include "testing/scopes/cygwinscope.h"
#include "testing/scopes/eightbitlocale.h"
#include "testing/trailingexpression.h"
#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/debugstream-win.h"

namespace {

using namespace testing_support;

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
                 {"[:/x", L"[:\\x"},
                 {"@:/x", L"@:\\x"},
                 {"\xE4:/x", L"\xFFFD:\\x"},
                 {"1:/x/../y", L"1:\\x\\..\\y"},
                 {"a/../b", L"a\\..\\b"},
                 {"/x/y", L"\\x\\y"},
                 {"/", L"\\"},
                 {"/\\srv\\sh\\x", L"\\\\srv\\sh\\x"}});
}

TEST(UnicodePathTest, ANetworkPathIsFoldedAfterTheUncPrefix) {
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
                 {"a.b/c d.e", L"a.b\\c d.e"},
                 {"c:.", L"c:"},
                 {"c:..", L"c:"}});
}

TEST(UnicodePathTest, ALineEndCountsAsTheEndOfAName) {
    expectPaths({{"c:/a.\nb", L"\\\\?\\c:\\a\nb"}});
}

TEST(UnicodePathTest, ANulInsideIsKept) {
    EXPECT_EQ(System::unicodePath(std::string("c:/a\0b./c", 9)),
              std::wstring(L"\\\\?\\c:\\a\0b\\c", 12));
    EXPECT_EQ(System::unicodePath(std::string("a\0/b", 4)), std::wstring(L"a\0\\b", 4));
}

TEST(UnicodePathTest, NamesOfOnlyDotsSurvive) {
    expectPaths({{"../...", L"..\\..."},
                 {"c:/.../x", L"\\\\?\\c:\\...\\x"},
                 {"a/..", L"a\\.."},
                 {"./a", L".\\a"}});
}

TEST(UnicodePathTest, OfANameOfBlanksTheFirstStays) {
    expectPaths({{"a/ /b", L"a\\ \\b"}, {"a/  /b", L"a\\ \\b"}, {"a/. /b", L"a\\. \\b"}});
}

TEST(UnicodePathTest, TheNullDeviceLosesThePrefixOfALocalPath) {
    expectPaths({{"c:/nul", L"c:\\nul"},
                 {"c:/a/NUL", L"c:\\a\\NUL"},
                 {"c:/NuL.", L"c:\\NuL"},
                 {"\\\\?\\c:\\x\\nul", L"c:\\x\\nul"},
                 {"\\\\?\\UNC\\srv\\sh\\nul", L"UNC\\srv\\sh\\nul"},
                 {"\\\\?\\nul", L"nul"},
                 {"c:/nuk", L"\\\\?\\c:\\nuk"},
                 {"c:/anul", L"\\\\?\\c:\\anul"},
                 {"c:/nul/x", L"\\\\?\\c:\\nul\\x"}});
}

TEST(UnicodePathTest, ANetworkPathToTheNullDeviceKeepsItsPrefix) {
    expectPaths({{"//srv/sh/nul", L"\\\\?\\UNC\\srv\\sh\\nul"}, {"x/nul", L"x\\nul"}});
}

/// Treats `x` as a lower-case `L`.
class OddCase : public std::ctype<wchar_t> {
protected:
    wchar_t do_toupper(wchar_t c) const override {
        return c == L'x' ? L'L' : std::ctype<wchar_t>::do_toupper(c);
    }
};

TEST(UnicodePathTest, TheCaseOfTheNullDeviceDependsOnTheGlobalLocale) {
    expectPaths({{"c:/nux", L"\\\\?\\c:\\nux"}});
    const std::locale before = std::locale::global(std::locale(std::locale(), new OddCase));
    expectPaths({{"c:/nux", L"c:\\nux"}, {"c:/Nul", L"c:\\Nul"}, {"c:/nuy", L"\\\\?\\c:\\nuy"}});
    std::locale::global(before);
}

using UnicodePathLocaleTest = testing_support::EightBitLocaleTest;

TEST_F(UnicodePathLocaleTest, ADriveOfALetterBeyondAsciiIsLocalAndWidenedAsUtf8) {
    const std::string drive(1, static_cast<char>(testing_support::smallEAcute));
    EXPECT_EQ(System::unicodePath(drive + ":/a/../x"), L"\\\\?\\\xFFFD:\\x");
    EXPECT_EQ(System::unicodePath(drive + ":/x"), L"\\\\?\\\xFFFD:\\x");
}

TEST(UnicodePathTest, NamesOfAllPlanesAreWidened) {
    EXPECT_EQ(System::unicodePath("c:/\xD0\xB6/\xE4\xB8\xAD/\xF0\x9F\x98\x80"),
              L"\\\\?\\c:\\\x0436\\\x4E2D\\\xD83D\xDE00");
}

TEST(UnicodePathTest, AServerWithoutAShareIsReportedToTheDebuggerAndGivesNothing) {
    for (const std::string path : {"//srv", "\\\\srv\\", "//", "\\\\"}) {
        const DebugOutput output;
        EXPECT_EQ(System::unicodePath(path), L"");
        ASSERT_EQ(output.texts().size(), 1U);
        EXPECT_EQ(output.texts()[0],
                  "System::unicodePath(\"" + path + "\"):  the path is not absolute\n");
    }
}

TEST(UnicodePathTest, APathOfSlashesIsReportedToTheDebuggerWithCygwinPathsToo) {
    const CygwinScope cygwin;
    for (const std::string path : {"//", "///"}) {
        const DebugOutput output;
        EXPECT_EQ(System::unicodePath(path), L"");
        ASSERT_EQ(output.texts().size(), 1U);
        const std::string text = output.texts()[0];
        EXPECT_EQ(text.rfind("System::unicodePath(\"" + path + "\"):  ", 0), 0U) << text;
        EXPECT_EQ(text.back(), '\n');
    }
}

TEST(UnicodePathTest, ALongRunOfBlanksIsNoHindranceForTheDotAfterIt) {
    const DebugOutput output;
    EXPECT_EQ(System::unicodePath("c:/" + std::string(30000, ' ') + "x/a."),
              L"\\\\?\\c:\\" + std::wstring(30000, L' ') + L"x\\a");
    EXPECT_EQ(System::unicodePath("c:/x" + std::string(30000, ' ') + "/a"), L"\\\\?\\c:\\x\\a");
    EXPECT_TRUE(output.texts().empty());
}

TEST(UnicodePathTest, APathThatNothingIsToBeDoneToTakesOneAllocation) {
    for (const std::string path : {"c:/work tree/src/a file of some length.cpp", "c:\\a", "c:/"}) {
        const size_t before = allocationCount();
        const std::wstring wide = System::unicodePath(path);
        EXPECT_LE(allocationCount() - before, 1U) << path;
    }
}

using Malloc = void*(size_t);

// The C++ allocator uses malloc. The replacement gets its memory from calloc, because it replaces
// the original malloc; what an exception needs must be allocated.

TEST(UnicodePathTest, LackOfMemoryIsReportedToTheDebuggerAndNotThrown) {
    constexpr size_t length = 200'000;
    const std::string path(length, 'a');
    const DebugOutput output;
    std::wstring wide = L"before";
    {
        const ReplacedCall<Malloc> shortage("malloc", [](size_t size) {
            return size > length * sizeof(wchar_t) ? nullptr : std::calloc(1, size);
        });
        EXPECT_NO_THROW(wide = System::unicodePath(path));
    }
    EXPECT_EQ(wide, L"");
    ASSERT_EQ(output.texts().size(), 1U);
    EXPECT_EQ(output.texts()[0], "System::unicodePath(\"" + path + "\"):  std::bad_alloc\n");
}

TEST(UnicodePathTest, LackOfMemoryForTheLineLosesItAndIsNotThrown) {
    const std::string path = "//srv";
    const DebugOutput output;
    std::wstring wide = L"before";
    {
        const ReplacedCall<Malloc> shortage("malloc", [](size_t size) {
            return size == sizeof(DebugStreambuf) ? nullptr : std::calloc(1, size);
        });
        EXPECT_NO_THROW(wide = System::unicodePath(path));
    }
    EXPECT_EQ(wide, L"");
    EXPECT_TRUE(output.texts().empty());
}

std::wstring withBackslashes(std::wstring path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}

/// Checks the result of `unicodePath` for `path` against the single steps.
void expectByItsSteps(const std::string& path) {
    const bool isLocal = path.substr(0, 3) == "c:/";
    const std::wstring wide = isLocal ? L"\\\\?\\" + toWide(normalizePath(path)) : toWide(path);
    ASSERT_EQ(System::unicodePath(path), byTrailingExpression(withBackslashes(wide)))
        << testing::PrintToString(path);
}

TEST(UnicodePathTest, ShortLocalPathsAreFoldedWidenedAndCleared) {
    for (size_t length = 0; length <= 5; ++length) {
        // The last byte by itself isn't valid UTF-8.
        forAllTexts(std::string("a ./\\:\n\xE4"), length,
                    [](const std::string& names) { expectByItsSteps("c:/" + names); });
    }
}

// Includes every line end that can be in a name.
const std::vector<std::string> letters = {" ",  ".",  "/",        "a",           "\n",
                                          "\r", "\f", "\xC2\x85", "\xE2\x80\xA8"};

TEST(UnicodePathTest, LongPathsAreWidenedAndClearedAsByTheExpression) {
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): a failure must be repeatable in the next run
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        std::string path = i % 2 == 0 ? "c:/" : "b";
        for (size_t size = random() % 100; path.size() < size;) {
            path += letters[random() % letters.size()];
        }
        ASSERT_NO_FATAL_FAILURE(expectByItsSteps(path));
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

}  // namespace
