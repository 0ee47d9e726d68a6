#include "util/windows/security/trustee-win.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include <windows.h>
#include <aclapi.h>

#include "util/platform/unicodetext-win.h"

namespace {

SecurityIdentifier sidAt(const void* place) { return {const_cast<void*>(place)}; }

[[noreturn]] void refuseObjects() {
    throw std::runtime_error("Copying trustees with objects not yet implemented");
}

[[noreturn]] void refuseForm() {
    throw std::runtime_error("Cannot make local copy of this type of TRUSTEE");
}

bool hasObjects(TRUSTEE_FORM form) {
    return form == TRUSTEE_IS_OBJECTS_AND_SID || form == TRUSTEE_IS_OBJECTS_AND_NAME;
}

bool canBeCopied(TRUSTEE_FORM form) { return form == TRUSTEE_IS_SID || form == TRUSTEE_IS_NAME; }

}  // namespace

Trustee::Trustee() noexcept {
    mTrustee.TrusteeForm = TRUSTEE_BAD_FORM;
    mTrustee.TrusteeType = TRUSTEE_IS_INVALID;
}

Trustee::Trustee(const char* name) : mName(toWide(name)) {
    BuildTrusteeWithNameW(&mTrustee, mName.data());
}

Trustee::Trustee(const SecurityIdentifier& sid) : mSid(sid) {
    BuildTrusteeWithSidW(&mTrustee, mSid.sid());
}

Trustee::Trustee(const TRUSTEE_W& trustee, bool localCopy) : mTrustee(trustee) {
    if (localCopy) {
        copyLocally();
    }
}

Trustee::Trustee(const Trustee& other) : Trustee(other.mTrustee, other.pointsAtOwnStore()) {}

// Self-assignment keeps the name or SID.
// NOLINTNEXTLINE(cert-oop54-cpp,bugprone-unhandled-self-assignment)
Trustee& Trustee::operator=(const Trustee& other) { return assign(other, /*localCopy=*/false); }

Trustee& Trustee::assign(const Trustee& other, bool localCopy) {
    const bool wasOwn = other.pointsAtOwnStore();
    mTrustee = other.mTrustee;
    if (hasObjects(form())) {
        // Compatibility: assigning a form with objects always throws, even where nothing would be
        // copied. The constructor shares such a form.
        refuseObjects();
    }
    if (localCopy || (canBeCopied(form()) && wasOwn)) {
        copyLocally();
    }
    return *this;
}

void Trustee::copyLocally() {
    if (hasObjects(form())) {
        refuseObjects();
    }
    // The pointer may point into the member that is about to change.
    if (form() == TRUSTEE_IS_SID) {
        mSid = SecurityIdentifier::deepCopy(mTrustee.ptstrName);
        mTrustee.ptstrName = static_cast<wchar_t*>(mSid.sid());
    } else if (form() == TRUSTEE_IS_NAME) {
        mName = mTrustee.ptstrName != nullptr ? std::wstring(mTrustee.ptstrName) : std::wstring();
        mTrustee.ptstrName = mName.data();
    } else {
        refuseForm();
    }
}

bool Trustee::pointsAtOwnStore() const {
    const void* store = form() == TRUSTEE_IS_SID ? mSid.sid() : mName.data();
    return canBeCopied(form()) && mTrustee.ptstrName != nullptr && mTrustee.ptstrName == store;
}

std::string Trustee::name() const {
    const wchar_t* name = nullptr;
    if (form() == TRUSTEE_IS_NAME) {
        name = mTrustee.ptstrName;
    } else if (form() == TRUSTEE_IS_OBJECTS_AND_NAME) {
        name = reinterpret_cast<const OBJECTS_AND_NAME_W*>(mTrustee.ptstrName)->ptstrName;
    }
    return name != nullptr ? toUtf8(name) : std::string();
}

SecurityIdentifier Trustee::sid() const {
    if (form() == TRUSTEE_IS_SID) {
        return sidAt(mTrustee.ptstrName);
    }
    if (form() == TRUSTEE_IS_OBJECTS_AND_SID) {
        return sidAt(reinterpret_cast<const OBJECTS_AND_SID*>(mTrustee.ptstrName)->pSid);
    }
    return {};
}

ExplicitAccess::ExplicitAccess(const char* name, DWORD permissions, ACCESS_MODE mode,
                               DWORD inheritance)
    : mName(toWide(name)) {
    auto access = std::make_unique<EXPLICIT_ACCESS_W>();
    BuildExplicitAccessWithNameW(access.get(), mName.data(), permissions, mode, inheritance);
    mAccess = access.release();
    mOwned = true;
}

ExplicitAccess::~ExplicitAccess() {
    if (mOwned) {
        delete mAccess;
    }
}

ExplicitAccessList ExplicitAccessList::adopt(PEXPLICIT_ACCESS_W entries, ULONG count) noexcept {
    ExplicitAccessList list(entries, count);
    list.mOwned = true;
    return list;
}

ExplicitAccessList::ExplicitAccessList(ExplicitAccessList&& other) noexcept
    : mEntries(std::exchange(other.mEntries, nullptr)),
      mCount(std::exchange(other.mCount, 0)),
      mOwned(std::exchange(other.mOwned, false)) {}

ExplicitAccessList& ExplicitAccessList::operator=(ExplicitAccessList&& other) noexcept {
    std::swap(mEntries, other.mEntries);
    std::swap(mCount, other.mCount);
    std::swap(mOwned, other.mOwned);
    return *this;
}

ExplicitAccessList::~ExplicitAccessList() {
    if (mOwned) {
        LocalFree(mEntries);
    }
}
