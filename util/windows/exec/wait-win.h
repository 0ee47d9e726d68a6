#pragma once

#include <cstdint>
#include <string>

#include <windows.h>

#include "util/windows/exec-win.h"

/// One wait for a process: its parameters and its progress.
struct Exec::Wait {
    HANDLE process;
    uint32_t pid;
    const char* command;
    std::string* failureText;
    bool* stalled;
    const std::string& workingDirectory;
    const char* environment;
    void* passThrough;
    bool reported;  ///< the stall has been reported
};

/// Calls QueryInformationJobObject. If `job` isn't open, fails with ERROR_INVALID_HANDLE: the
/// system would answer about the job that holds this process.
[[nodiscard]] bool queryJob(const ScopedHandle& job, JOBOBJECTINFOCLASS what, void* answer,
                            DWORD size);

/// Milliseconds between two checks of a process.
inline constexpr int32_t wakeInterval = 500;
