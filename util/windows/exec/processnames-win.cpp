#include "util/windows/exec/processnames-win.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>
#include <ostream>

#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

#include "util/platform/errortext-win.h"
#include "util/windows/libraryfunction-win.h"
#include "util/windows/scopedhandle-win.h"

namespace {

using GetNameFunction = DWORD WINAPI(HANDLE, char*, DWORD);
using QueryFunction = NTSTATUS NTAPI(HANDLE, PROCESSINFOCLASS, void*, ULONG, ULONG*);

/// The library stays loaded until the process ends. Throws Win32Exception.
GetNameFunction* loadGetName() {
    const HMODULE library = LoadLibraryA("psapi.dll");
    if (library == nullptr) {
        throw Win32Exception("LoadLibrary(\"psapi.dll\")");
    }
    auto* const function = findFunction<GetNameFunction>(library, "GetProcessImageFileNameA");
    if (function == nullptr) {
        throw Win32Exception("GetProcAddress(\"GetProcessImageFileNameA\")");
    }
    return function;
}

struct NameSearch {
    std::atomic<GetNameFunction*> function = nullptr;
    std::atomic<bool> isGivenUp = false;
};
NameSearch gNameSearch;

/// Looks the function up on the first call; concurrent first calls find the same one. Returns null
/// if there is none, which is logged once.
GetNameFunction* getNameFunction(std::ostream& log) {
    if (gNameSearch.isGivenUp) {
        return nullptr;
    }
    if (gNameSearch.function == nullptr) {
        try {
            gNameSearch.function = loadGetName();
        } catch (const std::exception& e) {
            log << "\tCouldn't check for ntvdm.exe: " << e.what() << '\n';
            gNameSearch.isGivenUp = true;
        }
    }
    return gNameSearch.function;
}

void logFailure(std::ostream& log, const char* what, uint32_t pid, const char* call) {
    const Win32Exception failure(call);
    log << "\tCouldn't get " << what << " of process " << pid << ": " << failure.what() << '\n';
}

/// Reads exactly the bytes of `value` at `address` in another process.
template <class T>
bool readValue(HANDLE process, const void* address, T& value) {
    return ReadProcessMemory(process, address, &value, sizeof value,
                             /*lpNumberOfBytesRead=*/nullptr) != FALSE;
}

/// Reads the name that a process was started with, from its own records.
bool nameFromMemory(HANDLE process, wchar_t* name) {
    static auto* const query =
        findFunction<QueryFunction>(GetModuleHandleA("ntdll.dll"), "NtQueryInformationProcess");
    PROCESS_BASIC_INFORMATION basic{};
    PEB peb{};
    RTL_USER_PROCESS_PARAMETERS parameters{};
    static_assert(sizeof basic == 48 && sizeof peb == 712 && sizeof parameters == 128);
    if (query == nullptr ||
        query(process, ProcessBasicInformation, &basic, sizeof basic,
              /*ReturnLength=*/nullptr) != 0 ||
        !readValue(process, basic.PebBaseAddress, peb) ||
        !readValue(process, peb.ProcessParameters, parameters)) {
        return false;
    }
    const UNICODE_STRING& path = parameters.ImagePathName;
    const size_t length = std::min<size_t>(path.Length, processNameRoom * sizeof(wchar_t));
    return ReadProcessMemory(process, path.Buffer, name, length,
                             /*lpNumberOfBytesRead=*/nullptr) != FALSE;
}

}  // namespace

void processImageName(HANDLE process, wchar_t* name) {
    std::fill_n(name, processNameRoom, L'\0');
    if (GetProcessImageFileNameW(process, name, processNameRoom) == 0) {
        std::fill_n(name, processNameRoom, L'\0');
        if (!nameFromMemory(process, name)) {
            *name = L'\0';
        }
    }
    name[processNameRoom - 1] = L'\0';
}

HANDLE getNtvdm(uint32_t pid, std::ostream& log) {
    GetNameFunction* const getName = getNameFunction(log);
    if (getName == nullptr) {
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE process =
        OpenProcess(PROCESS_TERMINATE | PROCESS_VM_READ | PROCESS_QUERY_INFORMATION | SYNCHRONIZE,
                    /*bInheritHandle=*/FALSE, pid);
    if (process == nullptr) {
        logFailure(log, "handle", pid, "OpenProcess");
        return INVALID_HANDLE_VALUE;
    }
    ScopedHandle owner(process);
    std::array<char, 260> name{};
    if (getName(process, name.data(), name.size()) == 0) {
        logFailure(log, "name", pid, "GetProcessImageFileName");
        return INVALID_HANDLE_VALUE;
    }
    name.back() = '\0';
    return std::strstr(name.data(), "ntvdm.exe") != nullptr ? owner.detach() : INVALID_HANDLE_VALUE;
}

void addChildProcesses(std::vector<uint32_t>& pids) {
    const ScopedHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, /*pid=*/0));
    if (!snapshot.isOpen()) {
        return;
    }
    const auto isListed = [&pids](uint32_t pid) {
        return std::find(pids.begin(), pids.end(), pid) != pids.end();
    };
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL isThere = Process32First(snapshot.get(), &entry); isThere;
         isThere = Process32Next(snapshot.get(), &entry)) {
        const bool isChild = isListed(entry.th32ParentProcessID) || isListed(everyParent);
        if (isChild && !isListed(entry.th32ProcessID)) {
            pids.push_back(entry.th32ProcessID);
        }
    }
}
