// Apart from drivesfile-win, so that the provider has only what it needs: every program that asks
// for network connections loads it. ScopedHandle and System::unicodePath would bring the texts of
// errors, and with them the library of sockets.

#include "tools/ccdrives/drivesread-win.h"

#include <array>
#include <memory>
#include <stdexcept>

#include <windows.h>

#include "tools/shared/fullpath-win.h"
#include "tools/shared/systemerror-win.h"
#include "util/platform/unicodetext-win.h"

namespace ccdrives {
namespace {

struct Closer {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Returns the path as Windows takes it at any length.
std::wstring openablePath(const std::string& file) {
    std::wstring full = toWide(tools::fullPath(file));
    if (full.size() < MAX_PATH || full.starts_with(L"\\\\?\\")) {
        return full;
    }
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

[[noreturn]] void fail(const std::string& file, DWORD error) {
    throw std::runtime_error("can't read '" + file + "': " + tools::systemErrorText(error) + "; " +
                             drivesAdvice);
}

}  // namespace

std::string readDrivesFile(const std::string& file) {
    HANDLE const opened =
        CreateFileW(openablePath(file).c_str(), GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN,
                    /*hTemplateFile=*/nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
            return {};
        }
        fail(file, error);
    }
    const std::unique_ptr<void, Closer> handle(opened);
    std::string text;
    std::array<char, 4096> block;
    DWORD size = 0;
    do {
        if (!ReadFile(handle.get(), block.data(), block.size(), &size, /*lpOverlapped=*/nullptr)) {
            fail(file, GetLastError());
        }
        text.append(block.data(), size);
    } while (size > 0);
    return text;
}

}  // namespace ccdrives
