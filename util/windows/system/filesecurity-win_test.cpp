// The security that files and directories get from others.

#include "util/windows/system/filesecurity-win.h"

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

constexpr SECURITY_INFORMATION ownerGroupDacl =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

// Types and flags of ACEs.
constexpr BYTE allowed = ACCESS_ALLOWED_ACE_TYPE;
constexpr BYTE denied = ACCESS_DENIED_ACE_TYPE;
constexpr BYTE oi = OBJECT_INHERIT_ACE;
constexpr BYTE ci = CONTAINER_INHERIT_ACE;
constexpr BYTE id = INHERITED_ACE;

/// Gives sources and parents a descriptor of the test, and records what is written.
class TakenSecurityTest : public SecurityTest {
protected:
    struct Entry {
        BYTE type, flags;
        ACCESS_MASK mask;
        std::string sid;

        bool operator==(const Entry&) const = default;
    };
    struct Call {
        std::wstring name;
        SE_OBJECT_TYPE type;
        SECURITY_INFORMATION bits;
    };
    struct Written : Call {
        std::string owner, group;
        bool hasDacl, hasSacl;
        std::vector<Entry> entries;
    };

    struct Taken {
        std::wstring given = L"O:BAG:SYD:(A;OICI;FA;;;WD)";  ///< the text of the descriptor
        Call read;
        Written written;
        int controls = 0;  ///< how often the control was set
        std::string error;
    };

    TakenSecurityTest() { sOriginalControl = mControl.original(); }
    void SetUp() override {
        SecurityTest::SetUp();
        sTaken = std::make_unique<Taken>();
    }
    void TearDown() override {
        sTaken.reset();
        SecurityTest::TearDown();
    }

    /// Expects a failure with this number and the message for this call.
    void expectFailed(bool succeeded, const char* word, DWORD error) {
        EXPECT_EQ(GetLastError(), error) << word;
        EXPECT_FALSE(succeeded) << word;
        EXPECT_EQ(sTaken->error, win32ErrorText(word, static_cast<int>(error)));
    }

    static inline std::unique_ptr<Taken> sTaken;
    const TempFolder mFolder;
    const std::string mFile = mFolder.write("file", "text");

private:
    static DWORD WINAPI read(LPCWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION bits,
                             PSID* owner, PSID* group, PACL* dacl, PACL*,
                             PSECURITY_DESCRIPTOR* given) {
        sTaken->read = {name, type, bits};
        ConvertStringSecurityDescriptorToSecurityDescriptorW(sTaken->given.c_str(), SDDL_REVISION_1,
                                                             given, nullptr);
        BOOL ignored = FALSE;
        GetSecurityDescriptorOwner(*given, owner, &ignored);
        GetSecurityDescriptorGroup(*given, group, &ignored);
        GetSecurityDescriptorDacl(*given, &ignored, dacl, &ignored);
        return ERROR_SUCCESS;
    }
    // NOLINTNEXTLINE(readability-non-const-parameter): the signature of Windows
    static DWORD WINAPI write(LPWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION bits,
                              PSID owner, PSID group, PACL dacl, PACL sacl) {
        const auto text = [](PSID sid) {
            return sid != nullptr ? SecurityIdentifier(sid).text() : std::string();
        };
        sTaken->written = {{name, type, bits}, text(owner),     text(group),
                           dacl != nullptr,    sacl != nullptr, {}};
        const AccessControlList acl(dacl);
        for (DWORD index = 0; acl.isValid() && index < acl.aceCount(); ++index) {
            const AccessControlEntry ace = acl.ace(index);
            sTaken->written.entries.push_back(
                {ace.type(), ace.flags(), ace.mask(), text(ace.sid().sid())});
        }
        return ERROR_SUCCESS;
    }
    static BOOL WINAPI control(PSECURITY_DESCRIPTOR descriptor, SECURITY_DESCRIPTOR_CONTROL mask,
                               SECURITY_DESCRIPTOR_CONTROL values) {
        EXPECT_EQ(mask, SE_DACL_PROTECTED);
        EXPECT_EQ(values, SE_DACL_PROTECTED);
        ++sTaken->controls;
        return sOriginalControl(descriptor, mask, values);
    }

    static inline decltype(SetSecurityDescriptorControl)* sOriginalControl = nullptr;
    ReplacedCall<decltype(GetNamedSecurityInfoW)> mRead{"GetNamedSecurityInfoW", read};
    ReplacedCall<decltype(SetNamedSecurityInfoW)> mWrite{"SetNamedSecurityInfoW", write};
    ReplacedCall<decltype(SetSecurityDescriptorControl)> mControl{"SetSecurityDescriptorControl",
                                                                  control};
};

using CopySecurityTest = TakenSecurityTest;

TEST_F(CopySecurityTest, OwnerGroupAndDaclOfTheSourceGoToTheTarget) {
    EXPECT_TRUE(copySecurity("c:/source", "c:/target", /*protect=*/false, &sTaken->error));
    EXPECT_EQ(sTaken->read.name, L"\\\\?\\c:\\source");
    EXPECT_EQ(sTaken->read.type, SE_FILE_OBJECT);
    EXPECT_EQ(sTaken->read.bits, ownerGroupDacl);
    EXPECT_EQ(sTaken->written.name, L"\\\\?\\c:\\target");
    EXPECT_EQ(sTaken->written.type, SE_FILE_OBJECT);
    EXPECT_EQ(sTaken->written.bits, ownerGroupDacl);
    EXPECT_EQ(sTaken->written.owner, "S-1-5-32-544");
    EXPECT_EQ(sTaken->written.group, "S-1-5-18");
    EXPECT_EQ(sTaken->written.entries,
              (std::vector<Entry>{{allowed, oi | ci, FILE_ALL_ACCESS, "S-1-1-0"}}));
    EXPECT_FALSE(sTaken->written.hasSacl);
    EXPECT_EQ(sTaken->controls, 0);
    EXPECT_EQ(sTaken->error, "");
}

TEST_F(CopySecurityTest, OnlyWhatTheSourceHasGoesToTheTarget) {
    struct Row {
        const wchar_t* text;
        SECURITY_INFORMATION bits;
    };
    for (const Row& row :
         {Row{L"O:BA", OWNER_SECURITY_INFORMATION}, Row{L"G:BA", GROUP_SECURITY_INFORMATION},
          Row{L"D:(A;;FA;;;WD)", DACL_SECURITY_INFORMATION}}) {
        sTaken->given = row.text;
        EXPECT_TRUE(copySecurity("c:/source", "c:/target", /*protect=*/false));
        EXPECT_EQ(sTaken->written.bits, row.bits);
        EXPECT_TRUE(copySecurity("c:/source", "c:/target", /*protect=*/true));
        EXPECT_EQ(sTaken->written.bits, PROTECTED_DACL_SECURITY_INFORMATION | row.bits);
    }
}

TEST_F(CopySecurityTest, AProtectedDaclIsMarkedAndSetAsSuch) {
    EXPECT_TRUE(copySecurity("c:/source", "c:/target", /*protect=*/true, &sTaken->error));
    EXPECT_EQ(sTaken->controls, 1);
    EXPECT_EQ(sTaken->written.bits, PROTECTED_DACL_SECURITY_INFORMATION | ownerGroupDacl);
}

TEST_F(CopySecurityTest, EachCallThatFailsIsReportedByItsMessageAndItsNumber) {
    const auto copy = [&] { return copySecurity("c:/source", "c:/target", true, &sTaken->error); };
    {
        const RefusedCall<decltype(GetNamedSecurityInfoW)> call("GetNamedSecurityInfoW",
                                                                ERROR_BAD_NETPATH);
        expectFailed(copy(), "GetNamedSecurityInfoW", ERROR_BAD_NETPATH);
    }
    {
        const RefusedCall<decltype(SetSecurityDescriptorControl)> call(
            "SetSecurityDescriptorControl", ERROR_INVALID_SECURITY_DESCR);
        expectFailed(copy(), "SetSecurityDescriptorControl", ERROR_INVALID_SECURITY_DESCR);
    }
    const RefusedCall<decltype(SetNamedSecurityInfoW)> call("SetNamedSecurityInfoW",
                                                            ERROR_INVALID_OWNER);
    expectFailed(copy(), "SetNamedSecurityInfo", ERROR_INVALID_OWNER);
    SetLastError(NO_ERROR);
    EXPECT_FALSE(copySecurity("c:/source", "c:/target", /*protect=*/false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_OWNER});
}

using InheritSecurityTest = TakenSecurityTest;

TEST_F(InheritSecurityTest, OwnerAndGroupOfTheParentGoToTheChildWithADacl) {
    EXPECT_TRUE(inheritSecurity("c:/parent", mFile, &sTaken->error));
    EXPECT_EQ(sTaken->read.name, L"\\\\?\\c:\\parent");
    EXPECT_EQ(sTaken->read.type, SE_FILE_OBJECT);
    EXPECT_EQ(sTaken->read.bits, ownerGroupDacl);
    EXPECT_EQ(sTaken->written.name, System::unicodePath(mFile));
    EXPECT_EQ(sTaken->written.type, SE_FILE_OBJECT);
    EXPECT_EQ(sTaken->written.bits, ownerGroupDacl);
    EXPECT_EQ(sTaken->written.owner, "S-1-5-32-544");
    EXPECT_EQ(sTaken->written.group, "S-1-5-18");
    EXPECT_TRUE(sTaken->written.hasDacl);
    EXPECT_FALSE(sTaken->written.hasSacl);
    EXPECT_EQ(sTaken->error, "");
}

TEST_F(InheritSecurityTest, AnEntryIsInheritedByTheKindOfChildAndItsFlagsChange) {
    constexpr int none = -1;
    struct Row {
        const wchar_t* entry;
        int ofFile, ofDirectory;
    };
    const Row rows[] = {{L"", none, none},
                        {L"OI", oi | id, none},
                        {L"CI", none, ci | id},
                        {L"OICI", oi | ci | id, oi | ci | id},
                        {L"OIIO", oi | id, none},
                        {L"CIIO", none, ci | id},
                        {L"OICIIO", oi | ci | id, oi | ci | id},
                        {L"OINP", id, none},
                        {L"CINP", none, id},
                        {L"OICINP", id, id},
                        {L"OINPIO", id, none},
                        {L"OICINPIO", id, id},
                        {L"NPIO", none, none},
                        {L"OICIID", oi | ci | id, oi | ci | id},
                        {L"ID", none, none}};
    for (const Row& row : rows) {
        sTaken->given.assign(L"O:BAG:SYD:(A;").append(row.entry).append(L";0x12345;;;WD)");
        for (const bool isDirectory : {false, true}) {
            const int flags = isDirectory ? row.ofDirectory : row.ofFile;
            EXPECT_TRUE(inheritSecurity("c:/parent", isDirectory ? mFolder.utf8() : mFile));
            EXPECT_EQ(sTaken->written.bits, ownerGroupDacl);
            EXPECT_EQ(
                sTaken->written.entries,
                flags == none
                    ? std::vector<Entry>()
                    : (std::vector<Entry>{{allowed, static_cast<BYTE>(flags), 0x12345, "S-1-1-0"}}))
                << testing::PrintToString(std::wstring(row.entry)) << isDirectory;
        }
    }
}

TEST_F(InheritSecurityTest, EntriesKeepTheirOrderKindAndRights) {
    sTaken->given =
        L"O:BAG:SYD:(A;OI;FR;;;WD)(D;OI;FW;;;SY)(A;CI;FX;;;WD)(A;OI;FX;;;S-1-5-21-1-2-3-4-5)";
    EXPECT_TRUE(inheritSecurity("c:/parent", mFile));
    EXPECT_EQ(sTaken->written.entries,
              (std::vector<Entry>{{allowed, oi | id, FILE_GENERIC_READ, "S-1-1-0"},
                                  {denied, oi | id, FILE_GENERIC_WRITE, "S-1-5-18"},
                                  {allowed, oi | id, FILE_GENERIC_EXECUTE, "S-1-5-21-1-2-3-4-5"}}));
}

TEST_F(InheritSecurityTest, TheListHasRoomForAllEntriesWithoutALimit) {
    static DWORD size;
    static DWORD revision;
    static decltype(InitializeAcl)* initialize;
    const ReplacedCall<decltype(InitializeAcl)> call("InitializeAcl",
                                                     [](PACL acl, DWORD bytes, DWORD number) {
                                                         size = bytes;
                                                         revision = number;
                                                         return initialize(acl, bytes, number);
                                                     });
    initialize = call.original();
    sTaken->given = L"O:BAG:SYD:";
    for (int entry = 0; entry < 30; ++entry) {
        sTaken->given.append(L"(A;OI;FR;;;WD)");
    }
    EXPECT_TRUE(inheritSecurity("c:/parent", mFile));
    EXPECT_EQ(sTaken->written.entries.size(), 30U);
    EXPECT_EQ(size, 30U * 112 + 8);
    EXPECT_EQ(revision, DWORD{ACL_REVISION});
}

TEST_F(InheritSecurityTest, AParentWithoutAValidDaclGivesNone) {
    sTaken->given = L"O:BAG:SY";
    EXPECT_TRUE(inheritSecurity("c:/parent", mFile));
    EXPECT_EQ(sTaken->written.bits, DWORD{OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION});
    EXPECT_FALSE(sTaken->written.hasDacl);
    const ReplacedCall<decltype(IsValidAcl)> call("IsValidAcl", [](PACL) -> BOOL { return FALSE; });
    sTaken->given = L"O:BAD:(A;OI;FA;;;WD)";
    EXPECT_TRUE(inheritSecurity("c:/parent", mFile));
    EXPECT_EQ(sTaken->written.bits, DWORD{OWNER_SECURITY_INFORMATION});
    EXPECT_FALSE(sTaken->written.hasDacl);
}

TEST_F(InheritSecurityTest, AMissingChildIsReportedOnlyByNumber2BeforeTheParentIsRead) {
    sTaken->error = "as it was";
    EXPECT_FALSE(inheritSecurity("c:/parent", mFolder.utf8("a/missing"), &sTaken->error));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(sTaken->error, "as it was");
    EXPECT_EQ(sTaken->read.name, L"");
}

TEST_F(InheritSecurityTest, EachCallThatFailsIsReportedByItsMessageAndItsNumber) {
    const auto inherit = [&] { return inheritSecurity("c:/parent", mFile, &sTaken->error); };
    {
        const RefusedCall<decltype(GetNamedSecurityInfoW)> call("GetNamedSecurityInfoW",
                                                                ERROR_BAD_NETPATH);
        expectFailed(inherit(), "GetNamedSecurityInfoW", ERROR_BAD_NETPATH);
    }
    {
        const RefusedCall<decltype(SetSecurityDescriptorGroup)> call("SetSecurityDescriptorGroup",
                                                                     ERROR_INVALID_PRIMARY_GROUP);
        expectFailed(inherit(), "SetSecurityDescriptorGroup", ERROR_INVALID_PRIMARY_GROUP);
    }
    {
        const RefusedCall<decltype(AddAce)> call("AddAce", ERROR_ALLOTTED_SPACE_EXCEEDED);
        expectFailed(inherit(), "AddAce", ERROR_ALLOTTED_SPACE_EXCEEDED);
    }
    const RefusedCall<decltype(SetNamedSecurityInfoW)> call("SetNamedSecurityInfoW",
                                                            ERROR_INVALID_OWNER);
    expectFailed(inherit(), "SetNamedSecurityInfo", ERROR_INVALID_OWNER);
}

TEST_F(InheritSecurityTest, AParentOfMoreThan585EntriesFailsWhateverOfThemIsInherited) {
    sTaken->given = L"O:BAG:SYD:(A;OI;FR;;;WD)";
    for (int i = 1; i < 585; ++i) {
        sTaken->given += L"(A;;FR;;;WD)";
    }
    EXPECT_TRUE(inheritSecurity("c:/parent", mFile));
    EXPECT_EQ(sTaken->written.entries.size(), 1U);
    sTaken->given += L"(A;;FR;;;WD)";
    expectFailed(inheritSecurity("c:/parent", mFile, &sTaken->error), "InitializeAcl",
                 ERROR_INVALID_PARAMETER);
    EXPECT_EQ(mOwnership.freeLocalMemory(), 1U);
}

TEST_F(InheritSecurityTest, AFailureOfAnotherKindHasTheNumberZero) {
    // The copy of an ACE of this size gets no memory.
    constexpr size_t aceSize = 8 + 8 + 15 * 4;
    sTaken->given = L"O:BAG:SYD:(A;OI;FR;;;S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15)";
    static void* (*original)(size_t);
    const ReplacedCall<void*(size_t)> noMemory(
        "malloc", [](size_t size) -> void* { return size == aceSize ? nullptr : original(size); });
    original = noMemory.original();
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(inheritSecurity("c:/parent", mFile, &sTaken->error));
    EXPECT_EQ(GetLastError(), DWORD{NO_ERROR});
    EXPECT_EQ(sTaken->error, std::bad_alloc().what());
}

}  // namespace
