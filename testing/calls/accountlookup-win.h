#pragma once

#include <cwchar>
#include <string>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Replaces LookupAccountSidW until the scope ends: every SID belongs to the given account. At most
/// one object at a time.
class AccountLookup {
public:
    AccountLookup(const wchar_t* domain, const wchar_t* name, SID_NAME_USE use) {
        answer(domain, name, use);
        gError = NO_ERROR;
        gOnCall = nullptr;
    }
    AccountLookup(const AccountLookup&) = delete;
    AccountLookup& operator=(const AccountLookup&) = delete;

    void answer(const wchar_t* domain, const wchar_t* name, SID_NAME_USE use) {
        gDomain = domain;
        gName = name;
        gUse = use;
    }
    /// Makes look-ups fail from now on. A failed look-up leaves the kind of account unchanged.
    void fail(DWORD error) { gError = error; }
    void onCall(void (*function)()) { gOnCall = function; }

private:
    static BOOL WINAPI lookUp(LPCWSTR /*system*/, PSID /*sid*/, LPWSTR name, LPDWORD nameLength,
                              LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use) {
        if (gOnCall != nullptr) {
            gOnCall();
        }
        if (gError != NO_ERROR) {
            SetLastError(gError);
            return FALSE;
        }
        std::wcscpy(name, gName.c_str());
        *nameLength = static_cast<DWORD>(gName.size());
        std::wcscpy(domain, gDomain.c_str());
        *domainLength = static_cast<DWORD>(gDomain.size());
        *use = gUse;
        return TRUE;
    }

    static inline std::wstring gDomain;
    static inline std::wstring gName;
    static inline SID_NAME_USE gUse;
    static inline DWORD gError;
    static inline void (*gOnCall)();
    ReplacedCall<decltype(LookupAccountSidW)> mReplaced{"LookupAccountSidW", &lookUp};
};

}  // namespace testing_support
