// Compares the names with the Windows headers.

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include <gtest/gtest.h>

#include <windows.h>
#include <accctrl.h>

#include "util/accessrights.h"

namespace {

struct Constant {
    const char* name;
    DWORD mask;
};

#define RIGHT(name) \
    { #name, static_cast < DWORD>(name) }
/// In the order of the table. Bits without a name in the headers are given as numbers.
constexpr auto constants = std::to_array<Constant>({
    // The value before Windows Vista.
    {"PROCESS_ALL_ACCESS", STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0xFFF},
    {"THREAD_ALL_ACCESS", STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x3FF},
    // Newer headers add JOB_OBJECT_IMPERSONATE.
    {"JOB_OBJECT_ALL_ACCESS", STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x1F},
    RIGHT(TOKEN_ALL_ACCESS),
    RIGHT(TOKEN_ALL_ACCESS_P),
    RIGHT(TOKEN_WRITE),
    RIGHT(TOKEN_READ),
    RIGHT(TOKEN_EXECUTE),
    RIGHT(EVENT_ALL_ACCESS),
    RIGHT(MUTANT_ALL_ACCESS),
    RIGHT(SEMAPHORE_ALL_ACCESS),
    RIGHT(TIMER_ALL_ACCESS),
    RIGHT(SECTION_ALL_ACCESS),
    RIGHT(KEY_ALL_ACCESS),
    RIGHT(KEY_WRITE),
    RIGHT(KEY_READ),
    RIGHT(FILE_ALL_ACCESS),
    RIGHT(FILE_GENERIC_READ),
    RIGHT(FILE_GENERIC_WRITE),
    RIGHT(FILE_GENERIC_EXECUTE),
    RIGHT(WINSTA_ALL_ACCESS),
    {"DESKTOP_ALL_ACCESS", DESKTOP_READOBJECTS | DESKTOP_CREATEWINDOW | DESKTOP_CREATEMENU |
                               DESKTOP_HOOKCONTROL | DESKTOP_JOURNALRECORD |
                               DESKTOP_JOURNALPLAYBACK | DESKTOP_ENUMERATE | DESKTOP_WRITEOBJECTS |
                               DESKTOP_SWITCHDESKTOP},
    RIGHT(STANDARD_RIGHTS_ALL),
    RIGHT(STANDARD_RIGHTS_REQUIRED),
    RIGHT(SPECIFIC_RIGHTS_ALL),
    RIGHT(DELETE),
    RIGHT(READ_CONTROL),
    RIGHT(WRITE_DAC),
    RIGHT(WRITE_OWNER),
    RIGHT(SYNCHRONIZE),
    RIGHT(ACCESS_SYSTEM_SECURITY),
    RIGHT(MAXIMUM_ALLOWED),
    RIGHT(GENERIC_READ),
    RIGHT(GENERIC_WRITE),
    RIGHT(GENERIC_EXECUTE),
    RIGHT(GENERIC_ALL),
    RIGHT(PROCESS_TERMINATE),
    RIGHT(THREAD_TERMINATE),
    RIGHT(JOB_OBJECT_ASSIGN_PROCESS),
    RIGHT(TOKEN_ASSIGN_PRIMARY),
    {"!!EVENT_UNDOCUMENTED!!", 0x1},
    RIGHT(MUTANT_QUERY_STATE),
    {"!!SEMAPHORE_UNDOCUMENTED!!", 0x1},
    RIGHT(TIMER_QUERY_STATE),
    RIGHT(SECTION_QUERY),
    RIGHT(KEY_QUERY_VALUE),
    RIGHT(WINSTA_ENUMDESKTOPS),
    RIGHT(DESKTOP_READOBJECTS),
    RIGHT(FILE_LIST_DIRECTORY),
    RIGHT(FILE_READ_DATA),
    RIGHT(PROCESS_CREATE_THREAD),
    RIGHT(THREAD_SUSPEND_RESUME),
    RIGHT(JOB_OBJECT_SET_ATTRIBUTES),
    RIGHT(TOKEN_DUPLICATE),
    RIGHT(EVENT_MODIFY_STATE),
    RIGHT(SEMAPHORE_MODIFY_STATE),
    RIGHT(TIMER_MODIFY_STATE),
    RIGHT(SECTION_MAP_WRITE),
    RIGHT(KEY_SET_VALUE),
    RIGHT(WINSTA_READATTRIBUTES),
    RIGHT(DESKTOP_CREATEWINDOW),
    RIGHT(FILE_ADD_FILE),
    RIGHT(FILE_WRITE_DATA),
    RIGHT(PROCESS_SET_SESSIONID),
    {"!!THREAD_UNDOCUMENTED!!", 0x4},
    RIGHT(JOB_OBJECT_QUERY),
    RIGHT(TOKEN_IMPERSONATE),
    RIGHT(SECTION_MAP_READ),
    RIGHT(KEY_CREATE_SUB_KEY),
    RIGHT(WINSTA_ACCESSCLIPBOARD),
    RIGHT(DESKTOP_CREATEMENU),
    RIGHT(FILE_CREATE_PIPE_INSTANCE),
    RIGHT(FILE_ADD_SUBDIRECTORY),
    RIGHT(FILE_APPEND_DATA),
    RIGHT(PROCESS_VM_OPERATION),
    RIGHT(THREAD_GET_CONTEXT),
    RIGHT(JOB_OBJECT_TERMINATE),
    RIGHT(TOKEN_QUERY),
    RIGHT(SECTION_MAP_EXECUTE),
    RIGHT(KEY_ENUMERATE_SUB_KEYS),
    RIGHT(WINSTA_CREATEDESKTOP),
    RIGHT(DESKTOP_HOOKCONTROL),
    RIGHT(FILE_READ_EA),
    RIGHT(PROCESS_VM_READ),
    RIGHT(THREAD_SET_CONTEXT),
    RIGHT(JOB_OBJECT_SET_SECURITY_ATTRIBUTES),
    RIGHT(TOKEN_QUERY_SOURCE),
    RIGHT(SECTION_EXTEND_SIZE),
    RIGHT(KEY_NOTIFY),
    RIGHT(WINSTA_WRITEATTRIBUTES),
    RIGHT(DESKTOP_JOURNALRECORD),
    RIGHT(FILE_WRITE_EA),
    RIGHT(PROCESS_VM_WRITE),
    RIGHT(THREAD_SET_INFORMATION),
    RIGHT(TOKEN_ADJUST_PRIVILEGES),
    RIGHT(SECTION_MAP_EXECUTE_EXPLICIT),
    RIGHT(KEY_CREATE_LINK),
    RIGHT(WINSTA_ACCESSGLOBALATOMS),
    RIGHT(DESKTOP_JOURNALPLAYBACK),
    RIGHT(FILE_TRAVERSE),
    RIGHT(FILE_EXECUTE),
    RIGHT(PROCESS_DUP_HANDLE),
    RIGHT(THREAD_QUERY_INFORMATION),
    RIGHT(TOKEN_ADJUST_GROUPS),
    RIGHT(WINSTA_EXITWINDOWS),
    RIGHT(DESKTOP_ENUMERATE),
    RIGHT(FILE_DELETE_CHILD),
    RIGHT(PROCESS_CREATE_PROCESS),
    RIGHT(THREAD_SET_THREAD_TOKEN),
    RIGHT(TOKEN_ADJUST_DEFAULT),
    RIGHT(KEY_WOW64_64KEY),
    {"!!WINSTA_UNDOCUMENTED!!", 0x80},
    RIGHT(DESKTOP_WRITEOBJECTS),
    RIGHT(FILE_READ_ATTRIBUTES),
    RIGHT(PROCESS_SET_QUOTA),
    RIGHT(THREAD_IMPERSONATE),
    RIGHT(TOKEN_ADJUST_SESSIONID),
    RIGHT(WINSTA_ENUMERATE),
    RIGHT(DESKTOP_SWITCHDESKTOP),
    RIGHT(FILE_WRITE_ATTRIBUTES),
    RIGHT(PROCESS_SET_INFORMATION),
    RIGHT(THREAD_DIRECT_IMPERSONATION),
    RIGHT(KEY_WOW64_RES),
    RIGHT(KEY_WOW64_32KEY),
    RIGHT(WINSTA_READSCREEN),
    RIGHT(PROCESS_QUERY_INFORMATION),
    RIGHT(PROCESS_SUSPEND_RESUME),
});
#undef RIGHT

TEST(AccessRightsTest, EachNameIsAtItsPlaceWithTheMaskOfTheHeaders) {
    ASSERT_EQ(accessRights().size(), constants.size());
    for (size_t i = 0; i < constants.size(); ++i) {
        const AccessRight& right = accessRights()[i];
        EXPECT_STREQ(right.name, constants[i].name) << i;
        EXPECT_EQ(right.mask, constants[i].mask) << right.name;
    }
}

struct Kind {
    std::string_view start;
    SE_OBJECT_TYPE type;
    uint32_t kinds;
};
/// Selected by the start of a name; the first match counts.
constexpr auto kindNames = std::to_array<Kind>({
    {"PROCESS_", SE_KERNEL_OBJECT, 1},
    {"THREAD_", SE_KERNEL_OBJECT, 2},
    {"!!THREAD_", SE_KERNEL_OBJECT, 2},
    {"JOB_OBJECT_", SE_KERNEL_OBJECT, 4},
    {"TOKEN_", SE_KERNEL_OBJECT, 8},
    {"EVENT_", SE_KERNEL_OBJECT, 16},
    {"!!EVENT_", SE_KERNEL_OBJECT, 16},
    {"MUTANT_", SE_KERNEL_OBJECT, 32},
    {"SEMAPHORE_", SE_KERNEL_OBJECT, 64},
    {"!!SEMAPHORE_", SE_KERNEL_OBJECT, 64},
    {"TIMER_", SE_KERNEL_OBJECT, 128},
    {"SECTION_", SE_KERNEL_OBJECT, 256},
    {"KEY_", SE_REGISTRY_KEY, 0},
    {"WINSTA_READSCREEN", SE_WINDOW_OBJECT, 0},
    {"WINSTA_", SE_WINDOW_OBJECT, 1},
    {"!!WINSTA_", SE_WINDOW_OBJECT, 1},
    {"DESKTOP_", SE_WINDOW_OBJECT, 2},
    {"FILE_READ_DATA", SE_FILE_OBJECT, 1 | 4},
    {"FILE_WRITE_DATA", SE_FILE_OBJECT, 1 | 4},
    {"FILE_APPEND_DATA", SE_FILE_OBJECT, 1},
    {"FILE_EXECUTE", SE_FILE_OBJECT, 1},
    {"FILE_LIST_DIRECTORY", SE_FILE_OBJECT, 2},
    {"FILE_ADD_", SE_FILE_OBJECT, 2},
    {"FILE_TRAVERSE", SE_FILE_OBJECT, 2},
    {"FILE_DELETE_CHILD", SE_FILE_OBJECT, 2},
    {"FILE_CREATE_PIPE_INSTANCE", SE_FILE_OBJECT, 4},
    {"FILE_", SE_FILE_OBJECT, 1 | 2 | 4},
    {"", SE_UNKNOWN_OBJECT_TYPE, 0},
});

TEST(AccessRightsTest, EachNameIsThatOfItsTypeAndKinds) {
    for (const AccessRight& right : accessRights()) {
        const auto isStart = [&](const Kind& kind) {
            return std::string_view(right.name).substr(0, kind.start.size()) == kind.start;
        };
        const Kind& kind = *std::find_if(kindNames.begin(), kindNames.end(), isStart);
        EXPECT_EQ(right.objectType, static_cast<uint32_t>(kind.type)) << right.name;
        EXPECT_EQ(right.kinds, kind.kinds) << right.name;
    }
}

TEST(AccessRightsTest, TheTypesAreThoseOfWindows) {
    EXPECT_EQ(ObjectType::any, static_cast<uint32_t>(SE_UNKNOWN_OBJECT_TYPE));
    EXPECT_EQ(ObjectType::file, static_cast<uint32_t>(SE_FILE_OBJECT));
    EXPECT_EQ(ObjectType::registryKey, static_cast<uint32_t>(SE_REGISTRY_KEY));
    EXPECT_EQ(ObjectType::kernelObject, static_cast<uint32_t>(SE_KERNEL_OBJECT));
    EXPECT_EQ(ObjectType::windowObject, static_cast<uint32_t>(SE_WINDOW_OBJECT));
}

void expectNames(const char* (*nameOf)(uint32_t), std::initializer_list<NamedValue> names) {
    for (const NamedValue& named : names) {
        EXPECT_STREQ(nameOf(named.value), named.name) << named.value;
    }
}

#define NAMED(name) \
    { name, #name }

TEST(SecurityNamesTest, TheAceTypesAreThoseOfWindows) {
    expectNames(aceTypeName,
                {{ACCESS_ALLOWED_ACE_TYPE, "Access Allowed"},
                 {ACCESS_ALLOWED_CALLBACK_ACE_TYPE, "Access Allowed Callback"},
                 {ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE, "Access Allowed Callback Object"},
                 {ACCESS_ALLOWED_COMPOUND_ACE_TYPE, "Access Allowed Compound"},
                 {ACCESS_ALLOWED_OBJECT_ACE_TYPE, "Access Allowed Object"},
                 {ACCESS_DENIED_ACE_TYPE, "Access Denied"},
                 {ACCESS_DENIED_CALLBACK_ACE_TYPE, "Access Denied Callback"},
                 {ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE, "Access Denied Callback Object"},
                 {ACCESS_DENIED_OBJECT_ACE_TYPE, "Access Denied Object"},
                 {SYSTEM_ALARM_ACE_TYPE, "System Alarm"},
                 {SYSTEM_ALARM_CALLBACK_ACE_TYPE, "System Alarm Callback"},
                 {SYSTEM_ALARM_CALLBACK_OBJECT_ACE_TYPE, "System Alarm Callback Object"},
                 {SYSTEM_ALARM_OBJECT_ACE_TYPE, "System Alarm Object"},
                 {SYSTEM_AUDIT_ACE_TYPE, "System Audit"},
                 {SYSTEM_AUDIT_CALLBACK_ACE_TYPE, "System Audit Callback"},
                 {SYSTEM_AUDIT_CALLBACK_OBJECT_ACE_TYPE, "System Audit Callback Object"},
                 {SYSTEM_AUDIT_OBJECT_ACE_TYPE, "System Audit Object"}});
}

TEST(SecurityNamesTest, TheAccessModesAreThoseOfWindows) {
    expectNames(accessModeName, {NAMED(DENY_ACCESS), NAMED(GRANT_ACCESS), NAMED(NOT_USED_ACCESS),
                                 NAMED(REVOKE_ACCESS), NAMED(SET_ACCESS), NAMED(SET_AUDIT_FAILURE),
                                 NAMED(SET_AUDIT_SUCCESS)});
}

TEST(SecurityNamesTest, TheSidUsesAreThoseOfWindows) {
    expectNames(sidUseName, {{SidTypeAlias, "Alias"},
                             {SidTypeComputer, "Computer"},
                             {SidTypeDeletedAccount, "DeletedAccount"},
                             {SidTypeDomain, "Domain"},
                             {SidTypeGroup, "Group"},
                             {SidTypeInvalid, "Invalid"},
                             {SidTypeUnknown, "Unknown"},
                             {SidTypeUser, "User"},
                             {SidTypeWellKnownGroup, "WellKnownGroup"}});
}

TEST(SecurityNamesTest, TheTrusteeTypesAreThoseOfWindows) {
    expectNames(trusteeTypeName, {{TRUSTEE_IS_ALIAS, "Alias"},
                                  {TRUSTEE_IS_COMPUTER, "Computer"},
                                  {TRUSTEE_IS_DELETED, "Deleted"},
                                  {TRUSTEE_IS_DOMAIN, "Domain"},
                                  {TRUSTEE_IS_GROUP, "Group"},
                                  {TRUSTEE_IS_INVALID, "Invalid"},
                                  {TRUSTEE_IS_UNKNOWN, "Unknown"},
                                  {TRUSTEE_IS_USER, "User"},
                                  {TRUSTEE_IS_WELL_KNOWN_GROUP, "Well-Known Group"}});
}

TEST(SecurityNamesTest, TheControlBitsAreThoseOfWindows) {
    const auto bits = std::to_array<NamedValue>({
        NAMED(SE_OWNER_DEFAULTED),
        NAMED(SE_GROUP_DEFAULTED),
        NAMED(SE_DACL_PRESENT),
        NAMED(SE_DACL_DEFAULTED),
        NAMED(SE_SACL_PRESENT),
        NAMED(SE_SACL_DEFAULTED),
        NAMED(SE_DACL_AUTO_INHERIT_REQ),
        NAMED(SE_SACL_AUTO_INHERIT_REQ),
        NAMED(SE_DACL_AUTO_INHERITED),
        NAMED(SE_SACL_AUTO_INHERITED),
        NAMED(SE_DACL_PROTECTED),
        NAMED(SE_SACL_PROTECTED),
        NAMED(SE_RM_CONTROL_VALID),
        NAMED(SE_SELF_RELATIVE),
    });
    ASSERT_EQ(descriptorControlNames().size(), bits.size());
    for (size_t i = 0; i < bits.size(); ++i) {
        EXPECT_EQ(descriptorControlNames()[i].value, bits[i].value);
        EXPECT_STREQ(descriptorControlNames()[i].name, bits[i].name);
    }
}
#undef NAMED

TEST(SecurityNamesTest, TheAceFlagsAreThoseOfWindows) {
    const auto flags = std::to_array<NamedValue>({
        {OBJECT_INHERIT_ACE, "OI"},
        {CONTAINER_INHERIT_ACE, "CI"},
        {NO_PROPAGATE_INHERIT_ACE, "NP"},
        {INHERIT_ONLY_ACE, "IO"},
        {INHERITED_ACE, "IA"},
        {SUCCESSFUL_ACCESS_ACE_FLAG, "SA"},
        {FAILED_ACCESS_ACE_FLAG, "FA"},
    });
    ASSERT_EQ(aceFlagNames().size(), flags.size());
    for (size_t i = 0; i < flags.size(); ++i) {
        EXPECT_EQ(aceFlagNames()[i].value, flags[i].value);
        EXPECT_STREQ(aceFlagNames()[i].name, flags[i].name);
    }
}

}  // namespace
