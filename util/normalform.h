#pragma once

// The normal form of paths (see pathfun.h), for callers that don't need it as a std::string.

#include <string>
#include <string_view>

#include <boost/container/small_vector.hpp>

#include "util/textspan.h"

/// A buffer that holds a path of usual length without a heap allocation.
// Speed: Benchmark.CanonicalizeViewPath
using PathBuffer = boost::container::small_vector<char, 512>;

/// Returns the normal form of `path`, which must be absolute: otherwise an assertion stops the
/// process.
[[nodiscard]] std::string normalForm(StringSpan path);

/// The same, but replaces the contents of `buffer` and returns a view of the text there.
/// `separator` is `/` or `\`; if it is `\`, each `/` becomes a `\`. `path` must not be in `buffer`.
[[nodiscard]] std::string_view normalFormIn(PathBuffer& buffer, StringSpan path, char separator);

/// Returns whether `path` is on a drive, equals its normal form except for the kind of separators,
/// and doesn't end in a separator.
///
///     C:\a        true
///     c:/a\b      true
///     C:\         false, it ends in a separator
///     C:/a:/      false, the same
///     C:/a:       false, its normal form is C:/a:/
///     C:/a/..     false, its normal form is C:/
[[nodiscard]] bool isTidyOnDrive(StringSpan path);
