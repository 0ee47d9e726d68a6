// Tokens of logged-on users, and their profiles.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <userenv.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

constexpr DWORD interactive = LOGON32_LOGON_INTERACTIVE;
constexpr DWORD defaultProvider = LOGON32_PROVIDER_DEFAULT;

using Profile = boost::shared_ptr<AccessToken::Profile>;

const HANDLE someToken = reinterpret_cast<HANDLE>(0x5678);

/// Replaces the calls that log users on, and that load and unload their profiles. Each log-on
/// returns an event as the token, and each profile has a key of its own.
class LogonTest : public SecurityTest {
protected:
    struct Logon {
        std::wstring user;
        bool hasDomain = false;
        std::wstring domain, password;
        DWORD type = 0, provider = 0;
    };
    struct Loaded {
        HANDLE token;
        DWORD size, flags;
        std::wstring user;
        bool hasServer;
        std::wstring server;
        bool hasRest;
    };
    struct Taken {
        std::vector<Logon> logons;
        std::vector<Loaded> loaded;
        std::string events;
        HANDLE token = nullptr;
        HANDLE unloaded = nullptr;
    };

    void SetUp() override {
        SecurityTest::SetUp();
        sTaken = std::make_unique<Taken>();
    }
    void TearDown() override {
        sTaken.reset();
        SecurityTest::TearDown();
    }

    /// The key of the profile that was loaded first, second and so on.
    static HANDLE key(size_t number) { return sKeys + number; }

    static inline std::unique_ptr<Taken> sTaken;

private:
    static inline BYTE sKeys[16];

    static std::wstring textOf(const wchar_t* text) { return text != nullptr ? text : L""; }

    static WINBOOL WINAPI logOn(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD type,
                                DWORD provider, PHANDLE token) {
        sTaken->logons.push_back(
            {user, domain != nullptr, textOf(domain), password, type, provider});
        sTaken->events += "logon ";
        *token = sTaken->token = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return TRUE;
    }
    static WINBOOL WINAPI load(HANDLE token, LPPROFILEINFOW profile) {
        sTaken->loaded.push_back(
            {token, profile->dwSize, profile->dwFlags, profile->lpUserName,
             profile->lpServerName != nullptr, textOf(profile->lpServerName),
             profile->lpProfilePath != nullptr || profile->lpDefaultPath != nullptr ||
                 profile->lpPolicyPath != nullptr || profile->hProfile != nullptr});
        const size_t number = sTaken->loaded.size();
        sTaken->events.append("load").append(std::to_string(number)).append(" ");
        profile->hProfile = key(number);
        return TRUE;
    }
    static WINBOOL WINAPI unload(HANDLE token, HANDLE profile) {
        sTaken->unloaded = token;
        sTaken->events.append("unload");
        sTaken->events.append(std::to_string(static_cast<BYTE*>(profile) - sKeys)).append(" ");
        return TRUE;
    }

    ReplacedCall<decltype(LogonUserW)> mLogOn{"LogonUserW", logOn};
    ReplacedCall<decltype(LoadUserProfileW)> mLoad{"LoadUserProfileW", load};
    ReplacedCall<decltype(UnloadUserProfile)> mUnload{"UnloadUserProfile", unload};
};

TEST_F(LogonTest, UserDomainAndPasswordGoToWindowsInWideText) {
    const AccessToken token("us\xC3\xA4r", "dom\xC3\xA4ne", "p\xE2\x82\xAC", /*logonType=*/7,
                            /*logonProvider=*/9);
    ASSERT_EQ(sTaken->logons.size(), 1U);
    EXPECT_EQ(sTaken->logons[0].user, L"us\u00e4r");
    EXPECT_EQ(sTaken->logons[0].domain, L"dom\u00e4ne");
    EXPECT_EQ(sTaken->logons[0].password, L"p\u20ac");
    EXPECT_EQ(sTaken->logons[0].type, 7U);
    EXPECT_EQ(sTaken->logons[0].provider, 9U);
    EXPECT_EQ(token.token(), sTaken->token);
    EXPECT_EQ(sTaken->events, "logon ");
}

TEST_F(LogonTest, AnEmptyDomainIsNullAndADotIsADot) {
    { const AccessToken token("user", "", "", interactive, defaultProvider); }
    { const AccessToken token("user", ".", "", interactive, defaultProvider); }
    ASSERT_EQ(sTaken->logons.size(), 2U);
    EXPECT_FALSE(sTaken->logons[0].hasDomain);
    EXPECT_TRUE(sTaken->logons[1].hasDomain);
    EXPECT_EQ(sTaken->logons[1].domain, L".");
    EXPECT_EQ(sTaken->logons[1].password, L"");
}

TEST_F(LogonTest, ALogonThatIsRefusedNamesTheCallAndLoadsNoProfile) {
    const RefusedCall<decltype(LogonUserW)> call("LogonUserW", ERROR_LOGON_FAILURE);
    expectFailedCall("LogonUserW", ERROR_LOGON_FAILURE, [] {
        AccessToken("user", "domain", "password", interactive, defaultProvider);
    });
    Profile profile;
    expectFailedCall("LogonUserW", ERROR_LOGON_FAILURE, [&] {
        AccessToken("user", "domain", "password", interactive, defaultProvider, 1, profile);
    });
    EXPECT_EQ(profile, nullptr);
    EXPECT_EQ(sTaken->events, "");
}

TEST_F(LogonTest, AProfileIsLoadedForTheTokenWithTheDomainAsItsServer) {
    struct Row {
        const char* domain;
        const wchar_t *wideDomain, *server;
    };
    const Row rows[] = {{"", L"", L""},
                        {".", L".", L""},
                        {"domain", L"domain", L"domain"},
                        {"..", L"..", L".."},
                        {"d\xC3\xA4", L"d\u00e4", L"d\u00e4"}};
    for (const Row& row : rows) {
        Profile profile;
        const AccessToken token("us\xC3\xA4r", row.domain, "password", interactive,
                                LOGON32_PROVIDER_WINNT50, /*profileFlags=*/5, profile);
        ASSERT_NE(profile, nullptr);
        const Loaded& loaded = sTaken->loaded.back();
        EXPECT_EQ(loaded.token, token.token());
        EXPECT_EQ(loaded.size, sizeof(PROFILEINFOW));
        EXPECT_EQ(loaded.flags, 5U);
        EXPECT_EQ(loaded.user, L"us\u00e4r");
        EXPECT_EQ(loaded.hasServer, *row.server != L'\0') << row.domain;
        EXPECT_EQ(loaded.server, row.server);
        EXPECT_FALSE(loaded.hasRest);
        EXPECT_EQ(sTaken->logons.back().type, interactive);
        EXPECT_EQ(sTaken->logons.back().provider, DWORD{LOGON32_PROVIDER_WINNT50});
        EXPECT_EQ(sTaken->logons.back().domain, row.wideDomain);
        profile.reset();
        EXPECT_EQ(sTaken->unloaded, token.token());
    }
}

TEST_F(LogonTest, AProfileKnowsOnlyTheKeyOfWhatWindowsGot) {
    const AccessToken::Profile profile(someToken, "user", "server", /*flags=*/1);
    EXPECT_EQ(sTaken->loaded[0].token, someToken);
    EXPECT_EQ(sTaken->loaded[0].server, L"server");
    EXPECT_EQ(profile.information().hProfile, key(1));
    EXPECT_EQ(profile.information().lpUserName, nullptr);
    EXPECT_EQ(profile.information().lpServerName, nullptr);
    const AccessToken::Profile local(someToken, "user", "", /*flags=*/1);
    EXPECT_FALSE(sTaken->loaded[1].hasServer);
}

TEST_F(LogonTest, AProfileIsUnloadedOnceWithTokenAndKey) {
    { const AccessToken::Profile profile(someToken, "user", "server", /*flags=*/1); }
    EXPECT_EQ(sTaken->unloaded, someToken);
    EXPECT_EQ(sTaken->events, "load1 unload1 ");
}

TEST_F(LogonTest, ANewProfileTakesThePlaceOfTheOldOneWhichIsUnloaded) {
    Profile profile;
    const AccessToken first("user", "", "", interactive, defaultProvider, 0, profile);
    const AccessToken second("user", "", "", interactive, defaultProvider, 0, profile);
    EXPECT_EQ(sTaken->events, "logon load1 logon load2 unload1 ");
    EXPECT_EQ(sTaken->unloaded, first.token());
    EXPECT_EQ(profile->information().hProfile, key(2));
    profile.reset();
    EXPECT_EQ(sTaken->events, "logon load1 logon load2 unload1 unload2 ");
}

TEST_F(LogonTest, AFailedProfileLoadClosesTheTokenAndLeavesTheOldProfile) {
    Profile profile;
    const AccessToken first("user", "", "", interactive, defaultProvider, 0, profile);
    const AccessToken::Profile* const before = profile.get();
    {
        const RefusedCall<decltype(LoadUserProfileW)> call("LoadUserProfileW",
                                                           ERROR_BAD_USER_PROFILE);
        expectFailedCall("LoadUserProfileW", ERROR_BAD_USER_PROFILE, [&] {
            AccessToken("user", "", "", interactive, defaultProvider, 0, profile);
        });
        expectFailedCall("LoadUserProfileW", ERROR_BAD_USER_PROFILE,
                         [] { AccessToken::Profile(someToken, "user", "", 0); });
    }
    EXPECT_EQ(profile.get(), before);
    EXPECT_EQ(mOwnership.held().mHandles, 1);
    EXPECT_EQ(sTaken->events, "logon load1 logon ");
}

TEST_F(LogonTest, AFailureToUnloadGoesToTheDebugger) {
    const RefusedCall<decltype(UnloadUserProfile)> call("UnloadUserProfile", ERROR_BUSY);
    const DebugOutput output;
    { const AccessToken::Profile profile(someToken, "user", "", 0); }
    std::string line = win32ErrorText("UnloadUserProfile", ERROR_BUSY);
    EXPECT_EQ(output.texts(), std::vector<std::string>{line.append("\n")});
}

}  // namespace
