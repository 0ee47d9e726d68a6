// Locks and conditions that can't be made; those that are destroyed leave nothing allocated.

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "testing/aborted.h"
#include "testing/calls/refusedmemory.h"
#include "testing/calls/threadcalls-pthreads.h"
#include "testing/counts/allocationcount.h"
#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"

namespace {

using namespace testing_support;

const std::string noMutex = "Unable to initialize a new mutex: ";
const std::string noRwlock = "Unable to initialize a new rwlock: ";
const std::string noCondition = "Unable to initialize a new condition variable: ";

NestedTimer* noTimer() { return nullptr; }

/// Makes something without memory for the cell of its handle.
template <class Make>
void makeWithoutACell(Make make) {
    const RefusedMemory refusal;
    make();
}

/// Makes something whose handle the thread library refuses to make.
template <class Make>
void makeRefused(std::atomic<int>& target, Make make) {
    const ThreadCallResult refusal(target, EAGAIN);
    make();
}

std::string noMemory() { return std::strerror(ENOMEM); }
std::string tryAgain() { return std::strerror(EAGAIN); }

void makeMutex() { const Mutex mutex; }
void makeMutexWithGetter() { const Mutex mutex(&noTimer); }
void makeBareMutex() { static_cast<void>(Mutex::makeHandle(mutexRecursive)); }
void makeRWLock() { const RWLock lock; }
void makeRWLockWithGetter() { const RWLock lock(&noTimer); }
void makeBareRWLock() { static_cast<void>(RWLock::makeHandle()); }
void makeCondition() { const Condition condition; }

TEST(LockHandleDeathTest, AMutexWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_EXIT(makeWithoutACell(makeMutex), hasAborted, noMutex + noMemory());
    EXPECT_EXIT(makeWithoutACell(makeMutexWithGetter), hasAborted, noMutex + noMemory());
    EXPECT_EXIT(makeWithoutACell(makeBareMutex), hasAborted, noMutex + noMemory());
}

TEST(LockHandleDeathTest, AnRWLockWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_EXIT(makeWithoutACell(makeRWLock), hasAborted, noRwlock + noMemory());
    EXPECT_EXIT(makeWithoutACell(makeRWLockWithGetter), hasAborted, noRwlock + noMemory());
    EXPECT_EXIT(makeWithoutACell(makeBareRWLock), hasAborted, noRwlock + noMemory());
}

TEST(LockHandleDeathTest, AConditionWithoutMemoryForItsHandleEndsTheProcess) {
    EXPECT_EXIT(makeWithoutACell(makeCondition), hasAborted, noCondition + noMemory());
}

TEST(LockHandleDeathTest, AMutexThatCannotBeMadeEndsTheProcess) {
    std::atomic<int>& result = gThreadCalls.mutexResult;
    EXPECT_EXIT(makeRefused(result, makeMutex), hasAborted, noMutex + tryAgain());
    EXPECT_EXIT(makeRefused(result, makeMutexWithGetter), hasAborted, noMutex + tryAgain());
    EXPECT_EXIT(makeRefused(result, makeBareMutex), hasAborted, noMutex + tryAgain());
}

TEST(LockHandleDeathTest, AnRWLockThatCannotBeMadeEndsTheProcess) {
    std::atomic<int>& result = gThreadCalls.rwLockResult;
    EXPECT_EXIT(makeRefused(result, makeRWLock), hasAborted, noRwlock + tryAgain());
    EXPECT_EXIT(makeRefused(result, makeRWLockWithGetter), hasAborted, noRwlock + tryAgain());
    EXPECT_EXIT(makeRefused(result, makeBareRWLock), hasAborted, noRwlock + tryAgain());
}

TEST(LockHandleDeathTest, AConditionThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(makeRefused(gThreadCalls.conditionResult, makeCondition), hasAborted,
                noCondition + tryAgain());
}

/// Makes and destroys objects, each with a handle of the kind that `handles` counts.
template <class Object>
void expectNothingIsLeft(const std::atomic<int>& handles) {
    constexpr ptrdiff_t count = 100;
    const int handlesBefore = handles;
    const ptrdiff_t memoryBefore = liveAllocationCount();
    for (ptrdiff_t i = 0; i < count; ++i) {
        const Object object;
        EXPECT_EQ(handles, handlesBefore + 1);
    }
    EXPECT_EQ(handles, handlesBefore) << "the handles are destroyed";
    // A detached thread of an earlier test may still allocate or free something.
    EXPECT_LT(std::abs(liveAllocationCount() - memoryBefore), count / 2) << "the cells are freed";
}

TEST(LockHandleTest, AMutexThatGoesDestroysItsHandleAndFreesItsCell) {
    expectNothingIsLeft<Mutex>(gThreadCalls.mutexes);
}

TEST(LockHandleTest, AnRWLockThatGoesDestroysItsHandleAndFreesItsCell) {
    expectNothingIsLeft<RWLock>(gThreadCalls.rwLocks);
}

TEST(LockHandleTest, AConditionThatGoesDestroysItsHandleAndFreesItsCell) {
    expectNothingIsLeft<Condition>(gThreadCalls.conditions);
}

TEST(LockHandleTest, AWaitThatFailsForAnotherReasonThanTimeCountsAsWoken) {
    Condition condition;
    Mutex mutex;
    const MutexLock lock(mutex);
    const timespec deadline{std::time(nullptr) + 3600, 0};
    for (const int result : {EINVAL, EPERM, ENOMEM}) {
        const ThreadCallResult failure(gThreadCalls.waitResult, result);
        EXPECT_TRUE(condition.wait(mutex, &deadline)) << result;
    }
    const ThreadCallResult timeout(gThreadCalls.waitResult, ETIMEDOUT);
    EXPECT_FALSE(condition.wait(mutex, &deadline));
}

}  // namespace
