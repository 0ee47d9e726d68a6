#pragma once

// ACEs and ACLs.
//
//     AccessControlList dacl(/*aceCount=*/1, ACL_REVISION, /*limitSize=*/false);
//     dacl.addAce(ACL_REVISION, AccessControlList::atEnd,
//                 AccessControlEntry::allowed(GENERIC_READ, SecurityIdentifier("S-1-1-0"), 0));
//
// A failed Windows call throws a Win32Exception whose text begins with the name of the function:
// `Throws "GetAce"` gives that name.

#include <concepts>
#include <cstdint>
#include <vector>

#include <windows.h>

#include "util/windows/security/securityidentifier-win.h"

class ExplicitAccessList;

/// An ACE: either a view of an ACE in an ACL, or the owner of its own bytes. A view is valid as
/// long as the ACL exists and doesn't change. Nothing is checked: a null view can't be read.
class AccessControlEntry {
public:
    /// Makes a view.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw ACE converts implicitly.
    AccessControlEntry(ACE_HEADER* ace = nullptr) noexcept : mAce(ace) {}
    /// Makes an owner. An invalid SID contributes no bytes.
    AccessControlEntry(ACCESS_MASK mask, const SecurityIdentifier& sid, BYTE flags, bool isDenied);
    /// @{
    /// Makes an owner that allows, or that denies, as the constructor does.
    [[nodiscard]] static AccessControlEntry allowed(ACCESS_MASK mask, const SecurityIdentifier& sid,
                                                    BYTE flags);
    [[nodiscard]] static AccessControlEntry denied(ACCESS_MASK mask, const SecurityIdentifier& sid,
                                                   BYTE flags);
    /// @}

    /// Makes a view of the same ACE. If `other` is an owner or `forceCopy` is set, makes an owner
    /// of a copy instead. The copy of a null ACE is always a view.
    AccessControlEntry(const AccessControlEntry& other, bool forceCopy = false);
    /// Takes the bytes over; `other` becomes a null view.
    AccessControlEntry(AccessControlEntry&& other) noexcept;
    /// `other` must not be a view of the bytes that this object owns.
    AccessControlEntry& operator=(AccessControlEntry other) noexcept;
    ~AccessControlEntry();

    /// Returns the ACE; null for a null view.
    [[nodiscard]] ACE_HEADER* ace() const { return mAce; }
    /// Returns whether the bytes belong to this object.
    [[nodiscard]] bool isOwner() const { return mOwned; }

    /// Returns the type, such as ACCESS_ALLOWED_ACE_TYPE.
    [[nodiscard]] BYTE type() const { return mAce->AceType; }
    /// Changes the type in the bytes, and so in the ACL of a view.
    void setType(BYTE type) { mAce->AceType = type; }
    /// Returns the flags, such as CONTAINER_INHERIT_ACE.
    [[nodiscard]] BYTE flags() const { return mAce->AceFlags; }
    /// Changes the flags in the bytes, and so in the ACL of a view.
    void setFlags(BYTE flags) { mAce->AceFlags = flags; }
    /// In bytes, including the header.
    [[nodiscard]] WORD size() const { return mAce->AceSize; }
    /// Returns the access mask; 0 for compound ACEs and unknown types.
    [[nodiscard]] ACCESS_MASK mask() const;
    /// Returns a view into the ACE; null for the types for which `mask` always returns 0. Object
    /// ACEs are read as if they held both GUIDs, whether their flags say so or not.
    [[nodiscard]] SecurityIdentifier sid() const;

private:
    ACE_HEADER* mAce = nullptr;
    bool mOwned = false;  ///< the bytes were allocated with new[]
};

/// An ACL: either a view, valid as long as its holder (a security descriptor), or the owner. A null
/// ACL isn't a valid ACL. It allows only `isValid`, `merge` and printing.
///
/// Only one thread at a time may use an object, even for reading, because the object caches the
/// counts. Changes that others make to the ACL show after a `refresh`.
class AccessControlList {
public:
    static constexpr DWORD atEnd = MAXDWORD;  ///< the place after the last ACE

    /// Makes a view, of nothing by default.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw ACL converts implicitly.
    AccessControlList(PACL acl = nullptr) noexcept : mAcl(acl) {}
    /// 0 would be the null list, but looks like an empty one.
    template <std::same_as<int> Number>
    AccessControlList(Number zero) = delete;
    /// Makes an empty ACL with space for `aceCount` ACEs of any kind without conditions: 112 bytes
    /// for each. With `limitSize` the ACL has at most 2,000 bytes. Throws "InitializeAcl"; without
    /// that limit also for more than 585 ACEs, as no ACL has more than 65,535 bytes.
    AccessControlList(DWORD aceCount, DWORD revision, bool limitSize);
    /// Throws "SetEntriesInAclW".
    explicit AccessControlList(const ExplicitAccessList& entries);
    /// Takes the ACL over; `other` becomes a null view.
    AccessControlList(AccessControlList&& other) noexcept;
    /// `other` must not be a view of the ACL that this object owns.
    AccessControlList& operator=(AccessControlList&& other) noexcept;
    ~AccessControlList() { drop(); }

    /// Returns the ACL; null for a null list.
    [[nodiscard]] PACL acl() const { return mAcl; }
    /// Returns whether the ACL belongs to this object.
    [[nodiscard]] bool isOwner() const { return mOwned; }
    /// Takes ownership of an ACL that LocalAlloc allocated, and frees the ACL owned before, which
    /// must be a different one. The cached counts stay: they aren't those of the new ACL.
    void adopt(PACL acl) noexcept;

    /// Returns whether Windows takes it for an ACL; false for a null one. Doesn't throw.
    [[nodiscard]] bool isValid() const;
    /// Reads the counts again. Throws "GetAclInformation", as the next three may.
    void refresh() const;
    /// Returns the number of ACEs.
    [[nodiscard]] DWORD aceCount() const;
    /// Returns the bytes that the ACL uses, with its header.
    [[nodiscard]] DWORD bytesInUse() const;
    /// Returns the bytes that are left for further ACEs.
    [[nodiscard]] DWORD bytesFree() const;

    /// Returns a view. Throws "GetAce".
    [[nodiscard]] AccessControlEntry ace(DWORD index) const;
    /// Inserts a copy of the ACE; `index` may be `atEnd`. Throws "AddAce".
    void addAce(DWORD revision, DWORD index, const AccessControlEntry& ace);
    /// Inserts ACE number i at `startIndex + i`, so `atEnd` works for a single ACE only. Views into
    /// this list are added with the content they had at the call. Throws "AddAce"; the ACEs added
    /// until then stay.
    void addAces(DWORD revision, DWORD startIndex, const std::vector<AccessControlEntry>& aces);
    /// Throws "DeleteAce".
    void deleteAce(DWORD index);
    /// Removes the ACEs of the SID, or those without a SID if `sid` is null. An ACE that can't be
    /// read or deleted stays. Throws "GetAclInformation".
    void removeAces(const SecurityIdentifier& sid);
    /// Replaces the ACL by a new, owned one that also has these entries. Throws "SetEntriesInAclW",
    /// with nothing changed.
    void merge(const ExplicitAccessList& entries);

    /// Returns whether the first allowing or denying ACE of this SID that has all bits of `mask`
    /// and of `aceFlags` allows. False if there is none: the masks of several ACEs don't add up.
    /// Throws "GetAclInformation", "GetAce".
    [[nodiscard]] bool allows(const SecurityIdentifier& sid, ACCESS_MASK mask, BYTE aceFlags) const;

    /// Throws "GetExplicitEntriesFromAclW".
    [[nodiscard]] ExplicitAccessList explicitEntries() const;

private:
    static constexpr ACL_SIZE_INFORMATION unknownSize = {MAXDWORD, 0, 0};

    const ACL_SIZE_INFORMATION& size() const;
    void forgetSize() { mSize = unknownSize; }
    void drop() noexcept;

    PACL mAcl = nullptr;
    mutable ACL_SIZE_INFORMATION mSize = unknownSize;  ///< AceCount MAXDWORD: unknown
    bool mOwned = false;                               ///< freed with LocalFree
};
