#include "util/windows/system-files-win.h"

#include <windows.h>

#include "util/windows/system-paths-win.h"

namespace {

bool removeOnce(const std::wstring& name) {
    if (DeleteFileW(name.c_str())) {
        return true;
    }
    const DWORD error = GetLastError();
    if (RemoveDirectoryW(name.c_str())) {
        return true;
    }
    if (GetLastError() == ERROR_DIRECTORY) {
        SetLastError(error);  // a file: why it can't be deleted is what counts
    }
    return false;
}

}  // namespace

int System::remove(const std::string& path, bool force) {
    const std::wstring name = unicodePath(path);
    if (removeOnce(name)) {
        return 0;
    }
    if (force) {
        SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (removeOnce(name)) {
            return 0;
        }
    }
    return -1;
}
