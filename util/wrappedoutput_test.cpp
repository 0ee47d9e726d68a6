// Output that is wrapped at a width.

#include <cstddef>
#include <sstream>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "testing/printed.h"
#include "testing/smallbuffer.h"
#include "util/escapedoutput.h"

namespace {

using namespace testing_support;

void expectLayout(const Layout& layout, int column, bool needSpace) {
    EXPECT_EQ(layout.column, column);
    EXPECT_EQ(layout.needSpace, needSpace);
}

TEST(LayoutTest, ByDefaultNothingIsWrapped) {
    const Layout layout;
    EXPECT_EQ(layout.width, 0x7fffffff);
    EXPECT_EQ(layout.indent, 0);
    expectLayout(layout, 0, false);
    const Layout other(72, 4, 8, true);
    EXPECT_EQ(other.width, 72);
    EXPECT_EQ(other.indent, 4);
    expectLayout(other, 8, true);
}

TEST(LayoutTest, TheFieldsAreInTheirOrder) {
    static_assert(std::is_standard_layout_v<Layout>);
    EXPECT_EQ(offsetof(Layout, width), 0U);
    EXPECT_EQ(offsetof(Layout, indent), sizeof(int));
    EXPECT_EQ(offsetof(Layout, column), 2 * sizeof(int));
    EXPECT_EQ(offsetof(Layout, needSpace), 3 * sizeof(int));
}

TEST(LayoutGuardTest, TheCopyGoesBackToTheCallerHoweverTheScopeEnds) {
    Layout layout(10, 1, 2, true);
    try {
        LayoutGuard guard(&layout);
        EXPECT_EQ(guard.layout.width, 10);
        guard.layout.column = 7;
        EXPECT_EQ(layout.column, 2);
        throw 1;
    } catch (int) {
        EXPECT_EQ(layout.column, 7);
    }
    const LayoutGuard none(nullptr);
    EXPECT_EQ(none.layout.width, 0x7fffffff);
}

TEST(SpacesTest, ACountBelowOneWritesNothing) {
    for (const int count : {-5, 0, 1, 31, 32, 33, 100}) {
        std::ostringstream out;
        out << Spaces{count};
        EXPECT_EQ(out.str(), std::string(count > 0 ? static_cast<size_t>(count) : 0, ' '));
    }
}

TEST(HexDumpTest, AByteIsItsDigitsAndItself) {
    EXPECT_EQ(dump("Hi", nullptr), "48:H 69:i");
    EXPECT_EQ(dump("", nullptr), "");
    EXPECT_EQ(dump(std::string("\0\x1f ~\x7f\x80\xff", 7), nullptr),
              "00:. 1f:. 20:  7e:~ 7f:. 80:. ff:.");
}

TEST(HexDumpTest, AnItemThatDoesNotFitBeginsALine) {
    const struct {
        int width, indent;
        const char* text;
    } rows[] = {
        {3, 0, "\n61:a\n62:b\n63:c"},  // too narrow for any item: each has its own line
        {4, 0, "61:a\n62:b\n63:c"},     {8, 0, "61:a\n62:b\n63:c"},
        {9, 0, "61:a 62:b\n63:c"},      {13, 0, "61:a 62:b\n63:c"},
        {14, 0, "61:a 62:b 63:c"},      {9, 2, "  61:a\n  62:b\n  63:c"},
        {11, 2, "  61:a 62:b\n  63:c"},
    };
    for (const auto& row : rows) {
        Layout layout(row.width, row.indent);
        EXPECT_EQ(dump("abc", &layout), row.text) << row.width << " " << row.indent;
        EXPECT_TRUE(layout.needSpace);
    }
}

TEST(HexDumpTest, ADumpGoesOnWhereTheLayoutIs) {
    Layout layout(20, 3);
    EXPECT_EQ(dump("a", &layout), "   61:a");
    expectLayout(layout, 7, true);
    EXPECT_EQ(dump("b", &layout), " 62:b");
    expectLayout(layout, 12, true);
    layout.column = 1;
    EXPECT_EQ(dump("c", &layout), "  63:c") << "the margin takes the place of the space";
    EXPECT_EQ(dump("", &layout), "");
    expectLayout(layout, 7, true);
}

TEST(WrappedOutputTest, AStreamThatIsTiedToTheirsIsFlushedFirst) {
    const std::string text = "a";
    EXPECT_TRUE(flushesTied(Spaces{1}));
    EXPECT_TRUE(flushesTied(HexDump{bytes(text), text.size(), nullptr}));
    EXPECT_TRUE(flushesTied(Quoted{bytes(text), text.size(), nullptr}));
}

TEST(QuotedTest, WhatIsNotPrintableIsEscaped) {
    EXPECT_EQ(quote("", nullptr), "\"\"");
    EXPECT_EQ(quote("plain text", nullptr), "\"plain text\"");
    EXPECT_EQ(quote("tab\tback\\return\r", nullptr), "\"tab\\tback\\\\return\\r\"");
    EXPECT_EQ(quote(std::string("\0\x1f\x7f\xff", 4), nullptr), "\"\\x00\\x1f\\x7f\\xff\"");
    EXPECT_EQ(quote("a\"b", nullptr), "\"a\"b\"") << "a quote in the text is written bare";
}

TEST(QuotedTest, AfterALineFeedTheLiteralBreaks) {
    EXPECT_EQ(quote("a\nb", nullptr), "\"a\\n\"\n\"b\"");
    EXPECT_EQ(quote("a\n", nullptr), "\"a\\n\"") << "nothing follows";
    EXPECT_EQ(quote("\n\n", nullptr), "\"\\n\"\n\"\\n\"");
    Layout layout(Layout::noWrapping, 2);
    EXPECT_EQ(quote("a\nb", &layout), "  \"a\\n\"\n  \"b\"");
    expectLayout(layout, 5, true);
}

TEST(QuotedTest, AfterABreakTheColumnIsOneAfterTheMarginEvenIfNegative) {
    Layout layout(Layout::noWrapping, -3);
    EXPECT_EQ(quote("a\nb", &layout), "\"a\\n\"\n\"b\"");
    expectLayout(layout, 0, true);
}

TEST(QuotedTest, AtTheWidthTheLiteralBreaks) {
    const struct {
        int width;
        const char* text;
    } rows[] = {
        {1, "\n\"\"\n\"a\"\n\"b\"\n\"\\t\"\n\"c\""},
        {2, "\n\"\"\n\"a\"\n\"b\"\n\"\\t\"\n\"c\""},
        {3, "\"a\"\n\"b\"\n\"\\t\"\n\"c\""},
        {4, "\"ab\"\n\"\\t\"\n\"c\""},
        {5, "\"ab\"\n\"\\tc\""},
        {6, "\"ab\\t\"\n\"c\""},
        {7, "\"ab\\tc\""},
    };
    for (const auto& row : rows) {
        Layout layout(row.width);
        EXPECT_EQ(quote("ab\tc", &layout), row.text) << row.width;
    }
}

TEST(QuotedTest, ALiteralThatDoesNotFitBeginsALine) {
    Layout layout(10, 0, 7, true);
    EXPECT_EQ(quote("", &layout), " \"\"");
    expectLayout(layout, 10, true);
    layout = Layout(10, 0, 7, true);
    EXPECT_EQ(quote("a", &layout), "\n\"a\"");
    expectLayout(layout, 3, true);
    layout = Layout(10, 0, 7, false);
    EXPECT_EQ(quote("a", &layout), "\"a\"");
    layout = Layout(10, 4, 8, false);
    EXPECT_EQ(quote("a", &layout), "\n    \"a\"");
    expectLayout(layout, 7, true);
}

TEST(QuotedTest, AnItemAfterALiteralBeginsWithASpace) {
    Layout layout;
    EXPECT_EQ(quote("a", &layout), "\"a\"");
    EXPECT_EQ(dump("b", &layout), " 62:b");
    EXPECT_EQ(quote("", &layout), " \"\"");
}

TEST(WrappedOutputTest, InTheLastColumnOfAllALineFeedTakesNone) {
    constexpr int last = Layout::noWrapping;
    const struct {
        int column;
        bool isDump;
        bool needSpace;
        const char* text;
        const char* printed;
        int end;
    } rows[] = {
        {last, false, false, "", "\n\"\"", 2},
        {last, false, true, "a", "\n\"a\"", 3},
        {last - 3, false, false, "a", "\"a\"", last},
        {last - 3, false, false, "ab", "\"a\"\n\"b\"", 3},
        {last, true, false, "a", "\n61:a", 4},
        {last, true, true, "a", "\n61:a", 4},
        {last - 4, true, false, "a", "61:a", last},
        {last - 4, true, false, "ab", "61:a\n62:b", 4},
    };
    for (const auto& row : rows) {
        Layout layout(last, 0, row.column, row.needSpace);
        EXPECT_EQ(row.isDump ? dump(row.text, &layout) : quote(row.text, &layout), row.printed);
        expectLayout(layout, row.end, true);
    }
}

constexpr auto failed = std::ios_base::eofbit | std::ios_base::failbit | std::ios_base::badbit;

TEST(WrappedOutputTest, AStreamThatTakesNoMoreFailsAndTheLayoutReportsWhatItTook) {
    const std::string text = "a\tb";
    const std::string whole = "  \"a\\tb\"";
    for (size_t room = 0; room <= whole.size(); ++room) {
        SmallBuffer buffer(room);
        std::ostream out(&buffer);
        Layout layout(40, 2);
        out << Quoted{bytes(text), text.size(), &layout};
        EXPECT_EQ(buffer.text, whole.substr(0, room));
        EXPECT_EQ(out.rdstate(), room < whole.size() ? failed : std::ios_base::goodbit) << room;
        expectLayout(layout, static_cast<int>(room), room == whole.size());
    }
}

TEST(WrappedOutputTest, ALineFeedThatIsNotTakenChangesNothing) {
    const std::string text = "a";
    for (const bool isDump : {false, true}) {
        SmallBuffer buffer(0);
        std::ostream out(&buffer);
        Layout layout(10, 4, 8, true);
        if (isDump) {
            out << HexDump{bytes(text), text.size(), &layout};
        } else {
            out << Quoted{bytes(text), text.size(), &layout};
        }
        EXPECT_EQ(out.rdstate(), failed);
        expectLayout(layout, 8, true);
    }
}

TEST(WrappedOutputTest, WhereTheLineFeedOfABreakIsNotTakenTheColumnStaysAsReached) {
    const struct {
        bool isDump;
        Layout layout;
        std::string text;
        const char* taken;
        bool needSpace;
    } rows[] = {
        {false, Layout(40, 2), "a\nb", "  \"a\\n\"", false},
        {false, Layout(4), "abc", "\"ab\"", false},
        {true, Layout(9, 2), "ab", "  61:a", true},
    };
    for (const auto& row : rows) {
        const std::string taken = row.taken;
        RefusingBuffer buffer(taken.size());
        std::ostream out(&buffer);
        Layout layout = row.layout;
        if (row.isDump) {
            out << HexDump{bytes(row.text), row.text.size(), &layout};
        } else {
            out << Quoted{bytes(row.text), row.text.size(), &layout};
        }
        EXPECT_EQ(buffer.text, taken);
        EXPECT_EQ(out.rdstate(), failed) << taken;
        expectLayout(layout, static_cast<int>(taken.size()), row.needSpace);
    }
}

TEST(WrappedOutputTest, WhereFailuresOfTheStreamAreThrownTheLayoutStillGoesBack) {
    const std::string text = "ab";
    for (const bool isDump : {false, true}) {
        SmallBuffer buffer(4);
        std::ostream out(&buffer);
        out.exceptions(std::ios_base::badbit);
        Layout layout(40, 1);
        if (isDump) {
            EXPECT_THROW((out << HexDump{bytes(text), text.size(), &layout}),
                         std::ios_base::failure);
            EXPECT_EQ(buffer.text, " 61:");
        } else {
            EXPECT_THROW((out << Quoted{bytes(text), text.size(), &layout}),
                         std::ios_base::failure);
            EXPECT_EQ(buffer.text, " \"ab");
        }
        EXPECT_EQ(out.rdstate(), failed);
        expectLayout(layout, 4, false);
    }
}

TEST(WrappedOutputTest, ADumpAndSpacesEndWithTheStream) {
    const std::string text = "ab";
    SmallBuffer buffer(6);
    std::ostream out(&buffer);
    Layout layout;
    out << HexDump{bytes(text), text.size(), &layout};
    EXPECT_EQ(buffer.text, "61:a 6");
    EXPECT_EQ(out.rdstate(), failed);
    EXPECT_EQ(layout.column, 6);
    SmallBuffer narrow(3);
    std::ostream spaces(&narrow);
    spaces << Spaces{5};
    EXPECT_EQ(narrow.text, "   ");
    EXPECT_EQ(spaces.rdstate(), failed);
}

TEST(WrappedOutputTest, NothingIsWrittenAfterACharacterThatIsNotTaken) {
    const std::string text = "a\tb";
    const struct {
        bool isDump;
        std::string whole;
    } rows[] = {{false, "  \"a\\tb\""}, {true, "  61:a 09:. 62:b"}};
    for (const auto& row : rows) {
        for (size_t refused = 0; refused < row.whole.size(); ++refused) {
            RefusingBuffer buffer(refused);
            std::ostream out(&buffer);
            Layout layout(40, 2);
            if (row.isDump) {
                out << HexDump{bytes(text), text.size(), &layout};
            } else {
                out << Quoted{bytes(text), text.size(), &layout};
            }
            EXPECT_EQ(buffer.text, row.whole.substr(0, refused));
            EXPECT_EQ(out.rdstate(), failed) << refused;
            EXPECT_EQ(layout.column, static_cast<int>(refused));
        }
    }
    for (size_t refused = 0; refused < 40; ++refused) {
        RefusingBuffer buffer(refused);
        std::ostream out(&buffer);
        out << Spaces{40};
        EXPECT_EQ(buffer.text, std::string(refused, ' '));
        EXPECT_EQ(out.rdstate(), failed) << refused;
    }
}

TEST(QuotedTest, ABreakEndsWithItsFirstCharacterThatIsNotTaken) {
    const struct {
        Layout layout;
        std::string text;
        std::string lines[2];
    } rows[] = {
        {Layout(40, 2), "a\nb", {"  \"a\\n\"", "  \"b\""}},
        {Layout(6, 2), "abc", {"  \"ab\"", "  \"c\""}},
        {Layout(4), "abc", {"\"ab\"", "\"c\""}},
    };
    for (const auto& row : rows) {
        const std::string whole = row.lines[0] + "\n" + row.lines[1];
        const size_t lineFeed = row.lines[0].size();
        for (size_t refused = 0; refused < whole.size(); ++refused) {
            SCOPED_TRACE(whole.substr(0, refused));
            RefusingBuffer buffer(refused);
            std::ostream out(&buffer);
            Layout layout = row.layout;
            out << Quoted{bytes(row.text), row.text.size(), &layout};
            EXPECT_EQ(buffer.text, whole.substr(0, refused));
            EXPECT_EQ(out.rdstate(), failed);
            const size_t column = refused > lineFeed ? refused - lineFeed - 1 : refused;
            expectLayout(layout, static_cast<int>(column), false);
        }
    }
}

TEST(WrappedOutputTest, WhatAStreamBufferThrowsPassesThroughAndTheLayoutGoesBack) {
    const std::string text = "ab";
    // Thrown at the start of the second item and of the second character.
    ThrowingBuffer dumped(7);
    std::ostream dumpOut(&dumped);
    Layout layout(40, 2);
    EXPECT_THROW((dumpOut << HexDump{bytes(text), text.size(), &layout}), ThrowingBuffer::Full);
    EXPECT_EQ(dumped.text, "  61:a ");
    expectLayout(layout, 7, true);
    ThrowingBuffer quoted(4);
    std::ostream quotedOut(&quoted);
    layout = Layout(40, 2);
    EXPECT_THROW((quotedOut << Quoted{bytes(text), text.size(), &layout}), ThrowingBuffer::Full);
    EXPECT_EQ(quoted.text, "  \"a");
    expectLayout(layout, 4, false);
    ThrowingBuffer spaces(3);
    std::ostream spacesOut(&spaces);
    EXPECT_THROW(spacesOut << Spaces{5}, ThrowingBuffer::Full);
    EXPECT_EQ(spaces.text, "   ");
}

TEST(WrappedOutputTest, AFailedStreamGetsNothingAndTheLayoutStays) {
    std::ostringstream out;
    out.setstate(std::ios_base::failbit);
    Layout layout(10, 1, 2, true);
    const std::string text = "a";
    out << Spaces{3} << HexDump{bytes(text), 1, &layout} << Quoted{bytes(text), 1, &layout};
    EXPECT_EQ(out.str(), "");
    expectLayout(layout, 2, true);
}

}  // namespace
