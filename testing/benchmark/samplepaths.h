#pragma once

#include <string>
#include <vector>

namespace benchmark {

/// The letters of sample paths: ASCII alone, or many with accents (two bytes each in UTF-8).
enum class Letters { ascii, accented };

/// So many different paths as of a tree of sources, sorted by `comparePaths`, about 50 characters
/// long. The same ones at each call.
std::vector<std::string> samplePaths(size_t count, Letters letters);

}  // namespace benchmark
