#pragma once

#include <cstdint>

#include "util/ticks.h"

/// Adds up measured intervals: their number, their total, the shortest and the longest.
///
///     Timer timer;
///     timer.start(ticksNow());
///     work();
///     timer.stop(ticksNow());
///     report(timer.count(), timer.total().seconds());
///
/// A timer has no lock: use it on one thread at a time.
class Timer {
public:
    Timer() = default;
    virtual ~Timer() = default;

    /// Begins an interval. If the timer is running, the interval begins anew.
    void start(Ticks now);
    /// Ends the interval and records it. Does nothing if the timer isn't running.
    void stop(Ticks now);
    /// Forgets all intervals, including a running one.
    void reset();
    /// Returns whether an interval has begun and not ended.
    [[nodiscard]] bool running() const { return mRunning; }
    /// Returns the seconds since `start`, or 0.0 if the timer isn't running.
    [[nodiscard]] double elapsed(Ticks now) const;
    /// Records an interval that was measured elsewhere. The timer may be running.
    void add(Ticks duration);
    /// Adds the intervals of another timer. Asserts that neither timer is running. Unlike in `add`,
    /// the minimum and maximum of 0 of a timer without intervals count.
    Timer& operator+=(const Timer& t);

    [[nodiscard]] Ticks total() const { return mTotal; }  ///< of all recorded intervals
    /// The shortest interval; 0 if there is none.
    [[nodiscard]] Ticks minimum() const { return mMin; }
    /// The longest interval, but at least 0.
    [[nodiscard]] Ticks maximum() const { return mMax; }
    [[nodiscard]] uint32_t count() const { return mCount; }  ///< of recorded intervals

private:
    friend struct TimerTestPeer;

    Ticks mStart;
    Ticks mTotal;
    Ticks mMin;
    Ticks mMax;
    uint32_t mCount = 0;
    bool mRunning = false;
};

/// A timer of one thread, for regions of code that may nest: see `ScopedTimer`. Only its owner
/// thread changes it.
struct NestedTimer : Timer {
    /// The number of scopes that are using it.
    uint64_t mDepth = 0;
    /// What it measures; the code that creates the timer chooses the value.
    uint64_t mLabel = 0;
    /// The next timer of the same thread, null for the last.
    NestedTimer* mNext = nullptr;
};

/// Measures the time until the end of the scope, by `ticksNow`, and adds it to a timer. Nested
/// scopes of the same timer count as one interval, from the start to the end of the outermost one.
/// If the timer is null, nothing is measured and the clock isn't read. The timer must outlive the
/// scope.
class [[nodiscard]] ScopedTimer {
public:
    /// Begins an interval, unless one of this timer is open. `t` may be null.
    explicit ScopedTimer(NestedTimer* t);
    ~ScopedTimer();
    ScopedTimer(const ScopedTimer&) = delete;
    ScopedTimer& operator=(const ScopedTimer&) = delete;

    /// Switches from the current timer to `t`, as if this scope ended and another one began. Each
    /// of the two may be null. If one interval ends and another begins, both use a single reading
    /// of the clock, so that no time is lost between them. Does nothing if `t` is the current
    /// timer.
    void switchTo(NestedTimer* t);

private:
    NestedTimer* mTimer;
};
