#include "util/condition-pthreads.h"

#include <atomic>
#include <ctime>
#include <vector>

#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "testing/threads/boundedthread.h"

namespace {

using namespace testing_support;

static_assert(sizeof(Condition) == sizeof(void*));

/// A point in time that is past, or one that no test lives to see.
timespec pastDeadline() { return {std::time(nullptr) - 10, 0}; }
timespec farDeadline() { return {std::time(nullptr) + 3600, 999999999}; }

/// Returns the result of a wait that ends by itself. The wait runs in its own thread, which must
/// end in bounded time. `inspect(mutex)` runs there after the wait, with the mutex still held.
template <class Inspect>
bool waitAlone(Condition& condition, const timespec& deadline, Inspect inspect) {
    bool result = true;
    BoundedThread([&] {
        Mutex mutex;
        const MutexLock lock(mutex);
        result = condition.wait(mutex, &deadline);
        inspect(mutex);
    }).join();
    return result;
}
bool waitAlone(Condition& condition, const timespec& deadline) {
    return waitAlone(condition, deadline, [](Mutex&) {});
}

/// Threads that wait for a condition and are counted.
class Waiters {
public:
    /// Adds a thread whose wait is `wait(mutex)`. It counts itself as waiting before the wait and
    /// as woken after it. `wait` is unchecked, as the compiler's check can't name what a lambda is
    /// called with.
    template <class Wait>
    void add(Wait wait) {
        mThreads.emplace_back([this, wait] {
            MutexLock lock(mMutex);
            ++mWaiting;
            while (mPermits == 0) {
                wait(mMutex);
            }
            --mPermits;
            ++mWoken;
        });
    }
    /// Only the wait releases the mutex, so a thread that counts as waiting does wait.
    bool allWait() {
        return eventually([this] {
            const MutexLock lock(mMutex);
            return mWaiting == static_cast<int>(mThreads.size());
        });
    }
    void permit(int count) {
        const MutexLock lock(mMutex);
        mPermits += count;
    }
    bool eventuallyWoken(int count) {
        return eventually([this, count] {
            const MutexLock lock(mMutex);
            return mWoken == count;
        });
    }

private:
    Mutex mMutex;
    int mWaiting NB_GUARDED_BY(mMutex) = 0;
    int mPermits NB_GUARDED_BY(mMutex) = 0;
    int mWoken NB_GUARDED_BY(mMutex) = 0;
    std::vector<BoundedThread> mThreads;
};

TEST(ConditionTest, SignalWakesAThreadThatWaits) {
    Condition condition;
    Waiters waiters;
    waiters.add([&](Mutex& m) NB_NO_THREAD_SAFETY_ANALYSIS { condition.wait(m); });
    EXPECT_TRUE(waiters.allWait());
    waiters.permit(1);
    condition.signal();
    EXPECT_TRUE(waiters.eventuallyWoken(1));
}

TEST(ConditionTest, EachSignalWakesAThread) {
    Condition condition;
    Waiters waiters;
    for (int i = 0; i < 2; ++i) {
        waiters.add([&](Mutex& m) NB_NO_THREAD_SAFETY_ANALYSIS { condition.wait(m); });
    }
    EXPECT_TRUE(waiters.allWait());
    waiters.permit(1);
    condition.signal();
    EXPECT_TRUE(waiters.eventuallyWoken(1));
    waiters.permit(1);
    condition.signal();
    EXPECT_TRUE(waiters.eventuallyWoken(2));
}

TEST(ConditionTest, BroadcastWakesAllThreadsThatWait) {
    Condition condition;
    Waiters waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.add([&](Mutex& m) NB_NO_THREAD_SAFETY_ANALYSIS { condition.wait(m); });
    }
    EXPECT_TRUE(waiters.allWait());
    waiters.permit(3);
    condition.broadcast();
    EXPECT_TRUE(waiters.eventuallyWoken(3));
}

TEST(ConditionTest, SignalAndBroadcastWithoutAWaiterAreForgotten) {
    Condition condition;
    condition.signal();
    condition.broadcast();
    EXPECT_FALSE(waitAlone(condition, pastDeadline()));
}

TEST(ConditionTest, TheMutexIsHeldAgainAfterAWait) {
    Condition condition;
    waitAlone(condition, pastDeadline(), [](Mutex& mutex) { EXPECT_FALSE(mutex.tryLock()); });
}

TEST(ConditionTest, AWaitWithoutADeadlineIsWithoutLimitAndTrue) {
    Condition condition;
    std::atomic<bool> result{false};
    Waiters waiters;
    waiters.add([&](Mutex& m)
                    NB_NO_THREAD_SAFETY_ANALYSIS { result = condition.wait(m, nullptr); });
    EXPECT_TRUE(waiters.allWait());
    waiters.permit(1);
    condition.signal();
    EXPECT_TRUE(waiters.eventuallyWoken(1));
    EXPECT_TRUE(result);
}

TEST(ConditionTest, AWaitThatIsWokenBeforeItsDeadlineIsTrue) {
    Condition condition;
    std::atomic<bool> result{false};
    const timespec deadline = farDeadline();
    Waiters waiters;
    waiters.add([&](Mutex& m)
                    NB_NO_THREAD_SAFETY_ANALYSIS { result = condition.wait(m, &deadline); });
    EXPECT_TRUE(waiters.allWait());
    waiters.permit(1);
    condition.signal();
    EXPECT_TRUE(waiters.eventuallyWoken(1));
    EXPECT_TRUE(result);
}

TEST(ConditionTest, AWaitPastItsDeadlineIsFalse) {
    Condition condition;
    EXPECT_FALSE(waitAlone(condition, pastDeadline()));
}

TEST(ConditionDeathTest, NanosecondsOfAWholeSecondStopTheProcess) {
    Condition condition;
    Mutex mutex;
    const MutexLock lock(mutex);
    const timespec deadline{0, 1000000000L};
    EXPECT_DEATH(static_cast<void>(condition.wait(mutex, &deadline)),
                 "assertion failed at .*: timeout->tv_nsec < 1000000000L");
}

TEST(ConditionTest, NanosecondsJustBelowASecondAreGood) {
    Condition condition;
    EXPECT_FALSE(waitAlone(condition, {1, 999999999L}));
}

}  // namespace
