#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <windows.h>

#include "testing/ownedhandle-win.h"

namespace testing_support {

/// A process that exists and never does anything, until the object is destroyed.
class [[nodiscard]] SuspendedProgram {
public:
    /// Throws std::system_error if it can't be started.
    explicit SuspendedProgram(const std::filesystem::path& program) {
        std::wstring line = L"suspended";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        if (!CreateProcessW(program.c_str(), line.data(), /*lpProcessAttributes=*/nullptr,
                            /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/FALSE,
                            CREATE_SUSPENDED, /*lpEnvironment=*/nullptr,
                            /*lpCurrentDirectory=*/nullptr, &startup, &process)) {
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                    "CreateProcessW");
        }
        CloseHandle(process.hThread);
        mProcess.reset(process.hProcess);
        mPid = process.dwProcessId;
    }
    ~SuspendedProgram() { end(); }
    SuspendedProgram(const SuspendedProgram&) = delete;
    SuspendedProgram& operator=(const SuspendedProgram&) = delete;

    HANDLE handle() const { return mProcess.get(); }
    DWORD pid() const { return mPid; }
    /// Terminates the process. The handle and the id stay.
    void end() const {
        TerminateProcess(mProcess.get(), 1);
        WaitForSingleObject(mProcess.get(), INFINITE);
    }

private:
    OwnedHandle mProcess;
    DWORD mPid = 0;
};

}  // namespace testing_support
