#pragma once

#include <cstddef>

namespace testing_support {

/// What was made with `new` less what was deleted in the same form, by form: an array that goes
/// back through the plain `delete` shows as one array too many and one object too few. Counted is
/// as in allocationCount.
struct LiveAllocations {
    ptrdiff_t mObjects = 0;
    ptrdiff_t mArrays = 0;
};

LiveAllocations liveAllocations();

}  // namespace testing_support
