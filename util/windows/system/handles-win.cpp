#include "util/windows/system/handles-win.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <optional>
#include <utility>
#include <vector>

#include "util/windows/libraryfunction-win.h"
#include "util/windows/scopedhandle-win.h"

namespace {

constexpr NTSTATUS statusInfoLengthMismatch = static_cast<NTSTATUS>(0xc0000004);
constexpr ULONG systemHandleInformation = 16;
constexpr ULONG fileNameInformation = 9;
constexpr ULONG objectTypeInformation = 2;
constexpr DWORD systemProcess = 4;

constexpr size_t nameRoom = sizeof(FileNameBuffer);  // bytes

// The answer to a query for a file's name.
struct FileName {
    uint32_t length;  // bytes
    std::array<wchar_t, (nameRoom - sizeof(uint32_t)) / sizeof(wchar_t)> text;
};
static_assert(sizeof(FileName) == nameRoom);

// Shared by all calls.
IO_STATUS_BLOCK gIoStatus;
FileName gFileName;

// An entry of SYSTEM_HANDLE_INFORMATION.
struct HandleEntry {
    uint32_t processId;
    uint8_t objectType;
    uint8_t flags;
    uint16_t handle;
    void* object;
    uint32_t access;
};
static_assert(sizeof(HandleEntry) == 24 && offsetof(HandleEntry, handle) == 6);
constexpr size_t entriesOffset = 8;

/// Returns the system's table of handles, or nothing if it isn't available.
std::optional<std::vector<unsigned char>> handleTable(
    HandleInspector::NtQuerySystemInformationFunction* query) {
    std::vector<unsigned char> table(32);
    ULONG length = 0;
    const auto ask = [&] {
        return query(systemHandleInformation, table.data(), static_cast<ULONG>(table.size()),
                     &length);
    };
    NTSTATUS status = ask();
    if (status == statusInfoLengthMismatch) {
        // Compatibility: only one more query. If the table has grown in between, that is a failure.
        table.assign(length, 0);
        status = ask();
    }
    return status == 0 ? std::optional(std::move(table)) : std::nullopt;
}

/// Calls `visit(handle)` for each handle of the System process until it returns true.
template <class Visitor>
bool anySystemHandle(const std::vector<unsigned char>& table, Visitor visit) {
    uint32_t count = 0;
    if (table.size() >= entriesOffset) {
        std::memcpy(&count, table.data(), sizeof count);
    }
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = entriesOffset + i * sizeof(HandleEntry);
        if (at + sizeof(HandleEntry) > table.size()) {
            break;
        }
        HandleEntry entry;
        std::memcpy(&entry, table.data() + at, sizeof entry);
        if (entry.processId == systemProcess &&
            visit(std::bit_cast<HANDLE>(uintptr_t{entry.handle}))) {
            return true;
        }
    }
    return false;
}

/// Whether `name` begins with the part of `path` that follows its drive and colon.
bool beginsWithPath(const wchar_t* name, const std::wstring& path) {
    for (size_t i = 2; i < path.size(); ++i, ++name) {
        const bool alike =
            std::towupper(*name) == std::towupper(path[i]) || (path[i] == L'/' && *name == L'\\');
        if (*name == L'\0' || !alike) {
            return false;
        }
    }
    return path.size() > 2;
}

}  // namespace

HandleInspector& HandleInspector::instance() {
    static auto& inspector = *new HandleInspector;
    return inspector;
}

HandleInspector::HandleInspector()
    : mNtQueryInformationFile(findFunction<NtQueryInformationFileFunction>(
          GetModuleHandleA("ntdll.dll"), "NtQueryInformationFile")),
      mNtQuerySystemInformation(findFunction<NtQuerySystemInformationFunction>(
          GetModuleHandleA("NTDLL.DLL"), "NtQuerySystemInformation")),
      mNtQueryObject(
          findFunction<NtQueryObjectFunction>(GetModuleHandleA("NTDLL.DLL"), "NtQueryObject")) {
    // Without the privilege fewer processes can be looked into.
    static_cast<void>(enableDebugPrivilege());
}

bool HandleInspector::closeSystemFileHandle(const std::wstring& path) {
    if (mNtQuerySystemInformation == nullptr) {
        return false;
    }
    const auto table = handleTable(mNtQuerySystemInformation);
    return table && anySystemHandle(*table, [&](HANDLE handle) {
               const ScopedHandle process(
                   OpenProcess(PROCESS_DUP_HANDLE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ,
                               /*bInheritHandle=*/FALSE, systemProcess));
               return closeIfNamed(path, process.get(), handle);
           });
}

bool HandleInspector::closeIfNamed(const std::wstring& path, HANDLE process, HANDLE handle) {
    ScopedHandle copy;
    if (!DuplicateHandle(process, handle, GetCurrentProcess(), copy.receive(),
                         /*dwDesiredAccess=*/0, /*bInheritHandle=*/FALSE, DUPLICATE_SAME_ACCESS)) {
        return false;
    }
    FileNameBuffer name = {};
    if (!isFile(copy.get()) || !fileNameOfHandle(copy.get(), name.data()) ||
        !beginsWithPath(name.data(), path)) {
        return false;
    }
    copy.release();
    // Compatibility: the file counts as closed whether or not this succeeds. The caller finds out
    // by its next try.
    DuplicateHandle(process, handle, GetCurrentProcess(), copy.receive(), /*dwDesiredAccess=*/0,
                    /*bInheritHandle=*/FALSE, DUPLICATE_CLOSE_SOURCE | DUPLICATE_SAME_ACCESS);
    return true;
}

bool HandleInspector::isFile(HANDLE handle) const {
    alignas(UNICODE_STRING) std::array<unsigned char, nameRoom> answer = {};
    if (mNtQueryObject == nullptr ||
        mNtQueryObject(handle, objectTypeInformation, answer.data(),
                       static_cast<ULONG>(answer.size()), /*ReturnLength=*/nullptr) != 0) {
        return false;
    }
    UNICODE_STRING type;
    std::memcpy(&type, answer.data(), sizeof type);
    return type.Buffer != nullptr && std::wcsncmp(type.Buffer, L"File", 4) == 0;
}

bool HandleInspector::fileNameOfHandle(HANDLE handle, wchar_t* name) {
    if (mNtQueryInformationFile == nullptr ||
        mNtQueryInformationFile(handle, &gIoStatus, &gFileName, sizeof gFileName,
                                fileNameInformation) != 0) {
        return false;
    }
    const uint32_t length = gFileName.length;
    if (length != 0 && length < nameRoom) {
        copyText(name, gFileName.text.data(),
                 std::min<size_t>(length / sizeof(wchar_t), gFileName.text.size()));
    }
    return true;
}

void queryHandleName(HandleQuery& query) {
    query.status = query.inspector->fileNameOfHandle(query.handle, query.name);
}

DWORD enableDebugPrivilege() {
    ScopedHandle token;
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.receive()) ||
        !LookupPrivilegeValueA(/*lpSystemName=*/nullptr, "SeDebugPrivilege",
                               &privileges.Privileges[0].Luid)) {
        return 0;
    }
    // Succeeds without the privilege too; only the error shows the difference.
    AdjustTokenPrivileges(token.get(), /*DisableAllPrivileges=*/FALSE, &privileges,
                          sizeof privileges, /*PreviousState=*/nullptr, /*ReturnLength=*/nullptr);
    return GetLastError();
}

std::string toAnsi(const wchar_t* text, size_t length) {
    if (length == 0) {
        return {};
    }
    const auto convert = [&](char* target, int room) {
        return WideCharToMultiByte(CP_ACP, /*dwFlags=*/0, text, static_cast<int>(length), target,
                                   room, /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    };
    std::string result(static_cast<size_t>(convert(nullptr, 0)), '\0');
    convert(result.data(), static_cast<int>(result.size()));
    return result;
}

void copyText(wchar_t* target, const wchar_t* text, size_t length) {
    std::wmemcpy(target, text, length);
    target[length] = L'\0';
}
