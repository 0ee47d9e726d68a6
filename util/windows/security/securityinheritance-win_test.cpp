// The descriptors that are derived for children.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/accessrights.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

using namespace testing_support;

/// When the first account is looked up and the first descriptor is created, the system opens
/// resources.
class DerivedDescriptorTest : public SecurityTest {
protected:
    DerivedDescriptorTest() {
        static_cast<void>(SecurityDescriptor("O:BAG:BA", 1).deriveForChild(false));
    }
};

constexpr const char* inheritable =
    "O:BAG:SYD:(A;OICI;FA;;;WD)(A;OI;FR;;;SY)(A;CI;FW;;;SY)(A;;FA;;;BA)";

/// Whether Windows's call derives a descriptor from the parent's.
bool inheritsFromParents() {
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    GENERIC_MAPPING mapping = {};
    PSECURITY_DESCRIPTOR created = nullptr;
    if (!CreatePrivateObjectSecurityEx(parent.descriptor(), nullptr, &created, nullptr, FALSE,
                                       SEF_DACL_AUTO_INHERIT | SEF_DEFAULT_OWNER_FROM_PARENT,
                                       nullptr, &mapping)) {
        return false;
    }
    const bool hasList = SecurityDescriptor(created).dacl().isValid();
    DestroyPrivateObjectSecurity(&created);
    return hasList;
}

TEST_F(DerivedDescriptorTest, AChildGetsOwnerAndGroupAndTheEntriesForItsKind) {
    if (!inheritsFromParents()) {
        GTEST_SKIP() << "CreatePrivateObjectSecurityEx takes nothing from the parent here";
    }
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    const SecurityIdentifier everyone("S-1-1-0");
    const SecurityIdentifier system("S-1-5-18");
    for (const bool isContainer : {false, true}) {
        const auto child = parent.deriveForChild(isContainer);
        EXPECT_EQ(child->owner().text(), parent.owner().text());
        EXPECT_EQ(child->group().text(), parent.group().text());
        ASSERT_TRUE(child->dacl().isValid());
        EXPECT_TRUE(child->dacl().allows(everyone, FILE_ALL_ACCESS, INHERITED_ACE));
        EXPECT_FALSE(child->dacl().allows(parent.owner(), FILE_ALL_ACCESS, 0));
        EXPECT_NE(child->dacl().allows(system, FILE_READ_DATA, INHERITED_ACE), isContainer);
        EXPECT_EQ(child->dacl().allows(system, FILE_WRITE_DATA, INHERITED_ACE), isContainer);
    }
}

TEST_F(DerivedDescriptorTest, AChildIsOfTheKindOfObjectOfTheParent) {
    const TempFolder folder;
    const SecurityDescriptor parent(folder.utf8(), SE_FILE_OBJECT, /*withSacl=*/false);
    const auto child = parent.deriveForChild(/*isContainer=*/false);
    EXPECT_NE(child->descriptor(), nullptr);
    EXPECT_EQ(child->objectType(), SE_FILE_OBJECT);
    EXPECT_EQ(child->objectKind(), ObjectKind::directory);
}

/// The arguments of CreatePrivateObjectSecurityEx.
struct Creation {
    PSECURITY_DESCRIPTOR parent, creator;
    GUID* type;
    BOOL isContainer;
    ULONG flags;
    HANDLE token;
    GENERIC_MAPPING mapping;
};
Creation gCreation;
decltype(CreatePrivateObjectSecurityEx)* gCreate;

BOOL WINAPI noteCreation(PSECURITY_DESCRIPTOR parent, PSECURITY_DESCRIPTOR creator,
                         PSECURITY_DESCRIPTOR* created, GUID* type, WINBOOL isContainer,
                         ULONG flags, HANDLE token, PGENERIC_MAPPING mapping) {
    gCreation = {parent, creator, type, isContainer, flags, token, *mapping};
    return gCreate(parent, creator, created, type, isContainer, flags, token, mapping);
}

TEST_F(DerivedDescriptorTest, WindowsIsAskedWithTheRightsOfFilesAndNoTokenOrCreator) {
    const ReplacedCall<decltype(CreatePrivateObjectSecurityEx)> call(
        "CreatePrivateObjectSecurityEx", noteCreation);
    gCreate = call.original();
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    for (const bool isContainer : {false, true}) {
        static_cast<void>(parent.deriveForChild(isContainer));
        EXPECT_EQ(gCreation.parent, parent.descriptor());
        EXPECT_EQ(gCreation.creator, nullptr);
        EXPECT_EQ(gCreation.type, nullptr);
        EXPECT_EQ(gCreation.isContainer, isContainer ? TRUE : FALSE);
        EXPECT_EQ(gCreation.flags,
                  DWORD{SEF_DACL_AUTO_INHERIT | SEF_AVOID_PRIVILEGE_CHECK | SEF_AVOID_OWNER_CHECK |
                        SEF_DEFAULT_OWNER_FROM_PARENT | SEF_DEFAULT_GROUP_FROM_PARENT});
        EXPECT_EQ(gCreation.token, nullptr);
        EXPECT_EQ(gCreation.mapping.GenericRead, DWORD{FILE_GENERIC_READ});
        EXPECT_EQ(gCreation.mapping.GenericWrite, DWORD{FILE_GENERIC_WRITE});
        EXPECT_EQ(gCreation.mapping.GenericExecute, DWORD{FILE_GENERIC_EXECUTE});
        EXPECT_EQ(gCreation.mapping.GenericAll, DWORD{FILE_ALL_ACCESS});
    }
}

PSECURITY_DESCRIPTOR gMade;
int gDestroyed;

TEST_F(DerivedDescriptorTest, AChildHasACopyOfWhatWindowsMadeWhichIsGivenBack) {
    const ReplacedCall<decltype(CreatePrivateObjectSecurityEx)> create(
        "CreatePrivateObjectSecurityEx",
        [](PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR* created, GUID*,
           WINBOOL, ULONG, HANDLE, PGENERIC_MAPPING) -> WINBOOL {
            *created = gMade;
            return TRUE;
        });
    const ReplacedCall<decltype(DestroyPrivateObjectSecurity)> destroy(
        "DestroyPrivateObjectSecurity", [](PSECURITY_DESCRIPTOR* descriptor) -> WINBOOL {
            gDestroyed += *descriptor == gMade ? 1 : 100;
            return TRUE;
        });
    const SecurityDescriptor made("O:WDG:SYD:(A;ID;FR;;;BA)", SDDL_REVISION_1);
    gMade = made.descriptor();
    gDestroyed = 0;
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    const auto child = parent.deriveForChild(/*isContainer=*/false);
    EXPECT_EQ(gDestroyed, 1);
    EXPECT_NE(child->descriptor(), made.descriptor());
    EXPECT_EQ(child->sddl(OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                          DACL_SECURITY_INFORMATION),
              "O:WDG:SYD:(A;ID;FR;;;BA)");
}

SID_NAME_USE gUse;

BOOL WINAPI giveUse(LPCWSTR, PSID, LPWSTR name, LPDWORD nameLength, LPWSTR domain,
                    LPDWORD domainLength, PSID_NAME_USE use) {
    *name = L'\0';
    *domain = L'\0';
    *nameLength = 0;
    *domainLength = 0;
    *use = gUse;
    return TRUE;
}

TEST_F(DerivedDescriptorTest, AnOwnerWithoutAnAccountLeavesANullDescriptor) {
    const ReplacedCall<decltype(LookupAccountSidW)> call("LookupAccountSidW", giveUse);
    const TempFolder folder;
    const SecurityDescriptor parent(folder.utf8(), SE_FILE_OBJECT, /*withSacl=*/false);
    for (int use = 0; use <= 10; ++use) {
        gUse = static_cast<SID_NAME_USE>(use);
        const bool isNobody =
            use == SidTypeDeletedAccount || use == SidTypeInvalid || use == SidTypeUnknown;
        const auto child = parent.deriveForChild(/*isContainer=*/true);
        EXPECT_EQ(child->descriptor() == nullptr, isNobody) << use;
        EXPECT_EQ(child->owner().sid() == nullptr, isNobody) << use;
        EXPECT_EQ(child->objectType(), isNobody ? SE_UNKNOWN_OBJECT_TYPE : SE_FILE_OBJECT) << use;
        EXPECT_EQ(child->objectKind(), isNobody ? ObjectKind::unknown : ObjectKind::directory)
            << use;
    }
}

TEST_F(DerivedDescriptorTest, AnOwnerThatIsNotKnownToTheSystemLeavesANullDescriptor) {
    const SecurityDescriptor parent("O:S-1-5-21-1-2-3-4567G:BAD:(A;OICI;FA;;;WD)", SDDL_REVISION_1);
    EXPECT_EQ(parent.deriveForChild(/*isContainer=*/false)->descriptor(), nullptr);
}

TEST_F(DerivedDescriptorTest, EachCallThatFailsIsNamedAndNothingIsLeft) {
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    const auto derive = [&] { static_cast<void>(parent.deriveForChild(/*isContainer=*/false)); };
    {
        const RefusedCall<decltype(LookupAccountSidW)> call("LookupAccountSidW",
                                                            ERROR_TRUSTED_RELATIONSHIP_FAILURE);
        expectFailedCall("LookupAccountSidW", ERROR_TRUSTED_RELATIONSHIP_FAILURE, derive);
    }
    {
        const RefusedCall<decltype(CreatePrivateObjectSecurityEx)> call(
            "CreatePrivateObjectSecurityEx", ERROR_INVALID_OWNER);
        expectFailedCall("CreatePrivateObjectSecurityEx", ERROR_INVALID_OWNER, derive);
    }
    {
        const RefusedCall<decltype(GetSecurityDescriptorSacl)> call("GetSecurityDescriptorSacl",
                                                                    ERROR_INVALID_ACL);
        expectFailedCall("GetSecurityDescriptorSacl", ERROR_INVALID_ACL, derive);
    }
}

/// Destroys a descriptor but reports a failure.
class FailingDestruction {
public:
    FailingDestruction() { sOriginal = mCall.original(); }

private:
    static BOOL WINAPI destroy(PSECURITY_DESCRIPTOR* descriptor) {
        sOriginal(descriptor);
        SetLastError(ERROR_INVALID_SECURITY_DESCR);
        return FALSE;
    }
    static inline decltype(DestroyPrivateObjectSecurity)* sOriginal = nullptr;
    ReplacedCall<decltype(DestroyPrivateObjectSecurity)> mCall{"DestroyPrivateObjectSecurity",
                                                               destroy};
};

TEST_F(DerivedDescriptorTest, AFailureToDestroyWhatWindowsMadeIsNamed) {
    const FailingDestruction failing;
    const DebugOutput output;
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    expectFailedCall("DestroyPrivateObjectSecurity", ERROR_INVALID_SECURITY_DESCR,
                     [&] { static_cast<void>(parent.deriveForChild(/*isContainer=*/false)); });
    EXPECT_TRUE(output.texts().empty());
}

TEST_F(DerivedDescriptorTest, AfterAnotherFailureThatOneGoesToTheDebugger) {
    const FailingDestruction failing;
    const DebugOutput output;
    const SecurityDescriptor parent(inheritable, SDDL_REVISION_1);
    {
        const RefusedCall<decltype(GetSecurityDescriptorDacl)> call("GetSecurityDescriptorDacl",
                                                                    ERROR_INVALID_ACL);
        expectFailedCall("GetSecurityDescriptorDacl", ERROR_INVALID_ACL,
                         [&] { static_cast<void>(parent.deriveForChild(/*isContainer=*/false)); });
    }
    EXPECT_EQ(
        output.texts(),
        std::vector<std::string>{
            win32ErrorText("DestroyPrivateObjectSecurity", ERROR_INVALID_SECURITY_DESCR) + "\n"});
}

}  // namespace
