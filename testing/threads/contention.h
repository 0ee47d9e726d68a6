#pragma once

#include <atomic>
#include <thread>

#include "testing/calls/fakeclock.h"
#include "testing/eventually.h"
#include "testing/threads/boundedthread.h"
#include "util/timer.h"

namespace testing_support {

/// A getter for locks that counts its calls and returns one timer, or null.
class CountedGetter {
public:
    explicit CountedGetter(NestedTimer* timer) {
        sTimer = timer;
        sCalls = 0;
    }
    CountedGetter(const CountedGetter&) = delete;
    CountedGetter& operator=(const CountedGetter&) = delete;

    static NestedTimer* get() {
        sThread = std::this_thread::get_id();
        ++sCalls;
        return sTimer;
    }
    int calls() const { return sCalls; }
    /// Returns the thread of the last call.
    std::thread::id thread() const { return sThread; }

private:
    static inline std::atomic<NestedTimer*> sTimer{nullptr};
    static inline std::atomic<int> sCalls{0};
    static inline std::atomic<std::thread::id> sThread{};
};

/// Lets a second thread run `take` on a lock that this thread holds. Waits until `clock`, which is
/// set to 100, has been read for the second thread's wait (once for each of `numTimers`). Then sets
/// the clock to 170 and runs `release`. Returns false if the second thread never started to wait.
template <class Take, class Release>
[[nodiscard]] bool contend(FakeClock& clock, Take take, Release release, int numTimers = 1) {
    clock.set(100);
    const int before = clock.readings();
    BoundedThread waiter(take);
    const bool waited = eventually([&] { return clock.readings() >= before + numTimers; });
    clock.set(170);
    release();
    waiter.join();
    return waited;
}

}  // namespace testing_support
