#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>

#include "testing/calls/replacedcall-win.h"
#include "util/cruntime.h"
#include "util/windows/libraryfunction-win.h"

namespace testing_support {

/// Lets this program's malloc and calloc together serve `blocks` more calls; after these, all calls
/// fail until the scope ends. The C++ allocator and the thread library use these functions.
/// std::bad_alloc can be thrown nevertheless. For a child process of one thread; at most one object
/// at a time.
class [[nodiscard]] MemoryShortage {
public:
    explicit MemoryShortage(int blocks)
        : mMalloc("malloc", [](size_t size) { return take() ? sMalloc(size) : nullptr; }),
          mCalloc("calloc", [](size_t count, size_t size) {
              return take() ? sCalloc(count, size) : nullptr;
          }) {
        throwOnce();
        sFailNext = true;
        throwOnce();
        sBlocks = blocks;
    }
    ~MemoryShortage() { sBlocks = plenty; }
    MemoryShortage(const MemoryShortage&) = delete;
    MemoryShortage& operator=(const MemoryShortage&) = delete;

private:
    using Malloc = void*(size_t);
    using Calloc = void*(size_t, size_t);

    static constexpr int plenty = std::numeric_limits<int>::max();

    /// The C++ runtime allocates something at a thread's first exception. At the first exception
    /// for which there is no memory, it allocates the lock of its reserve. It can't do without
    /// either. After both, exceptions can be thrown without memory.
    static void throwOnce() {
        try {
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    static bool take() { return !std::exchange(sFailNext, false) && sBlocks-- > 0; }

    /// Returns the C runtime's own function, because replacing the calls allocates as well.
    template <class Signature>
    static Signature* runtimeCall(const char* function) {
        return findFunction<Signature>(GetModuleHandleW(cruntime::library), function);
    }

    static inline Malloc* const sMalloc = runtimeCall<Malloc>("malloc");
    static inline Calloc* const sCalloc = runtimeCall<Calloc>("calloc");
    static inline int sBlocks = plenty;
    static inline bool sFailNext = false;

    ReplacedCall<Malloc> mMalloc;
    ReplacedCall<Calloc> mCalloc;
};

}  // namespace testing_support
