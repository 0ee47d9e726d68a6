#include "util/windows/scopedhandle-win.h"

#include <exception>
#include <ostream>

#include "util/platform/errortext-win.h"
#include "util/windows/debugstream-win.h"

HANDLE* ScopedHandle::receive() noexcept {
    release();
    return &mHandle;
}

void ScopedHandle::release() noexcept {
    if (!isOpen()) {
        return;
    }
    const bool closed = CloseHandle(mHandle) != FALSE;
    mHandle = INVALID_HANDLE_VALUE;
    if (closed) {
        return;
    }
    try {
        const Win32Exception failure("CloseHandle");
        DebugStream() << mFunction << "@" << mFile << ":" << mLine << ":  " << failure.what()
                      << std::endl;
    } catch (const std::exception&) {
        // No memory for the message: the failure can't be reported.
        return;
    }
}
