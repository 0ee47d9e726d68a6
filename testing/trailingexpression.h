#pragma once

#include <string>

namespace testing_support {

/// Returns the expected result of `removeTrailingBlanks`, computed with a regular expression of
/// Boost, whose `$` also matches before a line end. The time is quadratic in the length of a run of
/// blanks; throws std::runtime_error if it becomes too long.
std::wstring byTrailingExpression(const std::wstring& path);

}  // namespace testing_support
