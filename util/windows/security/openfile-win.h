#pragma once

#include <string>

#include <windows.h>

// The C runtime has an `open` of its own, which stays: a call with a literal as the path must say
// std::string.

/// Opens a file, in the manner of POSIX, for reading and writing from its start to its end. Others
/// may read, write, rename and delete it meanwhile. The caller closes the handle, which children
/// don't inherit.
///
/// `flags` are those of the C runtime's `open`. _O_RDONLY, _O_WRONLY or _O_RDWR; both bits (3) open
/// with no access at all. _O_CREAT makes a missing file, with _O_EXCL nothing but a new one;
/// without _O_CREAT, _O_EXCL has no effect. _O_TRUNC empties the file (without _O_CREAT that takes
/// access to write). _O_APPEND goes to its end once; _O_BINARY has no effect. Any other bit throws
/// std::invalid_argument. `mode` isn't read.
///
/// A file that is made gets the security that has the `name` (see securityattributes-win.h), or the
/// default one for null and for a name that nothing has.
///
/// INVALID_HANDLE_VALUE if the file can't be opened, with the failure in GetLastError. Throws
/// nothing else but std::bad_alloc. Any thread may call.
HANDLE open(const std::string& path, int flags, int mode, const char* name);
