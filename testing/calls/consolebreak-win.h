#pragma once

#include <mutex>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/ownedhandle-win.h"

namespace testing_support {

/// Replaces the console, which the test bed doesn't have. Until the scope ends, the test program's
/// calls of GenerateConsoleCtrlEvent are recorded. Each call sends a break to the process whose id
/// is the group's, if that process is the program execchild. (A console would also reach that
/// process's own children.) A process that has just been created gets its break as soon as it can.
/// Other programs ignore it. If no process has the id, the call fails with ERROR_INVALID_PARAMETER.
///
/// At most one object at a time. No other thread may call the function while the object is created
/// or destroyed.
class [[nodiscard]] ConsoleBreaks {
public:
    struct Call {
        DWORD event;
        DWORD group;
        bool operator==(const Call&) const = default;
    };

    /// Throws std::logic_error if there already is another object.
    ConsoleBreaks();
    ~ConsoleBreaks();
    ConsoleBreaks(const ConsoleBreaks&) = delete;
    ConsoleBreaks& operator=(const ConsoleBreaks&) = delete;

    std::vector<Call> calls() const;

private:
    /// Held until the process has ended: the process may still have to open its event, and its id
    /// can't be reused before then.
    struct Target {
        OwnedHandle process;
        OwnedHandle event;
    };

    static BOOL WINAPI generate(DWORD event, DWORD group);
    bool deliver(DWORD event, DWORD group);

    mutable std::mutex mLock;
    std::vector<Call> mCalls;
    std::vector<Target> mTargets;
    ReplacedCall<decltype(GenerateConsoleCtrlEvent)> mReplaced;
};

}  // namespace testing_support
