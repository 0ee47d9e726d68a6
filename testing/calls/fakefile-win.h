#pragma once

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Until the scope ends, this program's CreateFileW opens nothing and always returns the same
/// handle. Closing that handle is counted and has no other effect. Other handles are closed as
/// usual. At most one object at a time, in one thread.
class [[nodiscard]] FakeFile {
public:
    FakeFile() {
        sCloses = 0;
        sClose = mClose.original();
    }

    /// Returns how often the handle was closed.
    int closes() const { return sCloses; }

private:
    static inline int sCloses = 0;
    static inline decltype(CloseHandle)* sClose = nullptr;

    static HANDLE handle() { return reinterpret_cast<HANDLE>(0x1234); }
    static HANDLE WINAPI open(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
        return handle();
    }
    static BOOL WINAPI close(HANDLE closed) {
        if (closed != handle()) {
            return sClose(closed);
        }
        ++sCloses;
        return TRUE;
    }

    ReplacedCall<decltype(CreateFileW)> mOpen{"CreateFileW", open};
    ReplacedCall<decltype(CloseHandle)> mClose{"CloseHandle", close};
};

}  // namespace testing_support
