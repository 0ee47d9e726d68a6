#pragma once

#include <windows.h>

namespace testing_support {

/// Waits for a process's end. True also if it has long been gone.
inline bool ends(DWORD pid) {
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, pid);
    if (process == nullptr) {
        return true;
    }
    const DWORD result = WaitForSingleObject(process, 30000);
    CloseHandle(process);
    return result == WAIT_OBJECT_0;
}

}  // namespace testing_support
