#include "util/pathcollation.h"

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"

namespace {

TEST(ComparePathsTest, CaseAndTheKindAndNumberOfSeparatorsDoNotCount) {
    const char* const rows[][2] = {
        {"C:\\a\\b", "c:/A/B"},
        {"C:\\a\\", "C:\\a"},
        {"C:\\a\\\\b", "C:\\a\\b"},
        {"\\\\srv\\sh\\x", "//srv/sh/x"},
        {"a/b/", "A\\B///"},
        {"", ""},
        {"/", "\\"},
        {"//", "/"},
        {"C:a", "c:\\A"},
        {"c:", "C:/"},
        {"\xC3\x89", "\xC3\xA9"},
        {"\xCE\x91/x", "\xCE\xB1\\X"},
        {"\\a/", "/A"},
        {"//srv/sh", "\\\\SRV\\sh\\"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(comparePaths(row[0], row[1]), 0) << row[0] << " and " << row[1];
        EXPECT_EQ(comparePaths(row[1], row[0]), 0) << row[0] << " and " << row[1];
    }
}

TEST(ComparePathsTest, WhereOnePathIsUsedUpOrASeparatorDecidesTheResultIsOne) {
    const char* const rows[][2] = {
        // A rooted path sorts after one that isn't rooted.
        {"a", "C:\\a"},
        {"a", "\\a"},
        {"", "/"},
        {"z", "/a"},
        // A path that ends comes before one that goes on.
        {"", "a"},
        {"a", "ab"},
        {"a", "a/b"},
        {"a/", "a/b"},
        {"C:", "C:\\a"},
        {"/", "/a"},
        {"\\\\s", "\\\\s\\x"},
        // A separator comes before everything else.
        {"a/b", "ab"},
        {"a/b", "a!"},
        {"a/b", "a\x01"},
        {"a//z", "aa"},
        {"C:\\a\\b", "C:\\ab"},
        {"/a/b", "/ab"},
        {"//s/s/a/b", "//s/s/a!"},
        // A root that ends comes first, too.
        {"//s/s", "//s/sh/a"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(comparePaths(row[0], row[1]), -1) << row[0] << " and " << row[1];
        EXPECT_EQ(comparePaths(row[1], row[0]), 1) << row[0] << " and " << row[1];
    }
}

TEST(ComparePathsTest, TwoCharactersDifferByTheirWeights) {
    const struct {
        const char* a;
        const char* b;
        uint16_t unitA, unitB;
    } rows[] = {
        {"C:\\a", "D:\\a", 'c', 'd'},
        {"C:\\a", "C:\\b", 'a', 'b'},
        {"a/x1", "A\\x2", '1', '2'},
        {"//srv/a", "//srw/a", 'v', 'w'},
        {"\xC3\xA9", "\xCE\xB1", 0xE9, 0x3B1},
        // Invalid bytes count as units, and don't stop the comparison.
        {"a\xFF", "ab", 0xDCFF, 'b'},
        {"a\xFF"
         "b",
         "a\xFF"
         "c",
         'b', 'c'},
        {"\xC3\xA9", "\xC3", 0xE9, 0xDCC3},
        // Above U+FFFF each surrogate counts separately.
        {"\xF0\x90\x80\x80", "\xF0\x90\x80\x81", 0xDC00, 0xDC01},
        {"\xF0\x90\x80\x80", "\xF0\x90\x90\x80", 0xD800, 0xD801},
        {"\xF0\x90\x80\x80", "\xEE\x80\x80", 0xD800, 0xE000},
        // Equal bytes count as part of their sequence, which is complete in one path and truncated
        // in the other.
        {"a\xF0\x90\x80\x80", "a\xF0\x90\x80!", 0xD800, 0xDCF0},
        {"a\xE2\x82\xAC", "a\xE2\x82!", 0x20AC, 0xDCE2},
        {"a\xC3\xA9", "a\xC3!", 0xE9, 0xDCC3},
    };
    for (const auto& row : rows) {
        const int difference = int{collationWeight(row.unitA)} - int{collationWeight(row.unitB)};
        EXPECT_NE(difference, 0) << row.a << " and " << row.b;
        EXPECT_EQ(comparePaths(row.a, row.b), difference) << row.a << " and " << row.b;
        EXPECT_EQ(comparePaths(row.b, row.a), -difference) << row.a << " and " << row.b;
    }
}

TEST(ComparePathsTest, LettersOfIrregularPairsAreTheSame) {
    const struct {
        const char* upper;
        const char* lower;
        uint16_t upperUnit, lowerUnit;
    } rows[] = {
        {"\xC5\xB8", "\xC3\xBF", 0x0178, 0x00FF},          // y with diaeresis
        {"\xC6\x81", "\xC9\x93", 0x0181, 0x0253},          // b with hook
        {"\xE1\xBC\x88", "\xE1\xBC\x80", 0x1F08, 0x1F00},  // alpha with psili
        {"\xE2\xB1\xA2", "\xC9\xAB", 0x2C62, 0x026B},      // l with middle tilde
        {"\xE1\x82\xA0", "\xE2\xB4\x80", 0x10A0, 0x2D00},  // Georgian an
        {"\xC7\x84", "\xC7\x86", 0x01C4, 0x01C6},          // dz with caron
    };
    for (const auto& row : rows) {
        EXPECT_EQ(comparePaths(row.upper, row.lower), 0) << row.upper;
        EXPECT_EQ(pathCaseSwapTable[row.upperUnit], row.lowerUnit) << row.upper;
        EXPECT_EQ(pathCaseSwapTable[row.lowerUnit], row.upperUnit) << row.upper;
    }
}

TEST(ComparePathsTest, LettersThatAreNoPairToAndFroDiffer) {
    const char* const rows[][2] = {
        {"\xC3\x9F", "ss"},            // sharp s
        {"\xE1\xBA\x9E", "\xC3\x9F"},  // its capital
        {"\xC4\xB1", "I"},             // dotless i
        {"\xC4\xB0", "i"},             // dotted I
        {"\xC5\xBF", "S"},             // long s
        {"\xE2\x84\xAA", "k"},         // Kelvin
        {"\xE2\x84\xAB", "\xC3\xA5"},  // Angstrom
        {"\xE2\x84\xA6", "\xCF\x89"},  // Ohm
        {"\xC2\xB5", "\xCE\xBC"},      // micro
        {"\xCF\x82", "\xCE\xA3"},      // final sigma
        {"\xC7\x85", "\xC7\x84"},      // the title case of dz with caron
        {"\xC7\x85", "\xC7\x86"},
    };
    for (const auto& row : rows) {
        EXPECT_NE(comparePaths(row[0], row[1]), 0) << row[0] << " and " << row[1];
    }
}

TEST(ComparePathsTest, NothingIsAllocated) {
    const std::string a(300, 'a');
    const std::string b = a + "/\xC3\xA9";
    const size_t before = testing_support::allocationCount();
    const int order = comparePaths(a, b);
    const size_t after = testing_support::allocationCount();
    EXPECT_EQ(order, -1);
    EXPECT_EQ(after, before);
}

TEST(PathCharsEqualTest, CaseAndTheKindOfSeparatorDoNotCount) {
    EXPECT_TRUE(pathCharsEqual('a', 'A'));
    EXPECT_TRUE(pathCharsEqual('/', '\\'));
    EXPECT_TRUE(pathCharsEqual('\\', '\\'));
    EXPECT_TRUE(pathCharsEqual('\xE9', '\xE9'));
    EXPECT_FALSE(pathCharsEqual('a', 'b'));
    EXPECT_FALSE(pathCharsEqual('/', 'a'));
    EXPECT_FALSE(pathCharsEqual('\xE9', '\xC9'));
}

TEST(IsPathSeparatorUnitTest, TheTwoSlashesAre) {
    for (uint32_t unit = 0; unit < 65536; ++unit) {
        EXPECT_EQ(isPathSeparatorUnit(static_cast<uint16_t>(unit)), unit == '/' || unit == '\\');
    }
}

TEST(NoCaseComparatorTest, StringsAreOrderedButForCase) {
    const StringNoCaseLess less;
    const StringNoCaseEqual equal;
    EXPECT_TRUE(less("a", "B"));
    EXPECT_FALSE(less("B", "a"));
    EXPECT_FALSE(less("A", "a"));
    EXPECT_TRUE(less("a", "aa"));
    EXPECT_TRUE(equal("aB", "Ab"));
    EXPECT_FALSE(equal("a", "aa"));
    EXPECT_FALSE(equal("a/b", "a\\b")) << "separators are characters like others";
    EXPECT_TRUE(equal(std::string("a\0b", 3), "A"));
}

TEST(NoCaseComparatorTest, LettersCompareAsSmallOnesWithWhatComesBetweenTheTwoCases) {
    const StringNoCaseLess less;
    const SubstringNoCaseLess lessPart;
    std::string letter = "A";
    for (char c = 'Z' + 1; c < 'a'; ++c) {
        std::string mark(1, c);
        EXPECT_TRUE(less(mark, letter)) << mark;
        EXPECT_FALSE(less(letter, mark)) << mark;
        EXPECT_TRUE(lessPart(Substring(mark), Substring(letter))) << mark;
        EXPECT_FALSE(lessPart(Substring(letter), Substring(mark))) << mark;
    }
}

TEST(NoCaseComparatorTest, PartsAreOrderedButForCaseAndAnEqualBeginningComesFirst) {
    const SubstringNoCaseLess less;
    const SubstringNoCaseEqual equal;
    std::string text = "abcABCab";
    const Substring abc(text, 0, 3);
    const Substring upper(text, 3, 3);
    const Substring ab(text, 6, 2);
    const Substring bc(text, 1, 2);
    EXPECT_FALSE(less(abc, upper));
    EXPECT_FALSE(less(upper, abc));
    EXPECT_TRUE(equal(abc, upper));
    EXPECT_TRUE(less(ab, abc));
    EXPECT_FALSE(less(abc, ab));
    EXPECT_FALSE(equal(ab, abc));
    EXPECT_TRUE(less(ab, bc));
    EXPECT_FALSE(less(bc, ab));
    EXPECT_TRUE(less(Substring(text, 0, 0), ab));
    EXPECT_TRUE(equal(Substring(text, 0, 0), Substring(text, 8, 0)));
    std::string nuls("a\0bA\0c", 6);
    EXPECT_TRUE(equal(Substring(nuls, 0, 3), Substring(nuls, 3, 3))) << "a NUL in both ends it";
    EXPECT_FALSE(equal(Substring(nuls, 0, 3), Substring(nuls, 3, 2)));
    EXPECT_TRUE(less(Substring(nuls, 3, 2), Substring(nuls, 0, 3)));
}

}  // namespace
