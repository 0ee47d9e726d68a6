#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "testing/ownedhandle-win.h"

namespace testing_support {

/// A running execchild, whose source documents its actions. It is terminated when the scope ends.
class [[nodiscard]] StartedChild {
public:
    struct Start {
        /// UTF-8.
        std::vector<std::string> actions;
        /// The child joins it before it runs.
        HANDLE job = nullptr;
        /// Inheritable; null means "NUL".
        HANDLE input = nullptr;
        HANDLE output = nullptr;
        HANDLE error = nullptr;
        /// The child waits for `resume`.
        bool isSuspended = false;
    };

    /// Throws std::system_error if it can't be started.
    explicit StartedChild(const Start& start);
    ~StartedChild();
    StartedChild(const StartedChild&) = delete;
    StartedChild& operator=(const StartedChild&) = delete;

    DWORD pid() const { return mPid; }
    void resume();
    /// Waits for its end and returns its exit code.
    DWORD wait() const;

private:
    OwnedHandle mProcess;
    OwnedHandle mThread;
    DWORD mPid = 0;
};

}  // namespace testing_support
