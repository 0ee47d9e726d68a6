#include "util/accessrights.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <iomanip>
#include <limits>
#include <locale>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace ObjectType;
using namespace ObjectKind;

std::string written(uint32_t mask, uint32_t objectType, uint32_t kind) {
    std::ostringstream out;
    writeAccessMask(out, mask, objectType, kind);
    return out.str();
}

struct Row {
    uint32_t mask;
    uint32_t objectType;
    uint32_t kind;
    const char* text;
};

void expectTexts(std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(written(row.mask, row.objectType, row.kind), row.text)
            << "type " << row.objectType << ", kind " << row.kind;
    }
}

TEST(AccessMaskTest, AMaskOfZeroHasNoNames) {
    expectTexts({{0, file, plainFile, "0x0 []"}, {0, any, unknown, "0x0 []"}, {0, 9, 9, "0x0 []"}});
}

TEST(AccessMaskTest, AFileHasTheNamesOfItsKind) {
    expectTexts({
        {0x1f01ff, file, plainFile, "0x1f01ff [FILE_ALL_ACCESS]"},
        {0x1f01ff, file, directory, "0x1f01ff [FILE_ALL_ACCESS]"},
        {0x1f01ff, file, ObjectKind::pipe, "0x1f01ff [FILE_ALL_ACCESS]"},
        {0x1, file, plainFile, "0x1 [FILE_READ_DATA]"},
        {0x1, file, directory, "0x1 [FILE_LIST_DIRECTORY]"},
        {0x1, file, ObjectKind::pipe, "0x1 [FILE_READ_DATA]"},
        {0x2, file, plainFile, "0x2 [FILE_WRITE_DATA]"},
        {0x2, file, directory, "0x2 [FILE_ADD_FILE]"},
        {0x4, file, plainFile, "0x4 [FILE_APPEND_DATA]"},
        {0x4, file, directory, "0x4 [FILE_ADD_SUBDIRECTORY]"},
        {0x4, file, ObjectKind::pipe, "0x4 [FILE_CREATE_PIPE_INSTANCE]"},
        {0x20, file, plainFile, "0x20 [FILE_EXECUTE]"},
        {0x20, file, directory, "0x20 [FILE_TRAVERSE]"},
        {0x20, file, ObjectKind::pipe, "0x20 [0x20]"},
        {0x40, file, plainFile, "0x40 [0x40]"},
        {0x40, file, directory, "0x40 [FILE_DELETE_CHILD]"},
    });
}

TEST(AccessMaskTest, OfAnUnknownKindTheFirstNameOfTheTypeIsTaken) {
    expectTexts({
        {0x1, file, unknown, "0x1 [FILE_LIST_DIRECTORY]"},
        {0x4, file, unknown, "0x4 [FILE_CREATE_PIPE_INSTANCE]"},
        {0x1, kernelObject, unknown, "0x1 [PROCESS_TERMINATE]"},
        // The wider names come after the token's.
        {0x1f0003, kernelObject, unknown,
         "0x1f0003 [TOKEN_EXECUTE DELETE WRITE_DAC WRITE_OWNER SYNCHRONIZE PROCESS_TERMINATE "
         "PROCESS_CREATE_THREAD]"},
        {0x1, windowObject, unknown, "0x1 [WINSTA_ENUMDESKTOPS]"},
        {0x200, windowObject, unknown, "0x200 [WINSTA_READSCREEN]"},
    });
}

TEST(AccessMaskTest, OfSeveralKindsTheNamesOfEachCount) {
    expectTexts({
        {0x21, file, plainFile | directory, "0x21 [FILE_LIST_DIRECTORY FILE_TRAVERSE]"},
        {0x5, file, plainFile | ObjectKind::pipe, "0x5 [FILE_READ_DATA FILE_CREATE_PIPE_INSTANCE]"},
        {0x1, kernelObject, job | token, "0x1 [JOB_OBJECT_ASSIGN_PROCESS]"},
    });
}

TEST(AccessMaskTest, TheWidestNameIsTakenFirstAndTheBitsLeftOverOneByOne) {
    expectTexts({
        {0x120089, file, plainFile, "0x120089 [FILE_GENERIC_READ]"},
        {0x120116, file, plainFile, "0x120116 [FILE_GENERIC_WRITE]"},
        {0x1200a0, file, plainFile, "0x1200a0 [FILE_GENERIC_EXECUTE]"},
        {0x1200a9, file, directory, "0x1200a9 [FILE_GENERIC_READ FILE_TRAVERSE]"},
        {0x12019f, file, plainFile,
         "0x12019f [FILE_GENERIC_READ FILE_WRITE_DATA FILE_APPEND_DATA FILE_WRITE_EA "
         "FILE_WRITE_ATTRIBUTES]"},
        {0x1301bf, file, plainFile,
         "0x1301bf [FILE_GENERIC_READ DELETE FILE_WRITE_DATA FILE_APPEND_DATA FILE_WRITE_EA "
         "FILE_EXECUTE FILE_WRITE_ATTRIBUTES]"},
        {0x1f0000, file, plainFile, "0x1f0000 [STANDARD_RIGHTS_ALL]"},
        {0xf0000, file, plainFile, "0xf0000 [STANDARD_RIGHTS_REQUIRED]"},
        {0xe0000, file, plainFile, "0xe0000 [READ_CONTROL WRITE_DAC WRITE_OWNER]"},
        {0xffff, file, plainFile, "0xffff [SPECIFIC_RIGHTS_ALL]"},
    });
}

TEST(AccessMaskTest, BitsWithoutANameAreOneNumberAfterTheNames) {
    expectTexts({
        {0x1fffff, file, plainFile, "0x1fffff [FILE_ALL_ACCESS 0xfe00]"},
        {0x8000, file, plainFile, "0x8000 [0x8000]"},
        {0x4000a001, file, plainFile, "0x4000a001 [GENERIC_WRITE FILE_READ_DATA 0xa000]"},
        {0xffffffff, file, plainFile,
         "0xffffffff [FILE_ALL_ACCESS ACCESS_SYSTEM_SECURITY MAXIMUM_ALLOWED GENERIC_READ "
         "GENERIC_WRITE GENERIC_EXECUTE GENERIC_ALL 0xce0fe00]"},
    });
}

TEST(AccessMaskTest, RegistryKeysHaveNamesOnlyForAnUnknownKind) {
    expectTexts({
        {0xf003f, registryKey, unknown, "0xf003f [KEY_ALL_ACCESS]"},
        {0x20006, registryKey, unknown, "0x20006 [KEY_WRITE]"},
        {0x20019, registryKey, unknown, "0x20019 [KEY_READ]"},
        {0x2001f, registryKey, unknown,
         "0x2001f [KEY_WRITE KEY_QUERY_VALUE KEY_ENUMERATE_SUB_KEYS KEY_NOTIFY]"},
        {0x20024, registryKey, unknown,
         "0x20024 [READ_CONTROL KEY_CREATE_SUB_KEY KEY_CREATE_LINK]"},
        // KEY_WOW64_RES, the name of both bits, comes after the first one and is never reached.
        {0x300, registryKey, unknown, "0x300 [KEY_WOW64_64KEY KEY_WOW64_32KEY]"},
        {0x10001, registryKey, 1, "0x10001 [DELETE 0x1]"},
    });
}

TEST(AccessMaskTest, KernelObjectsHaveTheNamesOfTheirKind) {
    expectTexts({
        {0x1f0fff, kernelObject, process, "0x1f0fff [PROCESS_ALL_ACCESS]"},
        {0x1f03ff, kernelObject, thread, "0x1f03ff [THREAD_ALL_ACCESS]"},
        {0x1f001f, kernelObject, job, "0x1f001f [JOB_OBJECT_ALL_ACCESS]"},
        {0xf01ff, kernelObject, token, "0xf01ff [TOKEN_ALL_ACCESS]"},
        {0xf00ff, kernelObject, token, "0xf00ff [TOKEN_ALL_ACCESS_P]"},
        {0x200e0, kernelObject, token, "0x200e0 [TOKEN_WRITE]"},
        {0x20008, kernelObject, token, "0x20008 [TOKEN_READ]"},
        {0x20000, kernelObject, token, "0x20000 [TOKEN_EXECUTE]"},
        {0x20000, kernelObject, process, "0x20000 [READ_CONTROL]"},
        {0x200e8, kernelObject, token, "0x200e8 [TOKEN_WRITE TOKEN_QUERY]"},
        {0x1f0003, kernelObject, event, "0x1f0003 [EVENT_ALL_ACCESS]"},
        {0x1f0001, kernelObject, mutant, "0x1f0001 [MUTANT_ALL_ACCESS]"},
        {0x1f0003, kernelObject, semaphore, "0x1f0003 [SEMAPHORE_ALL_ACCESS]"},
        {0x1f0003, kernelObject, timer, "0x1f0003 [TIMER_ALL_ACCESS]"},
        {0xf001f, kernelObject, section, "0xf001f [SECTION_ALL_ACCESS]"},
        {0x1f03ff, kernelObject, process,
         "0x1f03ff [STANDARD_RIGHTS_ALL PROCESS_TERMINATE PROCESS_CREATE_THREAD "
         "PROCESS_SET_SESSIONID PROCESS_VM_OPERATION PROCESS_VM_READ PROCESS_VM_WRITE "
         "PROCESS_DUP_HANDLE PROCESS_CREATE_PROCESS PROCESS_SET_QUOTA PROCESS_SET_INFORMATION]"},
        {0xc00, kernelObject, process, "0xc00 [PROCESS_QUERY_INFORMATION PROCESS_SUSPEND_RESUME]"},
        {0x3, kernelObject, event, "0x3 [!!EVENT_UNDOCUMENTED!! EVENT_MODIFY_STATE]"},
        {0x3, kernelObject, semaphore, "0x3 [!!SEMAPHORE_UNDOCUMENTED!! SEMAPHORE_MODIFY_STATE]"},
        {0x4, kernelObject, thread, "0x4 [!!THREAD_UNDOCUMENTED!!]"},
    });
}

TEST(AccessMaskTest, WindowObjectsHaveTheNamesOfTheirKind) {
    expectTexts({
        {0x37f, windowObject, windowStation, "0x37f [WINSTA_ALL_ACCESS]"},
        {0x1ff, windowObject, desktop, "0x1ff [DESKTOP_ALL_ACCESS]"},
        {0x81, windowObject, windowStation, "0x81 [WINSTA_ENUMDESKTOPS !!WINSTA_UNDOCUMENTED!!]"},
        {0x81, windowObject, desktop, "0x81 [DESKTOP_READOBJECTS DESKTOP_WRITEOBJECTS]"},
        // WINSTA_READSCREEN has no kind.
        {0x200, windowObject, windowStation, "0x200 [0x200]"},
    });
}

TEST(AccessMaskTest, NamesOfEveryTypeCountForOtherTypesAndForTypeZeroWithoutKind) {
    expectTexts({
        {0x10001, 5, unknown, "0x10001 [DELETE 0x1]"},
        {0x10001, 12, 3, "0x10001 [DELETE 0x1]"},
        {0x10001, any, unknown, "0x10001 [DELETE 0x1]"},
        {0x10001, any, 1, "0x10001 [0x10001]"},
        {0xffff, any, unknown, "0xffff [SPECIFIC_RIGHTS_ALL]"},
    });
}

class Grouping : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

TEST(AccessMaskTest, NeitherFlagsNorLocaleOfTheStreamHaveAnEffect) {
    std::ostringstream out;
    out.imbue(std::locale(out.getloc(), new Grouping));
    out << std::hex << std::showbase << std::uppercase << std::showpos << std::internal
        << std::setprecision(2) << std::setfill('*');
    writeAccessMask(out, 0x2ab0001, file, plainFile);
    EXPECT_EQ(
        out.str(),
        "0x2ab0001 [DELETE READ_CONTROL WRITE_OWNER MAXIMUM_ALLOWED FILE_READ_DATA 0xa00000]");
}

TEST(AccessMaskTest, TheWidthIsThatOfTheWhole) {
    std::ostringstream out;
    out << std::setfill('.') << std::left << std::setw(12);
    writeAccessMask(out, 0x8000, file, plainFile) << '|' << std::right << std::setw(17);
    writeAccessMask(out, 0x8000, file, plainFile) << '|';
    EXPECT_EQ(out.str(), "0x8000 [0x8000]|..0x8000 [0x8000]|");
}

TEST(AccessMaskTest, NumbersAreDecimalAfterwards) {
    std::ostringstream out;
    out << std::hex;
    writeAccessMask(out, 0, file, plainFile) << ' ' << 16;
    out << std::oct;
    writeAccessMask(out, 0, file, plainFile) << ' ' << 16;
    EXPECT_EQ(out.str(), "0x0 [] 160x0 [] 16");
}

TEST(AccessMaskTest, AStreamThatHasFailedTakesNothing) {
    std::ostringstream out;
    out.setstate(std::ios_base::failbit);
    writeAccessMask(out, 1, file, plainFile);
    EXPECT_EQ(out.str(), "");
}

TEST(AccessRightsTest, TheTableHasItsRowsAndNoNameTwice) {
    EXPECT_EQ(accessRights().size(), 127U);
    std::set<std::string> names;
    for (const AccessRight& right : accessRights()) {
        EXPECT_TRUE(names.insert(right.name).second) << right.name;
        EXPECT_NE(right.mask, 0U) << right.name;
    }
}

using NameOf = const char* (*)(uint32_t);

/// Expects the names for the values 0, 1, ..., which may be null, and none for greater values.
void expectNames(NameOf nameOf, const std::vector<const char*>& names) {
    for (uint32_t value = 0; value < names.size(); ++value) {
        EXPECT_STREQ(nameOf(value), names[value]) << value;
    }
    const auto end = static_cast<uint32_t>(names.size());
    for (const uint32_t value : {end, end + 1, 255U, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_EQ(nameOf(value), nullptr) << value;
    }
}

TEST(SecurityNamesTest, AceTypesHaveNames) {
    expectNames(aceTypeName,
                {"Access Allowed", "Access Denied", "System Audit", "System Alarm",
                 "Access Allowed Compound", "Access Allowed Object", "Access Denied Object",
                 "System Audit Object", "System Alarm Object", "Access Allowed Callback",
                 "Access Denied Callback", "Access Allowed Callback Object",
                 "Access Denied Callback Object", "System Audit Callback", "System Alarm Callback",
                 "System Audit Callback Object", "System Alarm Callback Object"});
}

TEST(SecurityNamesTest, AccessModesHaveNames) {
    expectNames(accessModeName, {"NOT_USED_ACCESS", "GRANT_ACCESS", "SET_ACCESS", "DENY_ACCESS",
                                 "REVOKE_ACCESS", "SET_AUDIT_SUCCESS", "SET_AUDIT_FAILURE"});
}

TEST(SecurityNamesTest, SidUsesHaveNamesFromOneOn) {
    expectNames(sidUseName, {nullptr, "User", "Group", "Domain", "Alias", "WellKnownGroup",
                             "DeletedAccount", "Invalid", "Unknown", "Computer"});
}

TEST(SecurityNamesTest, TrusteeTypesHaveNames) {
    expectNames(trusteeTypeName, {"Unknown", "User", "Group", "Domain", "Alias", "Well-Known Group",
                                  "Deleted", "Invalid", "Computer"});
}

template <class Write>
std::string output(Write write, uint32_t value) {
    std::ostringstream out;
    write(out, value);
    return out.str();
}

TEST(SecurityNamesTest, EachAceFlagIsWrittenInBracketsWithABlankBefore) {
    const std::pair<uint32_t, const char*> rows[] = {
        {0, " (NO_INHERITANCE)"},
        {0x1, " (OI)"},
        {0x2, " (CI)"},
        {0x4, " (NP)"},
        {0x8, " (IO)"},
        {0x10, " (IA)"},
        {0x20, ""},
        {0x40, " (SA)"},
        {0x80, " (FA)"},
        {0x3, " (OI) (CI)"},
        {0xFF, " (OI) (CI) (NP) (IO) (IA) (SA) (FA)"},
        {0x100, ""},
    };
    for (const auto& [flags, text] : rows) {
        EXPECT_EQ(output(writeAceFlags, flags), text) << flags;
    }
    EXPECT_EQ(aceFlagNames().size(), 7U);
}

TEST(SecurityNamesTest, EachControlBitIsWrittenWithABlankBefore) {
    const std::pair<uint32_t, const char*> rows[] = {
        {0, ""},
        {0x1, " SE_OWNER_DEFAULTED"},
        {0x2, " SE_GROUP_DEFAULTED"},
        {0x4, " SE_DACL_PRESENT"},
        {0x8, " SE_DACL_DEFAULTED"},
        {0x10, " SE_SACL_PRESENT"},
        {0x20, " SE_SACL_DEFAULTED"},
        {0x40, ""},
        {0x80, ""},
        {0x100, " SE_DACL_AUTO_INHERIT_REQ"},
        {0x200, " SE_SACL_AUTO_INHERIT_REQ"},
        {0x400, " SE_DACL_AUTO_INHERITED"},
        {0x800, " SE_SACL_AUTO_INHERITED"},
        {0x1000, " SE_DACL_PROTECTED"},
        {0x2000, " SE_SACL_PROTECTED"},
        {0x4000, " SE_RM_CONTROL_VALID"},
        {0x8000, " SE_SELF_RELATIVE"},
        {0x8004, " SE_DACL_PRESENT SE_SELF_RELATIVE"},
        {0x10000, ""},
    };
    for (const auto& [control, text] : rows) {
        EXPECT_EQ(output(writeDescriptorControl, control), text) << control;
    }
    EXPECT_EQ(descriptorControlNames().size(), 14U);
}

}  // namespace
