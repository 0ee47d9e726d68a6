#pragma once

#include <string>

namespace tools {

/// Returns the path as Windows completes it from the current directory and those of the drives:
/// `C:a` and `\a` have a drive and a folder then. Wine completes a path with a leading slash as one
/// of its host. Returns what can't be completed, such as an empty path, as it is.
[[nodiscard]] std::string fullPath(const std::string& path);

}  // namespace tools
