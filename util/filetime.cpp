#include "util/filetime.h"

#include <array>
#include <cstdlib>

#include "util/stringformat.h"

namespace {

constexpr int nanosecondsPerTick = 100;
constexpr int secondsPerMinute = 60;
constexpr int minutesPerHour = 60;

}  // namespace

FileTime::FileTime(uint64_t ticks, int32_t nanoseconds) : mTicks(ticks) {
    addNanoseconds(nanoseconds);
}

FileTime FileTime::fromUnixTime(int64_t seconds, int32_t nanoseconds) {
    return {(static_cast<uint64_t>(seconds) + secondsToUnixEpoch) * ticksPerSecond, nanoseconds};
}

FileTime FileTime::fromUnixTicks(int64_t count) {
    return {static_cast<uint64_t>(count) + ticksToUnixEpoch, 0};
}

FileTime::UnixNanoseconds FileTime::unixTime() const {
    constexpr auto perSecond = static_cast<int64_t>(ticksPerSecond);
    const int64_t count = unixTicks();
    const auto seconds = static_cast<int32_t>(count / perSecond);
    const auto rest = static_cast<int32_t>(count % perSecond);
    return {seconds, rest * nanosecondsPerTick + mNanos};
}

FileTime::UnixMicroseconds FileTime::unixTimeInMicroseconds() const {
    const UnixNanoseconds time = unixTime();
    return {time.seconds, time.nanoseconds / 1000};
}

int64_t FileTime::unixTicks() const { return static_cast<int64_t>(mTicks - ticksToUnixEpoch); }

void FileTime::addNanoseconds(int64_t count) {
    mTicks += static_cast<uint64_t>(count / nanosecondsPerTick);
    mNanos += static_cast<int32_t>(count % nanosecondsPerTick);
    if (mNanos >= nanosecondsPerTick) {
        mNanos -= nanosecondsPerTick;
        ++mTicks;
    } else if (mNanos < 0) {
        mNanos += nanosecondsPerTick;
        --mTicks;
    }
}

void FileTime::addSeconds(uint64_t count) { mTicks += count * ticksPerSecond; }

std::string timeStampText(const std::optional<std::tm>& local, int32_t secondsWest) {
    std::string text;
    if (local) {
        std::array<char, 256> buffer{};
        text.assign(buffer.data(),
                    std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%S", &*local));
    }
    const char sign = secondsWest < 0 ? '-' : '+';
    const int minutes = std::abs(secondsWest / secondsPerMinute);
    if (minutes == 0) {
        return text + 'Z';
    }
    return text + sign + format(32, "%02d%02d", minutes / minutesPerHour, minutes % minutesPerHour);
}

std::ostream& operator<<(std::ostream& stream, const FileTime& time) {
    // Uses all bits of the seconds. With the 32 bits of unixTime() the stamps would end in 2038.
    const int64_t seconds = time.unixTicks() / static_cast<int64_t>(FileTime::ticksPerSecond);
    return stream << timeStampText(localTime(seconds), secondsWestOfUtc());
}
