#pragma once

#include <cstdint>

/// The two error numbers that a thread has.
///
///     const ErrorState failure = ErrorState::current();
///     ...                                         // may fail as well
///     text << "can't read: " << failure;          // errortext-win.h
struct ErrorState {
    /// What the calling thread has now.
    static ErrorState current();

    void save() { *this = current(); }
    /// Gives the numbers back to the calling thread. The two share one place in Windows: where
    /// they differ, both read as the Windows number afterwards.
    void restore() const;

    /// One of the two: for a `which` of 0, the Windows number, or the socket number if that is 0;
    /// 1, the Windows number; 2, the socket number. Any other `which` counts as 0.
    uint32_t select(int which) const;

    uint32_t mWindowsError = 0;
    uint32_t mSocketError = 0;
};
