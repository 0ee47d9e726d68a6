#pragma once

#include <cstddef>

namespace testing_support {

/// How many times this program has called the global `operator new` so far; in a native build,
/// which runs under a sanitizer, how many times it has allocated memory in any way. A test takes
/// the difference around what it measures. For Windows, linking this in replaces the operator.
size_t allocationCount();

}  // namespace testing_support
