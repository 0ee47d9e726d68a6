#include <chrono>

#include "util/ticks.h"

namespace {

using Nanoseconds = std::chrono::nanoseconds;

}  // namespace

Ticks Ticks::now() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return Ticks(std::chrono::duration_cast<Nanoseconds>(sinceStart).count());
}

double Ticks::queryFrequency() { return static_cast<double>(Nanoseconds::period::den); }
