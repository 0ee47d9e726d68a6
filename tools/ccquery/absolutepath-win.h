#pragma once

#include <string>

namespace ccquery {

/// Returns `path` if a connection treats it as absolute (see isAbsolutePath), as it stops the
/// process if a path isn't. Otherwise returns the absolute path that Windows makes from it, the
/// current directory and the current drive. Throws std::runtime_error, with a message of one line,
/// if the path can't be completed, as "\\server" or an empty one.
[[nodiscard]] std::string absolutePath(const std::string& path);

/// Returns the current directory, completed by `absolutePath`.
[[nodiscard]] std::string currentDirectory();

}  // namespace ccquery
