#include "clearcase/mvfsdrives-win.h"

#include <array>

#include <windows.h>
#include <winnetwk.h>

#include "clearcase/viewdrives.h"
#include "util/platform/errortext-win.h"

std::string mvfsRoot;
std::map<std::string, std::string> viewDrives;
DriveLetters viewDriveLetters;

namespace {

/// An open enumeration of the connected network disks.
class ConnectedDisks {
public:
    ConnectedDisks() {
        const DWORD error = WNetOpenEnumA(RESOURCE_CONNECTED, RESOURCETYPE_DISK, /*dwUsage=*/0,
                                          /*lpNetResource=*/nullptr, &mEnumeration);
        if (error != NO_ERROR) {
            throw Win32Exception("WNetOpenEnum", error);
        }
    }
    ~ConnectedDisks() {
        if (mOpen) {
            WNetCloseEnum(mEnumeration);
        }
    }
    ConnectedDisks(const ConnectedDisks&) = delete;
    ConnectedDisks& operator=(const ConnectedDisks&) = delete;

    /// Calls `take` with each entry of the next batch. Returns false if it was the last batch.
    template <class Take>
    bool nextBatch(Take take) {
        constexpr DWORD all = static_cast<DWORD>(-1);
        alignas(NETRESOURCEA) std::array<char, 1024> buffer;
        DWORD count = all;
        DWORD size = buffer.size();
        const DWORD error = WNetEnumResourceA(mEnumeration, &count, buffer.data(), &size);
        if (error != NO_ERROR && error != ERROR_NO_MORE_ITEMS) {
            // Compatibility: after a failure no further call is made on the enumeration, so a
            // provider sees none, and the handle leaks once per load of the library.
            mOpen = false;
            throw Win32Exception("WNetEnumResource", error);
        }
        const auto* entries = reinterpret_cast<const NETRESOURCEA*>(buffer.data());
        // A count that wasn't changed means no entries.
        for (DWORD i = 0; count != all && i < count; ++i) {
            take(entries[i]);
        }
        return error != ERROR_NO_MORE_ITEMS;
    }

private:
    HANDLE mEnumeration = nullptr;
    bool mOpen = true;
};

}  // namespace

std::string lookupMvfsDrives(std::map<std::string, std::string>& drives) {
    std::string root;
    ConnectedDisks disks;
    // Compatibility: uses the narrow calls, since view tags are in the system's code page.
    const auto take = [&](const NETRESOURCEA& entry) {
        takeConnection(entry.lpLocalName, entry.lpRemoteName, entry.lpProvider, root, drives);
    };
    while (disks.nextBatch(take)) {
    }
    return root;
}
