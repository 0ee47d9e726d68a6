// A network provider, as Windows loads it for the WNet functions. Its connections are in the list
// of drives (see drivelist.h) that the environment of the calling process names (see
// drivesplace-win.h). Without a list, or if it can't be read, there are no connections. It only
// enumerates.

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <wnnc.h>

#include <windows.h>
#include <winnetwk.h>

#include "tools/ccdrives/drivelist.h"
#include "tools/ccdrives/drivesplace-win.h"
#include "util/platform/unicodetext-win.h"

extern "C" {
#include <npapi.h>
}

namespace {

using namespace ccdrives;

DriveList readDrives() {
    std::ifstream file(std::filesystem::path(toWide(drivesFile())), std::ios::binary);
    return parseDriveList(
        std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
}

std::optional<std::wstring> wide(const std::optional<std::string>& text) {
    return text ? std::optional(toWide(*text)) : std::nullopt;
}

/// A caller's buffer: entries at its beginning, their texts at its end.
class ResourceBuffer {
public:
    ResourceBuffer(void* data, size_t size)
        : mData(static_cast<char*>(data)), mEnd(size - size % sizeof(wchar_t)) {}

    size_t count() const { return mCount; }

    static size_t neededFor(const DriveConnection& connection) {
        return sizeof(NETRESOURCEW) + textSize(wide(connection.localName)) +
               textSize(wide(connection.remoteName)) + textSize(wide(connection.provider));
    }

    /// Returns false and adds nothing if the connection doesn't fit.
    bool add(const DriveConnection& connection) {
        if (mCount * sizeof(NETRESOURCEW) + neededFor(connection) > mEnd) {
            return false;
        }
        NETRESOURCEW& entry = reinterpret_cast<NETRESOURCEW*>(mData)[mCount++];
        entry = NETRESOURCEW{};
        entry.dwScope = RESOURCE_CONNECTED;
        entry.dwType = RESOURCETYPE_DISK;
        entry.dwDisplayType = RESOURCEDISPLAYTYPE_SHARE;
        entry.dwUsage = RESOURCEUSAGE_CONNECTABLE;
        entry.lpLocalName = addText(wide(connection.localName));
        entry.lpRemoteName = addText(wide(connection.remoteName));
        entry.lpProvider = addText(wide(connection.provider));
        return true;
    }

private:
    static size_t textSize(const std::optional<std::wstring>& text) {
        return text ? (text->size() + 1) * sizeof(wchar_t) : 0;
    }

    wchar_t* addText(const std::optional<std::wstring>& text) {
        if (!text) {
            return nullptr;
        }
        mEnd -= textSize(text);
        return static_cast<wchar_t*>(std::memcpy(mData + mEnd, text->c_str(), textSize(text)));
    }

    char* mData;
    size_t mEnd;
    size_t mCount = 0;
};

/// What an enumeration handle points to.
struct Enumeration {
    DriveList list;
    size_t batch = 0;
    size_t connection = 0;
};

/// Returns as much of the next batch as fits.
DWORD answerNext(Enumeration& enumeration, size_t limit, ResourceBuffer& buffer, DWORD& size) {
    if (enumeration.batch == enumeration.list.batches.size()) {
        return WN_NO_MORE_ENTRIES;
    }
    const DriveBatch& batch = enumeration.list.batches[enumeration.batch];
    for (; enumeration.connection < batch.connections.size(); ++enumeration.connection) {
        const DriveConnection& next = batch.connections[enumeration.connection];
        if (buffer.count() == limit) {
            return WN_SUCCESS;
        }
        if (!buffer.add(next)) {
            if (buffer.count() > 0) {
                return WN_SUCCESS;
            }
            size = static_cast<DWORD>(ResourceBuffer::neededFor(next));
            return WN_MORE_DATA;
        }
    }
    ++enumeration.batch;
    enumeration.connection = 0;
    return batch.error;
}

}  // namespace

extern "C" {

DWORD WINAPI NPGetCaps(DWORD index) {
    switch (index) {
        case WNNC_SPEC_VERSION:
            return WNNC_SPEC_VERSION51;
        case WNNC_NET_TYPE:
            return WNNC_NET_CLEARCASE;
        case WNNC_START:
            return WNNC_WAIT_FOR_START;
        case WNNC_ENUMERATION:
            return WNNC_ENUM_LOCAL;
        default:
            return 0;
    }
}

DWORD WINAPI NPOpenEnum(DWORD scope, DWORD, DWORD, LPNETRESOURCEW, LPHANDLE handle) try {
    if (scope != RESOURCE_CONNECTED) {
        return WN_NOT_SUPPORTED;
    }
    auto enumeration = std::make_unique<Enumeration>();
    enumeration->list = readDrives();
    if (enumeration->list.openError == WN_SUCCESS) {
        *handle = enumeration.release();
        return WN_SUCCESS;
    }
    return enumeration->list.openError;
} catch (const std::exception&) {
    // Without this, a mistake in the list would look like a system without drives. The line could
    // have anything, so ccdrives prints it.
    std::fputs("ccdrives_provider: the list of drives can't be understood; see ccdrives list\n",
               stderr);
    return ERROR_INVALID_DATA;
}

DWORD WINAPI NPEnumResource(HANDLE handle, LPDWORD count, LPVOID data, LPDWORD size) {
    ResourceBuffer buffer(data, *size);
    // A count of -1 asks for as many as fit.
    const DWORD answer =
        answerNext(*static_cast<Enumeration*>(handle), /*limit=*/*count, buffer, *size);
    *count = static_cast<DWORD>(buffer.count());
    return answer;
}

DWORD WINAPI NPCloseEnum(HANDLE handle) {
    delete static_cast<Enumeration*>(handle);
    return WN_SUCCESS;
}

}  // extern "C"
