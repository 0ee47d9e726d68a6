#pragma once

#include <windows.h>

namespace testing_support {

/// Waits for up to half a minute until a process ends. Returns true also if it ended long ago.
[[nodiscard]] inline bool ends(DWORD pid) {
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, pid);
    if (process == nullptr) {
        return true;
    }
    const DWORD result = WaitForSingleObject(process, 30000);
    CloseHandle(process);
    return result == WAIT_OBJECT_0;
}

}  // namespace testing_support
