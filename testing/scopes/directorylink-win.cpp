#include "testing/scopes/directorylink-win.h"

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include <windows.h>
#include <winioctl.h>

#include "testing/eventually.h"
#include "testing/underwine-win.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;

bool isLink(const fs::path& path) {
    constexpr DWORD bits = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & bits) == bits;
}

/// The beginning of REPARSE_DATA_BUFFER for a mount point. The two names follow, each with its NUL.
struct MountPoint {
    ULONG tag;
    USHORT dataLength;
    USHORT reserved;
    USHORT substituteNameOffset, substituteNameLength;
    USHORT printNameOffset, printNameLength;
};

std::vector<char> junctionTo(const std::wstring& target) {
    constexpr size_t nul = sizeof(wchar_t);
    const std::wstring substitute = L"\\??\\" + target;
    const size_t substituteLength = substitute.size() * sizeof(wchar_t);
    const size_t printLength = target.size() * sizeof(wchar_t);
    const size_t namesLength = substituteLength + nul + printLength + nul;
    MountPoint head = {};
    head.tag = IO_REPARSE_TAG_MOUNT_POINT;
    head.dataLength = static_cast<USHORT>(4 * sizeof(USHORT) + namesLength);
    head.substituteNameLength = static_cast<USHORT>(substituteLength);
    head.printNameOffset = static_cast<USHORT>(substituteLength + nul);
    head.printNameLength = static_cast<USHORT>(printLength);
    std::vector<char> data(sizeof head + namesLength);
    std::memcpy(data.data(), &head, sizeof head);
    std::memcpy(data.data() + sizeof head, substitute.c_str(), substituteLength + nul);
    std::memcpy(data.data() + sizeof head + substituteLength + nul, target.c_str(),
                printLength + nul);
    return data;
}

void makeJunction(const fs::path& link, const fs::path& target) {
    CreateDirectoryW(link.c_str(), nullptr);
    std::vector<char> data = junctionTo(target.wstring());
    DWORD returned = 0;
    const std::unique_ptr<void, decltype(&CloseHandle)> directory(
        CreateFileW(link.c_str(), GENERIC_WRITE, /*dwShareMode=*/0, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT,
                    /*hTemplateFile=*/nullptr),
        CloseHandle);
    DeviceIoControl(directory.get(), FSCTL_SET_REPARSE_POINT, data.data(),
                    static_cast<DWORD>(data.size()), nullptr, 0, &returned, nullptr);
}

/// Starts a program of Wine's host system. Wine returns no handles of such a process.
void startBelowWine(const std::wstring& program, const std::wstring& arguments,
                    const fs::path& folder) {
    const std::wstring path = L"\\\\?\\unix\\bin\\" + program;
    std::wstring line = program + L' ' + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    CreateProcessW(path.c_str(), line.data(), /*lpProcessAttributes=*/nullptr,
                   /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/FALSE,
                   /*dwCreationFlags=*/0, /*lpEnvironment=*/nullptr, folder.c_str(), &startup,
                   &process);
}

}  // namespace

DirectoryLink::DirectoryLink(const TempFolder& folder, const std::string& link,
                             const std::string& target)
    : mLink(folder.path() / link) {
    if (isUnderWine()) {
        const fs::path fromLink = fs::relative(folder.path() / target, mLink.parent_path());
        startBelowWine(L"ln",
                       L"-s " + fromLink.generic_wstring() + L' ' + mLink.filename().wstring(),
                       mLink.parent_path());
    } else {
        makeJunction(mLink, (folder.path() / target).make_preferred());
    }
    if (!eventually([this] { return isLink(mLink); })) {
        throw std::runtime_error("no link to a directory can be made");
    }
}

bool DirectoryLink::remove() const {
    if (!isLink(mLink)) {
        return true;
    }
    if (isUnderWine()) {
        startBelowWine(L"rm", mLink.filename().wstring(), mLink.parent_path());
    } else {
        RemoveDirectoryW(mLink.c_str());
    }
    return eventually([this] { return !isLink(mLink); });
}

}  // namespace testing_support
