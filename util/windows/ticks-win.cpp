#include <windows.h>

#include "util/ticks.h"

// Every supported system has the performance counter, so a failed query is repeated until it
// succeeds.

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
