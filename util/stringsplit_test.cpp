#include "util/stringsplit.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"

namespace {

using namespace std::string_literals;

using Ranges = std::vector<TextRange>;
using Words = std::vector<std::string>;

Ranges rangesOf(const std::string& text, bool keepEmpty, const std::string& delimiters = ",") {
    Ranges out;
    splitRanges(text, out, delimiters, keepEmpty);
    return out;
}

Ranges runsOf(const std::string& text, const std::string& delimiters = " ") {
    Ranges out;
    splitRuns(text, out, delimiters);
    return out;
}

Words wordsOf(const std::string& text, const std::string& delimiters = " ") {
    Words out;
    split(text, out, delimiters);
    return out;
}

TEST(SplitRangesTest, GivesTheRangesBetweenDelimiters) {
    const Ranges expected = {{0, 2}, {3, 4}, {5, 8}};
    EXPECT_EQ(rangesOf("ab,c,def", false), expected);
    EXPECT_EQ(rangesOf("ab,c,def", true), expected);
}

TEST(SplitRangesTest, EachCharacterOfTheDelimitersIsOne) {
    EXPECT_EQ(rangesOf("a,b;c", false, ",;"), (Ranges{{0, 1}, {2, 3}, {4, 5}}));
    EXPECT_EQ(rangesOf("a\0b"s, false, "\0"s), (Ranges{{0, 1}, {2, 3}}));
    EXPECT_EQ(rangesOf("a\xffz", false, "\xff"), (Ranges{{0, 1}, {2, 3}}));
}

TEST(SplitRangesTest, WithoutDelimitersTheTextIsOneRange) {
    EXPECT_EQ(rangesOf("word", false), (Ranges{{0, 4}}));
    EXPECT_EQ(rangesOf("a,b", false, ""), (Ranges{{0, 3}}));
}

TEST(SplitRangesTest, AnEmptyTextGivesNothing) {
    EXPECT_EQ(rangesOf("", false), Ranges());
    EXPECT_EQ(rangesOf("", true), Ranges());
}

TEST(SplitRangesTest, ALeadingDelimiterGivesNoRangeNotEvenAnEmptyOne) {
    EXPECT_EQ(rangesOf(",ab", false), (Ranges{{1, 3}}));
    EXPECT_EQ(rangesOf(",ab", true), (Ranges{{1, 3}}));
}

TEST(SplitRangesTest, ATrailingDelimiterGivesNoRange) {
    EXPECT_EQ(rangesOf("ab,", false), (Ranges{{0, 2}}));
    EXPECT_EQ(rangesOf("ab,", true), (Ranges{{0, 2}}));
    EXPECT_EQ(rangesOf(",", true), Ranges());
}

TEST(SplitRangesTest, AdjacentDelimitersGiveAnEmptyRangeOnlyIfTheseAreKept) {
    EXPECT_EQ(rangesOf("a,,b", false), (Ranges{{0, 1}, {3, 4}}));
    EXPECT_EQ(rangesOf("a,,b", true), (Ranges{{0, 1}, {2, 2}, {3, 4}}));
}

TEST(SplitRangesTest, InATextOfDelimitersAllButTheFirstGiveAnEmptyRangeIfKept) {
    EXPECT_EQ(rangesOf(",,", false), Ranges());
    EXPECT_EQ(rangesOf(",,", true), (Ranges{{1, 1}}));
    EXPECT_EQ(rangesOf(",,,", true), (Ranges{{1, 1}, {2, 2}}));
}

TEST(SplitRangesTest, AppendsToWhatIsThere) {
    Ranges out = {{7, 9}};
    splitRanges("a,b", out, ",", false);
    EXPECT_EQ(out, (Ranges{{7, 9}, {0, 1}, {2, 3}}));
}

TEST(SplitRunsTest, RunsOfBothKindsCoverTheTextInOrder) {
    EXPECT_EQ(runsOf("ab  cd "), (Ranges{{0, 2}, {2, 4}, {4, 6}, {6, 7}}));
    EXPECT_EQ(runsOf("  ab"), (Ranges{{0, 2}, {2, 4}}));
}

TEST(SplitRunsTest, ATextOfOneKindIsOneRun) {
    EXPECT_EQ(runsOf("word"), (Ranges{{0, 4}}));
    EXPECT_EQ(runsOf("   "), (Ranges{{0, 3}}));
    EXPECT_EQ(runsOf("a b", ""), (Ranges{{0, 3}}));
}

TEST(SplitRunsTest, DifferentDelimitersMakeOneRun) {
    EXPECT_EQ(runsOf("a \tb", "\t "), (Ranges{{0, 1}, {1, 3}, {3, 4}}));
}

TEST(SplitRunsTest, AnEmptyTextGivesNothing) { EXPECT_EQ(runsOf(""), Ranges()); }

TEST(SplitRunsTest, AppendsToWhatIsThere) {
    Ranges out = {{7, 9}};
    splitRuns("a", out, " ");
    EXPECT_EQ(out, (Ranges{{7, 9}, {0, 1}}));
}

TEST(SplitRangesTest, ALineIsCutWithoutAnAllocationPerToken) {
    const std::string text = "a token that no string holds inside itself, another one of that kind";
    Ranges out;
    out.reserve(16);
    const size_t before = testing_support::allocationCount();
    splitRanges(text, out, ",", false);
    splitRuns(text, out, ",");
    EXPECT_EQ(testing_support::allocationCount(), before);
    EXPECT_EQ(out.size(), 5U);

    Words copies;
    split(text, copies, ",");
    EXPECT_GE(testing_support::allocationCount(), before + copies.size());
}

TEST(SplitTest, GivesTheTokensAndNeverAnEmptyOne) {
    EXPECT_EQ(wordsOf("one two three"), (Words{"one", "two", "three"}));
    EXPECT_EQ(wordsOf("  one  two "), (Words{"one", "two"}));
    EXPECT_EQ(wordsOf("a,b;c", ";,"), (Words{"a", "b", "c"}));
}

TEST(SplitTest, ATextWithoutTokensGivesNothing) {
    EXPECT_EQ(wordsOf(""), Words());
    EXPECT_EQ(wordsOf("  "), Words());
}

TEST(SplitTest, WithoutDelimitersTheTextIsOneToken) {
    EXPECT_EQ(wordsOf("one two", ""), (Words{"one two"}));
}

TEST(SplitTest, AppendsToWhatIsThere) {
    Words out = {"zero"};
    split("one", out, " ");
    EXPECT_EQ(out, (Words{"zero", "one"}));
}

TEST(SplitTest, InASetDuplicatesBecomeOneAndTokensAreSorted) {
    std::set<std::string> out = {"m"};
    split(" b a B m  b ", out, " ");
    EXPECT_EQ(Words(out.begin(), out.end()), (Words{"B", "a", "b", "m"}));
}

struct QuotedCase {
    const char* text;
    bool stripQuotes;
    bool result;
    Words tokens;
};

class SplitQuotedTest : public testing::TestWithParam<QuotedCase> {};

TEST_P(SplitQuotedTest, SplitsAtBlanksOutsideQuotes) {
    Words out;
    EXPECT_EQ(splitQuoted(GetParam().text, out, " \t", "\"'", GetParam().stripQuotes),
              GetParam().result);
    EXPECT_EQ(out, GetParam().tokens);
}

const QuotedCase quotedCases[] = {
    // Nothing to find.
    {"", true, true, {}},
    {" \t ", true, true, {}},
    // Plain tokens; a quote inside one is an ordinary character.
    {"one  two\t", true, true, {"one", "two"}},
    {"it's a\"b", true, true, {"it's", "a\"b"}},
    // Quoted tokens.
    {"\"two words\" x", true, true, {"two words", "x"}},
    {"\"two words\" x", false, true, {"\"two words\"", "x"}},
    {"'two words'", true, true, {"two words"}},
    {"\"\" x", true, true, {"", "x"}},
    {"\"\" x", false, true, {"\"\"", "x"}},
    // A quote of one kind is closed by one of the other.
    {"\"a b' c", true, true, {"a b", "c"}},
    {"\"a b' c", false, true, {"\"a b'", "c"}},
    // Text directly after a closing quote is a token of its own.
    {"\"two words\"x", true, true, {"two words", "x"}},
    {"\"two words\"x", false, true, {"\"two words\"", "x"}},
    {"\"a\"\"b\"", true, true, {"a", "b"}},
    // An open quote.
    {"\"", true, false, {}},
    {"one \"two three", true, false, {"one"}},
    {"\"one\" two '", false, false, {"\"one\"", "two"}},
};

INSTANTIATE_TEST_SUITE_P(Rows, SplitQuotedTest, testing::ValuesIn(quotedCases));

TEST(SplitQuotedTest, AppendsToWhatIsThere) {
    Words out = {"zero"};
    EXPECT_TRUE(splitQuoted("\"one\"", out, " ", "\"", true));
    EXPECT_EQ(out, (Words{"zero", "one"}));
}

TEST(SplitQuotedTest, WithoutQuotesItSplitsOnlyAtDelimiters) {
    Words out;
    EXPECT_TRUE(splitQuoted("\"a b\"", out, " ", "", true));
    EXPECT_EQ(out, (Words{"\"a", "b\""}));
}

TEST(SplitQuotedTest, ADelimiterThatIsAQuoteTooOpensNothingButCloses) {
    Words out;
    EXPECT_TRUE(splitQuoted("'a \"b c' d", out, " '", "\"'", true));
    EXPECT_EQ(out, (Words{"a", "b c", "d"}));
}

TEST(JoinRangesTest, PutsTheSeparatorBetweenTheParts) {
    EXPECT_EQ(joinRanges("ab,c,def", {{0, 2}, {3, 4}, {5, 8}}, "; "), "ab; c; def");
    EXPECT_EQ(joinRanges("abc", {{2, 3}, {0, 1}}, ""), "ca");
}

TEST(JoinRangesTest, WithoutRangesNothingIsJoined) { EXPECT_EQ(joinRanges("abc", {}, ";"), ""); }

TEST(JoinRangesTest, AnEmptyRangeAddsNothing) {
    EXPECT_EQ(joinRanges("abc", {{0, 1}, {1, 1}}, ";"), "a");
    EXPECT_EQ(joinRanges("abc", {{0, 1}, {1, 1}, {2, 3}}, ";"), "a;c");
    EXPECT_EQ(joinRanges("abc", {{1, 1}}, ";"), "");
}

TEST(JoinRangesTest, AnEmptyFirstRangeMakesTheResultBeginWithASeparator) {
    EXPECT_EQ(joinRanges("abc", {{0, 0}, {0, 1}}, ";"), ";a");
    EXPECT_EQ(joinRanges("abc", {{0, 0}, {1, 1}, {0, 1}, {1, 2}}, ";"), ";a;b");
}

Words sortedUnique(Words items, bool caseSensitive) {
    sortUnique(items, caseSensitive);
    return items;
}

TEST(SortUniqueTest, IgnoringCaseBothSpellingsSurvive) {
    EXPECT_EQ(sortedUnique({"b", "a", "B", "A", "a", "b"}, false), (Words{"A", "a", "B", "b"}));
}

TEST(SortUniqueTest, MindingCaseBytesGiveTheOrder) {
    EXPECT_EQ(sortedUnique({"b", "a", "B", "A", "a", "b"}, true), (Words{"A", "B", "a", "b"}));
}

TEST(SortUniqueTest, TheVectorShrinksToTheSurvivors) {
    EXPECT_EQ(sortedUnique({"x", "x", "x"}, true).size(), 1U);
    EXPECT_EQ(sortedUnique({}, true), Words());
}

Words sortedUniqueRanges(const std::string& text, bool caseSensitive) {
    Ranges ranges = rangesOf(text, true);
    ranges.shrink_to_fit();  // no capacity after the last one, so that a read there is seen
    sortUniqueRanges(text, ranges, caseSensitive);
    Words words;
    for (const TextRange& range : ranges) {
        words.push_back(text.substr(range.first, range.second - range.first));
    }
    return words;
}

TEST(SortUniqueRangesTest, IgnoringCaseBothSpellingsSurvive) {
    EXPECT_EQ(sortedUniqueRanges("b,a,B,A,a,b", false), (Words{"A", "a", "B", "b"}));
}

TEST(SortUniqueRangesTest, MindingCaseBytesGiveTheOrder) {
    EXPECT_EQ(sortedUniqueRanges("b,a,B,A,a,b", true), (Words{"A", "B", "a", "b"}));
}

TEST(SortUniqueRangesTest, TheShorterOfTwoAlikeComesFirst) {
    EXPECT_EQ(sortedUniqueRanges("abc,ab,a,ab", true), (Words{"a", "ab", "abc"}));
    EXPECT_EQ(sortedUniqueRanges("abc,ab,a,ab", false), (Words{"a", "ab", "abc"}));
}

TEST(SortUniqueRangesTest, EmptyRangesBecomeOne) {
    EXPECT_EQ(sortedUniqueRanges("b,,,a", true), (Words{"", "a", "b"}));
}

TEST(SortUniqueRangesTest, OfRangesThatFormARingEachTextSurvives) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += i == 0 ? "a,aa,Ab" : ",a,aa,Ab";
    }
    const Words words = sortedUniqueRanges(text, false);
    for (const char* word : {"a", "aa", "Ab"}) {
        EXPECT_NE(std::find(words.begin(), words.end(), word), words.end()) << word;
    }
}

TEST(SortUniqueRangesTest, OfManyRangesThatFormRingsNoneIsLost) {
    // Each ring is a letter, the letter twice, and its capital followed by the next letter. There
    // are many more ranges than the 16 that std::sort takes one by one.
    Words words;
    for (char letter = 'a'; letter < 'z'; ++letter) {
        words.emplace_back(1, letter);
        words.emplace_back(2, letter);
        words.push_back({static_cast<char>(letter - 'a' + 'A'), static_cast<char>(letter + 1)});
    }
    const Words sorted = sortedUnique(words, /*caseSensitive=*/true);
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same arrangements each time
    for (int round = 0; round < 200; ++round) {
        for (size_t i = words.size(); i > 1; --i) {
            std::swap(words[i - 1], words[random() % i]);
        }
        std::string text;
        for (const std::string& word : words) {
            text += word + ",";
        }
        const Words survivors = sortedUniqueRanges(text, /*caseSensitive=*/false);
        ASSERT_EQ(survivors.size(), words.size()) << text;
        ASSERT_EQ(sortedUnique(survivors, /*caseSensitive=*/true), sorted) << text;
    }
}

TEST(SortUniqueRangesTest, NothingIsAllocated) {
    const std::string text = "c,b,a,b";
    Ranges ranges = rangesOf(text, true);
    const size_t before = testing_support::allocationCount();
    sortUniqueRanges(text, ranges, false);
    sortUniqueRanges(text, ranges, true);
    EXPECT_EQ(testing_support::allocationCount(), before);
    EXPECT_EQ(ranges.size(), 3U);
}

}  // namespace
