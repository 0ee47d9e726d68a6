#pragma once

#include <cstdint>

#include <winsock2.h>
#include <windows.h>

#include "util/windows/errorstate-win.h"

// What portable code expects of POSIX, on Windows handles in place of file descriptors. Unless told
// otherwise a result of -1 is a failure, which is in GetLastError. Any thread may call these; a
// position belongs to its handle.

namespace posixlayer {

int getpid();

/// Gets the size of a file in bytes. 0, or -1.
int fileSize(HANDLE file, uint64_t* size);
/// The number of bytes read, 0 at the end of the file; the end of a pipe is a failure
/// (ERROR_BROKEN_PIPE).
int64_t readFile(HANDLE file, void* buffer, uint32_t count);
/// The number of bytes written; a part of the file that is locked is waited for (writeWithRetry).
int64_t writeFile(HANDLE file, const void* buffer, uint32_t count);
/// Moves by `offset` from the present position (a `whence` of 1), from the end (2), or from the
/// start (any other). The new position.
int64_t seekFile(HANDLE file, int64_t offset, int whence);
/// Cuts or extends a file; the position stays. 0, or -1.
int truncateFile(HANDLE file, int64_t size);

/// Only setting close-on-exec is there (command 2 with argument 1): child processes don't inherit
/// `handle`. 0, or -1. Throws std::invalid_argument for anything else.
int fcntl(HANDLE handle, int command, int argument);

/// 0, or -1 with the failure in WSAGetLastError. `socket` is a SOCKET.
int setNonBlocking(uintptr_t socket, bool nonBlocking);
/// Whether the last socket call failed because it would have blocked, or one is in progress.
bool wouldBlock();

void sleepMilliseconds(uint32_t milliseconds);

/// Runs the program `words[0]`, searched for in `PATH`, with all of `words`, at least one, which a
/// null ends. They are joined by blanks and not quoted: a word with a blank arrives as two. With
/// `wait` the program's exit code, else its process handle, which the caller closes. -1 with errno
/// set on failure.
intptr_t spawnWords(const char* const* words, bool wait);

/// Stands for a call that has no meaning on Windows: an assertion stops the process.
[[noreturn]] void meaninglessCall();

/// Clears the two error numbers of the thread.
void clearLastError();
/// One of the two, as ErrorState::select has it.
uint32_t lastError(int kind);
void saveLastError(ErrorState& state);
void restoreLastError(const ErrorState& state);

}  // namespace posixlayer
