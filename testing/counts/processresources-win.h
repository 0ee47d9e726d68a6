#pragma once

#include <cstddef>

namespace testing_support {

/// Returns how many handles this process has open now.
size_t handleCount();

/// Returns how many bytes of this process's heaps are in use now.
size_t heapBytes();

}  // namespace testing_support
