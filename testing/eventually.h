#pragma once

#include <chrono>
#include <thread>

namespace testing_support {

/// Waits until `condition()` holds, for at most half a minute. Returns false if it never did. For
/// what another thread does visibly but doesn't announce. `condition` must be free of races.
template <class Condition>
[[nodiscard]] bool eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace testing_support
