#include "clearcase/mvfsdrives-win.h"

#include <array>
#include <string_view>

#include <windows.h>
#include <winnetwk.h>

#include "util/stringutilities.h"
#include "util/windows/errortext-win.h"

std::string mvfsRoot;
std::map<std::string, std::string> viewDrives;

namespace {

constexpr std::string_view PROVIDER = "ClearCase Dynamic Views";
constexpr std::string_view MVFS_SERVER = "\\\\view";
constexpr size_t VIEW_TAG_OFFSET = MVFS_SERVER.size() + 1;

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

void takeEntry(const NETRESOURCEA& entry, std::string& root,
               std::map<std::string, std::string>& drives) {
    if (textOf(entry.lpProvider) != PROVIDER) {
        return;
    }
    std::string drive = textOf(entry.lpLocalName);
    toUpper(drive);
    const std::string remote = textOf(entry.lpRemoteName);
    if (remote == MVFS_SERVER) {
        root = drive;
    } else {
        drives[drive] = remote.size() < VIEW_TAG_OFFSET ? "" : remote.substr(VIEW_TAG_OFFSET);
    }
}

}  // namespace

std::string lookupMvfsDrives(std::map<std::string, std::string>& drives) {
    std::string root;
    HANDLE enumeration = nullptr;
    DWORD error = WNetOpenEnumA(RESOURCE_CONNECTED, RESOURCETYPE_DISK, /*dwUsage=*/0,
                                /*lpNetResource=*/nullptr, &enumeration);
    if (error != NO_ERROR) {
        throw Win32Exception("WNetOpenEnum", error);
    }
    do {
        constexpr DWORD all = static_cast<DWORD>(-1);
        alignas(NETRESOURCEA) std::array<char, 1024> buffer;
        DWORD count = all;
        DWORD size = buffer.size();
        error = WNetEnumResourceA(enumeration, &count, buffer.data(), &size);
        if (error != NO_ERROR && error != ERROR_NO_MORE_ITEMS) {
            // The enumeration stays open: meant, a provider that fails is not called again.
            throw Win32Exception("WNetEnumResource", error);
        }
        // A provider that leaves the count alone has returned nothing.
        const auto* entries = reinterpret_cast<const NETRESOURCEA*>(buffer.data());
        for (DWORD i = 0; count != all && i < count; ++i) {
            takeEntry(entries[i], root, drives);
        }
    } while (error != ERROR_NO_MORE_ITEMS);
    WNetCloseEnum(enumeration);
    return root;
}
