#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace testing_support {

/// The results that tests set for the calls that create threads, locks and conditions, for joins
/// and for waits, and what was observed of these calls. For programs whose linker redirects the
/// calls here: see util/CMakeLists.txt.
struct ThreadCalls {
    // If a result isn't 0, the call returns it, and isn't made unless the comment says so.
    std::atomic<int> createResult{0};
    std::atomic<int> joinResult{0};       ///< the thread is joined nevertheless
    std::atomic<uint32_t> joinError{0};   ///< the system error that such a join sets
    std::atomic<int> initResult{0};       ///< of the attributes
    std::atomic<int> destroyResult{0};    ///< the attributes are destroyed nevertheless
    std::atomic<int> detachResult{0};     ///< of setting the detached state
    std::atomic<int> stackSizeResult{0};  ///< of setting the stack size

    std::atomic<int> mutexResult{0};      ///< of creating a mutex
    std::atomic<int> rwLockResult{0};     ///< of creating an rwlock
    std::atomic<int> conditionResult{0};  ///< of creating a condition
    std::atomic<int> waitResult{0};       ///< of a wait that has a deadline

    // Created by a call and not yet destroyed:
    std::atomic<int> mutexes{0};
    std::atomic<int> rwLocks{0};
    std::atomic<int> conditions{0};
    std::atomic<int> attributes{0};

    std::atomic<int> stackSizeCalls{0};  ///< how often it was set before the last creation
    // At the last creation of a thread, even if none was created:
    std::atomic<size_t> stackSize{0};
    std::atomic<int> concurrency{0};
    std::atomic<bool> isDetached{false};
};
extern ThreadCalls gThreadCalls;

/// Sets a result, and resets it to 0 when the scope ends.
class [[nodiscard]] ThreadCallResult {
public:
    ThreadCallResult(std::atomic<int>& target, int result) : mTarget(target) { mTarget = result; }
    ~ThreadCallResult() { mTarget = 0; }
    ThreadCallResult(const ThreadCallResult&) = delete;
    ThreadCallResult& operator=(const ThreadCallResult&) = delete;

private:
    std::atomic<int>& mTarget;
};

}  // namespace testing_support
