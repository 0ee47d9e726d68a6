#include "util/windows/system/posixlayer-win.h"

#include <process.h>
#include <stdexcept>

#include "util/assertion.h"
#include "util/stringformat.h"
#include "util/windows/system/files-win.h"

int posixlayer::getpid() { return _getpid(); }

CallResult posixlayer::fileSize(HANDLE file, uint64_t* size) {
    DWORD high = 0;
    const DWORD low = GetFileSize(file, &high);
    if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
        return callFailed;
    }
    *size = uint64_t{high} << 32 | low;
    return callSucceeded;
}

int64_t posixlayer::readFile(HANDLE file, void* buffer, uint32_t count) {
    DWORD read = 0;
    return ReadFile(file, buffer, count, &read, /*lpOverlapped=*/nullptr) ? int64_t{read}
                                                                          : int64_t{callFailed};
}

int64_t posixlayer::writeFile(HANDLE file, const void* buffer, uint32_t count) {
    return writeWithRetry(file, buffer, count);
}

int64_t posixlayer::seekFile(HANDLE file, int64_t offset, int whence) {
    const DWORD method = whence == SEEK_CUR   ? FILE_CURRENT
                         : whence == SEEK_END ? FILE_END
                                              : FILE_BEGIN;
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    LARGE_INTEGER position;
    return SetFilePointerEx(file, distance, &position, method) ? position.QuadPart
                                                               : int64_t{callFailed};
}

CallResult posixlayer::truncateFile(HANDLE file, int64_t size) {
    const int64_t position = seekFile(file, 0, SEEK_CUR);
    if (position < 0 || seekFile(file, size, SEEK_SET) < 0) {
        return callFailed;
    }
    const bool cut = SetEndOfFile(file);
    const DWORD error = GetLastError();
    if (seekFile(file, position, SEEK_SET) < 0) {
        return callFailed;
    }
    if (!cut) {
        SetLastError(error);
        return callFailed;
    }
    return callSucceeded;
}

CallResult posixlayer::fcntl(HANDLE handle, int command, int argument) {
    if (command != setDescriptorFlags || argument != closeOnExec) {
        // Compatibility: the text names the command even if the argument is the unknown one.
        throw std::invalid_argument(format(64, "fcntl received unknown command %d", command));
    }
    return SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0) ? callSucceeded : callFailed;
}

CallResult posixlayer::setNonBlocking(uintptr_t socket, bool nonBlocking) {
    u_long value = nonBlocking ? 1 : 0;
    return ioctlsocket(socket, static_cast<long>(FIONBIO), &value) == 0 ? callSucceeded
                                                                        : callFailed;
}

bool posixlayer::wouldBlock() {
    const int error = WSAGetLastError();
    return error == WSAEWOULDBLOCK || error == WSAEINPROGRESS;
}

void posixlayer::sleepMilliseconds(uint32_t milliseconds) {
    SleepEx(milliseconds, /*bAlertable=*/FALSE);
}

intptr_t posixlayer::spawnWords(const char* const* words, bool wait) {
    return _spawnvp(wait ? _P_WAIT : _P_NOWAIT, words[0], words);
}

void posixlayer::meaninglessCall() { assertFailed("0", __FILE__, __LINE__); }

void posixlayer::clearLastError() {
    SetLastError(0);
    WSASetLastError(0);
}

uint32_t posixlayer::lastError(WhichError which) { return ErrorState::current().select(which); }

void posixlayer::saveLastError(ErrorState& state) { state.save(); }

void posixlayer::restoreLastError(const ErrorState& state) { state.restore(); }
