#include "util/thread-pthreads.h"

#include <atomic>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/calls/threadcalls-pthreads.h"
#include "testing/eventually.h"

namespace {

using namespace testing_support;
using ThreadDeathTest = testing::Test;

/// Runs until it is asked to stop, and counts its runs.
class Waiter : public Thread {
public:
    void* run() override {
        ++runs;
        MutexLock lock(mMutex);
        while (mStopRequested == 0) {
            mCondition.wait(mMutex);
        }
        return this;
    }

    /// Returns when `run` is running. If the process ended earlier, the two threads would race for
    /// the object, and ThreadSanitizer can hang for good over its report of that.
    void startAndAwait() {
        start();
        EXPECT_TRUE(eventually([this] { return runs == 1; }));
    }

    std::atomic<int> runs{0};
};

/// Returns its argument.
class Echo : public Thread {
public:
    explicit Echo(void* result) : mResult(result) {}
    void* run() override { return mResult; }

private:
    void* mResult;
};

TEST(ThreadTest, AThreadRunsUntilItIsAskedToStopAndJoinGivesItsResult) {
    Waiter waiter;
    waiter.startAndAwait();
    waiter.stop();
    EXPECT_EQ(waiter.join(), &waiter);
}

TEST(ThreadTest, AStopBeforeTheStartIsSeenAtOnceAndStays) {
    Waiter waiter;
    waiter.stop();
    for (int i = 1; i <= 2; ++i) {
        waiter.start();
        EXPECT_EQ(waiter.join(), &waiter);
        EXPECT_EQ(waiter.runs, i) << "it may be started anew";
    }
}

TEST(ThreadTest, AThreadThatWasNeverStartedHasNoResult) {
    Waiter waiter;
    EXPECT_EQ(waiter.join(), nullptr);
}

TEST(ThreadTest, ADetachedThreadRunsACopyOfItsFunctionAndFreesIt) {
    const auto token = std::make_shared<int>(0);
    std::atomic<bool> ran{false};
    const int concurrency = pthread_getconcurrency();
    {
        const boost::function<void()> function = [token, &ran] { ran = true; };
        Thread::startDetached(function, 4U << 20U);
    }
    EXPECT_TRUE(eventually([&] { return ran && token.use_count() == 1; }));
    EXPECT_TRUE(gThreadCalls.isDetached);
    EXPECT_EQ(gThreadCalls.stackSize, 4U << 20U);
    EXPECT_EQ(pthread_getconcurrency(), concurrency);
}

TEST(ThreadTest, AThousandDetachedFunctionsAllRun) {
    constexpr int count = 1000;
    static std::atomic<int> ended;
    ended = 0;
    for (int i = 0; i < count; ++i) {
        // Limits the number at a time: a system can't hold all of them.
        EXPECT_TRUE(eventually([i] { return i - ended < 50; }));
        Thread::startDetached([] { ++ended; });
    }
    EXPECT_TRUE(eventually([] { return ended == count; }));
}

TEST(ThreadTest, ManyThreadsStartStopAndEnd) {
    std::vector<std::unique_ptr<Waiter>> waiters;
    for (int i = 0; i < 20; ++i) {
        waiters.push_back(std::make_unique<Waiter>());
        waiters.back()->start();
    }
    for (const auto& waiter : waiters) {
        waiter->stop();
    }
    for (const auto& waiter : waiters) {
        EXPECT_EQ(waiter->join(), waiter.get());
    }
}

TEST(ThreadTest, OneObjectStartsAndJoinsAThousandTimes) {
    Waiter waiter;
    waiter.stop();
    for (int i = 1; i <= 1000; ++i) {
        waiter.start();
        ASSERT_EQ(waiter.join(), &waiter) << i;
        ASSERT_EQ(waiter.runs, i);
    }
}

TEST(ThreadTest, TheThreadIsAnotherThanTheCaller) {
    class Self : public Thread {
    public:
        void* run() override {
            isCaller = pthread_equal(mCaller, self()) != 0;
            yield();
            return nullptr;
        }
        bool isCaller = true;

    private:
        pthread_t mCaller = self();
    };
    Self thread;
    thread.start();
    thread.join();
    EXPECT_FALSE(thread.isCaller);
}

TEST(ThreadTest, AStopIsTheOneThatADerivedClassMakesOfItWithTheLockHeld) {
    class Stopped : public Echo {
    public:
        Stopped() : Echo(nullptr) {}
        using Thread::stop;
        void stop(MutexLock& lock) override NB_REQUIRES(mMutex) {
            ++calls;
            isProof = lock.check(mMutex);
            isHeld = !mMutex.tryLock();
            Echo::stop(lock);
        }
        uint32_t stopRequested() {
            const MutexLock lock(mMutex);
            return mStopRequested;
        }
        bool isLockFree() {
            if (!mMutex.tryLock()) {
                return false;
            }
            mMutex.unlock();
            return true;
        }

        int calls = 0;
        bool isProof = false;
        bool isHeld = false;
    };
    Stopped thread;
    thread.stop();
    EXPECT_EQ(thread.calls, 1);
    EXPECT_TRUE(thread.isProof);
    EXPECT_TRUE(thread.isHeld);
    EXPECT_TRUE(thread.isLockFree()) << "after the stop";
    EXPECT_EQ(thread.stopRequested(), 1U);
}

/// A thread whose fields can be inspected.
class Open : public Echo {
public:
    Open() : Echo(nullptr) {}
    using Thread::mCondition, Thread::mMutex, Thread::mStopRequested;
};

TEST(ThreadTest, TheLockedOperationsTakeTheirOwnLock) {
    Open thread;
    MutexLock lock(thread.mMutex);
    thread.notify();
    thread.notify(lock);
    thread.joinFailed();
    EXPECT_EQ(thread.mStopRequested, 0U);
    thread.Thread::stop(lock);
    EXPECT_EQ(thread.mStopRequested, 1U);
}

/// Records which entry of its table of virtual functions was called. The first word of an object
/// leads to that table.
class Recorder : public Thread {
public:
    ~Recorder() override { last = "destructor"; }
    void stop() override { last = "stop"; }
    void notify() override { last = "notify"; }
    void joinFailed() override { last = "joinFailed"; }
    void* run() override {
        last = "run";
        return nullptr;
    }
    void stop(MutexLock&) override NB_REQUIRES(mMutex) { last = "stop(lock)"; }
    void notify(MutexLock&) override NB_REQUIRES(mMutex) { last = "notify(lock)"; }

    static inline std::string last;
};

TEST(ThreadTest, TheVirtualOperationsAreInTheirOrder) {
    Recorder recorder;
    Mutex mutex;
    MutexLock lock(mutex);
    const char* const names[] = {"stop", "notify",     "joinFailed",
                                 "run",  "stop(lock)", "notify(lock)"};
    using Entry = void (*)(Thread*, MutexLock*);
    Entry* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&recorder), sizeof table);
    // The destructor has two entries: one for the object, and one that frees it as well.
    constexpr size_t firstThread = 2;
    for (size_t i = 0; i < std::size(names); ++i) {
        table[firstThread + i](&recorder, &lock);
        EXPECT_EQ(Recorder::last, names[i]);
    }
}

TEST(ThreadTest, TheFieldsAreInTheirOrder) {
    Open thread;
    const auto* const object = reinterpret_cast<const char*>(static_cast<const Thread*>(&thread));
    const auto offsetOf = [object](const auto& field) {
        return static_cast<size_t>(reinterpret_cast<const char*>(&field) - object);
    };
    const MutexLock lock(thread.mMutex);
    EXPECT_EQ(offsetOf(thread.mMutex), sizeof(void*)) << "after the table's address";
    EXPECT_EQ(offsetOf(thread.mCondition), offsetOf(thread.mMutex) + sizeof(Mutex));
    EXPECT_EQ(offsetOf(thread.mStopRequested), offsetOf(thread.mCondition) + sizeof(Condition));
    // The last one shows by its effect: it isn't null as long as there is a thread.
    const size_t cellOffset = sizeof(Thread) - sizeof(pthread_t*);
    EXPECT_EQ(cellOffset, offsetOf(thread.mStopRequested) + sizeof(pthread_t*));
    const auto cell = [&] {
        pthread_t* address = nullptr;
        std::memcpy(&address, object + cellOffset, sizeof address);
        return address;
    };
    EXPECT_EQ(cell(), nullptr);
    thread.start();
    EXPECT_NE(cell(), nullptr);
    thread.join();
    EXPECT_EQ(cell(), nullptr);
}

TEST(ThreadDeathTest, AStartWithoutAJoinBeforeStopsTheProcess) {
    EXPECT_DEATH(
        {
            // Never freed: its destructor would stop the process as well.
            auto* const waiter = new Waiter;
            waiter->startAndAwait();
            waiter->start();
        },
        "assertion failed at .*: mThread == 0");
}

TEST(ThreadDeathTest, AThreadThatWasNotJoinedStopsTheProcessWhenItsObjectGoes) {
    EXPECT_DEATH(
        {
            Waiter waiter;
            waiter.startAndAwait();
        },
        "assertion failed at .*: mThread == 0");
}

// Unchecked: the compiler refuses the wrong lock as well.
void stopWith(MutexLock& lock, Thread& thread) NB_NO_THREAD_SAFETY_ANALYSIS { thread.stop(lock); }
void notifyWith(MutexLock& lock, Thread& thread) NB_NO_THREAD_SAFETY_ANALYSIS {
    thread.notify(lock);
}

TEST(ThreadDeathTest, AnotherLockStopsTheProcess) {
    EXPECT_DEATH(
        {
            Waiter waiter;
            Mutex other;
            MutexLock lock(other);
            stopWith(lock, waiter);
        },
        "assertion failed at .*: lock.check.mMutex.");
    EXPECT_DEATH(
        {
            Waiter waiter;
            Mutex other;
            MutexLock lock(other);
            notifyWith(lock, waiter);
        },
        "assertion failed at .*: lock.check.mMutex.");
}

TEST(ThreadDeathTest, AnEmptyFunctionEndsTheProcess) {
    EXPECT_DEATH(
        {
            Thread::startDetached(boost::function<void()>());
            static_cast<void>(eventually([] { return false; }));  // the process ends meanwhile
        },
        "call to empty boost::function");
}

}  // namespace
