#include "util/windows/system/files-win.h"

#include <algorithm>
#include <cstddef>

#include "util/parentlength.h"
#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/directorysearch-win.h"
#include "util/windows/system/host-win.h"

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
        SetLastError(error);  // a file: report why it can't be deleted
    }
    return false;
}

System::RemoveDirectoryResult removeDirectoryOnce(const std::wstring& name) {
    if (RemoveDirectoryW(name.c_str())) {
        return System::directoryRemoved;
    }
    switch (GetLastError()) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            return System::directoryMissing;
        case ERROR_DIR_NOT_EMPTY:
            return System::directoryNotEmpty;
        case ERROR_DIRECTORY:
            return System::notADirectory;
        default:
            return System::directoryNotRemoved;
    }
}

bool opens(const std::wstring& name, DWORD access) {
    return openExisting(name, access, FILE_ATTRIBUTE_NORMAL).isOpen();
}

bool canListWide(const std::wstring& name) {
    WIN32_FIND_DATAW entry;
    DirectorySearch search;
    return search.first(name + L"\\*", entry);
}

/// Whether a file can be created in a directory.
bool takesFiles(const std::string& directory) {
    const std::string name = System::temporaryFileName(directory, "wd");
    if (name.empty()) {
        return false;
    }
    // A file that can't be removed stays: the directory takes files all the same.
    static_cast<void>(System::remove(name, /*force=*/false));
    return true;
}

/// Returns the parent that `missingParents` checks next, or an empty text at the top.
std::string parentToLookAt(const std::string& path) {
    size_t length = parentLength(path);
    if (length == 2 && isDriveRoot(path.substr(0, 3).c_str()) != 0) {
        length = 3;
    }
    // Compatibility: a parent of one character, such as that of "a/b", counts as none, so
    // `missingParents` doesn't list it.
    return length >= 2 ? path.substr(0, length) : std::string();
}

}  // namespace

CallResult System::remove(const std::string& path, bool force) {
    const std::wstring name = unicodePath(path);
    if (removeOnce(name)) {
        return callSucceeded;
    }
    if (force) {
        SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (removeOnce(name)) {
            return callSucceeded;
        }
    }
    return callFailed;
}

System::RemoveDirectoryResult System::removeDirectory(const std::string& path, bool force) {
    const std::wstring name = unicodePath(path);
    const RemoveDirectoryResult result = removeDirectoryOnce(name);
    if (result != directoryNotRemoved || !force) {
        return result;
    }
    SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    return removeDirectoryOnce(name);
}

bool System::listDirectory(const std::string& path, std::vector<std::string>& names,
                           std::vector<FileStat>* stats) {
    WIN32_FIND_DATAW entry;
    DirectorySearch search;
    if (!search.first(unicodePath(joinPath(path, "*", '/')), entry)) {
        return false;
    }
    do {
        names.push_back(toUtf8(entry.cFileName));
        if (stats != nullptr) {
            stats->emplace_back(entry);
        }
    } while (search.next(entry));
    // Compatibility: a listing that breaks off counts as complete. Callers get what was read.
    return true;
}

void System::missingParents(const std::string& path, std::vector<std::string>& names) {
    std::string missing = path;  // a copy, since `path` may be one of the names
    names.clear();
    while (!exists(missing)) {
        names.push_back(missing);
        missing = parentToLookAt(missing);
        if (missing.empty()) {
            break;
        }
    }
    std::reverse(names.begin(), names.end());
}

bool System::exists(const std::string& path) {
    return GetFileAttributesW(unicodePath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool System::canRead(const std::string& path) { return opens(unicodePath(path), GENERIC_READ); }

bool System::canWrite(const std::string& path) { return opens(unicodePath(path), GENERIC_WRITE); }

bool System::canListDirectory(const std::string& path) {
    const std::wstring name = unicodePath(path);
    if (name.empty() && !path.empty()) {
        SetLastError(ERROR_PATH_NOT_FOUND);  // no wide form
        return false;
    }
    // Compatibility: an empty path is the root of the current drive, so it can be listed if that
    // root can.
    return canListWide(name);
}

bool System::isWritable(const std::string& path) {
    if (path.empty()) {
        return false;
    }
    if (isPathSeparator(path.back())) {
        return takesFiles(path);
    }
    if (canWrite(path)) {
        return true;
    }
    // A directory can't be opened that way.
    return GetLastError() == ERROR_ACCESS_DENIED && takesFiles(path);
}

bool System::isReadable(const std::wstring& path) {
    if (path.empty()) {
        return false;
    }
    if (path.back() != L'/' && path.back() != L'\\') {
        if (opens(path, GENERIC_READ)) {
            return true;
        }
        if (GetLastError() != ERROR_ACCESS_DENIED) {
            return false;
        }
    }
    return canListWide(path);
}

bool System::makeDirectory(const std::string& path, int /*mode*/) {
    return CreateDirectoryW(unicodePath(path).c_str(), /*lpSecurityAttributes=*/nullptr);
}

bool System::rename(const std::string& from, const std::string& to, bool acrossVolumes) {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | (acrossVolumes ? MOVEFILE_COPY_ALLOWED : 0U);
    return MoveFileExW(unicodePath(from).c_str(), unicodePath(to).c_str(), flags);
}

CallResult System::hardLink(const std::string& existing, const std::string& link) {
    return CreateHardLinkW(unicodePath(link).c_str(), unicodePath(existing).c_str(),
                           /*lpSecurityAttributes=*/nullptr)
               ? callSucceeded
               : callFailed;
}

std::FILE* System::openFile(const std::string& path, const std::string& mode) {
    return _wfopen(unicodePath(path).c_str(), toWide(mode).c_str());
}

int64_t System::freeDiskSpace(const std::string& path) {
    const std::wstring name = unicodePath(path);
    ULARGE_INTEGER toCaller;
    return GetDiskFreeSpaceExW(path.empty() ? nullptr : name.c_str(), &toCaller,
                               /*lpTotalNumberOfBytes=*/nullptr,
                               /*lpTotalNumberOfFreeBytes=*/nullptr)
               ? static_cast<int64_t>(toCaller.QuadPart)
               : int64_t{callFailed};
}

bool System::readBytes(const std::string& path, std::string& buffer, size_t size) {
    buffer.resize(size);
    const ScopedHandle file(CreateFileW(unicodePath(path).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                        /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
    const auto count = static_cast<DWORD>(std::min<size_t>(size, MAXDWORD));
    DWORD read = 0;
    return file.isOpen() &&
           ReadFile(file.get(), buffer.data(), count, &read, /*lpOverlapped=*/nullptr);
}

std::string System::temporaryFileName(const std::string& directory, const std::string& prefix) {
    const std::wstring folder = unicodePath(directory.empty() ? tempDirectory() : directory);
    if (folder.empty()) {
        // The path has no wide form; Windows would take the root of the current drive.
        SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    // Enough for the folder, a name of 14 characters, and the terminator.
    std::wstring name(std::max<size_t>(folder.size() + 16, MAX_PATH), L'\0');
    if (GetTempFileNameW(folder.c_str(), toWide(prefix).c_str(), /*uUnique=*/0, name.data()) == 0) {
        return {};
    }
    name.resize(name.find(L'\0'));
    stripUnicodePrefix(name);
    return toUtf8(name);
}

int64_t writeWithRetry(HANDLE file, const void* buffer, uint32_t count) {
    constexpr int tries = 5;
    constexpr DWORD pause = 50;
    for (int attempt = 1;; ++attempt) {
        DWORD written = 0;
        if (WriteFile(file, buffer, count, &written, /*lpOverlapped=*/nullptr)) {
            return written;
        }
        if (GetLastError() != ERROR_LOCK_VIOLATION || attempt == tries) {
            return callFailed;
        }
        if (attempt > 1) {
            SleepEx(pause, /*bAlertable=*/FALSE);
        }
    }
}
