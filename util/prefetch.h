#pragma once

#if defined(__x86_64__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

/// Tells the processor, where it can be told, that memory is read soon: it is fetched meanwhile.
inline void prefetch([[maybe_unused]] const void* memory) {
#if defined(__x86_64__) || defined(_M_X64)
    _mm_prefetch(static_cast<const char*>(memory), _MM_HINT_T0);
#endif
}
