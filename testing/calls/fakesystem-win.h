#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <winternl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system/handles-win.h"

namespace testing_support {

/// A file that is held open until somebody closes its one handle, at the latest the object's end.
class HeldFile {
public:
    HeldFile()
        : mName(createFile(mFolder)),
          mHandle(CreateFileW(mName.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              0, nullptr)) {
        EXPECT_FALSE(isFree());
    }
    ~HeldFile() {
        if (!isFree()) {
            CloseHandle(mHandle);
        }
    }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

    HANDLE handle() const { return mHandle; }
    /// Its path with a drive, which isn't looked at.
    const std::wstring& path() const { return mName; }
    /// Whether nobody holds it open: then it can be opened by one who shares it with nobody.
    bool isFree() const {
        const HANDLE file = CreateFileW(mName.c_str(), GENERIC_READ, /*dwShareMode=*/0, nullptr,
                                        OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            return false;
        }
        CloseHandle(file);
        return true;
    }

private:
    static std::wstring createFile(const TempFolder& folder) {
        folder.write("held.txt", "x");
        return (folder.path() / "held.txt").wstring();
    }

    TempFolder mFolder;
    std::wstring mName;
    HANDLE mHandle;
};

struct TableEntry {
    DWORD processId;
    HANDLE handle;
};

/// Until the scope ends, this process stands in for the System process, of the id 4: opening that
/// one opens this one. What is done to its handles is real. `answerTable` tells of the handles that
/// the constructor gets. One at a time, in one thread.
class FakeSystem {
public:
    explicit FakeSystem(const std::vector<TableEntry>& entries) {
        sCurrent = this;
        mTable.assign(8 + 24 * entries.size(), 0xEE);
        claimCount(static_cast<uint32_t>(entries.size()));
        for (size_t i = 0; i < entries.size(); ++i) {
            unsigned char* entry = mTable.data() + 8 + 24 * i;
            const auto handle =
                static_cast<uint16_t>(reinterpret_cast<uintptr_t>(entries[i].handle));
            std::memcpy(entry, &entries[i].processId, 4);
            std::memcpy(entry + 6, &handle, 2);
        }
    }

    /// Lets the table say that it has `count` entries, however many it has.
    void claimCount(uint32_t count) { std::memcpy(mTable.data(), &count, sizeof count); }

    /// The table as NtQuerySystemInformation gives it.
    static NTSTATUS NTAPI answerTable(ULONG kind, void* answer, ULONG room, ULONG* length) {
        FakeSystem& system = *sCurrent;
        EXPECT_EQ(kind, 16U);
        system.rooms.push_back(room);
        *length = static_cast<ULONG>(system.mTable.size());
        if (system.rooms.size() <= system.statuses.size()) {
            return system.statuses[system.rooms.size() - 1];
        }
        if (room < system.mTable.size()) {
            return static_cast<NTSTATUS>(0xC0000004);  // STATUS_INFO_LENGTH_MISMATCH
        }
        std::copy(system.mTable.begin(), system.mTable.end(), static_cast<unsigned char*>(answer));
        return 0;
    }

    /// The statuses of the first answers, if they aren't the true ones.
    std::vector<NTSTATUS> statuses;
    bool refusesProcess = false;

    // What was asked.
    struct Opened {
        DWORD access, processId;
        BOOL inherits;
    };
    struct Copied {
        DWORD options;
        BOOL inherits;
        bool fromSystem;      ///< out of the process that was opened, into this one
        bool hasEarlierCopy;  ///< whether the copy that was made last is still open
    };
    std::vector<ULONG> rooms;
    std::vector<Opened> opened;
    std::vector<Copied> copied;

private:
    static inline FakeSystem* sCurrent = nullptr;

    static HANDLE WINAPI openProcess(DWORD access, BOOL inherits, DWORD processId) {
        FakeSystem& system = *sCurrent;
        system.opened.push_back({access, processId, inherits});
        if (system.refusesProcess) {
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        }
        system.mProcess = system.mOpenProcess.original()(access, inherits, GetCurrentProcessId());
        return system.mProcess;
    }
    static BOOL WINAPI duplicate(HANDLE process, HANDLE handle, HANDLE target, LPHANDLE copy,
                                 DWORD access, BOOL inherits, DWORD options) {
        FakeSystem& system = *sCurrent;
        DWORD flags = 0;
        system.copied.push_back(
            {options, inherits, process == system.mProcess && target == GetCurrentProcess(),
             system.mCopy != nullptr && GetHandleInformation(system.mCopy, &flags)});
        const BOOL copies =
            system.mDuplicate.original()(process, handle, target, copy, access, inherits, options);
        system.mCopy = copies ? *copy : nullptr;
        return copies;
    }

    std::vector<unsigned char> mTable;
    HANDLE mProcess = nullptr;
    HANDLE mCopy = nullptr;
    ReplacedCall<decltype(OpenProcess)> mOpenProcess{"OpenProcess", openProcess};
    ReplacedCall<decltype(DuplicateHandle)> mDuplicate{"DuplicateHandle", duplicate};
};

/// An inspector that sees the table of a FakeSystem.
class Inspected : public FakeSystem {
public:
    explicit Inspected(const std::vector<TableEntry>& entries) : FakeSystem(entries) {
        inspector.mNtQuerySystemInformation = answerTable;
    }

    HandleInspector inspector;
};

}  // namespace testing_support
