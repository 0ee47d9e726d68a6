#pragma once

#include <cwchar>
#include <string>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Replaces LookupAccountSidW until the scope ends: every SID belongs to the given account. At most
/// one object at a time.
class [[nodiscard]] AccountLookup {
public:
    AccountLookup(const wchar_t* domain, const wchar_t* name, SID_NAME_USE use) {
        answer(domain, name, use);
        sError = NO_ERROR;
        sOnCall = nullptr;
    }
    AccountLookup(const AccountLookup&) = delete;
    AccountLookup& operator=(const AccountLookup&) = delete;

    void answer(const wchar_t* domain, const wchar_t* name, SID_NAME_USE use) {
        sDomain = domain;
        sName = name;
        sUse = use;
    }
    /// Makes look-ups fail from now on. A failed look-up leaves the kind of account unchanged.
    void fail(DWORD error) { sError = error; }
    void onCall(void (*function)()) { sOnCall = function; }

private:
    static BOOL WINAPI lookUp(LPCWSTR /*system*/, PSID /*sid*/, LPWSTR name, LPDWORD nameLength,
                              LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use) {
        if (sOnCall != nullptr) {
            sOnCall();
        }
        if (sError != NO_ERROR) {
            SetLastError(sError);
            return FALSE;
        }
        std::wcscpy(name, sName.c_str());
        *nameLength = static_cast<DWORD>(sName.size());
        std::wcscpy(domain, sDomain.c_str());
        *domainLength = static_cast<DWORD>(sDomain.size());
        *use = sUse;
        return TRUE;
    }

    static inline std::wstring sDomain;
    static inline std::wstring sName;
    static inline SID_NAME_USE sUse;
    static inline DWORD sError;
    static inline void (*sOnCall)();
    ReplacedCall<decltype(LookupAccountSidW)> mReplaced{"LookupAccountSidW", &lookUp};
};

}  // namespace testing_support
