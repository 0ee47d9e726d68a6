// The access that a token is granted on an object.

#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

constexpr GENERIC_MAPPING files = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                                   FILE_ALL_ACCESS};

class AccessCheckTest : public SecurityTest {
protected:
    AccessToken mToken{AccessToken(GetCurrentProcess(), TOKEN_DUPLICATE), SecurityImpersonation};
    SecurityDescriptor mReadable{"O:SYG:SYD:(A;;FR;;;WD)", SDDL_REVISION_1};
};

TEST_F(AccessCheckTest, WhatTheDescriptorAllowsIsGranted) {
    PrivilegeSet used;
    DWORD granted = 0;
    EXPECT_TRUE(mToken.accessCheck(mReadable, FILE_READ_DATA, files, used, granted));
    EXPECT_EQ(granted, DWORD{FILE_READ_DATA});
    EXPECT_TRUE(used.mPrivileges.empty());
    EXPECT_FALSE(mToken.accessCheck(mReadable, FILE_WRITE_DATA, files, used, granted));
    EXPECT_EQ(granted, 0U);
}

/// The arguments of AccessCheck, and the status that it returns.
struct Check {
    PSECURITY_DESCRIPTOR security;
    HANDLE token;
    DWORD desired, length;
    GENERIC_MAPPING mapping;
    BOOL status;
};
Check gCheck;

// NOLINTBEGIN(readability-non-const-parameter): Windows's signature.
WINBOOL WINAPI noteCheck(PSECURITY_DESCRIPTOR security, HANDLE token, DWORD desired,
                         PGENERIC_MAPPING mapping, PPRIVILEGE_SET privileges, LPDWORD length,
                         LPDWORD granted, LPBOOL status) {
    gCheck = {security, token, desired, *length, *mapping, gCheck.status};
    // The whole buffer is writable.
    std::memset(privileges, 0xFF, *length);
    const LUID_AND_ATTRIBUTES two[] = {{{1, 2}, 3}, {{4, 5}, 6}};
    privileges->PrivilegeCount = 2;
    privileges->Control = 0x12345678;
    std::memcpy(privileges->Privilege, two, sizeof two);
    *granted = 0xABCDEF;
    *status = gCheck.status;
    return TRUE;
}
// NOLINTEND(readability-non-const-parameter)

TEST_F(AccessCheckTest, WindowsIsAskedWithRoomForPrivilegesAndTheseAreHandedOver) {
    const ReplacedCall<decltype(AccessCheck)> call("AccessCheck", noteCheck);
    PrivilegeSet used = {1, {{{9, 9}, 9}}};
    DWORD granted = 0;
    gCheck.status = TRUE;
    EXPECT_TRUE(mToken.accessCheck(mReadable, FILE_GENERIC_READ, files, used, granted));
    EXPECT_EQ(gCheck.security, mReadable.descriptor());
    EXPECT_EQ(gCheck.token, mToken.token());
    EXPECT_EQ(gCheck.desired, DWORD{FILE_GENERIC_READ});
    EXPECT_EQ(gCheck.length, 1024U);
    EXPECT_EQ(std::memcmp(&gCheck.mapping, &files, sizeof files), 0);
    EXPECT_EQ(granted, 0xABCDEFU);
    EXPECT_EQ(used.mControl, 0x12345678U);
    ASSERT_EQ(used.mPrivileges.size(), 2U);
    EXPECT_EQ(used.mPrivileges[0].first.LowPart, 1U);
    EXPECT_EQ(used.mPrivileges[0].first.HighPart, 2);
    EXPECT_EQ(used.mPrivileges[0].second, 3U);
    EXPECT_EQ(used.mPrivileges[1].first.LowPart, 4U);
    EXPECT_EQ(used.mPrivileges[1].first.HighPart, 5);
    EXPECT_EQ(used.mPrivileges[1].second, 6U);
}

TEST_F(AccessCheckTest, AccessIsGrantedOnlyByTheStatusOne) {
    const ReplacedCall<decltype(AccessCheck)> call("AccessCheck", noteCheck);
    PrivilegeSet used;
    DWORD granted = 0;
    for (const BOOL status : {0, 1, 2, -1}) {
        gCheck.status = status;
        EXPECT_EQ(mToken.accessCheck(mReadable, 1, files, used, granted), status == 1) << status;
    }
}

TEST_F(AccessCheckTest, ACheckThatFailsNamesTheCallAndHandsOverNothing) {
    const RefusedCall<decltype(AccessCheck)> call("AccessCheck", ERROR_INVALID_SECURITY_DESCR);
    PrivilegeSet used = {1, {{{9, 9}, 9}}};
    DWORD granted = 5;
    expectFailedCall("AccessCheck", ERROR_INVALID_SECURITY_DESCR, [&] {
        static_cast<void>(mToken.accessCheck(mReadable, 1, files, used, granted));
    });
    EXPECT_EQ(used.mControl, 1U);
    EXPECT_EQ(used.mPrivileges.size(), 1U);
    EXPECT_EQ(granted, 5U);
}

TEST_F(AccessCheckTest, APrimaryTokenCannotBeChecked) {
    const AccessToken primary(GetCurrentProcess(), TOKEN_QUERY);
    PrivilegeSet used;
    DWORD granted = 0;
    expectFailedCall("AccessCheck", ERROR_NO_IMPERSONATION_TOKEN, [&] {
        static_cast<void>(primary.accessCheck(mReadable, 1, files, used, granted));
    });
}

}  // namespace
