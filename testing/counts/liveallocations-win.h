#pragma once

#include <cstddef>

namespace testing_support {

/// The number of `new` calls minus the number of `delete` calls of the same form. An array that is
/// freed with the plain `delete` shows as one array too many and one object too few. Counts the
/// same calls as allocationCount.
struct LiveAllocations {
    ptrdiff_t mObjects = 0;
    ptrdiff_t mArrays = 0;
};

LiveAllocations liveAllocations();

}  // namespace testing_support
