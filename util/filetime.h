#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <ostream>
#include <string>

/// A point in time: the ticks of 100 ns since 1 January 1601 UTC, as Windows counts file times, and
/// the nanoseconds below one tick. A plain value; only the time stamp depends on the time zone.
///
/// No operation checks its range: the ticks wrap around at 64 bits.
class FileTime {
public:
    static constexpr uint64_t ticksPerSecond = 10'000'000;  ///< a tick is 100 ns
    /// From 1 January 1601 to 1 January 1970.
    static constexpr uint64_t secondsToUnixEpoch = 11'644'473'600;
    /// From 1 January 1601 to 1 January 1970.
    static constexpr uint64_t ticksToUnixEpoch = secondsToUnixEpoch * ticksPerSecond;

    /// The whole seconds of the ticks since 1970, rounded towards zero, and the rest with `nanos`
    /// added. The rest may be negative before 1970. The two add up to the time as long as its
    /// seconds fit in 32 bits: see `unixTime`.
    struct UnixNanoseconds {
        int64_t seconds;      ///< since 1970
        int32_t nanoseconds;  ///< the rest; negative before 1970
    };
    /// The same with microseconds.
    struct UnixMicroseconds {
        int64_t seconds;       ///< since 1970
        int32_t microseconds;  ///< the rest; negative before 1970
    };

    /// Tick 0.
    constexpr FileTime() = default;
    /// `nanoseconds` may have any value: whole ticks in it are added to the ticks, and a negative
    /// rest borrows one tick.
    FileTime(uint64_t ticks, int32_t nanoseconds);
    /// The same from seconds since 1970.
    [[nodiscard]] static FileTime fromUnixTime(int64_t seconds, int32_t nanoseconds);
    /// From 100 ns since 1970.
    [[nodiscard]] static FileTime fromUnixTicks(int64_t count);
    /// The system's clock, in whole ticks.
    [[nodiscard]] static FileTime now();

    /// Returns the whole ticks since 1601.
    [[nodiscard]] constexpr uint64_t ticks() const { return mTicks; }
    /// 0 to 99.
    [[nodiscard]] constexpr int32_t nanos() const { return mNanos; }

    /// The seconds are truncated to 32 bits and sign-extended, for callers that store them in 32
    /// bits. From January 2038 on they no longer match the point in time, and are negative at
    /// first.
    [[nodiscard]] UnixNanoseconds unixTime() const;
    /// The same, with the nanoseconds truncated to whole microseconds.
    [[nodiscard]] UnixMicroseconds unixTimeInMicroseconds() const;
    /// 100 ns since 1970; `nanos` isn't included.
    [[nodiscard]] int64_t unixTicks() const;

    /// `count` may be negative.
    void addNanoseconds(int64_t count);
    /// `count` wraps around, so that a negative number of seconds may be passed as well.
    void addSeconds(uint64_t count);

    /// Times are equal if their ticks and their nanoseconds are.
    friend constexpr bool operator==(const FileTime&, const FileTime&) = default;

private:
    uint64_t mTicks = 0;
    int32_t mNanos = 0;
};

/// Writes the time stamp: local date and time to the second, and the zone, as in
/// "2009-02-13T18:31:30+0500". See `timeStampText`. If the runtime has no local date for the time
/// (a second or more before 1970, or after the year 3000), the date and time are left out.
std::ostream& operator<<(std::ostream& stream, const FileTime& time);

/// Returns a time stamp made from its parts. If `local` has no value, the date and time are left
/// out.
///
/// `secondsWest` is the standard offset of the zone, positive west of Greenwich. It is written with
/// its own sign, the reverse of ISO 8601, because the readers of these stamps expect that: New York
/// is "+0500". An offset of less than a minute is written as "Z".
[[nodiscard]] std::string timeStampText(const std::optional<std::tm>& local, int32_t secondsWest);

/// Returns the date and time in this process's zone, or no value if the C runtime rejects the time.
[[nodiscard]] std::optional<std::tm> localTime(int64_t secondsSince1970);

/// Returns the standard offset (without summer time) of this process's zone, in seconds west of
/// UTC. The C runtime determines the zone once; a program that changes TZ later must call `tzset`.
/// Don't call this function while another thread calls `tzset`.
[[nodiscard]] int32_t secondsWestOfUtc();
