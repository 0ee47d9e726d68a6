#include <string>

#include <gtest/gtest.h>

#include "testing/aborted.h"
#include "testing/calls/memoryshortage-win.h"
#include "util/mutex-pthreads.h"

namespace {

using namespace testing_support;

const std::string noMutex = "Unable to initialize a new mutex: ";
const std::string noRwlock = "Unable to initialize a new rwlock: ";

NestedTimer* noTimer() { return nullptr; }

// There is memory for the handle's cell, but not for what winpthreads allocates for the handle: a
// mutex, an rwlock, or the mutexes inside an rwlock.

TEST(MutexDeathTest, AMutexThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex;
        },
        hasAborted, noMutex);
}

TEST(MutexDeathTest, AMutexWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex(&noTimer);
        },
        hasAborted, noMutex);
}

TEST(MutexDeathTest, ABareHandleThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            static_cast<void>(Mutex::makeHandle(mutexRecursive));
        },
        hasAborted, noMutex);
}

TEST(RWLockDeathTest, ALockThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const RWLock lock;
        },
        hasAborted, noRwlock);
}

TEST(RWLockDeathTest, ALockWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const RWLock lock(&noTimer);
        },
        hasAborted, noRwlock);
}

TEST(RWLockDeathTest, ALockWhoseInsideCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(3);
            const RWLock lock;
        },
        hasAborted, noRwlock);
}

}  // namespace
