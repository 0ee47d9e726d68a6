#include "util/windows/exec/priority-win.h"

#include <string>
#include <utility>

#include "util/platform/errortext-win.h"
#include "util/windows/exec-win.h"

std::atomic<int32_t> gRaisePriority{0};

namespace {

/// Enables a privilege of a token. False, with the failure in GetLastError, also if the token
/// doesn't hold it.
bool enablePrivilege(HANDLE token, const char* name) {
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookupPrivilegeValueA(/*lpSystemName=*/nullptr, name, &privileges.Privileges[0].Luid)) {
        return false;
    }
    return AdjustTokenPrivileges(token, /*DisableAllPrivileges=*/FALSE, &privileges,
                                 sizeof privileges, /*PreviousState=*/nullptr,
                                 /*ReturnLength=*/nullptr) &&
           GetLastError() != ERROR_NOT_ALL_ASSIGNED;
}

bool isBelowWindows7() {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExA(&version) &&
           std::pair(version.dwMajorVersion, version.dwMinorVersion) < std::pair(6UL, 1UL);
}

}  // namespace

std::string Exec::elevateWindowsPriority() {
    if (gRaisePriority != 0) {
        return {};
    }
    ScopedHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY,
                          token.receive())) {
        return withLastError("Exec::elevateWindowsPriority couldn't open process token: ");
    }
    if (!enablePrivilege(token.get(), "SeIncreaseBasePriorityPrivilege")) {
        return withLastError("Exec::elevateWindowsPriority couldn't change process token: ");
    }
    if (isBelowWindows7()) {
        int32_t clear = 0;
        gRaisePriority.compare_exchange_strong(clear, 1);
    }
    return {};
}
