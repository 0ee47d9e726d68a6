#include "util/accessrights.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <ostream>
#include <string>

namespace {

using namespace ObjectType;
using namespace ObjectKind;

constexpr uint32_t none = 0;
constexpr uint32_t anyFile = plainFile | directory | ObjectKind::pipe;

// Compatibility: the order decides which names are printed for a mask, even where the masks
// themselves are out of order.
constexpr auto rights = std::to_array<AccessRight>({
    {0x1f0fff, "PROCESS_ALL_ACCESS", kernelObject, process},
    {0x1f03ff, "THREAD_ALL_ACCESS", kernelObject, thread},
    {0x1f001f, "JOB_OBJECT_ALL_ACCESS", kernelObject, job},
    {0xf01ff, "TOKEN_ALL_ACCESS", kernelObject, token},
    {0xf00ff, "TOKEN_ALL_ACCESS_P", kernelObject, token},
    {0x200e0, "TOKEN_WRITE", kernelObject, token},
    {0x20008, "TOKEN_READ", kernelObject, token},
    {0x20000, "TOKEN_EXECUTE", kernelObject, token},
    {0x1f0003, "EVENT_ALL_ACCESS", kernelObject, event},
    {0x1f0001, "MUTANT_ALL_ACCESS", kernelObject, mutant},
    {0x1f0003, "SEMAPHORE_ALL_ACCESS", kernelObject, semaphore},
    {0x1f0003, "TIMER_ALL_ACCESS", kernelObject, timer},
    {0xf001f, "SECTION_ALL_ACCESS", kernelObject, section},
    {0xf003f, "KEY_ALL_ACCESS", registryKey, none},
    {0x20006, "KEY_WRITE", registryKey, none},
    {0x20019, "KEY_READ", registryKey, none},
    {0x1f01ff, "FILE_ALL_ACCESS", file, anyFile},
    {0x120089, "FILE_GENERIC_READ", file, anyFile},
    {0x120116, "FILE_GENERIC_WRITE", file, anyFile},
    {0x1200a0, "FILE_GENERIC_EXECUTE", file, anyFile},
    {0x37f, "WINSTA_ALL_ACCESS", windowObject, windowStation},
    {0x1ff, "DESKTOP_ALL_ACCESS", windowObject, desktop},
    {0x1f0000, "STANDARD_RIGHTS_ALL", any, none},
    {0xf0000, "STANDARD_RIGHTS_REQUIRED", any, none},
    {0xffff, "SPECIFIC_RIGHTS_ALL", any, none},
    {0x10000, "DELETE", any, none},
    {0x20000, "READ_CONTROL", any, none},
    {0x40000, "WRITE_DAC", any, none},
    {0x80000, "WRITE_OWNER", any, none},
    {0x100000, "SYNCHRONIZE", any, none},
    {0x1000000, "ACCESS_SYSTEM_SECURITY", any, none},
    {0x2000000, "MAXIMUM_ALLOWED", any, none},
    {0x80000000, "GENERIC_READ", any, none},
    {0x40000000, "GENERIC_WRITE", any, none},
    {0x20000000, "GENERIC_EXECUTE", any, none},
    {0x10000000, "GENERIC_ALL", any, none},
    {0x1, "PROCESS_TERMINATE", kernelObject, process},
    {0x1, "THREAD_TERMINATE", kernelObject, thread},
    {0x1, "JOB_OBJECT_ASSIGN_PROCESS", kernelObject, job},
    {0x1, "TOKEN_ASSIGN_PRIMARY", kernelObject, token},
    {0x1, "!!EVENT_UNDOCUMENTED!!", kernelObject, event},
    {0x1, "MUTANT_QUERY_STATE", kernelObject, mutant},
    {0x1, "!!SEMAPHORE_UNDOCUMENTED!!", kernelObject, semaphore},
    {0x1, "TIMER_QUERY_STATE", kernelObject, timer},
    {0x1, "SECTION_QUERY", kernelObject, section},
    {0x1, "KEY_QUERY_VALUE", registryKey, none},
    {0x1, "WINSTA_ENUMDESKTOPS", windowObject, windowStation},
    {0x1, "DESKTOP_READOBJECTS", windowObject, desktop},
    {0x1, "FILE_LIST_DIRECTORY", file, directory},
    {0x1, "FILE_READ_DATA", file, plainFile | ObjectKind::pipe},
    {0x2, "PROCESS_CREATE_THREAD", kernelObject, process},
    {0x2, "THREAD_SUSPEND_RESUME", kernelObject, thread},
    {0x2, "JOB_OBJECT_SET_ATTRIBUTES", kernelObject, job},
    {0x2, "TOKEN_DUPLICATE", kernelObject, token},
    {0x2, "EVENT_MODIFY_STATE", kernelObject, event},
    {0x2, "SEMAPHORE_MODIFY_STATE", kernelObject, semaphore},
    {0x2, "TIMER_MODIFY_STATE", kernelObject, timer},
    {0x2, "SECTION_MAP_WRITE", kernelObject, section},
    {0x2, "KEY_SET_VALUE", registryKey, none},
    {0x2, "WINSTA_READATTRIBUTES", windowObject, windowStation},
    {0x2, "DESKTOP_CREATEWINDOW", windowObject, desktop},
    {0x2, "FILE_ADD_FILE", file, directory},
    {0x2, "FILE_WRITE_DATA", file, plainFile | ObjectKind::pipe},
    {0x4, "PROCESS_SET_SESSIONID", kernelObject, process},
    {0x4, "!!THREAD_UNDOCUMENTED!!", kernelObject, thread},
    {0x4, "JOB_OBJECT_QUERY", kernelObject, job},
    {0x4, "TOKEN_IMPERSONATE", kernelObject, token},
    {0x4, "SECTION_MAP_READ", kernelObject, section},
    {0x4, "KEY_CREATE_SUB_KEY", registryKey, none},
    {0x4, "WINSTA_ACCESSCLIPBOARD", windowObject, windowStation},
    {0x4, "DESKTOP_CREATEMENU", windowObject, desktop},
    {0x4, "FILE_CREATE_PIPE_INSTANCE", file, ObjectKind::pipe},
    {0x4, "FILE_ADD_SUBDIRECTORY", file, directory},
    {0x4, "FILE_APPEND_DATA", file, plainFile},
    {0x8, "PROCESS_VM_OPERATION", kernelObject, process},
    {0x8, "THREAD_GET_CONTEXT", kernelObject, thread},
    {0x8, "JOB_OBJECT_TERMINATE", kernelObject, job},
    {0x8, "TOKEN_QUERY", kernelObject, token},
    {0x8, "SECTION_MAP_EXECUTE", kernelObject, section},
    {0x8, "KEY_ENUMERATE_SUB_KEYS", registryKey, none},
    {0x8, "WINSTA_CREATEDESKTOP", windowObject, windowStation},
    {0x8, "DESKTOP_HOOKCONTROL", windowObject, desktop},
    {0x8, "FILE_READ_EA", file, anyFile},
    {0x10, "PROCESS_VM_READ", kernelObject, process},
    {0x10, "THREAD_SET_CONTEXT", kernelObject, thread},
    {0x10, "JOB_OBJECT_SET_SECURITY_ATTRIBUTES", kernelObject, job},
    {0x10, "TOKEN_QUERY_SOURCE", kernelObject, token},
    {0x10, "SECTION_EXTEND_SIZE", kernelObject, section},
    {0x10, "KEY_NOTIFY", registryKey, none},
    {0x10, "WINSTA_WRITEATTRIBUTES", windowObject, windowStation},
    {0x10, "DESKTOP_JOURNALRECORD", windowObject, desktop},
    {0x10, "FILE_WRITE_EA", file, anyFile},
    {0x20, "PROCESS_VM_WRITE", kernelObject, process},
    {0x20, "THREAD_SET_INFORMATION", kernelObject, thread},
    {0x20, "TOKEN_ADJUST_PRIVILEGES", kernelObject, token},
    {0x20, "SECTION_MAP_EXECUTE_EXPLICIT", kernelObject, section},
    {0x20, "KEY_CREATE_LINK", registryKey, none},
    {0x20, "WINSTA_ACCESSGLOBALATOMS", windowObject, windowStation},
    {0x20, "DESKTOP_JOURNALPLAYBACK", windowObject, desktop},
    {0x20, "FILE_TRAVERSE", file, directory},
    {0x20, "FILE_EXECUTE", file, plainFile},
    {0x40, "PROCESS_DUP_HANDLE", kernelObject, process},
    {0x40, "THREAD_QUERY_INFORMATION", kernelObject, thread},
    {0x40, "TOKEN_ADJUST_GROUPS", kernelObject, token},
    {0x40, "WINSTA_EXITWINDOWS", windowObject, windowStation},
    {0x40, "DESKTOP_ENUMERATE", windowObject, desktop},
    {0x40, "FILE_DELETE_CHILD", file, directory},
    {0x80, "PROCESS_CREATE_PROCESS", kernelObject, process},
    {0x80, "THREAD_SET_THREAD_TOKEN", kernelObject, thread},
    {0x80, "TOKEN_ADJUST_DEFAULT", kernelObject, token},
    {0x100, "KEY_WOW64_64KEY", registryKey, none},
    {0x80, "!!WINSTA_UNDOCUMENTED!!", windowObject, windowStation},
    {0x80, "DESKTOP_WRITEOBJECTS", windowObject, desktop},
    {0x80, "FILE_READ_ATTRIBUTES", file, anyFile},
    {0x100, "PROCESS_SET_QUOTA", kernelObject, process},
    {0x100, "THREAD_IMPERSONATE", kernelObject, thread},
    {0x100, "TOKEN_ADJUST_SESSIONID", kernelObject, token},
    {0x100, "WINSTA_ENUMERATE", windowObject, windowStation},
    {0x100, "DESKTOP_SWITCHDESKTOP", windowObject, desktop},
    {0x100, "FILE_WRITE_ATTRIBUTES", file, anyFile},
    {0x200, "PROCESS_SET_INFORMATION", kernelObject, process},
    {0x200, "THREAD_DIRECT_IMPERSONATION", kernelObject, thread},
    {0x300, "KEY_WOW64_RES", registryKey, none},
    {0x200, "KEY_WOW64_32KEY", registryKey, none},
    {0x200, "WINSTA_READSCREEN", windowObject, none},
    {0x400, "PROCESS_QUERY_INFORMATION", kernelObject, process},
    {0x800, "PROCESS_SUSPEND_RESUME", kernelObject, process},
});

constexpr auto aceTypes = std::to_array<const char*>({
    "Access Allowed",
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
    "System Alarm Callback Object",
});

constexpr auto aceFlags = std::to_array<NamedValue>({
    {0x1, "OI"},
    {0x2, "CI"},
    {0x4, "NP"},
    {0x8, "IO"},
    {0x10, "IA"},
    {0x40, "SA"},
    {0x80, "FA"},
});

constexpr auto accessModes = std::to_array<const char*>({
    "NOT_USED_ACCESS",
    "GRANT_ACCESS",
    "SET_ACCESS",
    "DENY_ACCESS",
    "REVOKE_ACCESS",
    "SET_AUDIT_SUCCESS",
    "SET_AUDIT_FAILURE",
});

constexpr auto sidUses = std::to_array<const char*>({
    nullptr,
    "User",
    "Group",
    "Domain",
    "Alias",
    "WellKnownGroup",
    "DeletedAccount",
    "Invalid",
    "Unknown",
    "Computer",
});

constexpr auto trusteeTypes = std::to_array<const char*>({
    "Unknown",
    "User",
    "Group",
    "Domain",
    "Alias",
    "Well-Known Group",
    "Deleted",
    "Invalid",
    "Computer",
});

constexpr auto controlBits = std::to_array<NamedValue>({
    {0x1, "SE_OWNER_DEFAULTED"},
    {0x2, "SE_GROUP_DEFAULTED"},
    {0x4, "SE_DACL_PRESENT"},
    {0x8, "SE_DACL_DEFAULTED"},
    {0x10, "SE_SACL_PRESENT"},
    {0x20, "SE_SACL_DEFAULTED"},
    {0x100, "SE_DACL_AUTO_INHERIT_REQ"},
    {0x200, "SE_SACL_AUTO_INHERIT_REQ"},
    {0x400, "SE_DACL_AUTO_INHERITED"},
    {0x800, "SE_SACL_AUTO_INHERITED"},
    {0x1000, "SE_DACL_PROTECTED"},
    {0x2000, "SE_SACL_PROTECTED"},
    {0x4000, "SE_RM_CONTROL_VALID"},
    {0x8000, "SE_SELF_RELATIVE"},
});

template <size_t N>
const char* nameAt(const std::array<const char*, N>& names, uint32_t value) {
    return value < N ? names[value] : nullptr;
}

/// Independent of a stream's flags and locale.
void appendHexadecimal(std::string& text, uint32_t number) {
    std::array<char, 8> digits;
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, /*base=*/16).ptr;
    text.append("0x").append(digits.data(), end);
}

bool applies(const AccessRight& right, uint32_t objectType, uint32_t kind) {
    return right.objectType == objectType ? kind == unknown || (right.kinds & kind) != 0
                                          : right.objectType == any;
}

}  // namespace

std::span<const AccessRight> accessRights() { return rights; }

std::ostream& writeAccessMask(std::ostream& out, uint32_t mask, uint32_t objectType,
                              uint32_t kind) {
    std::string text;
    appendHexadecimal(text, mask);
    text.append(" [");
    uint32_t rest = mask;
    for (const AccessRight& right : rights) {
        if (rest != 0 && applies(right, objectType, kind) && (right.mask & ~rest) == 0) {
            rest &= ~right.mask;
            text.append(right.name).append(rest != 0 ? " " : "");
        }
    }
    if (rest != 0) {
        appendHexadecimal(text, rest);
    }
    text.append("]");
    out.setf(std::ios_base::dec, std::ios_base::basefield);
    return out << text;
}

std::span<const NamedValue> aceFlagNames() { return aceFlags; }

std::span<const NamedValue> descriptorControlNames() { return controlBits; }

std::ostream& writeAceFlags(std::ostream& out, uint32_t flags) {
    if (flags == 0) {
        return out << " (NO_INHERITANCE)";
    }
    for (const NamedValue& flag : aceFlags) {
        if ((flags & flag.value) != 0) {
            out << " (" << flag.name << ')';
        }
    }
    return out;
}

std::ostream& writeDescriptorControl(std::ostream& out, uint32_t control) {
    for (const NamedValue& bit : controlBits) {
        if ((control & bit.value) != 0) {
            out << ' ' << bit.name;
        }
    }
    return out;
}

const char* aceTypeName(uint32_t type) { return nameAt(aceTypes, type); }

const char* accessModeName(uint32_t mode) { return nameAt(accessModes, mode); }

const char* sidUseName(uint32_t use) { return nameAt(sidUses, use); }

const char* trusteeTypeName(uint32_t type) { return nameAt(trusteeTypes, type); }
