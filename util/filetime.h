#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <ostream>
#include <string>

/// A point in time: ticks of 100 ns since 1 January 1601 UTC, as Windows counts file times, and
/// the nanoseconds below one tick. A plain value; the zone comes in with the time stamp alone.
///
/// No operation checks its range: the ticks wrap around at 64 bits.
class FileTime {
public:
    static constexpr uint64_t ticksPerSecond = 10'000'000;
    /// From 1 January 1601 to 1 January 1970.
    static constexpr uint64_t secondsToUnixEpoch = 11'644'473'600;
    static constexpr uint64_t ticksToUnixEpoch = secondsToUnixEpoch * ticksPerSecond;

    /// The ticks' whole seconds since 1970, cut towards zero, and what is left with `nanos` added,
    /// which may be negative in front of 1970. The two add up to the time as long as 32 bits hold
    /// its seconds: see `unixTime`.
    struct UnixNanoseconds {
        int64_t seconds;
        int32_t nanoseconds;
    };
    struct UnixMicroseconds {
        int64_t seconds;
        int32_t microseconds;
    };

    /// Tick 0.
    constexpr FileTime() = default;
    /// Any count of nanoseconds: those that make up whole ticks go over to the ticks, and a
    /// negative rest borrows one from them.
    FileTime(uint64_t ticks, int32_t nanoseconds);
    /// The same from seconds since 1970.
    static FileTime fromUnixTime(int64_t seconds, int32_t nanoseconds);
    /// From 100 ns since 1970.
    static FileTime fromUnixTicks(int64_t count);
    /// The system's clock, to its tick.
    static FileTime now();

    constexpr uint64_t ticks() const { return mTicks; }
    /// 0 to 99.
    constexpr int32_t nanos() const { return mNanos; }

    /// The seconds are cut to 32 bits and sign-extended, for callers that keep them so: from
    /// January 2038 on they are no longer those of the point in time, and negative at first.
    UnixNanoseconds unixTime() const;
    /// The same, with the nanoseconds cut to whole microseconds.
    UnixMicroseconds unixTimeInMicroseconds() const;
    /// 100 ns since 1970; `nanos` is left out.
    int64_t unixTicks() const;

    /// `count` may be negative.
    void addNanoseconds(int64_t count);
    void addSeconds(uint64_t count);

    friend constexpr bool operator==(const FileTime&, const FileTime&) = default;

private:
    uint64_t mTicks = 0;
    int32_t mNanos = 0;
};

/// The time stamp: local date and time to the second, and the zone, as in
/// "2009-02-13T18:31:30+0500". See `timeStampText`. A time that the runtime has no local date for
/// (a second or more in front of 1970, or beyond the year 3000) leaves the date and time out.
std::ostream& operator<<(std::ostream& stream, const FileTime& time);

/// The text of a time stamp from its parts. No `local` leaves the date and time out.
///
/// `secondsWest` is the zone's standard offset, with a positive value west of Greenwich. It is
/// written with its own sign, the reverse of ISO 8601, as the readers of these stamps expect: New
/// York is "+0500". Less than a minute is written "Z".
std::string timeStampText(const std::optional<std::tm>& local, int32_t secondsWest);

/// The date and time in the zone of this process, or nothing if the C runtime refuses them.
std::optional<std::tm> localTime(int64_t secondsSince1970);

/// The standard offset (no summer time) of the zone of this process, in seconds west of UTC. The
/// C runtime looks the zone up once; a program that changes TZ later calls `tzset`. Not to be asked
/// while another thread calls that.
int32_t secondsWestOfUtc();
