#pragma once

// Who gets access, and which, as the types of Windows's functions for access lists.

#include <string>

#include <windows.h>
#include <accctrl.h>

#include "util/windows/security/argumentguards.h"
#include "util/windows/security/securityidentifier-win.h"

/// A TRUSTEE_W. Its name or SID is stored in this object, or elsewhere, where it must outlive the
/// object. A name is UTF-8. Only one thread at a time may use an object.
///
/// Only trustees by name and by SID can be copied locally. Forms with objects throw
/// std::runtime_error "Copying trustees with objects not yet implemented", all other forms
/// std::runtime_error "Cannot make local copy of this type of TRUSTEE". A null or an invalid SID
/// throws a Win32Exception, "CopySid".
class Trustee {
public:
    /// Makes a trustee for no account: form TRUSTEE_BAD_FORM, type TRUSTEE_IS_INVALID.
    Trustee() noexcept;
    /// Makes a trustee by name. The name isn't looked up, and must not be null.
    explicit Trustee(const char* name);
    /// A writable `char` array could hold a name or the bytes of a SID. Write which one is meant:
    ///
    ///     std::as_const(buffer)             // a name
    ///     SecurityIdentifier(PSID{buffer})  // the bytes of a SID
    template <TextOrObject T>
    explicit Trustee(T* nameOrSid) = delete;
    /// `{}` would be a trustee with an empty name. The one for no account is `Trustee()`.
    explicit Trustee(EmptyBraces) = delete;
    /// Stores a copy of the object. The copy of a view is a view, not an owner.
    explicit Trustee(const SecurityIdentifier& sid);
    /// Shares the pointer, for any form, or makes a local copy of its target.
    Trustee(const TRUSTEE_W& trustee, bool localCopy);
    /// Makes a local copy if `other` points at its own name or SID; otherwise shares the pointer.
    Trustee(const Trustee& other);
    /// Calls `assign` without `localCopy`.
    Trustee& operator=(const Trustee& other);
    ~Trustee() = default;

    /// Works like the copy constructor, but also makes a local copy if `localCopy` is set, and
    /// always throws for forms with objects. After an exception the fields are those of `other`.
    Trustee& assign(const Trustee& other, bool localCopy);

    /// Returns Windows's record, which points at this object's name or SID, or elsewhere.
    [[nodiscard]] const TRUSTEE_W& trustee() const { return mTrustee; }
    /// Returns whether it is a name, a SID or something else.
    [[nodiscard]] TRUSTEE_FORM form() const { return mTrustee.TrusteeForm; }
    /// Returns the kind of account.
    [[nodiscard]] TRUSTEE_TYPE type() const { return mTrustee.TrusteeType; }
    /// Returns the name, for the form with objects and a name as well; empty for the other forms.
    [[nodiscard]] std::string name() const;
    /// Returns a view of the SID, for the form with objects and a SID as well; null for the other
    /// forms.
    [[nodiscard]] SecurityIdentifier sid() const;

private:
    void copyLocally();
    bool pointsAtOwnStore() const;

    TRUSTEE_W mTrustee = {};
    std::wstring mName;       ///< for a trustee by name
    SecurityIdentifier mSid;  ///< for a trustee by SID
};

/// An EXPLICIT_ACCESS_W: either a view or the owner. Only one thread at a time may use an object.
class ExplicitAccess {
public:
    /// Makes an owner, for the account `name` (UTF-8).
    ExplicitAccess(const char* name, DWORD permissions, ACCESS_MODE mode, DWORD inheritance);
    /// Makes a view.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw EXPLICIT_ACCESS_W converts implicitly.
    ExplicitAccess(PEXPLICIT_ACCESS_W access) noexcept : mAccess(access) {}
    ExplicitAccess(const ExplicitAccess&) = delete;
    ExplicitAccess& operator=(const ExplicitAccess&) = delete;
    ~ExplicitAccess();

    /// Returns Windows's record, which this object may own.
    [[nodiscard]] PEXPLICIT_ACCESS_W access() const { return mAccess; }
    /// Returns whether the record belongs to this object.
    [[nodiscard]] bool isOwner() const { return mOwned; }

    /// Returns a trustee that shares the name or SID.
    [[nodiscard]] Trustee trustee() const { return {mAccess->Trustee, /*localCopy=*/false}; }
    /// Returns what the entry does: grant, set, deny, revoke or audit.
    [[nodiscard]] ACCESS_MODE mode() const { return mAccess->grfAccessMode; }
    /// Returns the access mask.
    [[nodiscard]] DWORD permissions() const { return mAccess->grfAccessPermissions; }
    /// Returns the inheritance flags.
    [[nodiscard]] DWORD inheritance() const { return mAccess->grfInheritance; }

private:
    PEXPLICIT_ACCESS_W mAccess = nullptr;
    std::wstring mName;
    bool mOwned = false;
};

/// An array of EXPLICIT_ACCESS_W: either a view or the owner. Only one thread at a time may use an
/// object.
class ExplicitAccessList {
public:
    /// Makes a view.
    ExplicitAccessList(PEXPLICIT_ACCESS_W entries, ULONG count) noexcept
        : mEntries(entries), mCount(count) {}
    /// Returns the owner of an array, which it frees with LocalFree.
    [[nodiscard]] static ExplicitAccessList adopt(PEXPLICIT_ACCESS_W entries, ULONG count) noexcept;
    /// Takes the array over; `other` becomes an empty view.
    ExplicitAccessList(ExplicitAccessList&& other) noexcept;
    /// Exchanges the arrays.
    ExplicitAccessList& operator=(ExplicitAccessList&& other) noexcept;
    ~ExplicitAccessList();

    /// Returns the array.
    [[nodiscard]] PEXPLICIT_ACCESS_W entries() const { return mEntries; }
    /// Returns the number of entries.
    [[nodiscard]] ULONG count() const { return mCount; }
    /// Returns whether the array belongs to this object.
    [[nodiscard]] bool isOwner() const { return mOwned; }

private:
    PEXPLICIT_ACCESS_W mEntries;
    ULONG mCount;
    bool mOwned = false;
};
