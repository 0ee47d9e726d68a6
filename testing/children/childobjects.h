#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace testing_support {

/// What execchild has done so far, in a file mapping that it creates at the first action that
/// counts. For systems that don't report such figures of another process.
struct ChildCounters {
    /// Distinguishes a process from a later one with the same id; 0 until it is set.
    std::atomic<uint64_t> stamp;
    /// In units of 100 ns. Only `burn` reports it, so that nothing else shows as processor time.
    std::atomic<uint64_t> userTime;
    std::atomic<uint64_t> kernelTime;
    std::atomic<uint64_t> reads;
    std::atomic<uint64_t> writes;
};

inline std::wstring childCountersName(unsigned long pid) {
    return L"nbcc-counters-" + std::to_wstring(pid);
}

/// Returns the name of the event that acts as a break for execchild. The event resets itself.
inline std::wstring childBreakName(unsigned long pid) {
    return L"nbcc-break-" + std::to_wstring(pid);
}

}  // namespace testing_support
