// The environment block of a child. What else it gets from the process:
// childenvironment-win_test.cpp.

#include "util/windows/exec/environment-win.h"

#include <iterator>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/environmentblock.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace testing_support;

/// A whole block of these strings.
std::wstring wideBlock(const std::vector<std::wstring>& strings) {
    std::wstring block;
    for (const std::wstring& text : strings) {
        block.append(text).push_back(L'\0');
    }
    block.push_back(L'\0');
    return block;
}

/// The whole block, built in a vector that held something else before.
std::wstring built(const std::vector<std::string>& strings) {
    std::vector<wchar_t> block(1000, L'?');
    const wchar_t* start = buildEnvironmentBlock(block, environmentBlock(strings).c_str());
    EXPECT_EQ(start, block.data());
    return {block.begin(), block.end()};
}

struct BlockRow {
    std::vector<std::string> strings;
    std::vector<std::wstring> block;
};

void expectBlocks(const std::vector<BlockRow>& rows) {
    for (const auto& [strings, block] : rows) {
        EXPECT_EQ(built(strings), wideBlock(block)) << testing::PrintToString(strings);
    }
}

TEST(EnvironmentBlockTest, StringsAreSortedByTheBytesOfTheirNames) {
    expectBlocks({
        {{"B=1", "A=2"}, {L"A=2", L"B=1"}},
        {{"a=1", "B=2", "_=3", "1=4"}, {L"1=4", L"B=2", L"_=3", L"a=1"}},
        {{"\xC3\x84=1", "z=2", "Z=3"}, {L"Z=3", L"z=2", L"\u00C4=1"}},
        {{"AB=1", "A=2"}, {L"A=2", L"AB=1"}},
    });
}

TEST(EnvironmentBlockTest, TheSignIsNoPartOfTheName) {
    expectBlocks({{{"A!=1", "A =2", "A=3"}, {L"A=3", L"A =2", L"A!=1"}}});
}

TEST(EnvironmentBlockTest, OfEqualNamesTheFirstStringCounts) {
    expectBlocks({
        {{"A=2", "A=1", "A=3"}, {L"A=2"}},
        {{"B=1", "A=2", "B=3", "A=4"}, {L"A=2", L"B=1"}},
        {{"A", "A=1"}, {L"A="}},
        {{"A=1", "A"}, {L"A=1"}},
    });
}

TEST(EnvironmentBlockTest, NamesThatDifferInCaseAreTwoNames) {
    expectBlocks({
        {{"Path=1", "PATH=2"}, {L"PATH=2", L"Path=1"}},
        {{"path=1", "Path=2", "PATH=3", "Path=4"}, {L"PATH=3", L"Path=2", L"path=1"}},
    });
}

TEST(EnvironmentBlockTest, AStringWithoutASignIsANameThatGetsOne) {
    expectBlocks({
        {{"B", "A"}, {L"A=", L"B="}},
        {{"A="}, {L"A="}},
        {{"\xE4\xB8\xAD"}, {L"\u4E2D="}},
    });
}

TEST(EnvironmentBlockTest, AValueBeginsAfterTheFirstSign) {
    expectBlocks({{{"A==x=", "A=y=z", "B=1=A"}, {L"A==x=", L"B=1=A"}}});
}

TEST(EnvironmentBlockTest, StringsThatBeginWithASignHaveTheEmptyName) {
    expectBlocks({
        {{"A=1", "=D:=D:\\y", "=C:=C:\\x"}, {L"=D:=D:\\y", L"A=1"}},
        {{"="}, {L"="}},
    });
}

TEST(EnvironmentBlockTest, TextIsUtf8) {
    expectBlocks({
        {{"\xC3\xA4=\xE4\xB8\xAD.\xF0\x9F\x98\x80"}, {L"\u00E4=\u4E2D.\xD83D\xDE00"}},
        {{"A=x \xC3\xA4", "B=y"}, {L"A=x \u00E4", L"B=y"}},
    });
}

TEST(EnvironmentBlockTest, BytesThatAreNoUtf8AreReplaced) {
    expectBlocks({
        {{"A=\xFFx", "B=1"}, {L"A=\uFFFDx", L"B=1"}},
        {{"A=x\xC3", "B=1"}, {L"A=x\uFFFD", L"B=1"}},
        {{"\xFF", "B=1"}, {L"B=1", L"\uFFFD="}},
    });
}

TEST(EnvironmentBlockTest, WithoutStringsItIsOneNul) {
    EXPECT_EQ(built({}), std::wstring(1, L'\0'));
}

TEST(EnvironmentBlockTest, AStringThatConvertsToNothingIsLeftOut) {
    static decltype(MultiByteToWideChar)* convert;
    const ReplacedCall<decltype(MultiByteToWideChar)> call(
        "MultiByteToWideChar",
        [](UINT page, DWORD flags, LPCCH text, int length, LPWSTR wide, int room) -> int {
            return text[0] == 'B' ? 0 : convert(page, flags, text, length, wide, room);
        });
    convert = call.original();
    expectBlocks({
        {{"A=1", "B=2", "C=3"}, {L"A=1", L"C=3"}},
        {{"B"}, {}},
    });
}

TEST(EnvironmentBlockTest, EveryStringIsConvertedFromTheUtf8CodePage) {
    static std::vector<UINT> pages;
    static decltype(MultiByteToWideChar)* convert;
    const ReplacedCall<decltype(MultiByteToWideChar)> call(
        "MultiByteToWideChar",
        [](UINT page, DWORD flags, LPCCH text, int length, LPWSTR wide, int room) -> int {
            pages.push_back(page);
            return convert(page, flags, text, length, wide, room);
        });
    convert = call.original();
    pages.clear();
    std::vector<wchar_t> block;
    buildEnvironmentBlock(block, environmentBlock({"A=1", "B"}).c_str());
    ASSERT_FALSE(pages.empty());
    for (const UINT page : pages) {
        EXPECT_EQ(page, UINT{CP_UTF8});
    }
}

TEST(EnvironmentBlockTest, AVectorCanBeUsedAgain) {
    std::vector<wchar_t> block;
    for (const auto& [strings, expected] : std::vector<BlockRow>{
             {{"A=a long value", "B=1"}, {L"A=a long value", L"B=1"}},
             {{"C"}, {L"C="}},
             {{}, {}},
             {{"D=1", "E=2", "F=3"}, {L"D=1", L"E=2", L"F=3"}},
         }) {
        buildEnvironmentBlock(block, environmentBlock(strings).c_str());
        EXPECT_EQ(std::wstring(block.begin(), block.end()),
                  strings.empty() ? std::wstring(1, L'\0') : wideBlock(expected));
    }
}

/// Strings with few names, some of them repeated, some without a sign, with characters of all
/// lengths.
std::vector<std::string> manyStrings(size_t count) {
    constexpr std::string_view pieces[] = {"A", "a", "B", "_", "\xC3\x84", "\xE4\xB8\xAD", "!"};
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
    const auto appendPieces = [&](std::string& text, size_t most) {
        for (size_t left = random() % (most + 1); left > 0; --left) {
            text += pieces[random() % std::size(pieces)];
        }
    };
    std::vector<std::string> strings;
    while (strings.size() < count) {
        std::string text = "N";
        appendPieces(text, 4);
        if (random() % 8 != 0) {
            text += '=';
            appendPieces(text, 60);
        }
        strings.push_back(text);
    }
    return strings;
}

TEST(EnvironmentBlockTest, FiveHundredStringsComeOutAsFromAMap) {
    const std::vector<std::string> strings = manyStrings(500);
    std::map<std::string, std::string> values;
    for (const std::string& text : strings) {
        const size_t sign = text.find('=');
        values.emplace(text.substr(0, sign),
                       sign == std::string::npos ? std::string() : text.substr(sign + 1));
    }
    ASSERT_LT(values.size(), strings.size()) << "no name is there twice";
    std::vector<std::wstring> expected;
    expected.reserve(values.size());
    for (const auto& [name, value] : values) {
        expected.push_back(toWide(name) + L'=' + toWide(value));
    }
    EXPECT_EQ(built(strings), wideBlock(expected));
}

TEST(EnvironmentBlockTest, ABlockThatGrowsByItsSignsIsWhole) {
    std::vector<std::string> strings;
    std::vector<std::wstring> expected;
    for (char c = '!'; c <= '~'; ++c) {
        if (c != '=') {
            strings.emplace_back(1, c);
            expected.push_back({static_cast<wchar_t>(c), L'='});
        }
    }
    std::vector<wchar_t> block;
    buildEnvironmentBlock(block, environmentBlock(strings).c_str());
    EXPECT_EQ(std::wstring(block.begin(), block.end()), wideBlock(expected));
}

TEST(EnvironmentSizeTest, NullHasNone) {
    EXPECT_EQ(environmentSize(nullptr).strings, 0U);
    EXPECT_EQ(environmentSize(nullptr).bytes, 0U);
}

TEST(EnvironmentSizeTest, EveryStringCountsWithItsNulAndTheBlockWithItsOwn) {
    struct Row {
        std::vector<std::string> strings;
        size_t bytes;
    };
    for (const auto& [strings, bytes] : {
             Row{{}, 1},
             Row{{"A=1"}, 5},
             Row{{"A=1", "BC", "A=1"}, 12},
             Row{{"\xE4\xB8\xAD=\xC3\xA4"}, 8},
         }) {
        const std::string block = environmentBlock(strings);
        EXPECT_EQ(environmentSize(block.c_str()).strings, strings.size());
        EXPECT_EQ(environmentSize(block.c_str()).bytes, bytes);
    }
}

}  // namespace
