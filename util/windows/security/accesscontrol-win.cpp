#include "util/windows/security/accesscontrol-win.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include <windows.h>
#include <aclapi.h>

#include "util/platform/errortext-win.h"
#include "util/windows/security/trustee-win.h"

namespace {

constexpr size_t maskOffset = sizeof(ACE_HEADER);
constexpr size_t sidOffset = maskOffset + sizeof(ACCESS_MASK);
constexpr size_t objectSidOffset = sidOffset + sizeof(DWORD) + 2 * sizeof(GUID);
static_assert(sidOffset == 8 && objectSidOffset == 44);

/// The offset of the SID in an ACE of this type; 0 if there is none.
size_t sidOffsetOf(BYTE type) {
    switch (type) {
        case ACCESS_ALLOWED_ACE_TYPE:
        case ACCESS_DENIED_ACE_TYPE:
        case SYSTEM_AUDIT_ACE_TYPE:
        case SYSTEM_ALARM_ACE_TYPE:
        case ACCESS_ALLOWED_CALLBACK_ACE_TYPE:
        case ACCESS_DENIED_CALLBACK_ACE_TYPE:
        case SYSTEM_AUDIT_CALLBACK_ACE_TYPE:
        case SYSTEM_ALARM_CALLBACK_ACE_TYPE:
            return sidOffset;
        case ACCESS_ALLOWED_OBJECT_ACE_TYPE:
        case ACCESS_DENIED_OBJECT_ACE_TYPE:
        case SYSTEM_AUDIT_OBJECT_ACE_TYPE:
        case SYSTEM_ALARM_OBJECT_ACE_TYPE:
        case ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE:
        case ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE:
        case SYSTEM_AUDIT_CALLBACK_OBJECT_ACE_TYPE:
        case SYSTEM_ALARM_CALLBACK_OBJECT_ACE_TYPE:
            // Compatibility: the offset after both GUIDs, even if an entry lacks one. The SID of
            // such an entry is then read from the wrong bytes.
            return objectSidOffset;
        default:
            return 0;
    }
}

enum class Decision { none, allow, deny };

Decision decisionOf(BYTE type) {
    switch (type) {
        case ACCESS_ALLOWED_ACE_TYPE:
        case ACCESS_ALLOWED_OBJECT_ACE_TYPE:
        case ACCESS_ALLOWED_CALLBACK_ACE_TYPE:
        case ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE:
            return Decision::allow;
        case ACCESS_DENIED_ACE_TYPE:
        case ACCESS_DENIED_OBJECT_ACE_TYPE:
        case ACCESS_DENIED_CALLBACK_ACE_TYPE:
        case ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE:
            return Decision::deny;
        default:
            return Decision::none;
    }
}

BYTE* bytesOf(ACE_HEADER* ace) { return reinterpret_cast<BYTE*>(ace); }

ACE_HEADER* copyAce(const ACE_HEADER* ace) {
    BYTE* bytes = new BYTE[ace->AceSize];
    std::memcpy(bytes, ace, ace->AceSize);
    return reinterpret_cast<ACE_HEADER*>(bytes);
}

bool isWithin(const ACE_HEADER* ace, const ACL* acl) {
    const auto offset = reinterpret_cast<uintptr_t>(ace) - reinterpret_cast<uintptr_t>(acl);
    return acl != nullptr && offset < acl->AclSize;
}

PACL mergedAcl(const ExplicitAccessList& entries, PACL old) {
    PACL merged = nullptr;
    const DWORD error = SetEntriesInAclW(entries.count(), entries.entries(), old, &merged);
    if (error != ERROR_SUCCESS) {
        throw Win32Exception("SetEntriesInAclW", error);
    }
    return merged;
}

}  // namespace

AccessControlEntry::AccessControlEntry(ACCESS_MASK mask, const SecurityIdentifier& sid, BYTE flags,
                                       bool isDenied)
    : mOwned(true) {
    const DWORD sidLength = sid.length();
    const size_t size = sidOffset + sidLength;
    BYTE* bytes = new BYTE[size];
    mAce = reinterpret_cast<ACE_HEADER*>(bytes);
    mAce->AceType = isDenied ? ACCESS_DENIED_ACE_TYPE : ACCESS_ALLOWED_ACE_TYPE;
    mAce->AceFlags = flags;
    mAce->AceSize = static_cast<WORD>(size);
    std::memcpy(bytes + maskOffset, &mask, sizeof mask);
    if (sidLength != 0) {
        std::memcpy(bytes + sidOffset, sid.sid(), sidLength);
    }
}

AccessControlEntry AccessControlEntry::allowed(ACCESS_MASK mask, const SecurityIdentifier& sid,
                                               BYTE flags) {
    return {mask, sid, flags, /*isDenied=*/false};
}

AccessControlEntry AccessControlEntry::denied(ACCESS_MASK mask, const SecurityIdentifier& sid,
                                              BYTE flags) {
    return {mask, sid, flags, /*isDenied=*/true};
}

AccessControlEntry::AccessControlEntry(const AccessControlEntry& other, bool forceCopy)
    : mAce(other.mAce), mOwned(other.mAce != nullptr && (other.mOwned || forceCopy)) {
    if (mOwned) {
        mAce = copyAce(other.mAce);
    }
}

AccessControlEntry::AccessControlEntry(AccessControlEntry&& other) noexcept
    : mAce(std::exchange(other.mAce, nullptr)), mOwned(std::exchange(other.mOwned, false)) {}

AccessControlEntry& AccessControlEntry::operator=(AccessControlEntry other) noexcept {
    std::swap(mAce, other.mAce);
    std::swap(mOwned, other.mOwned);
    return *this;
}

AccessControlEntry::~AccessControlEntry() {
    if (mOwned) {
        delete[] bytesOf(mAce);
    }
}

ACCESS_MASK AccessControlEntry::mask() const {
    if (sidOffsetOf(type()) == 0) {
        return 0;
    }
    ACCESS_MASK mask = 0;
    std::memcpy(&mask, bytesOf(mAce) + maskOffset, sizeof mask);
    return mask;
}

SecurityIdentifier AccessControlEntry::sid() const {
    const size_t offset = sidOffsetOf(type());
    return {offset == 0 ? nullptr : bytesOf(mAce) + offset};
}

AccessControlList::AccessControlList(DWORD aceCount, DWORD revision, bool limitSize) {
    constexpr uint64_t bytesPerAce = 112;
    constexpr uint64_t sizeLimit = 2000;
    const uint64_t wanted = uint64_t{aceCount} * bytesPerAce + sizeof(ACL);
    const auto size =
        static_cast<DWORD>(std::min<uint64_t>(wanted, limitSize ? sizeLimit : MAXDWORD));
    mAcl = static_cast<PACL>(LocalAlloc(LMEM_FIXED, size));
    if (!InitializeAcl(mAcl, size, revision)) {
        // Compatibility: the memory isn't freed. Callers may compare what is allocated after such a
        // failure. Windows refuses only a wrong size or revision.
        throw Win32Exception("InitializeAcl");
    }
    mOwned = true;
}

AccessControlList::AccessControlList(const ExplicitAccessList& entries)
    : mAcl(mergedAcl(entries, /*old=*/nullptr)), mOwned(true) {}

AccessControlList::AccessControlList(AccessControlList&& other) noexcept
    : mAcl(std::exchange(other.mAcl, nullptr)),
      mSize(std::exchange(other.mSize, unknownSize)),
      mOwned(std::exchange(other.mOwned, false)) {}

AccessControlList& AccessControlList::operator=(AccessControlList&& other) noexcept {
    if (this != &other) {
        drop();
        mAcl = std::exchange(other.mAcl, nullptr);
        mSize = std::exchange(other.mSize, unknownSize);
        mOwned = std::exchange(other.mOwned, false);
    }
    return *this;
}

void AccessControlList::adopt(PACL acl) noexcept {
    drop();
    mAcl = acl;
    mOwned = true;
}

void AccessControlList::drop() noexcept {
    if (mOwned) {
        LocalFree(mAcl);
    }
}

bool AccessControlList::isValid() const { return mAcl != nullptr && IsValidAcl(mAcl); }

void AccessControlList::refresh() const {
    ACL_SIZE_INFORMATION size = {};
    if (!GetAclInformation(mAcl, &size, sizeof size, AclSizeInformation)) {
        throw Win32Exception("GetAclInformation");
    }
    mSize = size;
}

const ACL_SIZE_INFORMATION& AccessControlList::size() const {
    if (mSize.AceCount == unknownSize.AceCount) {
        refresh();
    }
    return mSize;
}

DWORD AccessControlList::aceCount() const { return size().AceCount; }
DWORD AccessControlList::bytesInUse() const { return size().AclBytesInUse; }
DWORD AccessControlList::bytesFree() const { return size().AclBytesFree; }

AccessControlEntry AccessControlList::ace(DWORD index) const {
    void* ace = nullptr;
    if (!GetAce(mAcl, index, &ace)) {
        throw Win32Exception("GetAce");
    }
    return {static_cast<ACE_HEADER*>(ace)};
}

void AccessControlList::addAce(DWORD revision, DWORD index, const AccessControlEntry& ace) {
    if (isWithin(ace.ace(), mAcl)) {
        // Windows first moves ACEs to make space; the view would then show other bytes.
        addAce(revision, index, AccessControlEntry(ace, /*forceCopy=*/true));
        return;
    }
    if (!AddAce(mAcl, revision, index, ace.ace(), ace.size())) {
        throw Win32Exception("AddAce");
    }
    forgetSize();
}

void AccessControlList::addAces(DWORD revision, DWORD startIndex,
                                const std::vector<AccessControlEntry>& aces) {
    // Each insertion moves the ACEs after it, and views not added yet would show other bytes.
    std::vector<AccessControlEntry> added;
    added.reserve(aces.size());
    for (const AccessControlEntry& ace : aces) {
        added.push_back(isWithin(ace.ace(), mAcl) ? AccessControlEntry(ace, /*forceCopy=*/true)
                                                  : AccessControlEntry(ace.ace()));
    }
    DWORD index = startIndex;
    for (const AccessControlEntry& ace : added) {
        addAce(revision, index++, ace);
    }
}

void AccessControlList::deleteAce(DWORD index) {
    if (!DeleteAce(mAcl, index)) {
        throw Win32Exception("DeleteAce");
    }
    forgetSize();
}

void AccessControlList::removeAces(const SecurityIdentifier& sid) {
    DWORD count = aceCount();
    // The given SID may be a view into this list, and each deletion moves bytes.
    const SecurityIdentifier wanted =
        sid.isValid() ? SecurityIdentifier::deepCopy(sid.sid()) : SecurityIdentifier(sid.sid());
    for (DWORD index = 0; index < count;) {
        void* found = nullptr;
        const bool isOfSid = GetAce(mAcl, index, &found) &&
                             AccessControlEntry(static_cast<ACE_HEADER*>(found)).sid() == wanted;
        if (isOfSid && DeleteAce(mAcl, index)) {
            --count;
        } else {
            ++index;
        }
    }
    forgetSize();
}

void AccessControlList::merge(const ExplicitAccessList& entries) {
    adopt(mergedAcl(entries, mAcl));
    forgetSize();
}

bool AccessControlList::allows(const SecurityIdentifier& sid, ACCESS_MASK mask,
                               BYTE aceFlags) const {
    for (DWORD index = 0; index < aceCount(); ++index) {
        const AccessControlEntry entry = ace(index);
        const bool isDecisive =
            entry.sid() == sid && (mask & ~entry.mask()) == 0 && (aceFlags & ~entry.flags()) == 0;
        const Decision decision = isDecisive ? decisionOf(entry.type()) : Decision::none;
        if (decision != Decision::none) {
            return decision == Decision::allow;
        }
    }
    return false;
}

ExplicitAccessList AccessControlList::explicitEntries() const {
    ULONG count = 0;
    PEXPLICIT_ACCESS_W entries = nullptr;
    const DWORD error = GetExplicitEntriesFromAclW(mAcl, &count, &entries);
    if (error != ERROR_SUCCESS) {
        throw Win32Exception("GetExplicitEntriesFromAclW", error);
    }
    return ExplicitAccessList::adopt(entries, count);
}
