#include "util/windows/security/securityprinting-win.h"

#include <array>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
// Behind windows.h.
#include <aclapi.h>

#include "testing/accountlookup-win.h"
#include "testing/printed.h"
#include "testing/replacedcall-win.h"
#include "util/windows/errortext-win.h"

namespace {

using testing_support::AccountLookup;
using testing_support::printed;
using testing_support::ReplacedCall;

template <class Value>
std::wstring widePrinted(const Value& value) {
    std::wostringstream out;
    out << value;
    return out.str();
}

class SecurityPrintingTest : public testing::Test {
protected:
    AccountLookup mLookup{L"DOMAIN", L"name", SidTypeUser};
    const SecurityIdentifier mEveryone{"S-1-1-0"};
};

TEST_F(SecurityPrintingTest, ASidShowsItsTextAndItsAccount) {
    EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [User DOMAIN\\name]");
    EXPECT_EQ(widePrinted(mEveryone), L"SID S-1-1-0 [User DOMAIN\\name]");
}

TEST_F(SecurityPrintingTest, AnAccountMayHaveAnyCharacters) {
    mLookup.answer(L"", L"\u00e4\u4e00", SidTypeUser);
    EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [User \\\u00e4\u4e00]");
    EXPECT_EQ(widePrinted(mEveryone), L"SID S-1-1-0 [User \\\u00e4\u4e00]");
}

TEST_F(SecurityPrintingTest, ANullOrInvalidSidHasFixedWords) {
    std::array<BYTE, SECURITY_MAX_SID_SIZE> bytes = {99};
    for (const SecurityIdentifier& sid : {SecurityIdentifier(), SecurityIdentifier(bytes.data())}) {
        EXPECT_EQ(printed(sid), "Invalid SID!");
        EXPECT_EQ(widePrinted(sid), L"Invalid SID!");
    }
}

TEST_F(SecurityPrintingTest, EachKindOfAccountHasItsName) {
    const std::vector<std::pair<int, std::string>> kinds = {{0, ""},
                                                            {1, "User"},
                                                            {2, "Group"},
                                                            {3, "Domain"},
                                                            {4, "Alias"},
                                                            {5, "WellKnownGroup"},
                                                            {6, "DeletedAccount"},
                                                            {7, "Invalid"},
                                                            {8, "Unknown"},
                                                            {9, "Computer"},
                                                            {10, ""}};
    for (const auto& [use, name] : kinds) {
        mLookup.answer(L"D", L"n", static_cast<SID_NAME_USE>(use));
        EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [" + name + " D\\n]") << use;
        EXPECT_EQ(widePrinted(mEveryone),
                  L"SID S-1-1-0 [" + std::wstring(name.begin(), name.end()) + L" D\\n]");
    }
}

TEST_F(SecurityPrintingTest, ASidWithoutAnAccountIsSaidToBeNotFound) {
    mLookup.fail(ERROR_NONE_MAPPED);
    EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [Unknown (not found)]");
    EXPECT_EQ(widePrinted(mEveryone), L"SID S-1-1-0 [Unknown (not found)]");
}

TEST_F(SecurityPrintingTest, AFailedLookupShowsTheErrorInPlaceOfTheAccount) {
    mLookup.fail(ERROR_ACCESS_DENIED);
    const std::string words = Win32Exception("LookupAccountSidW", ERROR_ACCESS_DENIED).what();
    EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [Invalid *** " + words + " ***]");
    EXPECT_EQ(widePrinted(mEveryone),
              L"SID S-1-1-0 [Invalid *** " + std::wstring(words.begin(), words.end()) + L" ***]");
}

TEST_F(SecurityPrintingTest, TheTextOfASidIsAskedForBehindTheLookupAndItsFailureIsThrown) {
    static int lookups;
    static int lookupsBefore;
    lookups = 0;
    lookupsBefore = -1;
    mLookup.onCall([] { ++lookups; });
    const ReplacedCall<BOOL WINAPI(PSID, LPWSTR*)> noText("ConvertSidToStringSidW",
                                                          [](PSID, LPWSTR*) -> BOOL {
                                                              lookupsBefore = lookups;
                                                              SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                                                              return FALSE;
                                                          });
    std::ostringstream out;
    try {
        out << mEveryone;
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Win32Exception& failure) {
        EXPECT_EQ(failure.mError, DWORD{ERROR_NOT_ENOUGH_MEMORY});
        EXPECT_EQ(std::string(failure.what()).rfind("ConvertSidToStringSidW: ", 0), 0U);
    }
    EXPECT_EQ(lookupsBefore, 1);
    std::wostringstream wide;
    EXPECT_THROW(wide << mEveryone, Win32Exception);
}

TEST_F(SecurityPrintingTest, AnAceShowsTypeSidMaskAndFlags) {
    EXPECT_EQ(printed(AccessControlEntry::allowed(0x1f01ff, mEveryone,
                                                  OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE)),
              "Access Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x1f01ff [FILE_ALL_ACCESS]"
              " (OI) (CI)");
    EXPECT_EQ(printed(AccessControlEntry::denied(0, mEveryone, 0)),
              "Access Denied SID S-1-1-0 [User DOMAIN\\name]: 0x0 [] (NO_INHERITANCE)");
}

TEST_F(SecurityPrintingTest, ANullAceHasFixedWords) {
    EXPECT_EQ(printed(AccessControlEntry()), "Invalid ACE!");
}

TEST_F(SecurityPrintingTest, EachTypeOfAceHasItsName) {
    const std::array<const char*, 17> names = {"Access Allowed",
                                               "Access Denied",
                                               "System Audit",
                                               "System Alarm",
                                               "Access Allowed Compound",
                                               "Access Allowed Object",
                                               "Access Denied Object",
                                               "System Audit Object",
                                               "System Alarm Object",
                                               "Access Allowed Callback",
                                               "Access Denied Callback",
                                               "Access Allowed Callback Object",
                                               "Access Denied Callback Object",
                                               "System Audit Callback",
                                               "System Alarm Callback",
                                               "System Audit Callback Object",
                                               "System Alarm Callback Object"};
    // Room for an object ACE, with a SID in both places.
    std::array<BYTE, 44 + 12> bytes = {};
    for (const size_t offset : {8, 44}) {
        std::memcpy(bytes.data() + offset, mEveryone.sid(), mEveryone.length());
    }
    const AccessControlEntry view(reinterpret_cast<ACE_HEADER*>(bytes.data()));
    AccessControlEntry ace = view;
    ace.ace()->AceSize = bytes.size();
    for (BYTE type = 0; type < 17; ++type) {
        ace.setType(type);
        const std::string sid = type == 4 ? "Invalid SID!" : "SID S-1-1-0 [User DOMAIN\\name]";
        EXPECT_EQ(printed(ace), names[type] + (" " + sid) + ": 0x0 [] (NO_INHERITANCE)");
    }
    ace.setType(17);
    EXPECT_EQ(printed(ace), "ACE Invalid SID!: 0x0 [] (NO_INHERITANCE)");
}

TEST_F(SecurityPrintingTest, FlagsOfAnAceStandInTheOrderOfTheirBits) {
    const std::vector<std::pair<BYTE, std::string>> rows = {
        {0x01, " (OI)"},
        {0x02, " (CI)"},
        {0x04, " (NP)"},
        {0x08, " (IO)"},
        {0x10, " (IA)"},
        {0x20, ""},
        {0x40, " (SA)"},
        {0x80, " (FA)"},
        {0x00, " (NO_INHERITANCE)"},
        {0xff, " (OI) (CI) (NP) (IO) (IA) (SA) (FA)"}};
    const std::string head = "Access Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x0 []";
    for (const auto& [flags, words] : rows) {
        EXPECT_EQ(printed(AccessControlEntry::allowed(0, mEveryone, flags)), head + words);
    }
}

TEST_F(SecurityPrintingTest, AnAclShowsItsEntriesOnLinesAsThoseOfAPlainFile) {
    AccessControlList acl(2, ACL_REVISION, /*limitSize=*/false);
    EXPECT_EQ(printed(acl), "ACL [\n]");
    acl.addAce(ACL_REVISION, AccessControlList::atEnd, AccessControlEntry::denied(1, mEveryone, 8));
    acl.addAce(ACL_REVISION, AccessControlList::atEnd,
               AccessControlEntry::allowed(2, mEveryone, 0));
    EXPECT_EQ(printed(acl),
              "ACL [\n"
              "\tAccess Denied SID S-1-1-0 [User DOMAIN\\name]: 0x1 [FILE_READ_DATA] (IO)\n"
              "\tAccess Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x2 [FILE_WRITE_DATA]"
              " (NO_INHERITANCE)\n"
              "]");
}

TEST_F(SecurityPrintingTest, ANullOrInvalidAclHasFixedWords) {
    EXPECT_EQ(printed(AccessControlList()), "Null ACL");
    ACL invalid = {};
    EXPECT_EQ(printed(AccessControlList(&invalid)), "Invalid ACL!");
}

TEST_F(SecurityPrintingTest, AnAclThatCannotBeAskedThrows) {
    const AccessControlList acl(1, ACL_REVISION, /*limitSize=*/false);
    const ReplacedCall<BOOL WINAPI(PACL, LPVOID, DWORD, ACL_INFORMATION_CLASS)> noInformation(
        "GetAclInformation", [](PACL, LPVOID, DWORD, ACL_INFORMATION_CLASS) -> BOOL {
            SetLastError(ERROR_INVALID_ACL);
            return FALSE;
        });
    std::ostringstream out;
    try {
        out << acl;
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Win32Exception& failure) {
        EXPECT_EQ(failure.mError, DWORD{ERROR_INVALID_ACL});
        EXPECT_EQ(std::string(failure.what()).rfind("GetAclInformation: ", 0), 0U);
    }
}

TEST_F(SecurityPrintingTest, ATrusteeIsShownByItsForm) {
    wchar_t name[] = L"some\u00e4one";
    OBJECTS_AND_SID withSid = {};
    withSid.pSid = static_cast<SID*>(mEveryone.sid());
    OBJECTS_AND_NAME_W withName = {};
    withName.ptstrName = name;
    const std::vector<std::pair<TRUSTEE_W, std::string>> rows = {
        {{nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_SID, TRUSTEE_IS_USER,
          static_cast<wchar_t*>(mEveryone.sid())},
         "Trustee [User: SID S-1-1-0 [User DOMAIN\\name]]"},
        {{nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_NAME, TRUSTEE_IS_GROUP, name},
         "Trustee [Group: \"some\u00e4one\"]"},
        {{nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_BAD_FORM, TRUSTEE_IS_INVALID, nullptr},
         "Trustee [Invalid: of bad form]"},
        {{nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_OBJECTS_AND_SID, TRUSTEE_IS_UNKNOWN,
          reinterpret_cast<wchar_t*>(&withSid)},
         "Trustee [Unknown: SID S-1-1-0 [User DOMAIN\\name] plus objects]"},
        {{nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_OBJECTS_AND_NAME, TRUSTEE_IS_ALIAS,
          reinterpret_cast<wchar_t*>(&withName)},
         "Trustee [Alias: \"some\u00e4one\" plus objects]"},
        {{nullptr, NO_MULTIPLE_TRUSTEE, static_cast<TRUSTEE_FORM>(5), TRUSTEE_IS_DOMAIN, nullptr},
         "Trustee [Domain: ]"}};
    for (const auto& [raw, words] : rows) {
        EXPECT_EQ(printed(Trustee(raw, /*localCopy=*/false)), words);
    }
}

TEST_F(SecurityPrintingTest, EachTypeOfTrusteeHasItsName) {
    const std::array<const char*, 10> names = {
        "Unknown",          "User",    "Group",   "Domain",   "Alias",
        "Well-Known Group", "Deleted", "Invalid", "Computer", ""};
    TRUSTEE_W raw = {};
    raw.TrusteeForm = TRUSTEE_BAD_FORM;
    for (size_t type = 0; type < names.size(); ++type) {
        raw.TrusteeType = static_cast<TRUSTEE_TYPE>(type);
        EXPECT_EQ(printed(Trustee(raw, /*localCopy=*/false)),
                  std::string("Trustee [") + names[type] + ": of bad form]");
    }
}

TEST_F(SecurityPrintingTest, ExplicitAccessShowsTrusteeModeRightsAndInheritance) {
    EXPECT_EQ(printed(ExplicitAccess("someone", 0x1f01ff, GRANT_ACCESS,
                                     SUB_CONTAINERS_AND_OBJECTS_INHERIT)),
              "ExplicitAccess [for Trustee [Unknown: \"someone\"]:  GRANT_ACCESS "
              "0x1f01ff [FILE_ALL_ACCESS] (OI) (CI)]");
}

TEST_F(SecurityPrintingTest, EachModeOfAccessHasItsName) {
    const std::array<const char*, 8> names = {
        "NOT_USED_ACCESS", "GRANT_ACCESS",      "SET_ACCESS",        "DENY_ACCESS",
        "REVOKE_ACCESS",   "SET_AUDIT_SUCCESS", "SET_AUDIT_FAILURE", ""};
    for (size_t mode = 0; mode < names.size(); ++mode) {
        EXPECT_EQ(printed(ExplicitAccess("x", 0, static_cast<ACCESS_MODE>(mode), NO_INHERITANCE)),
                  std::string("ExplicitAccess [for Trustee [Unknown: \"x\"]:  ") + names[mode] +
                      " 0x0 [] (NO_INHERITANCE)]");
    }
}

}  // namespace
