#include "util/stringscan.h"

#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

// Returns all fields of the text, and whether the cursor ends on its terminator.
std::vector<std::string> fieldsOf(std::string text, char delimiter) {
    const char* const end = text.data() + text.size();
    std::vector<std::string> fields;
    char* cursor = text.data();
    while (const char* field = nextField(&cursor, delimiter)) {
        fields.emplace_back(field);
    }
    EXPECT_EQ(cursor, end);
    EXPECT_EQ(nextField(&cursor, delimiter), nullptr);
    return fields;
}

using Fields = std::vector<std::string>;

TEST(NextFieldTest, GivesOneFieldAfterTheOtherThenNull) {
    EXPECT_EQ(fieldsOf("one:two:three", ':'), (Fields{"one", "two", "three"}));
    EXPECT_EQ(fieldsOf("one", ':'), (Fields{"one"}));
}

TEST(NextFieldTest, AnEmptyTextHasNoField) { EXPECT_EQ(fieldsOf("", ':'), Fields()); }

TEST(NextFieldTest, AdjacentDelimitersGiveEmptyFields) {
    EXPECT_EQ(fieldsOf("one::two", ':'), (Fields{"one", "", "two"}));
    EXPECT_EQ(fieldsOf(":one", ':'), (Fields{"", "one"}));
}

TEST(NextFieldTest, ADelimiterAtTheEndGivesNoFieldAfterIt) {
    EXPECT_EQ(fieldsOf("one:", ':'), (Fields{"one"}));
    EXPECT_EQ(fieldsOf(":", ':'), (Fields{""}));
}

TEST(NextFieldTest, TheFieldIsInTheTextAndItsDelimiterBecomesNul) {
    std::string text = "one:two";
    char* cursor = text.data();
    EXPECT_EQ(nextField(&cursor, ':'), text.data());
    EXPECT_EQ(text, "one\0two"s);
    EXPECT_EQ(cursor, text.data() + 4);
}

TEST(NextFieldTest, TheTerminatorAsDelimiterMakesTheTextOneField) {
    EXPECT_EQ(fieldsOf("one two", '\0'), (Fields{"one two"}));
}

struct NameAndNumber {
    std::string name;
    int number;
    bool operator==(const NameAndNumber&) const = default;
};

NameAndNumber parsed(const std::string& text, int before) {
    NameAndNumber result{"before", before};
    splitNameAndNumber(text, result.name, &result.number);
    return result;
}

TEST(SplitNameAndNumberTest, CutsAtTheColon) {
    EXPECT_EQ(parsed("port:8080", 1), (NameAndNumber{"port", 8080}));
    EXPECT_EQ(parsed("port: -7 rest", 1), (NameAndNumber{"port", -7}));
}

TEST(SplitNameAndNumberTest, CutsAtTheFirstColon) {
    EXPECT_EQ(parsed("a:1:2", 9), (NameAndNumber{"a", 1}));
}

TEST(SplitNameAndNumberTest, WithoutAColonTheNumberKeepsItsValue) {
    EXPECT_EQ(parsed("port", 17), (NameAndNumber{"port", 17}));
    EXPECT_EQ(parsed("", 17), (NameAndNumber{"", 17}));
}

TEST(SplitNameAndNumberTest, WhatIsNoNumberIsZero) {
    EXPECT_EQ(parsed("port:", 17), (NameAndNumber{"port", 0}));
    EXPECT_EQ(parsed(":x", 17), (NameAndNumber{"", 0}));
}

TEST(SplitNameAndNumberTest, TheNameMayReplaceTheTextItself) {
    std::string text = "port:8080";
    int number = 0;
    splitNameAndNumber(text, text, &number);
    EXPECT_EQ(text, "port");
    EXPECT_EQ(number, 8080);
}

struct ArgumentCase {
    const char* line;
    const char* next;
};

class NextArgumentTest : public testing::TestWithParam<ArgumentCase> {};

TEST_P(NextArgumentTest, GivesTheRestAfterTheFirstArgument) {
    const char* const line = GetParam().line;
    const char* const next = nextArgument(line);
    EXPECT_STREQ(next, GetParam().next) << line;
    EXPECT_EQ(next, line + std::strlen(line) - std::strlen(GetParam().next)) << line;
}

const ArgumentCase argumentCases[] = {
    // The line ends at every step.
    {"", ""},
    {"word", ""},
    {"word  ", ""},
    {"\"open", ""},
    {"\"open ", ""},
    {"word\\", ""},
    {"word\\\"", ""},
    {"word\\\\\"", ""},
    // Only spaces separate arguments.
    {"a b c", "b c"},
    {"a   b", "b"},
    {" a b", "a b"},
    {"a\tb c", "c"},
    // Spaces inside quotes don't separate.
    {"\"a b\" c", "c"},
    {"\"a b\"", ""},
    {"a\" \"b c", "c"},
    {"\"\" c", "c"},
    {"\"a  b\"  c", "c"},
    // An odd run of backslashes escapes a quote, an even one doesn't.
    {"a\\\"b c", "c"},
    {"a\\\\\"b c\" d", "d"},
    {"a\\\\\\\"b c", "c"},
    {"\"a\\\" b\" c", "c"},
    {"\"a\\\\\" b", "b"},
    // Backslashes elsewhere are ordinary.
    {"a\\b c", "c"},
    {"a\\ b", "b"},
    {"a\\\\ b", "b"},
    {"\"a\\ b\" c", "c"},
};

INSTANTIATE_TEST_SUITE_P(Rows, NextArgumentTest, testing::ValuesIn(argumentCases));

// Returns the index of what is found.
size_t unescapedIn(std::string_view text, char c = ';', char esc = '\\') {
    const char* const last = text.data() + text.size();
    return static_cast<size_t>(findUnescaped(text.data(), last, c, esc) - text.data());
}

TEST(FindUnescapedTest, FindsTheFirstOccurrence) {
    EXPECT_EQ(unescapedIn("ab;c;"), 2U);
    EXPECT_EQ(unescapedIn(";"), 0U);
}

TEST(FindUnescapedTest, SkipsAnEscapedOne) {
    EXPECT_EQ(unescapedIn("a\\;b;c"), 4U);
    EXPECT_EQ(unescapedIn("\\;\\;;"), 4U);
}

TEST(FindUnescapedTest, AnEscapedEscapeEscapesNothing) { EXPECT_EQ(unescapedIn("a\\\\;b"), 3U); }

TEST(FindUnescapedTest, WithoutOneTheResultIsTheEnd) {
    EXPECT_EQ(unescapedIn(""), 0U);
    EXPECT_EQ(unescapedIn("abc"), 3U);
    EXPECT_EQ(unescapedIn("a\\;"), 3U);
}

TEST(FindUnescapedTest, AnEscapeAtTheEndOfTheRangeGivesTheEnd) {
    EXPECT_EQ(unescapedIn("ab\\"), 3U);
    EXPECT_EQ(unescapedIn(std::string_view("ab\\;", 3)), 3U);
}

TEST(FindUnescapedTest, LooksNoFurtherThanTheRange) {
    EXPECT_EQ(unescapedIn(std::string_view("ab;", 2)), 2U);
}

TEST(FindUnescapedTest, ANulEndsTheScanAtItsPlace) {
    EXPECT_EQ(unescapedIn(std::string_view("ab\0c;", 5)), 2U);
    EXPECT_EQ(unescapedIn(std::string_view("\0;", 2)), 0U);
}

TEST(FindUnescapedTest, AnEscapedNulIsSkipped) {
    EXPECT_EQ(unescapedIn(std::string_view("a\\\0b;", 5)), 4U);
}

TEST(FindUnescapedDeathTest, ACharacterThatIsItsOwnEscapeIsAFault) {
    const char* const text = "abc";
    EXPECT_DEATH(static_cast<void>(findUnescaped(text, text + 3, '\\', '\\')),
                 "assertion failed at .*: c != esc");
    EXPECT_DEATH(static_cast<void>(findUnescaped(text, text, ';', ';')),
                 "assertion failed at .*: c != esc");
}

size_t anyIn(std::string_view text, const char* set) {
    return static_cast<size_t>(findAnyOf(text.data(), text.data() + text.size(), set) -
                               text.data());
}

TEST(FindAnyOfTest, FindsTheFirstCharacterOfTheSet) {
    EXPECT_EQ(anyIn("abc;,", ",;"), 3U);
    EXPECT_EQ(anyIn(",", ",;"), 0U);
    EXPECT_EQ(anyIn("a\xff", "\xff"), 1U);
}

TEST(FindAnyOfTest, WithoutOneTheResultIsTheEnd) {
    EXPECT_EQ(anyIn("abc", ",;"), 3U);
    EXPECT_EQ(anyIn("", ",;"), 0U);
    EXPECT_EQ(anyIn(std::string_view("abc;", 3), ",;"), 3U);
    EXPECT_EQ(anyIn("abc", ""), 3U);
}

TEST(FindAnyOfTest, ANulInTheRangeCountsAsFound) {
    EXPECT_EQ(anyIn(std::string_view("ab\0;", 4), ";"), 2U);
    EXPECT_EQ(anyIn(std::string_view("\0", 1), ""), 0U);
}

std::string quoted(std::vector<const char*> words, std::string commandLine = {}) {
    words.push_back(nullptr);
    appendQuotedWords(words.data(), commandLine);
    return commandLine;
}

TEST(AppendQuotedWordsTest, EachWordIsQuotedWithASpaceAfterIt) {
    EXPECT_EQ(quoted({"cleartool", "two words", ""}), "\"cleartool\" \"two words\" \"\" ");
}

TEST(AppendQuotedWordsTest, TheSevenOperatorsStayBare) {
    EXPECT_EQ(quoted({">", ">>", "|", "<", "2>&1", "1>&2", "2>"}), "> >> | < 2>&1 1>&2 2> ");
}

TEST(AppendQuotedWordsTest, WhatOnlyLooksLikeAnOperatorIsQuoted) {
    EXPECT_EQ(quoted({"||", "<<", "2>>", "1>", "> "}), "\"||\" \"<<\" \"2>>\" \"1>\" \"> \" ");
}

TEST(AppendQuotedWordsTest, NothingInsideAWordIsEscaped) {
    EXPECT_EQ(quoted({"a\"b", "c\\"}), "\"a\"b\" \"c\\\" ");
}

TEST(AppendQuotedWordsTest, AppendsToWhatIsThere) {
    EXPECT_EQ(quoted({"a"}, "run "), "run \"a\" ");
}

TEST(AppendQuotedWordsTest, WithoutWordsTheCommandLineStaysAsItIs) {
    EXPECT_EQ(quoted({}, "run"), "run");
}

}  // namespace
