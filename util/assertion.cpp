#include "util/assertion.h"

#include <cstdio>
#include <cstdlib>

void assertFailed(const char* expression, const char* file, int line) {
    static_cast<void>(
        std::fprintf(stderr, "assertion failed at %s(%d): %s\n", file, line, expression));
    static_cast<void>(std::fflush(stderr));

    // Read back through a volatile pointer: the compiler must neither see the null nor drop the
    // store.
    int* volatile nowhere = nullptr;
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the fault is intended
    *static_cast<volatile int*>(nowhere) = 0;
    std::abort();  // address zero was writable after all
}
