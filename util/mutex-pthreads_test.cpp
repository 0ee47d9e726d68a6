#include "util/mutex-pthreads.h"

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <memory>
#include <pthread.h>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "testing/threads/contention.h"

#ifdef __clang__
// Here locks are taken twice, and tried where they are held.
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#endif

namespace {

using namespace testing_support;

// Handles are heap cells, so that the layout is the same on every thread library.
static_assert(sizeof(Mutex) == 2 * sizeof(void*));
static_assert(sizeof(RWLock) == 2 * sizeof(void*));
static_assert(sizeof(MutexLock) == sizeof(void*));
static_assert(!std::is_copy_constructible_v<Mutex> && !std::is_copy_assignable_v<Mutex>);

/// Destroys a bare handle, which must be free.
template <auto destroy>
struct EndHandle {
    template <class Handle>
    void operator()(Handle* handle) const {
        EXPECT_EQ(destroy(handle), 0);
        delete handle;
    }
};
using BareMutex = std::unique_ptr<pthread_mutex_t, EndHandle<&pthread_mutex_destroy>>;
using BareRWLock = std::unique_ptr<pthread_rwlock_t, EndHandle<&pthread_rwlock_destroy>>;

bool canBeTakenByAnotherThread(Mutex& mutex) {
    bool taken = false;
    BoundedThread([&] {
        taken = mutex.tryLock();
        if (taken) {
            mutex.unlock();
        }
    }).join();
    return taken;
}

TEST(MutexTest, TheTypesHaveTheirNumbers) {
    EXPECT_EQ(mutexDefault, 0);
    EXPECT_EQ(mutexPlain, 1);
    EXPECT_EQ(mutexErrorChecking, 2);
    EXPECT_EQ(mutexRecursive, 3);
    EXPECT_EQ(mutexDefaultByName, 4);
}

TEST(MutexTest, AHeldMutexIsBusyAndAReleasedOneIsFreeWhateverItsType) {
    for (const MutexType type : {0, 1, 2, 3, 4, 5, -1}) {
        Mutex mutex(type);
        mutex.lock();
        EXPECT_FALSE(canBeTakenByAnotherThread(mutex)) << type;
        mutex.unlock();
        EXPECT_TRUE(canBeTakenByAnotherThread(mutex)) << type;
    }
}

TEST(MutexTest, TryLockOnAMutexHeldByTheSameThreadSucceedsOnlyIfRecursive) {
    const struct {
        MutexType type;
        bool taken;
    } rows[] = {{mutexDefault, false},
                {mutexPlain, false},
                {mutexErrorChecking, false},
                {mutexRecursive, true},
                {mutexDefaultByName, false},
                {5, false},
                {-1, false}};
    for (const auto& row : rows) {
        Mutex mutex(row.type);
        mutex.lock();
        const bool taken = mutex.tryLock();
        EXPECT_EQ(taken, row.taken) << row.type;
        if (taken) {
            mutex.unlock();
        }
        mutex.unlock();
    }
}

TEST(MutexTest, AMutexIsNotRecursiveByDefault) {
    Mutex mutex;
    mutex.lock();
    EXPECT_FALSE(mutex.tryLock());
    mutex.unlock();
}

TEST(MutexTest, ARecursiveMutexIsFreeAfterAsManyUnlocksAsLocks) {
    Mutex mutex(mutexRecursive);
    mutex.lock();
    mutex.lock();
    mutex.unlock();
    EXPECT_FALSE(canBeTakenByAnotherThread(mutex));
    mutex.unlock();
    EXPECT_TRUE(canBeTakenByAnotherThread(mutex));
}

TEST(MutexTest, TheTypesDifferInWhatLockingTwiceIs) {
    const struct {
        MutexType type;
        int result;
    } rows[] = {{mutexDefault, ETIMEDOUT},
                {mutexPlain, ETIMEDOUT},
                {mutexErrorChecking, EDEADLK},
                {mutexRecursive, 0},
                {mutexDefaultByName, ETIMEDOUT},
                {5, ETIMEDOUT},
                {-1, ETIMEDOUT}};
    const timespec past{std::time(nullptr) - 10, 0};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        const BareMutex handle(Mutex::makeHandle(row.type));
        EXPECT_EQ(pthread_mutex_lock(handle.get()), 0);
        const int result = pthread_mutex_timedlock(handle.get(), &past);
        EXPECT_EQ(result, row.result);
        if (result == 0) {
            EXPECT_EQ(pthread_mutex_unlock(handle.get()), 0);
        }
        EXPECT_EQ(pthread_mutex_unlock(handle.get()), 0);
    }
}

TEST(MutexTest, ABareHandleIsAFreePthreadMutexWhateverItsType) {
    for (const MutexType type : {0, 1, 2, 3, 4, 5, -1}) {
        SCOPED_TRACE(type);
        const BareMutex handle(Mutex::makeHandle(type));
        EXPECT_EQ(pthread_mutex_trylock(handle.get()), 0);
        EXPECT_EQ(pthread_mutex_unlock(handle.get()), 0);
    }
}

TEST(MutexTest, AMutexGuardsACounterOfManyThreads) {
    constexpr int numThreads = 4;
    constexpr int numRounds = 1000;
    NestedTimer* const noTimer = nullptr;
    const CountedGetter getter(noTimer);
    Mutex mutex(&CountedGetter::get);
    int counter = 0;
    std::vector<BoundedThread> threads;
    threads.reserve(numThreads);
    for (int thread = 0; thread < numThreads; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < numRounds; ++round) {
                const MutexLock lock(mutex);
                ++counter;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, numThreads * numRounds);
}

TEST(MutexTest, LockingAFreeMutexCallsNoGetterAndReadsNoClock) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    Mutex mutex(&CountedGetter::get);
    mutex.lock();
    mutex.unlock();
    EXPECT_TRUE(mutex.tryLock());
    EXPECT_FALSE(mutex.tryLock());
    mutex.unlock();
    EXPECT_EQ(getter.calls(), 0);
    EXPECT_EQ(clock.readings(), 0);
    EXPECT_EQ(timer.count(), 0U);
}

TEST(MutexTest, TheWaitForABusyMutexGoesIntoTheGettersTimer) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    Mutex mutex(&CountedGetter::get);
    std::thread::id waiter;
    mutex.lock();
    ASSERT_TRUE(contend(
        clock,
        [&] {
            mutex.lock();
            waiter = std::this_thread::get_id();
            mutex.unlock();
        },
        [&] { mutex.unlock(); }));
    EXPECT_EQ(getter.calls(), 1);
    EXPECT_EQ(getter.thread(), waiter);
    EXPECT_EQ(timer.count(), 1U);
    EXPECT_EQ(timer.total(), Ticks(70));
}

TEST(MutexTest, AGetterThatReturnsNullMakesABusyMutexReadNoClock) {
    const FakeClock clock;
    const CountedGetter getter(nullptr);
    Mutex mutex(&CountedGetter::get);
    bool taken = false;
    mutex.lock();
    BoundedThread waiter([&] {
        const MutexLock lock(mutex);
        taken = true;
    });
    EXPECT_TRUE(eventually([&] { return getter.calls() == 1; }));
    EXPECT_FALSE(taken);
    mutex.unlock();
    waiter.join();
    EXPECT_TRUE(taken);
    EXPECT_EQ(clock.readings(), 0);
}

TEST(MutexTest, WithoutAGetterABusyMutexReadsNoClock) {
    const FakeClock clock;
    Mutex mutex(mutexErrorChecking);
    mutex.lock();
    EXPECT_FALSE(mutex.tryLock());
    // Certainly busy: this type refuses the thread that holds it, where another type would wait.
    mutex.lock();
    mutex.unlock();
    EXPECT_TRUE(canBeTakenByAnotherThread(mutex));
    EXPECT_EQ(clock.readings(), 0);
}

// The rule by itself, with calls whose results the test chooses.

TEST(LockMeasuredTest, WithoutAGetterOnlyThePlainCallIsMade) {
    int tries = 0;
    int locks = 0;
    lockMeasured(
        nullptr, [&] { return ++tries; }, [&] { return ++locks; });
    EXPECT_EQ(tries, 0);
    EXPECT_EQ(locks, 1);
}

TEST(LockMeasuredTest, OnlyABusyLockIsWaitedForAndMeasured) {
    const struct {
        int result;
        int locks;
    } rows[] = {{0, 0}, {EBUSY, 1}, {EINVAL, 0}, {EAGAIN, 0}, {EDEADLK, 0}, {-1, 0}};
    for (const auto& row : rows) {
        const FakeClock clock;
        NestedTimer timer;
        const CountedGetter getter(&timer);
        int locks = 0;
        lockMeasured(
            &CountedGetter::get, [&] { return row.result; },
            [&] {
                EXPECT_TRUE(timer.running());
                return ++locks;
            });
        EXPECT_EQ(locks, row.locks) << row.result;
        EXPECT_EQ(getter.calls(), row.locks) << row.result;
        EXPECT_EQ(timer.count(), static_cast<uint32_t>(row.locks)) << row.result;
        EXPECT_EQ(clock.readings(), 2 * row.locks) << row.result;
    }
}

TEST(MutexLockTest, ALockerHoldsTheMutexUntilItsEnd) {
    Mutex mutex;
    {
        const MutexLock lock(mutex);
        EXPECT_FALSE(canBeTakenByAnotherThread(mutex));
    }
    EXPECT_TRUE(canBeTakenByAnotherThread(mutex));
}

TEST(MutexLockTest, CheckIsTrueForTheVeryMutexAndFalseForAnother) {
    Mutex mutex;
    const Mutex other;
    const MutexLock lock(mutex);
    EXPECT_TRUE(lock.check(mutex));
    EXPECT_FALSE(lock.check(other));
}

/// Returns what another thread could take right now: "" for nothing, "r" to read, "rw" also to
/// write.
std::string freeFor(RWLock& lock) {
    std::string result;
    BoundedThread([&] {
        if (lock.tryReadLock()) {
            result += 'r';
            lock.unlock();
        }
        if (lock.tryWriteLock()) {
            result += 'w';
            lock.unlock();
        }
    }).join();
    return result;
}

TEST(RWLockTest, AFreeLockCanBeTakenEitherWay) {
    RWLock lock;
    EXPECT_EQ(freeFor(lock), "rw");
}

TEST(RWLockTest, AReaderAdmitsReadersOnly) {
    RWLock lock;
    lock.readLock();
    EXPECT_EQ(freeFor(lock), "r");
    lock.unlock();
    EXPECT_EQ(freeFor(lock), "rw");
}

TEST(RWLockTest, AWriterAdmitsNobody) {
    RWLock lock;
    lock.writeLock();
    EXPECT_EQ(freeFor(lock), "");
    lock.unlock();
    EXPECT_EQ(freeFor(lock), "rw");
}

TEST(RWLockTest, ATriedLockIsHeldWhenItWasTaken) {
    RWLock lock;
    EXPECT_TRUE(lock.tryReadLock());
    EXPECT_EQ(freeFor(lock), "r");
    lock.unlock();
    EXPECT_TRUE(lock.tryWriteLock());
    EXPECT_EQ(freeFor(lock), "");
    lock.unlock();
}

TEST(RWLockTest, ABareHandleIsAFreePthreadLock) {
    const BareRWLock handle(RWLock::makeHandle());
    EXPECT_EQ(pthread_rwlock_trywrlock(handle.get()), 0);
    EXPECT_EQ(pthread_rwlock_unlock(handle.get()), 0);
}

TEST(RWLockTest, LockingAFreeLockCallsNoGetterAndReadsNoClock) {
    const FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    RWLock lock(&CountedGetter::get);
    lock.readLock();
    lock.unlock();
    lock.writeLock();
    EXPECT_EQ(freeFor(lock), "");
    lock.unlock();
    EXPECT_EQ(getter.calls(), 0);
    EXPECT_EQ(clock.readings(), 0);
}

TEST(RWLockTest, AReadersWaitGoesIntoTheGettersTimer) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    RWLock lock(&CountedGetter::get);
    lock.writeLock();
    ASSERT_TRUE(contend(
        clock,
        [&] {
            lock.readLock();
            lock.unlock();
        },
        [&] { lock.unlock(); }));
    EXPECT_EQ(getter.calls(), 1);
    EXPECT_EQ(timer.count(), 1U);
    EXPECT_EQ(timer.total(), Ticks(70));
}

TEST(RWLockTest, AWritersWaitGoesIntoTheGettersTimer) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    RWLock lock(&CountedGetter::get);
    lock.readLock();
    ASSERT_TRUE(contend(
        clock,
        [&] {
            lock.writeLock();
            lock.unlock();
        },
        [&] { lock.unlock(); }));
    EXPECT_EQ(getter.calls(), 1);
    EXPECT_EQ(timer.count(), 1U);
    EXPECT_EQ(timer.total(), Ticks(70));
}

TEST(RWLockTest, AGetterThatReturnsNullMakesABusyLockReadNoClock) {
    const FakeClock clock;
    const CountedGetter getter(nullptr);
    RWLock lock(&CountedGetter::get);
    lock.writeLock();
    BoundedThread reader([&] {
        lock.readLock();
        lock.unlock();
    });
    EXPECT_TRUE(eventually([&] { return getter.calls() == 1; }));
    lock.unlock();
    reader.join();
    EXPECT_EQ(clock.readings(), 0);
}

}  // namespace
