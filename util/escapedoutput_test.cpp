// Escapes and shell words.

#include "util/escapedoutput.h"

#include <iterator>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "testing/printed.h"
#include "testing/smallbuffer.h"

namespace {

using namespace testing_support;

TEST(EscapeBytesTest, OnlyBytesWithTheHighBitAreEscaped) {
    const struct {
        std::string text, escaped;
    } rows[] = {
        {"", ""},
        {"plain text", "plain text"},
        {"\xE9", "\\xe9"},
        {"\x80z\xFF", "\\x80z\\xff"},
        {std::string("\0\n\t\x7f\\", 5), std::string("\0\n\t\x7f\\", 5)},
        {"eight ch\xC3\xA9", "eight ch\\xc3\\xa9"},
        {"seven c\xC3\xA9 and more text", "seven c\\xc3\\xa9 and more text"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(escapeBytes(row.text), row.escaped);
        EXPECT_EQ(printed(EscapedBytes{row.text}), row.escaped);
    }
}

TEST(EscapeUnitsTest, UnitsAbove126AreEscaped) {
    const struct {
        std::u16string text;
        std::string escaped;
    } rows[] = {
        {u"", ""},
        {u"a~\n", "a~\n"},
        {u"\x7f", "\\u007f"},
        {u"\u00e9\u4e2d", "\\u00e9\\u4e2d"},
        {u"\U0001F600", "\\ud83d\\ude00"},
        {std::u16string(1, u'\0'), std::string(1, '\0')},
        {u"\uffff", "\\uffff"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(escapeUnits(row.text), row.escaped);
        EXPECT_EQ(printed(EscapedUnits{row.text}), row.escaped);
        const std::wstring wide(row.text.begin(), row.text.end());
        EXPECT_EQ(escapeUnits(wide), row.escaped);
        EXPECT_EQ(printed(EscapedWide{wide}), row.escaped);
    }
}

TEST(EscapeUtf8Test, CharactersAbove126AreEscapedAndBadBytesAsSurrogates) {
    const struct {
        std::string text, escaped;
    } rows[] = {
        {"", ""},
        {"plain text ~", "plain text ~"},
        {"\x7f", "\\u007f"},
        {"\n\t\x01", "\n\t\x01"},
        {"\xC3\xA9", "\\u00e9"},
        {"\xE4\xB8\xAD!", "\\u4e2d!"},
        {"\xEF\xBF\xBF", "\\uffff"},
        {"\xF0\x90\x80\x80", "\\U00010000"},
        {"\xF0\x9F\x98\x80", "\\U0001f600"},
        {"\xFF", "\\udcff"},
        {"\x80"
         "a",
         "\\udc80a"},
        {"\xC3", "\\udcc3"},
        // Surrogates and overlong sequences.
        {"\xED\xA0\x80", "\\udced\\udca0\\udc80"},
        {"\xED\xBF\xBF!", "\\udced\\udcbf\\udcbf!"},
        {"\xC0\x80", "\\udcc0\\udc80"},
        {"\xC1\xBF", "\\udcc1\\udcbf"},
        {"\xE0\x80\xAF", "\\udce0\\udc80\\udcaf"},
        {"\xF0\x82\x82\xAC", "\\udcf0\\udc82\\udc82\\udcac"},
        {"\xF4\x90\x80\x80", "\\udcf4\\udc90\\udc80\\udc80"},
        {"eight ch\xC3\xA9 and eight more", "eight ch\\u00e9 and eight more"},
        {"1234567\x7f"
         "1234567\x7f",
         "1234567\\u007f1234567\\u007f"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(escapeUtf8(row.text), row.escaped);
        EXPECT_EQ(printed(EscapedUtf8{row.text}), row.escaped);
    }
}

/// Checks texts of plain characters with one `special` at each place. Runs of plain characters are
/// processed in blocks of 64 and in pieces of 4096.
template <class Unit, class Check>
void checkAtEachPlace(Unit special, Check check) {
    const size_t sizes[] = {1, 63, 64, 65, 127, 128, 129, 4095, 4096, 4097, 8200};
    for (const size_t size : sizes) {
        const std::basic_string<Unit> plain(size, Unit{'~'});
        for (size_t place = 0; place < size; ++place) {
            if (place > 130 && place + 4 < size && (place < 4090 || place > 4100)) {
                continue;
            }
            std::basic_string<Unit> text = plain;
            text[place] = special;
            check(text, std::string(place, '~'), std::string(size - place - 1, '~'));
        }
    }
}

TEST(EscapingTest, AnEscapeIsFoundAtEachPlaceOfALongText) {
    checkAtEachPlace(
        '\x80', [](const std::string& text, const std::string& before, const std::string& after) {
            ASSERT_EQ(printed(EscapedBytes{text}), before + "\\x80" + after);
            ASSERT_EQ(printed(EscapedUtf8{text}), before + "\\udc80" + after);
        });
    checkAtEachPlace(
        '\x7f', [](const std::string& text, const std::string& before, const std::string& after) {
            ASSERT_EQ(printed(EscapedBytes{text}), text);
            ASSERT_EQ(printed(EscapedUtf8{text}), before + "\\u007f" + after);
        });
    const struct {
        char16_t unit;
        const char* escape;
    } rows[] = {{0x7F, "\\u007f"}, {0x100, "\\u0100"}, {0x8041, "\\u8041"}, {0xFFFF, "\\uffff"}};
    for (const auto& row : rows) {
        checkAtEachPlace(row.unit, [&row](const std::u16string& text, const std::string& before,
                                          const std::string& after) {
            std::string escaped = before;
            escaped.append(row.escape).append(after);
            ASSERT_EQ(printed(EscapedUnits{text}), escaped);
        });
    }
}

TEST(EscapingTest, AnEscapeIsFoundAtEachPlaceOfALongTextThatIsReturned) {
    checkAtEachPlace(u'\u4e2d', [](const std::u16string& text, const std::string& before,
                                   const std::string& after) {
        const std::string escaped = before + "\\u4e2d" + after;
        ASSERT_EQ(escapeUnits(text), escaped);
        const std::wstring wide(text.begin(), text.end());
        ASSERT_EQ(escapeUnits(wide), escaped);
        ASSERT_EQ(printed(EscapedWide{wide}), escaped);
    });
    checkAtEachPlace(
        '\x80', [](const std::string& text, const std::string& before, const std::string& after) {
            ASSERT_EQ(escapeBytes(text), before + "\\x80" + after);
            ASSERT_EQ(escapeUtf8(text), before + "\\udc80" + after);
        });
}

TEST(EscapingTest, AStreamThatTakesNoMoreIsReportedAtTheEndOfALongText) {
    for (const size_t room : {size_t{0}, size_t{1}, size_t{4095}, size_t{4096}, size_t{4097}}) {
        const std::string text(5000, 'a');
        const std::u16string units(5000, u'a');
        const std::wstring wide(5000, L'a');
        SmallBuffer buffer(room);
        std::ostream out(&buffer);
        out << EscapedBytes{text};
        EXPECT_EQ(out.rdstate(), std::ios_base::failbit | std::ios_base::badbit);
        EXPECT_EQ(buffer.text, text.substr(0, room));
        SmallBuffer other(room);
        std::ostream unitsOut(&other);
        unitsOut << EscapedUnits{units};
        EXPECT_EQ(unitsOut.rdstate(), std::ios_base::failbit | std::ios_base::badbit);
        EXPECT_EQ(other.text, text.substr(0, room));
        SmallBuffer third(room);
        std::ostream wideOut(&third);
        wideOut << EscapedWide{wide};
        EXPECT_EQ(wideOut.rdstate(), std::ios_base::failbit | std::ios_base::badbit);
        EXPECT_EQ(third.text, text.substr(0, room));
    }
}

TEST(ShellQuotingTest, LettersDigitsAndElevenMarksAreSafe) {
    const std::string safe =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz%+,-./:=@^_";
    for (int c = 0; c < 256; ++c) {
        EXPECT_EQ(isShellSafe(static_cast<char>(c)),
                  safe.find(static_cast<char>(c)) != std::string::npos)
            << c;
    }
    EXPECT_FALSE(needsShellQuoting(safe));
    EXPECT_FALSE(needsShellQuoting(""));
    EXPECT_TRUE(needsShellQuoting("a b"));
    EXPECT_TRUE(needsShellQuoting("\xE9"));
}

TEST(ShellQuotingTest, ATextIsQuotedWhereItNeedsIt) {
    const struct {
        const char* text;
        const char* quoted;
        const char* argument;
    } rows[] = {
        {"", "", "''"},
        {"a=b,c:d", "a=b,c:d", "a=b,c:d"},
        {"two words", "'two words'", "'two words'"},
        {"it's", "'it'\\''s'", "'it'\\''s'"},
        {"'", "''\\'''", "''\\'''"},
        {"a\\b", "'a\\b'", "'a\\b'"},
        {"\"$x\"", "'\"$x\"'", "'\"$x\"'"},
        {"\xC3\xA9", "'\xC3\xA9'", "'\xC3\xA9'"},
    };
    for (const auto& row : rows) {
        std::string quoted;
        writeShellQuoted(row.text, std::back_inserter(quoted));
        EXPECT_EQ(quoted, row.quoted);
        EXPECT_EQ(printed(ShellQuoted{row.text}), row.quoted);
        std::string argument;
        writeShellArgument(row.text, std::back_inserter(argument));
        EXPECT_EQ(argument, row.argument);
        EXPECT_EQ(printed(ShellArgument{row.text}), row.argument);
    }
}

constexpr auto failedState = std::ios_base::failbit | std::ios_base::badbit;

template <class Inserted>
void expectFailure(const Inserted& inserted, const std::string& whole) {
    for (size_t room = 0; room <= whole.size(); ++room) {
        SmallBuffer buffer(room);
        std::ostream out(&buffer);
        out << inserted;
        EXPECT_EQ(buffer.text, whole.substr(0, room));
        EXPECT_EQ(out.rdstate(), room < whole.size() ? failedState : std::ios_base::goodbit)
            << room;
    }
    std::ostringstream failed;
    failed.setstate(std::ios_base::failbit);
    failed << inserted;
    EXPECT_EQ(failed.str(), "");
}

template <class Inserted>
std::string printedRefusing(const Inserted& inserted) {
    RefusingBuffer buffer(1);
    std::ostream out(&buffer);
    out << inserted;
    EXPECT_EQ(out.rdstate(), failedState);
    return buffer.text;
}

TEST(EscapedOutputTest, ACharacterThatIsNotTakenDoesNotEndTheText) {
    EXPECT_EQ(printedRefusing(EscapedBytes{"abc\xE9"}), "ac\\xe9");
    EXPECT_EQ(printedRefusing(EscapedUnits{u"abc"}), "ac");
    EXPECT_EQ(printedRefusing(EscapedWide{L"abc"}), "ac");
    EXPECT_EQ(printedRefusing(EscapedUtf8{"abc"}), "ac");
    EXPECT_EQ(printedRefusing(ShellQuoted{"a b"}), "' b'");
    EXPECT_EQ(printedRefusing(ShellArgument{""}), "'");
}

TEST(EscapedOutputTest, AStreamThatTakesNoMoreFailsAndAFailedOneGetsNothing) {
    expectFailure(EscapedBytes{"a\xE9"}, "a\\xe9");
    expectFailure(EscapedUnits{u"a\u00e9"}, "a\\u00e9");
    expectFailure(EscapedWide{L"a\u00e9"}, "a\\u00e9");
    expectFailure(EscapedUtf8{"a\xC3\xA9"}, "a\\u00e9");
    expectFailure(ShellQuoted{"a b"}, "'a b'");
    expectFailure(ShellArgument{""}, "''");
}

TEST(EscapedOutputTest, AStreamThatIsTiedToTheirsIsFlushedFirst) {
    EXPECT_TRUE(flushesTied(EscapedBytes{"a"}));
    EXPECT_TRUE(flushesTied(EscapedUnits{u"a"}));
    EXPECT_TRUE(flushesTied(EscapedWide{L"a"}));
    EXPECT_TRUE(flushesTied(EscapedUtf8{"a"}));
    EXPECT_TRUE(flushesTied(ShellQuoted{"a"}));
    EXPECT_TRUE(flushesTied(ShellArgument{"a"}));
}

template <class Inserted>
void expectToThrow(const Inserted& inserted, const std::string& whole) {
    for (size_t room = 0; room < whole.size(); ++room) {
        ThrowingBuffer buffer(room);
        std::ostream out(&buffer);
        EXPECT_THROW(out << inserted, ThrowingBuffer::Full) << room;
        EXPECT_EQ(buffer.text, whole.substr(0, room));
    }
}

TEST(EscapedOutputTest, WhatAStreamBufferThrowsPassesThrough) {
    expectToThrow(EscapedBytes{"a\xE9"}, "a\\xe9");
    expectToThrow(EscapedUnits{u"a\u00e9"}, "a\\u00e9");
    expectToThrow(EscapedWide{L"a\u00e9"}, "a\\u00e9");
    expectToThrow(EscapedUtf8{"a\xC3\xA9"}, "a\\u00e9");
    expectToThrow(ShellQuoted{"a b"}, "'a b'");
    expectToThrow(ShellArgument{""}, "''");
}

}  // namespace
