#pragma once

#include <cstddef>
#include <string_view>

#include "util/pathfun.h"

/// Returns the length of the path without its last component and the slashes around that, or 0 for
/// a path of one component. Only separators count; roots aren't recognised.
[[nodiscard]] inline size_t parentLength(std::string_view path) {
    const auto cutEnd = [&path](bool slashes) {
        while (!path.empty() && isPathSeparator(path.back()) == slashes) {
            path.remove_suffix(1);
        }
    };
    cutEnd(/*slashes=*/true);
    cutEnd(/*slashes=*/false);
    cutEnd(/*slashes=*/true);
    return path.size();
}
