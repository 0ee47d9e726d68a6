#pragma once

#include <cstdint>

#include "util/whicherror.h"

/// The two error numbers of a thread.
///
///     const ErrorState failure = ErrorState::current();
///     ...                                         // may fail as well
///     text << "can't read: " << failure;          // errortext-win.h
struct ErrorState {
    /// Returns the current numbers of the calling thread.
    [[nodiscard]] static ErrorState current();

    /// Takes the current numbers of the calling thread.
    void save() { *this = current(); }
    /// Sets the numbers of the calling thread. Windows stores both in one place: if they differ,
    /// both read as the Windows number afterwards.
    void restore() const;

    /// Returns one of the two numbers:
    ///
    ///     which             result
    ///     errorOfEither     the Windows number, or the socket number if that is 0
    ///     errorOfSystem     the Windows number
    ///     errorOfSockets    the socket number
    ///     other             as for errorOfEither
    [[nodiscard]] uint32_t select(WhichError which) const;

    uint32_t mWindowsError = 0;  ///< of GetLastError
    uint32_t mSocketError = 0;   ///< of WSAGetLastError
};
