#pragma once

#if defined(__SSE2__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

/// Tells the processor, where it can be told, that memory is read soon: it is fetched meanwhile.
inline void prefetch([[maybe_unused]] const char* memory) {
#if defined(__SSE2__) || defined(_M_X64)
    _mm_prefetch(memory, _MM_HINT_T0);
#endif
}
