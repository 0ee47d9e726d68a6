#pragma once

// Access tokens: whose rights a process, a thread or a child has.
//
//     AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
//     std::cerr << token.user().first.accountName();
//
// A failed Windows call throws a Win32Exception whose text is the name of the function, unless
// another text is told. What is read is copied: nothing points into the token or a buffer.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include <windows.h>
// Behind windows.h.
#include <userenv.h>

#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/argumentguards.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"

/// A PRIVILEGE_SET as a value.
struct PrivilegeSet {
    uint32_t mControl = 0;
    std::vector<std::pair<LUID, unsigned long>> mPrivileges;  ///< with their attributes
};

/// Owns a token. Its rights are those that it was opened with; each operation needs the right that
/// Windows asks for. The object may be used by several threads as far as Windows allows a handle.
class AccessToken {
public:
    class Profile;
    /// SIDs or groups, with their attributes.
    using SidList = std::vector<std::pair<SecurityIdentifier, unsigned long>>;
    using PrivilegeList = std::vector<std::pair<LUID, unsigned long>>;

    /// The token of a process. Throws "OpenProcessToken".
    AccessToken(HANDLE process, DWORD access);
    /// The token that a thread impersonates with. Throws "OpenThreadToken".
    AccessToken(HANDLE thread, DWORD access, bool openAsSelf);
    /// A duplicate is made of an AccessToken, not of a handle or an address.
    AccessToken(HANDLE token, SECURITY_IMPERSONATION_LEVEL level) = delete;
    template <NoHandleTarget T>
    AccessToken(T* noHandle, DWORD access) = delete;
    template <NoHandleTarget T>
    AccessToken(T* noHandle, DWORD access, bool openAsSelf) = delete;
    /// A duplicate to impersonate with. Throws "DuplicateToken".
    AccessToken(const AccessToken& token, SpelledOut<SECURITY_IMPERSONATION_LEVEL> level);
    /// Throws "DuplicateTokenEx".
    AccessToken(const AccessToken& token, DWORD access, SECURITY_ATTRIBUTES* attributes,
                SpelledOut<SECURITY_IMPERSONATION_LEVEL> level, SpelledOut<TOKEN_TYPE> type);
    /// Logs a user on; texts are UTF-8. Without a domain Windows looks for the user by itself, and
    /// "." is the own machine. Throws "LogonUserW".
    AccessToken(const std::string& user, const std::string& domain, const std::string& password,
                DWORD logonType, DWORD logonProvider);
    /// And loads the user's profile into `profile`, in place of what it held. The domain is its
    /// server, but for "" and ".". Throws "LoadUserProfileW" as well.
    AccessToken(const std::string& user, const std::string& domain, const std::string& password,
                DWORD logonType, DWORD logonProvider, DWORD profileFlags,
                boost::shared_ptr<Profile>& profile);
    /// A token with fewer rights. Throws "CreateRestrictedToken".
    AccessToken(const AccessToken& token, DWORD flags, const SidList& sidsToDisable,
                const PrivilegeList& privilegesToDelete, const SidList& sidsToRestrict);
    /// With `{}` three times nothing but the number would tell that from a duplicate: where all
    /// lists are empty, one of them at least is written SidList() or PrivilegeList().
    AccessToken(const AccessToken& token, DWORD flags, EmptyBraces, EmptyBraces,
                EmptyBraces) = delete;
    AccessToken(const AccessToken&) = delete;
    AccessToken& operator=(const AccessToken&) = delete;
    /// Closes the token. A failure goes to the debugger.
    ~AccessToken();

    HANDLE token() const { return mToken; }

    // The next throw "GetTokenInformation(size query)", "GetTokenInformation" and, where SIDs are
    // copied, "CopySid". Lists lose what they held.

    std::pair<SecurityIdentifier, unsigned long> user() const;
    /// The groups, or the SIDs that restrict the token.
    void groups(SidList& groups, bool restricted = false) const;
    void privileges(PrivilegeList& privileges) const;
    SecurityIdentifier owner() const;
    SecurityIdentifier primaryGroup() const;
    /// `dacl` owns a copy from then on; if the token has none, a block of no bytes, of which
    /// nothing may be asked, not even whether it is valid. What it had counted of an ACL before
    /// stays: hand over a new object, or refresh it.
    void defaultDacl(AccessControlList& dacl) const;
    /// All eight bytes of the name, and the identifier.
    std::pair<std::string, LUID> source() const;
    TOKEN_TYPE type() const;
    SECURITY_IMPERSONATION_LEVEL impersonationLevel() const;
    void statistics(TOKEN_STATISTICS& statistics) const;
    void groupsAndPrivileges(SidList& groups, SidList& restricted, PrivilegeList& privileges,
                             LUID& authenticationId) const;
    /// The first 32 bits of what Windows gives for the user, which is half an address.
    int userWord() const;
    /// Whether these are other than 0.
    bool hasUserWord() const;

    // The next throw "SetTokenInformation".

    void setInformation(TOKEN_INFORMATION_CLASS information, void* data, DWORD size);
    void setOwner(const SecurityIdentifier& owner);
    void setPrimaryGroup(const SecurityIdentifier& group);
    /// A null list leaves the token without a default DACL, which isn't one that allows nothing.
    void setDefaultDacl(const AccessControlList& dacl);
    /// Null or empty: `AccessControlList()` is the null list.
    void setDefaultDacl(EmptyBraces) = delete;
    void setSessionId(DWORD id);
    void setGroups(const SidList& groups);

    /// For a token to impersonate with. Throws "CheckTokenMembership".
    bool isMember(const SecurityIdentifier& sid) const;
    /// The calling thread acts as this user from now on; to end that is left to the caller. Throws
    /// "ImpersonateLoggedOnUser".
    void impersonate() const;
    /// Whether a token to impersonate with is granted `desired`, without generic rights, on an
    /// object of this security. Throws "AccessCheck".
    bool accessCheck(const SecurityDescriptor& security, DWORD desired,
                     const GENERIC_MAPPING& mapping, PrivilegeSet& used, DWORD& granted) const;

    /// Gives the privileges these attributes, or, for null, disables all. `*previous`, unless null,
    /// becomes the list of those that have changed, but for a Windows that tells no size. False if
    /// the call fails with ERROR_NOT_ALL_ASSIGNED; one that succeeds and leaves that number counts
    /// as success. Throws "AdjustTokenPrivileges".
    bool adjustPrivileges(const PrivilegeList* privileges, PrivilegeList* previous = nullptr);
    /// `{}` would be null, which is all privileges, where it looks like none.
    bool adjustPrivileges(EmptyBraces, PrivilegeList* previous = nullptr) = delete;
    /// The same with groups; for null they become what they are by default. Every failure of the
    /// first call throws "AdjustTokenGroups": so does asking for a former state that Windows can't
    /// tell in four bytes. False comes of the second call alone.
    bool adjustGroups(const SidList* groups, SidList* previous = nullptr);
    bool adjustGroups(EmptyBraces, SidList* previous = nullptr) = delete;

private:
    HANDLE mToken = nullptr;
};

/// Keeps the profile of a user loaded. It goes before the token that it was loaded for, of which it
/// knows the handle alone.
class AccessToken::Profile {
public:
    /// Without a server if the name is empty. Throws "LoadUserProfileW".
    Profile(HANDLE token, const std::string& user, const std::string& server, DWORD flags);
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;
    /// Unloads the profile. A failure goes to the debugger.
    ~Profile();

    /// The registry key of the user. Its two texts are null.
    const PROFILEINFOW& information() const { return mInformation; }

private:
    HANDLE mToken;
    PROFILEINFOW mInformation = {};
};
