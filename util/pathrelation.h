#pragma once

// The relations of isInPath and makeRelativeTo (see pathfun.h), for text that need not be a
// std::string.

#include <cstddef>
#include <optional>

#include "util/textspan.h"

/// The same as isInPath.
[[nodiscard]] bool liesIn(StringSpan prefix, StringSpan path);
/// The same, but faster if both texts begin with different upper-case ASCII letters, as drives do.
[[nodiscard]] inline bool liesInOnDrive(StringSpan prefix, StringSpan path) {
    // Speed: Benchmark.CanonicalizeViewPathOfSeveralViews
    const auto isUpperCase = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (prefix.length != 0 && path.length != 0 && prefix.data[0] != path.data[0] &&
        isUpperCase(prefix.data[0]) && isUpperCase(path.data[0])) {
        return false;
    }
    return liesIn(prefix, path);
}

/// Returns where the rest of `path` begins that makeRelativeTo leaves, or the end of `path` if
/// nothing is left. Returns no value if makeRelativeTo returns false. `base` must be absolute:
/// otherwise an assertion stops the process.
[[nodiscard]] std::optional<size_t> restBelow(StringSpan base, StringSpan path);
