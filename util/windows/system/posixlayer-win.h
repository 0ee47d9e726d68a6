#pragma once

#include <cstdint>
#include <cstdio>

#include <winsock2.h>
#include <windows.h>

#include "util/platform/errorstate-win.h"
#include "util/windows/callresult.h"

// What portable code expects of POSIX, with Windows handles instead of file descriptors. Unless
// noted otherwise, a result of callFailed comes with the error in GetLastError. Any thread may call
// these; a position belongs to its handle.

/// POSIX calls for Windows handles.
namespace posixlayer {

/// Returns the id of this process.
[[nodiscard]] int getpid();

/// Stores the size of a file, in bytes, in `*size`.
[[nodiscard]] CallResult fileSize(HANDLE file, uint64_t* size);
/// Reads from a file. Returns the number of bytes read, or 0 at the end of the file. The end of a
/// pipe is a failure (ERROR_BROKEN_PIPE).
[[nodiscard]] int64_t readFile(HANDLE file, void* buffer, uint32_t count);
/// Writes to a file. Returns the number of bytes written. Waits for a locked part of the file as
/// writeWithRetry does.
[[nodiscard]] int64_t writeFile(HANDLE file, const void* buffer, uint32_t count);
/// Moves the position by `offset`, from the current position (`whence` is SEEK_CUR), from the end
/// (SEEK_END), or from the start (SEEK_SET and any other value). Returns the new position.
[[nodiscard]] int64_t seekFile(HANDLE file, int64_t offset, int whence);
/// Cuts or extends a file to `size` bytes. The position stays.
[[nodiscard]] CallResult truncateFile(HANDLE file, int64_t size);

/// What `fcntl` takes.
enum : int {
    setDescriptorFlags = 2,  ///< the only command
    closeOnExec = 1,         ///< the only argument
};

/// With setDescriptorFlags and closeOnExec, child processes don't inherit `handle`. Throws
/// std::invalid_argument for any other command or argument.
[[nodiscard]] CallResult fcntl(HANDLE handle, int command, int argument);

/// Makes a SOCKET blocking or non-blocking. The error of a failure is in WSAGetLastError.
[[nodiscard]] CallResult setNonBlocking(uintptr_t socket, bool nonBlocking);
/// Whether the last socket call failed because it would have blocked, or because a call is in
/// progress.
[[nodiscard]] bool wouldBlock();

/// Nothing wakes the thread up earlier.
void sleepMilliseconds(uint32_t milliseconds);

/// Runs the program `words[0]`, which is searched for in `PATH`. `words` has at least one word, and
/// ends with a null. The words are the command line, joined by spaces and not quoted: a word that
/// contains a space arrives as two.
///
/// With `wait` the result is the program's exit code, otherwise its process handle, which the
/// caller closes. Returns callFailed with errno set on failure.
[[nodiscard]] intptr_t spawnWords(const char* const* words, bool wait);

/// Takes the place of a call that has no meaning on Windows: an assertion stops the process.
[[noreturn]] void meaninglessCall();

/// Clears the two error numbers of the thread, those of GetLastError and of WSAGetLastError.
void clearLastError();
/// Returns one of the two, as ErrorState::select does.
[[nodiscard]] uint32_t lastError(WhichError which);
/// Stores both numbers of the thread, as ErrorState::save does.
void saveLastError(ErrorState& state);
/// Sets both numbers of the thread, as ErrorState::restore does.
void restoreLastError(const ErrorState& state);

}  // namespace posixlayer
