// The attributes that threads start with, and starts and joins that fail.

#include <atomic>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "testing/calls/threadcalls-pthreads.h"
#include "testing/eventually.h"
#include "util/errortext.h"
#include "util/thread-pthreads.h"

namespace {

using namespace testing_support;
using ThreadAttributesDeathTest = testing::Test;

constexpr size_t wantedStackSize = 4U << 20U;
const char* const noResources =
    "Unable to start new thread: not enough system resources available.";

class Runner : public Thread {
public:
    void* run() override { return this; }
    void joinFailed() override { ++failedJoins; }

    int failedJoins = 0;
};

size_t standardStackSize() {
    const ThreadAttributes plain;
    size_t size = 0;
    pthread_attr_getstacksize(&plain.raw, &size);
    return size;
}

template <class Start>
std::string failureOf(Start start) {
    try {
        start();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "no failure";
}

TEST(ThreadStartTest, JoinedThreadsCountInTheConcurrencyOnlyWhileTheyExist) {
    const int before = pthread_getconcurrency();
    Runner runner;
    runner.start();
    EXPECT_EQ(pthread_getconcurrency(), before + 1);
    runner.join();
    EXPECT_EQ(pthread_getconcurrency(), before);
}

TEST(ThreadStartTest, AThreadCountsInTheConcurrencyBeforeItIsMade) {
    const int before = pthread_getconcurrency();
    Runner runner;
    runner.start();
    EXPECT_EQ(gThreadCalls.concurrency, before + 1);
    runner.join();
    const ThreadCallResult refusal(gThreadCalls.createResult, EPERM);
    gThreadCalls.concurrency = -1;
    EXPECT_THROW(runner.start(), std::runtime_error);
    EXPECT_EQ(gThreadCalls.concurrency, before + 1);
    EXPECT_EQ(pthread_getconcurrency(), before) << "no longer if it can't be made";
}

TEST(ThreadStartTest, ADetachedThreadDoesNotCountInTheConcurrency) {
    const int before = pthread_getconcurrency();
    const ThreadCallResult refusal(gThreadCalls.createResult, EPERM);
    gThreadCalls.concurrency = -1;
    EXPECT_THROW(Thread::startDetached([] {}), std::runtime_error);
    EXPECT_EQ(gThreadCalls.concurrency, before);
    EXPECT_EQ(pthread_getconcurrency(), before);
}

TEST(ThreadStartTest, AThreadThatCannotBeMadeForLackOfResourcesSaysSo) {
    const ThreadCallResult refusal(gThreadCalls.createResult, EAGAIN);
    Runner runner;
    EXPECT_EQ(failureOf([&] { runner.start(); }), noResources);
    EXPECT_EQ(failureOf([] { Thread::startDetached([] {}); }), noResources);
}

TEST(ThreadStartTest, AThreadThatCannotBeMadeForAnotherReasonReportsItsResult) {
    const ThreadCallResult refusal(gThreadCalls.createResult, EPERM);
    const uint32_t error = EPERM;
    const std::string text =
        "Unable to start new thread: " + errorText(/*withCode=*/true, &error, errorOfEither);
    EXPECT_TRUE(text.ends_with(" (error code " + std::to_string(EPERM) + ")")) << text;
    Runner runner;
    EXPECT_EQ(failureOf([&] { runner.start(); }), text);
    EXPECT_EQ(failureOf([] { Thread::startDetached([] {}); }), text);
}

TEST(ThreadStartTest, AThreadThatCannotBeMadeLeavesNothingAfter) {
    const auto token = std::make_shared<int>(0);
    const int attributes = gThreadCalls.attributes;
    Runner runner;
    {
        const ThreadCallResult refusal(gThreadCalls.createResult, EPERM);
        EXPECT_THROW(runner.start(wantedStackSize), std::runtime_error);
        EXPECT_THROW(Thread::startDetached([token] {}), std::runtime_error);
    }
    EXPECT_EQ(token.use_count(), 1) << "the copy of the function is freed";
    EXPECT_EQ(gThreadCalls.attributes, attributes);
    EXPECT_EQ(runner.join(), nullptr);
    runner.start();
    EXPECT_EQ(runner.join(), &runner);
}

TEST(ThreadStartTest, TheStackSizeIsAsAskedForAndTheDefaultWithoutAQuestion) {
    Runner runner;
    runner.start(wantedStackSize);
    runner.join();
    EXPECT_EQ(gThreadCalls.stackSize, wantedStackSize);
    EXPECT_EQ(gThreadCalls.stackSizeCalls, 1);
    const size_t standard = standardStackSize();
    EXPECT_NE(standard, wantedStackSize);
    runner.start();
    runner.join();
    EXPECT_EQ(gThreadCalls.stackSize, standard);
    EXPECT_EQ(gThreadCalls.stackSizeCalls, 0) << "the default isn't set";
}

TEST(ThreadStartTest, ADetachedThreadsStackSizeIsNotSetWithoutAQuestion) {
    static std::atomic<int> ended;
    ended = 0;
    const auto end = [] { ++ended; };
    Thread::startDetached(end, wantedStackSize);
    EXPECT_EQ(gThreadCalls.stackSizeCalls, 1);
    Thread::startDetached(end);
    EXPECT_EQ(gThreadCalls.stackSizeCalls, 0);
    EXPECT_EQ(gThreadCalls.stackSize, standardStackSize());
    EXPECT_TRUE(eventually([] { return ended == 2; }));
}

TEST(ThreadStartTest, TheAttributesOfAThreadThatWasMadeAreDestroyed) {
    // Counted once the thread runs: a sanitizer has attributes of its own before that.
    const int attributes = gThreadCalls.attributes;
    Runner runner;
    runner.start(wantedStackSize);
    runner.join();
    EXPECT_EQ(gThreadCalls.attributes, attributes);
    static std::atomic<bool> ended;
    ended = false;
    Thread::startDetached([] { ended = true; }, wantedStackSize);
    EXPECT_TRUE(eventually([] { return ended.load(); }));
    EXPECT_EQ(gThreadCalls.attributes, attributes);
}

TEST(ThreadStartTest, AStackSizeThatIsRefusedLeavesTheDefault) {
    const ThreadCallResult refusal(gThreadCalls.stackSizeResult, EINVAL);
    const size_t standard = standardStackSize();
    Runner runner;
    runner.start(wantedStackSize);
    EXPECT_EQ(runner.join(), &runner);
    EXPECT_EQ(gThreadCalls.stackSize, standard);
    EXPECT_EQ(gThreadCalls.stackSizeCalls, 1);
}

TEST(ThreadStartTest, AFailedJoinCountsAsTheEnd) {
    const int before = pthread_getconcurrency();
    Runner runner;
    runner.start();
    {
        const ThreadCallResult failure(gThreadCalls.joinResult, EINVAL);
        testing::internal::CaptureStderr();
        EXPECT_EQ(runner.join(), &runner) << "what was got all the same";
        testing::internal::GetCapturedStderr();
    }
    EXPECT_EQ(runner.failedJoins, 1);
    EXPECT_EQ(pthread_getconcurrency(), before);
    EXPECT_EQ(runner.join(), nullptr);
    runner.start();
    EXPECT_EQ(runner.join(), &runner);
    EXPECT_EQ(runner.failedJoins, 1);
}

TEST(ThreadStartTest, TheHookOfAFailedJoinRunsAfterTheReportWhileTheThreadCounts) {
    class Watcher : public Runner {
    public:
        void joinFailed() override {
            said = testing::internal::GetCapturedStderr();
            concurrency = pthread_getconcurrency();
        }

        std::string said;
        int concurrency = -1;
    };
    const int before = pthread_getconcurrency();
    Watcher watcher;
    watcher.start();
    const ThreadCallResult failure(gThreadCalls.joinResult, EINVAL);
    testing::internal::CaptureStderr();
    watcher.join();
    EXPECT_TRUE(watcher.said.starts_with("Unable to join thread: ")) << watcher.said;
    EXPECT_EQ(watcher.concurrency, before + 1);
    EXPECT_EQ(pthread_getconcurrency(), before);
}

TEST(ThreadStartTest, AFailedJoinReportsTheSystemsErrorAndNotTheResult) {
    constexpr uint32_t errorNumber = 2;
    static_assert(errorNumber != EINVAL);
    Runner runner;
    runner.start();
    const ThreadCallResult failure(gThreadCalls.joinResult, EINVAL);
    gThreadCalls.joinError = errorNumber;
    testing::internal::CaptureStderr();
    runner.join();
    std::string said = testing::internal::GetCapturedStderr();
    std::erase(said, '\r');  // of a Windows line ending
    EXPECT_EQ(said, "Unable to join thread: " +
                        errorText(/*withCode=*/true, &errorNumber, errorOfEither) + "\n");
    EXPECT_TRUE(said.ends_with(" (error code 2)\n")) << said;
}

// In the death tests of the attributes only the main thread runs.

TEST(ThreadAttributesDeathTest, AttributesThatCannotBeMadeStopTheProcess) {
    EXPECT_DEATH(
        {
            const ThreadCallResult failure(gThreadCalls.initResult, ENOMEM);
            const ThreadAttributes attributes;
        },
        "assertion failed at .*: rc == 0\r?\n");
}

TEST(ThreadAttributesDeathTest, AttributesThatCannotBeDestroyedStopTheProcess) {
    EXPECT_DEATH(
        {
            const ThreadCallResult failure(gThreadCalls.destroyResult, EINVAL);
            const ThreadAttributes attributes;
        },
        "assertion failed at .*: pthread_attr_destroy\\(&raw\\) == 0\r?\n");
}

TEST(ThreadAttributesDeathTest, AttributesThatCannotBeDetachedStopTheProcess) {
    EXPECT_DEATH(
        {
            ThreadAttributes attributes;
            const ThreadCallResult failure(gThreadCalls.detachResult, EINVAL);
            attributes.setDetached();
        },
        "assertion failed at .*: "
        "pthread_attr_setdetachstate\\( &raw, PTHREAD_CREATE_DETACHED\\) == 0\r?\n");
}

TEST(ThreadAttributesDeathTest, ADetachedStartWithoutTheDetachedStateStopsTheProcess) {
    EXPECT_DEATH(
        {
            const ThreadCallResult failure(gThreadCalls.detachResult, EINVAL);
            Thread::startDetached([] {});
        },
        "PTHREAD_CREATE_DETACHED");
}

}  // namespace
