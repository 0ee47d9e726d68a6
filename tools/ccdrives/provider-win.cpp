// A network provider, as Windows loads it for the WNet functions. Its connections are in the list
// of drives (see drivelist.h) that the environment of the calling process names (see
// drivesplace-win.h). Without a list there are no connections. It only enumerates. No exception
// leaves a function: the callers are C.

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>
#include <wnnc.h>

#include <windows.h>
#include <winnetwk.h>

#include "tools/ccdrives/drivelist.h"
#include "tools/ccdrives/drivesplace-win.h"
#include "tools/ccdrives/drivesread-win.h"
#include "util/platform/unicodetext-win.h"

extern "C" {
#include <npapi.h>
}

namespace {

using namespace ccdrives;

/// A null pointer, or a text for a caller.
using Text = std::optional<std::wstring>;

struct Connection {
    Text localName;
    Text remoteName;
    Text provider;
};

struct Batch {
    std::vector<Connection> connections;
    DWORD error = WN_SUCCESS;
};

/// What an enumeration handle points to. Its texts are as a caller gets them, so that the steps
/// need no memory.
struct Enumeration {
    std::vector<Batch> batches;
    size_t batch = 0;
    size_t connection = 0;
};

DriveList readDrives() {
    const std::string file = drivesFile();
    return parseDriveList(file.empty() ? file : readDrivesFile(file));
}

Text wide(const std::optional<std::string>& text) {
    return text ? Text(toWide(*text)) : std::nullopt;
}

std::vector<Batch> batchesOf(const DriveList& list) {
    std::vector<Batch> batches;
    for (const DriveBatch& batch : list.batches) {
        batches.push_back({.connections = {}, .error = batch.error});
        for (const DriveConnection& connection : batch.connections) {
            batches.back().connections.push_back({wide(connection.localName),
                                                  wide(connection.remoteName),
                                                  wide(connection.provider)});
        }
    }
    return batches;
}

/// A caller's buffer: entries at its beginning, their texts at its end.
class ResourceBuffer {
public:
    ResourceBuffer(void* data, size_t size) noexcept
        : mData(static_cast<char*>(data)), mEnd(size - size % sizeof(wchar_t)) {}

    size_t count() const noexcept { return mCount; }

    static size_t neededFor(const Connection& connection) noexcept {
        return sizeof(NETRESOURCEW) + textSize(connection.localName) +
               textSize(connection.remoteName) + textSize(connection.provider);
    }

    /// Returns false and adds nothing if the connection doesn't fit.
    bool add(const Connection& connection) noexcept {
        if (mCount * sizeof(NETRESOURCEW) + neededFor(connection) > mEnd) {
            return false;
        }
        NETRESOURCEW& entry = reinterpret_cast<NETRESOURCEW*>(mData)[mCount++];
        entry = NETRESOURCEW{};
        entry.dwScope = RESOURCE_CONNECTED;
        entry.dwType = RESOURCETYPE_DISK;
        entry.dwDisplayType = RESOURCEDISPLAYTYPE_SHARE;
        entry.dwUsage = RESOURCEUSAGE_CONNECTABLE;
        entry.lpLocalName = addText(connection.localName);
        entry.lpRemoteName = addText(connection.remoteName);
        entry.lpProvider = addText(connection.provider);
        return true;
    }

private:
    static size_t textSize(const Text& text) noexcept {
        return text ? (text->size() + 1) * sizeof(wchar_t) : 0;
    }

    wchar_t* addText(const Text& text) noexcept {
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

/// Returns as much of the next batch as fits.
DWORD answerNext(Enumeration& enumeration, size_t limit, ResourceBuffer& buffer,
                 DWORD& size) noexcept {
    if (enumeration.batch == enumeration.batches.size()) {
        return WN_NO_MORE_ENTRIES;
    }
    const Batch& batch = enumeration.batches[enumeration.batch];
    for (; enumeration.connection < batch.connections.size(); ++enumeration.connection) {
        const Connection& next = batch.connections[enumeration.connection];
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

/// Without this line, a mistake would look like a system without drives. The list and its name
/// could have anything, so ccdrives prints them.
DWORD report(const char* problem, DWORD error) noexcept {
    std::fprintf(stderr, "ccdrives_provider: the list of drives can't be %s; see ccdrives list\n",
                 problem);
    return error;
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

DWORD WINAPI NPOpenEnum(DWORD scope, DWORD type, DWORD, LPNETRESOURCEW, LPHANDLE handle) try {
    if (scope != RESOURCE_CONNECTED) {
        return WN_NOT_SUPPORTED;
    }
    auto enumeration = std::make_unique<Enumeration>();
    // Who asks for printers alone finds none.
    if (type == RESOURCETYPE_ANY || (type & RESOURCETYPE_DISK) != 0) {
        const DriveList list = readDrives();
        if (list.openError != WN_SUCCESS) {
            return list.openError;
        }
        enumeration->batches = batchesOf(list);
    }
    *handle = enumeration.release();
    return WN_SUCCESS;
} catch (const DriveListError&) {
    return report("understood", ERROR_INVALID_DATA);
} catch (const std::runtime_error&) {
    return report("read", ERROR_OPEN_FAILED);
} catch (...) {
    return WN_OUT_OF_MEMORY;
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
