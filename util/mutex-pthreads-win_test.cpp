#include <string>

#include <gtest/gtest.h>

#include "testing/aborted.h"
#include "testing/calls/memoryshortage-win.h"
#include "util/mutex-pthreads.h"

namespace {

using namespace testing_support;

const std::string NO_MUTEX = "Unable to initialize a new mutex: ";
const std::string NO_RWLOCK = "Unable to initialize a new rwlock: ";

NestedTimer* noTimer() { return nullptr; }

// There is memory for the handle's cell, but not for what winpthreads allocates for the handle: a
// mutex, an rwlock, or the mutexes inside an rwlock.

TEST(MutexDeathTest, AMutexThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex;
        },
        hasAborted, NO_MUTEX);
}

TEST(MutexDeathTest, AMutexWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex(&noTimer);
        },
        hasAborted, NO_MUTEX);
}

TEST(MutexDeathTest, ABareHandleThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            static_cast<void>(Mutex::makeHandle(mutexRecursive));
        },
        hasAborted, NO_MUTEX);
}

TEST(RWLockDeathTest, ALockThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const RWLock lock;
        },
        hasAborted, NO_RWLOCK);
}

TEST(RWLockDeathTest, ALockWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const RWLock lock(&noTimer);
        },
        hasAborted, NO_RWLOCK);
}

TEST(RWLockDeathTest, ALockWhoseInsideCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(3);
            const RWLock lock;
        },
        hasAborted, NO_RWLOCK);
}

}  // namespace
