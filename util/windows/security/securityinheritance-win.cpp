// The security that children inherit from their parent: SecurityDescriptor::deriveForChild.

#include <memory>
#include <utility>

#include <windows.h>
#include <accctrl.h>

#include "util/platform/errortext-win.h"
#include "util/windows/debugstream-win.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

/// Constructed when the module starts, and never changed. Before that it is all zeros, which means
/// the same.
const SecurityDescriptor gEmptyDescriptor(PSECURITY_DESCRIPTOR{nullptr});

/// Owns a descriptor that CreatePrivateObjectSecurityEx made.
class PrivateSecurity {
public:
    explicit PrivateSecurity(PSECURITY_DESCRIPTOR descriptor) : mDescriptor(descriptor) {}
    PrivateSecurity(const PrivateSecurity&) = delete;
    PrivateSecurity& operator=(const PrivateSecurity&) = delete;
    ~PrivateSecurity() {
        if (mDescriptor != nullptr && !DestroyPrivateObjectSecurity(&mDescriptor)) {
            debugFailure("DestroyPrivateObjectSecurity");
        }
    }
    PSECURITY_DESCRIPTOR get() const { return mDescriptor; }
    void release() {
        PSECURITY_DESCRIPTOR descriptor = std::exchange(mDescriptor, nullptr);
        if (!DestroyPrivateObjectSecurity(&descriptor)) {
            throw Win32Exception("DestroyPrivateObjectSecurity");
        }
    }

private:
    PSECURITY_DESCRIPTOR mDescriptor;
};

PSECURITY_DESCRIPTOR createPrivateSecurity(PSECURITY_DESCRIPTOR parent, bool isContainer) {
    constexpr ULONG flags = SEF_DACL_AUTO_INHERIT | SEF_AVOID_PRIVILEGE_CHECK |
                            SEF_AVOID_OWNER_CHECK | SEF_DEFAULT_OWNER_FROM_PARENT |
                            SEF_DEFAULT_GROUP_FROM_PARENT;
    static_assert(flags == 121);
    GENERIC_MAPPING fileRights = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                                  FILE_ALL_ACCESS};
    PSECURITY_DESCRIPTOR created = nullptr;
    if (!CreatePrivateObjectSecurityEx(parent, /*CreatorDescriptor=*/nullptr, &created,
                                       /*ObjectType=*/nullptr, isContainer, flags,
                                       /*Token=*/nullptr, &fileRights)) {
        throw Win32Exception("CreatePrivateObjectSecurityEx");
    }
    return created;
}

}  // namespace

std::unique_ptr<SecurityDescriptor> SecurityDescriptor::deriveForChild(bool isContainer) const {
    // Only the kind of account is needed.
    SID_NAME_USE use{};
    static_cast<void>(owner().accountName(&use));
    if (use == SidTypeDeletedAccount || use == SidTypeInvalid || use == SidTypeUnknown) {
        return std::make_unique<SecurityDescriptor>(gEmptyDescriptor);
    }
    PrivateSecurity created(createPrivateSecurity(descriptor(), isContainer));
    auto derived = std::make_unique<SecurityDescriptor>(created.get());
    derived->mObjectType = mObjectType;
    derived->mObjectKind = mObjectKind;
    created.release();
    return derived;
}
