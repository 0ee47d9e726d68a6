#pragma once

#include <cstddef>

namespace testing_support {

/// How many times this program has called the global `operator new` so far, in its plain, array and
/// nothrow forms; not counted are those for over-aligned types, and malloc. In a native build,
/// which runs under a sanitizer, it is how many times memory was allocated in any way. A test takes
/// the difference around what it measures; other threads count as well. For Windows, linking this
/// in replaces the plain and the array operator, on which the nothrow forms stand.
size_t allocationCount();

/// How many of those have not been freed so far, less what was allocated before the program could
/// count. A test takes the difference as well.
ptrdiff_t liveAllocationCount();

}  // namespace testing_support
