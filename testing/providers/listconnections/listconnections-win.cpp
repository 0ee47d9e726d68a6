// listconnections [BUFFERSIZE [COUNT]]: prints what the WNet functions report about the connected
// network disks, step by step, with one line for each result and each entry. For tests of the
// provider, and to inspect what a system reports. BUFFERSIZE is 1024 bytes by default, COUNT "as
// many as fit".
//
//     open 0
//     enum 0 2
//     entry M: \\view ClearCase Dynamic Views        (fields are separated by tabs; a null pointer
//     enum 259 -1                                     is "(null)")
//     close 0

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <vector>

#include <windows.h>
#include <winnetwk.h>

namespace {

const char* textOrNull(const char* text) { return text != nullptr ? text : "(null)"; }

/// Performs one step. Returns true if another may follow.
bool enumerate(HANDLE enumeration, size_t size, DWORD count) {
    std::vector<NETRESOURCEA> buffer(size / sizeof(NETRESOURCEA) + 1);
    auto bytes = static_cast<DWORD>(size);
    const DWORD result = WNetEnumResourceA(enumeration, &count, buffer.data(), &bytes);
    if (result != NO_ERROR && result != ERROR_NO_MORE_ITEMS) {
        std::printf("enum %lu\n", result);
        return false;
    }
    std::printf("enum %lu %ld\n", result, static_cast<long>(count));
    // A system may leave the count unchanged if there is no entry.
    for (DWORD i = 0; i < count && count <= buffer.size(); ++i) {
        std::printf("entry\t%s\t%s\t%s\n", textOrNull(buffer[i].lpLocalName),
                    textOrNull(buffer[i].lpRemoteName), textOrNull(buffer[i].lpProvider));
    }
    return result == NO_ERROR;
}

}  // namespace

int main(int count, char** arguments) {
    _setmode(_fileno(stdout), _O_BINARY);
    const size_t size = count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 1024;
    const DWORD limit =
        count > 2 ? static_cast<DWORD>(std::strtoul(arguments[2], nullptr, 10)) : 0xFFFFFFFF;
    HANDLE enumeration = nullptr;
    const DWORD opened = WNetOpenEnumA(RESOURCE_CONNECTED, RESOURCETYPE_DISK, /*dwUsage=*/0,
                                       /*lpNetResource=*/nullptr, &enumeration);
    std::printf("open %lu\n", opened);
    if (opened != NO_ERROR) {
        return EXIT_FAILURE;
    }
    while (enumerate(enumeration, size, limit)) {
    }
    std::printf("close %lu\n", WNetCloseEnum(enumeration));
    return EXIT_SUCCESS;
}
