#pragma once

#include <string>

namespace testing_support {

/// What `removeTrailingBlanks` is to give, by a regular expression of Boost, whose `$` also matches
/// before a line end. Takes time quadratic in the length of a run of blanks, and throws
/// std::runtime_error where that becomes too long.
std::wstring byTrailingExpression(const std::wstring& path);

}  // namespace testing_support
