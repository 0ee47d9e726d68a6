// Examples of docs/utility.md: measured times and file times.

#include <iostream>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/filetime.h"
#include "util/mutex-pthreads.h"
#include "util/threadtimers-pthreads.h"
#include "util/timer.h"

namespace {

using TimeExampleTest = testing_support::UtilityExampleTest;

TEST_F(TimeExampleTest, MeasureATime) {
    NestedTimer timer;
    {
        const ScopedTimer outer(&timer);
        const ScopedTimer inner(&timer);
    }
    timer.start(ticksNow());
    timer.stop(ticksNow());
    std::cout << timer.count() << ' ' << (timer.maximum().seconds() < 3600) << '\n';
}

TEST_F(TimeExampleTest, MeasureTheWaitForALock) {
    const TimerGetter waits = [] {
        thread_local NestedTimer* timer = nullptr;
        return timer != nullptr ? timer : addThreadTimer(timer, /*label=*/1);
    };
    Mutex mutex(waits);
    mutex.lock();
    mutex.unlock();
    std::cout << waits()->count() << '\n';
}

TEST_F(TimeExampleTest, CalculateWithFileTimes) {
    FileTime time = FileTime::fromUnixTime(1'234'567'890, /*nanoseconds=*/0);
    time.addSeconds(60);
    std::cout << time.ticks() << ' ' << time.unixTime().seconds << '\n' << time << '\n';
}

}  // namespace
