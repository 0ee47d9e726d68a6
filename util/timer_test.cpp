#include "util/timer.h"

#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>

#include "testing/calls/fakeclock.h"

struct TimerTestPeer {
    static Ticks start(const Timer& timer) { return timer.mStart; }
};

namespace {

using namespace testing_support;

static_assert(std::has_virtual_destructor_v<Timer>);

void expectTimes(const Timer& timer, uint32_t count, int64_t total, int64_t minimum,
                 int64_t maximum) {
    EXPECT_EQ(timer.count(), count);
    EXPECT_EQ(timer.total(), Ticks(total));
    EXPECT_EQ(timer.minimum(), Ticks(minimum));
    EXPECT_EQ(timer.maximum(), Ticks(maximum));
}

void measure(Timer& timer, int64_t from, int64_t to) {
    timer.start(Ticks(from));
    timer.stop(Ticks(to));
}

TEST(TimerTest, ANewTimerIsAllZeroAndNotRunning) {
    const Timer timer;
    expectTimes(timer, 0, 0, 0, 0);
    EXPECT_EQ(TimerTestPeer::start(timer), Ticks(0));
    EXPECT_FALSE(timer.running());
}

TEST(TimerTest, StartRunsTheTimerAndRecordsNothing) {
    Timer timer;
    timer.start(Ticks(100));
    EXPECT_TRUE(timer.running());
    expectTimes(timer, 0, 0, 0, 0);
}

TEST(TimerTest, StopRecordsTheIntervalAndEndsTheRun) {
    Timer timer;
    measure(timer, 100, 130);
    EXPECT_FALSE(timer.running());
    expectTimes(timer, 1, 30, 30, 30);
}

TEST(TimerTest, StoppingAStoppedTimerChangesNothing) {
    Timer timer;
    measure(timer, 100, 130);
    timer.stop(Ticks(500));
    EXPECT_FALSE(timer.running());
    expectTimes(timer, 1, 30, 30, 30);
}

TEST(TimerTest, StartingARunningTimerRestartsTheInterval) {
    Timer timer;
    timer.start(Ticks(100));
    timer.start(Ticks(120));
    timer.stop(Ticks(130));
    expectTimes(timer, 1, 10, 10, 10);
}

TEST(TimerTest, TheFirstIntervalSetsTheMinimumAndLaterOnesLowerIt) {
    Timer timer;
    measure(timer, 0, 30);
    expectTimes(timer, 1, 30, 30, 30);
    measure(timer, 0, 50);
    expectTimes(timer, 2, 80, 30, 50);
    measure(timer, 0, 20);
    expectTimes(timer, 3, 100, 20, 50);
}

TEST(TimerTest, TheMaximumStaysZeroWhenAllIntervalsAreNegative) {
    Timer timer;
    measure(timer, 100, 90);
    measure(timer, 100, 70);
    expectTimes(timer, 2, -40, -30, 0);
}

TEST(TimerTest, ResetForgetsTheIntervalsAndStopsTheTimer) {
    Timer timer;
    measure(timer, 0, 30);
    timer.start(Ticks(100));
    timer.reset();
    EXPECT_FALSE(timer.running());
    expectTimes(timer, 0, 0, 0, 0);
    timer.stop(Ticks(130));
    expectTimes(timer, 0, 0, 0, 0);
}

TEST(TimerTest, ResetKeepsTheLastStart) {
    Timer timer;
    timer.start(Ticks(100));
    timer.reset();
    EXPECT_EQ(TimerTestPeer::start(timer), Ticks(100));
}

TEST(TimerTest, ElapsedOfAStoppedTimerIsZero) {
    Timer timer;
    EXPECT_EQ(timer.elapsed(Ticks(1000)), 0.0);
    measure(timer, 100, 130);
    EXPECT_EQ(timer.elapsed(Ticks(1000)), 0.0);
}

TEST(TimerTest, ElapsedIsTheSecondsSinceTheStart) {
    Timer timer;
    timer.start(Ticks(100));
    EXPECT_EQ(timer.elapsed(Ticks(1100)), Ticks(1000).seconds());
    EXPECT_GT(timer.elapsed(Ticks(1100)), 0.0);
    EXPECT_TRUE(timer.running());
}

TEST(TimerTest, ElapsedOfANegativeIntervalIsALargeTime) {
    Timer timer;
    timer.start(Ticks(100));
    // The low 50 bits of -10.
    EXPECT_EQ(timer.elapsed(Ticks(90)), 1125899906842614.0 / Ticks::frequency());
}

TEST(TimerTest, AddRecordsAnIntervalAsStopDoes) {
    Timer timer;
    timer.add(Ticks(30));
    expectTimes(timer, 1, 30, 30, 30);
    timer.add(Ticks(50));
    timer.add(Ticks(20));
    expectTimes(timer, 3, 100, 20, 50);
}

TEST(TimerTest, AddOfANegativeIntervalLeavesTheMaximumAtZero) {
    Timer timer;
    timer.add(Ticks(-5));
    expectTimes(timer, 1, -5, -5, 0);
}

TEST(TimerTest, AddTakesNoNoteOfARun) {
    Timer timer;
    timer.start(Ticks(100));
    timer.add(Ticks(7));
    EXPECT_TRUE(timer.running());
    timer.stop(Ticks(110));
    expectTimes(timer, 2, 17, 7, 10);
}

TEST(TimerTest, MergingAddsTotalsAndCountsAndWidensTheRange) {
    Timer a;
    a.add(Ticks(30));
    a.add(Ticks(40));
    Timer b;
    b.add(Ticks(20));
    b.add(Ticks(90));
    b.add(Ticks(50));
    EXPECT_EQ(&(a += b), &a);
    expectTimes(a, 5, 230, 20, 90);
    expectTimes(b, 3, 160, 20, 90);
}

TEST(TimerTest, MergingWithAnEmptyTimerOnEitherSideLeavesAMinimumOfZero) {
    Timer full;
    full.add(Ticks(30));
    Timer empty;
    empty += full;
    expectTimes(empty, 1, 30, 0, 30);
    full += Timer();
    expectTimes(full, 1, 30, 0, 30);
}

constexpr const char* bothStopped = "assertion failed at .*: !running\\(\\) && !t\\.running\\(\\)";

TEST(TimerDeathTest, MergingIntoARunningTimerStopsTheProcess) {
    Timer running;
    running.start(Ticks(1));
    EXPECT_DEATH(running += Timer(), bothStopped);
}

TEST(TimerDeathTest, MergingARunningTimerStopsTheProcess) {
    Timer running;
    running.start(Ticks(1));
    Timer stopped;
    EXPECT_DEATH(stopped += running, bothStopped);
}

TEST(NestedTimerTest, ItsFieldsAreAfterThoseOfATimerInTheirOrder) {
    const NestedTimer timer;
    const auto offsetOf = [&timer](const auto& field) {
        return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&timer);
    };
    EXPECT_EQ(offsetOf(static_cast<const Timer&>(timer)), 0);
    const auto depth = static_cast<ptrdiff_t>(sizeof(Timer));
    EXPECT_EQ(offsetOf(timer.mDepth), depth);
    EXPECT_EQ(offsetOf(timer.mLabel), depth + 8);
    EXPECT_EQ(offsetOf(timer.mNext), depth + 16);
}

TEST(NestedTimerTest, ANewOneHasNoScopeNoLabelAndNoSuccessor) {
    const NestedTimer timer;
    EXPECT_EQ(timer.mDepth, 0U);
    EXPECT_EQ(timer.mLabel, 0U);
    EXPECT_EQ(timer.mNext, nullptr);
}

TEST(ScopedTimerTest, AScopeIsOneInterval) {
    FakeClock clock(100);
    NestedTimer timer;
    {
        const ScopedTimer scope(&timer);
        EXPECT_EQ(timer.mDepth, 1U);
        EXPECT_TRUE(timer.running());
        clock.set(130);
    }
    EXPECT_EQ(timer.mDepth, 0U);
    EXPECT_FALSE(timer.running());
    expectTimes(timer, 1, 30, 30, 30);
    EXPECT_EQ(clock.readings(), 2);
}

TEST(ScopedTimerTest, NestedScopesOfOneTimerAreOneInterval) {
    FakeClock clock(100);
    NestedTimer timer;
    {
        const ScopedTimer outer(&timer);
        clock.set(110);
        {
            const ScopedTimer inner(&timer);
            EXPECT_EQ(timer.mDepth, 2U);
            clock.set(120);
        }
        EXPECT_TRUE(timer.running());
        clock.set(150);
    }
    expectTimes(timer, 1, 50, 50, 50);
    EXPECT_EQ(clock.readings(), 2);
}

TEST(ScopedTimerTest, ANullTimerReadsNoClock) {
    FakeClock clock;
    { const ScopedTimer scope(nullptr); }
    EXPECT_EQ(clock.readings(), 0);
}

TEST(ScopedTimerTest, SwitchingMeetsInOneReadingOfTheClock) {
    FakeClock clock(100);
    NestedTimer first;
    NestedTimer second;
    {
        ScopedTimer scope(&first);
        clock.set(130);
        scope.switchTo(&second);
        EXPECT_EQ(clock.readings(), 2);
        EXPECT_EQ(first.mDepth, 0U);
        EXPECT_EQ(second.mDepth, 1U);
        clock.set(150);
    }
    expectTimes(first, 1, 30, 30, 30);
    expectTimes(second, 1, 20, 20, 20);
    EXPECT_EQ(clock.readings(), 3);
}

TEST(ScopedTimerTest, SwitchingToThePresentTimerDoesNothing) {
    FakeClock clock(100);
    NestedTimer timer;
    {
        ScopedTimer scope(&timer);
        clock.set(130);
        scope.switchTo(&timer);
        EXPECT_EQ(clock.readings(), 1);
        EXPECT_EQ(timer.mDepth, 1U);
    }
    expectTimes(timer, 1, 30, 30, 30);
}

TEST(ScopedTimerTest, SwitchingFromNullToNullDoesNothing) {
    FakeClock clock;
    {
        ScopedTimer scope(nullptr);
        scope.switchTo(nullptr);
    }
    EXPECT_EQ(clock.readings(), 0);
}

TEST(ScopedTimerTest, SwitchingToNullEndsTheInterval) {
    FakeClock clock(100);
    NestedTimer timer;
    {
        ScopedTimer scope(&timer);
        clock.set(130);
        scope.switchTo(nullptr);
        EXPECT_FALSE(timer.running());
        clock.set(200);
    }
    expectTimes(timer, 1, 30, 30, 30);
    EXPECT_EQ(clock.readings(), 2);
}

TEST(ScopedTimerTest, SwitchingFromNullBeginsAnInterval) {
    FakeClock clock(100);
    NestedTimer timer;
    {
        ScopedTimer scope(nullptr);
        clock.set(130);
        scope.switchTo(&timer);
        clock.set(200);
    }
    expectTimes(timer, 1, 70, 70, 70);
    EXPECT_EQ(clock.readings(), 2);
}

TEST(ScopedTimerTest, SwitchingFromATimerWithAnOuterScopeLeavesItRunning) {
    FakeClock clock(100);
    NestedTimer outer;
    NestedTimer other;
    {
        const ScopedTimer whole(&outer);
        ScopedTimer part(&outer);
        clock.set(110);
        part.switchTo(&other);
        EXPECT_EQ(outer.mDepth, 1U);
        EXPECT_TRUE(outer.running());
        EXPECT_EQ(clock.readings(), 2);
        clock.set(130);
    }
    expectTimes(outer, 1, 30, 30, 30);
    expectTimes(other, 1, 20, 20, 20);
}

TEST(ScopedTimerTest, SwitchingToATimerThatRunsAlreadyDeepensIt) {
    FakeClock clock(100);
    NestedTimer outer;
    NestedTimer part;
    {
        const ScopedTimer whole(&outer);
        {
            ScopedTimer scope(&part);
            clock.set(120);
            scope.switchTo(&outer);
            EXPECT_EQ(outer.mDepth, 2U);
            clock.set(150);
        }
        EXPECT_TRUE(outer.running());
    }
    expectTimes(part, 1, 20, 20, 20);
    expectTimes(outer, 1, 50, 50, 50);
}

TEST(ScopedTimerTest, SwitchingBetweenTimersWithOuterScopesReadsNoClock) {
    FakeClock clock(100);
    NestedTimer first;
    NestedTimer second;
    const ScopedTimer outerFirst(&first);
    const ScopedTimer outerSecond(&second);
    ScopedTimer inner(&first);
    const int before = clock.readings();
    inner.switchTo(&second);
    EXPECT_EQ(clock.readings(), before);
    EXPECT_EQ(first.mDepth, 1U);
    EXPECT_EQ(second.mDepth, 2U);
}

}  // namespace
