#include "testing/calls/quickwakes-win.h"

#include <stdexcept>
#include <utility>

namespace testing_support {
namespace {

QuickWakes* gQuickWakes = nullptr;

/// Preserves the last error.
bool isProcess(HANDLE object) {
    const DWORD error = GetLastError();
    const bool result = GetProcessId(object) != 0;
    SetLastError(error);
    return result;
}

}  // namespace

QuickWakes::QuickWakes(Action onTimeout, DWORD milliseconds)
    : mOnTimeout(std::move(onTimeout)),
      mMilliseconds(milliseconds),
      mReplaced("WaitForSingleObject", &QuickWakes::wait) {
    if (gQuickWakes != nullptr) {
        throw std::logic_error("there is a QuickWakes already");
    }
    gQuickWakes = this;
}

QuickWakes::~QuickWakes() { gQuickWakes = nullptr; }

DWORD WINAPI QuickWakes::wait(HANDLE object, DWORD milliseconds) {
    constexpr DWORD halfSecond = 500;
    QuickWakes& self = *gQuickWakes;
    return milliseconds == halfSecond && isProcess(object)
               ? self.waitForProcess(object)
               : self.mReplaced.original()(object, milliseconds);
}

DWORD QuickWakes::waitForProcess(HANDLE process) {
    DWORD result = mReplaced.original()(process, mMilliseconds);
    if (result != WAIT_TIMEOUT) {
        return result;
    }
    ++mTimeouts;
    if (mOnTimeout) {
        result = mOnTimeout(mTimeouts);
    }
    return result == awaitEnd ? mReplaced.original()(process, INFINITE) : result;
}

}  // namespace testing_support
