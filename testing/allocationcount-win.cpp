#include <atomic>
#include <cstdlib>
#include <new>

#include "testing/allocationcount.h"

namespace {

std::atomic<size_t> gAllocations{0};

}  // namespace

namespace testing_support {

size_t allocationCount() { return gAllocations.load(std::memory_order_relaxed); }

}  // namespace testing_support

void* operator new(size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, size_t) noexcept { std::free(memory); }
