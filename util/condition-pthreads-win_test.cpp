#include <ctime>

#include <gtest/gtest.h>

#include "testing/aborted.h"
#include "testing/calls/memoryshortage-win.h"
#include "util/condition-pthreads.h"

namespace {

using namespace testing_support;

TEST(ConditionDeathTest, AConditionThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            // Enough for the handle's cell, but not for the condition.
            const MemoryShortage shortage(1);
            const Condition condition;
        },
        testing_support::hasAborted, "Unable to initialize a new condition variable: ");
}

TEST(ConditionTest, AWaitThatFailsForAnotherReasonThanTimeCountsAsWoken) {
    Condition condition;
    Mutex mutex(mutexErrorChecking);
    const timespec deadline{std::time(nullptr) + 3600, 0};
    // The mutex isn't held. It reports that when the wait releases it.
    EXPECT_TRUE(condition.wait(mutex, &deadline));
}

}  // namespace
