#pragma once

#include <string>

#include <windows.h>

// The C runtime's own `open` stays available. If the path is a literal, write std::string("path")
// to call the function below.

/// Opens a file in the manner of POSIX, for sequential reading and writing. While it is open,
/// others may read, write, rename and delete it. The caller closes the handle, which child
/// processes don't inherit. It is a plain one: the function takes the place of the C runtime's
/// `open`.
///
/// `flags` are those of the C runtime's `open`:
///
///     _O_RDONLY, _O_WRONLY, _O_RDWR  the access; _O_WRONLY | _O_RDWR gives none at all
///     _O_CREAT     creates the file if it is missing
///     _O_EXCL      with _O_CREAT, fails if the file exists; otherwise has no effect
///     _O_TRUNC     empties the file; without _O_CREAT that needs write access
///     _O_APPEND    moves to the end of the file, once
///     _O_BINARY    has no effect
///
/// Any other bit throws std::invalid_argument. `mode` is ignored.
///
/// A new file gets the security with this `name` (see securityattributes-win.h). It gets the
/// default security if `name` is null or unknown.
///
/// Returns INVALID_HANDLE_VALUE if the file can't be opened, with the error in GetLastError. Throws
/// nothing else but std::bad_alloc. Any thread may call.
[[nodiscard]] HANDLE open(const std::string& path, int flags, int mode, const char* name);
