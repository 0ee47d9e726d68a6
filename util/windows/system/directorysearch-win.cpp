#include "util/windows/system/directorysearch-win.h"

bool isDotEntry(const WIN32_FIND_DATAW& entry) {
    const wchar_t* name = entry.cFileName;
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

bool DirectorySearch::first(const std::wstring& pattern, WIN32_FIND_DATAW& entry) {
    close();
    if (pattern.find(L'\0') != std::wstring::npos) {
        SetLastError(ERROR_INVALID_NAME);
        return false;
    }
    mHandle = FindFirstFileW(pattern.c_str(), &entry);
    return mHandle != INVALID_HANDLE_VALUE;
}

bool DirectorySearch::next(WIN32_FIND_DATAW& entry) { return FindNextFileW(mHandle, &entry); }

void DirectorySearch::close() {
    if (mHandle != INVALID_HANDLE_VALUE) {
        FindClose(std::exchange(mHandle, INVALID_HANDLE_VALUE));
    }
}
