#include <algorithm>
#include <cwchar>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <lmcons.h>
#define SECURITY_WIN32
#include <security.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/security/securityidentifier-win.h"

namespace {

using namespace testing_support;

constexpr char unmapped[] = "S-1-5-21-1-2-3-1001";

/// The arguments of a lookup. Not strings: they would leave memory allocated.
struct Asked {
    bool mHasSystem = false;
    wchar_t mSystem[64] = {};
    wchar_t mAccount[64] = {};
    PSID mSid = nullptr;
    DWORD mSize = 0;
    DWORD mNameLength = 0;
    DWORD mDomainLength = 0;
    SID_NAME_USE mUse = SidTypeUser;
};
Asked gAsked;

void noteSystem(const wchar_t* system) {
    gAsked.mHasSystem = system != nullptr;
    if (system != nullptr) {
        wcsncpy(gAsked.mSystem, system, 63);
    }
}

// NOLINTBEGIN(readability-non-const-parameter): Windows's signature
/// Fills the 68 bytes of the longest SID and the 142 characters of a domain that fit at most.
WINBOOL longestAccount(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD size, LPWSTR domain,
                       LPDWORD domainLength, PSID_NAME_USE use) {
    noteSystem(system);
    wcsncpy(gAsked.mAccount, account, 63);
    gAsked.mSize = *size;
    gAsked.mDomainLength = *domainLength;
    auto* const bytes = static_cast<SID*>(sid);
    *bytes = {SID_REVISION, SID_MAX_SUB_AUTHORITIES, SECURITY_NT_AUTHORITY, {0}};
    for (DWORD index = 0; index < SID_MAX_SUB_AUTHORITIES; ++index) {
        bytes->SubAuthority[index] = index;
    }
    *domainLength = 142;
    std::fill_n(domain, 142, L'\u00e9');
    domain[142] = L'\0';
    *use = SidTypeUser;
    return TRUE;
}
// NOLINTEND(readability-non-const-parameter)

class SecurityAccountTest : public testing_support::OwnershipTest {
protected:
    SecurityAccountTest() {
        gAsked = {};
        // A process's first lookup opens resources that the system library keeps.
        static_cast<void>(SecurityIdentifier(WinWorldSid, nullptr).accountName());
        static_cast<void>(SecurityIdentifier::currentUser());
    }
};

TEST_F(SecurityAccountTest, AnAccountIsLookedUpByItsNameAndReportsItsDomain) {
    std::string domain = "before";
    const SecurityIdentifier system("SYSTEM", /*system=*/nullptr, &domain);
    EXPECT_TRUE(system.isOwner());
    EXPECT_EQ(system, SecurityIdentifier("S-1-5-18"));
    EXPECT_EQ(domain + "\\SYSTEM", system.accountName());
}

TEST_F(SecurityAccountTest, TheLookupHasRoomForAnySidAndPassesTheNamesOnAsUtf16) {
    const ReplacedCall<decltype(LookupAccountNameW)> call("LookupAccountNameW", longestAccount);
    std::string domain;
    const SecurityIdentifier sid("J\u00f6rg", "\\\\S\u00e9rver", &domain);
    EXPECT_STREQ(gAsked.mAccount, L"J\u00f6rg");
    EXPECT_STREQ(gAsked.mSystem, L"\\\\S\u00e9rver");
    EXPECT_EQ(gAsked.mSize, DWORD{SECURITY_MAX_SID_SIZE});
    EXPECT_EQ(gAsked.mDomainLength, 143U);
    EXPECT_EQ(sid.text(), "S-1-5-0-1-2-3-4-5-6-7-8-9-10-11-12-13-14");
    EXPECT_EQ(domain, toUtf8(std::wstring(142, L'\u00e9')));
}

TEST_F(SecurityAccountTest, WithoutASystemAndADomainTheLookupGetsNullAndReportsNone) {
    const ReplacedCall<decltype(LookupAccountNameW)> call("LookupAccountNameW", longestAccount);
    const SecurityIdentifier sid("x", nullptr, nullptr);
    EXPECT_FALSE(gAsked.mHasSystem);
    EXPECT_EQ(sid.length(), DWORD{SECURITY_MAX_SID_SIZE});
}

TEST_F(SecurityAccountTest, AFailedLookupIsTriedOnceAndLeavesTheDomain) {
    const RefusedCall<decltype(LookupAccountNameW)> call("LookupAccountNameW",
                                                         ERROR_INSUFFICIENT_BUFFER);
    std::string domain = "before";
    expectFailedCall("LookupAccountNameW", ERROR_INSUFFICIENT_BUFFER,
                     [&] { SecurityIdentifier("x", nullptr, &domain); });
    EXPECT_EQ(call.count(), 1);
    EXPECT_EQ(domain, "before");
}

TEST_F(SecurityAccountTest, TheCurrentUserIsTheUserOfTheProcesssToken) {
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    alignas(TOKEN_USER) BYTE buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    EXPECT_TRUE(GetTokenInformation(token, TokenUser, buffer, sizeof buffer, &size));
    CloseHandle(token);
    const SecurityIdentifier user = SecurityIdentifier::currentUser();
    EXPECT_TRUE(user.isOwner());
    EXPECT_EQ(user, SecurityIdentifier(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid));
}

TEST_F(SecurityAccountTest, TheCurrentUsersNameIsCutToItsLength) {
    static EXTENDED_NAME_FORMAT gFormat;
    static ULONG gRoom;
    const ReplacedCall<decltype(GetUserNameExW)> userName(
        "GetUserNameExW", [](EXTENDED_NAME_FORMAT format, LPWSTR name, PULONG length) -> BOOLEAN {
            gFormat = format;
            gRoom = *length;
            wcscpy(name, L"DOMAIN\\J\u00f6rg and more");
            *length = 11;
            return TRUE;
        });
    const ReplacedCall<decltype(LookupAccountNameW)> lookup("LookupAccountNameW", longestAccount);
    static_cast<void>(SecurityIdentifier::currentUser());
    EXPECT_EQ(gFormat, NameSamCompatible);
    EXPECT_EQ(gRoom, 512U);
    EXPECT_STREQ(gAsked.mAccount, L"DOMAIN\\J\u00f6rg");
    EXPECT_FALSE(gAsked.mHasSystem);
}

TEST_F(SecurityAccountTest, AnEmptyDomainStillHasItsSeparator) {
    const SecurityIdentifier everyone(WinWorldSid, nullptr);
    wchar_t name[UNLEN + 1];
    wchar_t domain[UNLEN + 1];
    DWORD nameLength = UNLEN + 1;
    DWORD domainLength = UNLEN + 1;
    SID_NAME_USE use = SidTypeUnknown;
    ASSERT_TRUE(
        LookupAccountSidW(nullptr, everyone.sid(), name, &nameLength, domain, &domainLength, &use));
    ASSERT_STREQ(domain, L"");
    SID_NAME_USE found = SidTypeInvalid;
    EXPECT_EQ(everyone.accountName(&found), "\\" + toUtf8(name));
    EXPECT_EQ(found, SidTypeWellKnownGroup);
    EXPECT_EQ(everyone.accountName(), everyone.accountName(&found));
}

/// Returns names of the greatest length, followed by text that isn't part of them.
WINBOOL longestNames(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameLength, LPWSTR domain,
                     LPDWORD domainLength, PSID_NAME_USE use) {
    noteSystem(system);
    gAsked.mSid = sid;
    gAsked.mNameLength = *nameLength;
    gAsked.mDomainLength = *domainLength;
    gAsked.mUse = *use;
    std::fill_n(name, 257, L'\u00e9');
    std::fill_n(domain, 257, L'd');
    *nameLength = 256;
    *domainLength = 255;
    *use = SidTypeAlias;
    return TRUE;
}

TEST_F(SecurityAccountTest, NamesAreCutToTheirLengthsAndJoined) {
    const ReplacedCall<decltype(LookupAccountSidW)> call("LookupAccountSidW", longestNames);
    const SecurityIdentifier sid(unmapped);
    SID_NAME_USE use = SidTypeInvalid;
    EXPECT_EQ(sid.accountName(&use, "\\\\S\u00e9rver"),
              std::string(255, 'd') + "\\" + toUtf8(std::wstring(256, L'\u00e9')));
    EXPECT_EQ(use, SidTypeAlias);
    EXPECT_EQ(gAsked.mSid, sid.sid());
    EXPECT_STREQ(gAsked.mSystem, L"\\\\S\u00e9rver");
    EXPECT_EQ(gAsked.mNameLength, 257U);
    EXPECT_EQ(gAsked.mDomainLength, 257U);
    EXPECT_EQ(gAsked.mUse, SidTypeUnknown);
    static_cast<void>(sid.accountName());
    EXPECT_FALSE(gAsked.mHasSystem);
}

TEST_F(SecurityAccountTest, ASidWithoutAnAccountIsNotFoundAndItsUseIsReported) {
    const SecurityIdentifier sid(unmapped);
    SID_NAME_USE use = SidTypeUser;
    EXPECT_EQ(sid.accountName(&use), "(not found)");
    EXPECT_EQ(use, SidTypeUnknown);
    EXPECT_EQ(sid.accountName(), "(not found)");
}

TEST_F(SecurityAccountTest, AnotherFailureIsThrownAndReportsNoUse) {
    const RefusedCall<decltype(LookupAccountSidW)> call("LookupAccountSidW", ERROR_ACCESS_DENIED);
    const SecurityIdentifier sid(unmapped);
    SID_NAME_USE use = SidTypeUser;
    expectFailedCall("LookupAccountSidW", ERROR_ACCESS_DENIED,
                     [&] { static_cast<void>(sid.accountName(&use)); });
    EXPECT_EQ(use, SidTypeUser);
}

}  // namespace
