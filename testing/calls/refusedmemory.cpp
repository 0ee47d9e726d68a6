#include "testing/calls/refusedmemory.h"

#include <atomic>
#include <cstddef>
#include <new>

namespace {

std::atomic<bool> gIsRefused{false};

/// Implements the operator by means of the one that throws.
void* newOrNull(size_t size) noexcept {
    if (gIsRefused) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

namespace testing_support {

RefusedMemory::RefusedMemory() { gIsRefused = true; }

RefusedMemory::~RefusedMemory() { gIsRefused = false; }

}  // namespace testing_support

// Each platform's compiler calls the operator by one of these names.
extern "C" {
void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& /*nothrow*/) {
    return newOrNull(size);
}

void* __wrap__ZnwyRKSt9nothrow_t(size_t size, const std::nothrow_t& /*nothrow*/) {
    return newOrNull(size);
}
}
