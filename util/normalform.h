#pragma once

// The normal form of paths (see pathfun.h), for callers that don't need a std::string of it.

#include <string>
#include <string_view>

#include <boost/container/small_vector.hpp>

#include "util/textspan.h"

/// Room for a path of usual length off the heap.
using PathBuffer = boost::container::small_vector<char, 512>;

/// The normal form of `path`, which must be absolute: an assertion stops the process otherwise.
std::string normalForm(StringSpan path);

/// The same as text in `buffer`, which it replaces, and with each `/` turned into a `\` if that is
/// the `separator`, which is `/` otherwise. `path` isn't in `buffer`.
std::string_view normalFormIn(PathBuffer& buffer, StringSpan path, char separator);

/// Whether `path` is on a drive, differs from its normal form in the kind of separators alone, if
/// in anything, and doesn't end in one. So `C:\` is none such, nor is `C:/a:/`.
bool isTidyOnDrive(StringSpan path);
