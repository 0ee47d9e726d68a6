#include "util/filetime.h"

FileTime FileTime::now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    const FileTime result = fromUnixTime(time.tv_sec, static_cast<int32_t>(time.tv_nsec));
    // Whole ticks only, like the clock of Windows.
    return {result.mTicks, 0};
}

std::optional<std::tm> localTime(int64_t secondsSince1970) {
    // The range of the Windows runtime: 1970 to 3000.
    constexpr int64_t last = 32'535'215'999;
    if (secondsSince1970 < 0 || secondsSince1970 > last) {
        return std::nullopt;
    }
    std::tm local{};
    localtime_r(&secondsSince1970, &local);  // fails for years that don't fit an int alone
    return local;
}

int32_t secondsWestOfUtc() {
    [[maybe_unused]] static const bool ran = (tzset(), true);  // GCOVR_EXCL_BR_LINE: second thread
    return static_cast<int32_t>(timezone);
}
