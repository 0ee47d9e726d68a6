#include "testing/providers/posixprovider-win.h"

#include <cstddef>
#include <ctime>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/providers/entryatoffset.h"

namespace {

using namespace testing_support;
using Time = PosixProvider::Time;

constexpr int someSignal = 50;
constexpr int failure = 4711;

class PosixProviderTest : public testing::Test {
protected:
    void* system() const { return static_cast<void**>(mProvider.embedding()) + 1; }

    /// Returns an object that an entry of the system creates, or null if it fails.
    void* make(size_t offset) const {
        void* made = nullptr;
        EXPECT_EQ(callAt(system(), offset, &made), 0);
        return made;
    }

    /// Returns a set in `mStorage` with the signal someSignal.
    void* makeSet() {
        void* set = nullptr;
        EXPECT_EQ(callAt(system(), 248, static_cast<void*>(mStorage), &set), 0);
        EXPECT_EQ(callAt(set, 56, someSignal), 0);
        return set;
    }

    int block(void* set) const {
        return callAt(system(), 280, valueAt<int>(system(), 1140), set,
                      static_cast<void*>(nullptr));
    }

    int unblock(void* set) const {
        return callAt(system(), 280, valueAt<int>(system(), 1148), set,
                      static_cast<void*>(nullptr));
    }

    /// Disowns a mutex or a cond.
    static int disown(void* object) {
        void* errors = nullptr;
        return callAt(object, 16, &object, &errors);
    }

    std::string textOf(int code) const {
        void* string = nullptr;
        EXPECT_EQ(callAt(system(), 48, code, &string), 0);
        std::string text = callAt<const char*>(string, 48);
        EXPECT_EQ(callAt(string, 24, &string), 0);
        return text;
    }

    PosixProvider mProvider;
    alignas(16) std::byte mStorage[64] = {};
};

/// A thread of the runtime waits for the signal.
struct Waiter {
    const PosixProvider& provider;
    void* system;
    void* set;
    int signal;
    bool blocks;
};

void* awaitSignal(void* argument) {
    auto* waiter = static_cast<Waiter*>(argument);
    waiter->blocks = waiter->provider.isBlocked(someSignal);
    callAt(waiter->system, 272, waiter->set, &waiter->signal);
    return argument;
}

TEST_F(PosixProviderTest, AThreadReceivesASignalThatItWaitsForAndInheritsTheMask) {
    Waiter waiter = {
        .provider = mProvider, .system = system(), .set = makeSet(), .signal = 0, .blocks = false};
    EXPECT_EQ(block(waiter.set), 0);
    uint64_t thread = 0;
    ASSERT_EQ(callAt(system(), 296, &thread, awaitSignal, static_cast<void*>(&waiter)), 0);
    EXPECT_EQ(thread, POSIXPROVIDER_FIRST_THREAD);
    EXPECT_TRUE(mProvider.awaitBlocked(POSIXPROVIDER_SYSTEM_SIGWAIT));
    EXPECT_EQ(mProvider.count(POSIXPROVIDER_COUNT_THREADS), 1);

    EXPECT_EQ(callAt(system(), 224, callAt<int64_t>(system(), 200), someSignal), 0);
    void* result = nullptr;
    EXPECT_EQ(callAt(system(), 312, thread, &result), 0);
    EXPECT_EQ(result, &waiter);
    EXPECT_EQ(waiter.signal, someSignal);
    EXPECT_TRUE(waiter.blocks);
    EXPECT_FALSE(mProvider.isPending(someSignal));
}

TEST_F(PosixProviderTest, ABlockedSignalIsPendingUntilItIsUnblocked) {
    void* set = makeSet();
    void* action = nullptr;
    alignas(16) std::byte storage[64];
    EXPECT_EQ(callAt(system(), 256, static_cast<void*>(storage), &action), 0);
    callAt(action, 40, POSIXPROVIDER_IGNORE_DISPOSITION);
    EXPECT_EQ(callAt(system(), 264, someSignal, action, static_cast<void*>(nullptr)), 0);
    EXPECT_EQ(mProvider.disposition(someSignal), POSIXPROVIDER_IGNORE_DISPOSITION);

    EXPECT_EQ(block(set), 0);
    EXPECT_TRUE(mProvider.isBlocked(someSignal));
    mProvider.raise(someSignal);
    EXPECT_TRUE(mProvider.isPending(someSignal));
    EXPECT_EQ(unblock(set), 0);
    EXPECT_FALSE(mProvider.isPending(someSignal));
    EXPECT_EQ(mProvider.delivered(someSignal), 1);
}

TEST_F(PosixProviderTest, TheSignalThatIsIgnoredByDefaultChangesNothing) {
    mProvider.raise(POSIXPROVIDER_SIGCHLD);
    EXPECT_EQ(mProvider.delivered(POSIXPROVIDER_SIGCHLD), 1);
}

using PosixProviderDeathTest = PosixProviderTest;

TEST_F(PosixProviderDeathTest, ASignalThatNobodyBlocksEndsTheProcess) {
    EXPECT_EXIT(mProvider.raise(someSignal), testing::ExitedWithCode(128 + someSignal), ".*");
}

TEST_F(PosixProviderDeathTest, ASignalThatWasPendingEndsTheProcessWhenItIsUnblocked) {
    const auto raiseAndUnblock = [this] {
        void* set = makeSet();
        block(set);
        mProvider.raise(someSignal);
        unblock(set);
    };
    EXPECT_EXIT(raiseAndUnblock(), testing::ExitedWithCode(128 + someSignal), ".*");
}

TEST_F(PosixProviderDeathTest, ExitEndsTheProcessWithItsCode) {
    EXPECT_EXIT(callAt(system(), 72, 77), testing::ExitedWithCode(77), ".*");
}

TEST_F(PosixProviderTest, ProcessesAreKnownByWindowsIdAndTheirSignalsAreKept) {
    mProvider.addProcess(0xfffffff4, 600, 500);
    const auto pidOf = [this](uint32_t windowsPid) {
        int64_t pid = 0;
        const int code = callAt(mProvider.embedding(), 48, static_cast<const void*>(&windowsPid),
                                size_t{4}, &pid);
        EXPECT_EQ(code, pid == -1 ? POSIXPROVIDER_MISSING_PROCESS : 0);
        return pid;
    };
    EXPECT_EQ(pidOf(0xfffffff4), 600);
    EXPECT_EQ(pidOf(GetCurrentProcessId()), POSIXPROVIDER_OWN_PID);
    EXPECT_EQ(pidOf(0xfffffff8), -1);
    int64_t group = 0;
    EXPECT_EQ(callAt(system(), 216, int64_t{600}, &group), 0);
    EXPECT_EQ(group, 500);
    EXPECT_EQ(callAt(system(), 216, int64_t{601}, &group), POSIXPROVIDER_MISSING_PROCESS);
    EXPECT_EQ(group, -1);

    EXPECT_EQ(callAt(system(), 224, int64_t{600}, 3), 0);
    EXPECT_EQ(callAt(system(), 224, int64_t{-500}, 4), 0);
    EXPECT_EQ(callAt(system(), 224, int64_t{-600}, 4), POSIXPROVIDER_MISSING_PROCESS);
    const std::vector<PosixProvider::Kill> expected = {{600, 3}, {-500, 4}};
    EXPECT_EQ(mProvider.kills(), expected);
}

/// Waits until the deadline, with the mutex locked.
int waitUntil(void* cond, void* mutex, Time deadline) {
    EXPECT_EQ(callAt(mutex, 32), 0);
    const int code = callAt(cond, 48, mutex, static_cast<const Time*>(&deadline));
    EXPECT_EQ(callAt(mutex, 24), 0);
    return code;
}

class PosixProviderWaitTest : public PosixProviderTest {
protected:
    ~PosixProviderWaitTest() override {
        EXPECT_EQ(disown(mCond), 0);
        EXPECT_EQ(disown(mMutex), 0);
    }

    void* mMutex = make(360);
    void* mCond = make(392);
};

TEST_F(PosixProviderWaitTest, ABroadcastEndsAWait) {
    mProvider.setClock(POSIXPROVIDER_MANUAL_CLOCK);
    int code = -1;
    std::thread waiter([this, &code] { code = waitUntil(mCond, mMutex, {1, 0}); });
    EXPECT_TRUE(mProvider.awaitBlocked(POSIXPROVIDER_COND_TIMEDWAIT));
    EXPECT_EQ(callAt(mCond, 24), 0);
    waiter.join();
    EXPECT_EQ(code, 0);
}

TEST_F(PosixProviderWaitTest, TheManualClockEndsAWaitWhenItPassesTheDeadline) {
    mProvider.setClock(POSIXPROVIDER_MANUAL_CLOCK);
    mProvider.setTime({100, 900000000});
    int code = -1;
    std::thread waiter([this, &code] { code = waitUntil(mCond, mMutex, {101, 100000000}); });
    EXPECT_TRUE(mProvider.awaitBlocked(POSIXPROVIDER_COND_TIMEDWAIT));
    mProvider.advanceTime({0, 199999999});
    EXPECT_TRUE(mProvider.awaitBlocked(POSIXPROVIDER_COND_TIMEDWAIT));
    mProvider.advanceTime({0, 1});
    waiter.join();
    EXPECT_EQ(code, POSIXPROVIDER_TIMED_OUT);
    EXPECT_EQ(mProvider.deadlines(), (std::vector<Time>{{101, 100000000}}));
}

TEST_F(PosixProviderWaitTest, TheLeapingClockIsAtTheDeadlineAtOnce) {
    mProvider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
    EXPECT_EQ(waitUntil(mCond, mMutex, {1000000, 5}), POSIXPROVIDER_TIMED_OUT);
    const Time request = {7, 6};
    Time remaining{1, 1};
    EXPECT_EQ(callAt(system(), 176, &request, &remaining), 0);
    Time now = {0, 0};
    EXPECT_EQ(callAt(system(), 168, valueAt<int64_t>(system(), 1400), &now), 0);
    EXPECT_EQ(now, (Time{1000007, 11}));
    EXPECT_EQ(mProvider.sleeps(), (std::vector<Time>{request}));
}

TEST_F(PosixProviderWaitTest, TheLeapingClockLetsThoseWhoWaitForTheMutexGoFirst) {
    mProvider.setClock(POSIXPROVIDER_LEAPING_CLOCK);
    EXPECT_EQ(callAt(mMutex, 32), 0);
    std::thread other([this] {
        EXPECT_EQ(callAt(mMutex, 32), 0);
        EXPECT_EQ(callAt(mCond, 24), 0);
        EXPECT_EQ(callAt(mMutex, 24), 0);
    });
    EXPECT_TRUE(mProvider.awaitBlocked(POSIXPROVIDER_MUTEX_LOCK));
    const Time deadline = {9, 0};
    EXPECT_EQ(callAt(mCond, 48, mMutex, &deadline), 0);
    EXPECT_EQ(callAt(mMutex, 24), 0);
    other.join();
}

TEST_F(PosixProviderWaitTest, TheRealClockIsTheSystems) {
    Time now = {0, 0};
    const auto before = ::time(nullptr);
    EXPECT_EQ(callAt(system(), 168, valueAt<int64_t>(system(), 1400), &now), 0);
    EXPECT_GE(now.seconds, before);
    EXPECT_LE(now.seconds, ::time(nullptr));
    now.nanoseconds = 0;
    EXPECT_EQ(waitUntil(mCond, mMutex, now), POSIXPROVIDER_TIMED_OUT);
    now = mProvider.time();
    ++now.seconds;
    EXPECT_EQ(waitUntil(mCond, mMutex, now), POSIXPROVIDER_TIMED_OUT);
}

TEST_F(PosixProviderWaitTest, MisuseOfAMutexIsAFaultAndFails) {
    EXPECT_EQ(callAt(mMutex, 24), POSIXPROVIDER_NOT_PERMITTED);
    EXPECT_EQ(callAt(mMutex, 32), 0);
    EXPECT_EQ(callAt(mMutex, 32), POSIXPROVIDER_DEADLOCK);
    EXPECT_EQ(callAt(mMutex, 24), 0);
    EXPECT_EQ(mProvider.takeFaults(),
              (std::vector<std::string>{"a mutex was unlocked by another thread than its owner",
                                        "a mutex was locked by its owner"}));
}

TEST_F(PosixProviderTest, AnEntryFailsAtTheCallThatWasSaid) {
    mProvider.fail(POSIXPROVIDER_SYSTEM_CHDIR, 2, failure, /*withResult=*/false);
    EXPECT_EQ(callAt(system(), 536, "/a"), 0);
    EXPECT_EQ(callAt(system(), 536, "/b"), failure);
    EXPECT_EQ(mProvider.directory(), "/a");
    EXPECT_EQ(callAt(system(), 536, "/c"), 0);
    EXPECT_EQ(mProvider.directory(), "/c");
    EXPECT_EQ(mProvider.calls(POSIXPROVIDER_SYSTEM_CHDIR), 3);
}

TEST_F(PosixProviderTest, AFailureMayComeWithTheResult) {
    void* mutex = this;
    mProvider.failNext(POSIXPROVIDER_SYSTEM_MUTEX_CREATE, failure);
    EXPECT_EQ(callAt(system(), 360, &mutex), failure);
    EXPECT_EQ(mutex, nullptr);
    mProvider.failNextWithResult(POSIXPROVIDER_SYSTEM_MUTEX_CREATE, failure);
    EXPECT_EQ(callAt(system(), 360, &mutex), failure);
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(callAt<void*>(mutex, 0), system());
    EXPECT_EQ(disown(mutex), 0);
}

TEST_F(PosixProviderTest, AFailingEndGivesACountedReferenceToTheSystem) {
    void* mutex = make(360);
    mProvider.failNext(POSIXPROVIDER_MUTEX_DISOWN, failure);
    void* errors = nullptr;
    EXPECT_EQ(callAt(mutex, 16, &mutex, &errors), failure);
    EXPECT_EQ(mutex, nullptr);
    ASSERT_EQ(errors, system());
    EXPECT_EQ(mProvider.count(POSIXPROVIDER_COUNT_REFERENCES), 2);
    EXPECT_EQ(callAt(errors, 24, &errors), 0);
    EXPECT_EQ(errors, nullptr);
}

TEST_F(PosixProviderTest, CodesHaveTextsAndUnknownOnesTheirNumber) {
    EXPECT_EQ(textOf(valueAt<int>(system(), 908)), "The time is over");
    EXPECT_EQ(textOf(-5), "error -5");
}

TEST_F(PosixProviderTest, WhatIsAliveAtTheEndIsCountedAndASecondEndIsAFault) {
    void* mutex = make(360);
    void* holder = mutex;
    EXPECT_EQ(mProvider.leftovers(), (std::vector<std::string>{"mutexes: 1"}));
    EXPECT_EQ(disown(mutex), 0);
    EXPECT_EQ(mProvider.leftovers(), std::vector<std::string>());
    EXPECT_EQ(callAt(mutex, 16, &holder, static_cast<void*>(nullptr)),
              POSIXPROVIDER_INVALID_ARGUMENT);
    EXPECT_EQ(mProvider.takeFaults(),
              (std::vector<std::string>{"an object was used that had ended"}));
}

TEST_F(PosixProviderTest, AnEndWithTheHolderOfAnotherObjectIsAFault) {
    void* mutex = make(360);
    void* holder = this;
    EXPECT_EQ(callAt(mutex, 16, &holder, static_cast<void*>(nullptr)), 0);
    EXPECT_EQ(holder, this);
    EXPECT_EQ(mProvider.takeFaults(),
              (std::vector<std::string>{"an object was ended with the holder of another"}));
}

TEST_F(PosixProviderTest, ACallOfAnEntryWithoutAMeaningIsAFault) {
    callAt(system(), 16);
    EXPECT_EQ(mProvider.takeFaults(),
              (std::vector<std::string>{"an entry that has no meaning was called"}));
}

}  // namespace
