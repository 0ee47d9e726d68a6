#pragma once

#include <cstddef>

namespace testing_support {

/// How many times this program has called the global `operator new` so far. A test takes the
/// difference around what it measures. Linking this in replaces the operator.
size_t allocationCount();

}  // namespace testing_support
