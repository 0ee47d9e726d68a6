#include <gtest/gtest.h>

#include "testing/memoryshortage-win.h"
#include "util/mutex-pthreads.h"

namespace {

using testing_support::MemoryShortage;

constexpr const char* NO_MUTEX = "Unable to initialize a new mutex: ";
constexpr const char* NO_RWLOCK = "Unable to initialize a new rwlock: ";

// In each of these there is memory for the cell of the handle, and winpthreads lacks it for what
// it makes of the handle: a mutex, an rwlock, or the mutexes inside an rwlock.

TEST(MutexDeathTest, AMutexThatCannotBeMadeEndsTheProcess) {
    EXPECT_DEATH(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex;
        },
        NO_MUTEX);
}

TEST(MutexDeathTest, AMutexWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_DEATH(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex(TimerGetter(nullptr));
        },
        NO_MUTEX);
}

TEST(MutexDeathTest, ABareHandleThatCannotBeMadeEndsTheProcess) {
    EXPECT_DEATH(
        {
            const MemoryShortage shortage(1);
            Mutex::makeHandle(mutexRecursive);
        },
        NO_MUTEX);
}

TEST(RWLockDeathTest, ALockThatCannotBeMadeEndsTheProcess) {
    EXPECT_DEATH(
        {
            const MemoryShortage shortage(1);
            const RWLock lock;
        },
        NO_RWLOCK);
}

TEST(RWLockDeathTest, ALockWhoseInsideCannotBeMadeEndsTheProcess) {
    EXPECT_DEATH(
        {
            const MemoryShortage shortage(3);
            const RWLock lock;
        },
        NO_RWLOCK);
}

}  // namespace
