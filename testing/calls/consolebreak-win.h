#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Stands in for the console, which the test bed hasn't got: until the scope ends,
/// GenerateConsoleCtrlEvent of the test program is recorded, and is a break to the process whose id
/// is the group's, if that is the program execchild. (A console would reach that process's own
/// children, too.) A process that has just been made gets its break as soon as it can; one that is
/// another program ignores it. An id that no process has fails with ERROR_INVALID_PARAMETER.
///
/// One at a time; made and ended while no other thread calls the function.
class ConsoleBreaks {
public:
    struct Call {
        DWORD event;
        DWORD group;
        bool operator==(const Call&) const = default;
    };

    /// Throws std::logic_error if there is one already.
    ConsoleBreaks();
    ~ConsoleBreaks();
    ConsoleBreaks(const ConsoleBreaks&) = delete;
    ConsoleBreaks& operator=(const ConsoleBreaks&) = delete;

    std::vector<Call> calls() const;

private:
    struct HandleCloser {
        void operator()(HANDLE handle) const { CloseHandle(handle); }
    };
    using Handle = std::unique_ptr<void, HandleCloser>;

    /// Kept until the process is gone: it may yet have to find its event, and its id stays its own.
    struct Target {
        Handle process;
        Handle event;
    };

    static BOOL WINAPI generate(DWORD event, DWORD group);
    bool deliver(DWORD event, DWORD group);

    mutable std::mutex mLock;
    std::vector<Call> mCalls;
    std::vector<Target> mTargets;
    ReplacedCall<decltype(GenerateConsoleCtrlEvent)> mReplaced;
};

}  // namespace testing_support
