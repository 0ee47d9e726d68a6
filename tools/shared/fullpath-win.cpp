#include "tools/shared/fullpath-win.h"

#include <windows.h>

#include "util/platform/unicodetext-win.h"

namespace tools {

std::string fullPath(const std::string& path) {
    const std::wstring wide = toWide(path);
    std::wstring full(
        GetFullPathNameW(wide.c_str(), /*nBufferLength=*/0, /*lpBuffer=*/nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(),
                                 /*lpFilePart=*/nullptr));
    return full.empty() ? path : toUtf8(full);
}

}  // namespace tools
