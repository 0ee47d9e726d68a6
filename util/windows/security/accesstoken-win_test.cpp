// How access tokens are opened, duplicated, restricted, used and closed.

#include "util/windows/security/accesstoken-win.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"

namespace {

using namespace testing_support;

using SidList = AccessToken::SidList;
using PrivilegeList = AccessToken::PrivilegeList;

constexpr const char* everyoneSid = "S-1-1-0";
const HANDLE someHandle = reinterpret_cast<HANDLE>(0x5678);

/// Returns a handle that can be closed as the token.
BOOL give(PHANDLE token) {
    *token = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return TRUE;
}

class AccessTokenTest : public SecurityTest {
protected:
    AccessToken mProcess{GetCurrentProcess(), TOKEN_ALL_ACCESS};
    AccessToken mImpersonation{mProcess, SecurityImpersonation};
};

TEST_F(AccessTokenTest, ThatOfAProcessIsAPrimaryOneAndOwned) {
    const AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
    EXPECT_EQ(mOwnership.held().mHandles, 1);
    EXPECT_EQ(token.type(), TokenPrimary);
}

TEST_F(AccessTokenTest, ThatOfAProcessIsOpenedWithTheAccessGiven) {
    static HANDLE process;
    static DWORD access;
    const ReplacedCall<decltype(OpenProcessToken)> call(
        "OpenProcessToken", [](HANDLE opened, DWORD wanted, PHANDLE token) -> WINBOOL {
            process = opened;
            access = wanted;
            return give(token);
        });
    const AccessToken token(someHandle, TOKEN_DUPLICATE | TOKEN_QUERY);
    EXPECT_EQ(process, someHandle);
    EXPECT_EQ(access, DWORD{TOKEN_DUPLICATE | TOKEN_QUERY});
}

TEST_F(AccessTokenTest, ThatOfAThreadIsTheOneItImpersonatesWith) {
    expectFailedCall("OpenThreadToken", ERROR_NO_TOKEN,
                     [] { AccessToken(GetCurrentThread(), TOKEN_QUERY, /*openAsSelf=*/true); });
    mImpersonation.impersonate();
    {
        const AccessToken token(GetCurrentThread(), TOKEN_QUERY, /*openAsSelf=*/true);
        EXPECT_EQ(token.type(), TokenImpersonation);
        EXPECT_EQ(token.impersonationLevel(), SecurityImpersonation);
    }
    ASSERT_TRUE(RevertToSelf());
}

TEST_F(AccessTokenTest, ThatOfAThreadIsOpenedWithTheAccessAndAsWhomIsGiven) {
    static HANDLE thread;
    static DWORD access;
    static BOOL asSelf;
    const ReplacedCall<decltype(OpenThreadToken)> call(
        "OpenThreadToken", [](HANDLE opened, DWORD wanted, WINBOOL self, PHANDLE token) -> WINBOOL {
            thread = opened;
            access = wanted;
            asSelf = self;
            return give(token);
        });
    for (const bool openAsSelf : {true, false}) {
        const AccessToken token(someHandle, TOKEN_IMPERSONATE, openAsSelf);
        EXPECT_EQ(thread, someHandle);
        EXPECT_EQ(access, DWORD{TOKEN_IMPERSONATE});
        EXPECT_EQ(asSelf, openAsSelf ? TRUE : FALSE);
    }
}

TEST_F(AccessTokenTest, ADuplicateToImpersonateWithHasTheLevelGiven) {
    for (const auto level : {SecurityIdentification, SecurityImpersonation}) {
        const AccessToken token(mProcess, level);
        EXPECT_NE(token.token(), mProcess.token());
        EXPECT_EQ(token.type(), TokenImpersonation);
        EXPECT_EQ(token.impersonationLevel(), level);
    }
}

TEST_F(AccessTokenTest, ADuplicateHasTheTypeGiven) {
    const AccessToken other(mProcess, TOKEN_QUERY | TOKEN_DUPLICATE, nullptr, SecurityDelegation,
                            TokenImpersonation);
    EXPECT_EQ(other.type(), TokenImpersonation);
    EXPECT_EQ(other.impersonationLevel(), SecurityDelegation);
    const AccessToken primary(other, TOKEN_QUERY, nullptr, SecurityAnonymous, TokenPrimary);
    EXPECT_EQ(primary.type(), TokenPrimary);
}

/// The arguments of DuplicateToken or DuplicateTokenEx.
struct Duplicated {
    HANDLE token;
    DWORD access;
    SECURITY_ATTRIBUTES* attributes;
    SECURITY_IMPERSONATION_LEVEL level;
    TOKEN_TYPE type;

    bool operator==(const Duplicated&) const = default;
};
Duplicated gDuplicated;

TEST_F(AccessTokenTest, WhatADuplicateIsToBeGoesToWindows) {
    const ReplacedCall<decltype(DuplicateToken)> plain(
        "DuplicateToken",
        [](HANDLE token, SECURITY_IMPERSONATION_LEVEL level, PHANDLE made) -> WINBOOL {
            gDuplicated = {token, 0, nullptr, level, TokenImpersonation};
            return give(made);
        });
    const ReplacedCall<decltype(DuplicateTokenEx)> full(
        "DuplicateTokenEx",
        [](HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes,
           SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, PHANDLE made) -> WINBOOL {
            gDuplicated = {token, access, attributes, level, type};
            return give(made);
        });
    const AccessToken first(mProcess, SecurityDelegation);
    EXPECT_EQ(gDuplicated,
              (Duplicated{mProcess.token(), 0, nullptr, SecurityDelegation, TokenImpersonation}));
    SECURITY_ATTRIBUTES attributes = {};
    const AccessToken second(mProcess, MAXIMUM_ALLOWED, &attributes, SecurityIdentification,
                             TokenPrimary);
    EXPECT_EQ(gDuplicated, (Duplicated{mProcess.token(), MAXIMUM_ALLOWED, &attributes,
                                       SecurityIdentification, TokenPrimary}));
}

TEST_F(AccessTokenTest, EachTokenThatCannotBeMadeNamesTheCallAndHoldsNothing) {
    const SidList none;
    const SidList sids = {{SecurityIdentifier(everyoneSid), 1}};
    const PrivilegeList privileges = {{LUID{1, 0}, 2}};
    {
        const RefusedCall<decltype(OpenProcessToken)> call("OpenProcessToken", 1401);
        expectFailedCall("OpenProcessToken", 1401,
                         [] { AccessToken(GetCurrentProcess(), TOKEN_QUERY); });
    }
    {
        const RefusedCall<decltype(OpenThreadToken)> call("OpenThreadToken", 1402);
        expectFailedCall("OpenThreadToken", 1402,
                         [] { AccessToken(GetCurrentThread(), TOKEN_QUERY, false); });
    }
    {
        const RefusedCall<decltype(DuplicateToken)> call("DuplicateToken", 1403);
        expectFailedCall("DuplicateToken", 1403,
                         [&] { AccessToken(mProcess, SecurityDelegation); });
    }
    {
        const RefusedCall<decltype(DuplicateTokenEx)> call("DuplicateTokenEx", 1404);
        expectFailedCall("DuplicateTokenEx", 1404, [&] {
            AccessToken(mProcess, TOKEN_QUERY, nullptr, SecurityDelegation, TokenPrimary);
        });
    }
    const RefusedCall<decltype(CreateRestrictedToken)> call("CreateRestrictedToken", 1405);
    expectFailedCall("CreateRestrictedToken", 1405,
                     [&] { AccessToken(mProcess, 0, sids, privileges, sids); });
    EXPECT_EQ(mOwnership.held().mHandles, 0);
}

TEST_F(AccessTokenTest, AHandleThatIsNoProcessHasNoToken) {
    expectFailedCall("OpenProcessToken", ERROR_INVALID_HANDLE,
                     [] { AccessToken(reinterpret_cast<HANDLE>(0xABC0), TOKEN_QUERY); });
}

/// The arguments of CreateRestrictedToken, with the first two elements of each array.
struct Restricted {
    HANDLE token;
    DWORD flags, disableCount, deleteCount, restrictCount;
    bool hasDisable, hasDelete, hasRestrict;
    SID_AND_ATTRIBUTES disable[2], restricting[2];
    LUID_AND_ATTRIBUTES remove[2];
};
Restricted gRestricted;

WINBOOL WINAPI noteRestricted(HANDLE token, DWORD flags, DWORD disableCount,
                              PSID_AND_ATTRIBUTES disable, DWORD deleteCount,
                              PLUID_AND_ATTRIBUTES remove, DWORD restrictCount,
                              PSID_AND_ATTRIBUTES restricting, PHANDLE made) {
    gRestricted = {.token = token,
                   .flags = flags,
                   .disableCount = disableCount,
                   .deleteCount = deleteCount,
                   .restrictCount = restrictCount,
                   .hasDisable = disable != nullptr,
                   .hasDelete = remove != nullptr,
                   .hasRestrict = restricting != nullptr,
                   .disable = {},
                   .restricting = {},
                   .remove = {}};
    std::copy_n(disable, disableCount, gRestricted.disable);
    std::copy_n(remove, deleteCount, gRestricted.remove);
    std::copy_n(restricting, restrictCount, gRestricted.restricting);
    return give(made);
}

TEST_F(AccessTokenTest, TheListsOfARestrictionGoToWindowsAsArrays) {
    const ReplacedCall<decltype(CreateRestrictedToken)> call("CreateRestrictedToken",
                                                             noteRestricted);
    const SidList disable = {{SecurityIdentifier(everyoneSid), 1}, {SecurityIdentifier("BA"), 2}};
    const SidList restricting = {{SecurityIdentifier("SY"), 3}};
    const PrivilegeList remove = {{LUID{4, 5}, 6}, {LUID{7, 8}, 9}};
    const AccessToken token(mProcess, SANDBOX_INERT, disable, remove, restricting);
    EXPECT_EQ(gRestricted.token, mProcess.token());
    EXPECT_EQ(gRestricted.flags, DWORD{SANDBOX_INERT});
    ASSERT_EQ(gRestricted.disableCount, 2U);
    ASSERT_EQ(gRestricted.deleteCount, 2U);
    ASSERT_EQ(gRestricted.restrictCount, 1U);
    for (size_t i = 0; i < disable.size(); ++i) {
        EXPECT_EQ(gRestricted.disable[i].Sid, disable[i].first.sid());
        EXPECT_EQ(gRestricted.disable[i].Attributes, disable[i].second);
        EXPECT_EQ(gRestricted.remove[i].Luid.LowPart, remove[i].first.LowPart);
        EXPECT_EQ(gRestricted.remove[i].Luid.HighPart, remove[i].first.HighPart);
        EXPECT_EQ(gRestricted.remove[i].Attributes, remove[i].second);
    }
    EXPECT_EQ(gRestricted.restricting[0].Sid, restricting[0].first.sid());
    EXPECT_EQ(gRestricted.restricting[0].Attributes, 3U);
}

TEST_F(AccessTokenTest, EachEmptyListOfARestrictionIsNull) {
    const ReplacedCall<decltype(CreateRestrictedToken)> call("CreateRestrictedToken",
                                                             noteRestricted);
    const SidList sids = {{SecurityIdentifier(everyoneSid), 1}};
    const PrivilegeList privileges = {{LUID{4, 5}, 6}};
    for (unsigned given = 0; given < 8; ++given) {
        const bool disable = (given & 1) != 0;
        const bool remove = (given & 2) != 0;
        const bool restricting = (given & 4) != 0;
        const AccessToken token(mProcess, 0, disable ? sids : SidList(),
                                remove ? privileges : PrivilegeList(),
                                restricting ? sids : SidList());
        EXPECT_EQ(gRestricted.hasDisable, disable);
        EXPECT_EQ(gRestricted.disableCount, disable ? 1U : 0U);
        EXPECT_EQ(gRestricted.hasDelete, remove);
        EXPECT_EQ(gRestricted.deleteCount, remove ? 1U : 0U);
        EXPECT_EQ(gRestricted.hasRestrict, restricting);
        EXPECT_EQ(gRestricted.restrictCount, restricting ? 1U : 0U);
    }
}

TEST_F(AccessTokenTest, ARestrictedTokenHasLostThePrivilegeAndTheGroup) {
    PrivilegeList privileges;
    mProcess.privileges(privileges);
    ASSERT_GE(privileges.size(), 2U);
    const LUID lost = privileges.front().first;
    const SidList disabled = {{SecurityIdentifier(everyoneSid), 0}};
    const AccessToken token(mProcess, 0, disabled, {{lost, 0}}, {});
    PrivilegeList left;
    token.privileges(left);
    EXPECT_EQ(left.size(), privileges.size() - 1);
    for (const auto& [luid, attributes] : left) {
        EXPECT_NE(luid.LowPart, lost.LowPart);
    }
    const AccessToken impersonation(token, SecurityImpersonation);
    EXPECT_TRUE(mImpersonation.isMember(disabled[0].first));
    EXPECT_FALSE(impersonation.isMember(disabled[0].first));
}

TEST_F(AccessTokenTest, MembershipIsReportedForATokenToImpersonateWith) {
    EXPECT_TRUE(mImpersonation.isMember(SecurityIdentifier(everyoneSid)));
    EXPECT_FALSE(mImpersonation.isMember(SecurityIdentifier("S-1-5-21-1-2-3-4")));
    expectFailedCall("CheckTokenMembership", ERROR_NO_IMPERSONATION_TOKEN, [&] {
        static_cast<void>(mProcess.isMember(SecurityIdentifier(everyoneSid)));
    });
}

TEST_F(AccessTokenTest, WindowsIsAskedAboutTheTokenAndTheSid) {
    static HANDLE token;
    static PSID sid;
    static BOOL answer;
    const ReplacedCall<decltype(CheckTokenMembership)> call(
        "CheckTokenMembership", [](HANDLE asked, PSID about, PBOOL isMember) -> WINBOOL {
            token = asked;
            sid = about;
            *isMember = answer;
            return TRUE;
        });
    const SecurityIdentifier everyone(everyoneSid);
    for (const BOOL is : {TRUE, FALSE}) {
        answer = is;
        EXPECT_EQ(mProcess.isMember(everyone), is == TRUE);
        EXPECT_EQ(token, mProcess.token());
        EXPECT_EQ(sid, everyone.sid());
    }
}

TEST_F(AccessTokenTest, AnImpersonationThatIsRefusedNamesTheCall) {
    const RefusedCall<decltype(ImpersonateLoggedOnUser)> call("ImpersonateLoggedOnUser", 1406);
    expectFailedCall("ImpersonateLoggedOnUser", 1406, [&] { mProcess.impersonate(); });
}

TEST_F(AccessTokenTest, ImpersonationLastsUntilTheCallerEndsIt) {
    { AccessToken(mProcess, SecurityImpersonation).impersonate(); }
    EXPECT_NO_THROW(AccessToken(GetCurrentThread(), TOKEN_QUERY, /*openAsSelf=*/true));
    ASSERT_TRUE(RevertToSelf());
}

TEST_F(AccessTokenTest, AFailureToCloseGoesToTheDebugger) {
    const DebugOutput output;
    {
        const AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
        ASSERT_TRUE(CloseHandle(token.token()));
    }
    std::string line = win32ErrorText("~AccessToken: CloseHandle", ERROR_INVALID_HANDLE);
    EXPECT_EQ(output.texts(), std::vector<std::string>{line.append("\n")});
}

}  // namespace
