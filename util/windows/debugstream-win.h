#pragma once

// Text for the debugger, from places that have no other way to report a failure.

#include <cstdint>
#include <exception>
#include <ostream>
#include <sstream>

/// Collects text and passes it to the debugger at each `sync`.
class DebugStreambuf : public std::stringbuf {
public:
    ~DebugStreambuf() override;

protected:
    /// Passes all the text since the last call, line ends included, unchanged to one call of
    /// OutputDebugStringA; without text, makes no call. Returns 0. The debugger sees the text up to
    /// its first NUL character.
    int sync() override;
};

/// A stream to the debugger. Create a temporary one, write to it, and end with std::endl or leave
/// the rest to the destructor. Without a debugger, the system drops the text.
///
///     DebugStream() << "closing " << name << ": " << failure.what() << std::endl;
///
/// Only the thread that created a stream may use it. Several at once don't mix their texts.
class DebugStream : public std::ostream {
public:
    DebugStream();
    /// Passes on the remaining text, even if the stream is bad, and deletes the buffer. A buffer
    /// that has replaced the stream's own is deleted as well if it is a std::stringbuf; any other
    /// is left alone.
    ~DebugStream() override;
};

/// For destructors and clean-up code, which must not throw: writes one line to the debugger, the
/// `what()` of a Win32Exception for the failed `call` with the number of GetLastError.
///
///     if (!FreeLibrary(module)) {
///         debugFailure("FreeLibrary");
///     }
///
/// If there is no memory for the line, it is lost.
void debugFailure(const char* call) noexcept;
/// The same with a number that the call returned.
void debugFailure(const char* call, uint32_t error) noexcept;
/// The same for a failure that was caught.
void debugFailure(const std::exception& failure) noexcept;
