#pragma once

#include <utility>

#include <windows.h>

/// Owns a Windows handle that CloseHandle closes.
///
///     ScopedHandle token;
///     if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.receive())) { ... }
///
/// Null and -1 (INVALID_HANDLE_VALUE, also the pseudo handle of the own process) are allowed and
/// are never closed. The defaults of the constructor name the place where the object is made, for
/// the debugger to read should the handle not be closable; both texts must outlive the object.
/// One thread at a time.
class ScopedHandle {
public:
    explicit ScopedHandle(HANDLE handle = nullptr, const char* file = __builtin_FILE(),
                          int line = __builtin_LINE(),
                          const char* function = __builtin_FUNCTION()) noexcept
        : mHandle(handle), mFile(file), mLine(line), mFunction(function) {}
    ~ScopedHandle() { release(); }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;

    HANDLE get() const { return mHandle; }
    /// Whether there is a handle to close: neither null nor -1.
    bool isOpen() const { return mHandle != nullptr && mHandle != INVALID_HANDLE_VALUE; }

    /// Releases what is held and gives the place for a Windows call to put a new handle.
    HANDLE* receive() noexcept;

    /// Hands the handle over to the caller, and holds -1 from then on.
    HANDLE detach() noexcept { return std::exchange(mHandle, INVALID_HANDLE_VALUE); }

    /// Closes the handle, if there is one, and holds -1 from then on. A failure goes to the
    /// debugger as "FUNCTION@FILE:LINE:  " and the words of a Win32Exception. Never throws.
    void release() noexcept;

private:
    HANDLE mHandle;
    const char* mFile;
    int mLine;
    const char* mFunction;
};
