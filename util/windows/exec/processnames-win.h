#pragma once

// The programs behind processes, and processes behind processes. Any thread may call these.

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include <windows.h>

/// Room for the name of a process's program.
inline constexpr size_t processNameRoom = 260;
using ProcessName = std::array<wchar_t, processNameRoom>;

/// Puts the file of a process's program into `name`, which has room for `processNameRoom`
/// characters: as the kernel names it ("\Device\..."), or else, cut if it is longer, from the
/// memory of the process, as that was started. Empty if neither can be had. The handle needs
/// PROCESS_QUERY_INFORMATION and PROCESS_VM_READ.
void processImageName(HANDLE process, wchar_t* name);

/// A handle of the process, for the caller to close, if it is the host of 16-bit programs, which
/// can hang in a dialog; otherwise INVALID_HANDLE_VALUE. A failure is a line in `log`. Without the
/// system's function for names every later call fails without a word.
HANDLE getNtvdm(uint32_t pid, std::ostream& log);

/// Appends the children of the listed processes, in one pass over the processes of the system: a
/// child that is found can bring its own with it, if it comes before them. The id 0xffffffff stands
/// for the parent of every process. Nothing is added if the system can't be asked.
void addChildProcesses(std::vector<uint32_t>& pids);
