#pragma once

#include <string>

#include <windows.h>

inline constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Opens what is there, shared with everybody; a directory only with FILE_FLAG_BACKUP_SEMANTICS
/// among the `flags`. INVALID_HANDLE_VALUE on failure, which is in GetLastError.
inline HANDLE openExisting(const std::wstring& name, DWORD access, DWORD flags) {
    return CreateFileW(name.c_str(), access, shareAll, /*lpSecurityAttributes=*/nullptr,
                       OPEN_EXISTING, flags, /*hTemplateFile=*/nullptr);
}
