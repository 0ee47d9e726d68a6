#include "util/assertion.h"

#include <gtest/gtest.h>

#include "testing/badaddress.h"

namespace {

using namespace testing_support;

TEST(AssertionDeathTest, AFailureNamesFileLineAndExpressionAndDiesAtAddressZero) {
    // The line end ends the text; the C runtime of Windows may write it as two characters.
    EXPECT_EXIT(assertFailed("a < b", "util/x.cpp", 17), hasTouchedBadAddress,
                "assertion failed at util/x\\.cpp\\(17\\): a < b\r?\n");
}

TEST(AssertionDeathTest, TheMacroHandsOverTheConditionsSourceTextAndARelativeFileName) {
    const bool absolute = false;
    EXPECT_DEATH(NB_ASSERT(absolute),
                 "assertion failed at util/assertion_test\\.cpp\\(.*\\): absolute");
}

TEST(AssertionTest, AConditionThatHoldsPassesAndIsEvaluatedOnce) {
    int count = 0;
    NB_ASSERT(++count == 1);
    EXPECT_EQ(count, 1);
}

}  // namespace
