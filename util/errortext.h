#pragma once

#include <cstdint>
#include <string>

#include "util/whicherror.h"

/// Returns the text of an error for use within a sentence: the system's message without its line
/// end and full stop, or "Error NUMBER" if the system has no message (hexadecimal from 0x80000000
/// on). With `withCode`, " (error code NUMBER)" follows, in decimal.
///
/// `which` selects the number; the value at `error` is used as the system's:
///
///     errorOfEither     the value at `error`, or the socket error if that value is 0
///     errorOfSystem     the value at `error`
///     errorOfSockets    the socket error
///
/// If `error` is null, the value of GetLastError is used in its place, or the value of
/// WSAGetLastError if GetLastError is 0.
///
/// Neither error number is changed, and only std::bad_alloc is thrown. The text is UTF-8. Any
/// thread may call it.
///
/// Natively `which` has no effect: the number is the value at `error`, or errno if `error` is null,
/// and the text is the C library's message.
[[nodiscard]] std::string errorText(bool withCode, const uint32_t* error, WhichError which);
