#include "testing/counts/processresources-win.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <windows.h>
#include <winternl.h>

#include "util/windows/libraryfunction-win.h"

namespace testing_support {
namespace {

/// A row of the system's handle table (information class 16).
struct HandleRow {
    ULONG processId;
    UCHAR objectType;
    UCHAR flags;
    USHORT handle;
    PVOID object;
    ULONG access;
};

struct HandleTable {
    ULONG count;
    HandleRow rows[1];
};

constexpr auto systemHandles = static_cast<SYSTEM_INFORMATION_CLASS>(16);
constexpr NTSTATUS tooSmall = static_cast<NTSTATUS>(0xC0000004);

size_t rowsOfThisProcess() {
    const auto query = findFunction<decltype(NtQuerySystemInformation)>(
        GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation");
    std::vector<std::byte> buffer(1 << 16);
    NTSTATUS status = 0;
    while ((status = query(systemHandles, buffer.data(), static_cast<ULONG>(buffer.size()),
                           nullptr)) == tooSmall) {
        buffer.resize(buffer.size() * 2);
    }
    if (status != 0) {
        throw std::runtime_error("the system's handles can't be read");
    }
    const auto* table = reinterpret_cast<const HandleTable*>(buffer.data());
    const ULONG self = GetCurrentProcessId();
    return static_cast<size_t>(
        std::count_if(table->rows, table->rows + table->count,
                      [self](const HandleRow& row) { return row.processId == self; }));
}

}  // namespace

size_t handleCount() {
    DWORD count = 0;
    // Wine reports 0.
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count != 0) {
        return count;
    }
    return rowsOfThisProcess();
}

size_t heapBytes() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
    GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    size_t bytes = 0;
    for (HANDLE heap : heaps) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heap);
        while (HeapWalk(heap, &entry)) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
                bytes += entry.cbData;
            }
        }
        HeapUnlock(heap);
    }
    return bytes;
}

}  // namespace testing_support
