#pragma once

// SIDs, and the accounts that they stand for.
//
//     const SecurityIdentifier everyone("S-1-1-0");
//     std::cerr << everyone.accountName();  // "\Everyone"
//
// A failed Windows call throws a Win32Exception whose text is the name of the function.

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

#include "util/windows/security/argumentguards.h"

/// How many sub-authorities a SID has.
class SubAuthorityCount {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a number is one.
    constexpr SubAuthorityCount(BYTE count) noexcept : mCount(count) {}
    // NOLINTNEXTLINE(google-explicit-constructor): it is a number.
    constexpr operator BYTE() const noexcept { return mCount; }

private:
    BYTE mCount;
};

/// A SID: a view of one that something else holds, or the owner of its own bytes. A view is good as
/// long as what gave it out: a security descriptor, an ACE, a token's buffer.
///
/// Copies follow the source: that of a view is a view of the same bytes, that of an owner has bytes
/// of its own. One thread at a time uses an object.
///
/// Bytes of a SID stand in arrays of BYTE (which is unsigned char) or std::byte, and go in as the
/// `PSID` that their address is. A `const char*` is text. A writable `char` array could be either
/// and compiles for neither, nor does the address of an object: the call says which by
/// `PSID{buffer}` or `std::as_const(buffer)`.
class SecurityIdentifier {
public:
    /// A view, of nothing by default.
    // NOLINTNEXTLINE(google-explicit-constructor): a raw SID is one.
    SecurityIdentifier(PSID sid = nullptr) noexcept : mSid(sid) {}
    template <TextOrObject T>
    SecurityIdentifier(T* noSid) = delete;
    /// A well-known SID; `domain` may be null where the type needs none. Throws
    /// "CreateWellKnownSid".
    SecurityIdentifier(WELL_KNOWN_SID_TYPE type, PSID domain);
    template <TextOrObject T>
    SecurityIdentifier(WELL_KNOWN_SID_TYPE type, T* noDomain) = delete;
    /// With all sub-authorities 0, to be set through `subAuthority`. Throws "InitializeSid". One
    /// number in braces could be the list below as well, and doesn't compile.
    SecurityIdentifier(const SID_IDENTIFIER_AUTHORITY& authority,
                       SubAuthorityCount subAuthorityCount);
    /// At most 8 sub-authorities, which are taken over: the vector is empty and without memory
    /// afterwards, and as it was if this fails. Throws "AllocateAndInitializeSid", "CopySid".
    SecurityIdentifier(const SID_IDENTIFIER_AUTHORITY& authority,
                       std::vector<DWORD>&& subAuthorities);
    /// From a text like "S-1-5-32-544" or "BA", in UTF-8. Throws "ConvertStringSidToSidW",
    /// "CopySid".
    explicit SecurityIdentifier(const char* text);
    /// The SID of an account ("DOMAIN\name" or "name", UTF-8) as `system` knows it, which is the
    /// own one if null. `*domain`, unless null, becomes the domain in which the account was found.
    /// Throws "LookupAccountNameW".
    SecurityIdentifier(const char* account, const char* system, std::string* domain);
    /// The SID of the user of the calling thread. Throws "GetUserNameExW", "LookupAccountNameW".
    static SecurityIdentifier currentUser();
    /// An owner, whatever holds `sid`. Throws "CopySid" for a null or an invalid SID.
    static SecurityIdentifier deepCopy(PSID sid);
    template <TextOrObject T>
    static SecurityIdentifier deepCopy(T* noSid) = delete;

    /// Throws "CopySid" for an owner whose SID has become invalid, as the assignment.
    SecurityIdentifier(const SecurityIdentifier& other);
    SecurityIdentifier(SecurityIdentifier&& other) noexcept;
    /// A failure leaves a view of nothing. `other` is no view of the bytes that this object owns.
    SecurityIdentifier& operator=(const SecurityIdentifier& other);
    SecurityIdentifier& operator=(SecurityIdentifier&& other) noexcept;
    ~SecurityIdentifier() { drop(); }

    /// Belongs to the object or to what it is a view of.
    PSID sid() const { return mSid; }
    bool isOwner() const { return mOwned; }

    bool isValid() const;
    /// Bytes; 0 for a null or an invalid SID, as with the next three.
    DWORD length() const;
    /// A place within the SID, or null.
    const SID_IDENTIFIER_AUTHORITY* identifierAuthority() const;
    BYTE subAuthorityCount() const;
    /// The place of one below the count, which Windows doesn't check; null for a null or an invalid
    /// SID. Throws "GetSidSubAuthority" also where GetLastError tells of a failure from before the
    /// call; callers clear it.
    DWORD* subAuthority(DWORD index) const;

    /// Whether all but the last sub-authority are the same. Not for null.
    bool equalPrefix(const SecurityIdentifier& other) const;
    bool isWellKnown(WELL_KNOWN_SID_TYPE type) const;
    /// The domain of an account's SID. Throws "GetWindowsAccountDomainSid".
    SecurityIdentifier domainSid() const;
    /// Throws "EqualDomainSid".
    bool equalDomain(const SecurityIdentifier& other) const;

    /// "S-1-5-32-544". Throws "ConvertSidToStringSidW".
    std::string text() const;
    /// "DOMAIN\name" as `system`, or the own one, knows the SID; the separator stands there for an
    /// empty domain as well. "(not found)" if no account has it. `*use`, unless null, becomes the
    /// kind of account, SidTypeUnknown for none. Throws "LookupAccountSidW", `*use` unchanged.
    std::string accountName(SID_NAME_USE* use = nullptr, const char* system = nullptr) const;

    /// Two nulls are equal.
    bool operator==(const SecurityIdentifier& other) const;

private:
    void drop() noexcept;

    PSID mSid = nullptr;
    bool mOwned = false;  ///< the bytes are an array of new[]
};
