#pragma once

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "util/windows/system/volumes-win.h"

namespace testing_support {

/// What GetVolumeInformationW reports.
struct Volume {
    std::wstring name = L"Data";
    std::wstring fileSystem = L"NTFS";
    DWORD serialNumber = 4023233417;
    DWORD longestName = 255;
    DWORD flags = 0;
};

/// Until the scope ends, the fields determine Windows's answers about volumes. If a field has no
/// value, the call fails with error 2. Every path is its own long form. At most one object at a
/// time, in one thread.
class [[nodiscard]] FakeVolume {
public:
    FakeVolume() { sCurrent = this; }

    UINT driveType = DRIVE_FIXED;
    std::optional<std::wstring> device = L"\\Device\\HarddiskVolume7";
    std::optional<Volume> volume = Volume();

    // The recorded arguments.
    std::vector<std::wstring> longPaths;
    std::vector<std::wstring> devices;
    std::vector<std::wstring> drives;
    std::vector<std::wstring> volumes;
    std::vector<DWORD> rooms;

private:
    static inline FakeVolume* sCurrent = nullptr;

    /// Fills a buffer with the text, its NUL and other characters after it.
    static void fill(wchar_t* buffer, DWORD room, const std::wstring& text) {
        std::fill_n(buffer, room, L'~');
        text.copy(buffer, room);
        buffer[text.size()] = L'\0';
        sCurrent->rooms.push_back(room);
    }

    static DWORD WINAPI longPath(LPCWSTR path, LPWSTR buffer, DWORD) {
        sCurrent->longPaths.emplace_back(path);
        return static_cast<DWORD>(std::wstring(lstrcpyW(buffer, path)).size());
    }
    static DWORD WINAPI dosDevice(LPCWSTR name, LPWSTR buffer, DWORD room) {
        sCurrent->devices.emplace_back(name);
        if (!sCurrent->device) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return 0;
        }
        fill(buffer, room, *sCurrent->device);
        return static_cast<DWORD>(sCurrent->device->size()) + 2;
    }
    static UINT WINAPI type(LPCWSTR root) {
        sCurrent->drives.emplace_back(root);
        return sCurrent->driveType;
    }
    static BOOL WINAPI information(LPCWSTR root, LPWSTR name, DWORD nameRoom, LPDWORD serialNumber,
                                   LPDWORD longestName, LPDWORD flags, LPWSTR fileSystem,
                                   DWORD fileSystemRoom) {
        sCurrent->volumes.emplace_back(root);
        if (!sCurrent->volume) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return FALSE;
        }
        const Volume& volume = *sCurrent->volume;
        fill(name, nameRoom, volume.name);
        fill(fileSystem, fileSystemRoom, volume.fileSystem);
        *serialNumber = volume.serialNumber;
        *longestName = volume.longestName;
        *flags = volume.flags;
        return TRUE;
    }

    ReplacedCall<decltype(GetLongPathNameW)> mLongPath{"GetLongPathNameW", longPath};
    ReplacedCall<decltype(QueryDosDeviceW)> mDevice{"QueryDosDeviceW", dosDevice};
    ReplacedCall<decltype(GetDriveTypeW)> mType{"GetDriveTypeW", type};
    ReplacedCall<decltype(GetVolumeInformationW)> mInformation{"GetVolumeInformationW",
                                                               information};
};

/// Returns the account of a path, and stores the result in `type` unless that is null.
inline std::string accountOf(const std::string& path, VolumeType* type = nullptr) {
    std::ostringstream account;
    const VolumeType result = System::volumeType(path, &account);
    if (type != nullptr) {
        *type = result;
    }
    return account.str();
}

/// Returns the first line that contains `word`, or an empty text if there is none.
inline std::string lineWith(const std::string& text, std::string_view word) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(word) != std::string::npos) {
            return line;
        }
    }
    return {};
}

}  // namespace testing_support
