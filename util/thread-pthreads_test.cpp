#include "util/thread-pthreads.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "util/errortext.h"

// The linker leads calls of these here: see util/CMakeLists.txt.
extern "C" {
using StartRoutine = void* (*)(void*);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, StartRoutine routine,
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, StartRoutine routine,
                          void* argument);
int __wrap_pthread_join(pthread_t thread, void** result);
}

namespace {

std::atomic<int> gCreateResult{0};
std::atomic<int> gJoinResult{0};
std::atomic<int> gDetached{0};
std::atomic<size_t> gStackSize{0};

}  // namespace

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, StartRoutine routine,
                          void* argument) {
    if (gCreateResult != 0) {
        return gCreateResult;
    }
    if (attributes != nullptr) {
        int state = PTHREAD_CREATE_JOINABLE;
        pthread_attr_getdetachstate(attributes, &state);
        gDetached += state == PTHREAD_CREATE_DETACHED ? 1 : 0;
        size_t size = 0;
        pthread_attr_getstacksize(attributes, &size);
        gStackSize = size;
    }
    return __real_pthread_create(thread, attributes, routine, argument);
}

int __wrap_pthread_join(pthread_t thread, void** result) {
    const int joined = __real_pthread_join(thread, result);
    return gJoinResult != 0 ? gJoinResult.load() : joined;
}

namespace {

using testing_support::eventually;
using ThreadDeathTest = testing::Test;

/// Runs until it is asked to stop, and counts.
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
    void joinFailed() override { ++failedJoins; }

    /// Returns when `run` runs. A process that ends before is a race of the two threads for the
    /// object, over whose report ThreadSanitizer can hang for good.
    void startAndAwait() {
        start();
        EXPECT_TRUE(eventually([this] { return runs == 1; }));
    }

    std::atomic<int> runs{0};
    int failedJoins = 0;
};

/// Gives its argument back.
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
    EXPECT_EQ(waiter.failedJoins, 0);
}

TEST(ThreadTest, JoinedThreadsCountInTheConcurrencyOnlyWhileTheyExist) {
    const int before = pthread_getconcurrency();
    Waiter waiter;
    waiter.start();
    EXPECT_EQ(pthread_getconcurrency(), before + 1);
    waiter.stop();
    waiter.join();
    EXPECT_EQ(pthread_getconcurrency(), before);
}

std::string failureOfStart(Thread& thread) {
    try {
        thread.start();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "no failure";
}

TEST(ThreadTest, AThreadThatCannotBeMadeChangesNothingAndSaysWhy) {
    const int before = pthread_getconcurrency();
    Waiter waiter;
    gCreateResult = EAGAIN;
    EXPECT_EQ(failureOfStart(waiter),
              "Unable to start new thread: not enough system resources available.");
    const uint32_t refused = EPERM;
    gCreateResult = EPERM;
    EXPECT_EQ(failureOfStart(waiter),
              "Unable to start new thread: " + errorText(/*withCode=*/true, &refused, /*which=*/0));
    const std::string text = failureOfStart(waiter);
    EXPECT_TRUE(text.starts_with("Unable to start new thread: ")) << text;
    EXPECT_TRUE(text.ends_with(" (error code " + std::to_string(EPERM) + ")")) << text;
    const auto token = std::make_shared<int>(0);
    EXPECT_THROW(Thread::startDetached([token] {}), std::runtime_error);
    EXPECT_EQ(token.use_count(), 1) << "the copy of the function is freed";
    gCreateResult = 0;
    EXPECT_EQ(pthread_getconcurrency(), before);
    EXPECT_EQ(waiter.join(), nullptr);
    waiter.stop();
    waiter.start();
    EXPECT_EQ(waiter.join(), &waiter);
}

TEST(ThreadTest, AFailedJoinIsToldAndCountsAsTheEnd) {
    const int before = pthread_getconcurrency();
    Waiter waiter;
    waiter.stop();
    waiter.start();
    gJoinResult = EINVAL;
    testing::internal::CaptureStderr();
    waiter.join();
    const std::string said = testing::internal::GetCapturedStderr();
    gJoinResult = 0;
    EXPECT_TRUE(said.starts_with("Unable to join thread: ")) << said;
    EXPECT_TRUE(said.ends_with(")\n") || said.ends_with(")\r\n")) << said;
    EXPECT_EQ(waiter.failedJoins, 1);
    EXPECT_EQ(pthread_getconcurrency(), before);
    EXPECT_EQ(waiter.join(), nullptr);
}

TEST(ThreadTest, TheStackSizeIsAsAskedForAndTheDefaultWithoutAQuestion) {
    constexpr size_t SIZE = 4U << 20U;
    ThreadAttributes plain;
    size_t standard = 0;
    pthread_attr_getstacksize(&plain.raw, &standard);
    Waiter waiter;
    waiter.stop();
    waiter.start(SIZE);
    waiter.join();
    EXPECT_EQ(gStackSize, SIZE);
    waiter.start();
    waiter.join();
    EXPECT_EQ(gStackSize, standard);
}

TEST(ThreadTest, ADetachedThreadRunsACopyOfItsFunctionAndFreesIt) {
    const auto token = std::make_shared<int>(0);
    std::atomic<bool> ran{false};
    const int concurrency = pthread_getconcurrency();
    gDetached = 0;
    {
        const boost::function<void()> function = [token, &ran] { ran = true; };
        Thread::startDetached(function, 4U << 20U);
    }
    EXPECT_TRUE(eventually([&] { return ran && token.use_count() == 1; }));
    EXPECT_EQ(gDetached, 1);
    EXPECT_EQ(gStackSize, 4U << 20U);
    EXPECT_EQ(pthread_getconcurrency(), concurrency);
}

TEST(ThreadTest, AThousandDetachedFunctionsAllRun) {
    constexpr int COUNT = 1000;
    static std::atomic<int> ended;
    ended = 0;
    for (int i = 0; i < COUNT; ++i) {
        // At most so many at a time: a system has no room for all.
        EXPECT_TRUE(eventually([i] { return i - ended < 50; }));
        Thread::startDetached([] { ++ended; });
    }
    EXPECT_TRUE(eventually([] { return ended == COUNT; }));
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

TEST(ThreadTest, TheLockedOperationsTakeTheirOwnLock) {
    class Open : public Echo {
    public:
        Open() : Echo(nullptr) {}
        using Thread::mMutex;
        using Thread::mStopRequested;
    };
    Open thread;
    MutexLock lock(thread.mMutex);
    thread.notify();
    thread.notify(lock);
    thread.joinFailed();
    EXPECT_EQ(thread.mStopRequested, 0U);
    thread.Thread::stop(lock);
    EXPECT_EQ(thread.mStopRequested, 1U);
}

/// The entries of the table of virtual functions as the first word of an object leads to it.
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
    void stop(MutexLock&) override { last = "stop(lock)"; }
    void notify(MutexLock&) override { last = "notify(lock)"; }

    static inline std::string last;
};

TEST(ThreadTest, TheVirtualOperationsStandInTheirOrder) {
    Recorder recorder;
    Mutex mutex;
    MutexLock lock(mutex);
    const char* const names[] = {"stop", "notify",     "joinFailed",
                                 "run",  "stop(lock)", "notify(lock)"};
    using Entry = void (*)(Thread*, MutexLock*);
    Entry* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&recorder), sizeof table);
    // The destructor has two entries: one for the object, and one that frees it as well.
    constexpr size_t FIRST = 2;
    for (size_t i = 0; i < std::size(names); ++i) {
        table[FIRST + i](&recorder, &lock);
        EXPECT_EQ(Recorder::last, names[i]);
    }
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

TEST(ThreadDeathTest, AnotherLockStopsTheProcess) {
    EXPECT_DEATH(
        {
            Waiter waiter;
            Mutex other;
            MutexLock lock(other);
            waiter.Thread::stop(lock);
        },
        "assertion failed at .*: lock.check.mMutex.");
    EXPECT_DEATH(
        {
            Waiter waiter;
            Mutex other;
            MutexLock lock(other);
            waiter.Thread::notify(lock);
        },
        "assertion failed at .*: lock.check.mMutex.");
}

TEST(ThreadDeathTest, AnEmptyFunctionEndsTheProcess) {
    EXPECT_DEATH(
        {
            Thread::startDetached(boost::function<void()>());
            eventually([] { return false; });
        },
        "call to empty boost::function");
}

}  // namespace
