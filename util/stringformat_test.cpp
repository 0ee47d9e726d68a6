#include "util/stringformat.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

TEST(FormatTest, TheTextIsAsLongAsItIsAndNotAsItsCapacity) {
    EXPECT_EQ(format(64, "Windows error %d", -7), "Windows error -7");
    EXPECT_EQ(format(0, "%s", ""), "");
}

TEST(FormatTest, ATextThatFillsItsCapacityToTheLastCharacterFits) {
    EXPECT_EQ(format(5, "%s", "abcde"), "abcde");
}

TEST(FormatTest, ATextThatDoesNotFitIsALengthError) {
    EXPECT_THROW(static_cast<void>(format(4, "%s", "abcde")), std::length_error);
}

TEST(FormatTest, APrecisionCutsALongArgument) { EXPECT_EQ(format(64, "%.3s", "abcde"), "abc"); }

TEST(FormatTest, ATextThatIsLongerByFarIsALengthErrorToo) {
    EXPECT_THROW(static_cast<void>(format(0, "x")), std::length_error);
    EXPECT_THROW(static_cast<void>(format(3, "%1000d", 1)), std::length_error);
}

TEST(FormatTest, ANulFromAnArgumentIsPartOfTheText) {
    EXPECT_EQ(format(8, "a%cb", '\0'), std::string("a\0b", 3));
}

TEST(FormatTest, HexadecimalDigitsAreLowerCaseAndPadded) {
    EXPECT_EQ(format(32, "NT error 0x%08x", 0xc000000fU), "NT error 0xc000000f");
    EXPECT_EQ(format(16, " (0x%x)", 0xABCU), " (0xabc)");
}

}  // namespace
