#pragma once

#include <cstdint>

/// A count of ticks of the system's performance counter. It is a point in time or a duration: both
/// have the same type, so the difference of two points is `Ticks` again. A plain value; use
/// std::max for the larger of two. The number of ticks per second depends on the machine: see
/// `frequency`.
class Ticks {
public:
    constexpr Ticks() = default;
    /// From a number of ticks.
    constexpr explicit Ticks(int64_t count) : mCount(count) {}

    /// Returns the current value of the counter. Never fails: if the counter can't be read, it is
    /// read again. Measurements read the clock by `ticksNow` instead, so that it can be replaced.
    [[nodiscard]] static Ticks now();
    /// Returns the ticks per second. The system is asked once; the value never changes afterwards.
    [[nodiscard]] static double frequency();
    /// Returns the ticks in `seconds`, without the fraction of a tick. Asserts that `seconds` is
    /// neither negative nor a NaN. The result is undefined for more seconds than 63 bits of ticks
    /// hold.
    [[nodiscard]] static Ticks fromSeconds(double seconds);

    /// Returns the low 50 bits of the count as seconds. Use it for a difference, or for a counter
    /// of moderate size (50 bits are 3 years at 10 MHz). Higher bits are lost, including the sign,
    /// so a negative count becomes some large time.
    [[nodiscard]] double seconds() const;
    [[nodiscard]] constexpr int64_t count() const { return mCount; }  ///< may be negative

    /// Adds a duration to a point in time, or to another duration.
    constexpr Ticks& operator+=(Ticks duration) {
        mCount += duration.mCount;
        return *this;
    }
    /// Returns the duration between two points in time.
    friend constexpr Ticks operator-(Ticks a, Ticks b) { return Ticks(a.mCount - b.mCount); }
    /// Returns whether `a` is earlier, or shorter.
    friend constexpr bool operator<(Ticks a, Ticks b) { return a.mCount < b.mCount; }
    /// Returns whether both have the same count.
    friend constexpr bool operator==(Ticks a, Ticks b) { return a.mCount == b.mCount; }

private:
    static double queryFrequency();

    int64_t mCount = 0;
};

/// The clock of all measurements in this process, initially `Ticks::now`. A test or a simulation
/// may store its own function here while no other thread measures.
extern Ticks (*ticksNow)();
