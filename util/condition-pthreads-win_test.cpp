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

// Unchecked: the compiler refuses a wait without the mutex.
bool waitWithoutTheMutex(Condition& condition, Mutex& mutex,
                         const timespec& deadline) NB_NO_THREAD_SAFETY_ANALYSIS {
    return condition.wait(mutex, &deadline);
}

TEST(ConditionTest, AWaitThatFailsForAnotherReasonThanTimeCountsAsWoken) {
    Condition condition;
    Mutex mutex(mutexErrorChecking);
    const timespec deadline{std::time(nullptr) + 3600, 0};
    // The mutex isn't held. It reports that when the wait releases it.
    EXPECT_TRUE(waitWithoutTheMutex(condition, mutex, deadline));
}

}  // namespace
