#include <windows.h>

#include "util/ticks.h"

// The performance counter is there on every system that is supported, so that a failed query is
// asked again for as long as it takes.

Ticks Ticks::now() {
    LARGE_INTEGER counter;
    while (!QueryPerformanceCounter(&counter)) {
    }
    return Ticks(counter.QuadPart);
}

double Ticks::queryFrequency() {
    LARGE_INTEGER frequency;
    while (!QueryPerformanceFrequency(&frequency)) {
    }
    return static_cast<double>(frequency.QuadPart);
}
