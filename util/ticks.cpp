#include "util/ticks.h"

#include <atomic>

#include "util/assertion.h"

namespace {

// 0.0 until first needed. Threads may race to fill it in: all of them write the same value.
std::atomic<double> gTicksFrequency{0.0};

}  // namespace

Ticks (*ticksNow)() = &Ticks::now;

double Ticks::frequency() {
    double frequency = gTicksFrequency.load(std::memory_order_relaxed);
    if (frequency == 0.0) {
        frequency = queryFrequency();
        gTicksFrequency.store(frequency, std::memory_order_relaxed);
    }
    return frequency;
}

Ticks Ticks::fromSeconds(double seconds) {
    NB_ASSERT(seconds >= 0.0);
    return Ticks(static_cast<int64_t>(seconds * frequency()));
}

double Ticks::seconds() const {
    // Compatibility: uses only the low 50 bits, which convert exactly; higher bits and the sign are
    // lost.
    return static_cast<double>(mCount & 0x3ffffffffffff) / frequency();
}
