#pragma once

#if defined(__x86_64__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

// Speed: Benchmark.Configuration
/// Asks the processor, if it supports this, to fetch memory that will be read soon.
inline void prefetch([[maybe_unused]] const void* memory) {
#if defined(__x86_64__) || defined(_M_X64)
    _mm_prefetch(static_cast<const char*>(memory), _MM_HINT_T0);
#endif
}
