// Wrapped output at every narrow width, against tables and a plain model of it.

#include <cstddef>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/printed.h"
#include "util/escapedoutput.h"

namespace {

using namespace testing_support;

constexpr int mostWidth = 12;

/// The output for all widths after the previous row's `lastWidth` up to this one's.
struct WidthRow {
    int lastWidth;
    const char* text;
};

template <class Print>
void expectAtWidths(const std::vector<WidthRow>& rows, Print print) {
    int width = 1;
    for (const WidthRow& row : rows) {
        for (; width <= row.lastWidth; ++width) {
            EXPECT_EQ(print(width), row.text) << width;
        }
    }
    EXPECT_EQ(width, mostWidth + 1) << "every width has its row";
}

TEST(QuotedWidthTest, TheLiteralBreaksBeforeWhatDoesNotFit) {
    expectAtWidths({{2, "\n\"\"\n\"a\"\n\"\\x01\"\n\"b\"\n\"\\t\"\n\"c\""},
                    {4, "\"a\"\n\"\\x01\"\n\"b\"\n\"\\t\"\n\"c\""},
                    {5, "\"a\"\n\"\\x01\"\n\"b\\t\"\n\"c\""},
                    {6, "\"a\"\n\"\\x01\"\n\"b\\tc\""},
                    {7, "\"a\\x01\"\n\"b\\tc\""},
                    {9, "\"a\\x01b\"\n\"\\tc\""},
                    {10, "\"a\\x01b\\t\"\n\"c\""},
                    {12, "\"a\\x01b\\tc\""}},
                   [](int width) {
                       Layout layout(width);
                       return quote(
                           "a\x01"
                           "b\tc",
                           &layout);
                   });
}

TEST(QuotedWidthTest, TheMarginIsPartOfTheWidth) {
    expectAtWidths({{2, "\n  \"\"\n  \"a\"\n  \"\\x01\"\n  \"b\"\n  \"\\t\"\n  \"c\""},
                    {4, "  \"\"\n  \"a\"\n  \"\\x01\"\n  \"b\"\n  \"\\t\"\n  \"c\""},
                    {6, "  \"a\"\n  \"\\x01\"\n  \"b\"\n  \"\\t\"\n  \"c\""},
                    {7, "  \"a\"\n  \"\\x01\"\n  \"b\\t\"\n  \"c\""},
                    {8, "  \"a\"\n  \"\\x01\"\n  \"b\\tc\""},
                    {9, "  \"a\\x01\"\n  \"b\\tc\""},
                    {11, "  \"a\\x01b\"\n  \"\\tc\""},
                    {12, "  \"a\\x01b\\t\"\n  \"c\""}},
                   [](int width) {
                       Layout layout(width, 2);
                       return quote(
                           "a\x01"
                           "b\tc",
                           &layout);
                   });
}

TEST(QuotedWidthTest, AfterALineFeedItBreaksAtEveryWidth) {
    expectAtWidths({{2, "\n \"\"\n \"a\"\n \"\\n\"\n \"\\n\"\n \"b\""},
                    {3, " \"\"\n \"a\"\n \"\\n\"\n \"\\n\"\n \"b\""},
                    {5, " \"a\"\n \"\\n\"\n \"\\n\"\n \"b\""},
                    {12, " \"a\\n\"\n \"\\n\"\n \"b\""}},
                   [](int width) {
                       Layout layout(width, 1);
                       return quote("a\n\nb", &layout);
                   });
}

TEST(QuotedWidthTest, AnEmptyLiteralNeedsTwoColumnsAndTheSpaceThatIsOwed) {
    expectAtWidths({{6, "\n\"\""}, {12, " \"\""}}, [](int width) {
        Layout layout(width, 0, 4, true);
        return quote("", &layout);
    });
}

TEST(HexDumpWidthTest, AnItemThatDoesNotFitBeginsALine) {
    expectAtWidths({{3, "\n61:a\n62:b\n00:.\n64:d"},
                    {8, "61:a\n62:b\n00:.\n64:d"},
                    {12, "61:a 62:b\n00:. 64:d"}},
                   [](int width) {
                       Layout layout(width);
                       return dump(std::string("ab\0d", 4), &layout);
                   });
}

TEST(HexDumpWidthTest, TheMarginIsPartOfTheWidth) {
    expectAtWidths({{3, "\n  61:a\n  62:b\n  00:.\n  64:d"},
                    {10, "  61:a\n  62:b\n  00:.\n  64:d"},
                    {12, "  61:a 62:b\n  00:. 64:d"}},
                   [](int width) {
                       Layout layout(width, 2);
                       return dump(std::string("ab\0d", 4), &layout);
                   });
}

/// The model of a layout. It holds the lines as they appear on the page, so there is no counting.
class Page {
public:
    explicit Page(const Layout& layout)
        : mWidth(layout.width),
          mMargin(static_cast<size_t>(layout.indent), ' '),
          mStart(static_cast<size_t>(layout.column)),
          mText(mStart, '#'),
          mNeedSpace(layout.needSpace) {}

    void dump(const std::string& text) {
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            beginItem(4);
            mText += hex(byte) + ":" + (byte >= ' ' && byte <= '~' ? c : '.');
            mNeedSpace = true;
        }
    }

    void quote(const std::string& text) {
        beginItem(text.empty() ? 2 : 3);
        mText += '"';
        bool isAfterLineFeed = false;
        for (const char c : text) {
            const std::string piece = pieceOf(c);
            if (isAfterLineFeed || !hasRoom(piece.size() + 1)) {
                mText += "\"\n" + mMargin + "\"";
            }
            mText += piece;
            isAfterLineFeed = c == '\n';
        }
        mText += '"';
        mNeedSpace = true;
    }

    std::string text() const { return mText.substr(mStart); }
    int column() const { return static_cast<int>(lineLength()); }
    bool needSpace() const { return mNeedSpace; }

private:
    static std::string hex(unsigned char byte) {
        std::ostringstream out;
        out << std::hex << std::setw(2) << std::setfill('0') << unsigned{byte};
        return out.str();
    }

    static std::string pieceOf(char c) {
        const std::string plain = "\t\n\r\\";
        const std::string letters = "tnr\\";
        if (const size_t at = plain.find(c); at != std::string::npos) {
            return std::string("\\") + letters[at];
        }
        return c >= ' ' && c <= '~' ? std::string(1, c)
                                    : "\\x" + hex(static_cast<unsigned char>(c));
    }

    size_t lineLength() const {
        const size_t lineFeed = mText.rfind('\n');
        return lineFeed == std::string::npos ? mText.size() : mText.size() - lineFeed - 1;
    }

    bool hasRoom(size_t columns) const {
        return static_cast<int>(lineLength() + columns) <= mWidth;
    }

    void beginItem(size_t columns) {
        if (!hasRoom(columns + (mNeedSpace ? 1 : 0))) {
            mText += '\n';
            mNeedSpace = false;
        }
        if (lineLength() < mMargin.size()) {
            mText += mMargin.substr(lineLength());
        } else if (mNeedSpace) {
            mText += ' ';
        }
    }

    int mWidth;
    std::string mMargin;
    size_t mStart;
    std::string mText;
    bool mNeedSpace;
};

/// Runs `check` with each narrow layout.
template <class Check>
void forEachLayout(Check check) {
    for (int width = 1; width <= mostWidth; ++width) {
        for (int indent = 0; indent <= 5; ++indent) {
            for (int column = 0; column <= mostWidth + 1; ++column) {
                for (const bool needSpace : {false, true}) {
                    check(Layout(width, indent, column, needSpace));
                }
            }
        }
    }
}

std::string describe(const Layout& layout) {
    return "width " + std::to_string(layout.width) + ", indent " + std::to_string(layout.indent) +
           ", column " + std::to_string(layout.column) + (layout.needSpace ? ", space" : "");
}

const std::vector<std::string> texts = {
    "",
    "a",
    "plain text",
    "\t",
    "\n",
    "\r",
    "\\",
    "\"",
    "\x01",
    "\x7f",
    "\x80\xff",
    "a\tb\nc\rd\\e\"f\x1fg",
    "\n\n\na",
    "a\n",
    "\\\\\\\\",
    std::string("\0a\0", 3),
    "gh\x01ij\x02kl",
};

TEST(QuotedWidthTest, EveryEscapeIsWrappedAsByTheModel) {
    forEachLayout([](const Layout& start) {
        for (const std::string& text : texts) {
            Page page(start);
            page.quote(text);
            Layout layout = start;
            ASSERT_EQ(quote(text, &layout), page.text()) << describe(start);
            ASSERT_EQ(layout.column, page.column()) << describe(start);
            ASSERT_TRUE(layout.needSpace);
        }
    });
}

TEST(HexDumpWidthTest, EveryDumpIsWrappedAsByTheModel) {
    forEachLayout([](const Layout& start) {
        for (const std::string& text : texts) {
            Page page(start);
            page.dump(text);
            Layout layout = start;
            ASSERT_EQ(dump(text, &layout), page.text()) << describe(start);
            ASSERT_EQ(layout.column, page.column()) << describe(start);
            ASSERT_EQ(layout.needSpace, page.needSpace()) << describe(start);
        }
    });
}

TEST(WrappedOutputWidthTest, InsertersThatFollowEachOtherFillTheSameLines) {
    forEachLayout([](const Layout& start) {
        Page page(start);
        Layout layout = start;
        std::string printed;
        for (const std::string& text : {std::string("ab"), std::string(), std::string("c\n")}) {
            page.quote(text);
            page.dump(text);
            printed += quote(text, &layout);
            printed += dump(text, &layout);
        }
        ASSERT_EQ(printed, page.text()) << describe(start);
    });
}

/// Checks that a field width of the stream fills nothing, on either side.
template <class Inserted>
void expectWithoutFilling(const Inserted& inserted, const std::string& text) {
    for (int width = 1; width <= mostWidth; ++width) {
        for (const auto side : {std::ios_base::left, std::ios_base::right}) {
            std::ostringstream out;
            out.fill('*');
            out.setf(side, std::ios_base::adjustfield);
            out.width(width);
            out << inserted;
            EXPECT_EQ(out.str(), text) << width;
        }
    }
}

TEST(WrappedOutputWidthTest, TheStreamsFieldWidthDoesNotCount) {
    for (const char* const text : {"", "a", "\xE9"}) {
        expectWithoutFilling(EscapedBytes{text}, escapeBytes(text));
        expectWithoutFilling(EscapedUtf8{text}, escapeUtf8(text));
    }
    for (const char16_t* const text : {u"", u"a", u"\u00e9"}) {
        expectWithoutFilling(EscapedUnits{text}, escapeUnits(text));
        const std::wstring wide(text, text + std::char_traits<char16_t>::length(text));
        expectWithoutFilling(EscapedWide{wide}, escapeUnits(wide));
    }
    expectWithoutFilling(ShellQuoted{""}, "");
    expectWithoutFilling(ShellQuoted{"a b"}, "'a b'");
    expectWithoutFilling(ShellArgument{""}, "''");
    expectWithoutFilling(Spaces{2}, "  ");
    expectWithoutFilling(HexDump{bytes("a"), 1, nullptr}, "61:a");
    expectWithoutFilling(Quoted{bytes("\n"), 1, nullptr}, "\"\\n\"");
}

}  // namespace
