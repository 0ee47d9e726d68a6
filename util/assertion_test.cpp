#include "util/assertion.h"

#include <gtest/gtest.h>

namespace {

TEST(AssertionTest, AFailureNamesFileLineAndExpressionAndEndsTheProcess) {
    EXPECT_DEATH(assertFailed("a < b", "util/x.cpp", 17),
                 "assertion failed at util/x\\.cpp\\(17\\): a < b");
}

TEST(AssertionTest, TheMacroHandsOverTheConditionsSourceTextAndARelativeFileName) {
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
