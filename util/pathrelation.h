#pragma once

// What isInPath and makeRelativeTo tell (see pathfun.h), for text that need not be a std::string.

#include <cstddef>
#include <optional>

#include "util/textspan.h"

/// As isInPath.
bool liesIn(StringSpan prefix, StringSpan path);
/// The same, faster where both begin with upper-case ASCII letters that differ, as drives do.
inline bool liesInOnDrive(StringSpan prefix, StringSpan path) {
    const auto isUpperCase = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (prefix.length != 0 && path.length != 0 && prefix.data[0] != path.data[0] &&
        isUpperCase(prefix.data[0]) && isUpperCase(path.data[0])) {
        return false;
    }
    return liesIn(prefix, path);
}

/// Where what makeRelativeTo leaves of `path` begins: at its end if that is nothing. No value where
/// makeRelativeTo is false. `base` must be absolute: an assertion stops the process.
std::optional<size_t> restBelow(StringSpan base, StringSpan path);
