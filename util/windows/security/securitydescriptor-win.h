#pragma once

// Security descriptors of files and other objects.
//
//     SecurityDescriptor security("c:/notes.txt", SE_FILE_OBJECT, /*withSacl=*/false);
//     std::cerr << security.sddl(DACL_SECURITY_INFORMATION);
//
// A failed Windows call throws a Win32Exception whose text is the name of the function.

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>

#include <windows.h>
// Behind windows.h.
#include <accctrl.h>

#include "util/windows/localmemory-win.h"
#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/argumentguards.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/trustee-win.h"

/// Owns a security descriptor, of the absolute or the self-relative form, and knows what kind of
/// object it came from. The owner, group, DACL and SACL lie within the descriptor, or where the
/// caller holds those that he has set.
///
/// A null descriptor (from a null source) has no parts. Of its operations the views, the lengths,
/// `isValid`, `isAbsolute`, the setters of parts, `setSddl`, writing, copying and printing may be
/// called, and `sddl`, which throws what Windows says.
/// One thread at a time uses an object.
class SecurityDescriptor {
public:
    /// Empty, of the absolute form. Throws "InitializeSecurityDescriptor".
    SecurityDescriptor();
    /// Owner, group and DACL of a named object, with `withSacl` the SACL too. `path` is UTF-8; that
    /// of a file may have any length. Throws "GetNamedSecurityInfoW".
    SecurityDescriptor(const std::string& path, SE_OBJECT_TYPE type, bool withSacl);
    /// The same of an open object. Throws "GetSecurityInfo".
    SecurityDescriptor(HANDLE object, SE_OBJECT_TYPE type, bool withSacl);
    /// Text that can be written is an address before it is a path: std::string(buffer) is the path.
    template <NoHandleTarget T>
    SecurityDescriptor(T* noHandle, SE_OBJECT_TYPE type, bool withSacl) = delete;
    /// Self-relative, with the entries put before those of `base`, which is self-relative too.
    /// Throws "BuildSecurityDescriptorW".
    SecurityDescriptor(const Trustee& owner, const Trustee& group,
                       const ExplicitAccessList& accessEntries,
                       const ExplicitAccessList& auditEntries,
                       const SecurityDescriptor* base = nullptr);
    /// From the UTF-8 text of the language for descriptors. Throws
    /// "ConvertStringSecurityDescriptorToSecurityDescriptorW".
    SecurityDescriptor(const char* sddl, DWORD revision);
    /// A path and its type lack `withSacl`, and are no SDDL with a revision.
    SecurityDescriptor(const char* path, SE_OBJECT_TYPE type) = delete;
    /// A self-relative copy of a descriptor of either form, or of null. Throws
    /// "GetSecurityDescriptorControl", "MakeSelfRelativeSD".
    explicit SecurityDescriptor(PSECURITY_DESCRIPTOR descriptor);
    /// Bytes of a descriptor stand in arrays of BYTE or std::byte. A writable `char` array could
    /// hold SDDL: the call says which by `PSECURITY_DESCRIPTOR{buffer}` or a revision.
    template <TextOrObject T>
    explicit SecurityDescriptor(T* noDescriptor) = delete;
    /// It would be the null descriptor: the empty one is `SecurityDescriptor()`.
    explicit SecurityDescriptor(EmptyBraces) = delete;
    /// Self-relative as well, whatever the form of `other`. Parts that were set in `other` but are
    /// not in its descriptor aren't copied.
    SecurityDescriptor(const SecurityDescriptor& other);
    SecurityDescriptor& operator=(const SecurityDescriptor&) = delete;
    ~SecurityDescriptor() = default;

    PSECURITY_DESCRIPTOR descriptor() const { return mDescriptor.get(); }
    SE_OBJECT_TYPE objectType() const { return mObjectType; }
    /// Of a file object one of its `ObjectKind`s (accessrights.h); 0 for others.
    uint32_t objectKind() const { return mObjectKind; }

    /// Views, null where there is no such part; good until the descriptor goes or changes its form.
    SecurityIdentifier owner() const { return {mOwner}; }
    SecurityIdentifier group() const { return {mGroup}; }
    AccessControlList dacl() const { return {mDacl}; }
    AccessControlList sacl() const { return {mSacl}; }

    DWORD length() const;
    bool isValid() const;
    /// This and the next two throw "GetSecurityDescriptorControl".
    bool isAbsolute() const;
    SECURITY_DESCRIPTOR_CONTROL control() const;
    DWORD revision() const;
    /// Throws "GetSecurityDescriptorRMControl".
    BYTE rmControl() const;
    /// Gives the bits of `mask` the values in `values`. Throws "SetSecurityDescriptorControl".
    void setControl(SECURITY_DESCRIPTOR_CONTROL mask, SECURITY_DESCRIPTOR_CONTROL values);
    /// Throws "SetSecurityDescriptorRMControl".
    void setRmControl(BYTE bits);

    /// The parts become those of the descriptor. Throws "GetSecurityDescriptorOwner",
    /// "...Group", "...Dacl" or "...Sacl".
    void readParts();

    /// The object gives out the new part, which the caller holds. A descriptor of the absolute form
    /// gets it too, "defaulted" as it was; one of the self-relative form can't be changed, and
    /// keeps the old. Throw "GetSecurityDescriptorControl", "SetSecurityDescriptorOwner" and so on.
    void setOwner(PSID owner);
    void setGroup(PSID group);
    void setDacl(PACL dacl);
    void setSacl(PACL sacl);
    /// As with SecurityIdentifier.
    template <TextOrObject T>
    void setOwner(T* noSid) = delete;
    template <TextOrObject T>
    void setGroup(T* noSid) = delete;

    /// Replaces the descriptor by one of the other form, or throws "MakeAbsoluteSD" with nothing
    /// changed. Parts that were set but aren't in the descriptor are given up, and lead to that
    /// failure if they are smaller than those that are.
    void makeAbsolute();
    /// The same; throws "MakeSelfRelativeSD".
    void makeSelfRelative();

    /// The text for the parts that `bits` name, in UTF-8. Throws
    /// "ConvertSecurityDescriptorToStringSecurityDescriptorW".
    std::string sddl(SECURITY_INFORMATION bits) const;
    /// Takes the descriptor from a text, as the constructor does; not its parts, which `readParts`
    /// takes. The old descriptor is left in memory.
    void setSddl(const char* sddl, DWORD revision);

    /// Gives an object the parts that are there, the SACL only `withSacl`. `furtherBits` may hold
    /// PROTECTED_DACL_SECURITY_INFORMATION and its like. Throws "SetSecurityInfo".
    void write(HANDLE object, SE_OBJECT_TYPE type, bool withSacl,
               SECURITY_INFORMATION furtherBits) const;
    /// Throws "SetNamedSecurityInfo".
    void write(const std::string& path, SE_OBJECT_TYPE type, bool withSacl,
               SECURITY_INFORMATION furtherBits) const;
    /// As with the constructors.
    template <NoHandleTarget T>
    void write(T* noHandle, SE_OBJECT_TYPE type, bool withSacl,
               SECURITY_INFORMATION furtherBits) const = delete;
    /// The last two in the other order.
    template <class Object, std::same_as<bool> Bool>
    void write(Object object, SE_OBJECT_TYPE type, SECURITY_INFORMATION furtherBits,
               Bool withSacl) const = delete;

    /// What a new file, or with `isContainer` a new directory, gets in a directory of this
    /// security. A null descriptor if no account has the owner's SID. Throws "LookupAccountSidW",
    /// "CreatePrivateObjectSecurityEx", "DestroyPrivateObjectSecurity".
    std::unique_ptr<SecurityDescriptor> deriveForChild(bool isContainer) const;

private:
    void copyFrom(PSECURITY_DESCRIPTOR source);
    template <class SetPart>
    void setPart(SECURITY_DESCRIPTOR_CONTROL defaultedBit, const char* failure, SetPart set);
    void replaceDescriptor(LocalMemory<void> descriptor);
    SECURITY_INFORMATION presentBits(bool withSacl) const;

    PSID mOwner = nullptr;
    PSID mGroup = nullptr;
    PACL mDacl = nullptr;
    PACL mSacl = nullptr;
    LocalMemory<void> mDescriptor;
    SE_OBJECT_TYPE mObjectType = SE_UNKNOWN_OBJECT_TYPE;
    uint32_t mObjectKind = 0;
};
