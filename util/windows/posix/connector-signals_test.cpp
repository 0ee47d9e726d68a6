// The connector's signal thread.

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/processresources-win.h"
#include "testing/eventually.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "testing/providers/signalhandlers.h"
#include "util/windows/cygwinconnector.h"

namespace {

using cygwin::connector;
using namespace testing_support;
using Time = PosixProvider::Time;

constexpr int failureCode = POSIXPROVIDER_NO_TEXT;
constexpr int sigintNumber = POSIXPROVIDER_SIGINT;
constexpr int sigtermNumber = POSIXPROVIDER_SIGTERM;

TEST(SignalThreadTest, ASignalGoesToItsHandlerOnAnotherThread) {
    PosixProvider provider;
    {
        SignalCounter interrupts;
        SignalCounter ends;
        connector c(embeddingOf(provider));
        const std::thread::id caller = std::this_thread::get_id();
        std::atomic<bool> isOther{false};
        c.start_signal_thread({{sigintNumber, interrupts.handler()},
                               {sigtermNumber, [&](int signal) {
                                    isOther = std::this_thread::get_id() != caller;
                                    ends.handler()(signal);
                                }}});
        EXPECT_TRUE(provider.isBlocked(sigintNumber));
        EXPECT_TRUE(provider.isBlocked(sigtermNumber));
        EXPECT_TRUE(provider.isBlocked(POSIXPROVIDER_SIGUSR2));
        provider.raise(sigtermNumber);
        EXPECT_TRUE(ends.becomes(1));
        EXPECT_EQ(ends.last(), sigtermNumber);
        EXPECT_TRUE(isOther);
        EXPECT_EQ(interrupts.count(), 0);
        provider.raise(sigintNumber);
        EXPECT_TRUE(interrupts.becomes(1));
        EXPECT_EQ(interrupts.last(), sigintNumber);
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
    EXPECT_TRUE(provider.isBlocked(POSIXPROVIDER_SIGUSR2));
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
    SignalCounter counter;
    for (int i = 1; i <= 1000; ++i) {
        c.start_signal_thread({{sigintNumber, counter.handler()}});
        if (i % 10 == 0) {
            provider.raise(sigintNumber);
            ASSERT_TRUE(counter.becomes(i / 10));
        }
        c.stop_signal_thread();
    }
    // The last threads may still be ending.
    EXPECT_TRUE(testing_support::eventually(
        [handles] { return testing_support::handleCount() <= handles + 2; }));
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 0);
}

TEST(SignalThreadTest, AHandlerOfAnEarlierStartStays) {
    PosixProvider provider;
    SignalCounter earlier;
    SignalCounter later;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, earlier.handler()}});
    c.stop_signal_thread();
    c.start_signal_thread({{sigintNumber, later.handler()}, {sigtermNumber, later.handler()}});
    provider.raise(sigintNumber);
    EXPECT_TRUE(earlier.becomes(1));
    provider.raise(sigtermNumber);
    EXPECT_TRUE(later.becomes(1));
    EXPECT_EQ(earlier.count(), 1);
}

vrpsx::raw::system_table gOriginal;
std::atomic<int> gUnknownSignals{0};

int waitForUnknown(vrpsx::raw::system* self, vrpsx::raw::sigset* signals, int* result) {
    const int code = gOriginal.sigwait(self, signals, result);
    if (*result == sigintNumber) {
        *result = POSIXPROVIDER_SIGCHLD;
        ++gUnknownSignals;
    }
    return code;
}

TEST(SignalThreadTest, ASignalWithoutAHandlerIsReported) {
    PosixProvider provider;
    testing_support::PatchedSystem patched(provider);
    gOriginal = *patched.original;
    gUnknownSignals = 0;
    patched.table.sigwait = &waitForUnknown;
    SignalCounter counter;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, counter.handler()}});
    EXPECT_EQ(printedBy([&] {
                  provider.raise(sigintNumber);
                  EXPECT_TRUE(eventually([] { return gUnknownSignals == 1; }));
                  c.stop_signal_thread();
              }),
              "No handler for signal 27 (" + c.strsignal(POSIXPROVIDER_SIGCHLD) + ")\n");
    EXPECT_EQ(counter.count(), 0);
}

TEST(SignalThreadTest, ASigusr2ToAThreadThatIsToGoOnOnlyWakesIt) {
    PosixProvider provider;
    SignalCounter counter;
    connector c(embeddingOf(provider));
    EXPECT_EQ(printedBy([&] {
                  c.start_signal_thread({{sigintNumber, counter.handler()}});
                  awaitReceiver(provider);
                  provider.raise(POSIXPROVIDER_SIGUSR2);
                  EXPECT_TRUE(eventually(
                      [&] { return provider.calls(POSIXPROVIDER_SYSTEM_SIGWAIT) == 2; }));
                  provider.raise(sigintNumber);
                  EXPECT_TRUE(counter.becomes(1));
                  EXPECT_EQ(provider.calls(POSIXPROVIDER_COND_BROADCAST), 0);
                  c.stop_signal_thread();
              }),
              "");
    EXPECT_EQ(counter.count(), 1);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 0);
}

TEST(SignalThreadTest, AHandlerMayCallTheConnector) {
    PosixProvider provider;
    provider.addProcess(4321, 77, 70);
    SignalCounter counter;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, [&](int signal) {
                                EXPECT_EQ(c.kill(77, signal), callSucceeded);
                                EXPECT_EQ(c.last_error(), 0);
                                counter.handler()(signal);
                            }}});
    provider.raise(sigintNumber);
    EXPECT_TRUE(counter.becomes(1));
}

TEST(SignalThreadTest, AStopWaitsForAHandlerThatRuns) {
    PosixProvider provider;
    provider.setClock(POSIXPROVIDER_MANUAL_CLOCK);
    SignalGate gate;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, gate.handler()}});
    provider.raise(sigintNumber);
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
    SignalGate gate;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, gate.handler()}});
    provider.raise(sigintNumber);
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

}  // namespace
