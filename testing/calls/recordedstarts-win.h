#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Records what the test program calls CreateProcessW and CreateProcessAsUserW with, until the
/// scope ends. The starts are real, except those that are to fail. At most one object at a time.
class [[nodiscard]] RecordedStarts {
public:
    struct Call {
        HANDLE token;                         ///< null: CreateProcessW
        std::optional<std::wstring> program;  ///< none: null
        std::wstring line;
        bool hasAttributes;  ///< of the process or its thread
        BOOL inherits;
        DWORD flags;
        /// All entries, each with its NUL.
        std::optional<std::wstring> environment;
        std::optional<std::wstring> directory;
        STARTUPINFOW startup;
        std::wstring desktop;
        /// This process's own at the time of the call.
        std::wstring currentDirectory;
        std::wstring path;
        /// What the system returned; all 0 after a failure.
        PROCESS_INFORMATION process;
    };

    /// The first starts fail with these errors; a start whose error is 0 is made. `onCall` runs
    /// before each start.
    explicit RecordedStarts(std::deque<DWORD> errors = {}, std::function<void()> onCall = {});
    ~RecordedStarts();
    RecordedStarts(const RecordedStarts&) = delete;
    RecordedStarts& operator=(const RecordedStarts&) = delete;

    const std::vector<Call>& calls() const { return mCalls; }
    const Call& last() const { return mCalls.back(); }

private:
    static BOOL WINAPI createProcess(LPCWSTR program, LPWSTR line,
                                     LPSECURITY_ATTRIBUTES processAttributes,
                                     LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherits,
                                     DWORD flags, LPVOID environment, LPCWSTR directory,
                                     LPSTARTUPINFOW startup, LPPROCESS_INFORMATION process);
    static BOOL WINAPI createProcessAsUser(HANDLE token, LPCWSTR program, LPWSTR line,
                                           LPSECURITY_ATTRIBUTES processAttributes,
                                           LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherits,
                                           DWORD flags, LPVOID environment, LPCWSTR directory,
                                           LPSTARTUPINFOW startup, LPPROCESS_INFORMATION process);
    static BOOL start(HANDLE token, LPCWSTR program, LPWSTR line,
                      LPSECURITY_ATTRIBUTES processAttributes,
                      LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherits, DWORD flags,
                      LPVOID environment, LPCWSTR directory, LPSTARTUPINFOW startup,
                      LPPROCESS_INFORMATION process);

    std::deque<DWORD> mErrors;
    std::function<void()> mOnCall;
    std::vector<Call> mCalls;
    ReplacedCall<decltype(CreateProcessW)> mReplaced;
    ReplacedCall<decltype(CreateProcessAsUserW)> mReplacedAsUser;
};

}  // namespace testing_support
