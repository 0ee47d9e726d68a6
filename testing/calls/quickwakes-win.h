#pragma once

#include <cstddef>
#include <functional>
#include <utility>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Makes the half seconds of waiting for a process short, and tells of them, until the scope ends:
/// WaitForSingleObject of the test program that has 500 ms for a process returns after a few
/// milliseconds with what it would return. Other waits, and those with a handle that must not be
/// queried, are as ever.
///
/// One at a time; made and ended while no other thread waits for anything.
class QuickWakes {
public:
    /// Called by the waiting thread for each wait in vain, with its number from 1 on. What the wait
    /// returns: WAIT_TIMEOUT, or any other result as if it were so (of WAIT_FAILED, the last error
    /// is the action's), or AWAIT_END to wait on until the process ends.
    using Action = std::function<DWORD(size_t)>;
    static constexpr DWORD AWAIT_END = 0x10000;

    /// Throws std::logic_error if there is one already.
    explicit QuickWakes(Action onTimeout = {}, DWORD milliseconds = 10);
    ~QuickWakes();
    QuickWakes(const QuickWakes&) = delete;
    QuickWakes& operator=(const QuickWakes&) = delete;

    /// The numbers begin anew.
    void onTimeout(Action action) {
        mOnTimeout = std::move(action);
        mTimeouts = 0;
    }
    /// The number of the last wait in vain.
    size_t timeouts() const { return mTimeouts; }

private:
    static DWORD WINAPI wait(HANDLE object, DWORD milliseconds);
    DWORD waitForProcess(HANDLE process);

    Action mOnTimeout;
    DWORD mMilliseconds;
    size_t mTimeouts = 0;
    ReplacedCall<decltype(WaitForSingleObject)> mReplaced;
};

}  // namespace testing_support
