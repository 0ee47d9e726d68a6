#include "util/windows/security/securityidentifier-win.h"

#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>
#define SECURITY_WIN32
#include <security.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/counts/ownershipcount-win.h"

namespace {

using namespace testing_support;

class SecurityIdentifierTest : public testing_support::OwnershipTest {};

constexpr SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;
constexpr char administrators[] = "S-1-5-32-544";
constexpr char accountText[] = "S-1-5-21-1-2-3-1001";

/// A SID with an unknown revision.
struct InvalidSid {
    SID mSid = {SID_REVISION + 1, 1, ntAuthority, {0}};

    SecurityIdentifier view() { return {&mSid}; }
};

TEST_F(SecurityIdentifierTest, ASidOfTextIsTheOneThatWindowsMakes) {
    const struct {
        const char* mText;
        const char* mFullText;
        WELL_KNOWN_SID_TYPE mType;
    } rows[] = {
        {"S-1-1-0", "S-1-1-0", WinWorldSid},
        {administrators, administrators, WinBuiltinAdministratorsSid},
        {"BA", administrators, WinBuiltinAdministratorsSid},
        {"SY", "S-1-5-18", WinLocalSystemSid},
    };
    for (const auto& row : rows) {
        const SecurityIdentifier sid(row.mText);
        EXPECT_TRUE(sid.isOwner()) << row.mText;
        EXPECT_TRUE(sid.isValid()) << row.mText;
        EXPECT_EQ(sid.text(), row.mFullText);
        EXPECT_TRUE(sid.isWellKnown(row.mType)) << row.mText;
        EXPECT_FALSE(sid.isWellKnown(WinNullSid)) << row.mText;
        const SecurityIdentifier wellKnown(row.mType, /*domain=*/nullptr);
        EXPECT_TRUE(wellKnown.isOwner()) << row.mText;
        EXPECT_EQ(wellKnown, sid) << row.mText;
    }
}

TEST_F(SecurityIdentifierTest, AWellKnownSidCanBeOneOfADomain) {
    const SecurityIdentifier domain("S-1-5-21-1-2-3");
    EXPECT_EQ(SecurityIdentifier(WinAccountAdministratorSid, domain.sid()).text(),
              "S-1-5-21-1-2-3-500");
}

TEST_F(SecurityIdentifierTest, ASidOfSoManySubAuthoritiesHoldsThemAsZerosToBeSet) {
    const SecurityIdentifier sid(ntAuthority, BYTE{2});
    EXPECT_TRUE(sid.isOwner());
    EXPECT_EQ(sid.text(), "S-1-5-0-0");
    SetLastError(NO_ERROR);
    *sid.subAuthority(0) = SECURITY_BUILTIN_DOMAIN_RID;
    *sid.subAuthority(1) = DOMAIN_ALIAS_RID_ADMINS;
    EXPECT_EQ(sid.text(), administrators);
}

TEST_F(SecurityIdentifierTest, AListGivesItsSubAuthoritiesInOrderAndIsEmptiedForThem) {
    std::string text = "S-1-5";
    std::vector<DWORD> values;
    for (DWORD count = 1; count <= 8; ++count) {
        values.push_back(10 * count);
        text += "-" + std::to_string(10 * count);
        std::vector<DWORD> given = values;
        const SecurityIdentifier sid(ntAuthority, std::move(given));
        EXPECT_TRUE(sid.isOwner());
        EXPECT_EQ(sid.text(), text);
        EXPECT_EQ(sid.subAuthorityCount(), count);
        // NOLINTNEXTLINE(bugprone-use-after-move): tests the moved-from state.
        EXPECT_EQ(given.capacity(), 0U);
    }
}

/// The arguments of AllocateAndInitializeSid.
std::vector<DWORD> gAsked;

TEST_F(SecurityIdentifierTest, MissingSubAuthoritiesArePassedAsZeros) {
    const ReplacedCall<decltype(AllocateAndInitializeSid)> call(
        "AllocateAndInitializeSid",
        [](PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD a, DWORD b, DWORD c, DWORD d,
           DWORD e, DWORD f, DWORD g, DWORD h, PSID*) -> WINBOOL {
            gAsked = {authority->Value[5], count, a, b, c, d, e, f, g, h};
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
        });
    EXPECT_THROW(SecurityIdentifier(ntAuthority, {11, 12, 13}), Win32Exception);
    EXPECT_EQ(gAsked, (std::vector<DWORD>{5, 3, 11, 12, 13, 0, 0, 0, 0, 0}));
    gAsked = std::vector<DWORD>();
}

TEST_F(SecurityIdentifierTest, WindowsRefusesAListOfMoreThanEightAndItStaysAsItWas) {
    for (const size_t size : {size_t{9}, size_t{255}, size_t{256}, size_t{257}}) {
        std::vector<DWORD> values(size, 7);
        expectFailedCall("AllocateAndInitializeSid", ERROR_INVALID_SID,
                         [&] { SecurityIdentifier(ntAuthority, std::move(values)); });
        // NOLINTNEXTLINE(bugprone-use-after-move): a failure leaves it unchanged.
        EXPECT_EQ(values, std::vector<DWORD>(size, 7));
    }
}

TEST_F(SecurityIdentifierTest, ItsPartsAreThoseOfTheSid) {
    const SecurityIdentifier sid(accountText);
    EXPECT_EQ(sid.length(), 8U + 5 * sizeof(DWORD));
    EXPECT_EQ(sid.subAuthorityCount(), 5U);
    ASSERT_NE(sid.identifierAuthority(), nullptr);
    EXPECT_EQ(std::memcmp(sid.identifierAuthority(), &ntAuthority, sizeof ntAuthority), 0);
    const DWORD subAuthorities[] = {21, 1, 2, 3, 1001};
    for (DWORD index = 0; index < std::size(subAuthorities); ++index) {
        SetLastError(NO_ERROR);
        ASSERT_NE(sid.subAuthority(index), nullptr);
        EXPECT_EQ(*sid.subAuthority(index), subAuthorities[index]);
    }
}

TEST_F(SecurityIdentifierTest, ANullOrInvalidSidHasNoParts) {
    InvalidSid invalid;
    for (const SecurityIdentifier& sid : {SecurityIdentifier(), invalid.view()}) {
        EXPECT_FALSE(sid.isOwner());
        EXPECT_FALSE(sid.isValid());
        EXPECT_EQ(sid.length(), 0U);
        EXPECT_EQ(sid.identifierAuthority(), nullptr);
        EXPECT_EQ(sid.subAuthorityCount(), 0U);
        SetLastError(ERROR_ACCESS_DENIED);
        EXPECT_EQ(sid.subAuthority(0), nullptr);
    }
}

TEST_F(SecurityIdentifierTest, AnErrorFromBeforeMakesASubAuthorityFail) {
    const SecurityIdentifier sid(administrators);
    // On some systems the real call clears the last error.
    const ReplacedCall<decltype(GetSidSubAuthority)> call(
        "GetSidSubAuthority", [](PSID bytes, DWORD index) -> PDWORD {
            return &static_cast<SID*>(bytes)->SubAuthority[index];
        });
    expectFailedCall("GetSidSubAuthority", ERROR_FILE_NOT_FOUND, [&] {
        SetLastError(ERROR_FILE_NOT_FOUND);
        static_cast<void>(sid.subAuthority(0));
    });
    SetLastError(NO_ERROR);
    EXPECT_EQ(*sid.subAuthority(0), DWORD{SECURITY_BUILTIN_DOMAIN_RID});
}

TEST_F(SecurityIdentifierTest, ASubAuthorityThatWindowsDoesNotFindFails) {
    const SecurityIdentifier sid(administrators);
    const RefusedCall<decltype(GetSidSubAuthority)> call("GetSidSubAuthority", ERROR_INVALID_SID);
    expectFailedCall("GetSidSubAuthority", ERROR_INVALID_SID,
                     [&] { static_cast<void>(sid.subAuthority(5)); });
    expectFailedCall("GetSidSubAuthority", NO_ERROR, [&] {
        const ReplacedCall<decltype(GetSidSubAuthority)> silent(
            "GetSidSubAuthority", [](PSID, DWORD) -> PDWORD { return nullptr; });
        SetLastError(NO_ERROR);
        static_cast<void>(sid.subAuthority(5));
    });
}

TEST_F(SecurityIdentifierTest, SidsAreEqualIfTheirBytesAre) {
    const SecurityIdentifier sid(administrators);
    const SecurityIdentifier same(WinBuiltinAdministratorsSid, nullptr);
    const SecurityIdentifier other("S-1-5-32-545");
    EXPECT_TRUE(sid == same);
    EXPECT_FALSE(sid != same);
    EXPECT_TRUE(sid == SecurityIdentifier(sid.sid()));
    EXPECT_FALSE(sid == other);
    EXPECT_TRUE(sid != other);
}

TEST_F(SecurityIdentifierTest, NullIsEqualOnlyToNullAndWindowsIsNotAsked) {
    const SecurityIdentifier sid(administrators);
    const RefusedCall<decltype(EqualSid)> call("EqualSid", ERROR_INVALID_SID);
    EXPECT_TRUE(SecurityIdentifier() == SecurityIdentifier());
    EXPECT_FALSE(SecurityIdentifier() != SecurityIdentifier());
    EXPECT_FALSE(sid == SecurityIdentifier());
    EXPECT_FALSE(SecurityIdentifier() == sid);
    EXPECT_EQ(call.count(), 0);
}

TEST_F(SecurityIdentifierTest, PrefixesAndDomainsAreComparedWithoutTheLastSubAuthority) {
    const SecurityIdentifier account(accountText);
    const SecurityIdentifier sibling("S-1-5-21-1-2-3-1002");
    const SecurityIdentifier stranger("S-1-5-21-1-2-4-1001");
    EXPECT_TRUE(account.equalPrefix(sibling));
    EXPECT_FALSE(account.equalPrefix(stranger));
    EXPECT_TRUE(account.equalDomain(sibling));
    EXPECT_FALSE(account.equalDomain(stranger));
}

TEST_F(SecurityIdentifierTest, TheDomainOfAnAccountIsAnOwnerOfItsOwn) {
    const SecurityIdentifier domain = SecurityIdentifier(accountText).domainSid();
    EXPECT_TRUE(domain.isOwner());
    EXPECT_EQ(domain.text(), "S-1-5-21-1-2-3");
}

TEST_F(SecurityIdentifierTest, AnInvalidSidHasNoText) {
    InvalidSid invalid;
    expectFailedCall("ConvertSidToStringSidW", ERROR_INVALID_SID,
                     [&] { static_cast<void>(invalid.view().text()); });
}

BOOL fillSid(PSID sid, DWORD* size) {
    EXPECT_EQ(*size, DWORD{SECURITY_MAX_SID_SIZE});
    // The longest possible SID, up to its last byte.
    std::memset(sid, 0xff, SECURITY_MAX_SID_SIZE);
    static_cast<SID*>(sid)->Revision = SID_REVISION;
    static_cast<SID*>(sid)->SubAuthorityCount = SID_MAX_SUB_AUTHORITIES;
    return TRUE;
}

TEST_F(SecurityIdentifierTest, AnySidFitsInWhatWindowsIsGiven) {
    const ReplacedCall<decltype(CreateWellKnownSid)> known(
        "CreateWellKnownSid",
        [](WELL_KNOWN_SID_TYPE, PSID, PSID sid, DWORD* size) { return fillSid(sid, size); });
    const ReplacedCall<decltype(GetWindowsAccountDomainSid)> domain(
        "GetWindowsAccountDomainSid",
        [](PSID, PSID sid, DWORD* size) { return fillSid(sid, size); });
    const SecurityIdentifier longest(WinWorldSid, nullptr);
    EXPECT_EQ(longest.length(), DWORD{SECURITY_MAX_SID_SIZE});
    EXPECT_EQ(longest.domainSid().length(), DWORD{SECURITY_MAX_SID_SIZE});
}

}  // namespace
