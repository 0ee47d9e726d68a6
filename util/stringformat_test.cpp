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
    EXPECT_THROW(format(4, "%s", "abcde"), std::length_error);
}

TEST(FormatTest, APrecisionCutsALongArgument) { EXPECT_EQ(format(64, "%.3s", "abcde"), "abc"); }

}  // namespace
