#pragma once

#include <string>

#include <windows.h>

inline constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Opens an existing file, sharing all access. A directory needs FILE_FLAG_BACKUP_SEMANTICS in
/// `flags`. Returns INVALID_HANDLE_VALUE on failure, with the error in GetLastError.
[[nodiscard]] inline HANDLE openExisting(const std::wstring& name, DWORD access, DWORD flags) {
    return CreateFileW(name.c_str(), access, shareAll, /*lpSecurityAttributes=*/nullptr,
                       OPEN_EXISTING, flags, /*hTemplateFile=*/nullptr);
}
