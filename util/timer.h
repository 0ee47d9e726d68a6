#pragma once

#include <cstdint>

#include "util/ticks.h"

/// Adds up measured intervals: how many, their total, the shortest and the longest.
///
///     Timer timer;
///     timer.start(ticksNow());
///     work();
///     timer.stop(ticksNow());
///     report(timer.count(), timer.total().seconds());
///
/// A timer has no lock: it belongs to one thread at a time.
class Timer {
public:
    /// All zero, not running.
    Timer() = default;
    virtual ~Timer() = default;

    /// Begins an interval; on a running timer, begins it anew.
    void start(Ticks now);
    /// Ends the interval and records it. Does nothing if the timer isn't running.
    void stop(Ticks now);
    /// Forgets all intervals, the one that runs included.
    void reset();
    bool running() const { return mRunning; }
    /// The seconds since `start`, 0.0 if the timer isn't running.
    double elapsed(Ticks now) const;
    /// Records an interval that was measured elsewhere, whether the timer runs or not.
    void add(Ticks duration);
    /// Adds another timer's intervals. Asserts that neither runs. Unlike `add`, a timer without
    /// intervals takes part with its minimum and maximum of 0.
    Timer& operator+=(const Timer& t);

    Ticks total() const { return mTotal; }
    /// 0 while there is no interval.
    Ticks minimum() const { return mMin; }
    /// The longest interval, but never below 0.
    Ticks maximum() const { return mMax; }
    uint32_t count() const { return mCount; }

private:
    friend struct TimerTestPeer;

    Ticks mStart;
    Ticks mTotal;
    Ticks mMin;
    Ticks mMax;
    uint32_t mCount = 0;
    bool mRunning = false;
};

/// A timer of one thread, for regions of code that may nest: see `ScopedTimer`. Only the thread
/// that owns it changes it.
struct NestedTimer : Timer {
    /// How many scopes are on it.
    uint64_t mDepth = 0;
    /// What it measures; its maker's affair.
    uint64_t mLabel = 0;
    /// The next timer of the same thread, null for the last.
    NestedTimer* mNext = nullptr;
};

/// Measures the time until the end of the scope into a timer, read through `ticksNow`. Scopes of
/// one timer within each other are one interval, that of the outermost. With a null timer nothing
/// is measured and no clock is read. The timer must outlive the scope.
class ScopedTimer {
public:
    explicit ScopedTimer(NestedTimer* t);
    ~ScopedTimer();
    ScopedTimer(const ScopedTimer&) = delete;
    ScopedTimer& operator=(const ScopedTimer&) = delete;

    /// Leaves the present timer for `t` (each may be null), as if this scope ended and another
    /// began. If one interval ends and another begins thereby, they meet in one reading of the
    /// clock: no time is lost between them. Does nothing if `t` is the present timer.
    void switchTo(NestedTimer* t);

private:
    NestedTimer* mTimer;
};
