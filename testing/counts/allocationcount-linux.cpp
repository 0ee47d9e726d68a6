#include <atomic>
#include <cstddef>

#include "testing/counts/allocationcount.h"

// Of the sanitizers' <sanitizer/allocator_interface.h>, which GCC comes without.
extern "C" int __sanitizer_install_malloc_and_free_hooks(
    void (*allocated)(const volatile void* memory, size_t size),
    void (*released)(const volatile void* memory));

namespace {

std::atomic<size_t> gAllocations{0};
std::atomic<ptrdiff_t> gLive{0};  ///< allocated and not freed

void countAllocation(const volatile void* /*memory*/, size_t /*size*/) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    gLive.fetch_add(1, std::memory_order_relaxed);
}

void countRelease(const volatile void* memory) {
    if (memory != nullptr) {
        gLive.fetch_sub(1, std::memory_order_relaxed);
    }
}

// The sanitizers bring their own `operator new`, which mustn't be replaced, and hooks to watch it.
[[maybe_unused]] const int gHooked =
    __sanitizer_install_malloc_and_free_hooks(countAllocation, countRelease);

}  // namespace

namespace testing_support {

size_t allocationCount() { return gAllocations.load(std::memory_order_relaxed); }

ptrdiff_t liveAllocationCount() { return gLive.load(std::memory_order_relaxed); }

}  // namespace testing_support
