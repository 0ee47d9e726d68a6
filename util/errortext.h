#pragma once

#include <cstdint>
#include <string>

/// The words for an error as a part of somebody's sentence: the system's sentence without its line
/// end and full stop, or "Error NUMBER" if it has none (hexadecimal from 0x80000000 on). With
/// `withCode` follows " (error code NUMBER)", decimal.
///
/// `which` says where the number comes from: 0, the value at `error`, or the socket error if that
/// value is 0; 1, the value at `error`; 2, the socket error. A null `error` stands for the value
/// of GetLastError, or of WSAGetLastError if that is 0. A `which` other than these counts as 0.
///
/// Neither number is changed, and nothing but std::bad_alloc is thrown. The text is UTF-8; any
/// thread may call. Natively errno stands for both numbers of the system, and the words are those
/// of the C library.
std::string errorText(bool withCode, const uint32_t* error, int which);
