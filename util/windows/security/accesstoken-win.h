#pragma once

// Access tokens: they say whose rights a process, a thread or a child process has.
//
//     AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
//     std::cerr << token.user().first.accountName();
//
// A failed Windows call throws a Win32Exception whose text begins with the name of the function, or
// with another documented text. All results are copies: nothing points into the token or a buffer.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include <windows.h>
#include <userenv.h>

#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/argumentguards.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"

/// A PRIVILEGE_SET as a value.
struct PrivilegeSet {
    uint32_t mControl = 0;                                    ///< PRIVILEGE_SET_ALL_NECESSARY or 0
    std::vector<std::pair<LUID, unsigned long>> mPrivileges;  ///< each with its attributes
};

/// Owns a token. Its access rights are those that it was opened with; each operation needs the
/// right that Windows requires for it. Several threads may use an object as far as Windows allows
/// that for a handle.
class AccessToken {
public:
    class Profile;
    /// SIDs or groups, each with its attributes.
    using SidList = std::vector<std::pair<SecurityIdentifier, unsigned long>>;
    /// Privileges, each with its attributes.
    using PrivilegeList = std::vector<std::pair<LUID, unsigned long>>;

    /// Opens the token of a process. Throws "OpenProcessToken".
    AccessToken(HANDLE process, DWORD access);
    /// Opens the token that a thread impersonates with. Throws "OpenThreadToken".
    AccessToken(HANDLE thread, DWORD access, bool openAsSelf);
    /// A duplicate is made from an AccessToken, not from a handle or an address.
    AccessToken(HANDLE token, SECURITY_IMPERSONATION_LEVEL level) = delete;
    template <NoHandleTarget T>
    AccessToken(T* noHandle, DWORD access) = delete;
    template <NoHandleTarget T>
    AccessToken(T* noHandle, DWORD access, bool openAsSelf) = delete;
    /// Makes a duplicate to impersonate with. Throws "DuplicateToken".
    AccessToken(const AccessToken& token, SpelledOut<SECURITY_IMPERSONATION_LEVEL> level);
    /// Makes a duplicate. Throws "DuplicateTokenEx".
    AccessToken(const AccessToken& token, DWORD access, SECURITY_ATTRIBUTES* attributes,
                SpelledOut<SECURITY_IMPERSONATION_LEVEL> level, SpelledOut<TOKEN_TYPE> type);
    /// Logs a user on. The strings are UTF-8. If the domain is empty, Windows searches for the
    /// user; "." is the local machine. Throws "LogonUserW".
    AccessToken(const std::string& user, const std::string& domain, const std::string& password,
                DWORD logonType, DWORD logonProvider);
    /// Also loads the user's profile and stores it in `profile`, which it replaces. The domain is
    /// the profile's server, except for "" and ".", which mean no server. Throws "LoadUserProfileW"
    /// as well.
    AccessToken(const std::string& user, const std::string& domain, const std::string& password,
                DWORD logonType, DWORD logonProvider, DWORD profileFlags,
                boost::shared_ptr<Profile>& profile);
    /// Makes a token with fewer rights. Throws "CreateRestrictedToken".
    AccessToken(const AccessToken& token, DWORD flags, const SidList& sidsToDisable,
                const PrivilegeList& privilegesToDelete, const SidList& sidsToRestrict);
    /// With three `{}`, only the number (`flags` or `access`) would distinguish this call from a
    /// duplication. If all lists are empty, write at least one as SidList() or PrivilegeList().
    AccessToken(const AccessToken& token, DWORD flags, EmptyBraces, EmptyBraces,
                EmptyBraces) = delete;
    AccessToken(const AccessToken&) = delete;
    AccessToken& operator=(const AccessToken&) = delete;
    /// Closes the token. A failure is reported to the debugger.
    ~AccessToken();

    /// Returns the handle, which this object closes.
    [[nodiscard]] HANDLE token() const { return mToken; }

    /// @name What the token says
    /// These throw "GetTokenInformation(size query)", "GetTokenInformation" and, where SIDs are
    /// copied, "CopySid". Lists lose their old contents.
    /// @{
    /// Returns the user's SID and its attributes.
    [[nodiscard]] std::pair<SecurityIdentifier, unsigned long> user() const;
    /// Reads the groups, or with `restricted` the SIDs that restrict the token.
    void groups(SidList& groups, bool restricted = false) const;
    /// Reads the privileges, whether they are enabled or not.
    void privileges(PrivilegeList& privileges) const;
    /// Returns the SID that becomes the owner of new objects.
    [[nodiscard]] SecurityIdentifier owner() const;
    /// Returns the SID that becomes the group of new objects.
    [[nodiscard]] SecurityIdentifier primaryGroup() const;
    /// Makes `dacl` the owner of a copy. If the token has no default DACL, the copy is a block of 0
    /// bytes: nothing may be called on it, not even `isValid`. Counts that `dacl` cached for an ACL
    /// before stay, so pass a new object or call `refresh`.
    void defaultDacl(AccessControlList& dacl) const;
    /// Returns all eight bytes of the name, and the identifier.
    [[nodiscard]] std::pair<std::string, LUID> source() const;
    /// Returns whether it is a primary token or one to impersonate with.
    [[nodiscard]] TOKEN_TYPE type() const;
    /// Returns the level of a token to impersonate with; for a primary token, Windows refuses.
    [[nodiscard]] SECURITY_IMPERSONATION_LEVEL impersonationLevel() const;
    /// Stores Windows's TOKEN_STATISTICS.
    void statistics(TOKEN_STATISTICS& statistics) const;
    /// Reads all of these at once, and the logon session.
    void groupsAndPrivileges(SidList& groups, SidList& restricted, PrivilegeList& privileges,
                             LUID& authenticationId) const;
    /// Returns the first 32 bits of the data that Windows returns for the user: half an address.
    [[nodiscard]] int userWord() const;
    /// Returns whether `userWord` isn't 0.
    [[nodiscard]] bool hasUserWord() const;
    /// @}

    /// @name What can be changed
    /// These throw "SetTokenInformation".
    /// @{
    /// Passes `size` bytes of data to Windows.
    void setInformation(TOKEN_INFORMATION_CLASS information, void* data, DWORD size);
    /// Sets the owner of new objects.
    void setOwner(const SecurityIdentifier& owner);
    /// Sets the group of new objects.
    void setPrimaryGroup(const SecurityIdentifier& group);
    /// A null list leaves the token without a default DACL. That isn't a DACL that allows nothing.
    void setDefaultDacl(const AccessControlList& dacl);
    /// `{}` could mean null or empty. `AccessControlList()` is the null list.
    void setDefaultDacl(EmptyBraces) = delete;
    /// Moves the token to another terminal session.
    void setSessionId(DWORD id);
    /// Replaces the groups, as far as Windows lets a program do that.
    void setGroups(const SidList& groups);
    /// @}

    /// Needs a token to impersonate with. Throws "CheckTokenMembership".
    [[nodiscard]] bool isMember(const SecurityIdentifier& sid) const;
    /// Makes the calling thread act as this user; ending that is up to the caller. Throws
    /// "ImpersonateLoggedOnUser".
    void impersonate() const;
    /// Returns whether this token, one to impersonate with, is granted `desired` on an object with
    /// this security. `desired` must not contain generic rights. Throws "AccessCheck".
    [[nodiscard]] bool accessCheck(const SecurityDescriptor& security, DWORD desired,
                                   const GENERIC_MAPPING& mapping, PrivilegeSet& used,
                                   DWORD& granted) const;

    /// Gives the privileges these attributes; null disables all privileges. `*previous`, unless
    /// null, becomes the list of the changed privileges; it stays unchanged if Windows reports no
    /// size for that list. Returns false if the call fails with ERROR_NOT_ALL_ASSIGNED. A call that
    /// succeeds and sets that error counts as success. Throws "AdjustTokenPrivileges".
    [[nodiscard]] bool adjustPrivileges(const PrivilegeList* privileges,
                                        PrivilegeList* previous = nullptr);
    /// `{}` looks like no privileges, but would be null, which means all.
    [[nodiscard]] bool adjustPrivileges(EmptyBraces, PrivilegeList* previous = nullptr) = delete;
    /// The same with groups; null resets them to their defaults. With `previous`, Windows is called
    /// with space for four bytes of the former state, and then, unless it reports no size, with
    /// that size. Every failure of the first call throws "AdjustTokenGroups", including
    /// ERROR_INSUFFICIENT_BUFFER; only the second can lead to false.
    [[nodiscard]] bool adjustGroups(const SidList* groups, SidList* previous = nullptr);
    [[nodiscard]] bool adjustGroups(EmptyBraces, SidList* previous = nullptr) = delete;

private:
    /// A plain handle: a ScopedHandle would report a failed close with another text.
    HANDLE mToken = nullptr;
};

/// Keeps the profile of a user loaded. It must be destroyed before the token that it was loaded
/// for: it stores only that token's handle.
class AccessToken::Profile {
public:
    /// Loads the profile. An empty `server` means no server. Throws "LoadUserProfileW".
    Profile(HANDLE token, const std::string& user, const std::string& server, DWORD flags);
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;
    /// Unloads the profile. A failure is reported to the debugger.
    ~Profile();

    /// Holds the user's registry key. The user name and the server name in it are null.
    [[nodiscard]] const PROFILEINFOW& information() const { return mInformation; }

private:
    HANDLE mToken;
    PROFILEINFOW mInformation = {};
};
