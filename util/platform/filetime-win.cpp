#include "util/platform/filetime-win.h"

#include <cstdint>
#include <ctime>
#include <optional>

FileTime FileTime::now() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return fromWindowsTime(time);
}

std::optional<std::tm> localTime(int64_t secondsSince1970) {
    // The runtime's buffer belongs to this thread.
    const std::tm* local = _localtime64(&secondsSince1970);
    return local == nullptr ? std::nullopt : std::optional(*local);
}

int32_t secondsWestOfUtc() {
    // The runtime's function for this isn't in every import library. The variable holds the same
    // value, and reading it can't fail. Until the time zone is read for the first time, the
    // variable holds a default of the runtime.
    [[maybe_unused]] static const bool looked = (_tzset(), true);
    return static_cast<int32_t>(_timezone);
}
