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

/// What GetVolumeInformationW says.
struct Volume {
    std::wstring name = L"Data";
    std::wstring fileSystem = L"NTFS";
    DWORD serialNumber = 4023233417;
    DWORD longestName = 255;
    DWORD flags = 0;
};

/// Until the scope ends, Windows's answers about volumes are those of the fields; an answer that
/// isn't there is the failure 2. Every path is its own long form. One at a time, in one thread.
class FakeVolume {
public:
    FakeVolume() { sCurrent = this; }

    UINT driveType = DRIVE_FIXED;
    std::optional<std::wstring> device = L"\\Device\\HarddiskVolume7";
    std::optional<Volume> volume = Volume();

    // What was asked.
    std::vector<std::wstring> longPaths;
    std::vector<std::wstring> devices;
    std::vector<std::wstring> drives;
    std::vector<std::wstring> volumes;
    std::vector<DWORD> rooms;

private:
    static inline FakeVolume* sCurrent = nullptr;

    /// Puts the text, its NUL and something behind it into a buffer.
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

/// The account of a path, and in `type`, unless that is null, the result.
inline std::string accountOf(const std::string& path, VolumeType* type = nullptr) {
    std::ostringstream account;
    const VolumeType result = System::volumeType(path, &account);
    if (type != nullptr) {
        *type = result;
    }
    return account.str();
}

/// The first line that has `word` in it; empty if there is none.
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
