#pragma once

// The names of the programs that processes run, and the children of processes. Any thread may call
// these functions.

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include <windows.h>

/// Capacity, in characters, for the name of a process's program.
inline constexpr size_t processNameRoom = MAX_PATH;
using ProcessName = std::array<wchar_t, processNameRoom>;  ///< for one name and its NUL

/// Writes the file name of a process's program to `name`, which has capacity for `processNameRoom`
/// characters. The name is the kernel's ("\Device\..."). If the kernel gives none, it is the name
/// that the process was started with, from the memory of the process, truncated if it is longer.
/// Empty if neither is available. The handle needs PROCESS_QUERY_INFORMATION and PROCESS_VM_READ.
void processImageName(HANDLE process, wchar_t* name);

/// If the process is the host of 16-bit programs (ntvdm), returns a handle of it, which the caller
/// closes; otherwise INVALID_HANDLE_VALUE. A plain handle, since callers know it as one. Such a
/// host can hang in a dialog. A failure is logged as one line. If the system lacks the function for
/// names, only the first call logs that.
[[nodiscard]] HANDLE getNtvdm(uint32_t pid, std::ostream& log);

/// In a list of processes: the parent of every process.
inline constexpr uint32_t everyParent = 0xffffffff;

/// Appends the children of the listed processes, in one pass over the processes of the system. The
/// children of a child are found only if the system lists them after it. The list may contain
/// everyParent. Adds nothing if the system can't be queried.
void addChildProcesses(std::vector<uint32_t>& pids);
