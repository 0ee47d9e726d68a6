// The information classes of AccessToken, and its privileges and groups.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include <boost/scoped_array.hpp>

#include <windows.h>

#include "util/platform/errortext-win.h"
#include "util/windows/security/accesstoken-win.h"
#include "util/windows/security/arrayinitializer-win.h"

namespace {

using Bytes = boost::scoped_array<BYTE>;

/// The information that Windows returns about a token.
template <class Information>
class TokenBuffer {
public:
    TokenBuffer(HANDLE token, TOKEN_INFORMATION_CLASS information) {
        DWORD size = 0;
        if (GetTokenInformation(token, information, nullptr, 0, &size)) {
            size = 0;
        } else if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
            throw Win32Exception("GetTokenInformation(size query)");
        }
        mBytes.reset(new BYTE[size]);
        if (!GetTokenInformation(token, information, mBytes.get(), size, &size)) {
            throw Win32Exception("GetTokenInformation");
        }
    }
    const Information* operator->() const {
        return reinterpret_cast<const Information*>(mBytes.get());
    }
    const Information& operator*() const { return *operator->(); }

private:
    Bytes mBytes;
};

void copySids(const SID_AND_ATTRIBUTES* sids, DWORD count, AccessToken::SidList& list) {
    AccessToken::SidList copies;
    copies.reserve(count);
    for (DWORD i = 0; i < count; ++i) {
        copies.emplace_back(SecurityIdentifier::deepCopy(sids[i].Sid), sids[i].Attributes);
    }
    list.swap(copies);
}

void copyPrivileges(const LUID_AND_ATTRIBUTES* privileges, DWORD count,
                    AccessToken::PrivilegeList& list) {
    list.clear();
    list.reserve(count);
    for (DWORD i = 0; i < count; ++i) {
        list.emplace_back(privileges[i].Luid, privileges[i].Attributes);
    }
}

/// A TOKEN_PRIVILEGES or TOKEN_GROUPS: a count, and the entries at `entriesOffset`. Null for a null
/// list.
template <class Block, class Entry, size_t entriesOffset>
class InputBlock {
public:
    template <class List>
    explicit InputBlock(const List* list) {
        if (list == nullptr) {
            return;
        }
        const auto count = static_cast<DWORD>(list->size());
        const size_t entriesSize = count * sizeof(Entry);
        mSize = static_cast<DWORD>(sizeof count + entriesSize);
        mBytes.reset(new BYTE[entriesOffset + entriesSize]());
        std::memcpy(mBytes.get(), &count, sizeof count);
        initializeArray(*list, reinterpret_cast<Entry*>(mBytes.get() + entriesOffset));
    }
    Block* get() const { return reinterpret_cast<Block*>(mBytes.get()); }
    // Compatibility: the size of the count and the entries, without the gap that groups have
    // between them. For groups Windows gets a size 4 bytes too small, and takes all entries.
    DWORD size() const { return mSize; }

private:
    DWORD mSize = 0;
    Bytes mBytes;
};

using PrivilegesBlock =
    InputBlock<TOKEN_PRIVILEGES, LUID_AND_ATTRIBUTES, offsetof(TOKEN_PRIVILEGES, Privileges)>;
using GroupsBlock = InputBlock<TOKEN_GROUPS, SID_AND_ATTRIBUTES, offsetof(TOKEN_GROUPS, Groups)>;
static_assert(offsetof(TOKEN_PRIVILEGES, Privileges) == 4 && offsetof(TOKEN_GROUPS, Groups) == 8);

/// Returns whether the adjustment succeeded: false for ERROR_NOT_ALL_ASSIGNED. Throws for other
/// errors.
bool isAllAssigned(BOOL succeeded, const char* call) {
    // Compatibility: ERROR_NOT_ALL_ASSIGNED after a success doesn't count, so true doesn't mean
    // that every privilege is as requested.
    if (succeeded) {
        return true;
    }
    if (GetLastError() != ERROR_NOT_ALL_ASSIGNED) {
        throw Win32Exception(call);
    }
    return false;
}

}  // namespace

std::pair<SecurityIdentifier, unsigned long> AccessToken::user() const {
    const TokenBuffer<TOKEN_USER> user(mToken, TokenUser);
    return {SecurityIdentifier::deepCopy(user->User.Sid), user->User.Attributes};
}

void AccessToken::groups(SidList& groups, bool restricted) const {
    const TokenBuffer<TOKEN_GROUPS> found(mToken, restricted ? TokenRestrictedSids : TokenGroups);
    copySids(found->Groups, found->GroupCount, groups);
}

void AccessToken::privileges(PrivilegeList& privileges) const {
    const TokenBuffer<TOKEN_PRIVILEGES> found(mToken, TokenPrivileges);
    copyPrivileges(found->Privileges, found->PrivilegeCount, privileges);
}

SecurityIdentifier AccessToken::owner() const {
    return SecurityIdentifier::deepCopy(TokenBuffer<TOKEN_OWNER>(mToken, TokenOwner)->Owner);
}

SecurityIdentifier AccessToken::primaryGroup() const {
    return SecurityIdentifier::deepCopy(
        TokenBuffer<TOKEN_PRIMARY_GROUP>(mToken, TokenPrimaryGroup)->PrimaryGroup);
}

void AccessToken::defaultDacl(AccessControlList& dacl) const {
    const TokenBuffer<TOKEN_DEFAULT_DACL> found(mToken, TokenDefaultDacl);
    const size_t size = found->DefaultDacl != nullptr ? found->DefaultDacl->AclSize : 0;
    HLOCAL copy = LocalAlloc(LMEM_FIXED, size);
    if (size != 0) {
        std::memcpy(copy, found->DefaultDacl, size);
    }
    dacl.adopt(static_cast<PACL>(copy));
}

std::pair<std::string, LUID> AccessToken::source() const {
    const TokenBuffer<TOKEN_SOURCE> source(mToken, TokenSource);
    return {std::string(source->SourceName, TOKEN_SOURCE_LENGTH), source->SourceIdentifier};
}

TOKEN_TYPE AccessToken::type() const { return *TokenBuffer<TOKEN_TYPE>(mToken, TokenType); }

SECURITY_IMPERSONATION_LEVEL AccessToken::impersonationLevel() const {
    return *TokenBuffer<SECURITY_IMPERSONATION_LEVEL>(mToken, TokenImpersonationLevel);
}

void AccessToken::statistics(TOKEN_STATISTICS& statistics) const {
    statistics = *TokenBuffer<TOKEN_STATISTICS>(mToken, TokenStatistics);
}

void AccessToken::groupsAndPrivileges(SidList& groups, SidList& restricted,
                                      PrivilegeList& privileges, LUID& authenticationId) const {
    const TokenBuffer<TOKEN_GROUPS_AND_PRIVILEGES> found(mToken, TokenGroupsAndPrivileges);
    copySids(found->Sids, found->SidCount, groups);
    copySids(found->RestrictedSids, found->RestrictedSidCount, restricted);
    copyPrivileges(found->Privileges, found->PrivilegeCount, privileges);
    authenticationId = found->AuthenticationId;
}

// Compatibility: the data begins with a pointer, so this is half an address. Callers may compare it
// with 0.
int AccessToken::userWord() const { return *TokenBuffer<int>(mToken, TokenUser); }

bool AccessToken::hasUserWord() const { return userWord() != 0; }

void AccessToken::setInformation(TOKEN_INFORMATION_CLASS information, void* data, DWORD size) {
    if (!SetTokenInformation(mToken, information, data, size)) {
        throw Win32Exception("SetTokenInformation");
    }
}

void AccessToken::setOwner(const SecurityIdentifier& owner) {
    TOKEN_OWNER data = {owner.sid()};
    setInformation(TokenOwner, &data, sizeof data);
}

void AccessToken::setPrimaryGroup(const SecurityIdentifier& group) {
    TOKEN_PRIMARY_GROUP data = {group.sid()};
    setInformation(TokenPrimaryGroup, &data, sizeof data);
}

void AccessToken::setDefaultDacl(const AccessControlList& dacl) {
    TOKEN_DEFAULT_DACL data = {dacl.acl()};
    setInformation(TokenDefaultDacl, &data, sizeof data);
}

void AccessToken::setSessionId(DWORD id) { setInformation(TokenSessionId, &id, sizeof id); }

void AccessToken::setGroups(const SidList& groups) {
    const GroupsBlock block(&groups);
    setInformation(TokenGroups, block.get(), block.size());
}

bool AccessToken::adjustPrivileges(const PrivilegeList* privileges, PrivilegeList* previous) {
    constexpr const char* name = "AdjustTokenPrivileges";
    const PrivilegesBlock block(privileges);
    const auto adjust = [&](DWORD size, void* state, DWORD* needed) {
        return AdjustTokenPrivileges(mToken, /*DisableAllPrivileges=*/privileges == nullptr,
                                     block.get(), size, static_cast<PTOKEN_PRIVILEGES>(state),
                                     needed);
    };
    if (previous == nullptr) {
        return isAllAssigned(adjust(0, nullptr, nullptr), name);
    }
    DWORD countAlone = 0;
    DWORD needed = 0;
    const BOOL succeeded = adjust(sizeof countAlone, &countAlone, &needed);
    bool isComplete = (!succeeded && GetLastError() == ERROR_INSUFFICIENT_BUFFER) ||
                      isAllAssigned(succeeded, name);
    if (needed != 0) {
        const Bytes state(new BYTE[std::max<size_t>(needed, sizeof(TOKEN_PRIVILEGES))]());
        isComplete = isAllAssigned(adjust(needed, state.get(), &needed), name) && isComplete;
        const auto* const found = reinterpret_cast<const TOKEN_PRIVILEGES*>(state.get());
        copyPrivileges(found->Privileges, found->PrivilegeCount, *previous);
    }
    return isComplete;
}

bool AccessToken::adjustGroups(const SidList* groups, SidList* previous) {
    constexpr const char* name = "AdjustTokenGroups";
    const GroupsBlock block(groups);
    const auto adjust = [&](DWORD size, void* state, DWORD* needed) {
        return AdjustTokenGroups(mToken, /*ResetToDefault=*/groups == nullptr, block.get(), size,
                                 static_cast<PTOKEN_GROUPS>(state), needed);
    };
    DWORD countAlone = 0;
    DWORD needed = 0;
    const bool wantsState = previous != nullptr;
    // Compatibility: unlike with privileges, a buffer that is too small is an error here, so a
    // former state of more than four bytes always throws.
    if (!adjust(wantsState ? sizeof countAlone : 0, wantsState ? &countAlone : nullptr,
                wantsState ? &needed : nullptr)) {
        throw Win32Exception(name);
    }
    if (!wantsState || needed == 0) {
        return true;
    }
    const Bytes state(new BYTE[std::max<size_t>(needed, sizeof(TOKEN_GROUPS))]());
    const bool isComplete = isAllAssigned(adjust(needed, state.get(), &needed), name);
    const auto* const found = reinterpret_cast<const TOKEN_GROUPS*>(state.get());
    copySids(found->Groups, found->GroupCount, *previous);
    return isComplete;
}
