#include "util/windows/security/securityprinting-win.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>

#include "testing/calls/accountlookup-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/printed.h"
#include "util/accessrights.h"
#include "util/platform/errortext-win.h"

namespace {

using namespace testing_support;

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

TEST_F(SecurityPrintingTest, ANullOrInvalidSidHasAFixedText) {
    std::array<BYTE, SECURITY_MAX_SID_SIZE> bytes = {99};
    for (const SecurityIdentifier& sid : {SecurityIdentifier(), SecurityIdentifier(bytes.data())}) {
        EXPECT_EQ(printed(sid), "Invalid SID!");
        EXPECT_EQ(widePrinted(sid), L"Invalid SID!");
    }
}

TEST_F(SecurityPrintingTest, TheKindOfAccountIsNamedIfItHasAName) {
    mLookup.answer(L"D", L"n", SidTypeWellKnownGroup);
    EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [WellKnownGroup D\\n]");
    EXPECT_EQ(widePrinted(mEveryone), L"SID S-1-1-0 [WellKnownGroup D\\n]");
    mLookup.answer(L"D", L"n", static_cast<SID_NAME_USE>(0));
    EXPECT_EQ(printed(mEveryone), "SID S-1-1-0 [ D\\n]");
    EXPECT_EQ(widePrinted(mEveryone), L"SID S-1-1-0 [ D\\n]");
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

TEST_F(SecurityPrintingTest, TheTextOfASidIsAskedForAfterTheLookupAndItsFailureIsThrown) {
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
    expectFailedCall("ConvertSidToStringSidW", ERROR_NOT_ENOUGH_MEMORY,
                     [this] { printed(mEveryone); });
    EXPECT_EQ(lookupsBefore, 1);
    expectFailedCall("ConvertSidToStringSidW", ERROR_NOT_ENOUGH_MEMORY,
                     [this] { widePrinted(mEveryone); });
}

TEST_F(SecurityPrintingTest, AnAceShowsTypeSidMaskAndFlags) {
    EXPECT_EQ(printed(AccessControlEntry::allowed(FILE_ALL_ACCESS, mEveryone,
                                                  OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE)),
              "Access Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x1f01ff [FILE_ALL_ACCESS]"
              " (OI) (CI)");
    EXPECT_EQ(printed(AccessControlEntry::denied(0, mEveryone, 0)),
              "Access Denied SID S-1-1-0 [User DOMAIN\\name]: 0x0 [] (NO_INHERITANCE)");
}

TEST_F(SecurityPrintingTest, ANullAceHasAFixedText) {
    EXPECT_EQ(printed(AccessControlEntry()), "Invalid ACE!");
}

TEST_F(SecurityPrintingTest, EachTypeOfAceIsNamedAndHasItsSid) {
    // Large enough for an object ACE, with a SID at both offsets.
    std::array<BYTE, 44 + 12> bytes = {};
    for (const size_t offset : {8, 44}) {
        std::memcpy(bytes.data() + offset, mEveryone.sid(), mEveryone.length());
    }
    AccessControlEntry ace(reinterpret_cast<ACE_HEADER*>(bytes.data()));
    for (const int type : {0, 1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}) {
        ace.setType(static_cast<BYTE>(type));
        EXPECT_EQ(printed(ace),
                  aceTypeName(static_cast<BYTE>(type)) +
                      std::string(" SID S-1-1-0 [User DOMAIN\\name]: 0x0 [] (NO_INHERITANCE)"));
    }
    ace.setType(ACCESS_ALLOWED_COMPOUND_ACE_TYPE);
    EXPECT_EQ(printed(ace), "Access Allowed Compound Invalid SID!: 0x0 [] (NO_INHERITANCE)");
    ace.setType(17);
    EXPECT_EQ(printed(ace), "ACE Invalid SID!: 0x0 [] (NO_INHERITANCE)");
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

TEST_F(SecurityPrintingTest, ANullOrInvalidAclHasAFixedText) {
    EXPECT_EQ(printed(AccessControlList()), "Null ACL");
    ACL invalid = {};
    EXPECT_EQ(printed(AccessControlList(&invalid)), "Invalid ACL!");
}

TEST_F(SecurityPrintingTest, AnAclThatCannotBeAskedThrows) {
    const AccessControlList acl(1, ACL_REVISION, /*limitSize=*/false);
    const RefusedCall<decltype(GetAclInformation)> refused("GetAclInformation", ERROR_INVALID_ACL);
    expectFailedCall("GetAclInformation", ERROR_INVALID_ACL, [&] { printed(acl); });
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

TEST_F(SecurityPrintingTest, ATrusteeOfATypeWithoutANameIsShownWithoutIt) {
    TRUSTEE_W raw = {};
    raw.TrusteeForm = TRUSTEE_BAD_FORM;
    raw.TrusteeType = static_cast<TRUSTEE_TYPE>(9);
    EXPECT_EQ(printed(Trustee(raw, /*localCopy=*/false)), "Trustee [: of bad form]");
}

/// Prints the value with a width of 25.
template <class Value>
std::string printedWide(const Value& value) {
    std::ostringstream out;
    out << std::setfill('.') << std::setw(25) << value;
    EXPECT_EQ(out.width(), 0);
    return out.str();
}

TEST_F(SecurityPrintingTest, AWidthGoesOnlyToTheBeginningOfAnObject) {
    const AccessControlEntry ace = AccessControlEntry::allowed(1, mEveryone, 0);
    const std::string rest =
        "SID S-1-1-0 [User DOMAIN\\name]: 0x1 [FILE_READ_DATA] (NO_INHERITANCE)";
    EXPECT_EQ(printedWide(mEveryone), std::string(21, '.') + "SID S-1-1-0 [User DOMAIN\\name]");
    EXPECT_EQ(printedWide(ace), std::string(11, '.') + "Access Allowed " + rest);
    AccessControlList acl(1, ACL_REVISION, /*limitSize=*/false);
    acl.addAce(ACL_REVISION, AccessControlList::atEnd, ace);
    EXPECT_EQ(printedWide(acl), std::string(19, '.') + "ACL [\n\tAccess Allowed " + rest + "\n]");
    EXPECT_EQ(printedWide(Trustee("x")), std::string(16, '.') + "Trustee [Unknown: \"x\"]");
    EXPECT_EQ(printedWide(ExplicitAccess("x", 0, GRANT_ACCESS, NO_INHERITANCE)),
              ".....ExplicitAccess [for Trustee [Unknown: \"x\"]:  GRANT_ACCESS 0x0 [] "
              "(NO_INHERITANCE)]");
    std::wostringstream out;
    out << std::setfill(L'.') << std::setw(5) << mEveryone;
    EXPECT_EQ(out.str(), L".SID S-1-1-0 [User DOMAIN\\name]");
}

TEST_F(SecurityPrintingTest, AWidthGoesToTheWholeOfTheTextForWhatIsNullOrInvalid) {
    ACL invalid = {};
    EXPECT_EQ(printedWide(SecurityIdentifier()), std::string(13, '.') + "Invalid SID!");
    EXPECT_EQ(printedWide(AccessControlEntry()), std::string(13, '.') + "Invalid ACE!");
    EXPECT_EQ(printedWide(AccessControlList()), std::string(17, '.') + "Null ACL");
    EXPECT_EQ(printedWide(AccessControlList(&invalid)), std::string(13, '.') + "Invalid ACL!");
}

TEST_F(SecurityPrintingTest, ExplicitAccessShowsTrusteeModeRightsAndInheritance) {
    EXPECT_EQ(printed(ExplicitAccess("someone", FILE_ALL_ACCESS, GRANT_ACCESS,
                                     SUB_CONTAINERS_AND_OBJECTS_INHERIT)),
              "ExplicitAccess [for Trustee [Unknown: \"someone\"]:  GRANT_ACCESS "
              "0x1f01ff [FILE_ALL_ACCESS] (OI) (CI)]");
}

TEST_F(SecurityPrintingTest, AModeOfAccessWithoutANameIsLeftOut) {
    EXPECT_EQ(printed(ExplicitAccess("x", 0, static_cast<ACCESS_MODE>(7), NO_INHERITANCE)),
              "ExplicitAccess [for Trustee [Unknown: \"x\"]:   0x0 [] (NO_INHERITANCE)]");
}

/// Widens every character to the next one.
class NextCharacter : public std::codecvt<wchar_t, char, std::mbstate_t> {
protected:
    result do_in(state_type&, const char* from, const char* fromEnd, const char*& fromNext,
                 wchar_t* to, wchar_t* toEnd, wchar_t*& toNext) const override {
        for (; from != fromEnd && to != toEnd; ++from, ++to) {
            *to = static_cast<wchar_t>(*from + 1);
        }
        fromNext = from;
        toNext = to;
        return ok;
    }
};

std::wstring next(std::wstring text) {
    for (wchar_t& c : text) {
        ++c;
    }
    return text;
}

TEST_F(SecurityPrintingTest, NamesAndFailuresAreWidenedByTheFacetOfTheStream) {
    std::wostringstream out;
    out.imbue(std::locale(std::locale::classic(), new NextCharacter));
    out << mEveryone;
    EXPECT_EQ(out.str(), L"SID S-1-1-0 [" + next(L"User") + L" DOMAIN\\name]");
    out.str({});
    mLookup.fail(ERROR_ACCESS_DENIED);
    const std::string words = Win32Exception("LookupAccountSidW", ERROR_ACCESS_DENIED).what();
    out << mEveryone;
    EXPECT_EQ(out.str(), L"SID S-1-1-0 [" + next(L"Invalid") + L" *** " +
                             next({words.begin(), words.end()}) + L" ***]");
}

}  // namespace
