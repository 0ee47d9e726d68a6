#include "util/windows/security/accesstoken-win.h"

#include <boost/scoped_array.hpp>

#include <windows.h>

#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/debugstream-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/arrayinitializer-win.h"

namespace {

void check(BOOL succeeded, const char* call) {
    if (!succeeded) {
        throw Win32Exception(call);
    }
}

/// The array of a list; null for an empty one.
template <class Target, class Source>
class ListArray {
public:
    explicit ListArray(const std::vector<Source>& list)
        : mCount(static_cast<DWORD>(list.size())),
          mArray(list.empty() ? nullptr : new Target[list.size()]) {
        initializeArray(list, mArray.get());
    }
    DWORD count() const { return mCount; }
    Target* get() const { return mArray.get(); }

private:
    DWORD mCount;
    boost::scoped_array<Target> mArray;
};

void wipe(std::wstring& text) { SecureZeroMemory(text.data(), text.size() * sizeof text[0]); }

ScopedHandle logOn(const std::string& user, const std::string& domain, const std::string& password,
                   DWORD logonType, DWORD logonProvider) {
    const std::wstring wideUser = toWide(user);
    const std::wstring wideDomain = toWide(domain);
    std::wstring widePassword = toWide(password);
    ScopedHandle token;
    const BOOL isLoggedOn =
        LogonUserW(wideUser.c_str(), domain.empty() ? nullptr : wideDomain.c_str(),
                   widePassword.c_str(), logonType, logonProvider, token.receive());
    const DWORD error = GetLastError();
    wipe(widePassword);
    if (!isLoggedOn) {
        throw Win32Exception("LogonUserW", error);
    }
    return token;
}

std::string profileServer(const std::string& domain) {
    return domain == "." ? std::string() : domain;
}

}  // namespace

AccessToken::AccessToken(HANDLE process, DWORD access) {
    check(OpenProcessToken(process, access, &mToken), "OpenProcessToken");
}

AccessToken::AccessToken(HANDLE thread, DWORD access, bool openAsSelf) {
    check(OpenThreadToken(thread, access, openAsSelf, &mToken), "OpenThreadToken");
}

AccessToken::AccessToken(const AccessToken& token, SpelledOut<SECURITY_IMPERSONATION_LEVEL> level) {
    check(DuplicateToken(token.mToken, level, &mToken), "DuplicateToken");
}

AccessToken::AccessToken(const AccessToken& token, DWORD access, SECURITY_ATTRIBUTES* attributes,
                         SpelledOut<SECURITY_IMPERSONATION_LEVEL> level,
                         SpelledOut<TOKEN_TYPE> type) {
    check(DuplicateTokenEx(token.mToken, access, attributes, level, type, &mToken),
          "DuplicateTokenEx");
}

AccessToken::AccessToken(const std::string& user, const std::string& domain,
                         const std::string& password, DWORD logonType, DWORD logonProvider)
    : mToken(logOn(user, domain, password, logonType, logonProvider).detach()) {}

AccessToken::AccessToken(const std::string& user, const std::string& domain,
                         const std::string& password, DWORD logonType, DWORD logonProvider,
                         DWORD profileFlags, boost::shared_ptr<Profile>& profile)
    : AccessToken(user, domain, password, logonType, logonProvider) {
    profile.reset(new Profile(mToken, user, profileServer(domain), profileFlags));
}

AccessToken::AccessToken(const AccessToken& token, DWORD flags, const SidList& sidsToDisable,
                         const PrivilegeList& privilegesToDelete, const SidList& sidsToRestrict) {
    const ListArray<SID_AND_ATTRIBUTES, SidList::value_type> disable(sidsToDisable);
    const ListArray<LUID_AND_ATTRIBUTES, PrivilegeList::value_type> remove(privilegesToDelete);
    const ListArray<SID_AND_ATTRIBUTES, SidList::value_type> restricting(sidsToRestrict);
    check(CreateRestrictedToken(token.mToken, flags, disable.count(), disable.get(), remove.count(),
                                remove.get(), restricting.count(), restricting.get(), &mToken),
          "CreateRestrictedToken");
}

AccessToken::~AccessToken() {
    if (!CloseHandle(mToken)) {
        debugFailure("~AccessToken: CloseHandle");
    }
}

bool AccessToken::isMember(const SecurityIdentifier& sid) const {
    BOOL isMember = FALSE;
    check(CheckTokenMembership(mToken, sid.sid(), &isMember), "CheckTokenMembership");
    return isMember != FALSE;
}

void AccessToken::impersonate() const {
    check(ImpersonateLoggedOnUser(mToken), "ImpersonateLoggedOnUser");
}

bool AccessToken::accessCheck(const SecurityDescriptor& security, DWORD desired,
                              const GENERIC_MAPPING& mapping, PrivilegeSet& used,
                              DWORD& granted) const {
    alignas(PRIVILEGE_SET) BYTE buffer[1024] = {};
    auto* const privileges = reinterpret_cast<PRIVILEGE_SET*>(buffer);
    DWORD length = sizeof buffer;
    GENERIC_MAPPING mappingCopy = mapping;
    BOOL status = FALSE;
    check(AccessCheck(security.descriptor(), mToken, desired, &mappingCopy, privileges, &length,
                      &granted, &status),
          "AccessCheck");
    used.mControl = privileges->Control;
    used.mPrivileges.clear();
    for (DWORD i = 0; i < privileges->PrivilegeCount; ++i) {
        used.mPrivileges.emplace_back(privileges->Privilege[i].Luid,
                                      privileges->Privilege[i].Attributes);
    }
    return status == TRUE;
}

AccessToken::Profile::Profile(HANDLE token, const std::string& user, const std::string& server,
                              DWORD flags)
    : mToken(token) {
    std::wstring wideUser = toWide(user);
    std::wstring wideServer = toWide(server);
    mInformation.dwSize = sizeof mInformation;
    mInformation.dwFlags = flags;
    mInformation.lpUserName = wideUser.data();
    mInformation.lpServerName = server.empty() ? nullptr : wideServer.data();
    check(LoadUserProfileW(mToken, &mInformation), "LoadUserProfileW");
    mInformation.lpUserName = nullptr;
    mInformation.lpServerName = nullptr;
}

AccessToken::Profile::~Profile() {
    if (!UnloadUserProfile(mToken, mInformation.hProfile)) {
        debugFailure("UnloadUserProfile");
    }
}
