#pragma once

#include <windows.h>

namespace journal {

/// While one exists, a call in its thread fails at once where Windows would otherwise show a dialog
/// and wait: at a library that is damaged, or a drive without a medium.
class [[nodiscard]] NoErrorDialogs {
public:
    NoErrorDialogs() {
        SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &mBefore);
    }
    ~NoErrorDialogs() { SetThreadErrorMode(mBefore, /*lpOldMode=*/nullptr); }
    NoErrorDialogs(const NoErrorDialogs&) = delete;
    NoErrorDialogs& operator=(const NoErrorDialogs&) = delete;

private:
    DWORD mBefore = 0;
};

}  // namespace journal
