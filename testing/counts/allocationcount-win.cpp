#include <atomic>
#include <cstdlib>
#include <new>

#include "testing/counts/allocationcount.h"
#include "testing/counts/liveallocations-win.h"

namespace {

std::atomic<size_t> gAllocations{0};
// Created and not yet deleted.
std::atomic<ptrdiff_t> gObjects{0};
std::atomic<ptrdiff_t> gArrays{0};

void* make(size_t size, std::atomic<ptrdiff_t>& live) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size != 0 ? size : 1)) {
        live.fetch_add(1, std::memory_order_relaxed);
        return memory;
    }
    throw std::bad_alloc();
}

void release(void* memory, std::atomic<ptrdiff_t>& live) noexcept {
    if (memory != nullptr) {
        live.fetch_sub(1, std::memory_order_relaxed);
        std::free(memory);
    }
}

}  // namespace

namespace testing_support {

size_t allocationCount() { return gAllocations.load(std::memory_order_relaxed); }

ptrdiff_t liveAllocationCount() {
    return gObjects.load(std::memory_order_relaxed) + gArrays.load(std::memory_order_relaxed);
}

LiveAllocations liveAllocations() {
    return {gObjects.load(std::memory_order_relaxed), gArrays.load(std::memory_order_relaxed)};
}

}  // namespace testing_support

// The nothrow forms call these.
void* operator new(size_t size) { return make(size, gObjects); }
void* operator new[](size_t size) { return make(size, gArrays); }

void operator delete(void* memory) noexcept { release(memory, gObjects); }
void operator delete(void* memory, size_t) noexcept { release(memory, gObjects); }
void operator delete[](void* memory) noexcept { release(memory, gArrays); }
void operator delete[](void* memory, size_t) noexcept { release(memory, gArrays); }
