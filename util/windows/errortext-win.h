#pragma once

// Failed Windows calls: the exceptions that name them, and the words for their numbers.
//
//     if (!CopySid(size, to, from)) {
//         throw Win32Exception("CopySid");  // "CopySid: Access is denied. (5)"
//     }
//
// `context` is the bare name of the failed call everywhere, if need be with a remark:
// "GetTokenInformation(size query)". It must not be null.
//
// No function here changes the thread's GetLastError or WSAGetLastError. A number that the system
// has no words for gets a text all the same; nothing but std::bad_alloc is ever thrown. Texts are
// UTF-8. Every function may be called by any thread.

#include <cstdint>
#include <iosfwd>
#include <stdexcept>
#include <string>

#include "util/errortext.h"
#include "util/windows/errorstate-win.h"

/// A failed Windows call; `what()` is its win32ErrorText. Catch it by reference to test the number.
class Win32Exception : public std::runtime_error {
public:
    /// Takes GetLastError, before anything else runs.
    explicit Win32Exception(const char* context);
    Win32Exception(const char* context, uint32_t error);
    ~Win32Exception() override;

    uint32_t mError;
};

/// A failed call of the NT layer; `what()` is its ntErrorText.
class NtException : public std::runtime_error {
public:
    NtException(const char* context, uint32_t status);
    ~NtException() override;

    uint32_t mStatus;
};

/// "CONTEXT: SENTENCE (NUMBER)": the system's sentence without its line end, or "Windows error
/// NUMBER" if it has none, one of over 499 characters, or one with a gap to fill. The number in
/// brackets is decimal, or hexadecimal ("0x80070005") if it is negative.
std::string win32ErrorText(const char* context, int error);

/// The same for an NTSTATUS, with the sentence from NTDLL, or "NT error 0xNNNNNNNN" if that has
/// none. The number in brackets is always hexadecimal.
std::string ntErrorText(const char* context, uint32_t status);

/// The text that `errorText` gives, kept by the calling thread: the pointer is good until this
/// thread calls again or ends. A null `error` is as good as one that points at GetLastError.
const char* lastErrorText(bool withCode, const uint32_t* error, int which);

/// `text` and behind it the words for GetLastError, as errorText without the code has them.
std::string withLastError(const char* text);

/// One error number that is to be put into words.
struct ErrorNumber {
    uint32_t mNumber = 0;
};

/// Writes the errorText, without the code, of `number`.
std::ostream& operator<<(std::ostream& out, ErrorNumber number);
/// The same of the Windows number of `state`, or of its socket number if that is 0.
std::ostream& operator<<(std::ostream& out, const ErrorState& state);
