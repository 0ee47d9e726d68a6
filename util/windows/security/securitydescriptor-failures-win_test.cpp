// What each operation of a security descriptor throws when its Windows call fails, and that it then
// leaves nothing in memory.

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/platform/localmemory-win.h"
#include "util/windows/security/securitydescriptor-win.h"

namespace {

using namespace testing_support;

constexpr const char* full = "O:BAG:SYD:(A;;FA;;;WD)S:(AU;SA;FA;;;WD)";
constexpr const char* listOnly = "D:(A;;FR;;;WD)";

using SecurityDescriptorFailureTest = SecurityTest;

/// Makes `function` fail and expects that `action` reports a failure of `word`.
template <class Signature, class Action>
void expectFailureOf(const char* function, const char* word, Action action, int before = 0) {
    static DWORD error = 1400;
    ++error;
    const RefusedCall<Signature> failing(function, error, before);
    expectFailedCall(word, error, action);
}

template <class Signature, class Action>
void expectFailureOf(const char* function, Action action, int before = 0) {
    expectFailureOf<Signature>(function, function, action, before);
}

TEST_F(SecurityDescriptorFailureTest, ADefaultOneThatCannotBeInitializedIsFreed) {
    expectFailureOf<decltype(InitializeSecurityDescriptor)>("InitializeSecurityDescriptor",
                                                            [] { SecurityDescriptor security; });
}

TEST_F(SecurityDescriptorFailureTest, TheFailureToReadAnObjectHasTheNumberThatWasReturned) {
    expectFailureOf<decltype(GetNamedSecurityInfoW)>("GetNamedSecurityInfoW", [] {
        SecurityDescriptor("c:/windows", SE_FILE_OBJECT, /*withSacl=*/false);
    });
    expectFailureOf<decltype(GetSecurityInfo)>("GetSecurityInfo", [] {
        SecurityDescriptor(GetCurrentProcess(), SE_KERNEL_OBJECT, /*withSacl=*/false);
    });
}

TEST_F(SecurityDescriptorFailureTest, AFileThatIsNotThereHasNoDescriptor) {
    expectFailedCall("GetNamedSecurityInfoW", ERROR_FILE_NOT_FOUND, [] {
        SecurityDescriptor("c:/windows/no-such-file", SE_FILE_OBJECT, /*withSacl=*/false);
    });
}

TEST_F(SecurityDescriptorFailureTest, AClosedHandleHasNoDescriptor) {
    expectFailedCall("GetSecurityInfo", ERROR_INVALID_HANDLE, [] {
        SecurityDescriptor(reinterpret_cast<HANDLE>(0xABC0), SE_FILE_OBJECT, /*withSacl=*/false);
    });
}

TEST_F(SecurityDescriptorFailureTest, ATextThatIsNoneIsRefused) {
    for (const char* text : {"D:(", "O:QQ"}) {
        EXPECT_THROW(SecurityDescriptor(text, SDDL_REVISION_1), Win32Exception) << text;
    }
    expectFailedCall("ConvertStringSecurityDescriptorToSecurityDescriptorW", ERROR_UNKNOWN_REVISION,
                     [] { SecurityDescriptor(full, /*revision=*/9); });
}

TEST_F(SecurityDescriptorFailureTest, ATextThatIsRefusedChangesNothing) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    const PSECURITY_DESCRIPTOR before = security.descriptor();
    EXPECT_THROW(security.setSddl("D:(", SDDL_REVISION_1), Win32Exception);
    EXPECT_EQ(security.descriptor(), before);
    EXPECT_EQ(security.owner().text(), "S-1-5-32-544");
}

/// Makes the reading of each part fail in turn.
void expectFailuresOfParts(const std::function<void()>& read) {
    expectFailureOf<decltype(GetSecurityDescriptorOwner)>("GetSecurityDescriptorOwner", read);
    // Has the signature of GetSecurityDescriptorOwner.
    expectFailureOf<decltype(GetSecurityDescriptorGroup)>("GetSecurityDescriptorGroup", read);
    expectFailureOf<decltype(GetSecurityDescriptorDacl)>("GetSecurityDescriptorDacl", read);
    expectFailureOf<decltype(GetSecurityDescriptorSacl)>("GetSecurityDescriptorSacl", read);
}

TEST_F(SecurityDescriptorFailureTest, EachPartThatCannotBeReadNamesItsCall) {
    SecurityDescriptor security(full, SDDL_REVISION_1);
    expectFailuresOfParts([&] { security.readParts(); });
}

TEST_F(SecurityDescriptorFailureTest, ANewOneWhosePartsCannotBeReadIsFreed) {
    const SecurityDescriptor source(full, SDDL_REVISION_1);
    expectFailuresOfParts([] { SecurityDescriptor(full, SDDL_REVISION_1); });
    expectFailuresOfParts([&] { SecurityDescriptor(source.descriptor()); });
    expectFailuresOfParts([&] { SecurityDescriptor{source}; });
    expectFailuresOfParts([] {
        const Trustee nobody{SecurityIdentifier("S-1-1-0")};
        const ExplicitAccessList none(nullptr, 0);
        SecurityDescriptor(nobody, nobody, none, none);
    });
}

TEST_F(SecurityDescriptorFailureTest, PartsAreReadInTheirOrder) {
    // The first failure is reported.
    SecurityDescriptor security(full, SDDL_REVISION_1);
    const RefusedCall<decltype(GetSecurityDescriptorSacl)> lists("GetSecurityDescriptorSacl", 5);
    expectFailedCall("GetSecurityDescriptorSacl", 5, [&] { security.readParts(); });
    EXPECT_NE(security.dacl().acl(), nullptr);
    const RefusedCall<decltype(GetSecurityDescriptorGroup)> group("GetSecurityDescriptorGroup", 6);
    expectFailedCall("GetSecurityDescriptorGroup", 6, [&] { security.readParts(); });
    EXPECT_NE(security.owner().sid(), nullptr);
}

TEST_F(SecurityDescriptorFailureTest, ADescriptorOfUnknownFormIsNotCopied) {
    const SecurityDescriptor source(full, SDDL_REVISION_1);
    using Call = decltype(GetSecurityDescriptorControl);
    expectFailureOf<Call>("GetSecurityDescriptorControl",
                          [&] { SecurityDescriptor(source.descriptor()); });
    expectFailureOf<Call>("GetSecurityDescriptorControl", [&] { SecurityDescriptor{source}; });
}

TEST_F(SecurityDescriptorFailureTest, AnAbsoluteOneThatCannotBeMadeSelfRelativeIsNotCopied) {
    const SecurityDescriptor source;
    using Call = decltype(MakeSelfRelativeSD);
    for (int before = 0; before < 2; ++before) {
        expectFailureOf<Call>(
            "MakeSelfRelativeSD", [&] { SecurityDescriptor(source.descriptor()); }, before);
        expectFailureOf<Call>(
            "MakeSelfRelativeSD", [&] { SecurityDescriptor{source}; }, before);
    }
}

TEST_F(SecurityDescriptorFailureTest, ControlAndRevisionThatCannotBeReadOrWrittenNameTheirCall) {
    SecurityDescriptor security;
    using Get = decltype(GetSecurityDescriptorControl);
    expectFailureOf<Get>("GetSecurityDescriptorControl",
                         [&] { static_cast<void>(security.control()); });
    expectFailureOf<Get>("GetSecurityDescriptorControl",
                         [&] { static_cast<void>(security.revision()); });
    expectFailureOf<Get>("GetSecurityDescriptorControl",
                         [&] { static_cast<void>(security.isAbsolute()); });
    expectFailureOf<decltype(SetSecurityDescriptorControl)>(
        "SetSecurityDescriptorControl", [&] { security.setControl(SE_DACL_PROTECTED, 0); });
    expectFailureOf<decltype(GetSecurityDescriptorRMControl)>(
        "GetSecurityDescriptorRMControl", [&] { static_cast<void>(security.rmControl()); });
    expectFailureOf<decltype(SetSecurityDescriptorRMControl)>("SetSecurityDescriptorRMControl",
                                                              [&] { security.setRmControl(1); });
}

TEST_F(SecurityDescriptorFailureTest, BitsThatAreNotToBeChangedAreRefused) {
    SecurityDescriptor security;
    expectFailedCall("SetSecurityDescriptorControl", ERROR_INVALID_PARAMETER,
                     [&] { security.setControl(SE_DACL_PRESENT, SE_DACL_PRESENT); });
}

TEST_F(SecurityDescriptorFailureTest, APartThatAnAbsoluteOneDoesNotTakeNamesItsCall) {
    const SecurityDescriptor source(full, SDDL_REVISION_1);
    SecurityDescriptor security;
    const auto setOwner = [&] { security.setOwner(source.owner().sid()); };
    const auto setGroup = [&] { security.setGroup(source.group().sid()); };
    const auto setDacl = [&] { security.setDacl(source.dacl().acl()); };
    const auto setSacl = [&] { security.setSacl(source.sacl().acl()); };
    expectFailureOf<decltype(SetSecurityDescriptorOwner)>("SetSecurityDescriptorOwner", setOwner);
    expectFailureOf<decltype(SetSecurityDescriptorGroup)>("SetSecurityDescriptorGroup", setGroup);
    expectFailureOf<decltype(SetSecurityDescriptorDacl)>("SetSecurityDescriptorDacl", setDacl);
    expectFailureOf<decltype(SetSecurityDescriptorSacl)>("SetSecurityDescriptorSacl", setSacl);
    // The fields are set nevertheless.
    EXPECT_EQ(security.owner().sid(), source.owner().sid());
    EXPECT_EQ(security.group().sid(), source.group().sid());
    EXPECT_EQ(security.dacl().acl(), source.dacl().acl());
    EXPECT_EQ(security.sacl().acl(), source.sacl().acl());
    // The control is read twice before the part is set.
    using Get = decltype(GetSecurityDescriptorControl);
    for (int before = 0; before < 2; ++before) {
        expectFailureOf<Get>("GetSecurityDescriptorControl", setOwner, before);
        expectFailureOf<Get>("GetSecurityDescriptorControl", setGroup, before);
        expectFailureOf<Get>("GetSecurityDescriptorControl", setDacl, before);
        expectFailureOf<Get>("GetSecurityDescriptorControl", setSacl, before);
    }
}

TEST_F(SecurityDescriptorFailureTest, ADescriptorThatHasNoTextNamesTheCall) {
    const SecurityDescriptor security(listOnly, SDDL_REVISION_1);
    expectFailureOf<decltype(ConvertSecurityDescriptorToStringSecurityDescriptorW)>(
        "ConvertSecurityDescriptorToStringSecurityDescriptorW",
        [&] { static_cast<void>(security.sddl(DACL_SECURITY_INFORMATION)); });
}

TEST_F(SecurityDescriptorFailureTest, AnObjectThatCannotBeWrittenHasTheNumberThatWasReturned) {
    const SecurityDescriptor security(listOnly, SDDL_REVISION_1);
    expectFailureOf<decltype(SetSecurityInfo)>("SetSecurityInfo", [&] {
        security.write(GetCurrentProcess(), SE_KERNEL_OBJECT, /*withSacl=*/false, 0);
    });
    // Compatibility: the name of the call lacks its W, and callers may compare the text.
    expectFailureOf<decltype(SetNamedSecurityInfoW)>(
        "SetNamedSecurityInfoW", "SetNamedSecurityInfo",
        [&] { security.write("c:/file", SE_FILE_OBJECT, /*withSacl=*/false, 0); });
}

TEST_F(SecurityDescriptorFailureTest, AFileThatIsNotThereCannotBeWritten) {
    const SecurityDescriptor security(listOnly, SDDL_REVISION_1);
    expectFailedCall("SetNamedSecurityInfo", ERROR_FILE_NOT_FOUND, [&] {
        security.write("c:/windows/no-such-file", SE_FILE_OBJECT, /*withSacl=*/false, 0);
    });
}

}  // namespace
