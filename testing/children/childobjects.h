#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace testing_support {

/// What execchild has done so far, in a file mapping that it makes at the first thing that counts:
/// for systems that know no such figures of another process.
struct ChildCounters {
    /// Tells a process from a later one of the same id; 0 as long as it isn't set.
    std::atomic<uint64_t> stamp;
    /// In 100 ns. Told by `burn` alone, so that nothing else shows as processor time.
    std::atomic<uint64_t> userTime;
    std::atomic<uint64_t> kernelTime;
    std::atomic<uint64_t> reads;
    std::atomic<uint64_t> writes;
};

inline std::wstring childCountersName(unsigned long pid) {
    return L"nbcc-counters-" + std::to_wstring(pid);
}

/// The event that is a break to execchild. Resets itself.
inline std::wstring childBreakName(unsigned long pid) {
    return L"nbcc-break-" + std::to_wstring(pid);
}

}  // namespace testing_support
