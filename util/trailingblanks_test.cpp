#include "util/trailingblanks.h"

#include <cstddef>
#include <initializer_list>
#include <random>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "testing/alltexts.h"
#include "testing/counts/allocationcount.h"
#include "testing/trailingexpression.h"

namespace {

using namespace testing_support;

std::wstring without(std::wstring path) {
    removeTrailingBlanks(path);
    return path;
}

void expectPaths(std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> rows) {
    for (const auto& [path, expected] : rows) {
        EXPECT_EQ(without(path), expected);
    }
}

TEST(RemoveTrailingBlanksTest, ARunOfBlanksAndDotsGoesAtTheEndOfEachName) {
    expectPaths({{L"a b . \\c..", L"a b\\c"},
                 {L"a.", L"a"},
                 {L"a .\\b. \\c", L"a\\b\\c"},
                 {L"\x4E2D. ", L"\x4E2D"},
                 {L"a\\/. ", L"a\\/"}});
}

TEST(RemoveTrailingBlanksTest, InsideAndAtTheFrontOfANameTheyStay) {
    expectPaths({{L"a. b", L"a. b"}, {L" .a", L" .a"}, {L"a\\ b", L"a\\ b"}, {L"", L""}});
}

TEST(RemoveTrailingBlanksTest, ANameOfDotsStaysAndOneWithBlanksKeepsTheFirstAndWhatIsBefore) {
    expectPaths({{L"..\\...", L"..\\..."},
                 {L" ", L" "},
                 {L"a\\  \\b", L"a\\ \\b"},
                 {L"a\\.. . \\b", L"a\\.. \\b"},
                 {L". .", L". "}});
}

TEST(RemoveTrailingBlanksTest, ALineEndEndsANameAndIsACharacterOfTheNext) {
    for (const wchar_t end : {L'\n', L'\r', L'\f', L'\x0085', L'\x2028', L'\x2029'}) {
        const std::wstring line(1, end);
        EXPECT_EQ(without(L"a. " + line + L"b"), L"a" + line + L"b") << int{end};
        EXPECT_EQ(without(L"a\\" + line + L" .\\b"), L"a\\" + line + L"\\b") << int{end};
    }
    EXPECT_EQ(without(L"a.\r\nb"), L"a\r\nb");
    EXPECT_EQ(without(L"a\r.\nb"), L"a\r\nb");
    EXPECT_EQ(without(L"a\r\n.\\b"), L"a\r\n\\b");
}

TEST(RemoveTrailingBlanksTest, OfAllUnitsTheEndsOfNamesAreThoseOfTheExpression) {
    for (unsigned value = 0; value <= 0xFFFF; ++value) {
        const std::wstring unit(1, static_cast<wchar_t>(value));
        const std::wstring line = L"a.\r" + unit;
        for (const std::wstring& path : {L"a. " + unit + L"b", unit + L". \\b", L"\\.  " + unit,
                                         std::wstring(line).append(L".\\").append(line)}) {
            ASSERT_EQ(without(path), byTrailingExpression(path)) << "unit " << value;
        }
    }
}

void expectAsByTheExpression(const std::wstring& path) {
    ASSERT_EQ(without(path), byTrailingExpression(path)) << testing::PrintToString(path);
}

// A letter, one beyond ASCII, the characters of runs, and every character that ends a name.
const std::wstring sampleLetters = L"a\x4E2D. \\\n\r\f\x0085\x2028\x2029";

TEST(RemoveTrailingBlanksTest, ShortTextsComeOutAsByTheExpression) {
    for (size_t length = 0; length <= 5; ++length) {
        forAllTexts(sampleLetters, length, expectAsByTheExpression);
    }
    for (size_t length = 6; length <= 8; ++length) {
        forAllTexts(std::wstring(L"a. \\\n"), length, expectAsByTheExpression);
    }
}

TEST(RemoveTrailingBlanksTest, SoakTextsOfUpToSevenUnitsComeOutAsByTheExpression) {
    for (size_t length = 6; length <= 7; ++length) {
        forAllTexts(sampleLetters, length, expectAsByTheExpression);
    }
}

TEST(RemoveTrailingBlanksTest, LongTextsComeOutAsByTheExpression) {
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): a failure must be reproducible
    std::mt19937 random(1);
    for (int i = 0; i < 5000; ++i) {
        // Some texts are nearly all letters, so that runs are far apart.
        const size_t rarity = i % 2 == 0 ? 1 : 30;
        std::wstring path;
        for (size_t size = random() % 500; path.size() < size;) {
            path += random() % rarity == 0 ? sampleLetters[random() % sampleLetters.size()] : L'b';
        }
        ASSERT_NO_FATAL_FAILURE(expectAsByTheExpression(path));
    }
}

TEST(RemoveTrailingBlanksTest, ARunIsFoundWhereverItLies) {
    for (size_t before = 1; before < 300; ++before) {
        const std::wstring name(before, L'n');
        EXPECT_EQ(without(name + L" .\\b. c"), name + L"\\b. c") << before;
        EXPECT_EQ(without(name + L"."), name) << before;
    }
}

TEST(RemoveTrailingBlanksTest, TextsThatTheExpressionGivesUpOnFollowTheSameRule) {
    const std::wstring blanks(1'000'000, L' ');
    EXPECT_THROW(byTrailingExpression(blanks.substr(0, 30'000) + L"x\\a."), std::runtime_error);
    EXPECT_EQ(without(L"x" + blanks + L"x.\\a. "), L"x" + blanks + L"x\\a");
    EXPECT_EQ(without(L"x" + blanks + L"\\" + blanks), L"x\\ ");
    EXPECT_EQ(without(std::wstring(1'000'000, L'.') + blanks),
              std::wstring(1'000'000, L'.') + L" ");
}

TEST(RemoveTrailingBlanksTest, NothingIsAllocated) {
    std::wstring path = L"a name of some length. \\another one that is longer still .\\a";
    const size_t before = testing_support::allocationCount();
    removeTrailingBlanks(path);
    EXPECT_EQ(testing_support::allocationCount(), before);
    EXPECT_EQ(path, L"a name of some length\\another one that is longer still\\a");
}

}  // namespace
