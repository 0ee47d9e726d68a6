#pragma once

#include <string>

namespace tools {

/// Returns `path` if it is absolute for a connection (see isAbsolutePath); a connection stops the
/// process at any other path. Otherwise returns the absolute path that Windows makes from it, the
/// current directory and the current drive. Throws std::runtime_error, with a message of one line,
/// if the path can't be completed: "\\server", or an empty one.
[[nodiscard]] std::string absolutePath(const std::string& path);

/// Returns the current directory, completed by `absolutePath`.
[[nodiscard]] std::string currentDirectory();

}  // namespace tools
