// After std::bad_alloc the wrappers hold no resources of Windows and no memory of their own.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/counts/littlememory-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/security/accesscontrol-win.h"
#include "util/windows/security/accesstoken-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/security/securityidentifier-win.h"
#include "util/windows/security/trustee-win.h"

namespace {

using namespace testing_support;

constexpr DWORD interactive = LOGON32_LOGON_INTERACTIVE;
constexpr DWORD defaultProvider = LOGON32_PROVIDER_DEFAULT;

constexpr SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;

SecurityIdentifier copyOf(const SecurityIdentifier& sid) { return sid; }

[[noreturn]] void endAsExpected() {
    std::fputs("nothing is held", stderr);
    std::exit(0);
}

[[noreturn]] void makeSids() {
    const auto expect = [](const char* name, auto step) {
        expectNoLeakWhenMemoryRunsOut(name, step);
    };
    expect("text", [] { SecurityIdentifier("S-1-5-21-1-2-3-1001"); });
    expect("list", [] { SecurityIdentifier(ntAuthority, {1, 2}); });
    expect("count", [] { SecurityIdentifier(ntAuthority, 2); });
    expect("well-known", [] { SecurityIdentifier(WinWorldSid, nullptr); });
    expect("account", [] { SecurityIdentifier("Everyone", nullptr, nullptr); });
    expect("user", [] { static_cast<void>(SecurityIdentifier::currentUser()); });
    const SecurityIdentifier sid("S-1-5-21-1-2-3-1001");
    expect("copy", [&] { copyOf(sid); });
    expect("domain", [&] { static_cast<void>(sid.domainSid()); });
    expect("its text", [&] { static_cast<void>(sid.text()); });
    endAsExpected();
}

TEST(SecurityWithLittleMemoryDeathTest, SidsHoldNothing) {
    EXPECT_EXIT(makeSids(), testing::ExitedWithCode(0), "nothing is held");
}

[[noreturn]] void makeLists() {
    const SecurityIdentifier everyone("S-1-1-0");
    AccessControlList acl(/*aceCount=*/3, ACL_REVISION, /*limitSize=*/false);
    acl.addAce(ACL_REVISION, AccessControlList::atEnd,
               AccessControlEntry::allowed(1, everyone, /*flags=*/0));
    const auto expect = [](const char* name, auto step) {
        expectNoLeakWhenMemoryRunsOut(name, step);
    };
    expect("entry",
           [&] { static_cast<void>(AccessControlEntry::denied(1, everyone, /*flags=*/0)); });
    expect("copy of an entry", [&] { AccessControlEntry(acl.ace(0), /*forceCopy=*/true); });
    expect("entries of the list itself", [&] {
        AccessControlList target(/*aceCount=*/3, ACL_REVISION, /*limitSize=*/false);
        target.addAce(ACL_REVISION, AccessControlList::atEnd, acl.ace(0));
        target.addAces(ACL_REVISION, 1, std::vector<AccessControlEntry>(2, target.ace(0)));
    });
    expect("trustee by name", [] { Trustee("a name that is longer than a short one"); });
    expect("trustee by SID", [&] { static_cast<void>(Trustee(everyone)); });
    expect("access", [] { ExplicitAccess("x", 1, GRANT_ACCESS, NO_INHERITANCE); });
    endAsExpected();
}

TEST(SecurityWithLittleMemoryDeathTest, ListsHoldNothing) {
    EXPECT_EXIT(makeLists(), testing::ExitedWithCode(0), "nothing is held");
}

[[noreturn]] void makeDescriptors() {
    constexpr const char* text = "O:BAG:SYD:(A;OICI;FA;;;WD)";
    const testing_support::TempFolder folder;
    const std::string path = folder.utf8();
    const SecurityDescriptor security(text, SDDL_REVISION_1);
    const auto expect = [](const char* name, auto step) {
        expectNoLeakWhenMemoryRunsOut(name, step);
    };
    expect("text", [] { SecurityDescriptor(text, SDDL_REVISION_1); });
    expect("path", [&] { SecurityDescriptor(path, SE_FILE_OBJECT, /*withSacl=*/false); });
    expect("its text", [&] { static_cast<void>(security.sddl(OWNER_SECURITY_INFORMATION)); });
    expect("child", [&] { static_cast<void>(security.deriveForChild(/*isContainer=*/true)); });
    endAsExpected();
}

TEST(SecurityWithLittleMemoryDeathTest, DescriptorsHoldNothing) {
    EXPECT_EXIT(makeDescriptors(), testing::ExitedWithCode(0), "nothing is held");
}

[[noreturn]] void makeTokens() {
    AccessToken token(GetCurrentProcess(), TOKEN_ALL_ACCESS);
    AccessToken::SidList groups;
    AccessToken::PrivilegeList privileges;
    token.groups(groups);
    token.privileges(privileges);
    const auto expect = [](const char* name, auto step) {
        expectNoLeakWhenMemoryRunsOut(name, step);
    };
    expect("restricted", [&] { AccessToken(token, 0, groups, privileges, groups); });
    expect("logon", [] { AccessToken("user", "", "password", interactive, defaultProvider); });
    expect("profile", [] {
        boost::shared_ptr<AccessToken::Profile> profile;
        const AccessToken user("user", "server", "password", interactive, defaultProvider, 0,
                               profile);
        profile.reset();
    });
    expect("user", [&] { static_cast<void>(token.user()); });
    expect("groups", [&] {
        AccessToken::SidList read;
        token.groups(read);
    });
    expect("privileges", [&] {
        AccessToken::PrivilegeList read;
        token.privileges(read);
    });
    expect("default DACL", [&] {
        AccessControlList dacl;
        token.defaultDacl(dacl);
    });
    expect("adjusted", [&] {
        AccessToken::PrivilegeList previous;
        static_cast<void>(token.adjustPrivileges(&privileges, &previous));
    });
    endAsExpected();
}

TEST(SecurityWithLittleMemoryDeathTest, TokensHoldNothing) {
    EXPECT_EXIT(makeTokens(), testing::ExitedWithCode(0), "nothing is held");
}

}  // namespace
