#pragma once

#include <functional>
#include <utility>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Runs an action each time the test program is about to resume a child that it has started
/// suspended, until the scope ends. At most one object at a time.
class [[nodiscard]] BeforeResume {
public:
    explicit BeforeResume(std::function<void(HANDLE thread)> action)
        : mReplaced("ResumeThread", &BeforeResume::resume) {
        sAction = std::move(action);
        sOriginal = mReplaced.original();
    }
    ~BeforeResume() { sAction = nullptr; }
    BeforeResume(const BeforeResume&) = delete;
    BeforeResume& operator=(const BeforeResume&) = delete;

private:
    static DWORD WINAPI resume(HANDLE thread) {
        // The thread library also resumes threads of this process.
        if (GetProcessIdOfThread(thread) != GetCurrentProcessId()) {
            sAction(thread);
        }
        return sOriginal(thread);
    }

    static inline std::function<void(HANDLE)> sAction;
    static inline decltype(&ResumeThread) sOriginal = nullptr;
    ReplacedCall<decltype(ResumeThread)> mReplaced;
};

}  // namespace testing_support
