#include "util/windows/security/securitydescriptor-win.h"

#include <utility>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "util/accessrights.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"

namespace {

constexpr SECURITY_INFORMATION ownerGroupDacl =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

SECURITY_INFORMATION bitsToRead(bool withSacl) {
    return withSacl ? ownerGroupDacl | SACL_SECURITY_INFORMATION : ownerGroupDacl;
}

/// Only paths of files can exceed MAX_PATH, and only theirs need their slashes converted.
std::wstring objectName(const std::string& path, SE_OBJECT_TYPE type) {
    return type == SE_FILE_OBJECT ? System::unicodePath(path) : toWide(path);
}

uint32_t kindOfAttributes(DWORD attributes) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? ObjectKind::directory
                                                        : ObjectKind::plainFile;
}

uint32_t kindOfFile(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES ? kindOfAttributes(attributes)
                                                 : ObjectKind::plainFile;
}

uint32_t kindOfFile(HANDLE file) {
    switch (GetFileType(file)) {
        case FILE_TYPE_DISK: {
            BY_HANDLE_FILE_INFORMATION information = {};
            return GetFileInformationByHandle(file, &information)
                       ? kindOfAttributes(information.dwFileAttributes)
                       : ObjectKind::plainFile;
        }
        case FILE_TYPE_PIPE:
            return ObjectKind::pipe;
        default:
            return ObjectKind::plainFile;
    }
}

void throwIfFailed(const char* call, DWORD error) {
    if (error != ERROR_SUCCESS) {
        throw Win32Exception(call, error);
    }
}

LocalMemory<void> allocate(DWORD size) { return LocalMemory<void>(LocalAlloc(LMEM_FIXED, size)); }

LocalMemory<void> fromSddl(const char* sddl, DWORD revision) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
            toWide(sddl).c_str(), revision, &descriptor, /*SecurityDescriptorSize=*/nullptr)) {
        throw Win32Exception("ConvertStringSecurityDescriptorToSecurityDescriptorW");
    }
    return LocalMemory<void>(descriptor);
}

LocalMemory<void> selfRelativeCopy(PSECURITY_DESCRIPTOR source) {
    DWORD size = 0;
    if (!MakeSelfRelativeSD(source, /*pSelfRelativeSecurityDescriptor=*/nullptr, &size) &&
        GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        throw Win32Exception("MakeSelfRelativeSD");
    }
    LocalMemory<void> copy = allocate(size);
    if (!MakeSelfRelativeSD(source, copy.get(), &size)) {
        throw Win32Exception("MakeSelfRelativeSD");
    }
    return copy;
}

SECURITY_DESCRIPTOR_CONTROL controlOf(PSECURITY_DESCRIPTOR descriptor, DWORD& revision) {
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    if (!GetSecurityDescriptorControl(descriptor, &control, &revision)) {
        throw Win32Exception("GetSecurityDescriptorControl");
    }
    return control;
}

SECURITY_DESCRIPTOR_CONTROL controlOf(PSECURITY_DESCRIPTOR descriptor) {
    DWORD revision = 0;
    return controlOf(descriptor, revision);
}

bool isSelfRelative(PSECURITY_DESCRIPTOR descriptor) {
    return (controlOf(descriptor) & SE_SELF_RELATIVE) != 0;
}

/// BuildSecurityDescriptorW takes its input without const, but doesn't change it.
PTRUSTEE_W withoutConst(const Trustee& trustee) {
    return const_cast<PTRUSTEE_W>(&trustee.trustee());
}

}  // namespace

SecurityDescriptor::SecurityDescriptor() : mDescriptor(allocate(sizeof(SECURITY_DESCRIPTOR))) {
    if (!InitializeSecurityDescriptor(mDescriptor.get(), SECURITY_DESCRIPTOR_REVISION)) {
        throw Win32Exception("InitializeSecurityDescriptor");
    }
}

SecurityDescriptor::SecurityDescriptor(const std::string& path, SE_OBJECT_TYPE type, bool withSacl)
    : mObjectType(type) {
    const std::wstring name = objectName(path, type);
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    throwIfFailed("GetNamedSecurityInfoW",
                  GetNamedSecurityInfoW(name.c_str(), type, bitsToRead(withSacl), &mOwner, &mGroup,
                                        &mDacl, withSacl ? &mSacl : nullptr, &descriptor));
    mDescriptor.reset(descriptor);
    if (type == SE_FILE_OBJECT) {
        mObjectKind = kindOfFile(name);
    }
}

SecurityDescriptor::SecurityDescriptor(HANDLE object, SE_OBJECT_TYPE type, bool withSacl)
    : mObjectType(type) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    throwIfFailed("GetSecurityInfo",
                  GetSecurityInfo(object, type, bitsToRead(withSacl), &mOwner, &mGroup, &mDacl,
                                  withSacl ? &mSacl : nullptr, &descriptor));
    mDescriptor.reset(descriptor);
    if (type == SE_FILE_OBJECT) {
        mObjectKind = kindOfFile(object);
    }
}

SecurityDescriptor::SecurityDescriptor(const Trustee& owner, const Trustee& group,
                                       const ExplicitAccessList& accessEntries,
                                       const ExplicitAccessList& auditEntries,
                                       const SecurityDescriptor* base) {
    ULONG size = 0;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    throwIfFailed("BuildSecurityDescriptorW",
                  BuildSecurityDescriptorW(
                      withoutConst(owner), withoutConst(group), accessEntries.count(),
                      accessEntries.entries(), auditEntries.count(), auditEntries.entries(),
                      base != nullptr ? base->descriptor() : nullptr, &size, &descriptor));
    mDescriptor.reset(descriptor);
    readParts();
}

SecurityDescriptor::SecurityDescriptor(const char* sddl, DWORD revision)
    : mDescriptor(fromSddl(sddl, revision)) {
    readParts();
}

SecurityDescriptor::SecurityDescriptor(PSECURITY_DESCRIPTOR descriptor) { copyFrom(descriptor); }

SecurityDescriptor::SecurityDescriptor(const SecurityDescriptor& other)
    : mObjectType(other.mObjectType), mObjectKind(other.mObjectKind) {
    copyFrom(other.descriptor());
}

void SecurityDescriptor::copyFrom(PSECURITY_DESCRIPTOR source) {
    if (source == nullptr) {
        return;
    }
    if (isSelfRelative(source)) {
        const DWORD size = GetSecurityDescriptorLength(source);
        mDescriptor = allocate(size);
        CopyMemory(mDescriptor.get(), source, size);
    } else {
        mDescriptor = selfRelativeCopy(source);
    }
    readParts();
}

DWORD SecurityDescriptor::length() const {
    return mDescriptor != nullptr ? GetSecurityDescriptorLength(descriptor()) : 0;
}

bool SecurityDescriptor::isValid() const {
    return mDescriptor != nullptr && IsValidSecurityDescriptor(descriptor());
}

bool SecurityDescriptor::isAbsolute() const {
    return mDescriptor != nullptr && !isSelfRelative(descriptor());
}

SECURITY_DESCRIPTOR_CONTROL SecurityDescriptor::control() const { return controlOf(descriptor()); }

DWORD SecurityDescriptor::revision() const {
    DWORD revision = 0;
    controlOf(descriptor(), revision);
    return revision;
}

BYTE SecurityDescriptor::rmControl() const {
    BYTE bits = 0;
    throwIfFailed("GetSecurityDescriptorRMControl",
                  GetSecurityDescriptorRMControl(descriptor(), &bits));
    return bits;
}

void SecurityDescriptor::setControl(SECURITY_DESCRIPTOR_CONTROL mask,
                                    SECURITY_DESCRIPTOR_CONTROL values) {
    if (!SetSecurityDescriptorControl(descriptor(), mask, values)) {
        throw Win32Exception("SetSecurityDescriptorControl");
    }
}

void SecurityDescriptor::setRmControl(BYTE bits) {
    throwIfFailed("SetSecurityDescriptorRMControl",
                  SetSecurityDescriptorRMControl(descriptor(), &bits));
}

void SecurityDescriptor::readParts() {
    // If a list is missing, Windows doesn't set the pointer.
    mOwner = nullptr;
    mGroup = nullptr;
    mDacl = nullptr;
    mSacl = nullptr;
    BOOL isDefaulted = FALSE;
    BOOL isPresent = FALSE;
    if (!GetSecurityDescriptorOwner(descriptor(), &mOwner, &isDefaulted)) {
        throw Win32Exception("GetSecurityDescriptorOwner");
    }
    if (!GetSecurityDescriptorGroup(descriptor(), &mGroup, &isDefaulted)) {
        throw Win32Exception("GetSecurityDescriptorGroup");
    }
    if (!GetSecurityDescriptorDacl(descriptor(), &isPresent, &mDacl, &isDefaulted)) {
        throw Win32Exception("GetSecurityDescriptorDacl");
    }
    if (!GetSecurityDescriptorSacl(descriptor(), &isPresent, &mSacl, &isDefaulted)) {
        throw Win32Exception("GetSecurityDescriptorSacl");
    }
}

/// Sets the part in an absolute descriptor with `set`, which takes the current "defaulted" bit.
template <class SetPart>
void SecurityDescriptor::setPart(SECURITY_DESCRIPTOR_CONTROL defaultedBit, const char* failure,
                                 SetPart set) {
    if (mDescriptor == nullptr || isSelfRelative(descriptor())) {
        return;
    }
    const BOOL isDefaulted = (control() & defaultedBit) != 0 ? TRUE : FALSE;
    if (!set(isDefaulted)) {
        throw Win32Exception(failure);
    }
}

void SecurityDescriptor::setOwner(PSID owner) {
    mOwner = owner;
    setPart(SE_OWNER_DEFAULTED, "SetSecurityDescriptorOwner", [this](BOOL isDefaulted) {
        return SetSecurityDescriptorOwner(descriptor(), mOwner, isDefaulted);
    });
}

void SecurityDescriptor::setGroup(PSID group) {
    mGroup = group;
    setPart(SE_GROUP_DEFAULTED, "SetSecurityDescriptorGroup", [this](BOOL isDefaulted) {
        return SetSecurityDescriptorGroup(descriptor(), mGroup, isDefaulted);
    });
}

void SecurityDescriptor::setDacl(PACL dacl) {
    mDacl = dacl;
    setPart(SE_DACL_DEFAULTED, "SetSecurityDescriptorDacl", [this](BOOL isDefaulted) {
        return SetSecurityDescriptorDacl(descriptor(), mDacl != nullptr, mDacl, isDefaulted);
    });
}

void SecurityDescriptor::setSacl(PACL sacl) {
    mSacl = sacl;
    setPart(SE_SACL_DEFAULTED, "SetSecurityDescriptorSacl", [this](BOOL isDefaulted) {
        return SetSecurityDescriptorSacl(descriptor(), mSacl != nullptr, mSacl, isDefaulted);
    });
}

void SecurityDescriptor::replaceDescriptor(LocalMemory<void> descriptor) {
    mDescriptor = std::move(descriptor);
    readParts();
}

void SecurityDescriptor::makeAbsolute() {
    DWORD descriptorSize = sizeof(SECURITY_DESCRIPTOR);
    DWORD daclSize = mDacl != nullptr ? mDacl->AclSize : 0;
    DWORD saclSize = mSacl != nullptr ? mSacl->AclSize : 0;
    DWORD ownerSize = mOwner != nullptr ? GetLengthSid(mOwner) : 0;
    DWORD groupSize = mGroup != nullptr ? GetLengthSid(mGroup) : 0;
    // One block, so that freeing the descriptor frees its parts.
    LocalMemory<void> block =
        allocate(descriptorSize + daclSize + saclSize + ownerSize + groupSize);
    BYTE* const dacl = static_cast<BYTE*>(block.get()) + descriptorSize;
    BYTE* const sacl = dacl + daclSize;
    BYTE* const owner = sacl + saclSize;
    BYTE* const group = owner + ownerSize;
    if (!MakeAbsoluteSD(descriptor(), block.get(), &descriptorSize, reinterpret_cast<PACL>(dacl),
                        &daclSize, reinterpret_cast<PACL>(sacl), &saclSize, owner, &ownerSize,
                        group, &groupSize)) {
        throw Win32Exception("MakeAbsoluteSD");
    }
    replaceDescriptor(std::move(block));
}

void SecurityDescriptor::makeSelfRelative() { replaceDescriptor(selfRelativeCopy(descriptor())); }

std::string SecurityDescriptor::sddl(SECURITY_INFORMATION bits) const {
    wchar_t* text = nullptr;
    if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor(), SDDL_REVISION_1, bits,
                                                              &text,
                                                              /*StringSecurityDescriptorLen=*/
                                                              nullptr)) {
        throw Win32Exception("ConvertSecurityDescriptorToStringSecurityDescriptorW");
    }
    const LocalMemory<wchar_t> owner(text);
    return toUtf8(text);
}

void SecurityDescriptor::setSddl(const char* sddl, DWORD revision) {
    LocalMemory<void> descriptor = fromSddl(sddl, revision);
    // Compatibility: the old one isn't freed. Views of its owner, group and lists stay valid.
    static_cast<void>(mDescriptor.release());
    mDescriptor = std::move(descriptor);
}

SECURITY_INFORMATION SecurityDescriptor::presentBits(bool withSacl) const {
    SECURITY_INFORMATION bits = 0;
    bits |= mOwner != nullptr ? OWNER_SECURITY_INFORMATION : 0;
    bits |= mGroup != nullptr ? GROUP_SECURITY_INFORMATION : 0;
    bits |= mDacl != nullptr ? DACL_SECURITY_INFORMATION : 0;
    bits |= withSacl && mSacl != nullptr ? SACL_SECURITY_INFORMATION : 0;
    return bits;
}

void SecurityDescriptor::write(HANDLE object, SE_OBJECT_TYPE type, bool withSacl,
                               SECURITY_INFORMATION furtherBits) const {
    throwIfFailed("SetSecurityInfo",
                  SetSecurityInfo(object, type, presentBits(withSacl) | furtherBits, mOwner, mGroup,
                                  mDacl, withSacl ? mSacl : nullptr));
}

void SecurityDescriptor::write(const std::string& path, SE_OBJECT_TYPE type, bool withSacl,
                               SECURITY_INFORMATION furtherBits) const {
    // Windows takes the name without const, but doesn't change it.
    std::wstring name = objectName(path, type);
    throwIfFailed("SetNamedSecurityInfo",
                  SetNamedSecurityInfoW(name.data(), type, presentBits(withSacl) | furtherBits,
                                        mOwner, mGroup, mDacl, withSacl ? mSacl : nullptr));
}
