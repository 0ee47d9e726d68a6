#include "util/windows/cygwinconnector.h"

#include <array>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"

namespace {

using cygwin::connector;
using namespace testing_support;

constexpr int failureCode = POSIXPROVIDER_NO_TEXT;

std::string thrownBy(void (*call)(const PosixProvider&), const PosixProvider& provider) {
    try {
        call(provider);
    } catch (const vrpsx::system_exception_t& failure) {
        return failure.what();
    }
    return "nothing";
}

void construct(const PosixProvider& provider) { const connector c(embeddingOf(provider)); }

TEST(ConnectorTest, TheVersionIsReadFromTheReleaseText) {
    PosixProvider provider("1.7.35(0.287/5/3)");
    {
        const connector c(embeddingOf(provider));
        EXPECT_EQ(c.version().release, 1007);
        EXPECT_EQ(c.version().patch, 35);
        EXPECT_EQ(c.embedding()->getpid(), POSIXPROVIDER_OWN_PID);
    }
    provider.expectClean();
}

TEST(ConnectorTest, AReleaseOfTwoNumbersIsThrownWithItsText) {
    PosixProvider provider("1.7");
    try {
        const connector c(embeddingOf(provider));
        FAIL();
    } catch (const vrpsx::system_exception_t& failure) {
        EXPECT_EQ(failure.what(),
                  "1.7: " + embeddingOf(provider).error_text(POSIXPROVIDER_INVALID_ARGUMENT));
        EXPECT_EQ(failure.code, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    provider.expectClean();
}

TEST(ConnectorTest, WhatItNeedsAndCannotHaveIsThrown) {
    const struct {
        posixprovider_entry entry;
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_SYSTEM_UNAME, "vrpsx::system::uname: error 9999"},
        {POSIXPROVIDER_SYSTEM_MUTEX_CREATE, "vrpsx::system::mutex_create: error 9999"},
        {POSIXPROVIDER_SYSTEM_COND_CREATE, "vrpsx::system::cond_create: error 9999"},
    };
    for (const auto& row : rows) {
        for (const bool withResult : {false, true}) {
            PosixProvider provider;
            provider.fail(row.entry, 1, failureCode, withResult);
            EXPECT_EQ(thrownBy(construct, provider), row.text);
            provider.expectClean();
        }
    }
}

TEST(ConnectorTest, ALockThatCannotBeDisownedIsThrownByItsEnd) {
    const struct {
        posixprovider_entry entry;
        const char* text;
    } rows[] = {
        {POSIXPROVIDER_COND_DISOWN, "vrpsx::cond::disown: error 9999"},
        {POSIXPROVIDER_MUTEX_DISOWN, "vrpsx::mutex::disown: error 9999"},
    };
    for (const auto& row : rows) {
        PosixProvider provider;
        provider.failNextWithResult(row.entry, failureCode);
        EXPECT_EQ(thrownBy(construct, provider), row.text);
        provider.expectClean();
    }
}

TEST(ConnectorTest, TheConditionGoesBeforeTheMutexAndComesAfterIt) {
    PosixProvider provider;
    provider.failNext(POSIXPROVIDER_SYSTEM_MUTEX_CREATE, failureCode);
    provider.failNext(POSIXPROVIDER_SYSTEM_COND_CREATE, failureCode);
    EXPECT_EQ(thrownBy(construct, provider), "vrpsx::system::mutex_create: error 9999");
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_COND_CREATE), 0);
    EXPECT_EQ(thrownBy(construct, provider), "vrpsx::system::cond_create: error 9999");
    provider.failNextWithResult(POSIXPROVIDER_MUTEX_DISOWN, failureCode);
    provider.failNextWithResult(POSIXPROVIDER_COND_DISOWN, failureCode);
    EXPECT_EQ(thrownBy(construct, provider), "vrpsx::cond::disown: error 9999");
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MUTEX_DISOWN), 2);
    provider.expectClean();
}

TEST(ConnectorTest, WhileAnExceptionUnwindsItIsDropped) {
    for (const auto entry :
         {POSIXPROVIDER_COND_DISOWN, POSIXPROVIDER_MUTEX_DISOWN, POSIXPROVIDER_MUTEX_UNLOCK}) {
        PosixProvider provider;
        provider.failNextWithResult(entry, failureCode);
        EXPECT_THROW(
            {
                const connector c(embeddingOf(provider));
                throw std::logic_error("unwinding");
            },
            std::logic_error);
        provider.expectClean();
    }
}

TEST(ConnectorTest, AFailedStopAtItsEndGoesToStandardError) {
    PosixProvider provider;
    {
        const connector c(embeddingOf(provider));
        provider.failNext(POSIXPROVIDER_MUTEX_LOCK, failureCode);
        testing::internal::CaptureStderr();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vrpsx::mutex::lock: error 9999\n");
    provider.expectClean();
}

TEST(ConnectorDeathTest, WithoutAnEmbeddingTheProcessStops) {
    EXPECT_DEATH(connector{vrpsx::embedding()}, "assertion failed at .*: _raw != nullptr");
}

TEST(ConnectorTest, AProcessIsFoundByItsWindowsId) {
    PosixProvider provider;
    provider.addProcess(4321, 77, 70);
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.last_error(), 0);
    EXPECT_EQ(c.internalize_pid(4321), 77);
    EXPECT_EQ(c.last_error(), 0);
    EXPECT_EQ(c.internalize_pid(99), callFailed);
    EXPECT_EQ(c.last_error(), POSIXPROVIDER_MISSING_PROCESS);
    EXPECT_EQ(c.internalize_pid(4321), 77);
    EXPECT_EQ(c.last_error(), POSIXPROVIDER_MISSING_PROCESS) << "only a failure sets it";
    provider.failNextWithResult(POSIXPROVIDER_INTERNALIZE_PID, failureCode);
    EXPECT_EQ(c.internalize_pid(4321), callFailed) << "whatever the entry stored";
    EXPECT_EQ(c.last_error(), failureCode);
}

TEST(ConnectorTest, AGroupIsFoundByThePid) {
    PosixProvider provider;
    provider.addProcess(4321, 77, 70);
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.getpgid(78), callFailed);
    EXPECT_EQ(c.last_error(), POSIXPROVIDER_MISSING_PROCESS);
    EXPECT_EQ(c.getpgid(77), 70);
    EXPECT_EQ(c.last_error(), 0) << "a success sets it as well";
    provider.failNextWithResult(POSIXPROVIDER_SYSTEM_GETPGID, failureCode);
    EXPECT_EQ(c.getpgid(77), 70) << "the result is what the entry stored";
    EXPECT_EQ(c.last_error(), failureCode);
}

TEST(ConnectorTest, AProcessOrAGroupIsSignalled) {
    PosixProvider provider;
    provider.addProcess(4321, 77, 70);
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.kill(78, POSIXPROVIDER_SIGTERM), callFailed);
    EXPECT_EQ(c.last_error(), POSIXPROVIDER_MISSING_PROCESS);
    EXPECT_EQ(c.kill(77, POSIXPROVIDER_SIGTERM), callSucceeded);
    EXPECT_EQ(c.last_error(), 0);
    EXPECT_EQ(c.kill(-70, POSIXPROVIDER_SIGINT), callSucceeded);
    EXPECT_EQ(provider.kills(), (std::vector<PosixProvider::Kill>{{77, POSIXPROVIDER_SIGTERM},
                                                                  {-70, POSIXPROVIDER_SIGINT}}));
}

TEST(ConnectorTest, CodesAndSignalsHaveTexts) {
    PosixProvider provider;
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.error_text(failureCode), "error 9999");
    EXPECT_EQ(c.error_text(POSIXPROVIDER_TIMED_OUT),
              embeddingOf(provider).error_text(POSIXPROVIDER_TIMED_OUT));
    EXPECT_NE(c.strsignal(POSIXPROVIDER_SIGTERM), c.strsignal(POSIXPROVIDER_SIGINT));
    EXPECT_EQ(c.strsignal(POSIXPROVIDER_SIGTERM),
              embeddingOf(provider).strsignal(POSIXPROVIDER_SIGTERM));
}

TEST(ConnectorTest, TheCallWithoutANameTakesAPath) {
    PosixProvider provider;
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.path_call("/some/path"), callSucceeded);
    EXPECT_EQ(provider.pathCall(), "/some/path");
    EXPECT_EQ(c.last_error(), 0);
    provider.failNext(POSIXPROVIDER_SYSTEM_PATH_CALL, failureCode);
    EXPECT_EQ(c.path_call("/other"), callFailed);
    EXPECT_EQ(c.last_error(), failureCode);
    EXPECT_EQ(c.path_call("/other"), callSucceeded);
    EXPECT_EQ(c.last_error(), failureCode);
}

TEST(ConnectorTest, EachThreadHasItsOwnLastError) {
    PosixProvider provider;
    const connector c(embeddingOf(provider));
    constexpr int rounds = 200;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        const bool fails = i % 2 == 0;
        provider.addProcess(static_cast<uint32_t>(100 + i), 100 + i, 100);
        threads.emplace_back([&c, i, fails] {
            EXPECT_EQ(c.last_error(), 0);
            for (int round = 0; round < rounds; ++round) {
                EXPECT_EQ(c.getpgid(fails ? 99 : 100 + i), fails ? int64_t{callFailed} : 100);
                EXPECT_EQ(c.last_error(), fails ? POSIXPROVIDER_MISSING_PROCESS : 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(c.last_error(), 0);
}

TEST(ConnectorTest, WithoutARecordTheDescriptionIsTheVersion) {
    PosixProvider provider("3.4.6");
    const connector c(embeddingOf(provider));
    EXPECT_EQ(c.describe(), "version 3.4.6.\n");
    EXPECT_FALSE(cygwin::invoked_from_cygwin());
}

TEST(ConnectorTest, AnyThreadMayAskForTheDescriptionAndKeepsItsLastError) {
    PosixProvider provider("3.4.6");
    const connector c(embeddingOf(provider));
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([&c] {
            EXPECT_EQ(c.getpgid(99), callFailed);
            for (int round = 0; round < 100; ++round) {
                EXPECT_EQ(c.describe(), "version 3.4.6.\n");
            }
            EXPECT_EQ(c.last_error(), POSIXPROVIDER_MISSING_PROCESS);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
