#pragma once

// ACEs and ACLs.
//
//     AccessControlList dacl(/*aceCount=*/1, ACL_REVISION, /*limitSize=*/false);
//     dacl.addAce(ACL_REVISION, AccessControlList::atEnd,
//                 AccessControlEntry::allowed(GENERIC_READ, SecurityIdentifier("S-1-1-0"), 0));
//
// A failed Windows call throws a Win32Exception whose text is the name of the function.

#include <concepts>
#include <cstdint>
#include <vector>

#include <windows.h>

#include "util/windows/security/securityidentifier-win.h"

class ExplicitAccessList;

/// An ACE: a view of one that an ACL holds, good as long as that and until it changes, or the owner
/// of its own bytes. Nothing is checked: a null view can't be read.
class AccessControlEntry {
public:
    /// A view.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw ACE is one.
    AccessControlEntry(ACE_HEADER* ace = nullptr) noexcept : mAce(ace) {}
    /// An owner. An invalid SID has no bytes in it.
    AccessControlEntry(ACCESS_MASK mask, const SecurityIdentifier& sid, BYTE flags, bool isDenied);
    static AccessControlEntry allowed(ACCESS_MASK mask, const SecurityIdentifier& sid, BYTE flags);
    static AccessControlEntry denied(ACCESS_MASK mask, const SecurityIdentifier& sid, BYTE flags);

    /// A view of what `other` is a view of, or an owner of its own bytes if `other` is one or
    /// `forceCopy` is set. Of a null it is always a view.
    AccessControlEntry(const AccessControlEntry& other, bool forceCopy = false);
    AccessControlEntry(AccessControlEntry&& other) noexcept;
    /// `other` is no view of the bytes that this object owns.
    AccessControlEntry& operator=(AccessControlEntry other) noexcept;
    ~AccessControlEntry();

    ACE_HEADER* ace() const { return mAce; }
    bool isOwner() const { return mOwned; }

    BYTE type() const { return mAce->AceType; }
    void setType(BYTE type) { mAce->AceType = type; }
    BYTE flags() const { return mAce->AceFlags; }
    void setFlags(BYTE flags) { mAce->AceFlags = flags; }
    /// Bytes, the header included.
    WORD size() const { return mAce->AceSize; }
    /// 0 for a compound ACE and for types that aren't known.
    ACCESS_MASK mask() const;
    /// A view into the ACE, null where `mask` is 0 for the type's sake. Object ACEs are read as
    /// if they held both GUIDs, whatever they say.
    SecurityIdentifier sid() const;

private:
    ACE_HEADER* mAce = nullptr;
    bool mOwned = false;  ///< the bytes are an array of new[]
};

/// An ACL: a view, good as long as what holds it (a security descriptor), or the owner. A null one
/// is no valid ACL, and can be asked for its validity, merged into and printed alone.
///
/// One thread at a time uses an object, also to read: it keeps the counts that it has asked for.
/// Changes by others behind its back are seen after a `refresh`.
class AccessControlList {
public:
    static constexpr DWORD atEnd = MAXDWORD;

    /// A view, of nothing by default.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw ACL is one.
    AccessControlList(PACL acl = nullptr) noexcept : mAcl(acl) {}
    /// 0 would be the null list, and looks like an empty one.
    template <std::same_as<int> Number>
    AccessControlList(Number zero) = delete;
    /// An empty ACL with room for as many ACEs of any kind without conditions, which is 112 bytes
    /// for each; with `limitSize` it has 2,000 bytes at most. Throws "InitializeAcl", for more than
    /// 585 ACEs without that limit too: no ACL has more than 65,535 bytes.
    AccessControlList(DWORD aceCount, DWORD revision, bool limitSize);
    /// Throws "SetEntriesInAclW".
    explicit AccessControlList(const ExplicitAccessList& entries);
    AccessControlList(AccessControlList&& other) noexcept;
    /// `other` is no view of the ACL that this object owns.
    AccessControlList& operator=(AccessControlList&& other) noexcept;
    ~AccessControlList() { drop(); }

    PACL acl() const { return mAcl; }
    bool isOwner() const { return mOwned; }
    /// Takes over an ACL of LocalAlloc's, and frees what was owned, which is another one. The
    /// counts that were kept stay and aren't those of the new one.
    void adopt(PACL acl) noexcept;

    bool isValid() const;
    /// Asks for the counts again. Throws "GetAclInformation", as the next three may.
    void refresh() const;
    DWORD aceCount() const;
    DWORD bytesInUse() const;
    DWORD bytesFree() const;

    /// A view. Throws "GetAce".
    AccessControlEntry ace(DWORD index) const;
    /// `index` may be `atEnd`. Throws "AddAce", as the next, which leaves what it has added.
    void addAce(DWORD revision, DWORD index, const AccessControlEntry& ace);
    /// The ACE number i goes to `startIndex + i`: `atEnd` is for one alone. Views into this list
    /// are added as they were when this was called.
    void addAces(DWORD revision, DWORD startIndex, const std::vector<AccessControlEntry>& aces);
    /// Throws "DeleteAce".
    void deleteAce(DWORD index);
    /// Removes the ACEs of the SID; those without one, if it is null. An ACE that can't be read or
    /// deleted stays. Throws "GetAclInformation".
    void removeAces(const SecurityIdentifier& sid);
    /// Becomes the owner of a new ACL with these entries as well. Throws "SetEntriesInAclW", and
    /// nothing has changed.
    void merge(const ExplicitAccessList& entries);

    /// Whether the first ACE that is of this SID and has all of `mask` and of `aceFlags` allows.
    /// False if there is none: masks of several ACEs don't add up. Throws "GetAclInformation",
    /// "GetAce".
    bool allows(const SecurityIdentifier& sid, ACCESS_MASK mask, BYTE aceFlags) const;

    /// Throws "GetExplicitEntriesFromAclW".
    ExplicitAccessList explicitEntries() const;

private:
    static constexpr ACL_SIZE_INFORMATION unknownSize = {MAXDWORD, 0, 0};

    const ACL_SIZE_INFORMATION& size() const;
    void forgetSize() { mSize = unknownSize; }
    void drop() noexcept;

    PACL mAcl = nullptr;
    mutable ACL_SIZE_INFORMATION mSize = unknownSize;  ///< an AceCount of MAXDWORD: not known
    bool mOwned = false;                               ///< LocalFree gives it back
};
