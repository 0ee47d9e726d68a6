// Reading the information of tokens.

#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/faketokeninformation-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

using SidList = AccessToken::SidList;
using PrivilegeList = AccessToken::PrivilegeList;

class TokenInformationTest : public SecurityTest {
protected:
    /// Expects that Windows was asked for the size of `information`, and then for the data.
    void expectAskedTwice(const FakeTokenInformation& fake, TOKEN_INFORMATION_CLASS information,
                          DWORD size) const {
        ASSERT_EQ(fake.calls(), 2);
        EXPECT_EQ(fake.call(0),
                  (FakeTokenInformation::Call{mToken.token(), information, false, 0}));
        EXPECT_EQ(fake.call(1),
                  (FakeTokenInformation::Call{mToken.token(), information, true, size}));
    }

    AccessToken mToken{GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE | TOKEN_ADJUST_DEFAULT};
};

/// Writes the SID S-1-5-`last` at an offset in the buffer and returns its address.
PSID putSid(BYTE* buffer, size_t offset, DWORD last) {
    const SID sid = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {last}};
    std::memcpy(buffer + offset, &sid, sizeof sid);
    return buffer + offset;
}

std::string textOf(DWORD last) { return "S-1-5-" + std::to_string(last); }

void putPrivilege(LUID_AND_ATTRIBUTES& place, DWORD low, LONG high, DWORD attributes) {
    place.Luid = {low, high};
    place.Attributes = attributes;
}

void expectPrivilege(const PrivilegeList& list, size_t index, DWORD low, LONG high,
                     DWORD attributes) {
    ASSERT_LT(index, list.size());
    EXPECT_EQ(list[index].first.LowPart, low);
    EXPECT_EQ(list[index].first.HighPart, high);
    EXPECT_EQ(list[index].second, attributes);
}

/// Expects copies of S-1-5-first, S-1-5-(first + 1) and so on, each with 0x100 times its last
/// number as attributes.
void expectSids(const SidList& list, size_t count, DWORD first) {
    ASSERT_EQ(list.size(), count);
    for (DWORD i = 0; i < count; ++i) {
        EXPECT_TRUE(list[i].first.isOwner());
        EXPECT_EQ(list[i].first.text(), textOf(first + i));
        EXPECT_EQ(list[i].second, 0x100 * (first + i));
    }
}

void putSids(BYTE* buffer, SID_AND_ATTRIBUTES* places, size_t offset, DWORD count, DWORD first) {
    for (DWORD i = 0; i < count; ++i) {
        places[i] = {putSid(buffer, offset + i * sizeof(SID), first + i), 0x100 * (first + i)};
    }
}

TEST_F(TokenInformationTest, TheUserIsACopyOfTheSidWithItsAttributes) {
    constexpr DWORD size = sizeof(TOKEN_USER) + sizeof(SID);
    const FakeTokenInformation fake(size, [](BYTE* buffer) {
        reinterpret_cast<TOKEN_USER*>(buffer)->User = {putSid(buffer, sizeof(TOKEN_USER), 77), 5};
    });
    const auto user = mToken.user();
    EXPECT_TRUE(user.first.isOwner());
    EXPECT_EQ(user.first.text(), textOf(77));
    EXPECT_EQ(user.second, 5U);
    expectAskedTwice(fake, TokenUser, size);
}

TEST_F(TokenInformationTest, OwnerAndPrimaryGroupAreCopiesOfTheirSids) {
    static_assert(sizeof(TOKEN_OWNER) == 8 && sizeof(TOKEN_PRIMARY_GROUP) == 8);
    constexpr DWORD size = 8 + sizeof(SID);
    const auto fill = [](BYTE* buffer) {
        reinterpret_cast<TOKEN_OWNER*>(buffer)->Owner = putSid(buffer, 8, 78);
    };
    {
        const FakeTokenInformation fake(size, fill);
        const SecurityIdentifier owner = mToken.owner();
        EXPECT_TRUE(owner.isOwner());
        EXPECT_EQ(owner.text(), textOf(78));
        expectAskedTwice(fake, TokenOwner, size);
    }
    const FakeTokenInformation fake(size, fill);
    const SecurityIdentifier group = mToken.primaryGroup();
    EXPECT_TRUE(group.isOwner());
    EXPECT_EQ(group.text(), textOf(78));
    expectAskedTwice(fake, TokenPrimaryGroup, size);
}

TEST_F(TokenInformationTest, GroupsOrRestrictedSidsTakeThePlaceOfWhatTheListHeld) {
    constexpr DWORD offset = 8 + 3 * sizeof(SID_AND_ATTRIBUTES);
    constexpr DWORD size = offset + 3 * sizeof(SID);
    for (const bool restricted : {false, true}) {
        const FakeTokenInformation fake(size, [](BYTE* buffer) {
            auto* const groups = reinterpret_cast<TOKEN_GROUPS*>(buffer);
            groups->GroupCount = 3;
            putSids(buffer, groups->Groups, offset, 3, 40);
        });
        SidList list = {{SecurityIdentifier("S-1-1-0"), 9}};
        mToken.groups(list, restricted);
        expectSids(list, 3, 40);
        expectAskedTwice(fake, restricted ? TokenRestrictedSids : TokenGroups, size);
    }
}

TEST_F(TokenInformationTest, GroupsAreAskedForUnlessRestrictedSidsAre) {
    const FakeTokenInformation fake(sizeof(TOKEN_GROUPS),
                                    [](BYTE* buffer) { std::memset(buffer, 0, 4); });
    SidList list = {{SecurityIdentifier("S-1-1-0"), 9}};
    mToken.groups(list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(fake.call(1).information, TokenGroups);
}

TEST_F(TokenInformationTest, PrivilegesTakeThePlaceOfWhatTheListHeld) {
    constexpr DWORD size = 4 + 2 * 12;
    PrivilegeList list = {{{9, 9}, 9}};
    for (int turn = 0; turn < 2; ++turn) {
        const FakeTokenInformation fake(size, [](BYTE* buffer) {
            auto* const privileges = reinterpret_cast<TOKEN_PRIVILEGES*>(buffer);
            privileges->PrivilegeCount = 2;
            putPrivilege(privileges->Privileges[0], 1, 2, 3);
            putPrivilege(privileges->Privileges[1], 4, -5, 6);
        });
        mToken.privileges(list);
        EXPECT_EQ(list.size(), 2U);
        expectPrivilege(list, 0, 1, 2, 3);
        expectPrivilege(list, 1, 4, -5, 6);
        expectAskedTwice(fake, TokenPrivileges, size);
    }
}

TEST_F(TokenInformationTest, TheDefaultDaclIsACopyThatTheListOwnsInPlaceOfItsOwn) {
    const SecurityDescriptor source("D:(A;;FA;;;WD)(A;;FR;;;SY)", SDDL_REVISION_1);
    const PACL acl = source.dacl().acl();
    const DWORD size = static_cast<DWORD>(sizeof(TOKEN_DEFAULT_DACL)) + acl->AclSize;
    const FakeTokenInformation fake(size, [acl](BYTE* buffer) {
        BYTE* const place = buffer + sizeof(TOKEN_DEFAULT_DACL);
        std::memcpy(place, acl, acl->AclSize);
        reinterpret_cast<TOKEN_DEFAULT_DACL*>(buffer)->DefaultDacl = reinterpret_cast<PACL>(place);
    });
    AccessControlList dacl(/*aceCount=*/5, ACL_REVISION, /*limitSize=*/false);
    ASSERT_EQ(dacl.aceCount(), 0U);
    mToken.defaultDacl(dacl);
    EXPECT_TRUE(dacl.isOwner());
    EXPECT_EQ(mOwnership.held().mLocalBlocks, 2) << "of the source and of the list";
    EXPECT_NE(dacl.acl(), acl);
    EXPECT_EQ(std::memcmp(dacl.acl(), acl, acl->AclSize), 0);
    EXPECT_EQ(dacl.aceCount(), 0U) << "what was counted before stays";
    dacl.refresh();
    EXPECT_EQ(dacl.aceCount(), 2U);
    expectAskedTwice(fake, TokenDefaultDacl, size);
}

TEST_F(TokenInformationTest, ATokenWithoutADefaultDaclGivesABlockOfNoBytes) {
    static SIZE_T allocated;
    static decltype(LocalAlloc)* allocate;
    const FakeTokenInformation fake(sizeof(TOKEN_DEFAULT_DACL), [](BYTE* buffer) {
        std::memset(buffer, 0, sizeof(TOKEN_DEFAULT_DACL));
    });
    const ReplacedCall<decltype(LocalAlloc)> call("LocalAlloc", [](UINT flags, SIZE_T size) {
        allocated = size;
        return allocate(flags, size);
    });
    allocate = call.original();
    allocated = 1;
    AccessControlList dacl;
    mToken.defaultDacl(dacl);
    EXPECT_EQ(allocated, 0U);
    EXPECT_TRUE(dacl.isOwner());
    EXPECT_NE(dacl.acl(), nullptr);
    EXPECT_EQ(mOwnership.held().mLocalBlocks, 1);
}

TEST_F(TokenInformationTest, TheSourceIsEightBytesAndAnIdentifier) {
    constexpr DWORD size = sizeof(TOKEN_SOURCE);
    const FakeTokenInformation fake(size, [](BYTE* buffer) {
        auto* const source = reinterpret_cast<TOKEN_SOURCE*>(buffer);
        std::memcpy(source->SourceName, "User32\0x", 8);
        source->SourceIdentifier = {3, -4};
    });
    const auto source = mToken.source();
    EXPECT_EQ(source.first, std::string("User32\0x", 8));
    EXPECT_EQ(source.second.LowPart, 3U);
    EXPECT_EQ(source.second.HighPart, -4);
    expectAskedTwice(fake, TokenSource, size);
}

TEST_F(TokenInformationTest, TypeAndLevelAreValues) {
    {
        const FakeTokenInformation fake(4, [](BYTE* buffer) { std::memcpy(buffer, "\2\0\0", 4); });
        EXPECT_EQ(mToken.type(), TokenImpersonation);
        expectAskedTwice(fake, TokenType, 4);
    }
    const FakeTokenInformation fake(4, [](BYTE* buffer) { std::memcpy(buffer, "\3\0\0", 4); });
    EXPECT_EQ(mToken.impersonationLevel(), SecurityDelegation);
    expectAskedTwice(fake, TokenImpersonationLevel, 4);
}

TEST_F(TokenInformationTest, StatisticsAreTheFirst56Bytes) {
    constexpr DWORD size = 56;
    TOKEN_STATISTICS given = {};
    given.TokenId = {1, 2};
    given.DynamicAvailable = 3;
    given.ModifiedId = {4, 5};
    const FakeTokenInformation fake(
        size, [&given](BYTE* buffer) { std::memcpy(buffer, &given, sizeof given); });
    TOKEN_STATISTICS statistics = {};
    mToken.statistics(statistics);
    EXPECT_EQ(std::memcmp(&statistics, &given, size), 0);
    expectAskedTwice(fake, TokenStatistics, size);
}

TEST_F(TokenInformationTest, GroupsAndPrivilegesFillAllThreeListsAndTheAuthentication) {
    constexpr DWORD sids = sizeof(TOKEN_GROUPS_AND_PRIVILEGES);
    constexpr DWORD restrictedSids = sids + 2 * sizeof(SID_AND_ATTRIBUTES);
    constexpr DWORD found = restrictedSids + 3 * sizeof(SID_AND_ATTRIBUTES);
    constexpr DWORD texts = found + 8 * sizeof(DWORD);
    constexpr DWORD size = texts + 5 * sizeof(SID);
    const FakeTokenInformation fake(size, [](BYTE* buffer) {
        auto* const all = reinterpret_cast<TOKEN_GROUPS_AND_PRIVILEGES*>(buffer);
        all->SidCount = 2;
        all->Sids = reinterpret_cast<PSID_AND_ATTRIBUTES>(buffer + sids);
        putSids(buffer, all->Sids, texts, 2, 20);
        all->RestrictedSidCount = 3;
        all->RestrictedSids = reinterpret_cast<PSID_AND_ATTRIBUTES>(buffer + restrictedSids);
        putSids(buffer, all->RestrictedSids, texts + 2 * sizeof(SID), 3, 30);
        all->PrivilegeCount = 2;
        all->Privileges = reinterpret_cast<PLUID_AND_ATTRIBUTES>(buffer + found);
        putPrivilege(all->Privileges[0], 1, 2, 3);
        putPrivilege(all->Privileges[1], 4, 5, 6);
        all->AuthenticationId = {7, 8};
    });
    SidList groups = {{SecurityIdentifier("S-1-1-0"), 9}};
    SidList restricted = groups;
    PrivilegeList privileges = {{{9, 9}, 9}};
    LUID authentication = {};
    mToken.groupsAndPrivileges(groups, restricted, privileges, authentication);
    expectSids(groups, 2, 20);
    expectSids(restricted, 3, 30);
    EXPECT_EQ(privileges.size(), 2U);
    expectPrivilege(privileges, 0, 1, 2, 3);
    expectPrivilege(privileges, 1, 4, 5, 6);
    EXPECT_EQ(authentication.LowPart, 7U);
    EXPECT_EQ(authentication.HighPart, 8);
    expectAskedTwice(fake, TokenGroupsAndPrivileges, size);
}

TEST_F(TokenInformationTest, TheUserWordIsTheFirst32BitsOfTheUser) {
    static const int words[][2] = {{0, 1}, {-7, 0}, {1, 0}};
    for (const auto& word : words) {
        const auto fill = [&word](BYTE* buffer) { std::memcpy(buffer, word, sizeof words[0]); };
        {
            const FakeTokenInformation fake(16, fill);
            EXPECT_EQ(mToken.userWord(), word[0]);
            expectAskedTwice(fake, TokenUser, 16);
        }
        const FakeTokenInformation fake(16, fill);
        EXPECT_EQ(mToken.hasUserWord(), word[0] != 0);
        expectAskedTwice(fake, TokenUser, 16);
    }
}

TEST_F(TokenInformationTest, ASuccessWithoutABufferIsFollowedByACallForNoBytes) {
    FakeTokenInformation fake(/*size=*/99, [](BYTE*) {});
    fake.succeedAtOnce();
    TOKEN_STATISTICS statistics = {};
    expectFailedCall("GetTokenInformation", ERROR_BAD_LENGTH,
                     [&] { mToken.statistics(statistics); });
    expectAskedTwice(fake, TokenStatistics, 0);
}

}  // namespace
