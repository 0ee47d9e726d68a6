// Reading the real tokens of this process, and what is thrown if that fails.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

using SidList = AccessToken::SidList;
using PrivilegeList = AccessToken::PrivilegeList;

class RealTokenTest : public SecurityTest {
protected:
    // When the first name is looked up, the system opens resources.
    RealTokenTest() { static_cast<void>(SecurityIdentifier::currentUser()); }

    /// Whether Windows supports this class.
    bool isKnown(TOKEN_INFORMATION_CLASS information) const {
        BYTE buffer[8192];
        DWORD size = 0;
        return GetTokenInformation(mToken.token(), information, buffer, sizeof buffer, &size) !=
               FALSE;
    }
    bool hasGroup(const SecurityIdentifier& sid) const {
        SidList groups;
        mToken.groups(groups);
        return std::any_of(groups.begin(), groups.end(),
                           [&sid](const auto& group) { return group.first == sid; });
    }

    AccessToken mToken{GetCurrentProcess(), TOKEN_ALL_ACCESS};
};

TEST_F(RealTokenTest, TheUserIsTheOneWhoRunsTheProcess) {
    const auto user = mToken.user();
    EXPECT_EQ(user.first, SecurityIdentifier::currentUser());
    EXPECT_EQ(user.second, 0U);
}

TEST_F(RealTokenTest, TheOwnerIsTheUserOrOneOfTheGroups) {
    const SecurityIdentifier owner = mToken.owner();
    EXPECT_TRUE(owner == mToken.user().first || hasGroup(owner));
}

TEST_F(RealTokenTest, EveryoneAndThePrimaryGroupAreAmongTheGroups) {
    EXPECT_TRUE(hasGroup(SecurityIdentifier("S-1-1-0")));
    EXPECT_TRUE(hasGroup(mToken.primaryGroup()));
}

TEST_F(RealTokenTest, GroupsArePassedOnWhenTheTokenIsClosed) {
    SidList groups;
    {
        const AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
        token.groups(groups);
    }
    ASSERT_FALSE(groups.empty());
    for (const auto& [sid, attributes] : groups) {
        EXPECT_TRUE(sid.isOwner());
        EXPECT_TRUE(sid.isValid());
    }
}

TEST_F(RealTokenTest, ThePrivilegesHoldTheOneThatEveryUserHas) {
    LUID luid = {};
    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, L"SeChangeNotifyPrivilege", &luid));
    PrivilegeList privileges;
    mToken.privileges(privileges);
    const size_t count = privileges.size();
    mToken.privileges(privileges);
    EXPECT_EQ(privileges.size(), count);
    EXPECT_EQ(std::count_if(privileges.begin(), privileges.end(),
                            [luid](const auto& privilege) {
                                return privilege.first.LowPart == luid.LowPart &&
                                       privilege.first.HighPart == luid.HighPart;
                            }),
              1);
}

TEST_F(RealTokenTest, TheDefaultDaclIsAValidList) {
    AccessControlList dacl;
    mToken.defaultDacl(dacl);
    EXPECT_TRUE(dacl.isValid());
    EXPECT_GT(dacl.aceCount(), 0U);
}

TEST_F(RealTokenTest, StatisticsAgreeWithTypeAndLists) {
    TOKEN_STATISTICS statistics = {};
    mToken.statistics(statistics);
    EXPECT_EQ(statistics.TokenType, TokenPrimary);
    PrivilegeList privileges;
    mToken.privileges(privileges);
    EXPECT_EQ(statistics.PrivilegeCount, privileges.size());
    SidList groups;
    mToken.groups(groups);
    EXPECT_EQ(statistics.GroupCount, groups.size());
}

TEST_F(RealTokenTest, APrimaryTokenHasNoLevel) {
    for (const TOKEN_TYPE type : {TokenPrimary, TokenImpersonation}) {
        const AccessToken token(mToken, TOKEN_QUERY, nullptr, SecurityIdentification, type);
        EXPECT_EQ(token.type(), type);
        if (type == TokenImpersonation) {
            EXPECT_EQ(token.impersonationLevel(), SecurityIdentification);
        } else {
            EXPECT_THROW(static_cast<void>(token.impersonationLevel()), Win32Exception);
        }
    }
}

TEST_F(RealTokenTest, TheUserWordIsSomeOfAnAddress) {
    // The address of a SID in a buffer; its low half isn't 0.
    EXPECT_TRUE(mToken.hasUserWord());
    EXPECT_NE(mToken.userWord(), 0);
}

TEST_F(RealTokenTest, TheSourceHasAName) {
    if (!isKnown(TokenSource)) {
        GTEST_SKIP() << "the source of a token isn't known here";
    }
    AccessToken token(GetCurrentProcess(), TOKEN_QUERY | TOKEN_QUERY_SOURCE);
    const auto source = token.source();
    EXPECT_EQ(source.first.size(), 8U);
    EXPECT_NE(source.first.front(), '\0');
}

TEST_F(RealTokenTest, RestrictedSidsAreThoseOfTheRestriction) {
    if (!isKnown(TokenRestrictedSids)) {
        GTEST_SKIP() << "the SIDs that restrict a token aren't known here";
    }
    const SecurityIdentifier everyone("S-1-1-0");
    const AccessToken restricted(mToken, 0, {}, {}, {{everyone, 0}});
    SidList sids;
    restricted.groups(sids, /*restricted=*/true);
    ASSERT_EQ(sids.size(), 1U);
    EXPECT_EQ(sids[0].first, everyone);
}

TEST_F(RealTokenTest, GroupsAndPrivilegesAreTheSameTogetherAsOneByOne) {
    if (!isKnown(TokenGroupsAndPrivileges)) {
        GTEST_SKIP() << "groups and privileges can't be asked for together here";
    }
    SidList groups;
    SidList restricted;
    PrivilegeList privileges;
    LUID authentication = {};
    mToken.groupsAndPrivileges(groups, restricted, privileges, authentication);
    SidList groupsAlone;
    mToken.groups(groupsAlone);
    // The user comes before the groups.
    EXPECT_EQ(groups.size(), groupsAlone.size() + 1);
    EXPECT_TRUE(restricted.empty());
    PrivilegeList privilegesAlone;
    mToken.privileges(privilegesAlone);
    EXPECT_EQ(privileges.size(), privilegesAlone.size());
    TOKEN_STATISTICS statistics = {};
    mToken.statistics(statistics);
    EXPECT_EQ(authentication.LowPart, statistics.AuthenticationId.LowPart);
}

TEST_F(RealTokenTest, ATokenThatMayNotBeQueriedReportsNothing) {
    const AccessToken token(GetCurrentProcess(), TOKEN_DUPLICATE);
    for (const auto& read : {std::function<void()>([&] { static_cast<void>(token.user()); }),
                             std::function<void()>([&] { static_cast<void>(token.type()); })}) {
        try {
            read();
            ADD_FAILURE() << "it was queried";
        } catch (const Win32Exception& failure) {
            EXPECT_EQ(failure.mError, DWORD{ERROR_ACCESS_DENIED});
        }
    }
}

class TokenReadingTest : public RealTokenTest {
protected:
    /// All members that read.
    std::vector<std::function<void()>> readers() {
        return {[this] { static_cast<void>(mToken.user()); },
                [this] { mToken.groups(mSids); },
                [this] { mToken.groups(mSids, /*restricted=*/true); },
                [this] { mToken.privileges(mPrivileges); },
                [this] { static_cast<void>(mToken.owner()); },
                [this] { static_cast<void>(mToken.primaryGroup()); },
                [this] { mToken.defaultDacl(mDacl); },
                [this] { static_cast<void>(mToken.source()); },
                [this] { static_cast<void>(mToken.type()); },
                [this] { static_cast<void>(mToken.impersonationLevel()); },
                [this] { mToken.statistics(mStatistics); },
                [this] { mToken.groupsAndPrivileges(mSids, mSids, mPrivileges, mLuid); },
                [this] { static_cast<void>(mToken.userWord()); },
                [this] { static_cast<void>(mToken.hasUserWord()); }};
    }

    SidList mSids;
    PrivilegeList mPrivileges;
    AccessControlList mDacl;
    TOKEN_STATISTICS mStatistics = {};
    LUID mLuid = {};
};

TEST_F(TokenReadingTest, ASizeThatCannotBeAskedForIsReported) {
    DWORD error = 1400;
    for (const auto& read : readers()) {
        const RefusedCall<decltype(GetTokenInformation)> call("GetTokenInformation", ++error);
        expectFailedCall("GetTokenInformation(size query)", error, read);
    }
}

TEST_F(TokenReadingTest, WhatCannotBeReadThoughItsSizeWasIsReportedByAnotherText) {
    static DWORD error;
    error = 1400;
    const ReplacedCall<decltype(GetTokenInformation)> call(
        "GetTokenInformation",
        [](HANDLE, TOKEN_INFORMATION_CLASS, LPVOID buffer, DWORD, PDWORD size) -> WINBOOL {
            *size = 128;
            SetLastError(buffer == nullptr ? DWORD{ERROR_INSUFFICIENT_BUFFER} : error);
            return FALSE;
        });
    for (const auto& read : readers()) {
        ++error;
        expectFailedCall("GetTokenInformation", error, read);
    }
}

TEST_F(TokenReadingTest, ASidThatCannotBeCopiedLeavesNothingAndTheListAsItWas) {
    mSids = {{SecurityIdentifier("S-1-1-0"), 9}};
    const RefusedCall<decltype(CopySid)> call("CopySid", ERROR_INVALID_SID, /*before=*/1);
    expectFailedCall("CopySid", ERROR_INVALID_SID, [this] { mToken.groups(mSids); });
    EXPECT_EQ(mSids.size(), 1U);
    expectFailedCall("CopySid", ERROR_INVALID_SID, [this] { static_cast<void>(mToken.user()); });
    expectFailedCall("CopySid", ERROR_INVALID_SID, [this] { static_cast<void>(mToken.owner()); });
    expectFailedCall("CopySid", ERROR_INVALID_SID,
                     [this] { static_cast<void>(mToken.primaryGroup()); });
    SidList().swap(mSids);
}

}  // namespace
