#include "util/valueconversion.h"

#include <climits>
#include <cstddef>
#include <limits>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "util/processlocale.h"

namespace {

/// Returns "true", "false", or "no word" for any other text.
std::string boolOf(StringSpan text) {
    bool value = false;
    if (!parseBool(text, &value)) {
        return "no word";
    }
    return value ? "true" : "false";
}

TEST(ParseBoolTest, TheWordsInAnyMixOfCaseAreTheirValue) {
    for (const char* word : {"yes", "YES", "yEs", "on", "ON", "oN", "true", "TRUE", "TruE"}) {
        EXPECT_EQ(boolOf(word), "true") << word;
    }
    for (const char* word : {"no", "NO", "nO", "off", "OFF", "oFf", "false", "FALSE", "FalsE"}) {
        EXPECT_EQ(boolOf(word), "false") << word;
    }
}

TEST(ParseBoolTest, ASingleCharacterIsAWordIfItBeginsOneOrIsABinaryDigit) {
    for (const char* word : {"1", "T", "Y", "t", "y"}) {
        EXPECT_EQ(boolOf(word), "true") << word;
    }
    for (const char* word : {"0", "F", "N", "f", "n"}) {
        EXPECT_EQ(boolOf(word), "false") << word;
    }
}

TEST(ParseBoolTest, OtherTextsAreNoWords) {
    for (const char* word : {"", "2", "o", "O", " ", "ye", "of", "tru", "01", "10", "tt", "yes ",
                             " yes", "onn", "true1", "falsey", "enabled", "truetrue"}) {
        EXPECT_EQ(boolOf(word), "no word") << word;
    }
    EXPECT_EQ(boolOf(StringSpan()), "no word");
}

TEST(ParseBoolTest, ANulInsideIsACharacterLikeAnyOther) {
    EXPECT_EQ(boolOf(StringSpan("on\0", 3)), "no word");
    EXPECT_EQ(boolOf(StringSpan("\0", 1)), "no word");
}

TEST(ParseBoolTest, TheWordEndsWhereTheSpanEnds) {
    EXPECT_EQ(boolOf(StringSpan("nothing", 2)), "false");
    EXPECT_EQ(boolOf(StringSpan("yesterday", 1)), "true");
}

TEST(ParseBoolTest, ATextThatIsNoWordLeavesTheValueAlone) {
    for (const bool before : {true, false}) {
        for (const char* text : {"", "2", "maybe", "enabled"}) {
            bool value = before;
            EXPECT_FALSE(parseBool(text, &value));
            EXPECT_EQ(value, before) << text;
        }
    }
}

struct IntRow {
    StringSpan text;
    bool whole;
    int value;
};

void checkInts(const std::vector<IntRow>& rows) {
    for (const IntRow& row : rows) {
        int value = 4711;
        EXPECT_EQ(parseInt(row.text, &value), row.whole) << row.text.view();
        EXPECT_EQ(value, row.value) << row.text.view();
    }
}

TEST(ParseIntTest, DecimalDigitsAreANumber) {
    checkInts({{"0", true, 0},
               {"7", true, 7},
               {"0042", true, 42},
               {"2147483647", true, INT_MAX},
               {"-2147483648", true, INT_MIN}});
}

TEST(ParseIntTest, LeadingWhiteSpaceAndASignAreTaken) {
    checkInts({{" 12", true, 12},
               {"\t\n\v\f\r12", true, 12},
               {"+12", true, 12},
               {"-12", true, -12},
               {"  -12", true, -12}});
}

TEST(ParseIntTest, AnEmptyTextIsZero) {
    checkInts({{"", true, 0}, {StringSpan("123", size_t{0}), true, 0}, {StringSpan(), true, 0}});
}

TEST(ParseIntTest, WhatComesAfterTheDigitsFailsAndTheDigitsValueIsStored) {
    checkInts({{"12a", false, 12},
               {"12 ", false, 12},
               {"-3-", false, -3},
               {"1 2", false, 1},
               {"1.5", false, 1},
               {"0x10", false, 0},
               {StringSpan("12\0", 3), false, 12},
               {StringSpan("1\0002", 3), false, 1}});
}

TEST(ParseIntTest, ATextWithoutADigitFailsAndStoresZero) {
    checkInts({{"a", false, 0},
               {" ", false, 0},
               {"-", false, 0},
               {"+", false, 0},
               {"+-1", false, 0},
               {"- 1", false, 0}});
}

TEST(ParseIntTest, AnOverflowSaturatesWithoutBeingNoticed) {
    checkInts({{"2147483648", true, INT_MAX},
               {"-2147483649", true, INT_MIN},
               {"4294967297", true, INT_MAX},
               {"99999999999999999999999999", true, INT_MAX},
               {"-99999999999999999999999999", true, INT_MIN},
               {"99999999999999999999999999x", false, INT_MAX}});
}

TEST(ParseIntTest, TheNumberEndsWhereTheSpanEnds) {
    checkInts({{StringSpan("12345", 2), true, 12}});
    // A span without a terminator after it; a sanitizer detects a read there.
    const std::vector<char> digits = {'1', '2'};
    checkInts({{StringSpan(digits.data(), digits.size()), true, 12}});
}

TEST(ParseIntTest, ALengthSaysHowMuchOfATextIsMeant) {
    int value = 0;
    EXPECT_TRUE(parseInt("12a", 2, &value));
    EXPECT_EQ(value, 12);
    EXPECT_FALSE(parseInt("34a", 3, &value));
    EXPECT_EQ(value, 34);
    EXPECT_FALSE(parseInt("56", 3, &value));
    EXPECT_EQ(value, 56);
    EXPECT_TRUE(parseInt(" -7", 3, &value));
    EXPECT_EQ(value, -7);
}

TEST(ParseIntTest, ANumberIsReadBeyondTheLengthAndThenFails) {
    int value = 0;
    EXPECT_FALSE(parseInt("12345", 2, &value));
    EXPECT_EQ(value, 12345);
}

TEST(ParseIntTest, ALengthBelowOneMeansUpToTheTerminator) {
    for (const int length : {0, -1, INT_MIN}) {
        int value = 0;
        EXPECT_TRUE(parseInt("12345", length, &value)) << length;
        EXPECT_EQ(value, 12345) << length;
        EXPECT_FALSE(parseInt("67x", length, &value)) << length;
        EXPECT_EQ(value, 67) << length;
        EXPECT_TRUE(parseInt("", length, &value)) << length;
        EXPECT_EQ(value, 0) << length;
    }
}

TEST(ParseIntTest, TheValueMayBeNull) {
    EXPECT_TRUE(parseInt("12", nullptr));
    EXPECT_FALSE(parseInt("12x", nullptr));
    EXPECT_TRUE(parseInt("12x", 2, nullptr));
}

/// Sets a decimal comma in the global locale until the scope ends.
class CommaScope {
public:
    CommaScope() : mBefore(std::locale::global(std::locale(std::locale::classic(), new Comma))) {}
    ~CommaScope() { std::locale::global(mBefore); }
    CommaScope(const CommaScope&) = delete;
    CommaScope& operator=(const CommaScope&) = delete;

private:
    class Comma : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };

    std::locale mBefore;
};

TEST(DoubleToStringTest, ThePrecisionCountsSignificantDigits) {
    EXPECT_EQ(doubleToString(3.14159265, 3), "3.14");
    EXPECT_EQ(doubleToString(3.14159265, 7), "3.141593");
    EXPECT_EQ(doubleToString(-0.5, 6), "-0.5");
    EXPECT_EQ(doubleToString(100, 6), "100");
    EXPECT_EQ(doubleToString(0.1, 17), "0.10000000000000001");
}

TEST(DoubleToStringTest, APrecisionOfZeroCountsAsOne) {
    EXPECT_EQ(doubleToString(3.14159265, 0), "3");
    EXPECT_EQ(doubleToString(28, 0), "3e+01");
}

TEST(DoubleToStringTest, ANegativePrecisionCountsAsSix) {
    EXPECT_EQ(doubleToString(3.14159265, -1), "3.14159");
    EXPECT_EQ(doubleToString(1234567, -7), "1.23457e+06");
}

TEST(DoubleToStringTest, InfinityAndNoNumberHaveTheirNames) {
    using Limits = std::numeric_limits<double>;
    EXPECT_EQ(doubleToString(Limits::infinity(), 6), "inf");
    EXPECT_EQ(doubleToString(-Limits::infinity(), 6), "-inf");
    EXPECT_EQ(doubleToString(Limits::quiet_NaN(), 6), "nan");
}

TEST(DoubleToStringTest, ANumberTooLongForItsPrecisionHasAnExponent) {
    EXPECT_EQ(doubleToString(1234567, 3), "1.23e+06");
    EXPECT_EQ(doubleToString(0.00001234, 2), "1.2e-05");
}

TEST(DoubleToStringTest, TheDecimalPointIsAFullStopWhateverTheLocale) {
    const CommaScope comma;
    std::ostringstream control;
    control << 1.5;
    ASSERT_EQ(control.str(), "1,5");
    EXPECT_EQ(doubleToString(1.5, 6), "1.5");
    EXPECT_EQ(doubleToString(1234567.25, 12), "1234567.25");
}

TEST(ParsePlatformTest, NamesInAnyMixOfCaseAreTheirCode) {
    EXPECT_EQ(parsePlatform("windows"), 1);
    EXPECT_EQ(parsePlatform("Windows"), 1);
    EXPECT_EQ(parsePlatform("solaris"), 2);
    EXPECT_EQ(parsePlatform("SOLARIS"), 2);
    EXPECT_EQ(parsePlatform("linux"), 3);
    EXPECT_EQ(parsePlatform("lInuX"), 3);
    EXPECT_EQ(parsePlatform("solarisx86"), 4);
    EXPECT_EQ(parsePlatform("SolarisX86"), 4);
    EXPECT_EQ(parsePlatform("sOLARISx86"), 4);
}

TEST(ParsePlatformTest, NullIsNoPlatform) { EXPECT_EQ(parsePlatform(nullptr), 0); }

TEST(ParsePlatformTest, AnyOtherTextIsAnUnknownPlatform) {
    for (const char* name : {"", "win", "windows ", "solarisx8", "solarisx866", "aix"}) {
        EXPECT_EQ(parsePlatform(name), -1) << name;
    }
}

TEST(BuildPlatformTest, TheNameIsThatOf64BitWindows) {
    EXPECT_EQ(buildPlatform().view(), "i686_win64");
}

/// Narrows only 'a' to 'z', to capitals.
class CapitalsOnly : public std::ctype<wchar_t> {
protected:
    char do_narrow(wchar_t unit, char replacement) const override {
        return unit >= L'a' && unit <= L'z' ? static_cast<char>(unit - L'a' + L'A') : replacement;
    }
    const wchar_t* do_narrow(const wchar_t* first, const wchar_t* last, char replacement,
                             char* out) const override {
        for (; first != last; ++first, ++out) {
            *out = do_narrow(*first, replacement);
        }
        return last;
    }
};

TEST(NarrowTextTest, TheLocalesFacetNarrowsTheWholeText) {
    const std::locale locale(std::locale::classic(), new CapitalsOnly);
    EXPECT_EQ(narrowText(L"ab-cd", '#', locale), "AB#CD");
    EXPECT_EQ(narrowText(std::wstring(L"a\0b", 3), '.', locale), "A.B");
}

TEST(NarrowTextTest, AsciiStaysAndEachUnitWithoutANarrowFormBecomesTheReplacement) {
    const std::locale& classic = std::locale::classic();
    EXPECT_EQ(narrowText(L"M:\\view ~1", '?', classic), "M:\\view ~1");
    EXPECT_EQ(narrowText(L"a\x4E2D\x4E2D z", '?', classic), "a?? z");
    EXPECT_EQ(narrowText(L"a\x4E2D", '_', classic), "a_");
}

TEST(NarrowTextTest, AnEmptyTextIsEmpty) {
    EXPECT_EQ(narrowText(L"", '?', std::locale::classic()), "");
}

TEST(NarrowTextTest, InsertionNarrowsByTheProcessLocaleWithQuestionMarks) {
    const std::wstring text = L"view\x4E2D!";
    std::ostringstream stream;
    ::operator<<(stream, text) << "|";
    EXPECT_EQ(stream.str(), "view?!|");
    EXPECT_EQ(stream.str(), narrowText(text, '?', processLocale()) + "|");
}

}  // namespace
