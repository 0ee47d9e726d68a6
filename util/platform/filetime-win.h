#pragma once

#include <cstdint>

#include <windows.h>

#include "util/filetime.h"

/// Returns a Windows file time as a `FileTime` of whole ticks.
[[nodiscard]] inline FileTime fromWindowsTime(const FILETIME& time) {
    return {static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime, 0};
}

/// Returns `time` as a Windows file time; the nanoseconds below one tick are lost.
[[nodiscard]] inline FILETIME toWindowsTime(const FileTime& time) {
    return {/*dwLowDateTime=*/static_cast<DWORD>(time.ticks()),
            /*dwHighDateTime=*/static_cast<DWORD>(time.ticks() >> 32)};
}
