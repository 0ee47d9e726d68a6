#pragma once

#include <cstddef>

namespace testing_support {

/// Returns how many times this program has called the global `operator new` so far, in its plain,
/// array and nothrow forms. The forms for over-aligned types and malloc don't count. In a native
/// build, which runs under a sanitizer, every way of allocating memory counts. A test takes the
/// difference before and after what it measures; other threads count as well. On Windows, linking
/// this in replaces the plain and the array operator, which the nothrow forms call.
size_t allocationCount();

/// Returns how many of those allocations haven't been freed so far. If memory that was allocated
/// before the program could count is freed, it is subtracted. A test takes the difference here as
/// well.
ptrdiff_t liveAllocationCount();

}  // namespace testing_support
