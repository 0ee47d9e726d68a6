// The connector's signal thread.

#include <atomic>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "testing/posixembedding-win.h"
#include "testing/posixprovider-win.h"
#include "testing/processresources-win.h"
#include "util/windows/cygwinconnector.h"

namespace {

using cygwin::connector;
using testing_support::embeddingOf;
using testing_support::eventually;
using testing_support::PosixProvider;
using Handlers = std::map<int, connector::handler>;
using Time = PosixProvider::Time;

constexpr int CODE = POSIXPROVIDER_NO_TEXT;
constexpr int SIGINT_NUMBER = POSIXPROVIDER_SIGINT;
constexpr int SIGTERM_NUMBER = POSIXPROVIDER_SIGTERM;

/// Counts the signals that it is called for.
class Counter {
public:
    connector::handler handler() {
        return [this](int signal) {
            mLast = signal;
            ++mCount;
        };
    }
    bool becomes(int count) const {
        return eventually([&] { return mCount == count; });
    }
    int count() const { return mCount; }
    int last() const { return mLast; }

private:
    std::atomic<int> mCount{0};
    std::atomic<int> mLast{0};
};

/// A handler that is held until it is let go.
class Gate {
public:
    ~Gate() { open(); }
    connector::handler handler() {
        return [this](int) {
            mIsEntered = true;
            while (!mIsOpen) {
                std::this_thread::yield();
            }
        };
    }
    bool isEntered() const {
        return eventually([&] { return mIsEntered.load(); });
    }
    void open() { mIsOpen = true; }

private:
    std::atomic<bool> mIsEntered{false};
    std::atomic<bool> mIsOpen{false};
};

/// Waits until the signal thread waits for a signal.
void awaitReceiver(const PosixProvider& provider) {
    ASSERT_TRUE(provider.awaitBlocked(POSIXPROVIDER_SYSTEM_SIGWAIT));
}

/// What `call` writes to standard error.
template <class Call>
std::string printedBy(Call call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

TEST(SignalThreadTest, ASignalGoesToItsHandlerOnAnotherThread) {
    PosixProvider provider;
    {
        connector c(embeddingOf(provider));
        Counter interrupts;
        Counter ends;
        const std::thread::id caller = std::this_thread::get_id();
        std::atomic<bool> isOther{false};
        c.start_signal_thread({{SIGINT_NUMBER, interrupts.handler()},
                               {SIGTERM_NUMBER, [&](int signal) {
                                    isOther = std::this_thread::get_id() != caller;
                                    ends.handler()(signal);
                                }}});
        EXPECT_TRUE(provider.isBlocked(SIGINT_NUMBER));
        EXPECT_TRUE(provider.isBlocked(SIGTERM_NUMBER));
        EXPECT_TRUE(provider.isBlocked(POSIXPROVIDER_SIGUSR2));
        provider.raise(SIGTERM_NUMBER);
        EXPECT_TRUE(ends.becomes(1));
        EXPECT_EQ(ends.last(), SIGTERM_NUMBER);
        EXPECT_TRUE(isOther);
        EXPECT_EQ(interrupts.count(), 0);
        provider.raise(SIGINT_NUMBER);
        EXPECT_TRUE(interrupts.becomes(1));
        EXPECT_EQ(interrupts.last(), SIGINT_NUMBER);
        c.stop_signal_thread();
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 0);
    }
    provider.expectClean();
}

TEST(SignalThreadTest, AnEmptyHandlerIsLeftOutAndItsSignalIsNotBlocked) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{POSIXPROVIDER_SIGUSR2, connector::handler()},
                           {POSIXPROVIDER_SIGCHLD, connector::handler()}});
    EXPECT_FALSE(provider.isBlocked(POSIXPROVIDER_SIGCHLD));
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SIGSET_ADD), 1) << "SIGUSR2 alone, so far";
}

TEST(SignalThreadTest, TheEndOfTheConnectorStopsTheThread) {
    PosixProvider provider;
    {
        connector c(embeddingOf(provider));
        c.start_signal_thread({});
    }
    provider.expectClean();
}

TEST(SignalThreadTest, AStopWithoutAThreadOnlyLocks) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    c.stop_signal_thread();
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MUTEX_LOCK), 1);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MUTEX_UNLOCK), 1);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_KILL), 0);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_JOIN), 0);
}

TEST(SignalThreadTest, ItStartsAndStopsAThousandTimes) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    c.start_signal_thread({});
    c.stop_signal_thread();
    const size_t handles = testing_support::handleCount();
    Counter counter;
    for (int i = 1; i <= 1000; ++i) {
        c.start_signal_thread({{SIGINT_NUMBER, counter.handler()}});
        if (i % 10 == 0) {
            provider.raise(SIGINT_NUMBER);
            ASSERT_TRUE(counter.becomes(i / 10));
        }
        c.stop_signal_thread();
    }
    EXPECT_LE(testing_support::handleCount(), handles + 2);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 0);
}

TEST(SignalThreadTest, AHandlerOfAnEarlierStartStays) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    Counter earlier;
    Counter later;
    c.start_signal_thread({{SIGINT_NUMBER, earlier.handler()}});
    c.stop_signal_thread();
    c.start_signal_thread({{SIGINT_NUMBER, later.handler()}, {SIGTERM_NUMBER, later.handler()}});
    provider.raise(SIGINT_NUMBER);
    EXPECT_TRUE(earlier.becomes(1));
    provider.raise(SIGTERM_NUMBER);
    EXPECT_TRUE(later.becomes(1));
    EXPECT_EQ(earlier.count(), 1);
}

TEST(SignalThreadTest, AHandlerThatThrowsIsToldAndTheThreadGoesOn) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    Counter counter;
    c.start_signal_thread({{SIGINT_NUMBER, [](int) { throw std::runtime_error("no, thanks"); }},
                           {SIGTERM_NUMBER, counter.handler()}});
    EXPECT_EQ(printedBy([&] {
                  provider.raise(SIGINT_NUMBER);
                  EXPECT_TRUE(eventually([&] { return !provider.isPending(SIGINT_NUMBER); }));
                  provider.raise(SIGTERM_NUMBER);
                  EXPECT_TRUE(counter.becomes(1));
              }),
              "cygwin::connector::handle_signals caught no, thanks!\n");
}

vrpsx::raw::system_table gOriginal;
std::atomic<int> gUnknownSignals{0};

int waitForUnknown(vrpsx::raw::system* self, vrpsx::raw::sigset* signals, int* result) {
    const int code = gOriginal.sigwait(self, signals, result);
    if (*result == SIGINT_NUMBER) {
        *result = POSIXPROVIDER_SIGCHLD;
        ++gUnknownSignals;
    }
    return code;
}

TEST(SignalThreadTest, ASignalWithoutAHandlerIsTold) {
    PosixProvider provider;
    testing_support::PatchedSystem patched(provider);
    gOriginal = *patched.original;
    gUnknownSignals = 0;
    patched.table.sigwait = &waitForUnknown;
    connector c(embeddingOf(provider));
    Counter counter;
    c.start_signal_thread({{SIGINT_NUMBER, counter.handler()}});
    EXPECT_EQ(printedBy([&] {
                  provider.raise(SIGINT_NUMBER);
                  EXPECT_TRUE(eventually([] { return gUnknownSignals == 1; }));
                  c.stop_signal_thread();
              }),
              "No handler for signal 27 (" + c.strsignal(POSIXPROVIDER_SIGCHLD) + ")\n");
    EXPECT_EQ(counter.count(), 0);
}

TEST(SignalThreadTest, AHandlerMayCallTheConnector) {
    PosixProvider provider;
    provider.addProcess(4321, 77, 70);
    connector c(embeddingOf(provider));
    Counter counter;
    c.start_signal_thread({{SIGINT_NUMBER, [&](int signal) {
                                EXPECT_EQ(c.kill(77, signal), 0);
                                EXPECT_EQ(c.last_error(), 0);
                                counter.handler()(signal);
                            }}});
    provider.raise(SIGINT_NUMBER);
    EXPECT_TRUE(counter.becomes(1));
}

TEST(SignalThreadTest, AStopWaitsForAHandlerThatRuns) {
    PosixProvider provider;
    provider.setClock(POSIXPROVIDER_MANUAL_CLOCK);
    connector c(embeddingOf(provider));
    Gate gate;
    c.start_signal_thread({{SIGINT_NUMBER, gate.handler()}});
    provider.raise(SIGINT_NUMBER);
    ASSERT_TRUE(gate.isEntered());
    std::thread stopper([&] { c.stop_signal_thread(); });
    EXPECT_TRUE(provider.awaitBlocked(POSIXPROVIDER_COND_TIMEDWAIT));
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 1);
    gate.open();
    stopper.join();
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 0);
    EXPECT_EQ(provider.deadlines().size(), 1U);
}

TEST(SignalThreadTest, AStopGivesUpAfterTenWaitsAndALaterOneTriesAgain) {
    PosixProvider provider;
    provider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
    provider.setTime({100, 600'000'000});
    connector c(embeddingOf(provider));
    Gate gate;
    c.start_signal_thread({{SIGINT_NUMBER, gate.handler()}});
    provider.raise(SIGINT_NUMBER);
    ASSERT_TRUE(gate.isEntered());
    EXPECT_EQ(printedBy([&] { c.stop_signal_thread(); }), "Giving up on signal handling thread.\n");
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_KILL), 10) << "a SIGUSR2 before each wait";
    const std::vector<Time> deadlines = {{100, 850'000'000}, {101, 100'000'000}, {101, 350'000'000},
                                         {101, 600'000'000}, {101, 850'000'000}, {102, 100'000'000},
                                         {102, 350'000'000}, {102, 600'000'000}, {102, 850'000'000},
                                         {103, 100'000'000}};
    EXPECT_EQ(provider.deadlines(), deadlines);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_JOIN), 0);
    provider.setClock(POSIXPROVIDER_REAL_CLOCK);
    gate.open();
    c.stop_signal_thread();
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_JOIN), 1);
    c.start_signal_thread({});
}

TEST(SignalThreadTest, ADeadlineCarriesIntoTheNextSecond) {
    const struct {
        Time now, deadline;
    } rows[] = {
        {{5, 0}, {5, 250'000'000}},           {{5, 749'999'999}, {5, 999'999'999}},
        {{5, 750'000'000}, {6, 0}},           {{5, 750'000'001}, {6, 1}},
        {{5, 999'999'999}, {6, 249'999'999}},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        provider.setClock(POSIXPROVIDER_MANUAL_CLOCK);
        provider.setTime(row.now);
        connector c(embeddingOf(provider));
        c.start_signal_thread({});
        awaitReceiver(provider);
        c.stop_signal_thread();
        EXPECT_EQ(provider.deadlines(), std::vector<Time>{row.deadline});
    }
}

TEST(SignalThreadTest, AThreadThatDiedIsToldAndJoinedWithoutAWakeUp) {
    PosixProvider provider;
    {
        connector c(embeddingOf(provider));
        // The start adds one signal, and so does the thread.
        provider.fail(POSIXPROVIDER_SIGSET_ADD, 2, CODE, /*withResult=*/false);
        EXPECT_EQ(printedBy([&] {
                      c.start_signal_thread({});
                      EXPECT_TRUE(eventually(
                          [&] { return provider.calls(POSIXPROVIDER_COND_BROADCAST) == 1; }));
                      c.stop_signal_thread();
                  }),
                  "exception in VRPSX signal handling: vrpsx::sigset::add: error 9999\n");
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_KILL), 0);
        EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_JOIN), 1);
    }
    provider.expectClean();
}

TEST(SignalThreadTest, AThreadWithoutASetDies) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    provider.fail(POSIXPROVIDER_SYSTEM_SIGSET_INIT, 2, CODE, /*withResult=*/false);
    EXPECT_EQ(printedBy([&] {
                  c.start_signal_thread({});
                  c.stop_signal_thread();
              }),
              "exception in VRPSX signal handling: vrpsx::system::sigset_init: error 9999\n");
}

TEST(SignalThreadTest, WhatFailsInAStopIsToldAndTheStopGoesOn) {
    const struct {
        posixprovider_entry entry;
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_SYSTEM_KILL, "vrpsx::system::raise(sigusr2): error 9999\n"},
        {POSIXPROVIDER_SYSTEM_CLOCK_GETTIME, "vrpsx::system::clock_gettime: error 9999\n"},
        {POSIXPROVIDER_COND_TIMEDWAIT, "vrpsx::cond::timedwait: error 9999\n"},
        {POSIXPROVIDER_COND_BROADCAST, "vrpsx::cond::broadcast: error 9999\n"},
        {POSIXPROVIDER_SYSTEM_THREAD_JOIN, "vrpsx::system::thread_join: error 9999\n"},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        {
            connector c(embeddingOf(provider));
            c.start_signal_thread({});
            awaitReceiver(provider);
            provider.failNextWithResult(row.entry, CODE);
            EXPECT_EQ(printedBy([&] { c.stop_signal_thread(); }), row.text);
            EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_JOIN), 1);
            c.start_signal_thread({});
        }
        provider.expectClean();
    }
}

TEST(SignalThreadTest, WithoutAClockTheDeadlineIsZero) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    Gate gate;
    c.start_signal_thread({{SIGINT_NUMBER, gate.handler()}});
    provider.raise(SIGINT_NUMBER);
    ASSERT_TRUE(gate.isEntered());
    provider.failAlways(POSIXPROVIDER_SYSTEM_CLOCK_GETTIME, CODE);
    std::string expected;
    for (int i = 0; i < 10; ++i) {
        expected += "vrpsx::system::clock_gettime: error 9999\n";
    }
    EXPECT_EQ(printedBy([&] { c.stop_signal_thread(); }),
              expected + "Giving up on signal handling thread.\n");
    EXPECT_EQ(provider.deadlines(), std::vector<Time>(10, Time{0, 0}));
}

TEST(SignalThreadTest, AFailedWaitForASignalIsToldAndTheThreadGoesOn) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    Counter counter;
    provider.failNext(POSIXPROVIDER_SYSTEM_SIGWAIT, CODE);
    EXPECT_EQ(printedBy([&] {
                  c.start_signal_thread({{SIGINT_NUMBER, counter.handler()}});
                  provider.raise(SIGINT_NUMBER);
                  EXPECT_TRUE(counter.becomes(1));
              }),
              "vrpsx::system::sigwait: error 9999\n");
}

TEST(SignalThreadTest, ALockThatCannotBeHadOrGivenBackIsThrownByAStop) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    provider.failNext(POSIXPROVIDER_MUTEX_LOCK, CODE);
    EXPECT_THROW(c.stop_signal_thread(), vrpsx::system_exception_t);
    provider.failNextWithResult(POSIXPROVIDER_MUTEX_UNLOCK, CODE);
    EXPECT_THROW(c.stop_signal_thread(), vrpsx::system_exception_t);
    c.stop_signal_thread();
}

TEST(SignalThreadTest, AStartThatFailsIsThrownAndALaterOneWorks) {
    const struct {
        posixprovider_entry entry;
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_SYSTEM_SIGSET_INIT, "vrpsx::system::sigset_init: error 9999"},
        {POSIXPROVIDER_MUTEX_LOCK, "vrpsx::mutex::lock: error 9999"},
        {POSIXPROVIDER_SIGSET_ADD, "vrpsx::sigset::add: error 9999"},
        {POSIXPROVIDER_SYSTEM_THREAD_SIGMASK, "vrpsx::system::thread_sigmask: error 9999"},
        {POSIXPROVIDER_SYSTEM_THREAD_CREATE, "vrpsx::system::thread_create: error 9999"},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        {
            connector c(embeddingOf(provider));
            provider.failNext(row.entry, CODE);
            try {
                c.start_signal_thread({});
                ADD_FAILURE() << row.text;
            } catch (const vrpsx::system_exception_t& failure) {
                EXPECT_STREQ(failure.what(), row.text);
            }
            c.stop_signal_thread();
            c.start_signal_thread({});
        }
        provider.expectClean();
    }
}

TEST(SignalThreadDeathTest, ASecondStartStopsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            connector c(embeddingOf(provider));
            c.start_signal_thread({});
            c.start_signal_thread({});
        },
        "assertion failed at .*: ! _signal_thread");
}

TEST(SignalThreadDeathTest, AHandlerForTheWakeUpStopsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            connector c(embeddingOf(provider));
            c.start_signal_thread({{POSIXPROVIDER_SIGUSR2, [](int) {}}});
        },
        "assertion failed at .*: p.first != embedding...->sigusr2..");
}

TEST(SignalThreadDeathTest, AHandlerThatThrowsAnythingElseEndsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            connector c(embeddingOf(provider));
            c.start_signal_thread({{SIGINT_NUMBER, [](int) { throw 1; }}});
            provider.raise(SIGINT_NUMBER);
            eventually([] { return false; });
        },
        "");
}

}  // namespace
