#pragma once

// Failed Windows calls: the exceptions that name them, and the messages for their numbers.
//
//     if (!CopySid(size, to, from)) {
//         throw Win32Exception("CopySid");  // "CopySid: Access is denied. (5)"
//     }
//
// `context` is always the bare name of the failed call, if necessary with a remark:
// "GetTokenInformation(size query)". It must not be null.
//
// No function here changes the thread's GetLastError or WSAGetLastError. A number for which the
// system has no message gets a text, too; only std::bad_alloc is ever thrown. Texts are UTF-8. Any
// thread may call any of these functions.

#include <cstdint>
#include <iosfwd>
#include <stdexcept>
#include <string>

#include "util/errortext.h"
#include "util/platform/errorstate-win.h"

/// A failed Windows call; `what()` is its win32ErrorText. Catch it by reference to test the number.
class Win32Exception : public std::runtime_error {
public:
    /// Takes the number from GetLastError, before anything else runs.
    explicit Win32Exception(const char* context);
    /// For a number that the failed call returned.
    Win32Exception(const char* context, uint32_t error);
    ~Win32Exception() override;

    uint32_t mError;  ///< as GetLastError returns it
};

/// A failed call of the NT layer; `what()` is its ntErrorText.
class NtException : public std::runtime_error {
public:
    /// For a status that the failed call returned.
    NtException(const char* context, uint32_t status);
    ~NtException() override;

    uint32_t mStatus;  ///< an NTSTATUS
};

/// Returns "CONTEXT: SENTENCE (NUMBER)". SENTENCE is the system's message without its line end. It
/// is "Windows error NUMBER" if the system has no message, one of over 499 characters, or one with
/// placeholders. The number in brackets is decimal, or hexadecimal ("0x80070005") if it is
/// negative.
[[nodiscard]] std::string win32ErrorText(const char* context, int error);

/// The same for an NTSTATUS, with the message from NTDLL, or "NT error 0xNNNNNNNN" if that has
/// none. The number in brackets is always hexadecimal.
[[nodiscard]] std::string ntErrorText(const char* context, uint32_t status);

/// Returns the text of `errorText`, stored for the calling thread: the pointer is valid until this
/// thread calls again or ends. A null `error` is the same as one that points at the value of
/// GetLastError.
[[nodiscard]] const char* lastErrorText(bool withCode, const uint32_t* error, WhichError which);

/// Returns `text` followed by the message for GetLastError, in the form of errorText without the
/// code.
[[nodiscard]] std::string withLastError(const char* text);

/// An error number to be written as text.
struct ErrorNumber {
    uint32_t mNumber = 0;  ///< as GetLastError returns it
};

/// Writes the errorText of `number`, without the code.
std::ostream& operator<<(std::ostream& out, ErrorNumber number);
/// The same for the Windows number of `state`, or for its socket number if that is 0.
std::ostream& operator<<(std::ostream& out, const ErrorState& state);
