#pragma once

#include <string>
#include <string_view>

namespace ccquery {

/// Returns whether a connection treats `path` as absolute: it begins with a character and a colon,
/// with anything after them, or with two or more separators, a server and a share. A connection
/// stops the process if a path isn't absolute.
///     C:\x  C:foo  \\server\share  ->  true
///     \foo  foo  \\server           ->  false
[[nodiscard]] bool isAbsolutePath(std::string_view path);

/// Returns `path` if it is absolute, otherwise the absolute path that Windows makes from it, the
/// current directory and the current drive. Throws std::runtime_error, with a message of one line,
/// if the path can't be completed, as "\\server" or an empty one.
[[nodiscard]] std::string absolutePath(const std::string& path);

/// Returns the current directory, completed by `absolutePath`.
[[nodiscard]] std::string currentDirectory();

}  // namespace ccquery
