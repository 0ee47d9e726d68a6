#include "util/platform/errorstate-win.h"

#include <winsock2.h>
#include <windows.h>

ErrorState ErrorState::current() {
    // GetLastError comes first of all: WSAGetLastError might change it.
    const DWORD windowsError = GetLastError();
    const int socketError = WSAGetLastError();
    return {windowsError, static_cast<uint32_t>(socketError)};
}

void ErrorState::restore() const {
    // In this order: Windows stores both in one place, and the Windows number must remain.
    WSASetLastError(static_cast<int>(mSocketError));
    SetLastError(mWindowsError);
}

uint32_t ErrorState::select(WhichError which) const {
    switch (which) {
        case errorOfSystem:
            return mWindowsError;
        case errorOfSockets:
            return mSocketError;
        default:
            return mWindowsError != 0 ? mWindowsError : mSocketError;
    }
}
