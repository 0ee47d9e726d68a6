// What goes wrong with the connector's signal thread.

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/eventually.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "testing/providers/signalhandlers.h"
#include "util/windows/cygwinconnector.h"

namespace {

using cygwin::connector;
using namespace testing_support;
using Time = PosixProvider::Time;

constexpr int code = POSIXPROVIDER_NO_TEXT;
constexpr int sigintNumber = POSIXPROVIDER_SIGINT;
constexpr int sigtermNumber = POSIXPROVIDER_SIGTERM;

TEST(SignalThreadTest, AHandlerThatThrowsIsReportedAndTheThreadGoesOn) {
    PosixProvider provider;
    SignalCounter counter;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, [](int) { throw std::runtime_error("no, thanks"); }},
                           {sigtermNumber, counter.handler()}});
    EXPECT_EQ(printedBy([&] {
                  provider.raise(sigintNumber);
                  EXPECT_TRUE(eventually([&] { return !provider.isPending(sigintNumber); }));
                  provider.raise(sigtermNumber);
                  EXPECT_TRUE(counter.becomes(1));
              }),
              "cygwin::connector::handle_signals caught no, thanks!\n");
}

TEST(SignalThreadTest, AThreadThatDiedIsReportedAndJoinedWithoutAWakeUp) {
    PosixProvider provider;
    {
        connector c(embeddingOf(provider));
        // The start adds one signal, and so does the thread.
        provider.fail(POSIXPROVIDER_SIGSET_ADD, 2, code, /*withResult=*/false);
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

TEST(SignalThreadTest, WhatFailsInTheThreadEndsIt) {
    const struct {
        posixprovider_entry entry;
        const char* text;
    } rows[] = {
        // The start locks and unlocks once, and so does the thread.
        {POSIXPROVIDER_MUTEX_LOCK, "vrpsx::mutex::lock: error 9999\n"},
        {POSIXPROVIDER_MUTEX_UNLOCK, "vrpsx::mutex::unlock: error 9999\n"},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        {
            connector c(embeddingOf(provider));
            provider.fail(row.entry, 2, code, row.entry == POSIXPROVIDER_MUTEX_UNLOCK);
            EXPECT_EQ(printedBy([&] {
                          c.start_signal_thread({});
                          EXPECT_TRUE(eventually(
                              [&] { return provider.calls(POSIXPROVIDER_COND_BROADCAST) == 1; }));
                          c.stop_signal_thread();
                      }),
                      std::string("exception in VRPSX signal handling: ") + row.text);
        }
        provider.expectClean();
    }
}

TEST(SignalThreadTest, AThreadThatDiedReportsWhatFailsThen) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    provider.fail(POSIXPROVIDER_SIGSET_ADD, 2, code, /*withResult=*/false);
    provider.failNextWithResult(POSIXPROVIDER_COND_BROADCAST, code);
    EXPECT_EQ(printedBy([&] {
                  c.start_signal_thread({});
                  EXPECT_TRUE(eventually(
                      [&] { return provider.calls(POSIXPROVIDER_COND_BROADCAST) == 1; }));
                  c.stop_signal_thread();
              }),
              "exception in VRPSX signal handling: vrpsx::sigset::add: error 9999\n"
              "vrpsx::cond::broadcast: error 9999\n");
}

TEST(SignalThreadDeathTest, AThreadThatDiedAndCannotLockEndsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            connector c(embeddingOf(provider));
            provider.fail(POSIXPROVIDER_SIGSET_ADD, 2, code, /*withResult=*/false);
            provider.fail(POSIXPROVIDER_MUTEX_LOCK, 2, code, /*withResult=*/false);
            c.start_signal_thread({});
            static_cast<void>(eventually([] { return false; }));  // the process ends meanwhile
        },
        "exception in VRPSX signal handling: vrpsx::sigset::add: error 9999");
}

TEST(SignalThreadTest, AThreadWithoutASetDies) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    provider.fail(POSIXPROVIDER_SYSTEM_SIGSET_INIT, 2, code, /*withResult=*/false);
    EXPECT_EQ(printedBy([&] {
                  c.start_signal_thread({});
                  c.stop_signal_thread();
              }),
              "exception in VRPSX signal handling: vrpsx::system::sigset_init: error 9999\n");
}

TEST(SignalThreadTest, WhatFailsInAStopIsReportedAndTheStopGoesOn) {
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
            provider.failNextWithResult(row.entry, code);
            EXPECT_EQ(printedBy([&] { c.stop_signal_thread(); }), row.text);
            EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_THREAD_JOIN), 1);
            c.start_signal_thread({});
        }
        provider.expectClean();
    }
}

TEST(SignalThreadTest, WithoutAClockTheDeadlineIsZero) {
    PosixProvider provider;
    SignalGate gate;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, gate.handler()}});
    provider.raise(sigintNumber);
    ASSERT_TRUE(gate.isEntered());
    std::string expected;
    for (int i = 1; i <= 10; ++i) {
        provider.fail(POSIXPROVIDER_SYSTEM_CLOCK_GETTIME, i, code, /*withResult=*/true);
        expected += "vrpsx::system::clock_gettime: error 9999\n";
    }
    EXPECT_EQ(printedBy([&] { c.stop_signal_thread(); }),
              expected + "Giving up on signal handling thread.\n");
    EXPECT_EQ(provider.deadlines(), std::vector<Time>(10, Time{0, 0}));
    gate.open();
    c.stop_signal_thread();
}

TEST(SignalThreadTest, AFailedWaitForASignalIsReportedAndTheThreadGoesOn) {
    PosixProvider provider;
    SignalCounter counter;
    connector c(embeddingOf(provider));
    provider.failNext(POSIXPROVIDER_SYSTEM_SIGWAIT, code);
    EXPECT_EQ(printedBy([&] {
                  c.start_signal_thread({{sigintNumber, counter.handler()}});
                  provider.raise(sigintNumber);
                  EXPECT_TRUE(counter.becomes(1));
              }),
              "vrpsx::system::sigwait: error 9999\n");
}

TEST(SignalThreadTest, AFailureToLockOrUnlockIsThrownByAStop) {
    PosixProvider provider;
    connector c(embeddingOf(provider));
    provider.failNext(POSIXPROVIDER_MUTEX_LOCK, code);
    EXPECT_THROW(c.stop_signal_thread(), vrpsx::system_exception_t);
    provider.failNextWithResult(POSIXPROVIDER_MUTEX_UNLOCK, code);
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
            provider.failNext(row.entry, code);
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

TEST(SignalThreadTest, AHandlerThatStopsTheThreadWaitsForItselfInVain) {
    PosixProvider provider;
    provider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
    SignalCounter counter;
    connector c(embeddingOf(provider));
    c.start_signal_thread({{sigintNumber, [&](int signal) {
                                c.stop_signal_thread();
                                counter.handler()(signal);
                            }}});
    EXPECT_EQ(printedBy([&] {
                  provider.raise(sigintNumber);
                  EXPECT_TRUE(counter.becomes(1));
              }),
              "Giving up on signal handling thread.\n");
    EXPECT_EQ(provider.deadlines().size(), 10U);
    provider.setClock(POSIXPROVIDER_REAL_CLOCK);
    c.stop_signal_thread();
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_THREADS), 0);
}

TEST(SignalThreadDeathTest, AStartAfterAStopThatGaveUpStopsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            provider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
            SignalGate gate;
            auto* const c = new connector(embeddingOf(provider));
            c->start_signal_thread({{sigintNumber, gate.handler()}});
            provider.raise(sigintNumber);
            static_cast<void>(gate.isEntered());  // if it isn't, the process goes on
            c->stop_signal_thread();
            c->start_signal_thread({});
        },
        "assertion failed at .*: ! _signal_thread");
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
        "assertion failed at .*: p.first != embedding..->sigusr2..");
}

TEST(SignalThreadDeathTest, AHandlerThatThrowsAnythingElseEndsTheProcess) {
    EXPECT_DEATH(
        {
            PosixProvider provider;
            connector c(embeddingOf(provider));
            c.start_signal_thread({{sigintNumber, [](int) { throw 1; }}});
            provider.raise(sigintNumber);
            static_cast<void>(eventually([] { return false; }));  // the process ends meanwhile
        },
        "");
}

}  // namespace
