#pragma once

// SIDs, and the accounts that they belong to.
//
//     const SecurityIdentifier everyone("S-1-1-0");
//     std::cerr << everyone.accountName();  // "\Everyone"
//
// A failed Windows call throws a Win32Exception whose text begins with the name of the function:
// `Throws "CopySid"` gives that name.

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

#include "util/windows/security/argumentguards.h"

/// How many sub-authorities a SID has.
class SubAuthorityCount {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a number.
    /// Takes the number as it is.
    constexpr SubAuthorityCount(BYTE count) noexcept : mCount(count) {}
    // NOLINTNEXTLINE(google-explicit-constructor): it is used as a number.
    /// Returns the number.
    constexpr operator BYTE() const noexcept { return mCount; }

private:
    BYTE mCount;
};

/// A SID: either a view of a SID stored elsewhere, or the owner of its own bytes. A view is valid
/// as long as its source: a security descriptor, an ACE, a token's buffer.
///
/// The copy of a view is a view of the same bytes; the copy of an owner owns a copy of the bytes.
/// Only one thread at a time may use an object.
///
/// The bytes of a SID belong in an array of BYTE (which is unsigned char) or std::byte; their
/// address is passed as a `PSID`. A `const char*` is text. A writable `char` array could be either
/// and doesn't compile; the address of an object doesn't either. Write which one is meant:
///
///     PSID{buffer}           // the bytes of a SID
///     std::as_const(buffer)  // text
class SecurityIdentifier {
public:
    /// Makes a view, of nothing by default.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw SID converts implicitly.
    SecurityIdentifier(PSID sid = nullptr) noexcept : mSid(sid) {}
    template <TextOrObject T>
    SecurityIdentifier(T* noSid) = delete;
    /// Makes a well-known SID. `domain` may be null if the type needs none. Throws
    /// "CreateWellKnownSid".
    SecurityIdentifier(WELL_KNOWN_SID_TYPE type, PSID domain);
    template <TextOrObject T>
    SecurityIdentifier(WELL_KNOWN_SID_TYPE type, T* noDomain) = delete;
    /// Makes a SID whose sub-authorities are all 0; set them through `subAuthority`. Throws
    /// "InitializeSid". One number in braces doesn't compile, because it could be the list below as
    /// well.
    SecurityIdentifier(const SID_IDENTIFIER_AUTHORITY& authority,
                       SubAuthorityCount subAuthorityCount);
    /// Makes a SID with at most 8 sub-authorities. Afterwards the vector is empty and has no
    /// memory; on failure it is unchanged. Throws "AllocateAndInitializeSid", "CopySid".
    SecurityIdentifier(const SID_IDENTIFIER_AUTHORITY& authority,
                       std::vector<DWORD>&& subAuthorities);
    /// Makes a SID from UTF-8 text like "S-1-5-32-544" or "BA". Throws "ConvertStringSidToSidW",
    /// "CopySid".
    explicit SecurityIdentifier(const char* text);
    /// Looks up the SID of an account ("DOMAIN\name" or "name", UTF-8) on `system`; null is the
    /// local system. `*domain`, unless null, becomes the domain in which the account was found.
    /// Throws "LookupAccountNameW".
    SecurityIdentifier(const char* account, const char* system, std::string* domain);
    /// Returns the SID of the calling thread's user. Throws "GetUserNameExW", "LookupAccountNameW".
    [[nodiscard]] static SecurityIdentifier currentUser();
    /// Returns an owner with a copy of `sid`. Throws "CopySid" for a null or an invalid SID.
    [[nodiscard]] static SecurityIdentifier deepCopy(PSID sid);
    template <TextOrObject T>
    [[nodiscard]] static SecurityIdentifier deepCopy(T* noSid) = delete;

    /// Throws "CopySid" if `other` is an owner whose SID has become invalid. So does the
    /// assignment.
    SecurityIdentifier(const SecurityIdentifier& other);
    /// Takes the bytes over; `other` becomes a view of nothing.
    SecurityIdentifier(SecurityIdentifier&& other) noexcept;
    /// After a failure this object is a view of nothing. `other` must not be a view of the bytes
    /// that this object owns.
    SecurityIdentifier& operator=(const SecurityIdentifier& other);
    /// Takes the bytes over as well; an assignment to itself does nothing.
    SecurityIdentifier& operator=(SecurityIdentifier&& other) noexcept;
    ~SecurityIdentifier() { drop(); }

    /// The bytes belong to this object, or to the source of the view.
    [[nodiscard]] PSID sid() const { return mSid; }
    /// Returns whether the bytes belong to this object.
    [[nodiscard]] bool isOwner() const { return mOwned; }

    /// Returns whether Windows takes it for a SID; false for a null one.
    [[nodiscard]] bool isValid() const;
    /// Returns the length in bytes. This and the next three return 0 or null for a null or an
    /// invalid SID.
    [[nodiscard]] DWORD length() const;
    /// Returns a pointer into the SID.
    [[nodiscard]] const SID_IDENTIFIER_AUTHORITY* identifierAuthority() const;
    /// Returns how many sub-authorities there are.
    [[nodiscard]] BYTE subAuthorityCount() const;
    /// Returns a pointer into the SID. `index` must be below the count; Windows doesn't check that.
    /// Throws "GetSidSubAuthority", also if GetLastError still reports an error from before the
    /// call: clear it first.
    [[nodiscard]] DWORD* subAuthority(DWORD index) const;

    /// Returns whether all sub-authorities but the last are the same. Neither SID may be null.
    [[nodiscard]] bool equalPrefix(const SecurityIdentifier& other) const;
    /// Returns whether Windows knows the SID as this one; false for a null one.
    [[nodiscard]] bool isWellKnown(WELL_KNOWN_SID_TYPE type) const;
    /// Returns the domain of an account's SID. Throws "GetWindowsAccountDomainSid".
    [[nodiscard]] SecurityIdentifier domainSid() const;
    /// Throws "EqualDomainSid".
    [[nodiscard]] bool equalDomain(const SecurityIdentifier& other) const;

    /// Returns text like "S-1-5-32-544". Throws "ConvertSidToStringSidW".
    [[nodiscard]] std::string text() const;
    /// Returns the account of the SID on `system`; null is the local system.
    ///
    ///     "DOMAIN\name"
    ///     "\name"        the domain is empty
    ///     "(not found)"  the SID has no account
    /// `*use`, unless null, becomes the kind of account, SidTypeUnknown if there is none. Throws
    /// "LookupAccountSidW", with `*use` unchanged.
    [[nodiscard]] std::string accountName(SID_NAME_USE* use = nullptr,
                                          const char* system = nullptr) const;

    /// Two null SIDs are equal.
    bool operator==(const SecurityIdentifier& other) const;

private:
    void drop() noexcept;

    PSID mSid = nullptr;
    bool mOwned = false;  ///< the bytes were allocated with new[]
};
