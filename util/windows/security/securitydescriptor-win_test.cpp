// Making security descriptors, reading their properties, and which call a failure names.

#include "util/windows/security/securitydescriptor-win.h"

#include <cstring>
#include <cwchar>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/accessrights.h"
#include "util/platform/localmemory-win.h"

namespace {

using namespace testing_support;

constexpr SECURITY_INFORMATION allParts = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                          DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION;
constexpr const char* full = "O:BAG:SYD:(A;;FA;;;WD)S:(AU;SA;FA;;;WD)";
constexpr const char* administrators = "S-1-5-32-544";
constexpr const char* systemSid = "S-1-5-18";
constexpr const char* everyoneSid = "S-1-1-0";

using SecurityDescriptorTest = SecurityTest;

void expectNoParts(const SecurityDescriptor& security) {
    EXPECT_EQ(security.owner().sid(), nullptr);
    EXPECT_EQ(security.group().sid(), nullptr);
    EXPECT_EQ(security.dacl().acl(), nullptr);
    EXPECT_EQ(security.sacl().acl(), nullptr);
}

void expectUnknownObject(const SecurityDescriptor& security) {
    EXPECT_EQ(security.objectType(), SE_UNKNOWN_OBJECT_TYPE);
    EXPECT_EQ(security.objectKind(), ObjectKind::unknown);
}

/// Whether a part lies in the memory of the descriptor.
bool isWithin(const SecurityDescriptor& security, const void* part) {
    const auto* const start = static_cast<const BYTE*>(security.descriptor());
    return part >= start && part < start + security.length();
}

SecurityDescriptor copyOf(const SecurityDescriptor& source) { return source; }

TEST_F(SecurityDescriptorTest, ADefaultOneIsEmptyAndOfTheAbsoluteForm) {
    const SecurityDescriptor security;
    EXPECT_TRUE(security.isValid());
    EXPECT_TRUE(security.isAbsolute());
    EXPECT_EQ(security.control(), 0);
    EXPECT_EQ(security.revision(), DWORD{SECURITY_DESCRIPTOR_REVISION});
    expectNoParts(security);
    expectUnknownObject(security);
}

TEST_F(SecurityDescriptorTest, ADefaultOneHasFortyBytesAndRevisionOne) {
    static SIZE_T size;
    static DWORD revision;
    static decltype(LocalAlloc)* allocate;
    static decltype(InitializeSecurityDescriptor)* initialize;
    const ReplacedCall<decltype(LocalAlloc)> allocation("LocalAlloc", [](UINT flags, SIZE_T bytes) {
        size = bytes;
        return allocate(flags, bytes);
    });
    allocate = allocation.original();
    const ReplacedCall<decltype(InitializeSecurityDescriptor)> initialization(
        "InitializeSecurityDescriptor", [](PSECURITY_DESCRIPTOR descriptor, DWORD number) {
            revision = number;
            return initialize(descriptor, number);
        });
    initialize = initialization.original();
    const SecurityDescriptor security;
    EXPECT_EQ(size, 40U);
    EXPECT_EQ(revision, 1U);
}

TEST_F(SecurityDescriptorTest, OneOfATextHasThePartsOfTheText) {
    const SecurityDescriptor security(full, SDDL_REVISION_1);
    EXPECT_FALSE(security.isAbsolute());
    EXPECT_EQ(security.owner().text(), administrators);
    EXPECT_EQ(security.group().text(), systemSid);
    ASSERT_EQ(security.dacl().aceCount(), 1U);
    EXPECT_EQ(security.dacl().ace(0).sid().text(), everyoneSid);
    EXPECT_EQ(security.dacl().ace(0).mask(), DWORD{FILE_ALL_ACCESS});
    ASSERT_EQ(security.sacl().aceCount(), 1U);
    EXPECT_EQ(security.sacl().ace(0).flags(), SUCCESSFUL_ACCESS_ACE_FLAG);
    expectUnknownObject(security);
}

TEST_F(SecurityDescriptorTest, ThePartsAreViewsIntoTheDescriptor) {
    const SecurityDescriptor security(full, SDDL_REVISION_1);
    EXPECT_FALSE(security.owner().isOwner());
    EXPECT_FALSE(security.group().isOwner());
    EXPECT_FALSE(security.dacl().isOwner());
    EXPECT_FALSE(security.sacl().isOwner());
    EXPECT_TRUE(isWithin(security, security.owner().sid()));
    EXPECT_TRUE(isWithin(security, security.group().sid()));
    EXPECT_TRUE(isWithin(security, security.dacl().acl()));
    EXPECT_TRUE(isWithin(security, security.sacl().acl()));
}

TEST_F(SecurityDescriptorTest, TheTextIsUtf8AndTheRevisionGoesToWindows) {
    static bool isText;
    static DWORD revision;
    const ReplacedCall<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)> call(
        "ConvertStringSecurityDescriptorToSecurityDescriptorW",
        [](LPCWSTR text, DWORD number, PSECURITY_DESCRIPTOR*, PULONG) -> BOOL {
            isText = std::wcscmp(text, L"O:\u00e4") == 0;
            revision = number;
            SetLastError(ERROR_UNKNOWN_REVISION);
            return FALSE;
        });
    expectFailedCall("ConvertStringSecurityDescriptorToSecurityDescriptorW", ERROR_UNKNOWN_REVISION,
                     [] { SecurityDescriptor("O:\xC3\xA4", /*revision=*/7); });
    EXPECT_TRUE(isText);
    EXPECT_EQ(revision, 7U);
}

EXPLICIT_ACCESS_W entryFor(const SecurityIdentifier& sid, ACCESS_MODE mode) {
    EXPLICIT_ACCESS_W entry = {FILE_ALL_ACCESS, mode, NO_INHERITANCE, {}};
    BuildTrusteeWithSidW(&entry.Trustee, sid.sid());
    return entry;
}

TEST_F(SecurityDescriptorTest, OneIsBuiltOfTrusteesAndEntries) {
    const Trustee owner{SecurityIdentifier(administrators)};
    const Trustee group{SecurityIdentifier(systemSid)};
    const SecurityIdentifier everyone(everyoneSid);
    EXPLICIT_ACCESS_W access = entryFor(everyone, GRANT_ACCESS);
    EXPLICIT_ACCESS_W audit = entryFor(everyone, SET_AUDIT_SUCCESS);
    const SecurityDescriptor security(owner, group, ExplicitAccessList(&access, 1),
                                      ExplicitAccessList(&audit, 1));
    EXPECT_FALSE(security.isAbsolute());
    EXPECT_EQ(security.owner(), owner.sid());
    EXPECT_EQ(security.group(), group.sid());
    ASSERT_EQ(security.dacl().aceCount(), 1U);
    EXPECT_EQ(security.dacl().ace(0).type(), ACCESS_ALLOWED_ACE_TYPE);
    EXPECT_EQ(security.dacl().ace(0).sid(), everyone);
    ASSERT_EQ(security.sacl().aceCount(), 1U);
    EXPECT_EQ(security.sacl().ace(0).type(), SYSTEM_AUDIT_ACE_TYPE);
    expectUnknownObject(security);
}

TEST_F(SecurityDescriptorTest, OneThatIsBuiltOnABaseHasItsEntriesAsWell) {
    const Trustee owner{SecurityIdentifier(administrators)};
    const SecurityIdentifier system(systemSid);
    EXPLICIT_ACCESS_W access = entryFor(system, GRANT_ACCESS);
    const ExplicitAccessList none(nullptr, 0);
    const SecurityDescriptor base("O:SYG:SYD:(A;;FR;;;WD)", SDDL_REVISION_1);
    const SecurityDescriptor security(owner, owner, ExplicitAccessList(&access, 1), none, &base);
    EXPECT_EQ(security.owner(), owner.sid());
    ASSERT_EQ(security.dacl().aceCount(), 2U);
    EXPECT_TRUE(security.dacl().allows(system, FILE_ALL_ACCESS, 0));
    EXPECT_TRUE(security.dacl().allows(SecurityIdentifier(everyoneSid), FILE_GENERIC_READ, 0));
}

struct Built {
    PTRUSTEE_W owner, group;
    ULONG accessCount, auditCount;
    PEXPLICIT_ACCESS_W access, audit;
    PSECURITY_DESCRIPTOR base;
};
Built gBuilt;

DWORD WINAPI refuseToBuild(PTRUSTEE_W owner, PTRUSTEE_W group, ULONG accessCount,
                           PEXPLICIT_ACCESS_W access, ULONG auditCount, PEXPLICIT_ACCESS_W audit,
                           PSECURITY_DESCRIPTOR base, PULONG, PSECURITY_DESCRIPTOR*) {
    gBuilt = {owner, group, accessCount, auditCount, access, audit, base};
    return ERROR_NOT_ENOUGH_MEMORY;
}

TEST_F(SecurityDescriptorTest, TrusteesListsAndBaseGoToWindowsAsTheyAre) {
    const ReplacedCall<decltype(BuildSecurityDescriptorW)> call("BuildSecurityDescriptorW",
                                                                refuseToBuild);
    const Trustee owner("a");
    const Trustee group("b");
    EXPLICIT_ACCESS_W access[2] = {};
    EXPLICIT_ACCESS_W audit[3] = {};
    const SecurityDescriptor base(full, SDDL_REVISION_1);
    for (const SecurityDescriptor* given :
         {&base, static_cast<const SecurityDescriptor*>(nullptr)}) {
        expectFailedCall("BuildSecurityDescriptorW", ERROR_NOT_ENOUGH_MEMORY, [&] {
            SecurityDescriptor(owner, group, ExplicitAccessList(access, 2),
                               ExplicitAccessList(audit, 3), given);
        });
        EXPECT_EQ(gBuilt.owner, &owner.trustee());
        EXPECT_EQ(gBuilt.group, &group.trustee());
        EXPECT_EQ(gBuilt.accessCount, 2U);
        EXPECT_EQ(gBuilt.access, access);
        EXPECT_EQ(gBuilt.auditCount, 3U);
        EXPECT_EQ(gBuilt.audit, audit);
        EXPECT_EQ(gBuilt.base, given != nullptr ? given->descriptor() : nullptr);
    }
}

TEST_F(SecurityDescriptorTest, OneOfARawNullIsNull) {
    const SecurityDescriptor security(PSECURITY_DESCRIPTOR{nullptr});
    EXPECT_EQ(security.descriptor(), nullptr);
    EXPECT_FALSE(security.isValid());
    EXPECT_FALSE(security.isAbsolute());
    EXPECT_EQ(security.length(), 0U);
    expectNoParts(security);
    expectUnknownObject(security);
}

TEST_F(SecurityDescriptorTest, OneOfARawSelfRelativeOneHasTheSameBytesElsewhere) {
    const SecurityDescriptor source(full, SDDL_REVISION_1);
    const SecurityDescriptor copy(source.descriptor());
    EXPECT_NE(copy.descriptor(), source.descriptor());
    ASSERT_EQ(copy.length(), source.length());
    EXPECT_EQ(std::memcmp(copy.descriptor(), source.descriptor(), source.length()), 0);
    EXPECT_TRUE(isWithin(copy, copy.owner().sid()));
    EXPECT_TRUE(isWithin(copy, copy.sacl().acl()));
    expectUnknownObject(copy);
}

TEST_F(SecurityDescriptorTest, OneOfARawAbsoluteOneIsSelfRelative) {
    SecurityDescriptor source(full, SDDL_REVISION_1);
    source.makeAbsolute();
    const SecurityDescriptor copy(source.descriptor());
    EXPECT_FALSE(copy.isAbsolute());
    EXPECT_EQ(copy.sddl(allParts), source.sddl(allParts));
    EXPECT_TRUE(isWithin(copy, copy.group().sid()));
}

TEST_F(SecurityDescriptorTest, TheCopyOfAnAbsoluteOneIsSelfRelative) {
    SecurityDescriptor source(full, SDDL_REVISION_1);
    source.makeAbsolute();
    const SecurityDescriptor copy = copyOf(source);
    EXPECT_TRUE(source.isAbsolute());
    EXPECT_FALSE(copy.isAbsolute());
    EXPECT_EQ(copy.sddl(allParts), source.sddl(allParts));
}

TEST_F(SecurityDescriptorTest, ACopyIsOfTheSameObject) {
    const SecurityDescriptor source("c:/windows", SE_FILE_OBJECT, /*withSacl=*/false);
    const SecurityDescriptor copy = copyOf(source);
    EXPECT_EQ(copy.objectType(), SE_FILE_OBJECT);
    EXPECT_EQ(copy.objectKind(), ObjectKind::directory);
    EXPECT_NE(copy.descriptor(), source.descriptor());
    EXPECT_EQ(copy.owner(), source.owner());
}

TEST_F(SecurityDescriptorTest, TheCopyOfANullOneIsNull) {
    const SecurityDescriptor source(PSECURITY_DESCRIPTOR{nullptr});
    const SecurityDescriptor copy = copyOf(source);
    EXPECT_EQ(copy.descriptor(), nullptr);
    expectNoParts(copy);
}

TEST_F(SecurityDescriptorTest, ACopyHasOnlyThePartsOfTheDescriptor) {
    const SecurityIdentifier everyone(everyoneSid);
    SecurityDescriptor source(full, SDDL_REVISION_1);
    source.setOwner(everyone.sid());
    const SecurityDescriptor copy = copyOf(source);
    EXPECT_EQ(copy.owner().text(), administrators);
}

TEST_F(SecurityDescriptorTest, TheTextHoldsThePartsThatAreAskedFor) {
    const SecurityDescriptor security(full, SDDL_REVISION_1);
    EXPECT_EQ(security.sddl(OWNER_SECURITY_INFORMATION), "O:BA");
    EXPECT_EQ(security.sddl(GROUP_SECURITY_INFORMATION), "G:SY");
    EXPECT_EQ(security.sddl(DACL_SECURITY_INFORMATION), "D:(A;;FA;;;WD)");
    EXPECT_EQ(security.sddl(allParts), full);
}

TEST_F(SecurityDescriptorTest, TheTextIsAskedForInRevisionOneAndIsUtf8) {
    static DWORD revision;
    constexpr SECURITY_INFORMATION wantedBits =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION |
        PROTECTED_DACL_SECURITY_INFORMATION;
    static SECURITY_INFORMATION bits;
    const ReplacedCall<decltype(ConvertSecurityDescriptorToStringSecurityDescriptorW)> call(
        "ConvertSecurityDescriptorToStringSecurityDescriptorW",
        [](PSECURITY_DESCRIPTOR, DWORD number, SECURITY_INFORMATION wanted, LPWSTR* text,
           PULONG) -> BOOL {
            revision = number;
            bits = wanted;
            *text = static_cast<wchar_t*>(LocalAlloc(LMEM_ZEROINIT, 3 * sizeof(wchar_t)));
            std::wcscpy(*text, L"\u00e4\u20ac");
            return TRUE;
        });
    EXPECT_EQ(SecurityDescriptor().sddl(wantedBits), "\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(revision, DWORD{SDDL_REVISION_1});
    EXPECT_EQ(bits, wantedBits);
}

TEST_F(SecurityDescriptorTest, TheTextOfAMemberGivesADescriptorWhosePartsAreReadOnRequest) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    const PSID owner = security.owner().sid();
    const LocalMemory<void> left(security.descriptor());
    security.setSddl("O:WDG:WDD:(A;;FR;;;WD)", SDDL_REVISION_1);
    EXPECT_EQ(security.sddl(OWNER_SECURITY_INFORMATION), "O:WD");
    EXPECT_EQ(security.owner().sid(), owner);
    EXPECT_EQ(security.owner().text(), administrators);
    security.readParts();
    EXPECT_EQ(security.owner().text(), everyoneSid);
    EXPECT_EQ(security.group().text(), everyoneSid);
    EXPECT_EQ(security.sacl().acl(), nullptr);
    EXPECT_EQ(mOwnership.held().mLocalBlocks, 2) << "the old descriptor is left in memory";
}

}  // namespace
