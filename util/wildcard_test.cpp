#include "util/wildcard.h"

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"

namespace {

struct Row {
    const char* pattern;
    const char* text;
    bool matches;
};

void expectMatches(std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(wildcardMatch(row.pattern, row.text), row.matches)
            << row.pattern << " against " << row.text;
    }
}

TEST(WildcardMatchTest, CharactersMatchThemselvesWhateverTheirCase) {
    expectMatches({{"abc", "abc", true},
                   {"aBc", "AbC", true},
                   {"abc", "ab", false},
                   {"ab", "abc", false},
                   {"abc", "abd", false},
                   {"", "a", false},
                   {"?b", "xb", true},
                   {"??", "x", false}});
}

TEST(WildcardMatchTest, AnEmptyTextFitsAnEmptyPatternAndOneStar) {
    expectMatches(
        {{"", "", true}, {"*", "", true}, {"**", "", false}, {"?", "", false}, {"a", "", false}});
}

TEST(WildcardMatchTest, AStarMatchesAnyText) {
    expectMatches({{"a*b", "axxb", true},
                   {"a*b", "ab", true},
                   {"a*b", "abx", false},
                   {"*.TXT", "a.txt", true},
                   {"*", "anything", true},
                   {"a*", "a", true},
                   {"a*c*e", "abcde", true},
                   {"a*c*e", "abcdef", false},
                   {"*aab", "aaaab", true},
                   {"*ab*ba", "abba", true},
                   {"*ab*ba", "aba", false},
                   {"*?", "a", true},
                   {"*?b", "aab", true},
                   {"*?b", "aac", false},
                   {"a*?c", "abbc", true},
                   {"*a*b*c", "xaybzc", true},
                   {"**a", "a", true},
                   {"a**b", "ab", true}});
}

TEST(WildcardMatchTest, AtTheEndOfTheTextOneMoreStarIsAccepted) {
    expectMatches({{"abc*", "abc", true},
                   {"abc**", "abc", false},
                   {"abc**", "abcd", true},
                   {"abc*?", "abc", false}});
}

TEST(WildcardMatchTest, ABackslashTakesTheNextCharacterAsItIs) {
    expectMatches({{"\\*", "*", true},
                   {"\\*", "a", false},
                   {"\\*", "**", false},
                   {"\\?", "x", false},
                   {"\\A", "a", true},
                   {"a\\[b", "a[b", true},
                   {"\\\\", "\\", true},
                   {"*\\*", "ab*", true},
                   {"a\\", "a\\", false},
                   {"\\", "\\", false}});
}

TEST(WildcardMatchTest, AClassMatchesOneOfItsMembers) {
    expectMatches({{"[abc]", "b", true},    {"[abc]", "d", false},  {"[abc]", "B", true},
                   {"[abc]x", "cx", true},  {"[abc]", "ab", false}, {"[a-c]", "b", true},
                   {"[a-c]", "c", true},    {"[a-c]", "d", false},  {"[a-cx-z]", "y", true},
                   {"[\\a]", "\\", true},   {"[*?]", "x", false},   {"[[]", "[", true},
                   {"[a-c-e]", "-", true},  {"[a-c-e]", "e", true}, {"[a-c-e]", "d", false},
                   {"[-a]", "-", true},     {"[a-]", "-", true},    {"[a-]", "a", true},
                   {"*[0-9]", "ab7", true}, {"[A-C]", "b", true}});
}

TEST(WildcardMatchTest, AReversedRangeIsThreePlainMembers) {
    expectMatches({{"[c-a]", "a", true},
                   {"[c-a]", "c", true},
                   {"[c-a]", "-", true},
                   {"[c-a]", "b", false},
                   {"[a-a]", "a", true},
                   {"[a-a]", "-", true}});
}

TEST(WildcardMatchTest, ANegatedClassMatchesAllButItsMembers) {
    expectMatches({{"[!abc]", "d", true},
                   {"[^abc]", "d", true},
                   {"[!abc]", "a", false},
                   {"[!a-c]x", "bx", false},
                   {"[!a-c]x", "dx", true},
                   {"[!a-c]", "c", false},
                   {"[!a!]", "!", false},
                   {"[^^]", "^", false},
                   {"[!]", "a", true},
                   {"[^]", "]", true},
                   {"[!abc]", "", false},
                   {"[!a-c-e]", "d", false},
                   {"[!a-c]", "a", false}});
}

TEST(WildcardMatchTest, OfANegatedClassAMemberBeforeADashOfNoRangeIsNotLookedAt) {
    expectMatches({{"[!c-a]", "c", true},  // the range runs backwards
                   {"[!c-a]", "-", false},
                   {"[!c-a]", "a", false},
                   {"[!a-]", "a", true},
                   {"[!a-]", "-", false}});
}

TEST(WildcardMatchTest, AClosingBracketEndsAClassWhereverItIs) {
    expectMatches({{"[]", "a", false},
                   {"[]", "]", false},
                   {"[]a]", "a", false},
                   {"[]a]", "]a]", false},
                   {"[^]", "a", true},
                   {"[^]a]", "xa]", true},
                   {"[a-]]", "a]", true},
                   {"[abc", "a", false},
                   {"[abc", "[abc", false},
                   {"[", "[", false},
                   {"[!", "a", false},
                   {"*[abc", "xa", false}});
}

TEST(WildcardMatchTest, ARangeComparesSignedCharacters) {
    expectMatches({{"[\x80-\x90]", "\x85", true},
                   {"[\x80-a]", "\x85", true},
                   {"[a-\x80]", "b", false},
                   {"[a-\x80]", "\x80", true}});
}

TEST(WildcardMatchTest, BracketsCanBeLiteralAndCaseCanCount) {
    const auto match = [](const char* pattern, const char* text, bool literalBrackets,
                          bool caseSensitive) {
        return wildcardMatch(pattern, text, literalBrackets, caseSensitive, 0, 0);
    };
    EXPECT_TRUE(match("[a]", "[a]", true, true));
    EXPECT_FALSE(match("[a]", "a", true, true));
    EXPECT_TRUE(match("[a]", "[A]", true, false));
    EXPECT_FALSE(match("a*", "Ab", false, true));
    EXPECT_TRUE(match("a*", "ab", false, true));
    EXPECT_FALSE(match("[a-z]", "B", false, true));
    EXPECT_FALSE(match("\\A", "a", false, true));
}

TEST(WildcardMatchTest, TheWorkingFormBeginsAtItsIndices) {
    EXPECT_TRUE(wildcardMatch("xxb*", "abc", false, false, 2, 1));
    EXPECT_FALSE(wildcardMatch("xxb*", "abc", false, false, 2, 0));
    EXPECT_TRUE(wildcardMatch("ab", "ab", false, false, 2, 2));
    EXPECT_TRUE(wildcardMatch("ab*", "ab", false, false, 2, 2));
}

TEST(WildcardMatchTest, ManyStarsOnALongTextComeToAnEnd) {
    std::string pattern;
    for (int i = 0; i < 50; ++i) {
        pattern += "a*";
    }
    EXPECT_FALSE(wildcardMatch(pattern + "b", std::string(5000, 'a')));
    EXPECT_TRUE(wildcardMatch(pattern, std::string(5000, 'a')));
}

TEST(WildcardMatchTest, NothingIsAllocated) {
    static_cast<void>(wildcardMatch("a", "a"));  // the first call builds the table of letters
    const std::string text(300, 'a');
    const size_t before = testing_support::allocationCount();
    const bool matches = wildcardMatch("*[a-c]?a", text);
    const size_t after = testing_support::allocationCount();
    EXPECT_TRUE(matches);
    EXPECT_EQ(after, before);
}

TEST(MatchStemTest, TheStemIsThePartThatTheWildcardMatched) {
    const struct {
        const char* pattern;
        const char* text;
        bool matches;
        TextRange stem;
    } rows[] = {
        {"%.o", "foo.o", true, {0, 3}}, {"%.o", ".o", true, {0, 0}},
        {"%.o", "o", false, {}},        {"lib%.a", "libx.a", true, {3, 4}},
        {"lib%", "lib", true, {3, 3}},  {"%", "", true, {0, 0}},
        {"%", "abc", true, {0, 3}},     {"a%b", "ab", true, {1, 1}},
        {"a%a", "a", false, {}},        {"%%", "x%", true, {0, 1}},
        {"%%", "xy", false, {}},        {"a%c", "abd", false, {}},
        {"foo", "foo", true, {0, 3}},   {"foo", "fo", false, {}},
        {"", "", true, {0, 0}},         {"%.O", "foo.o", false, {}},
    };
    for (const auto& row : rows) {
        const TextRange untouched = {77, 78};
        TextRange stem = untouched;
        const std::string text = row.text;
        EXPECT_EQ(matchStem(row.pattern, text, {0, text.size()}, '%', &stem, /*exact=*/true),
                  row.matches)
            << row.pattern << " against " << text;
        EXPECT_EQ(stem, row.matches ? row.stem : untouched) << row.pattern << " against " << text;
    }
}

TEST(MatchStemTest, TheTextIsARangeAndTheStemCountsFromTheStartOfItsBase) {
    TextRange stem;
    EXPECT_TRUE(matchStem("%.o", "dir/foo.o.x", {4, 9}, '%', &stem, true));
    EXPECT_EQ(stem, (TextRange{4, 7}));
    EXPECT_TRUE(matchStem("foo.o", "dir/foo.o.x", {4, 9}, '%', &stem, true));
    EXPECT_EQ(stem, (TextRange{4, 9}));
}

TEST(MatchStemTest, CaseCountsOnDemandAndTheWildcardIsAnyCharacter) {
    TextRange stem;
    EXPECT_TRUE(matchStem("A*.O", "aFOO.o", {0, 6}, '*', &stem, /*exact=*/false));
    EXPECT_EQ(stem, (TextRange{1, 4}));
    EXPECT_FALSE(matchStem("A*.O", "aFOO.o", {0, 6}, '*', &stem, /*exact=*/true));
    EXPECT_TRUE(matchStem("FOO", "foo", {0, 3}, '*', &stem, /*exact=*/false));
    EXPECT_TRUE(matchStem("a*", "a*", {0, 2}, '%', &stem, true));
    EXPECT_EQ(stem, (TextRange{0, 2}));
    EXPECT_FALSE(matchStem("a*", "ab", {0, 2}, '%', &stem, /*exact=*/false));
}

TEST(MatchStemTest, ANullBaseIsAnEmptyTextOnlyToTheExactComparison) {
    const StringSpan none(nullptr, 0);
    const struct {
        StringSpan pattern;
        bool matchesExactly, matchesNoCase;
    } rows[] = {
        {"%", true, false},  {"", true, false},    {none, true, true},
        {"a", false, false}, {"%a", false, false},
    };
    for (const auto& row : rows) {
        for (const bool exact : {true, false}) {
            const bool matches = exact ? row.matchesExactly : row.matchesNoCase;
            const TextRange untouched = {77, 78};
            TextRange stem = untouched;
            EXPECT_EQ(matchStem(row.pattern, none, {0, 0}, '%', &stem, exact), matches)
                << row.pattern.view() << " " << exact;
            EXPECT_EQ(stem, matches ? TextRange(0, 0) : untouched);
        }
    }
}

TEST(MatchStemTest, NothingIsAllocated) {
    const std::string name(300, 'a');
    const std::string text = "lib/" + name + ".o";
    const std::string folded = "LIB/" + name + ".O";
    const TextRange range = {0, text.size()};
    // With the wildcard in the middle and at either end, and without one.
    for (const std::string& pattern : {std::string("lib/%.o"), "%" + text, text + "%", text}) {
        for (const bool exact : {true, false}) {
            const std::string& base = exact ? text : folded;
            TextRange stem;
            const size_t before = testing_support::allocationCount();
            const bool matches = matchStem(pattern, base, range, '%', &stem, exact);
            const size_t after = testing_support::allocationCount();
            EXPECT_TRUE(matches) << pattern << " " << exact;
            EXPECT_EQ(after, before) << pattern << " " << exact;
        }
    }
}

}  // namespace
