#pragma once

// Text for the debugger, from places where nothing else can be done with a failure.

#include <cstdint>
#include <exception>
#include <ostream>
#include <sstream>

/// Hands the text that it has gathered to the debugger at each `sync`.
class DebugStreambuf : public std::stringbuf {
public:
    ~DebugStreambuf() override;

protected:
    /// One call of OutputDebugStringA with all the text since the last one, lines and all, as it
    /// is; no call without text. Returns 0. A text ends early at a NUL character.
    int sync() override;
};

/// A stream to the debugger: make a temporary one, write, end with std::endl or leave the rest to
/// the destructor. Without a debugger the system drops the text.
///
///     DebugStream() << "closing " << name << ": " << failure.what() << std::endl;
///
/// A stream belongs to the thread that made it. Several at once don't mix their texts.
class DebugStream : public std::ostream {
public:
    DebugStream();
    /// Hands over what is left, on a stream gone bad as well, and deletes the buffer. A buffer that
    /// was put in place of the stream's own is deleted as well if it is a std::stringbuf, and left
    /// alone otherwise.
    ~DebugStream() override;
};

/// For destructors and clean-up code, which must not throw: one line to the debugger, the `what()`
/// of a Win32Exception for the failed `call` with the number of GetLastError.
///
///     if (!FreeLibrary(module)) {
///         debugFailure("FreeLibrary");
///     }
///
/// Lack of memory loses the line.
void debugFailure(const char* call) noexcept;
/// The same with a number that the call returned.
void debugFailure(const char* call, uint32_t error) noexcept;
/// The same for a failure that was caught.
void debugFailure(const std::exception& failure) noexcept;
