#include <cctype>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/accountlookup-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/printed.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/security/securityprinting-win.h"

namespace {

using namespace testing_support;

/// The text for a SID with the account that AccountLookup returns here.
std::string sidWords(const std::string& sid) { return "SID " + sid + " [User DOMAIN\\name]"; }

/// Gives every object and every file the security of an SDDL text, until the scope ends.
class SecurityOfObjects {
public:
    SecurityOfObjects(const char* sddl, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
        sSddl = toWide(sddl);
        sAttributes = attributes;
    }

private:
    template <class Name>
    static DWORD WINAPI security(Name, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID* owner,
                                 PSID* group, PACL* dacl, PACL* sacl,
                                 PSECURITY_DESCRIPTOR* descriptor) {
        BOOL flag = FALSE;
        ConvertStringSecurityDescriptorToSecurityDescriptorW(sSddl.c_str(), SDDL_REVISION_1,
                                                             descriptor, nullptr);
        GetSecurityDescriptorOwner(*descriptor, owner, &flag);
        GetSecurityDescriptorGroup(*descriptor, group, &flag);
        GetSecurityDescriptorDacl(*descriptor, &flag, dacl, &flag);
        if (sacl != nullptr) {
            GetSecurityDescriptorSacl(*descriptor, &flag, sacl, &flag);
        }
        return ERROR_SUCCESS;
    }

    static inline std::wstring sSddl;
    static inline DWORD sAttributes;
    ReplacedCall<decltype(GetNamedSecurityInfoW)> mSecurity{"GetNamedSecurityInfoW",
                                                            &security<LPCWSTR>};
    ReplacedCall<decltype(GetSecurityInfo)> mOpenSecurity{"GetSecurityInfo", &security<HANDLE>};
    ReplacedCall<decltype(GetFileAttributesW)> mAttributes{
        "GetFileAttributesW", [](LPCWSTR) -> DWORD { return sAttributes; }};
};

class DescriptorPrintingTest : public testing::Test {
protected:
    AccountLookup mLookup{L"DOMAIN", L"name", SidTypeUser};
};

TEST_F(DescriptorPrintingTest, AWidthGoesToTheBeginningOfADescriptorOrToTheTextForNone) {
    std::ostringstream out;
    out << std::setfill('.') << std::setw(14) << SecurityDescriptor("O:SY", SDDL_REVISION_1);
    EXPECT_EQ(out.str(), "...SD [Flags:  SE_SELF_RELATIVE]\n\tOwner = " + sidWords("S-1-5-18") +
                             "\n\tGroup = Invalid SID!");
    out.str({});
    out << std::setw(25) << SecurityDescriptor(PSECURITY_DESCRIPTOR{nullptr});
    EXPECT_EQ(out.str(), "..Null SecurityDescriptor");
}

TEST_F(DescriptorPrintingTest, ADescriptorShowsFlagsOwnerGroupAndLists) {
    const SecurityDescriptor security(
        "O:S-1-5-32-544G:S-1-5-18D:P(A;OICI;GA;;;S-1-1-0)(D;;0x3;;;S-1-5-7)"
        "S:(AU;SAFA;GR;;;S-1-1-0)",
        SDDL_REVISION_1);
    EXPECT_EQ(printed(security),
              "SD [Flags:  SE_DACL_PRESENT SE_SACL_PRESENT SE_DACL_PROTECTED SE_SELF_RELATIVE]\n"
              "\tOwner = SID S-1-5-32-544 [User DOMAIN\\name]\n"
              "\tGroup = SID S-1-5-18 [User DOMAIN\\name]\n"
              "\tDACL = ACL [\n"
              "\tAccess Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x10000000 [GENERIC_ALL]"
              " (OI) (CI)\n"
              "\tAccess Denied SID S-1-5-7 [User DOMAIN\\name]: 0x3 [0x3] (NO_INHERITANCE)\n"
              "]\n"
              "\tSACL = ACL [\n"
              "\tSystem Audit SID S-1-1-0 [User DOMAIN\\name]: 0x80000000 [GENERIC_READ]"
              " (SA) (FA)\n"
              "]");
}

TEST_F(DescriptorPrintingTest, PartsThatAreNotThereAreSaidOrLeftOut) {
    EXPECT_EQ(printed(SecurityDescriptor()),
              "SD [Flags: ]\n\tOwner = Invalid SID!\n\tGroup = Invalid SID!");
    SecurityDescriptor nullDacl("O:S-1-1-0", SDDL_REVISION_1);
    nullDacl.makeAbsolute();
    ASSERT_TRUE(SetSecurityDescriptorDacl(nullDacl.descriptor(), TRUE, nullptr, FALSE));
    EXPECT_EQ(printed(nullDacl), "SD [Flags:  SE_DACL_PRESENT]\n\tOwner = " + sidWords("S-1-1-0") +
                                     "\n\tGroup = Invalid SID!\n\tDACL = Null ACL");
}

TEST_F(DescriptorPrintingTest, ANullOrInvalidDescriptorHasAFixedText) {
    EXPECT_EQ(printed(SecurityDescriptor(PSECURITY_DESCRIPTOR{nullptr})),
              "Null SecurityDescriptor");
    const SecurityDescriptor invalid;
    static_cast<SECURITY_DESCRIPTOR*>(invalid.descriptor())->Revision = 99;
    EXPECT_EQ(printed(invalid), "Invalid SecurityDescriptor!");
}

TEST_F(DescriptorPrintingTest, AFailureToReadTheControlIsThrown) {
    const SecurityDescriptor security;
    const RefusedCall<decltype(GetSecurityDescriptorControl)> refused(
        "GetSecurityDescriptorControl", ERROR_INVALID_SECURITY_DESCR);
    expectFailedCall("GetSecurityDescriptorControl", ERROR_INVALID_SECURITY_DESCR,
                     [&] { printed(security); });
}

/// Returns the rights that are printed for a descriptor's only entry.
std::string shownRights(const SecurityDescriptor& security) {
    const std::string text = printed(security);
    const size_t begin = text.find(": 0x") + 2;
    return text.substr(begin, text.find(']', begin) + 1 - begin);
}

TEST_F(DescriptorPrintingTest, RightsAreNamedForTheKindOfObject) {
    struct Row {
        SE_OBJECT_TYPE type;
        DWORD attributes;
        const char* words;
    };
    const Row rows[] = {{SE_FILE_OBJECT, FILE_ATTRIBUTE_NORMAL, "0x1 [FILE_READ_DATA]"},
                        {SE_FILE_OBJECT, FILE_ATTRIBUTE_DIRECTORY, "0x1 [FILE_LIST_DIRECTORY]"},
                        {SE_REGISTRY_KEY, 0, "0x1 [KEY_QUERY_VALUE]"},
                        {SE_KERNEL_OBJECT, 0, "0x1 [PROCESS_TERMINATE]"},
                        {SE_WINDOW_OBJECT, 0, "0x1 [WINSTA_ENUMDESKTOPS]"},
                        {SE_SERVICE, 0, "0x1 [0x1]"},
                        {SE_UNKNOWN_OBJECT_TYPE, 0, "0x1 [0x1]"}};
    for (const Row& row : rows) {
        const SecurityOfObjects security("D:(A;;0x1;;;S-1-1-0)", row.attributes);
        EXPECT_EQ(shownRights(SecurityDescriptor("c:/some", row.type, /*withSacl=*/false)),
                  row.words)
            << row.type;
    }
}

TEST_F(DescriptorPrintingTest, TheSaclIsNamedForTheKindOfObjectToo) {
    const SecurityOfObjects security("S:(AU;SA;0x1;;;S-1-1-0)", FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(shownRights(SecurityDescriptor("c:/some", SE_FILE_OBJECT, /*withSacl=*/true)),
              "0x1 [FILE_LIST_DIRECTORY]");
}

const char* const fileWords =
    "Access Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x1 [FILE_READ_DATA] (NO_INHERITANCE)";
const char* const keyWords =
    "Access Allowed SID S-1-1-0 [User DOMAIN\\name]: 0x1 [KEY_QUERY_VALUE] (NO_INHERITANCE)";

class PrintingContextTest : public DescriptorPrintingTest {
protected:
    const SecurityOfObjects mSecurity{"D:(A;;0x1;;;S-1-1-0)"};
    const SecurityDescriptor mKey{"key", SE_REGISTRY_KEY, /*withSacl=*/false};
    const AccessControlEntry mEntry =
        AccessControlEntry::allowed(1, SecurityIdentifier("S-1-1-0"), 0);
    std::ostringstream mOut;
};

TEST_F(PrintingContextTest, TheKindOfObjectLeavesTheStreamWithTheDescriptor) {
    mOut << mKey;
    EXPECT_NE(mOut.str().find(keyWords), std::string::npos);
    mOut.str({});
    mOut << mEntry;
    EXPECT_EQ(mOut.str(), fileWords);
}

TEST_F(PrintingContextTest, TheKindOfObjectStaysOnTheStreamAfterAFailure) {
    {
        const RefusedCall<decltype(GetAce)> noAce("GetAce", ERROR_INVALID_PARAMETER);
        expectFailedCall("GetAce", ERROR_INVALID_PARAMETER, [this] { mOut << mKey; });
    }
    mOut.str({});
    mOut << mEntry;
    EXPECT_EQ(mOut.str(), keyWords);
    std::ostringstream other;
    other << mEntry;
    EXPECT_EQ(other.str(), fileWords);
}

/// Random texts of descriptors, and how they must be printed.
class RandomDescriptor {
public:
    explicit RandomDescriptor(uint32_t seed) : mRandom(seed) {
        std::string flags;
        std::string lists;
        addPart("O:", "Owner", lists);
        addPart("G:", "Group", lists);
        if (pick(4) != 0) {
            flags += " SE_DACL_PRESENT";
            addList("D:", "\n\tDACL = ", daclTypes, lists);
        }
        if (pick(2) != 0) {
            flags += " SE_SACL_PRESENT";
            addList("S:", "\n\tSACL = ", saclTypes, lists);
        }
        mDump = "SD [Flags: " + flags + " SE_SELF_RELATIVE]" + lists;
    }
    const std::string& sddl() const { return mSddl; }
    const std::string& dump() const { return mDump; }
    uint32_t pick(uint32_t count) { return static_cast<uint32_t>(mRandom() % count); }

private:
    using Names = std::vector<std::pair<std::string, std::string>>;
    static inline const Names daclTypes = {{"A", "Access Allowed"}, {"D", "Access Denied"}};
    static inline const Names saclTypes = {{"AU", "System Audit"}};
    static inline const Names flagsPart = {
        {"OI", " (OI)"}, {"CI", " (CI)"}, {"NP", " (NP)"}, {"IO", " (IO)"}, {"ID", " (IA)"}};
    static inline const Names rightsPart = {{"0x10000", "DELETE"},
                                            {"0x20000", "READ_CONTROL"},
                                            {"0x1f0000", "STANDARD_RIGHTS_ALL"},
                                            {"0x80000000", "GENERIC_READ"},
                                            {"0x10000001", "GENERIC_ALL 0x1"},
                                            {"0x55", "0x55"}};

    std::string sid() { return "S-1-5-21-" + std::to_string(mRandom()); }
    void addPart(const char* key, const char* name, std::string& lists) {
        const std::string account = sid();
        mSddl += key + account;
        lists += std::string("\n\t") + name + " = " + sidWords(account);
    }
    void addList(const char* key, const char* head, const Names& types, std::string& lists) {
        mSddl += key;
        lists += std::string(head) + "ACL [\n";
        for (uint32_t count = pick(5); count > 0; --count) {
            const auto& [type, typeName] = types[pick(static_cast<uint32_t>(types.size()))];
            const auto& [rights, rightsName] =
                rightsPart[pick(static_cast<uint32_t>(rightsPart.size()))];
            const std::string account = sid();
            std::string flags;
            std::string flagNames;
            for (const auto& [flag, name] : flagsPart) {
                if (pick(2) != 0) {
                    flags += flag;
                    flagNames += name;
                }
            }
            mSddl.append("(").append(type).append(";").append(flags).append(";");
            mSddl.append(rights).append(";;;").append(account).append(")");
            lists.append("\t").append(typeName).append(" ").append(sidWords(account));
            lists.append(": ").append(rights).append(" [").append(rightsName).append("]");
            lists.append(flagNames.empty() ? " (NO_INHERITANCE)" : flagNames).append("\n");
        }
        lists += "]";
    }

    std::mt19937 mRandom;
    std::string mSddl;
    std::string mDump;
};

TEST_F(DescriptorPrintingTest, DescriptorsOfAnyTextAreShownAsTheTextSays) {
    for (uint32_t seed = 0; seed < 500; ++seed) {
        const RandomDescriptor random(seed);
        EXPECT_EQ(printed(SecurityDescriptor(random.sddl().c_str(), SDDL_REVISION_1)),
                  random.dump())
            << random.sddl();
    }
}

TEST_F(DescriptorPrintingTest, GarbledTextsAreRefusedOrShown) {
    size_t refused = 0;
    size_t shown = 0;
    for (uint32_t seed = 0; seed < 2000; ++seed) {
        RandomDescriptor random(seed);
        std::string text = random.sddl();
        for (uint32_t count = 1 + random.pick(3); count > 0; --count) {
            const char garbage = "SDOGA:;()-19xXI\x80"[random.pick(16)];
            char& place = text[random.pick(static_cast<uint32_t>(text.size()))];
            // Wine reads on endlessly if a list doesn't begin with a bracket.
            if (place != ':' && place != '(' && garbage != ':') {
                place = garbage;
            }
        }
        try {
            const std::string dump = printed(SecurityDescriptor(text.c_str(), SDDL_REVISION_1));
            EXPECT_EQ(dump.rfind("SD [Flags: ", 0), 0U) << text;
            ++shown;
        } catch (const Win32Exception& failure) {
            EXPECT_EQ(std::string(failure.what())
                          .rfind("ConvertStringSecurityDescriptorToSecurityDescriptorW: ", 0),
                      0U)
                << text;
            ++refused;
        }
    }
    EXPECT_GT(refused, 100U);
    EXPECT_GT(shown, 100U);
}

TEST_F(PrintingContextTest, ExplicitAccessIsNamedForTheKindOfObjectOnTheStream) {
    const RefusedCall<decltype(GetAce)> noAce("GetAce", ERROR_INVALID_PARAMETER);
    EXPECT_THROW(mOut << mKey, Win32Exception);
    mOut.str({});
    mOut << ExplicitAccess("x", 1, GRANT_ACCESS, NO_INHERITANCE);
    EXPECT_EQ(mOut.str(),
              "ExplicitAccess [for Trustee [Unknown: \"x\"]:  GRANT_ACCESS 0x1 "
              "[KEY_QUERY_VALUE] (NO_INHERITANCE)]");
}

TEST_F(DescriptorPrintingTest, RightsAreNamedForAPipe) {
    const SecurityOfObjects security("D:(A;;0x4;;;S-1-1-0)");
    const ReplacedCall<decltype(GetFileType)> pipe("GetFileType",
                                                   [](HANDLE) -> DWORD { return FILE_TYPE_PIPE; });
    EXPECT_EQ(shownRights(SecurityDescriptor(HANDLE{nullptr}, SE_FILE_OBJECT, /*withSacl=*/false)),
              "0x4 [FILE_CREATE_PIPE_INSTANCE]");
}

}  // namespace
