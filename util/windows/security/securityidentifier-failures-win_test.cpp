#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>
#define SECURITY_WIN32
#include <security.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"
#include "util/windows/security/securityidentifier-win.h"

namespace {

using namespace testing_support;

class SecurityIdentifierFailureTest : public testing_support::OwnershipTest {};

constexpr SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;
constexpr DWORD errorCode = ERROR_NOT_ENOUGH_MEMORY;

SecurityIdentifier copyOf(const SecurityIdentifier& sid) { return sid; }

/// Expects that, if this call is refused, `steps` fail with its name and leave nothing allocated.
template <class Signature, class Steps>
void expectRefusal(const char* function, Steps steps) {
    const RefusedCall<Signature> refused(function, errorCode);
    expectFailedCall(function, errorCode, steps);
    EXPECT_EQ(refused.count(), 1) << function;
}

TEST_F(SecurityIdentifierFailureTest, ConstructorsNameTheCallThatFailedAndLeaveNothing) {
    expectRefusal<decltype(CreateWellKnownSid)>("CreateWellKnownSid",
                                                [] { SecurityIdentifier(WinWorldSid, nullptr); });
    expectRefusal<decltype(InitializeSid)>("InitializeSid",
                                           [] { SecurityIdentifier(ntAuthority, BYTE{1}); });
    expectRefusal<decltype(AllocateAndInitializeSid)>("AllocateAndInitializeSid", [] {
        SecurityIdentifier(ntAuthority, {1, 2});
    });
    expectRefusal<decltype(CopySid)>("CopySid", [] { SecurityIdentifier(ntAuthority, {1, 2}); });
    expectRefusal<decltype(ConvertStringSidToSidW)>("ConvertStringSidToSidW",
                                                    [] { SecurityIdentifier("S-1-1-0"); });
    expectRefusal<decltype(LookupAccountNameW)>(
        "LookupAccountNameW", [] { SecurityIdentifier("Everyone", nullptr, nullptr); });
    expectRefusal<decltype(GetUserNameExW)>(
        "GetUserNameExW", [] { static_cast<void>(SecurityIdentifier::currentUser()); });
    expectRefusal<decltype(LookupAccountNameW)>(
        "LookupAccountNameW", [] { static_cast<void>(SecurityIdentifier::currentUser()); });
    EXPECT_EQ(mOwnership.held(), OwnedResources());
}

TEST_F(SecurityIdentifierFailureTest, OperationsNameTheCallThatFailedAndLeaveNothing) {
    const SecurityIdentifier sid("S-1-5-21-1-2-3-1001");
    const OwnedResources before = mOwnership.held();
    expectRefusal<decltype(GetWindowsAccountDomainSid)>(
        "GetWindowsAccountDomainSid", [&] { static_cast<void>(sid.domainSid()); });
    expectRefusal<decltype(EqualDomainSid)>("EqualDomainSid",
                                            [&] { static_cast<void>(sid.equalDomain(sid)); });
    expectRefusal<decltype(ConvertSidToStringSidW)>("ConvertSidToStringSidW",
                                                    [&] { static_cast<void>(sid.text()); });
    expectRefusal<decltype(LookupAccountSidW)>("LookupAccountSidW",
                                               [&] { static_cast<void>(sid.accountName()); });
    expectRefusal<decltype(CopySid)>("CopySid", [&] { copyOf(sid); });
    expectRefusal<decltype(CopySid)>(
        "CopySid", [&] { static_cast<void>(SecurityIdentifier::deepCopy(sid.sid())); });
    EXPECT_EQ(mOwnership.held(), before);
}

TEST_F(SecurityIdentifierFailureTest, WhereTheCopyOfATextsSidFailsWindowssOwnIsLeft) {
    expectRefusal<decltype(CopySid)>("CopySid", [] { SecurityIdentifier("S-1-1-0"); });
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mLocalBlocks = 1});
    EXPECT_EQ(mOwnership.freeLocalMemory(), 1U);
}

TEST_F(SecurityIdentifierFailureTest, WindowsItselfRefusesWhatMakesNoSid) {
    expectFailedCall("CreateWellKnownSid", ERROR_INVALID_PARAMETER,
                     [] { SecurityIdentifier(WinAccountAdministratorSid, nullptr); });
    expectFailedCall("ConvertStringSidToSidW", ERROR_INVALID_SID,
                     [] { SecurityIdentifier("no SID"); });
    expectFailedCall("LookupAccountNameW", ERROR_NONE_MAPPED,
                     [] { SecurityIdentifier("no such account", nullptr, nullptr); });
    expectFailedCall("GetWindowsAccountDomainSid", ERROR_INVALID_SID, [] {
        SID invalid = {};
        static_cast<void>(SecurityIdentifier(&invalid).domainSid());
    });
}

TEST_F(SecurityIdentifierFailureTest, AFailedAssignmentLeavesAViewOfNothing) {
    const SecurityIdentifier source("S-1-1-0");
    SecurityIdentifier target("S-1-5-18");
    expectRefusal<decltype(CopySid)>("CopySid", [&] { target = source; });
    EXPECT_EQ(target.sid(), nullptr);
    EXPECT_FALSE(target.isOwner());
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mArrays = 1});
}

TEST_F(SecurityIdentifierFailureTest, WhatHasNoBytesToCopyFailsWithoutALeak) {
    expectFailedCall("CopySid", ERROR_INVALID_SID,
                     [] { static_cast<void>(SecurityIdentifier::deepCopy(nullptr)); });
    // Anyone with the address of an owner's bytes can make them an invalid SID.
    const SecurityIdentifier broken("S-1-1-0");
    static_cast<SID*>(broken.sid())->Revision = SID_REVISION + 1;
    EXPECT_THROW(copyOf(broken), Win32Exception);
    EXPECT_EQ(mOwnership.held(), OwnedResources{.mArrays = 1});
}

}  // namespace
