#pragma once

#include <functional>
#include <utility>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Does something each time the test program is about to let a child run that it has started
/// suspended, until the scope ends. One at a time.
class BeforeResume {
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
        // Threads of this process are resumed as well, by the thread library.
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
