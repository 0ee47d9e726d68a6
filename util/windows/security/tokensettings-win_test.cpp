// Writing the information of a token, and real adjustments of its privileges and groups.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

using SidList = AccessToken::SidList;
using PrivilegeList = AccessToken::PrivilegeList;

/// Records the arguments of SetTokenInformation.
class TokenSettingTest : public SecurityTest {
protected:
    struct Setting {
        HANDLE token;
        TOKEN_INFORMATION_CLASS information;
        DWORD size;
        alignas(PSID) std::array<BYTE, 128> data;  ///< `size` bytes, for groups 4 more
    };

    template <class Value>
    static Value valueAt(size_t offset) {
        return *reinterpret_cast<const Value*>(sSetting.data.data() + offset);
    }
    void expectSetting(TOKEN_INFORMATION_CLASS information, DWORD size) const {
        EXPECT_EQ(sSetting.token, mToken.token());
        EXPECT_EQ(sSetting.information, information);
        EXPECT_EQ(sSetting.size, size);
    }

    AccessToken mToken{GetCurrentProcess(), TOKEN_ALL_ACCESS};
    static inline Setting sSetting;

private:
    ReplacedCall<decltype(SetTokenInformation)> mCall{
        "SetTokenInformation",
        [](HANDLE token, TOKEN_INFORMATION_CLASS information, LPVOID data, DWORD size) -> WINBOOL {
            sSetting = {token, information, size, {}};
            const DWORD gap = information == TokenGroups ? 4 : 0;
            std::memcpy(sSetting.data.data(), data, size + gap);
            return TRUE;
        }};
};

TEST_F(TokenSettingTest, AnyClassGoesToWindowsAsItIs) {
    char data[] = "abc";
    mToken.setInformation(TokenVirtualizationEnabled, data, 3);
    expectSetting(TokenVirtualizationEnabled, 3);
    EXPECT_EQ(std::memcmp(sSetting.data.data(), "abc\0", 4), 0);
}

TEST_F(TokenSettingTest, OwnerAndPrimaryGroupArePointersToTheSid) {
    const SecurityIdentifier everyone("S-1-1-0");
    mToken.setOwner(everyone);
    expectSetting(TokenOwner, 8);
    EXPECT_EQ(valueAt<PSID>(0), everyone.sid());
    mToken.setPrimaryGroup(everyone);
    expectSetting(TokenPrimaryGroup, 8);
    EXPECT_EQ(valueAt<PSID>(0), everyone.sid());
}

TEST_F(TokenSettingTest, TheDefaultDaclIsAPointerToTheListOrNull) {
    const SecurityDescriptor security("D:(A;;FA;;;WD)", SDDL_REVISION_1);
    mToken.setDefaultDacl(security.dacl());
    expectSetting(TokenDefaultDacl, 8);
    EXPECT_EQ(valueAt<PACL>(0), security.dacl().acl());
    mToken.setDefaultDacl(AccessControlList());
    EXPECT_EQ(valueAt<PACL>(0), nullptr);
}

TEST_F(TokenSettingTest, TheSessionIsFourBytes) {
    mToken.setSessionId(0x12345678);
    expectSetting(TokenSessionId, 4);
    EXPECT_EQ(valueAt<DWORD>(0), 0x12345678U);
}

TEST_F(TokenSettingTest, GroupSizeIsFourBytesAnd16EachThoughGroupsBeginAtByteEight) {
    SidList groups;
    for (DWORD count = 0; count < 4; ++count) {
        mToken.setGroups(groups);
        expectSetting(TokenGroups, 4 + 16 * count);
        EXPECT_EQ(valueAt<DWORD>(0), count);
        for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(valueAt<PSID>(8 + 16 * i), groups[i].first.sid());
            EXPECT_EQ(valueAt<DWORD>(16 + 16 * i), groups[i].second);
        }
        groups.emplace_back(SecurityIdentifier("S-1-1-0"), 0x100 + count);
    }
}

TEST_F(TokenSettingTest, EachThatIsRefusedNamesTheCall) {
    const RefusedCall<decltype(SetTokenInformation)> call("SetTokenInformation",
                                                          ERROR_PRIVILEGE_NOT_HELD);
    const auto expectRefused = [](auto set) {
        expectFailedCall("SetTokenInformation", ERROR_PRIVILEGE_NOT_HELD, set);
    };
    const SecurityIdentifier everyone("S-1-1-0");
    expectRefused([&] { mToken.setInformation(TokenOrigin, nullptr, 0); });
    expectRefused([&] { mToken.setOwner(everyone); });
    expectRefused([&] { mToken.setPrimaryGroup(everyone); });
    expectRefused([&] { mToken.setDefaultDacl(AccessControlList()); });
    expectRefused([&] { mToken.setSessionId(1); });
    expectRefused([&] { mToken.setGroups({{everyone, 1}}); });
}

/// Changes a duplicate, so that the process stays unchanged.
class RealAdjustmentTest : public SecurityTest {
protected:
    RealAdjustmentTest() {
        static_cast<void>(SecurityDescriptor("D:(A;;FA;;;WD)", SDDL_REVISION_1).dacl().aceCount());
        LookupPrivilegeValueW(nullptr, L"SeChangeNotifyPrivilege", &mLuid);
    }

    bool isEnabled(LUID luid) const {
        PrivilegeList privileges;
        mToken.privileges(privileges);
        return std::any_of(privileges.begin(), privileges.end(), [luid](const auto& privilege) {
            return privilege.first.LowPart == luid.LowPart &&
                   (privilege.second & SE_PRIVILEGE_ENABLED) != 0;
        });
    }
    bool isAnyEnabled() const {
        PrivilegeList privileges;
        mToken.privileges(privileges);
        return std::any_of(privileges.begin(), privileges.end(), [](const auto& privilege) {
            return (privilege.second & SE_PRIVILEGE_ENABLED) != 0;
        });
    }

    /// Whether Windows changes nothing if the former state doesn't fit, as documented.
    bool isLeftWhereTheStateHasNoRoom() const {
        TOKEN_PRIVILEGES disable = {1, {{mLuid, 0}}};
        TOKEN_PRIVILEGES state = {};
        DWORD needed = 0;
        AdjustTokenPrivileges(mToken.token(), FALSE, &disable, sizeof(DWORD), &state, &needed);
        return isEnabled(mLuid);
    }

    AccessToken mToken{AccessToken(GetCurrentProcess(), TOKEN_DUPLICATE), TOKEN_ALL_ACCESS, nullptr,
                       SecurityImpersonation, TokenPrimary};
    LUID mLuid = {};
};

TEST_F(RealAdjustmentTest, ADefaultDaclThatIsSetIsReadAgain) {
    const SecurityDescriptor security("D:(A;;GR;;;WD)(A;;GA;;;SY)", SDDL_REVISION_1);
    mToken.setDefaultDacl(security.dacl());
    AccessControlList read;
    mToken.defaultDacl(read);
    ASSERT_EQ(read.aceCount(), 2U);
    EXPECT_EQ(read.ace(0).sid(), SecurityIdentifier("S-1-1-0"));
    EXPECT_EQ(read.ace(0).mask(), GENERIC_READ);
    EXPECT_EQ(read.ace(1).sid(), SecurityIdentifier("S-1-5-18"));
}

TEST_F(RealAdjustmentTest, APrivilegeIsDisabledAndEnabledAgainByItsFormerState) {
    const PrivilegeList disable = {{mLuid, 0}};
    const PrivilegeList enable = {{mLuid, SE_PRIVILEGE_ENABLED}};
    ASSERT_TRUE(mToken.adjustPrivileges(&enable));
    ASSERT_TRUE(isEnabled(mLuid));
    if (!isLeftWhereTheStateHasNoRoom()) {
        GTEST_SKIP() << "privileges are adjusted here also where there is no room for the state";
    }
    PrivilegeList previous;
    EXPECT_TRUE(mToken.adjustPrivileges(&disable, &previous));
    EXPECT_FALSE(isEnabled(mLuid));
    ASSERT_EQ(previous.size(), 1U);
    EXPECT_EQ(previous[0].first.LowPart, mLuid.LowPart);
    EXPECT_TRUE(mToken.adjustPrivileges(&previous));
    EXPECT_TRUE(isEnabled(mLuid));
}

TEST_F(RealAdjustmentTest, WithoutAListAllPrivilegesAreDisabled) {
    const PrivilegeList enable = {{mLuid, SE_PRIVILEGE_ENABLED}};
    ASSERT_TRUE(mToken.adjustPrivileges(&enable));
    EXPECT_TRUE(mToken.adjustPrivileges(nullptr));
    EXPECT_FALSE(isAnyEnabled());
}

TEST_F(RealAdjustmentTest, APrivilegeThatTheTokenHasNotCountsAsSuccess) {
    // Windows reports this only through GetLastError after a success.
    const PrivilegeList unknown = {{{0x7FFF, 0x7FFF}, SE_PRIVILEGE_ENABLED}};
    EXPECT_TRUE(mToken.adjustPrivileges(&unknown));
}

TEST_F(RealAdjustmentTest, ATokenThatMayNotBeAdjustedIsRefused) {
    AccessToken token(GetCurrentProcess(), TOKEN_QUERY);
    const PrivilegeList enable = {{mLuid, SE_PRIVILEGE_ENABLED}};
    expectFailedCall("AdjustTokenPrivileges", ERROR_ACCESS_DENIED,
                     [&] { static_cast<void>(token.adjustPrivileges(&enable)); });
}

TEST_F(RealAdjustmentTest, GroupsBecomeWhatTheyAreByDefault) {
    if (!AdjustTokenGroups(mToken.token(), TRUE, nullptr, 0, nullptr, nullptr)) {
        GTEST_SKIP() << "groups can't be adjusted here";
    }
    EXPECT_TRUE(mToken.adjustGroups(nullptr));
}

}  // namespace
