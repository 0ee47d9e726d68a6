// Examples of docs/utility.md: users and rights.

#include <fcntl.h>
#include <iostream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <accctrl.h>
#include <sddl.h>

#include "testing/folderexample-win.h"
#include "testing/pageexamples.h"
#include "util/platform/errortext-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/accesstoken-win.h"
#include "util/windows/security/openfile-win.h"
#include "util/windows/security/securityattributes-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/securityprinting-win.h"
#include "util/windows/system-win.h"
#include "util/windows/system/filesecurity-win.h"

namespace {

using SecurityExampleTest = testing_support::UtilityExampleTest;
using SecurityFileExampleTest = testing_support::FolderExampleTest;

TEST_F(SecurityExampleTest, FindOutWhoTheUserIs) {
    const SecurityIdentifier user = SecurityIdentifier::currentUser();
    std::cout << user.accountName() << ' ' << user.text() << '\n';
    const AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
    std::cout << (token.user().first == user) << '\n';
}

TEST_F(SecurityExampleTest, FindOutWhetherTheUserHasAGroup) {
    const AccessToken token(GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE);
    const AccessToken duplicate(token, SecurityImpersonation);
    const bool isAdministrator = duplicate.isMember(SecurityIdentifier("BA"));
    std::cout << "administrator: " << isAdministrator << '\n'
              << "everyone: " << duplicate.isMember(SecurityIdentifier("S-1-1-0")) << '\n';
}

TEST_F(SecurityExampleTest, EnableAPrivilege) {
    AccessToken token(GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES);
    LUID notify = {};
    if (!LookupPrivilegeValueW(nullptr, L"SeChangeNotifyPrivilege", &notify)) {
        throw Win32Exception("LookupPrivilegeValueW");
    }
    const AccessToken::PrivilegeList enabled = {{notify, SE_PRIVILEGE_ENABLED}};
    std::cout << token.adjustPrivileges(&enabled) << '\n';
}

TEST_F(SecurityFileExampleTest, ReadTheSecurityOfAFile) {
    const SecurityDescriptor security("notes.txt", SE_FILE_OBJECT, /*withSacl=*/false);
    std::cout << security.sddl(OWNER_SECURITY_INFORMATION) << ' ' << security.owner().accountName()
              << '\n';
    const SecurityDescriptor all("D:(A;;FA;;;WD)", SDDL_REVISION_1);
    std::cout << all.dacl() << '\n';
}

TEST_F(SecurityFileExampleTest, ChangeTheSecurityOfAFile) {
    AccessControlList dacl(/*aceCount=*/1, ACL_REVISION, /*limitSize=*/false);
    dacl.addAce(ACL_REVISION, AccessControlList::atEnd,
                AccessControlEntry::allowed(FILE_ALL_ACCESS, SecurityIdentifier("S-1-1-0"),
                                            /*flags=*/0));
    SecurityDescriptor security;
    security.setDacl(dacl.acl());
    std::cout << security.sddl(DACL_SECURITY_INFORMATION) << '\n';
    security.write(std::string("notes.txt"), SE_FILE_OBJECT, /*withSacl=*/false,
                   PROTECTED_DACL_SECURITY_INFORMATION);
}

TEST_F(SecurityExampleTest, CheckAnAccess) {
    const GENERIC_MAPPING files = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                                   FILE_ALL_ACCESS};
    const SecurityDescriptor security("O:SYG:SYD:(A;;FR;;;WD)", SDDL_REVISION_1);
    const AccessToken token(AccessToken(GetCurrentProcess(), TOKEN_DUPLICATE),
                            SecurityImpersonation);
    PrivilegeSet used;
    DWORD granted = 0;
    std::cout << token.accessCheck(security, FILE_READ_DATA, files, used, granted) << ' '
              << token.accessCheck(security, FILE_WRITE_DATA, files, used, granted) << '\n';
}

// NOLINTBEGIN(clang-analyzer-unix.API): not the `open` of the C runtime
TEST_F(SecurityFileExampleTest, GiveAFileTheSecurityOfAnother) {
    const char* name = nullptr;
    std::string problem;
    if (!securityAttributesForDirectory(System::getcwd(), name, &problem)) {
        throw std::runtime_error(problem);
    }
    const std::string path = "new.txt";
    const ScopedHandle file(open(path, _O_CREAT | _O_WRONLY, /*mode=*/0, name));
    std::cout << file.isOpen() << ' '
              << copySecurity("notes.txt", path, /*protect=*/false, &problem) << '\n';
}
// NOLINTEND(clang-analyzer-unix.API)

}  // namespace
