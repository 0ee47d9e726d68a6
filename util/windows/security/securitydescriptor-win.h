#pragma once

// Security descriptors of files and other objects.
//
//     SecurityDescriptor security("c:/notes.txt", SE_FILE_OBJECT, /*withSacl=*/false);
//     std::cerr << security.sddl(DACL_SECURITY_INFORMATION);
//
// A failed Windows call throws a Win32Exception whose text begins with the name of the function:
// `Throws "GetSecurityInfo"` gives that name.

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>

#include <windows.h>
#include <accctrl.h>

#include "util/accessrights.h"
#include "util/platform/localmemory-win.h"
#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/argumentguards.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/trustee-win.h"

/// Owns a security descriptor, of the absolute or the self-relative form, and knows what kind of
/// object it came from. The owner, group, DACL and SACL are stored in the descriptor; those that
/// the caller has set stay in the caller's memory.
///
/// A null descriptor (from a null source) has no parts. It allows only these operations: the views
/// of parts, `length`, `isValid`, `isAbsolute`, the setters of parts, `setSddl`, `write`, copying,
/// printing, and `sddl`, which throws the error of Windows.
///
/// Only one thread at a time may use an object.
class SecurityDescriptor {
public:
    /// Makes an empty descriptor of the absolute form. Throws "InitializeSecurityDescriptor".
    SecurityDescriptor();
    /// Reads the owner, group and DACL of a named object, with `withSacl` also the SACL. `path` is
    /// UTF-8; the path of a file may have any length. Throws "GetNamedSecurityInfoW".
    SecurityDescriptor(const std::string& path, SE_OBJECT_TYPE type, bool withSacl);
    /// The same for an open object. Throws "GetSecurityInfo".
    SecurityDescriptor(HANDLE object, SE_OBJECT_TYPE type, bool withSacl);
    /// A pointer to writable text would be a handle, not a path. For a path, pass
    /// std::string(buffer).
    template <NoHandleTarget T>
    SecurityDescriptor(T* noHandle, SE_OBJECT_TYPE type, bool withSacl) = delete;
    /// Makes a self-relative descriptor, with the entries before those of `base`, which must be
    /// self-relative too. Throws "BuildSecurityDescriptorW".
    SecurityDescriptor(const Trustee& owner, const Trustee& group,
                       const ExplicitAccessList& accessEntries,
                       const ExplicitAccessList& auditEntries,
                       const SecurityDescriptor* base = nullptr);
    /// Makes a descriptor from SDDL text in UTF-8. Throws
    /// "ConvertStringSecurityDescriptorToSecurityDescriptorW".
    SecurityDescriptor(const char* sddl, DWORD revision);
    /// This is a path and a type without `withSacl`, not SDDL with a revision.
    SecurityDescriptor(const char* path, SE_OBJECT_TYPE type) = delete;
    /// Makes a self-relative copy of a descriptor of either form. A null `descriptor` makes a null
    /// descriptor. Throws "GetSecurityDescriptorControl", "MakeSelfRelativeSD".
    explicit SecurityDescriptor(PSECURITY_DESCRIPTOR descriptor);
    /// The bytes of a descriptor belong in an array of BYTE or std::byte. A writable `char` array
    /// could hold SDDL as well: pass `PSECURITY_DESCRIPTOR{buffer}` for bytes, or add a revision
    /// for SDDL.
    template <TextOrObject T>
    explicit SecurityDescriptor(T* noDescriptor) = delete;
    /// `{}` would be the null descriptor. The empty one is `SecurityDescriptor()`.
    explicit SecurityDescriptor(EmptyBraces) = delete;
    /// Makes a self-relative copy of a descriptor of either form. Parts that were set in `other`
    /// but aren't in its descriptor aren't copied.
    SecurityDescriptor(const SecurityDescriptor& other);
    SecurityDescriptor& operator=(const SecurityDescriptor&) = delete;
    ~SecurityDescriptor() = default;

    /// Returns the descriptor, which this object owns; null for a null one.
    [[nodiscard]] PSECURITY_DESCRIPTOR descriptor() const { return mDescriptor.get(); }
    /// Returns the type that the object was read with; SE_UNKNOWN_OBJECT_TYPE if it wasn't read.
    [[nodiscard]] SE_OBJECT_TYPE objectType() const { return mObjectType; }
    /// For a file object, one of the `ObjectKind`s of files; `ObjectKind::unknown` for others.
    [[nodiscard]] uint32_t objectKind() const { return mObjectKind; }

    /// @{
    /// Return views, null if the part is missing. A view is valid until the descriptor is destroyed
    /// or changes its form.
    [[nodiscard]] SecurityIdentifier owner() const { return {mOwner}; }
    [[nodiscard]] SecurityIdentifier group() const { return {mGroup}; }
    [[nodiscard]] AccessControlList dacl() const { return {mDacl}; }
    [[nodiscard]] AccessControlList sacl() const { return {mSacl}; }
    /// @}

    /// Returns the length in bytes; 0 for a null descriptor.
    [[nodiscard]] DWORD length() const;
    /// Returns whether Windows takes it for a descriptor; false for a null one.
    [[nodiscard]] bool isValid() const;
    /// This and the next two throw "GetSecurityDescriptorControl".
    [[nodiscard]] bool isAbsolute() const;
    /// Returns the control bits.
    [[nodiscard]] SECURITY_DESCRIPTOR_CONTROL control() const;
    /// Returns the revision.
    [[nodiscard]] DWORD revision() const;
    /// Throws "GetSecurityDescriptorRMControl".
    [[nodiscard]] BYTE rmControl() const;
    /// Gives the bits of `mask` the values in `values`. Throws "SetSecurityDescriptorControl".
    void setControl(SECURITY_DESCRIPTOR_CONTROL mask, SECURITY_DESCRIPTOR_CONTROL values);
    /// Throws "SetSecurityDescriptorRMControl".
    void setRmControl(BYTE bits);

    /// Replaces the parts by those in the descriptor. Throws "GetSecurityDescriptorOwner",
    /// "...Group", "...Dacl" or "...Sacl".
    void readParts();

    /// @{
    /// Set the part that this object returns; it stays in the caller's memory. A descriptor of the
    /// absolute form gets the part too and keeps its "defaulted" bit. A self-relative descriptor
    /// can't be changed and keeps the old part. Throw "GetSecurityDescriptorControl",
    /// "SetSecurityDescriptorOwner" and so on.
    void setOwner(PSID owner);
    void setGroup(PSID group);
    void setDacl(PACL dacl);
    void setSacl(PACL sacl);
    /// @}
    /// See SecurityIdentifier.
    template <TextOrObject T>
    void setOwner(T* noSid) = delete;
    template <TextOrObject T>
    void setGroup(T* noSid) = delete;

    /// Converts the descriptor to the absolute form. Throws "MakeAbsoluteSD", with nothing changed.
    /// Parts that were set but aren't in the descriptor are dropped. If they are smaller than the
    /// parts in the descriptor, the conversion fails.
    void makeAbsolute();
    /// Converts the descriptor to the self-relative form. Throws "MakeSelfRelativeSD", with nothing
    /// changed. Parts that were set but aren't in the descriptor are dropped.
    void makeSelfRelative();

    /// Returns the SDDL text, in UTF-8, for the parts that `bits` select. Throws
    /// "ConvertSecurityDescriptorToStringSecurityDescriptorW".
    [[nodiscard]] std::string sddl(SECURITY_INFORMATION bits) const;
    /// Replaces the descriptor by one from SDDL text, with the same failure as the constructor. The
    /// parts stay: call `readParts` for the new ones. The old descriptor isn't freed.
    void setSddl(const char* sddl, DWORD revision);

    /// Sets the security of an object to the parts that aren't null, the SACL only with `withSacl`.
    /// `furtherBits` may contain PROTECTED_DACL_SECURITY_INFORMATION and similar bits. Throws
    /// "SetSecurityInfo".
    void write(HANDLE object, SE_OBJECT_TYPE type, bool withSacl,
               SECURITY_INFORMATION furtherBits) const;
    /// Throws "SetNamedSecurityInfo".
    void write(const std::string& path, SE_OBJECT_TYPE type, bool withSacl,
               SECURITY_INFORMATION furtherBits) const;
    /// See the constructors.
    template <NoHandleTarget T>
    void write(T* noHandle, SE_OBJECT_TYPE type, bool withSacl,
               SECURITY_INFORMATION furtherBits) const = delete;
    /// Rejects the last two arguments in the wrong order.
    template <class Object, std::same_as<bool> Bool>
    void write(Object object, SE_OBJECT_TYPE type, SECURITY_INFORMATION furtherBits,
               Bool withSacl) const = delete;

    /// Returns the security of a new file, or with `isContainer` a new directory, in a directory
    /// with this security. Returns a null descriptor if the owner's SID has no account, or a
    /// deleted or invalid one. Throws "LookupAccountSidW", "CreatePrivateObjectSecurityEx",
    /// "DestroyPrivateObjectSecurity".
    [[nodiscard]] std::unique_ptr<SecurityDescriptor> deriveForChild(bool isContainer) const;

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
    uint32_t mObjectKind = ObjectKind::unknown;
};
