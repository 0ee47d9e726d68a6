#include "util/windows/security/securityidentifier-win.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include <windows.h>
#include <sddl.h>
#define SECURITY_WIN32
#include <security.h>

#include "util/platform/errortext-win.h"
#include "util/platform/localmemory-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using SidBytes = std::unique_ptr<BYTE[]>;

SidBytes makeSidBytes(DWORD size) { return std::make_unique<BYTE[]>(size); }

SidBytes copyBytes(PSID sid) {
    if (sid == nullptr) {
        // CopySid would dereference it.
        throw Win32Exception("CopySid", ERROR_INVALID_SID);
    }
    const DWORD size = SecurityIdentifier(sid).length();
    SidBytes bytes = makeSidBytes(size);
    if (!CopySid(size, bytes.get(), sid)) {
        throw Win32Exception("CopySid");
    }
    return bytes;
}

struct SidDeleter {
    void operator()(void* sid) const noexcept { FreeSid(sid); }
};

std::wstring wideOrEmpty(const char* text) {
    return text != nullptr ? toWide(text) : std::wstring();
}

const wchar_t* orNull(const char* text, const std::wstring& wide) {
    return text != nullptr ? wide.c_str() : nullptr;
}

}  // namespace

SecurityIdentifier::SecurityIdentifier(WELL_KNOWN_SID_TYPE type, PSID domain) {
    DWORD size = SECURITY_MAX_SID_SIZE;
    SidBytes bytes = makeSidBytes(size);
    if (!CreateWellKnownSid(type, domain, bytes.get(), &size)) {
        throw Win32Exception("CreateWellKnownSid");
    }
    mSid = bytes.release();
    mOwned = true;
}

SecurityIdentifier::SecurityIdentifier(const SID_IDENTIFIER_AUTHORITY& authority,
                                       SubAuthorityCount subAuthorityCount) {
    SidBytes bytes = makeSidBytes(GetSidLengthRequired(subAuthorityCount));
    SID_IDENTIFIER_AUTHORITY copy = authority;
    if (!InitializeSid(bytes.get(), &copy, subAuthorityCount)) {
        throw Win32Exception("InitializeSid");
    }
    mSid = bytes.release();
    mOwned = true;
}

SecurityIdentifier::SecurityIdentifier(const SID_IDENTIFIER_AUTHORITY& authority,
                                       std::vector<DWORD>&& subAuthorities) {
    const auto at = [&subAuthorities](size_t index) {
        return index < subAuthorities.size() ? subAuthorities[index] : DWORD{0};
    };
    SID_IDENTIFIER_AUTHORITY copy = authority;
    // Windows refuses a count above 8. A count too large for a byte must not wrap to a smaller one.
    const size_t count = std::min<size_t>(subAuthorities.size(), 0xff);
    PSID sid = nullptr;
    if (!AllocateAndInitializeSid(&copy, static_cast<BYTE>(count), at(0), at(1), at(2), at(3),
                                  at(4), at(5), at(6), at(7), &sid)) {
        throw Win32Exception("AllocateAndInitializeSid");
    }
    const std::unique_ptr<void, SidDeleter> owner(sid);
    mSid = copyBytes(sid).release();
    mOwned = true;
    std::vector<DWORD>().swap(subAuthorities);
}

SecurityIdentifier::SecurityIdentifier(const char* text) {
    PSID sid = nullptr;
    if (!ConvertStringSidToSidW(toWide(text).c_str(), &sid)) {
        throw Win32Exception("ConvertStringSidToSidW");
    }
    LocalMemory<void> owner(sid);
    try {
        mSid = copyBytes(sid).release();
    } catch (const Win32Exception&) {
        // Compatibility: if CopySid fails, the block isn't freed. Callers may compare what is
        // allocated after such a failure.
        static_cast<void>(owner.release());
        throw;
    }
    mOwned = true;
}

SecurityIdentifier::SecurityIdentifier(const char* account, const char* system,
                                       std::string* domain) {
    const std::wstring wideAccount = toWide(account);
    const std::wstring wideSystem = wideOrEmpty(system);
    DWORD size = SECURITY_MAX_SID_SIZE;
    SidBytes bytes = makeSidBytes(size);
    constexpr size_t domainRoom = 143;
    std::array<wchar_t, domainRoom> domainName;
    DWORD domainLength = domainName.size();
    SID_NAME_USE use = SidTypeUnknown;
    if (!LookupAccountNameW(orNull(system, wideSystem), wideAccount.c_str(), bytes.get(), &size,
                            domainName.data(), &domainLength, &use)) {
        throw Win32Exception("LookupAccountNameW");
    }
    if (domain != nullptr) {
        *domain = toUtf8(std::wstring(domainName.data(), domainLength));
    }
    mSid = bytes.release();
    mOwned = true;
}

SecurityIdentifier SecurityIdentifier::currentUser() {
    constexpr size_t nameRoom = 512;
    std::wstring name(nameRoom, L'\0');
    ULONG length = static_cast<ULONG>(name.size());
    if (!GetUserNameExW(NameSamCompatible, name.data(), &length)) {
        throw Win32Exception("GetUserNameExW");
    }
    name.resize(length);
    return {toUtf8(name).c_str(), /*system=*/nullptr, /*domain=*/nullptr};
}

SecurityIdentifier SecurityIdentifier::deepCopy(PSID sid) {
    SecurityIdentifier copy;
    copy.mSid = copyBytes(sid).release();
    copy.mOwned = true;
    return copy;
}

SecurityIdentifier::SecurityIdentifier(const SecurityIdentifier& other)
    : mSid(other.mOwned ? copyBytes(other.mSid).release() : other.mSid), mOwned(other.mOwned) {}

SecurityIdentifier::SecurityIdentifier(SecurityIdentifier&& other) noexcept
    : mSid(std::exchange(other.mSid, nullptr)), mOwned(std::exchange(other.mOwned, false)) {}

SecurityIdentifier& SecurityIdentifier::operator=(const SecurityIdentifier& other) {
    if (this != &other) {
        drop();
        mSid = other.mOwned ? copyBytes(other.mSid).release() : other.mSid;
        mOwned = other.mOwned;
    }
    return *this;
}

SecurityIdentifier& SecurityIdentifier::operator=(SecurityIdentifier&& other) noexcept {
    if (this != &other) {
        drop();
        mSid = std::exchange(other.mSid, nullptr);
        mOwned = std::exchange(other.mOwned, false);
    }
    return *this;
}

void SecurityIdentifier::drop() noexcept {
    if (std::exchange(mOwned, false)) {
        delete[] static_cast<BYTE*>(mSid);
    }
    mSid = nullptr;
}

bool SecurityIdentifier::isValid() const { return mSid != nullptr && IsValidSid(mSid) != FALSE; }

DWORD SecurityIdentifier::length() const { return isValid() ? GetLengthSid(mSid) : 0; }

const SID_IDENTIFIER_AUTHORITY* SecurityIdentifier::identifierAuthority() const {
    return isValid() ? GetSidIdentifierAuthority(mSid) : nullptr;
}

BYTE SecurityIdentifier::subAuthorityCount() const {
    return isValid() ? *GetSidSubAuthorityCount(mSid) : BYTE{0};
}

DWORD* SecurityIdentifier::subAuthority(DWORD index) const {
    if (!isValid()) {
        return nullptr;
    }
    DWORD* place = GetSidSubAuthority(mSid, index);
    // Compatibility: the last error isn't cleared before the call, so an older failure is reported
    // as a failure of this call.
    if (place == nullptr || GetLastError() != NO_ERROR) {
        throw Win32Exception("GetSidSubAuthority");
    }
    return place;
}

bool SecurityIdentifier::equalPrefix(const SecurityIdentifier& other) const {
    return EqualPrefixSid(mSid, other.mSid) != FALSE;
}

bool SecurityIdentifier::isWellKnown(WELL_KNOWN_SID_TYPE type) const {
    return IsWellKnownSid(mSid, type) != FALSE;
}

SecurityIdentifier SecurityIdentifier::domainSid() const {
    DWORD size = SECURITY_MAX_SID_SIZE;
    SidBytes bytes = makeSidBytes(size);
    if (!GetWindowsAccountDomainSid(mSid, bytes.get(), &size)) {
        throw Win32Exception("GetWindowsAccountDomainSid");
    }
    SecurityIdentifier domain;
    domain.mSid = bytes.release();
    domain.mOwned = true;
    return domain;
}

bool SecurityIdentifier::equalDomain(const SecurityIdentifier& other) const {
    BOOL isEqual = FALSE;
    if (!EqualDomainSid(mSid, other.mSid, &isEqual)) {
        throw Win32Exception("EqualDomainSid");
    }
    return isEqual != FALSE;
}

std::string SecurityIdentifier::text() const {
    wchar_t* text = nullptr;
    if (!ConvertSidToStringSidW(mSid, &text)) {
        throw Win32Exception("ConvertSidToStringSidW");
    }
    const LocalMemory<wchar_t> owner(text);
    return toUtf8(text);
}

std::string SecurityIdentifier::accountName(SID_NAME_USE* use, const char* system) const {
    const std::wstring wideSystem = wideOrEmpty(system);
    constexpr size_t nameRoom = 257;
    std::array<wchar_t, nameRoom> name;
    std::array<wchar_t, nameRoom> domain;
    DWORD nameLength = name.size();
    DWORD domainLength = domain.size();
    SID_NAME_USE found = SidTypeUnknown;
    const bool isFound =
        LookupAccountSidW(orNull(system, wideSystem), mSid, name.data(), &nameLength, domain.data(),
                          &domainLength, &found) != FALSE;
    if (!isFound && GetLastError() != ERROR_NONE_MAPPED) {
        throw Win32Exception("LookupAccountSidW");
    }
    if (use != nullptr) {
        *use = found;
    }
    if (!isFound) {
        return "(not found)";
    }
    std::wstring account(domain.data(), domainLength);
    account.append(L"\\").append(name.data(), nameLength);
    return toUtf8(account);
}

bool SecurityIdentifier::operator==(const SecurityIdentifier& other) const {
    if (mSid == nullptr || other.mSid == nullptr) {
        return mSid == other.mSid;
    }
    return EqualSid(mSid, other.mSid) != FALSE;
}
