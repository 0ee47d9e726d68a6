#include "util/platform/unicodetext-win.h"

#include <climits>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace {

using namespace testing_support;

struct TextRow {
    std::string utf8;
    std::wstring wide;
};

TEST(UnicodeTextTest, TextGoesToUtf8AndBack) {
    const std::vector<TextRow> rows = {
        {"plain ASCII ~", L"plain ASCII ~"},
        {"\xC2\x80\xDF\xBF", L"\x0080\x07FF"},
        {"\xE0\xA0\x80\xEF\xBF\xBD", L"\x0800\xFFFD"},
        {"\xEF\xBB\xBF", L"\xFEFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\xD800\xDC00\xDBFF\xDFFF"},
        {"a\xD0\xB6\xE4\xB8\xAD\xF0\x9F\x98\x80", L"a\x0436\x4E2D\xD83D\xDE00"},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(toUtf8(row.wide), row.utf8);
        EXPECT_EQ(toWide(row.utf8), row.wide);
    }
}

TEST(UnicodeTextTest, AnEmptyTextIsEmpty) {
    EXPECT_EQ(toUtf8(L""), "");
    EXPECT_EQ(toWide(""), L"");
    EXPECT_EQ(toWide(StringSpan()), L"");
}

TEST(UnicodeTextTest, ANulInsideIsKept) {
    EXPECT_EQ(toUtf8(std::wstring(L"a\0\x00E9\0", 4)), std::string("a\0\xC3\xA9\0", 5));
    EXPECT_EQ(toWide(StringSpan("a\0\xC3\xA9\0", 5)), std::wstring(L"a\0\x00E9\0", 4));
}

TEST(UnicodeTextTest, TheTextEndsWhereTheSpanEnds) {
    EXPECT_EQ(toWide(StringSpan("abc", 2)), L"ab");
}

TEST(UnicodeTextTest, BytesThatAreNoUtf8BecomeTheReplacementCharacter) {
    EXPECT_EQ(toWide("a\xFFz"), L"a\xFFFDz");
    EXPECT_EQ(toWide("\x80"), L"\xFFFD");
    EXPECT_EQ(toWide("\xC3("), L"\xFFFD(");
}

TEST(UnicodeTextTest, ASingleSurrogateBecomesTheReplacementCharacter) {
    EXPECT_EQ(toUtf8(L"a\xD83Dz"), "a\xEF\xBF\xBDz");
    EXPECT_EQ(toUtf8(L"\xDE00"), "\xEF\xBF\xBD");
}

TEST(UnicodeTextTest, ALongTextIsWhole) {
    const size_t count = 100'000;
    std::string utf8;
    for (size_t i = 0; i < count; ++i) {
        utf8 += "\xE4\xB8\xAD";
    }
    EXPECT_EQ(toUtf8(std::wstring(count, L'\x4E2D')), utf8);
    EXPECT_EQ(toWide(utf8), std::wstring(count, L'\x4E2D'));
}

TEST(UnicodeTextTest, AFailedConversionToUtf8GivesAnEmptyText) {
    const ReplacedCall<decltype(WideCharToMultiByte)> refused(
        "WideCharToMultiByte",
        [](UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) -> int { return 0; });
    EXPECT_NO_THROW(EXPECT_EQ(toUtf8(L"text"), ""));
}

TEST(UnicodeTextTest, AFailedConversionToUtf16GivesAnEmptyText) {
    const ReplacedCall<decltype(MultiByteToWideChar)> refused(
        "MultiByteToWideChar", [](UINT, DWORD, LPCCH, int, LPWSTR, int) -> int { return 0; });
    EXPECT_NO_THROW(EXPECT_EQ(toWide("text"), L""));
}

TEST(UnicodeTextTest, Utf8IsAskedForWithRoomForFourBytesAUnitAndNoDefaultCharacter) {
    const ReplacedCall<decltype(WideCharToMultiByte)> call(
        "WideCharToMultiByte",
        [](UINT codePage, DWORD, LPCWCH, int length, LPSTR buffer, int size, LPCCH defaultChar,
           LPBOOL usedDefault) -> int {
            EXPECT_EQ(codePage, UINT{CP_UTF8});
            EXPECT_EQ(length, 3);
            EXPECT_EQ(size, 12);
            EXPECT_EQ(defaultChar, nullptr);
            EXPECT_EQ(usedDefault, nullptr);
            std::string("ok!").copy(buffer, 3);
            return 2;
        });
    EXPECT_EQ(toUtf8(L"abc"), "ok");
}

TEST(UnicodeTextTest, Utf16IsAskedForWithRoomForOneUnitAByteAndNoFlags) {
    const ReplacedCall<decltype(MultiByteToWideChar)> call(
        "MultiByteToWideChar",
        [](UINT codePage, DWORD flags, LPCCH, int length, LPWSTR buffer, int size) -> int {
            EXPECT_EQ(codePage, UINT{CP_UTF8});
            EXPECT_EQ(flags, 0U);
            EXPECT_EQ(length, 3);
            EXPECT_EQ(size, 3);
            std::wstring(L"ok!").copy(buffer, 3);
            return 2;
        });
    EXPECT_EQ(toWide("abc"), L"ok");
}

// The same limit of `toUtf8` isn't tested: it takes a whole string, which would have to be 1 GB.
TEST(UnicodeTextTest, ATextTooLongForWindowsGivesAnEmptyTextAndIsNotRead) {
    EXPECT_EQ(toWide(StringSpan("x", size_t{INT_MAX} + 1)), L"");
    EXPECT_EQ(toWide(StringSpan("x", static_cast<size_t>(-1))), L"");
}

TEST(TrimNullsTest, TheNullCharactersAtTheEndGoAndThoseInsideStay) {
    const std::wstring null(1, L'\0');
    const struct {
        std::wstring text, trimmed;
    } CASES[] = {
        {L"", L""},
        {L"ab", L"ab"},
        {L"ab" + null, L"ab"},
        {L"ab " + null + null + null, L"ab "},
        {null + L"a" + null + L"b" + null, null + L"a" + null + L"b"},
        {null, L""},
        {null + null, L""},
    };
    for (const auto& [text, trimmed] : CASES) {
        std::wstring result = text;
        trimNulls(result);
        EXPECT_EQ(result, trimmed);
    }
}

}  // namespace
