#pragma once

#include <cstdint>

/// A count of ticks of the system's performance counter: a point in time or a duration, which are
/// one type here, so that the difference of two points is again `Ticks`. A plain value; the larger
/// of two is std::max's. How many ticks a second has is the machine's affair: see `frequency`.
class Ticks {
public:
    constexpr Ticks() = default;
    constexpr explicit Ticks(int64_t count) : mCount(count) {}

    /// The counter's present reading. Never fails: a counter that can't be read is read again.
    /// Measurements read the clock through `ticksNow` instead, so that it can be replaced.
    static Ticks now();
    /// Ticks per second. Asked of the system once, and the same to the end of the process.
    static double frequency();
    /// The ticks in `seconds`, the fraction of a tick cut off. Asserts that `seconds` is neither
    /// negative nor a NaN. More seconds than 63 bits of ticks hold have no defined result.
    static Ticks fromSeconds(double seconds);

    /// The low 50 bits of the count as seconds. Use it for a difference or for a counter of
    /// moderate size (50 bits are 3 years at 10 MHz): higher bits are lost, and with them the sign,
    /// so that a negative count comes out as some large time.
    double seconds() const;
    constexpr int64_t count() const { return mCount; }

    constexpr Ticks& operator+=(Ticks duration) {
        mCount += duration.mCount;
        return *this;
    }
    friend constexpr Ticks operator-(Ticks a, Ticks b) { return Ticks(a.mCount - b.mCount); }
    friend constexpr bool operator<(Ticks a, Ticks b) { return a.mCount < b.mCount; }
    friend constexpr bool operator==(Ticks a, Ticks b) { return a.mCount == b.mCount; }

private:
    static double queryFrequency();

    int64_t mCount = 0;
};

/// The clock of all measuring in this process, `Ticks::now` at first. A test or a simulation may
/// put its own function here, at a moment when no other thread measures.
extern Ticks (*ticksNow)();
