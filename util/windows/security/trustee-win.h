#pragma once

// Whom access is given to and which, in the forms of Windows's functions for access lists.

#include <string>

#include <windows.h>
// Behind windows.h.
#include <accctrl.h>

#include "util/windows/security/argumentguards.h"
#include "util/windows/security/securityidentifier-win.h"

/// A TRUSTEE_W whose name or SID is its own, or stands elsewhere and must outlive it. A name is
/// UTF-8. One thread at a time uses an object.
///
/// Local copies can be made of trustees by name and by SID. Of the other forms, those with objects
/// throw std::runtime_error "Copying trustees with objects not yet implemented", and all others
/// "Cannot make local copy of this type of TRUSTEE"; a null or invalid SID throws a Win32Exception,
/// "CopySid".
class Trustee {
public:
    /// Nobody: of bad form, the type invalid.
    Trustee() noexcept;
    explicit Trustee(const char* name);
    /// What lies in a writable `char` array could be a name or the bytes of a SID: the call says
    /// which by `std::as_const(buffer)` or `SecurityIdentifier(PSID{buffer})`.
    template <TextOrObject T>
    explicit Trustee(T* nameOrSid) = delete;
    /// It would be one with an empty name: nobody is `Trustee()`.
    explicit Trustee(EmptyBraces) = delete;
    /// Holds a copy of the object, so that of a view is no owner.
    explicit Trustee(const SecurityIdentifier& sid);
    /// Shares the pointer, whatever the form, or makes a local copy of what it points at.
    Trustee(const TRUSTEE_W& trustee, bool localCopy);
    /// A local copy if `other` points at what it holds itself; else the pointer is shared.
    Trustee(const Trustee& other);
    /// As `assign` without a local copy asked for.
    Trustee& operator=(const Trustee& other);
    ~Trustee() = default;

    /// As the copy constructor, with a local copy also if `localCopy` is set. But forms with
    /// objects always throw here. Where it throws, the fields are those of `other`.
    Trustee& assign(const Trustee& other, bool localCopy);

    const TRUSTEE_W& trustee() const { return mTrustee; }
    TRUSTEE_FORM form() const { return mTrustee.TrusteeForm; }
    TRUSTEE_TYPE type() const { return mTrustee.TrusteeType; }
    /// The name, of an object's trustee as well; empty for the other forms.
    std::string name() const;
    /// A view of the SID, of an object's trustee as well; null for the other forms.
    SecurityIdentifier sid() const;

private:
    void copyLocally();
    bool pointsAtOwnStore() const;

    TRUSTEE_W mTrustee = {};
    std::wstring mName;       ///< for a trustee by name
    SecurityIdentifier mSid;  ///< for a trustee by SID
};

/// An EXPLICIT_ACCESS_W: a view or the owner. One thread at a time uses an object.
class ExplicitAccess {
public:
    /// An owner, for the account `name` (UTF-8).
    ExplicitAccess(const char* name, DWORD permissions, ACCESS_MODE mode, DWORD inheritance);
    /// A view.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw one is one.
    ExplicitAccess(PEXPLICIT_ACCESS_W access) noexcept : mAccess(access) {}
    ExplicitAccess(const ExplicitAccess&) = delete;
    ExplicitAccess& operator=(const ExplicitAccess&) = delete;
    ~ExplicitAccess();

    PEXPLICIT_ACCESS_W access() const { return mAccess; }
    bool isOwner() const { return mOwned; }

    /// Shares the name or SID.
    Trustee trustee() const { return {mAccess->Trustee, /*localCopy=*/false}; }
    ACCESS_MODE mode() const { return mAccess->grfAccessMode; }
    DWORD permissions() const { return mAccess->grfAccessPermissions; }
    DWORD inheritance() const { return mAccess->grfInheritance; }

private:
    PEXPLICIT_ACCESS_W mAccess = nullptr;
    std::wstring mName;
    bool mOwned = false;
};

/// An array of EXPLICIT_ACCESS_W: a view or the owner. One thread at a time uses an object.
class ExplicitAccessList {
public:
    /// A view.
    ExplicitAccessList(PEXPLICIT_ACCESS_W entries, ULONG count) noexcept
        : mEntries(entries), mCount(count) {}
    /// The owner of an array that LocalFree gives back.
    static ExplicitAccessList adopt(PEXPLICIT_ACCESS_W entries, ULONG count) noexcept;
    ExplicitAccessList(ExplicitAccessList&& other) noexcept;
    ExplicitAccessList& operator=(ExplicitAccessList&& other) noexcept;
    ~ExplicitAccessList();

    PEXPLICIT_ACCESS_W entries() const { return mEntries; }
    ULONG count() const { return mCount; }
    bool isOwner() const { return mOwned; }

private:
    PEXPLICIT_ACCESS_W mEntries;
    ULONG mCount;
    bool mOwned = false;
};
