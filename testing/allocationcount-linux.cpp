#include <atomic>
#include <sanitizer/allocator_interface.h>

#include "testing/allocationcount.h"

namespace {

std::atomic<size_t> gAllocations{0};

void countAllocation(const volatile void* /*memory*/, size_t /*size*/) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
}

void ignoreRelease(const volatile void* /*memory*/) {}

// The sanitizers bring their own `operator new`, which mustn't be replaced, and hooks to watch it.
[[maybe_unused]] const int gHooked =
    __sanitizer_install_malloc_and_free_hooks(countAllocation, ignoreRelease);

}  // namespace

namespace testing_support {

size_t allocationCount() { return gAllocations.load(std::memory_order_relaxed); }

}  // namespace testing_support
