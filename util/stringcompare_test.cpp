#include "util/stringcompare.h"

#include <cstddef>
#include <set>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

const StringSpan nullSpan;
const StringSpan empty("");

StringSpan nullOfLength(size_t length) { return {nullptr, length}; }

TEST(EqualsNoCaseTest, IgnoresCaseAndNothingElse) {
    EXPECT_TRUE(equalsNoCase("", ""));
    EXPECT_TRUE(equalsNoCase("View", "vIEW"));
    EXPECT_FALSE(equalsNoCase("view", "vieW2"));
    EXPECT_FALSE(equalsNoCase("view", "vie"));
    EXPECT_FALSE(equalsNoCase("view", "vies"));
    EXPECT_FALSE(equalsNoCase("[", "{"));
}

TEST(EqualsNoCaseTest, FoldsAsciiLettersOnly) {
    EXPECT_FALSE(equalsNoCase("\xc3\x84", "\xc3\xa4"));
    EXPECT_TRUE(equalsNoCase("\xc3\x84", "\xc3\x84"));
}

TEST(EqualsNoCaseTest, ComparesNoFurtherThanTheLength) {
    EXPECT_TRUE(equalsNoCase({"abX", 2}, {"ABY", 2}));
    EXPECT_TRUE(equalsNoCase({"x", 0}, {"y", 0}));
}

TEST(EqualsNoCaseTest, ANulInBothTextsEndsTheComparison) {
    EXPECT_TRUE(equalsNoCase("a\0x"s, "A\0y"s));
    EXPECT_FALSE(equalsNoCase("a\0x"s, "Abx"s));
}

TEST(EqualsNoCaseTest, TwoNullsOfOneLengthAreEqual) {
    EXPECT_TRUE(equalsNoCase(nullSpan, nullSpan));
    EXPECT_TRUE(equalsNoCase(nullOfLength(3), nullOfLength(3)));
    EXPECT_FALSE(equalsNoCase(nullOfLength(3), nullSpan));
}

TEST(EqualsNoCaseTest, OneNullIsUnequalAlsoToAnEmptyText) {
    EXPECT_FALSE(equalsNoCase(nullSpan, empty));
    EXPECT_FALSE(equalsNoCase(empty, nullSpan));
    EXPECT_FALSE(equalsNoCase(nullOfLength(1), "a"));
}

TEST(LessNoCaseTest, OrdersByTheFirstDifferenceIgnoringCase) {
    EXPECT_TRUE(lessNoCase("alpha", "BETA"));
    EXPECT_TRUE(lessNoCase("ALPHA", "beta"));
    EXPECT_FALSE(lessNoCase("beta", "ALPHA"));
    EXPECT_FALSE(lessNoCase("BETA", "alpha"));
    EXPECT_TRUE(lessNoCase("abcd", "b"));
    EXPECT_FALSE(lessNoCase("b", "abcd"));
}

TEST(LessNoCaseTest, EqualTextsAreNotLess) {
    EXPECT_FALSE(lessNoCase("Beta", "bETA"));
    EXPECT_FALSE(lessNoCase("", ""));
}

TEST(LessNoCaseTest, AProperPrefixSortsFirst) {
    EXPECT_TRUE(lessNoCase("VIEW", "views"));
    EXPECT_FALSE(lessNoCase("views", "VIEW"));
    EXPECT_TRUE(lessNoCase("", "a"));
    EXPECT_FALSE(lessNoCase("a", ""));
}

TEST(LessNoCaseTest, ANullIsLessThanATextThatIsNot) {
    EXPECT_TRUE(lessNoCase(nullSpan, empty));
    EXPECT_TRUE(lessNoCase(nullSpan, "a"));
    EXPECT_TRUE(lessNoCase(nullOfLength(5), "a"));
    EXPECT_TRUE(lessNoCase(nullOfLength(1), "a"));
}

TEST(LessNoCaseTest, ATextIsNeverLessThanANull) {
    EXPECT_FALSE(lessNoCase(empty, nullSpan));
    EXPECT_FALSE(lessNoCase("a", nullSpan));
    EXPECT_FALSE(lessNoCase("a", nullOfLength(5)));
}

TEST(LessNoCaseTest, OfTwoNullsTheShorterIsLess) {
    EXPECT_TRUE(lessNoCase(nullSpan, nullOfLength(5)));
    EXPECT_FALSE(lessNoCase(nullOfLength(5), nullSpan));
    EXPECT_FALSE(lessNoCase(nullSpan, nullSpan));
}

TEST(EqualsExactTest, ComparesBytesNulIncluded) {
    EXPECT_TRUE(equalsExact("View", "View"s));
    EXPECT_FALSE(equalsExact("View", "view"));
    EXPECT_FALSE(equalsExact("View", "Views"));
    EXPECT_TRUE(equalsExact("a\0x"s, "a\0x"s));
    EXPECT_FALSE(equalsExact("a\0x"s, "a\0y"s));
}

TEST(EqualsExactTest, TheSamePointerWithTheSameLengthIsEqualWithoutALook) {
    EXPECT_TRUE(equalsExact(nullOfLength(7), nullOfLength(7)));
    EXPECT_FALSE(equalsExact({"abc", 2}, {"abc", 3}));
}

TEST(EqualsExactTest, ANullSpanEqualsAnEmptyText) {
    EXPECT_TRUE(equalsExact(nullSpan, nullSpan));
    EXPECT_TRUE(equalsExact(nullSpan, empty));
    EXPECT_TRUE(equalsExact(empty, nullSpan));
}

TEST(LessExactTest, OrdersByUnsignedBytesNulIncluded) {
    EXPECT_TRUE(lessExact("B", "a"));
    EXPECT_FALSE(lessExact("a", "B"));
    EXPECT_TRUE(lessExact("z", "\xc3\xa4"));
    EXPECT_TRUE(lessExact("a\0x"s, "a\0y"s));
    EXPECT_FALSE(lessExact("a\0y"s, "a\0x"s));
    EXPECT_FALSE(lessExact("same", "same"));
}

TEST(LessExactTest, AProperPrefixSortsFirst) {
    EXPECT_TRUE(lessExact("view", "views"));
    EXPECT_FALSE(lessExact("views", "view"));
    EXPECT_FALSE(lessExact("b", "ab"));
}

TEST(LessExactTest, ANullSpanIsAnEmptyText) {
    EXPECT_FALSE(lessExact(nullSpan, empty));
    EXPECT_FALSE(lessExact(empty, nullSpan));
    EXPECT_TRUE(lessExact(nullSpan, "a"));
}

TEST(WideCompareTest, EqualityIgnoresCaseAndNeedsEqualLengths) {
    EXPECT_TRUE(equalsNoCase(L"View", L"vIEW"));
    EXPECT_FALSE(equalsNoCase(L"View", L"Views"));
    EXPECT_FALSE(equalsNoCase(L"View", L"Vies"));
    EXPECT_TRUE(equalsNoCase(WideSpan(L"abX", 2), WideSpan(L"ABY", 2)));
}

TEST(WideCompareTest, OrderIgnoresCaseAndPutsAPrefixFirst) {
    EXPECT_TRUE(lessNoCase(L"alpha", L"BETA"));
    EXPECT_FALSE(lessNoCase(L"BETA", L"alpha"));
    EXPECT_FALSE(lessNoCase(L"Beta", L"bETA"));
    EXPECT_TRUE(lessNoCase(L"VIEW", L"views"));
    EXPECT_FALSE(lessNoCase(L"views", L"VIEW"));
    EXPECT_FALSE(lessNoCase(L"b", L"ab"));
}

TEST(WideCompareTest, ANullSpanIsAnEmptyText) {
    EXPECT_TRUE(equalsNoCase(WideSpan(), WideSpan()));
    EXPECT_TRUE(equalsNoCase(WideSpan(), WideSpan(L"")));
    EXPECT_FALSE(lessNoCase(WideSpan(), WideSpan(L"")));
    EXPECT_TRUE(lessNoCase(WideSpan(), WideSpan(L"a")));
}

TEST(CompareNoCaseTest, ANullComesBeforeATextAndEqualsANull) {
    EXPECT_EQ(compareNoCase(nullptr, nullptr, 5), 0);
    EXPECT_EQ(compareNoCase(nullptr, "", 5), -1);
    EXPECT_EQ(compareNoCase("", nullptr, 5), 1);
    EXPECT_EQ(compareNoCase(nullptr, "a", 0), -1);
}

TEST(CompareNoCaseTest, ComparesAtMostTheCountIgnoringCase) {
    EXPECT_EQ(compareNoCase("abX", "ABy", 2), 0);
    EXPECT_LT(compareNoCase("abX", "ABy", 3), 0);
    EXPECT_GT(compareNoCase("aby", "ABX", 3), 0);
    EXPECT_EQ(compareNoCase("a", "b", 0), 0);
}

TEST(CompareNoCaseTest, StopsAtTheEndOfBothTexts) {
    EXPECT_EQ(compareNoCase("ab", "AB", 100), 0);
    EXPECT_LT(compareNoCase("ab", "ABC", 100), 0);
}

TEST(StringLessTest, IgnoringCaseTheUpperCaseSpellingBreaksTheTie) {
    const StringLess less(false);
    EXPECT_TRUE(less("A", "a"));
    EXPECT_FALSE(less("a", "A"));
    EXPECT_TRUE(less("a", "B"));
    EXPECT_FALSE(less("B", "a"));
    EXPECT_TRUE(less("A", "B"));
    EXPECT_FALSE(less("a", "a"));
}

TEST(StringLessTest, IgnoringCaseAPrefixComesFirst) {
    const StringLess less(false);
    EXPECT_TRUE(less("view", "VIEWS"));
    EXPECT_FALSE(less("VIEWS", "view"));
}

TEST(StringLessTest, MindingCaseBytesDecide) {
    const StringLess less(true);
    EXPECT_TRUE(less("B", "a"));
    EXPECT_FALSE(less("a", "B"));
    EXPECT_TRUE(less("A", "a"));
    EXPECT_FALSE(less("a", "a"));
    EXPECT_TRUE(less("z", "\xc3\xa4"));
}

TEST(StringLessTest, LooksNoFurtherThanANul) {
    EXPECT_FALSE(StringLess(true)("a\0x"s, "a\0y"s));
    EXPECT_FALSE(StringLess(false)("a\0x"s, "A"s + "\0y"s));
}

TEST(StringLessTest, KeepsBothSpellingsInASet) {
    const std::set<std::string, StringLess> names({"b", "a", "A", "a"}, StringLess(false));
    EXPECT_EQ(std::vector<std::string>(names.begin(), names.end()),
              (std::vector<std::string>{"A", "a", "b"}));
}

TEST(StringEqualTest, IgnoresCaseOnlyOnRequestAndBreaksNoTie) {
    EXPECT_TRUE(StringEqual(false)("View", "vIEW"));
    EXPECT_FALSE(StringEqual(false)("View", "Views"));
    EXPECT_TRUE(StringEqual(true)("View", "View"));
    EXPECT_FALSE(StringEqual(true)("View", "view"));
}

TEST(StringEqualTest, LooksNoFurtherThanANul) {
    EXPECT_TRUE(StringEqual(true)("a\0x"s, "a\0y"s));
    EXPECT_TRUE(StringEqual(false)("a\0x"s, "A\0y"s));
}

/// Two texts, and how their ranges compare.
struct RangeCase {
    const char* a;
    const char* b;
    bool caseSensitive;
    bool less;
    bool equal;
};

class RangeCompareTest : public testing::TestWithParam<RangeCase> {};

TEST_P(RangeCompareTest, ComparesWhatIsInTheRanges) {
    const RangeCase& row = GetParam();
    const std::string a = row.a;
    // Text follows both ranges, so that a read past the end of a range shows.
    const std::string text = a + "|" + row.b + "~";
    const TextRange first(0, a.size());
    const TextRange second(a.size() + 1, text.size() - 1);
    EXPECT_EQ(RangeLess(text, row.caseSensitive)(first, second), row.less) << text;
    EXPECT_EQ(RangeEqual(text, row.caseSensitive)(first, second), row.equal) << text;
}

const RangeCase rangeCases[] = {
    {"", "", true, false, true},
    {"", "", false, false, true},
    {"", "a", true, true, false},
    {"a", "", true, false, false},
    {"abc", "abc", true, false, true},
    {"abc", "abc", false, false, true},
    {"ab", "abc", true, true, false},
    {"abc", "ab", true, false, false},
    {"ab", "abc", false, true, false},
    {"abc", "ab", false, false, false},
    {"B", "a", true, true, false},
    {"a", "B", true, false, false},
    {"B", "a", false, false, false},
    {"a", "B", false, true, false},
    {"A", "a", false, true, true},
    {"a", "A", false, false, true},
    {"A", "a", true, true, false},
    {"a", "A", true, false, false},
    // The bytes of the shorter length break the tie before the length does.
    {"Ab", "a", false, true, false},
    {"a", "Ab", false, false, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, RangeCompareTest, testing::ValuesIn(rangeCases));

TEST(RangeLessTest, TheTextIsBeforeTheSwitch) {
    static_assert(std::is_standard_layout_v<RangeLess> && std::is_standard_layout_v<RangeEqual>);
    EXPECT_EQ(offsetof(RangeLess, text), 0U);
    EXPECT_EQ(offsetof(RangeLess, caseSensitive), sizeof(void*));
    EXPECT_EQ(offsetof(RangeEqual, text), 0U);
    EXPECT_EQ(offsetof(RangeEqual, caseSensitive), sizeof(void*));
}

TEST(RangeLessTest, IgnoringCaseRangesOfUnlikeLengthMayFormARing) {
    const std::string text = "aaAb";
    const RangeLess less(text, false);
    const TextRange a(0, 1);
    const TextRange aa(0, 2);
    const TextRange Ab(2, 4);
    EXPECT_TRUE(less(a, aa));
    EXPECT_TRUE(less(aa, Ab));
    EXPECT_TRUE(less(Ab, a));
}

}  // namespace
