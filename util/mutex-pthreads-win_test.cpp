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

NestedTimer* noTimer() { return nullptr; }

std::string noMemory() { return std::strerror(ENOMEM); }

/// Makes something without memory for the cell of its handle.
template <class Make>
void makeWithoutACell(Make make) {
    const MemoryShortage shortage(0);
    make();
}

TEST(MutexDeathTest, AMutexWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_DEATH(makeWithoutACell([] { const Mutex mutex; }), NO_MUTEX + noMemory());
    EXPECT_DEATH(makeWithoutACell([] { const Mutex mutex(&noTimer); }), NO_MUTEX + noMemory());
    EXPECT_DEATH(makeWithoutACell([] { Mutex::makeHandle(mutexRecursive); }),
                 NO_MUTEX + noMemory());
}

TEST(RWLockDeathTest, ALockWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_DEATH(makeWithoutACell([] { const RWLock lock; }), NO_RWLOCK + noMemory());
    EXPECT_DEATH(makeWithoutACell([] { const RWLock lock(&noTimer); }), NO_RWLOCK + noMemory());
    EXPECT_DEATH(makeWithoutACell([] { RWLock::makeHandle(); }), NO_RWLOCK + noMemory());
}

// In each of the others there is memory for the cell of the handle, and winpthreads lacks it for
// what it makes of the handle: a mutex, an rwlock, or the mutexes inside an rwlock.

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
            const Mutex mutex(&noTimer);
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

TEST(RWLockDeathTest, ALockWithAGetterThatCannotBeMadeEndsTheProcess) {
    EXPECT_DEATH(
        {
            const MemoryShortage shortage(1);
            const RWLock lock(&noTimer);
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
