#include "util/stringedit.h"

#include <cctype>
#include <cstddef>
#include <locale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"
#include "util/processlocale.h"

namespace {

using namespace std::string_literals;

struct EditCase {
    std::string before;
    std::string after;
};

void expectEdits(void (*edit)(std::string&), const std::vector<EditCase>& rows) {
    for (const EditCase& row : rows) {
        std::string text = row.before;
        edit(text);
        EXPECT_EQ(text, row.after) << "of \"" << testing::PrintToString(row.before) << '"';
    }
}

TEST(ChompTest, CutsAllLineEndsFromTheEnd) {
    expectEdits(
        chomp,
        {{"line\r\n\r\n", "line"}, {"line\n", "line"}, {"line\r", "line"}, {"line\n\r\n", "line"}});
}

TEST(ChompTest, ATextOfOnlyLineEndsBecomesEmpty) {
    expectEdits(chomp, {{"\n", ""}, {"\r\n\r\n", ""}, {"", ""}});
}

TEST(ChompTest, LeavesTheFrontAndOtherBlanksAlone) {
    expectEdits(chomp, {{"\r\nline", "\r\nline"},
                        {"a\nb", "a\nb"},
                        {"line \t\n", "line \t"},
                        {"line\n ", "line\n "},
                        {"line\n\v", "line\n\v"}});
}

TEST(TrimTest, CutsEachBlankFromBothEnds) {
    expectEdits(trim, {{" \v\f\t\r\nword \v\f\t\r\n", "word"},
                       {"\nword", "word"},
                       {"word\r", "word"},
                       {"word", "word"}});
}

TEST(TrimTest, LeavesBlanksInsideAndOtherCharactersAlone) {
    expectEdits(
        trim,
        {{" two\t words ", "two\t words"}, {"\0 a \0"s, "\0 a \0"s}, {" \xc2\xa0 ", "\xc2\xa0"}});
}

TEST(TrimTest, AnEmptyTextStaysEmpty) { expectEdits(trim, {{"", ""}}); }

TEST(TrimTest, ATextOfOnlyBlanksBecomesEmpty) {
    expectEdits(trim, {{" ", ""}, {"\n", ""}, {" \v\f\t\r\n", ""}});
}

TEST(TrimLeftTest, CutsBlanksOfALineFromTheFrontOnly) {
    expectEdits(trimLeft, {{"\v\f\t word ", "word "}, {"word", "word"}, {"", ""}});
}

TEST(TrimLeftTest, ALineEndAtTheFrontStopsIt) {
    expectEdits(trimLeft,
                {{"\n word", "\n word"}, {"\r word", "\r word"}, {" \t\n word", "\n word"}});
}

TEST(TrimLeftTest, ATextOfOnlySuchBlanksBecomesEmpty) {
    expectEdits(trimLeft, {{" \t", ""}, {"\v\f\t ", ""}});
}

TEST(LetterCaseTest, InTheClassicLocaleAsciiLettersAreConvertedAndNothingElse) {
    if (processLocale().name() != "C") {
        GTEST_SKIP() << "NIMBREL_LOCALE names the locale " << processLocale().name();
    }
    expectEdits(toLower, {{"M:\\View_1 @[`{", "m:\\view_1 @[`{"}, {"", ""}});
    expectEdits(toUpper, {{"m:\\View_1 @[`{", "M:\\VIEW_1 @[`{"}, {"", ""}});
    expectEdits(toLower, {{"\xc3\x84Z\0Z"s, "\xc3\x84z\0z"s}});
    expectEdits(toUpper, {{"\xc3\xa4z\0z"s, "\xc3\xa4Z\0Z"s}});
}

TEST(LetterCaseTest, EachByteIsConvertedAsTheProcessLocaleSays) {
    std::string all;
    for (int c = 0; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    std::string lower = all;
    std::string upper = all;
    toLower(lower);
    toUpper(upper);
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(lower[i], std::tolower(all[i], processLocale())) << i;
        EXPECT_EQ(upper[i], std::toupper(all[i], processLocale())) << i;
    }
}

std::string replaced(std::string text, char from, char to) {
    replaceChar(text, from, to);
    return text;
}

TEST(ReplaceCharTest, OverwritesEachOccurrence) {
    EXPECT_EQ(replaced("\\a\\\\b\\c", '\\', '/'), "/a//b/c");
    EXPECT_EQ(replaced("abc", '\\', '/'), "abc");
    EXPECT_EQ(replaced("", '\\', '/'), "");
}

TEST(ReplaceCharTest, AnOccurrenceAtTheEndIsDropped) {
    EXPECT_EQ(replaced("a\\b\\", '\\', '/'), "a/b");
    EXPECT_EQ(replaced("\\", '\\', '/'), "");
}

TEST(ReplaceCharTest, OfTwoOccurrencesAtTheEndOneIsDropped) {
    EXPECT_EQ(replaced("a\\\\", '\\', '/'), "a/");
    EXPECT_EQ(replaced("\\\\", '\\', '/'), "/");
}

TEST(ReplaceCharTest, ACharacterReplacedByItselfIsStillDroppedAtTheEnd) {
    EXPECT_EQ(replaced("a/b/", '/', '/'), "a/b");
}

std::string blanked(std::string text, int limit) {
    blankLineContinuations(text, limit);
    return text;
}

TEST(BlankLineContinuationsTest, ABackslashAndItsLineFeedBecomeSpaces) {
    EXPECT_EQ(blanked("one\\\ntwo\\\nthree", noContinuationLimit), "one  two  three");
    EXPECT_EQ(blanked("\\\n", noContinuationLimit), "  ");
}

TEST(BlankLineContinuationsTest, OtherBackslashesAreLeftAlone) {
    EXPECT_EQ(blanked("a\\b\\", noContinuationLimit), "a\\b\\");
    EXPECT_EQ(blanked("a\\\r\nb", noContinuationLimit), "a\\\r\nb");
    EXPECT_EQ(blanked("a\nb", noContinuationLimit), "a\nb");
    EXPECT_EQ(blanked("", noContinuationLimit), "");
}

TEST(BlankLineContinuationsTest, OfTwoBackslashesTheSecondContinuesTheLine) {
    EXPECT_EQ(blanked("a\\\\\nb", noContinuationLimit), "a\\  b");
}

TEST(BlankLineContinuationsTest, ABackslashAtOrAfterTheLimitIsLeftAlone) {
    const std::string text = "a\\\nb\\\nc";
    EXPECT_EQ(blanked(text, 100), "a  b  c");
    EXPECT_EQ(blanked(text, 5), "a  b  c");
    EXPECT_EQ(blanked(text, 4), "a  b\\\nc");
    EXPECT_EQ(blanked(text, 2), "a  b\\\nc");
    EXPECT_EQ(blanked(text, 1), text);
    EXPECT_EQ(blanked(text, 0), text);
}

TEST(BlankLineContinuationsTest, OnlyMinusOneOfTheNegativeLimitsIsNone) {
    EXPECT_EQ(noContinuationLimit, -1);
    EXPECT_EQ(blanked("a\\\nb", -2), "a\\\nb");
}

TEST(CollapseWhitespaceTest, EachRunOfBlanksBecomesOneSpace) {
    expectEdits(collapseWhitespace, {{"one two", "one two"},
                                     {"one\v\f\r\n\t two", "one two"},
                                     {"a  b\nc", "a b c"},
                                     {"a\tb", "a b"}});
}

TEST(CollapseWhitespaceTest, BlanksAtBothEndsGo) {
    expectEdits(
        collapseWhitespace,
        {{" \n one  two \t", "one two"}, {"one\n", "one"}, {" one", "one"}, {"\n\n one", "one"}});
}

TEST(CollapseWhitespaceTest, ATextOfOnlyBlanksBecomesEmpty) {
    expectEdits(collapseWhitespace, {{"", ""}, {" ", ""}, {"\v\f\r\n\t ", ""}});
}

TEST(CollapseWhitespaceTest, ANulIsNoBlank) {
    expectEdits(collapseWhitespace, {{" a  \0  b "s, "a \0 b"s}});
}

TEST(StringEditTest, NoEditAllocates) {
    std::string text =
        "  a text\\\nthat is  long enough to need memory of its own, with a tail\\ \r\n";
    const size_t before = testing_support::allocationCount();
    chomp(text);
    trimLeft(text);
    blankLineContinuations(text, noContinuationLimit);
    collapseWhitespace(text);
    toUpper(text);
    toLower(text);
    trim(text);
    replaceChar(text, '\\', '/');
    EXPECT_EQ(testing_support::allocationCount(), before);
    EXPECT_EQ(text, "a text that is long enough to need memory of its own, with a tail");
}

}  // namespace
