#include "util/substring.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using SubstringDeathTest = testing::Test;

constexpr size_t none = std::string::npos;

std::string textOf(const Substring& part) { return std::string(part.span().view()); }

TEST(SubstringTest, AViewIsAStretchOfItsString) {
    std::string text = "0123456789";
    EXPECT_EQ(textOf(Substring(text)), text);
    EXPECT_EQ(textOf(Substring(text, 4)), "456789");
    EXPECT_EQ(textOf(Substring(text, 10)), "");
    const Substring middle(text, 2, 5);
    EXPECT_EQ(textOf(middle), "23456");
    EXPECT_EQ(middle.length(), 5U);
    EXPECT_EQ(middle[0], '2');
    EXPECT_EQ(middle[4], '6');
    EXPECT_EQ(textOf(Substring(middle, 1, 3)), "123") << "the start is one of the string";
    EXPECT_EQ(textOf(middle.part(1, 3)), "345");
    std::string other = "other";
    Substring assigned = middle;
    EXPECT_EQ(textOf(assigned), "23456");
    assigned = other;
    EXPECT_EQ(textOf(assigned), "other");
}

TEST(SubstringDeathTest, AnIndexAfterTheViewStopsTheProcess) {
    std::string text = "0123";
    const Substring view(text, 1, 2);
    EXPECT_DEATH(static_cast<void>(view[2]), "assertion failed at .*: index < . mEnd - mStart .");
}

TEST(SubstringTest, TrimTakesSpacesAndTabsAwayAndNothingElse) {
    const struct {
        const char* text;
        size_t start, length;
        const char* trimmed;
        const char* leftTrimmed;
    } rows[] = {
        {" \tab c\t ", 0, 8, "ab c", "ab c\t "},
        {"abc", 0, 3, "abc", "abc"},
        {"xx  a  xx", 2, 5, "a", "a  "},
        {"\n a \n", 0, 5, "\n a \n", "\n a \n"},
        {"a  b", 0, 2, "a", "a "},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        Substring both(text, row.start, row.length);
        both.trim();
        EXPECT_EQ(textOf(both), row.trimmed) << row.text;
        Substring left(text, row.start, row.length);
        left.trimLeft();
        EXPECT_EQ(textOf(left), row.leftTrimmed) << row.text;
    }
}

TEST(SubstringTest, AViewOfBlanksCollapsesToTheStartOfTheString) {
    std::string text = "ab \t cd";
    for (const size_t length : {3U, 0U}) {
        Substring both(text, 2, length);
        both.trim();
        EXPECT_EQ(both.length(), 0U);
        EXPECT_EQ(both.span().data, text.data());
        Substring left(text, 2, length);
        left.trimLeft();
        EXPECT_EQ(left.length(), 0U);
        EXPECT_EQ(left.span().data, text.data());
    }
}

TEST(SubstringTest, AViewThatReachesPastItsStringIsTrimmedToWhatIsThere) {
    const struct {
        const char* text;
        size_t start;
        const char* trimmed;
    } rows[] = {{"x  ", 1, ""}, {"  x  ", 0, "x"}, {"  x", 0, "x"}};
    for (const auto& row : rows) {
        std::string text = row.text;
        Substring view(text, row.start, 40);
        view.trim();
        EXPECT_EQ(textOf(view), row.trimmed) << '"' << row.text << '"';
    }
    std::string blanks = "x  ";
    Substring left(blanks, 1, 40);
    left.trimLeft();
    EXPECT_EQ(left.length(), 0U);
    EXPECT_EQ(left.span().data, blanks.data());
}

TEST(SubstringTest, SearchesStayInTheViewAndCountFromItsStart) {
    std::string text = "ab;cd;ef";
    const Substring view(text, 1, 5);  // b;cd;
    EXPECT_EQ(view.findFirstOf(";,", 0), 1U);
    EXPECT_EQ(view.findFirstOf(";", 2), 4U);
    EXPECT_EQ(view.findFirstOf("aef", 0), none);
    EXPECT_EQ(view.findFirstOf("", 0), none);
    EXPECT_EQ(view.findFirstOf(";", 5), none);
    EXPECT_EQ(view.findFirstNotOf("b;", 0), 2U);
    EXPECT_EQ(view.findFirstNotOf("bcd;", 0), none) << "though the string goes on";
    EXPECT_EQ(view.findFirstNotOf("b", 5), none);
    EXPECT_EQ(view.find('d', 0), 3U);
    EXPECT_EQ(view.find('d', 4), none);
    EXPECT_EQ(view.find('e', 0), none);
    EXPECT_EQ(view.find(';', 5), none);
    EXPECT_EQ(view.find("cd", 0), 2U);
    EXPECT_EQ(view.find("cd", 3), none);
    EXPECT_EQ(view.find(";e", 0), none) << "it isn't wholly in the view";
    EXPECT_EQ(view.find("", 0), none);
    EXPECT_EQ(view.find("b", 7), none);
}

TEST(SubstringTest, AnEscapedCharacterIsNotFound) {
    const struct {
        const char* text;
        size_t pos, found;
    } rows[] = {
        {"a;b", 0, 1},    {"a\\;b", 0, none}, {"a\\\\;b", 0, 3}, {"a\\\\\\;b;", 0, 6},
        {"\\;", 0, none}, {"\\;", 1, 1},      {"a\\;;", 0, 3},   {"\\\\;", 1, none},
        {"ab", 0, none},  {"", 0, none},      {"a;", 2, none},   {";", 0, 0},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        EXPECT_EQ(Substring(text).findUnescaped(";", row.pos, '\\'), row.found)
            << row.text << " from " << row.pos;
    }
    std::string inside = "\\;x;";
    EXPECT_EQ(Substring(inside, 1).findUnescaped(";", 0, '\\'), 0U)
        << "what is before it is not seen";
    EXPECT_EQ(Substring(inside, 0, 3).findUnescaped(";", 0, '\\'), none);
    std::string other = "^;;";
    EXPECT_EQ(Substring(other).findUnescaped(";", 0, '^'), 2U);
}

TEST(SubstringTest, AnEscapeIsTakenOutOfTheStringOnTheWay) {
    const struct {
        const char* text;
        size_t pos, found;
        const char* left;
    } rows[] = {
        {"a;b", 0, 1, "a;b"},           {"a\\\\;b", 0, 2, "a\\;b"}, {"\\\\;", 0, 1, "\\;"},
        {"a\\;b", 0, none, "a;b"},      {"a\\;b;c", 0, 3, "a;b;c"}, {"a\\\\\\;b;", 0, 4, "a\\;b;"},
        {"a\\\\\\\\;", 0, 3, "a\\\\;"}, {"a\\b", 0, none, "a\\b"},  {"", 0, none, ""},
        {"a;", 2, none, "a;"},          {"\\\\;", 1, none, "\\;"},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        Substring view(text);
        EXPECT_EQ(view.findAndUnescape(";", row.pos), row.found) << row.text;
        EXPECT_EQ(text, row.left) << row.text;
        EXPECT_EQ(view.length(), text.size()) << row.text;
    }
}

TEST(SubstringTest, BackslashesThatAreSearchedForAreUnescapedAsARun) {
    const struct {
        const char* text;
        size_t found;
        const char* left;
    } rows[] = {
        {"\\\\x", 1, "\\x"},  // a run of two becomes one, and its end is the result
        {"\\\\\\x\\", 2, "\\x\\"}, {"\\\\", none, "\\"},
        {"\\\\\\", none, "\\"},    {"\\x", 0, "\\x"},  // a single one is a hit itself
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        Substring view(text);
        EXPECT_EQ(view.findAndUnescape("\\", 0), row.found) << row.text;
        EXPECT_EQ(text, row.left) << row.text;
        EXPECT_EQ(view.length(), text.size()) << row.text;
    }
}

TEST(SubstringTest, ARunOfBackslashesIsAnEscapeOnlyWhereTheSearchStarts) {
    const struct {
        const char* text;
        const char* set;
        size_t pos, found;
        const char* left;
    } rows[] = {
        {"a\\\\b", "\\", 0, 1, "a\\\\b"},
        {"a\\\\b", "\\", 1, 2, "a\\b"},
        {"a\\\\;b", ";\\", 0, 1, "a\\\\;b"},
        {"a\\\\;b", ";\\", 1, 2, "a\\;b"},
        {"a\\;b", ";\\", 0, 1, "a\\;b"},  // a single one is a hit wherever it is
        {"\\;b", ";\\", 0, 0, "\\;b"},
        {";\\\\b", ";\\", 0, 0, ";\\\\b"},
        {"\\\\\\;x;", ";\\", 0, 3, "\\;x;"},          // the first semicolon was escaped
        {"\\\\\\;x\\\\y", ";\\", 0, 3, "\\;x\\\\y"},  // and the search starts again after it
        {"\\\\\\;\\\\y", ";\\", 0, 3, "\\;\\y"},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        Substring view(text);
        EXPECT_EQ(view.findAndUnescape(row.set, row.pos), row.found)
            << row.text << " from " << row.pos << " for " << row.set;
        EXPECT_EQ(text, row.left) << row.text << " for " << row.set;
        EXPECT_EQ(view.length(), text.size()) << row.text << " for " << row.set;
    }
}

TEST(SubstringTest, UnescapingStaysInTheViewAndCountsFromItsStart) {
    std::string text = "xx\\;a;yy;";
    Substring view(text, 2, 4);
    EXPECT_EQ(view.findAndUnescape(";", 0), 2U);
    EXPECT_EQ(text, "xx;a;yy;");
    EXPECT_EQ(textOf(view), ";a;");
    Substring before(text, 5, 2);
    EXPECT_EQ(before.findAndUnescape(";", 0), none);
    EXPECT_EQ(text, "xx;a;yy;");
}

TEST(SubstringTest, OnlyWhatIsInTheViewIsErased) {
    std::string text = "0123456789";
    Substring view(text, 2, 5);  // 23456
    EXPECT_FALSE(view.erase(5, 0));
    EXPECT_FALSE(view.erase(3, 3));
    EXPECT_FALSE(view.erase(1, none));
    EXPECT_FALSE(view.eraseFrom(5));
    EXPECT_EQ(text, "0123456789");
    EXPECT_TRUE(view.erase(1, 2));
    EXPECT_EQ(text, "01256789");
    EXPECT_EQ(textOf(view), "256");
    EXPECT_TRUE(view.erase(2, 0));
    EXPECT_TRUE(view.eraseFrom(1));
    EXPECT_EQ(text, "012789");
    EXPECT_EQ(textOf(view), "2");
}

TEST(SubstringTest, ViewsAreEqualByTheirCharacters) {
    std::string text = "abABab";
    const Substring first(text, 0, 2);
    EXPECT_TRUE(first.equals(Substring(text, 4, 2)));
    EXPECT_FALSE(first.equals(Substring(text, 2, 2)));
    EXPECT_FALSE(first.equals(Substring(text, 0, 1)));
    EXPECT_TRUE(first.equals("ab"));
    EXPECT_FALSE(first.equals("abA"));
    EXPECT_TRUE(first.equalsNoCase(Substring(text, 2, 2)));
    EXPECT_FALSE(first.equalsNoCase(Substring(text, 1, 2)));
    EXPECT_FALSE(first.equalsNoCase(Substring(text, 2, 3)));
}

TEST(SubstringTest, AWordIsFoundAfterBlanksWhateverItsCase) {
    const struct {
        const char* text;
        const char* word;
        size_t next;  ///< none if the word isn't there
    } rows[] = {
        {"  YES  x", "yes", 7}, {"yes", "YES", 3},   {"yes  ", "yes", 5}, {"yes\tno", "yes", 4},
        {"yesx", "yes", none},  {"ye", "yes", none}, {"  ", "yes", none}, {"  ", "", none},
        {"yes", "", none},      {"", "yes", none},   {"no", "yes", none}, {"yes\n", "yes", none},
    };
    for (const auto& row : rows) {
        std::string text = row.text;
        size_t next = 99;
        EXPECT_EQ(Substring(text).startsWithWord(row.word, &next), row.next != none) << row.text;
        EXPECT_EQ(next, row.next != none ? row.next : 99) << row.text;
    }
    std::string inside = "x yes no";
    size_t next = 0;
    EXPECT_TRUE(Substring(inside, 1, 5).startsWithWord("yes", &next));
    EXPECT_EQ(next, 5U) << "relative, and no further than the view";
    EXPECT_FALSE(Substring(inside, 1, 3).startsWithWord("yes", &next));
}

TEST(SubstringTest, WordsAreEatenFromTheFront) {
    std::string text = " one two";
    Substring rest(text);
    EXPECT_FALSE(rest.eatWord("two"));
    EXPECT_EQ(textOf(rest), text);
    EXPECT_TRUE(rest.eatWord("one"));
    EXPECT_EQ(textOf(rest), "two");
}

TEST(SubstringTest, TheLastWordLeavesAnEmptyView) {
    std::string text = "one ";
    Substring rest(text);
    EXPECT_TRUE(rest.eatWord("ONE"));
    EXPECT_EQ(rest.length(), 0U);
    EXPECT_EQ(rest.span().data, text.data());
}

TEST(SubstringTest, AfterAnotherStartAWordIsEatenByItsRelativePlace) {
    std::string text = "abcd one two";
    Substring rest(text, 4);
    EXPECT_TRUE(rest.eatWord("one"));
    EXPECT_EQ(textOf(rest), "one two") << "place 5 of the view, taken for one of the string";
}

std::vector<std::string> splitEscaped(std::string text, const std::string& delimiters) {
    std::vector<Substring> parts;
    splitEscaped(Substring(text), parts, delimiters);
    std::vector<std::string> texts;
    texts.reserve(parts.size());
    for (const Substring& part : parts) {
        texts.push_back(textOf(part));
    }
    return texts;
}

TEST(SplitEscapedTest, UnescapedDelimitersPartAndEscapesStay) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(splitEscaped("a;b,c", ";,"), (Texts{"a", "b", "c"}));
    EXPECT_EQ(splitEscaped(";;a;;b;", ";"), (Texts{"a", "b"}));
    EXPECT_EQ(splitEscaped("a\\;b;c", ";"), (Texts{"a\\;b", "c"}));
    EXPECT_EQ(splitEscaped("a\\\\;b", ";"), (Texts{"a\\\\", "b"}));
    EXPECT_EQ(splitEscaped("", ";"), Texts());
    EXPECT_EQ(splitEscaped(";;", ";"), Texts());
    EXPECT_EQ(splitEscaped("a b", ""), (Texts{"a b"}));
}

TEST(SplitEscapedTest, PartsAreAppendedAndAreOfTheString) {
    std::string text = "x a b";
    std::vector<Substring> parts = {Substring(text, 0, 1)};
    splitEscaped(Substring(text, 2), parts, " ");
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[2].span().data, text.data() + 4);
}

TEST(SplitEscapedTest, AViewOfTheOutputItselfIsSplitThoughTheOutputGrows) {
    std::string text = "a;b;c;d;e;f;g;h;i";
    std::vector<Substring> parts = {Substring(text)};
    parts.shrink_to_fit();
    splitEscaped(parts.front(), parts, ";");
    ASSERT_EQ(parts.size(), 10U);
    EXPECT_EQ(textOf(parts[0]), text);
    for (size_t i = 1; i < parts.size(); ++i) {
        EXPECT_EQ(textOf(parts[i]), std::string(1, static_cast<char>('a' + i - 1)));
    }
}

TEST(SplitEscapedTest, AStringIsTakenAsAViewOfTheWhole) {
    std::string line = "a;b";
    std::vector<Substring> parts;
    splitEscaped(line, parts, ";");
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(textOf(parts[0]), "a");
    EXPECT_EQ(parts[1].span().data, line.data() + 2);
}

}  // namespace
