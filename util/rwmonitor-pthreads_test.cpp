#include "util/rwmonitor-pthreads.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "testing/threads/contention.h"

/// A copy of the monitor's state, taken under its mutex.
struct RWMonitorTestPeer {
    int readersWaiting = 0;
    int writersWaiting = 0;
    int state = 0;

    static RWMonitorTestPeer look(RWMonitor& monitor) {
        const MutexLock lock(*monitor.mMutex);
        return {monitor.mNumReadersWaiting, monitor.mNumWritersWaiting, monitor.mState};
    }
    /// Overwrites the state, under the mutex.
    static void falsify(RWMonitor& monitor, const RWMonitorTestPeer& wanted) {
        const MutexLock lock(*monitor.mMutex);
        monitor.mNumReadersWaiting = wanted.readersWaiting;
        monitor.mNumWritersWaiting = wanted.writersWaiting;
        monitor.mState = wanted.state;
    }

    friend bool operator==(const RWMonitorTestPeer&, const RWMonitorTestPeer&) = default;
};

#ifdef __clang__
// Here one thread ends what another one holds, and readers enter twice.
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#endif

namespace {

using namespace testing_support;

using State = RWMonitorTestPeer;

State stateOf(RWMonitor& monitor) { return State::look(monitor); }

bool eventuallyState(RWMonitor& monitor, const State& wanted) {
    return eventually([&] { return stateOf(monitor) == wanted; });
}

class RWMonitorTest : public testing::Test {
protected:
    Mutex mMutex;
    Condition mCondition;
};

TEST_F(RWMonitorTest, ANewMonitorIsFreeAndNobodyWaits) {
    RWMonitor monitor(mMutex, mCondition);
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 0}));
}

TEST_F(RWMonitorTest, ReadersAreCounted) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.lockForRead();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 1}));
    BoundedThread([&] { monitor.lockForRead(); }).join();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 2}));
    monitor.unlock();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 1}));
    monitor.unlock();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 0}));
}

TEST_F(RWMonitorTest, AWriterIsMinusOneAndUnlocksToFree) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.lockForWrite();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, -1}));
    monitor.unlock();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 0}));
}

TEST_F(RWMonitorTest, AReaderWaitsForTheWriter) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.lockForWrite();
    BoundedThread reader([&] { monitor.lockForRead(); });
    EXPECT_TRUE(eventuallyState(monitor, {1, 0, -1}));
    monitor.unlock();
    reader.join();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 1}));
    monitor.unlock();
}

TEST_F(RWMonitorTest, AWriterWaitsForTheWriter) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.lockForWrite();
    BoundedThread writer([&] { monitor.lockForWrite(); });
    EXPECT_TRUE(eventuallyState(monitor, {0, 1, -1}));
    monitor.unlock();
    writer.join();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, -1}));
    monitor.unlock();
}

TEST_F(RWMonitorTest, AWriterWaitsForTheLastReader) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.lockForRead();
    monitor.lockForRead();
    BoundedThread writer([&] { monitor.lockForWrite(); });
    EXPECT_TRUE(eventuallyState(monitor, {0, 1, 2}));
    monitor.unlock();
    EXPECT_EQ(stateOf(monitor), (State{0, 1, 1}));
    monitor.unlock();
    writer.join();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, -1}));
    monitor.unlock();
}

TEST_F(RWMonitorTest, AWaitingWriterHoldsBackReadersButNotAddReaderAndGoesFirst) {
    RWMonitor monitor(mMutex, mCondition);
    std::string order;
    monitor.lockForRead();
    monitor.lockForRead();
    BoundedThread writer([&] {
        monitor.lockForWrite();
        order += 'w';
        monitor.unlock();
    });
    EXPECT_TRUE(eventuallyState(monitor, {0, 1, 2}));
    BoundedThread reader([&] {
        monitor.lockForRead();
        order += 'r';
        monitor.unlock();
    });
    EXPECT_TRUE(eventuallyState(monitor, {1, 1, 2}));
    monitor.addReader();
    EXPECT_EQ(stateOf(monitor), (State{1, 1, 3}));
    monitor.unlock();
    monitor.unlock();
    EXPECT_EQ(stateOf(monitor), (State{1, 1, 1}));
    monitor.unlock();
    writer.join();
    reader.join();
    EXPECT_EQ(order, "wr");
}

TEST_F(RWMonitorTest, TheLastUnlockWakesAllReadersThatWait) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.lockForWrite();
    BoundedThread first([&] { monitor.lockForRead(); });
    BoundedThread second([&] { monitor.lockForRead(); });
    EXPECT_TRUE(eventuallyState(monitor, {2, 0, -1}));
    monitor.unlock();
    first.join();
    second.join();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 2}));
    monitor.unlock();
    monitor.unlock();
}

TEST_F(RWMonitorTest, AddReaderEntersAFreeMonitor) {
    RWMonitor monitor(mMutex, mCondition);
    monitor.addReader();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 1}));
    monitor.unlock();
}

TEST_F(RWMonitorTest, TwoMonitorsCanShareAMutexAndACondition) {
    RWMonitor first(mMutex, mCondition);
    RWMonitor second(mMutex, mCondition);
    first.lockForWrite();
    second.lockForRead();
    EXPECT_EQ(stateOf(first), (State{0, 0, -1}));
    EXPECT_EQ(stateOf(second), (State{0, 0, 1}));
    first.unlock();
    second.unlock();
}

TEST_F(RWMonitorTest, MonitorsThatShareAMutexAndAConditionAdmitTheirOwnWaitersOnly) {
    RWMonitor first(mMutex, mCondition);
    RWMonitor second(mMutex, mCondition);
    first.lockForWrite();
    second.lockForRead();
    BoundedThread reader([&] { first.lockForRead(); });
    BoundedThread writer([&] { second.lockForWrite(); });
    EXPECT_TRUE(eventuallyState(first, {1, 0, -1}));
    EXPECT_TRUE(eventuallyState(second, {0, 1, 1}));
    // Also wakes the writer of the other monitor, which finds its own gate shut.
    first.unlock();
    reader.join();
    EXPECT_EQ(stateOf(first), (State{0, 0, 1}));
    EXPECT_EQ(stateOf(second), (State{0, 1, 1}));
    second.unlock();
    writer.join();
    EXPECT_EQ(stateOf(second), (State{0, 0, -1}));
    first.unlock();
    second.unlock();
}

TEST_F(RWMonitorTest, AWaitingWriterIsEnoughToHoldBackAReader) {
    RWMonitor monitor(mMutex, mCondition);
    // The state between the last unlock and the waking of a writer: free, and a writer waits.
    State::falsify(monitor, {0, 1, 0});
    BoundedThread reader([&] { monitor.lockForRead(); });
    EXPECT_TRUE(eventuallyState(monitor, {1, 1, 0}));
    State::falsify(monitor, {1, 0, 0});
    mCondition.broadcast();
    reader.join();
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 1}));
    monitor.unlock();
}

TEST_F(RWMonitorTest, AnUnlockThatLeavesAReaderWakesNobody) {
    constexpr int numReaders = 20;
    NestedTimer* const noTimer = nullptr;
    const CountedGetter getter(noTimer);
    RWMonitor monitor(mMutex, mCondition, &CountedGetter::get);
    for (int reader = 0; reader < numReaders; ++reader) {
        monitor.addReader();
    }
    BoundedThread writer([&] { monitor.lockForWrite(); });
    EXPECT_TRUE(eventuallyState(monitor, {0, 1, numReaders}));
    const int callsBefore = getter.calls();
    for (int left = numReaders - 1; left > 0; --left) {
        monitor.unlock();
        // Gives a woken writer time to find the gate shut: it would call the getter again.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // A wait may end by itself now and then, but not at every other unlock.
    EXPECT_LT(getter.calls() - callsBefore, numReaders / 2);
    EXPECT_EQ(stateOf(monitor), (State{0, 1, 1}));
    monitor.unlock();
    writer.join();
    monitor.unlock();
}

TEST_F(RWMonitorTest, ReadersAndWritersOfManyThreadsExcludeEachOther) {
    constexpr int numRounds = 200;
    RWMonitor monitor(mMutex, mCondition);
    int first = 0;
    int second = 0;
    std::atomic<int> torn{0};
    const auto write = [&] {
        for (int round = 0; round < numRounds; ++round) {
            monitor.lockForWrite();
            ++first;
            ++second;
            monitor.unlock();
        }
    };
    const auto read = [&] {
        for (int round = 0; round < numRounds; ++round) {
            monitor.lockForRead();
            torn += first != second ? 1 : 0;
            monitor.unlock();
        }
    };
    BoundedThread threads[] = {BoundedThread(write), BoundedThread(read), BoundedThread(write),
                               BoundedThread(read)};
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(first, 2 * numRounds);
    EXPECT_EQ(stateOf(monitor), (State{0, 0, 0}));
}

TEST_F(RWMonitorTest, AFreeMonitorWithAGetterCallsNoGetterAndReadsNoClock) {
    const FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    RWMonitor monitor(mMutex, mCondition, &CountedGetter::get);
    monitor.lockForRead();
    monitor.addReader();
    monitor.unlock();
    monitor.unlock();
    monitor.lockForWrite();
    monitor.unlock();
    EXPECT_EQ(getter.calls(), 0);
    EXPECT_EQ(clock.readings(), 0);
}

TEST_F(RWMonitorTest, AReadersWaitAtTheGateGoesIntoTheGettersTimer) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    RWMonitor monitor(mMutex, mCondition, &CountedGetter::get);
    monitor.lockForWrite();
    std::thread::id waiter;
    ASSERT_TRUE(contend(
        clock,
        [&] {
            monitor.lockForRead();
            waiter = std::this_thread::get_id();
        },
        [&] {
            EXPECT_TRUE(eventuallyState(monitor, {1, 0, -1}));
            monitor.unlock();
        }));
    EXPECT_EQ(getter.thread(), waiter);
    EXPECT_EQ(timer.total(), Ticks(70));
    monitor.unlock();
}

TEST_F(RWMonitorTest, AWritersWaitAtTheGateGoesIntoTheGettersTimer) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    RWMonitor monitor(mMutex, mCondition, &CountedGetter::get);
    monitor.lockForRead();
    ASSERT_TRUE(contend(
        clock, [&] { monitor.lockForWrite(); },
        [&] {
            EXPECT_TRUE(eventuallyState(monitor, {0, 1, 1}));
            monitor.unlock();
        }));
    EXPECT_GE(getter.calls(), 1);
    EXPECT_EQ(timer.total(), Ticks(70));
    monitor.unlock();
}

TEST_F(RWMonitorTest, AWaitAtTheGateWithoutAGetterOrWithANullTimerReadsNoClock) {
    const CountedGetter getter(nullptr);
    for (const TimerGetter get : {TimerGetter(nullptr), TimerGetter(&CountedGetter::get)}) {
        const FakeClock clock;
        RWMonitor monitor(mMutex, mCondition, get);
        monitor.lockForWrite();
        BoundedThread reader([&] { monitor.lockForRead(); });
        EXPECT_TRUE(eventuallyState(monitor, {1, 0, -1}));
        monitor.unlock();
        reader.join();
        EXPECT_EQ(clock.readings(), 0);
        monitor.unlock();
    }
    EXPECT_GE(getter.calls(), 1);
}

/// The operations that take the mutex on entry. `before` prepares the monitor, and `after` brings
/// it back to free.
struct Entry {
    const char* name;
    void (RWMonitor::*before)();
    void (RWMonitor::*operation)();
    void (RWMonitor::*after)();
};
constexpr Entry entries[] = {
    {"lockForRead", nullptr, &RWMonitor::lockForRead, &RWMonitor::unlock},
    {"lockForWrite", nullptr, &RWMonitor::lockForWrite, &RWMonitor::unlock},
    {"addReader", nullptr, &RWMonitor::addReader, &RWMonitor::unlock},
    {"unlock", &RWMonitor::lockForRead, &RWMonitor::unlock, nullptr},
};

void call(RWMonitor& monitor, void (RWMonitor::*operation)()) {
    if (operation != nullptr) {
        (monitor.*operation)();
    }
}

TEST_F(RWMonitorTest, TheWaitForTheBusyMutexAtAnyEntryGoesIntoTheGettersTimer) {
    for (const Entry& entry : entries) {
        FakeClock clock;
        NestedTimer timer;
        const CountedGetter getter(&timer);
        RWMonitor monitor(mMutex, mCondition, &CountedGetter::get);
        call(monitor, entry.before);
        mMutex.lock();
        EXPECT_TRUE(contend(
            clock, [&] { call(monitor, entry.operation); }, [&] { mMutex.unlock(); }))
            << entry.name;
        EXPECT_EQ(getter.calls(), 1) << entry.name;
        EXPECT_EQ(timer.count(), 1U) << entry.name;
        EXPECT_EQ(timer.total(), Ticks(70)) << entry.name;
        call(monitor, entry.after);
    }
}

TEST_F(RWMonitorTest, TheMutexsOwnGetterIsHeardAsWell) {
    FakeClock clock;
    NestedTimer timer;
    const CountedGetter getter(&timer);
    Mutex mutex(&CountedGetter::get);
    RWMonitor monitor(mutex, mCondition);
    mutex.lock();
    ASSERT_TRUE(contend(
        clock, [&] { monitor.lockForRead(); }, [&] { mutex.unlock(); }));
    EXPECT_EQ(getter.calls(), 1);
    EXPECT_EQ(timer.total(), Ticks(70));
    monitor.unlock();
}

std::atomic<NestedTimer*> gMutexTimer{nullptr};
std::atomic<int> gMutexGetterCalls{0};

NestedTimer* mutexGetter() {
    ++gMutexGetterCalls;
    return gMutexTimer;
}

TEST_F(RWMonitorTest, TheWaitForTheMutexGoesIntoTheTimersOfBothGetters) {
    FakeClock clock;
    NestedTimer monitorTimer;
    NestedTimer mutexTimer;
    gMutexTimer = &mutexTimer;
    gMutexGetterCalls = 0;
    const CountedGetter getter(&monitorTimer);
    Mutex mutex(&mutexGetter);
    RWMonitor monitor(mutex, mCondition, &CountedGetter::get);
    mutex.lock();
    ASSERT_TRUE(contend(
        clock, [&] { monitor.lockForRead(); }, [&] { mutex.unlock(); }, /*numTimers=*/2));
    EXPECT_EQ(getter.calls(), 1);
    EXPECT_EQ(gMutexGetterCalls, 1);
    EXPECT_EQ(monitorTimer.count(), 1U);
    EXPECT_EQ(monitorTimer.total(), Ticks(70));
    EXPECT_EQ(mutexTimer.count(), 1U);
    EXPECT_EQ(mutexTimer.total(), Ticks(70));
    monitor.unlock();
}

using RWMonitorDeathTest = RWMonitorTest;

TEST_F(RWMonitorDeathTest, UnlockOfAFreeMonitorStopsTheProcess) {
    RWMonitor monitor(mMutex, mCondition);
    EXPECT_DEATH(monitor.unlock(), "assertion failed at .*: mState != 0");
}

void endWith(Mutex& mutex, Condition& condition, const State& state) {
    RWMonitor monitor(mutex, condition);
    State::falsify(monitor, state);
}

TEST_F(RWMonitorDeathTest, EndingAHeldMonitorStopsTheProcess) {
    EXPECT_DEATH(endWith(mMutex, mCondition, {0, 0, 1}), "assertion failed at .*: mState == 0");
    EXPECT_DEATH(endWith(mMutex, mCondition, {0, 0, -1}), "assertion failed at .*: mState == 0");
}

TEST_F(RWMonitorDeathTest, EndingAMonitorThatIsWaitedForStopsTheProcess) {
    EXPECT_DEATH(endWith(mMutex, mCondition, {1, 0, 0}),
                 "assertion failed at .*: mNumReadersWaiting == 0");
    EXPECT_DEATH(endWith(mMutex, mCondition, {0, 1, 0}),
                 "assertion failed at .*: mNumWritersWaiting == 0");
}

TEST_F(RWMonitorDeathTest, TheEndLooksAtTheStateFirstAndAtTheReadersNext) {
    EXPECT_DEATH(endWith(mMutex, mCondition, {1, 1, 1}), "assertion failed at .*: mState == 0");
    EXPECT_DEATH(endWith(mMutex, mCondition, {1, 1, 0}),
                 "assertion failed at .*: mNumReadersWaiting == 0");
}

}  // namespace
