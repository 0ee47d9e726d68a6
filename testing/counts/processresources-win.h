#pragma once

#include <cstddef>

namespace testing_support {

/// How many handles this process has open now.
size_t handleCount();

/// How many bytes of this process's heaps are in use now.
size_t heapBytes();

}  // namespace testing_support
