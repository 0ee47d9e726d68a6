#pragma once

#include <algorithm>
#include <cstddef>
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

/// A file that is held open until its only handle is closed, by the destructor at the latest.
class [[nodiscard]] HeldFile {
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
    /// Returns the file's path with a drive, which isn't compared.
    const std::wstring& path() const { return mName; }
    /// Returns whether the file is no longer held open: whether it can be opened without sharing.
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

/// The id of the System process.
inline constexpr DWORD systemProcess = 4;

struct TableEntry {
    DWORD processId;
    HANDLE handle;
};

/// Until the scope ends, this process replaces the System process: opening that process opens this
/// one. Operations on its handles are real. `answerTable` reports the handles that are passed to
/// the constructor. At most one object at a time, in one thread.
class [[nodiscard]] FakeSystem {
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

    /// Makes the table claim to have `count` entries, regardless of how many it has.
    void claimCount(uint32_t count) { std::memcpy(mTable.data(), &count, sizeof count); }

    /// Returns the table as NtQuerySystemInformation does.
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

    /// The statuses of the first answers, in place of the real ones.
    std::vector<NTSTATUS> statuses;
    bool refusesProcess = false;

    // The recorded calls.
    struct Opened {
        DWORD access, processId;
        BOOL inherits;
    };
    struct Copied {
        DWORD options;
        BOOL inherits;
        bool fromSystem;      ///< from the opened process into this one
        bool hasEarlierCopy;  ///< whether the previous copy is still open
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
class [[nodiscard]] Inspected : public FakeSystem {
public:
    explicit Inspected(const std::vector<TableEntry>& entries) : FakeSystem(entries) {
        inspector.mNtQuerySystemInformation = answerTable;
    }

    HandleInspector inspector;
};

}  // namespace testing_support
