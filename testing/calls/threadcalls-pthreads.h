#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace testing_support {

/// What tests make of the calls that threads, locks and conditions are made with, of joins and of
/// waits, and what was seen of these calls. For programs whose linker leads the calls here: see
/// util/CMakeLists.txt.
struct ThreadCalls {
    // A result other than 0 is the call's; the call is made only where it says so.
    std::atomic<int> createResult{0};
    std::atomic<int> joinResult{0};       ///< the thread is joined all the same
    std::atomic<uint32_t> joinError{0};   ///< what such a join leaves as the system's error
    std::atomic<int> initResult{0};       ///< of the attributes
    std::atomic<int> destroyResult{0};    ///< the attributes are destroyed all the same
    std::atomic<int> detachResult{0};     ///< of the setting of the detached state
    std::atomic<int> stackSizeResult{0};  ///< of the setting of the stack size

    std::atomic<int> mutexResult{0};      ///< of the making of a mutex
    std::atomic<int> rwLockResult{0};     ///< of the making of an rwlock
    std::atomic<int> conditionResult{0};  ///< of the making of a condition
    std::atomic<int> waitResult{0};       ///< of a wait that has a deadline

    // Made by a call and not destroyed so far:
    std::atomic<int> mutexes{0};
    std::atomic<int> rwLocks{0};
    std::atomic<int> conditions{0};
    std::atomic<int> attributes{0};

    std::atomic<int> stackSizeCalls{0};  ///< settings of it before the last creation of a thread
    // Of the last creation of a thread, also of one that wasn't made:
    std::atomic<size_t> stackSize{0};
    std::atomic<int> concurrency{0};
    std::atomic<bool> isDetached{false};
};
extern ThreadCalls gThreadCalls;

/// Sets a result, and takes it back when the scope ends.
class ThreadCallResult {
public:
    ThreadCallResult(std::atomic<int>& target, int result) : mTarget(target) { mTarget = result; }
    ~ThreadCallResult() { mTarget = 0; }
    ThreadCallResult(const ThreadCallResult&) = delete;
    ThreadCallResult& operator=(const ThreadCallResult&) = delete;

private:
    std::atomic<int>& mTarget;
};

}  // namespace testing_support
