#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace benchmark {

/// The letters of sample paths: ASCII only, or many with accents (two bytes each in UTF-8).
enum class Letters { ascii, accented };

/// Returns `count` different paths, like those of a source tree, sorted by `comparePaths`. They are
/// about 50 characters long. Every call returns the same paths.
std::vector<std::string> samplePaths(size_t count, Letters letters);

}  // namespace benchmark
