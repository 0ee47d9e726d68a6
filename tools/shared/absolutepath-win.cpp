#include "tools/shared/absolutepath-win.h"

#include <algorithm>
#include <stdexcept>

#include <windows.h>

#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"

namespace tools {

std::string absolutePath(const std::string& path) {
    if (isAbsolutePath(path, windowsPaths)) {
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
    if (!isAbsolutePath(result, windowsPaths)) {
        throw std::runtime_error("'" + path +
                                 "' can't be made an absolute path; name a drive, or a server "
                                 "and a share");
    }
    return result;
}

std::string currentDirectory() { return absolutePath("."); }

}  // namespace tools
