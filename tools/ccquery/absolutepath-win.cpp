#include "tools/ccquery/absolutepath-win.h"

#include <algorithm>
#include <stdexcept>

#include <windows.h>

#include "tools/ccquery/windowstext-win.h"

namespace ccquery {

bool isAbsolutePath(std::string_view path) {
    constexpr std::string_view separators = "\\/";
    const size_t server = path.find_first_not_of(separators);
    if (server == 0) {
        return path.size() >= 2 && path[1] == ':';
    }
    if (server < 2 || server == std::string_view::npos) {
        return false;
    }
    const size_t serverEnd = path.find_first_of(separators, server);
    return path.find_first_not_of(separators, serverEnd) != std::string_view::npos;
}

std::string absolutePath(const std::string& path) {
    if (isAbsolutePath(path)) {
        return path;
    }
    std::wstring wide = toWide(path);
    // Wine treats a path with a leading slash as one of its host's.
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    const DWORD size =
        GetFullPathNameW(wide.c_str(), /*nBufferLength=*/0, /*lpBuffer=*/nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(wide.c_str(), size, full.data(), /*lpFilePart=*/nullptr));
    std::string result = toUtf8(full);
    if (!isAbsolutePath(result)) {
        throw std::runtime_error("'" + path +
                                 "' can't be made an absolute path; name a drive, or a server "
                                 "and a share");
    }
    return result;
}

std::string currentDirectory() { return absolutePath("."); }

}  // namespace ccquery
