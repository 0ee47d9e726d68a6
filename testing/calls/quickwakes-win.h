#pragma once

#include <cstddef>
#include <functional>
#include <utility>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Shortens the half-second waits for a process, and reports them, until the scope ends. If
/// WaitForSingleObject of the test program is called for a process with 500 ms, it waits for
/// `milliseconds` instead. Other waits are unchanged, also those on handles that aren't processes.
///
/// At most one object at a time. No other thread may wait for anything while the object is created
/// or destroyed.
class [[nodiscard]] QuickWakes {
public:
    /// Called by the waiting thread for each wait that times out, with the wait's number, from 1
    /// on. Returns the result of the wait: WAIT_TIMEOUT, any other result as if it had happened
    /// (for WAIT_FAILED, the action sets the last error), or awaitEnd to go on waiting until the
    /// process ends.
    using Action = std::function<DWORD(size_t)>;
    static constexpr DWORD awaitEnd = 0x10000;

    /// Throws std::logic_error if there already is another object.
    explicit QuickWakes(Action onTimeout = {}, DWORD milliseconds = 10);
    ~QuickWakes();
    QuickWakes(const QuickWakes&) = delete;
    QuickWakes& operator=(const QuickWakes&) = delete;

    /// Sets the action. The numbers begin at 1 again.
    void onTimeout(Action action) {
        mOnTimeout = std::move(action);
        mTimeouts = 0;
    }
    /// Returns the number of the last wait that timed out.
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
