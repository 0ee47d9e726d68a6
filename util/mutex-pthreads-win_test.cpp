#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "testing/memoryshortage-win.h"
#include "util/mutex-pthreads.h"

namespace {

using testing_support::MemoryShortage;

const std::string NO_MUTEX = "Unable to initialize a new mutex: ";
const std::string NO_RWLOCK = "Unable to initialize a new rwlock: ";

/// What the C runtime makes of abort().
const testing::ExitedWithCode ABORTED(3);

NestedTimer* noTimer() { return nullptr; }

std::string noMemory() { return std::strerror(ENOMEM); }

/// Makes something without memory for the cell of its handle.
template <class Make>
void makeWithoutACell(Make make) {
    const MemoryShortage shortage(0);
    make();
}

TEST(MutexDeathTest, AMutexWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_EXIT(makeWithoutACell([] { const Mutex mutex; }), ABORTED, NO_MUTEX + noMemory());
    EXPECT_EXIT(makeWithoutACell([] { const Mutex mutex(&noTimer); }), ABORTED,
                NO_MUTEX + noMemory());
    EXPECT_EXIT(makeWithoutACell([] { Mutex::makeHandle(mutexRecursive); }), ABORTED,
                NO_MUTEX + noMemory());
}

TEST(RWLockDeathTest, ALockWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_EXIT(makeWithoutACell([] { const RWLock lock; }), ABORTED, NO_RWLOCK + noMemory());
    EXPECT_EXIT(makeWithoutACell([] { const RWLock lock(&noTimer); }), ABORTED,
                NO_RWLOCK + noMemory());
    EXPECT_EXIT(makeWithoutACell([] { RWLock::makeHandle(); }), ABORTED, NO_RWLOCK + noMemory());
}

// In each of the others there is memory for the cell of the handle, and winpthreads lacks it for
// what it makes of the handle: a mutex, an rwlock, or the mutexes inside an rwlock.

TEST(MutexDeathTest, AMutexThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex;
        },
        ABORTED, NO_MUTEX);
}

TEST(MutexDeathTest, AMutexWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const Mutex mutex(&noTimer);
        },
        ABORTED, NO_MUTEX);
}

TEST(MutexDeathTest, ABareHandleThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            Mutex::makeHandle(mutexRecursive);
        },
        ABORTED, NO_MUTEX);
}

TEST(RWLockDeathTest, ALockThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const RWLock lock;
        },
        ABORTED, NO_RWLOCK);
}

TEST(RWLockDeathTest, ALockWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(1);
            const RWLock lock(&noTimer);
        },
        ABORTED, NO_RWLOCK);
}

TEST(RWLockDeathTest, ALockWhoseInsideCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(
        {
            const MemoryShortage shortage(3);
            const RWLock lock;
        },
        ABORTED, NO_RWLOCK);
}

}  // namespace
