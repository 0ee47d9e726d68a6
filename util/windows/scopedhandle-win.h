#pragma once

#include <utility>

#include <windows.h>

/// Owns a Windows handle that CloseHandle closes.
///
///     ScopedHandle token;
///     if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.receive())) { ... }
///
/// Null and -1 (INVALID_HANDLE_VALUE, also the pseudo handle of the current process) are allowed
/// and are never closed. The default arguments of the constructor name the place where the object
/// is created. The debugger gets that place if the handle can't be closed; both texts must outlive
/// the object. Only one thread at a time may use an object.
///
/// A moved handle takes its place along, and leaves -1 behind.
class [[nodiscard]] ScopedHandle {
public:
    /// Takes ownership of the handle. The other arguments are left to their defaults.
    explicit ScopedHandle(HANDLE handle = nullptr, const char* file = __builtin_FILE(),
                          int line = __builtin_LINE(),
                          const char* function = __builtin_FUNCTION()) noexcept
        : mHandle(handle), mFile(file), mLine(line), mFunction(function) {}
    ~ScopedHandle() { release(); }
    /// Takes the handle over; `other` holds -1 from then on.
    ScopedHandle(ScopedHandle&& other) noexcept
        : mHandle(other.detach()),
          mFile(other.mFile),
          mLine(other.mLine),
          mFunction(other.mFunction) {}
    /// Closes the handle that the object had, as `release` does.
    ScopedHandle& operator=(ScopedHandle&& other) noexcept {
        // A move to itself closes nothing.
        ScopedHandle moved(std::move(other));
        std::swap(mHandle, moved.mHandle);
        std::swap(mFile, moved.mFile);
        std::swap(mLine, moved.mLine);
        std::swap(mFunction, moved.mFunction);
        return *this;
    }

    /// Returns the handle, which stays with this object.
    [[nodiscard]] HANDLE get() const { return mHandle; }
    /// Returns whether there is a handle to close: neither null nor -1.
    [[nodiscard]] bool isOpen() const {
        return mHandle != nullptr && mHandle != INVALID_HANDLE_VALUE;
    }

    /// Closes the handle, if there is one, and returns the address where a Windows call can store a
    /// new one.
    [[nodiscard]] HANDLE* receive() noexcept;

    /// Hands the handle over to the caller, and holds -1 from then on.
    [[nodiscard]] HANDLE detach() noexcept { return std::exchange(mHandle, INVALID_HANDLE_VALUE); }

    /// If there is a handle to close, closes it and then holds -1. A failure goes to the debugger
    /// as "FUNCTION@FILE:LINE:  " and the text of a Win32Exception. Never throws.
    void release() noexcept;

private:
    HANDLE mHandle;
    const char* mFile;
    int mLine;
    const char* mFunction;
};
