// Printable characters, and what a shell accepts, in a locale of the C runtime other than "C".

#include <cctype>
#include <string>

#include <gtest/gtest.h>

#include "testing/printed.h"
#include "testing/scopes/eightbitlocale.h"
#include "util/escapedoutput.h"

namespace {

using namespace testing_support;

using OutputLocaleTest = testing_support::EightBitLocaleTest;

constexpr unsigned char letter = testing_support::smallEAcute;

TEST_F(OutputLocaleTest, APrintableByteOfTheLocaleIsWrittenAsItselfInALiteral) {
    EXPECT_EQ(printed(Quoted{&letter, 1, nullptr}), "\"\xE9\"");
    for (unsigned value = 0; value < 256; ++value) {
        const auto byte = static_cast<unsigned char>(value);
        const std::string literal = printed(Quoted{&byte, 1, nullptr});
        const bool isBare = literal == std::string("\"") + static_cast<char>(byte) + "\"";
        EXPECT_EQ(isBare, std::isprint(byte) != 0 && byte != '\\') << value;
    }
}

TEST_F(OutputLocaleTest, APrintableByteOfTheLocaleTakesOneColumn) {
    const unsigned char bytes[] = {letter, letter};
    Layout layout(/*lastColumn=*/4);
    EXPECT_EQ(printed(Quoted{bytes, 2, &layout}), "\"\xE9\xE9\"");
    EXPECT_EQ(layout.column, 4);
}

TEST_F(OutputLocaleTest, ADumpShowsOnlyAscii) {
    EXPECT_EQ(printed(HexDump{&letter, 1, nullptr}), "e9:.");
    for (unsigned value = 128; value < 256; ++value) {
        const auto byte = static_cast<unsigned char>(value);
        EXPECT_TRUE(printed(HexDump{&byte, 1, nullptr}).ends_with(":.")) << value;
    }
}

TEST_F(OutputLocaleTest, AShellTakesLettersAndDigitsOfTheLocale) {
    EXPECT_TRUE(isShellSafe(static_cast<char>(letter)));
    const std::string safe = "%+,-./:=@^_";
    for (unsigned value = 0; value < 256; ++value) {
        const char c = static_cast<char>(value);
        EXPECT_EQ(isShellSafe(c),
                  std::isalnum(static_cast<int>(value)) != 0 || safe.find(c) != std::string::npos)
            << value;
    }
    EXPECT_EQ(printed(ShellQuoted{"\xE9"}), "\xE9");
    EXPECT_EQ(printed(ShellQuoted{"\xE9 "}), "'\xE9 '");
}

TEST_F(OutputLocaleTest, EscapesDoNotAskTheLocale) {
    EXPECT_EQ(printed(EscapedBytes{"\xE9"}), "\\xe9");
    EXPECT_EQ(printed(EscapedUnits{u"\u00e9"}), "\\u00e9");
    EXPECT_EQ(printed(EscapedUtf8{"\xC3\xA9\xE9"}), "\\u00e9\\udce9");
}

}  // namespace
