#pragma once

#include <atomic>
#include <cstdint>

#include "util/ticks.h"

namespace testing_support {

/// Replaces the clock of all measurements while the object exists. Time passes only when the test
/// says so, and each reading is counted. At most one object at a time. No other thread may measure
/// while the object is created or destroyed.
class [[nodiscard]] FakeClock {
public:
    explicit FakeClock(int64_t ticks = 0) : mBefore(ticksNow) {
        sNow = ticks;
        sReadings = 0;
        ticksNow = [] {
            const Ticks now(sNow.load());
            ++sReadings;
            return now;
        };
    }
    ~FakeClock() { ticksNow = mBefore; }
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;

    void set(int64_t ticks) { sNow = ticks; }
    int readings() const { return sReadings; }

private:
    static inline std::atomic<int64_t> sNow{0};
    static inline std::atomic<int> sReadings{0};

    Ticks (*mBefore)();
};

}  // namespace testing_support
