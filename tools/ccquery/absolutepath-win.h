#pragma once

#include <string>
#include <string_view>

namespace ccquery {

/// Whether a connection takes `path` for absolute: it begins with a character and a colon, whatever
/// follows ("C:foo" as well), or with two or more separators, a server and a share. "\foo" isn't
/// absolute. A connection stops the process at a path that isn't.
bool isAbsolutePath(std::string_view path);

/// `path` itself if it is absolute, else `path` as Windows completes it from the current directory
/// and the current drive, which is absolute. Throws std::runtime_error, with one line, for a path
/// that can't be completed, as "\\server" or an empty one.
std::string absolutePath(const std::string& path);

/// The current directory.
std::string currentDirectory();

}  // namespace ccquery
