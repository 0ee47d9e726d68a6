#pragma once

#include <string>

// Operations on files by UTF-8 paths of any length with either kind of slash. Any thread may call
// them.

namespace System {

/// Removes a file or an empty directory. With `force` a first failure is followed by a second try
/// with normal attributes. 0 on success, otherwise -1 and the failure in GetLastError: of a file,
/// that of the attempt to delete it; its attributes are then the normal ones. Null characters
/// behind the name end it.
int remove(const std::string& path, bool force);

}  // namespace System
