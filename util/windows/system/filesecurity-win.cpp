#include "util/windows/system/filesecurity-win.h"

#include <windows.h>
#include <accctrl.h>

#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/caughtfailure-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system/filestat-win.h"

namespace {

/// Returns the flags of the ACE that a child inherits from an ACE with these flags.
BYTE inheritedFlags(BYTE flags) {
    flags |= INHERITED_ACE;
    flags &= static_cast<BYTE>(~INHERIT_ONLY_ACE);
    if ((flags & NO_PROPAGATE_INHERIT_ACE) != 0) {
        constexpr int inheriting =
            OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE | NO_PROPAGATE_INHERIT_ACE;
        flags &= static_cast<BYTE>(~inheriting);
    }
    return flags;
}

AccessControlList inheritedAcl(const AccessControlList& parent, bool isDirectory) {
    const BYTE wanted = isDirectory ? CONTAINER_INHERIT_ACE : OBJECT_INHERIT_ACE;
    AccessControlList acl(parent.aceCount(), ACL_REVISION, /*limitSize=*/false);
    for (DWORD index = 0; index < parent.aceCount(); ++index) {
        const AccessControlEntry source = parent.ace(index);
        if ((source.flags() & wanted) == 0) {
            continue;
        }
        AccessControlEntry inherited(source, /*forceCopy=*/true);
        inherited.setFlags(inheritedFlags(source.flags()));
        acl.addAce(ACL_REVISION, AccessControlList::atEnd, inherited);
    }
    return acl;
}

void inherit(const SecurityDescriptor& parent, const std::string& child, bool isDirectory) {
    SecurityDescriptor security;
    security.setOwner(parent.owner().sid());
    security.setGroup(parent.group().sid());
    const AccessControlList parentAcl = parent.dacl();
    AccessControlList acl;
    if (parentAcl.isValid()) {
        acl = inheritedAcl(parentAcl, isDirectory);
    }
    security.setDacl(acl.acl());
    security.write(child, SE_FILE_OBJECT, /*withSacl=*/false, /*furtherBits=*/0);
}

}  // namespace

bool copySecurity(const std::string& source, const std::string& target, bool protect,
                  std::string* errorText) {
    return runCatching(
        [&] {
            SecurityDescriptor security(source, SE_FILE_OBJECT, /*withSacl=*/false);
            if (protect) {
                security.setControl(SE_DACL_PROTECTED, SE_DACL_PROTECTED);
            }
            security.write(target, SE_FILE_OBJECT, /*withSacl=*/false,
                           protect ? PROTECTED_DACL_SECURITY_INFORMATION : 0);
        },
        /*prefix=*/std::string(), errorText);
}

bool inheritSecurity(const std::string& parent, const std::string& child, std::string* errorText) {
    bool isThere = true;
    const bool hasSucceeded = runCatching(
        [&] {
            FileStat childStat;
            isThere = childStat.read(child, /*unused=*/0);
            if (isThere) {
                inherit(SecurityDescriptor(parent, SE_FILE_OBJECT, /*withSacl=*/false), child,
                        childStat.isDirectory());
            }
        },
        /*prefix=*/std::string(), errorText);
    if (!isThere) {
        SetLastError(ERROR_FILE_NOT_FOUND);
    }
    return hasSucceeded && isThere;
}
