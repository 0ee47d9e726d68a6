#pragma once

#include <cstdint>
#include <string>

#include <windows.h>

#include "util/windows/exec-win.h"

/// One wait for a process: what it is for, and how far it has come.
struct Exec::Wait {
    HANDLE process;
    uint32_t pid;
    const char* command;
    std::string* failureText;
    bool* stalled;
    const std::string& workingDirectory;
    const char* environment;
    void* passThrough;
    bool reported;  ///< the stall has been told of
};

/// QueryInformationJobObject, which for no job would answer about the one that holds this process:
/// that fails with ERROR_INVALID_HANDLE here.
bool queryJob(const ScopedHandle& job, JOBOBJECTINFOCLASS what, void* answer, DWORD size);

/// Milliseconds between two looks at a process.
inline constexpr int32_t wakeInterval = 500;
