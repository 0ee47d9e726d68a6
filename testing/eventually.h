#pragma once

#include <chrono>
#include <thread>

namespace testing_support {

/// Waits until `condition()` holds, for half a minute or longer. Returns false if it never did. For
/// what another thread does visibly but doesn't announce. `condition` must be free of races.
///
/// Looks are counted, not the time: a machine that stands still meanwhile doesn't end the wait.
template <class Condition>
[[nodiscard]] bool eventually(Condition condition) {
    for (int looks = 0; looks < 30'000; ++looks) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

}  // namespace testing_support
