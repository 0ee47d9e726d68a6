#pragma once

#include <string>

#include <windows.h>

#include "util/windows/scopedhandle-win.h"

/// Lets others read, write, rename and delete a file that is open.
inline constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Opens an existing file, sharing all access. A directory needs FILE_FLAG_BACKUP_SEMANTICS in
/// `flags`. The result isn't open if that fails; the error is in GetLastError. The default
/// arguments are those of ScopedHandle.
[[nodiscard]] inline ScopedHandle openExisting(const std::wstring& name, DWORD access, DWORD flags,
                                               const char* file = __builtin_FILE(),
                                               int line = __builtin_LINE(),
                                               const char* function = __builtin_FUNCTION()) {
    return ScopedHandle(CreateFileW(name.c_str(), access, shareAll,
                                    /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, flags,
                                    /*hTemplateFile=*/nullptr),
                        file, line, function);
}
