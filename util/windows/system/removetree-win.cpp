// System::removeTree.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/pathfun.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/directorysearch-win.h"
#include "util/windows/system/handles-win.h"
#include "util/windows/system/trees-win.h"

namespace {

/// Goes through a tree with one path that grows and shrinks, and a search handle for each level. It
/// doesn't use recursion, since a path can be thousands of levels deep. Names are taken verbatim
/// from the listing, so that names which `unicodePath` would change are removed as well.
///
/// Compatibility: callers may compare messages, so they keep what they lack: the space before a
/// quote, and the closing quote of the warning.
class TreeRemoval {
public:
    TreeRemoval(std::string& message, bool closeSystemHandles)
        : mMessage(message), mCloseSystemHandles(closeSystemHandles) {}

    /// Removes everything in a directory. `pattern`, which ends in `*`, matches all its entries.
    /// Returns false if there is no such directory.
    bool empty(const std::wstring& pattern);

    /// Removes a directory that is empty now; `name` is for the message.
    void removeDirectory(const std::wstring& directory, std::string_view name) {
        // The part before a null character would be another directory's name.
        const bool isName = directory.find(L'\0') == std::wstring::npos;
        if (!isName || !RemoveDirectoryW(directory.c_str())) {
            fail(isName ? GetLastError() : ERROR_INVALID_NAME, "couldn't delete directory \"", name,
                 "\": ");
        }
    }

    bool hasFailed() const { return mFailed; }

private:
    struct Level {
        DirectorySearch search;
        size_t length;  ///< of the directory's path, backslash included
    };

    bool enter();
    void leave();
    void toNextEntry();
    void removeEntry();
    void removeReparsePoint();
    void removeFile();
    bool deleteFile() const;

    void fail(DWORD error, const char* what, std::string_view name, const char* after) {
        mFailed = true;
        if (mMessage.empty()) {
            const uint32_t number = error;
            mMessage.append("System::removeTree ").append(what).append(name).append(after);
            mMessage.append(lastErrorText(/*withCode=*/false, &number, errorOfSystem));
        }
    }

    std::string& mMessage;
    const bool mCloseSystemHandles;
    bool mFailed = false;
    std::wstring mPath;  ///< of the innermost directory, backslash included, or of its entry
    std::vector<Level> mLevels;
    bool mHasEntry = false;
    WIN32_FIND_DATAW mEntry;  ///< the current one of the innermost directory, if it has one
};

bool TreeRemoval::empty(const std::wstring& pattern) {
    if (pattern.empty()) {
        return false;  // the path has no wide form
    }
    mPath.assign(pattern, 0, pattern.size() - 1);
    if (!enter()) {
        return false;
    }
    while (!mLevels.empty()) {
        if (mHasEntry) {
            removeEntry();
        } else {
            leave();
        }
    }
    return true;
}

/// Enters the directory `mPath`. Returns false if it isn't there.
bool TreeRemoval::enter() {
    Level level;
    level.length = mPath.size();
    const std::wstring pattern = mPath + L'*';
    mHasEntry = level.search.first(pattern, mEntry);
    const DWORD error = mHasEntry ? NO_ERROR : GetLastError();
    if (error == ERROR_PATH_NOT_FOUND) {
        return false;
    }
    if (!mHasEntry && error != ERROR_NO_MORE_FILES && error != ERROR_FILE_NOT_FOUND) {
        fail(error, "got error from FindFirstFileW(\"", toUtf8(pattern), "\"): ");
    }
    mLevels.push_back(std::move(level));
    return true;
}

/// Leaves the innermost directory, removes it and goes on with its parent.
void TreeRemoval::leave() {
    mLevels.pop_back();
    if (!mLevels.empty()) {
        mPath.pop_back();
        removeDirectory(mPath, toUtf8(mPath));
        toNextEntry();
    }
}

void TreeRemoval::toNextEntry() {
    Level& level = mLevels.back();
    mPath.resize(level.length);
    mHasEntry = level.search.next(mEntry);
    const DWORD error = mHasEntry ? NO_ERROR : GetLastError();
    if (!mHasEntry && error != ERROR_NO_MORE_FILES) {
        fail(error, "got error from FindNextFileW: ", "", "");
    }
}

void TreeRemoval::removeEntry() {
    constexpr DWORD directoryBits = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const DWORD kind = mEntry.dwFileAttributes & directoryBits;
    mPath += mEntry.cFileName;
    if (isDotEntry(mEntry)) {
        toNextEntry();
    } else if (kind == directoryBits) {
        removeReparsePoint();
    } else if (kind != FILE_ATTRIBUTE_DIRECTORY) {
        removeFile();
        toNextEntry();
    } else {
        mPath += L'\\';
        // Compatibility: after a failure no further directory is entered, but files are still
        // deleted.
        if (mFailed || !enter()) {
            toNextEntry();
        }
    }
}

/// Removes a link to a directory, but not its target.
void TreeRemoval::removeReparsePoint() {
    if (RemoveDirectoryW(mPath.c_str())) {
        toNextEntry();
        return;
    }
    const DWORD error = GetLastError();
    // Compatibility: this failure ends the listing of the directory. Its message lacks a space.
    mLevels.back().search.close();
    mHasEntry = false;
    fail(error, "couldn't delete reparse point\"", toUtf8(mPath), "\": ");
    mPath.resize(mLevels.back().length);
}

void TreeRemoval::removeFile() {
    bool deleted = deleteFile();
    // Compatibility: only for files of the outermost directory. An absolute path, which begins with
    // `\\?\`, matches nothing; a relative path is matched without its first two characters.
    if (!deleted && mCloseSystemHandles && mLevels.size() == 1) {
        // Whether a handle was closed or not, one more try shows.
        static_cast<void>(HandleInspector::instance().closeSystemFileHandle(mPath));
        deleted = DeleteFileW(mPath.c_str());
    }
    const DWORD error = GetLastError();
    if (!deleted) {
        fail(error, "couldn't delete file\"", toUtf8(mPath), "\": ");  // Compatibility: no space
    }
}

/// Deletes the file `mPath`, also if it is read-only.
bool TreeRemoval::deleteFile() const {
    if (DeleteFileW(mPath.c_str())) {
        return true;
    }
    if (GetLastError() != ERROR_ACCESS_DENIED) {
        return false;
    }
    SetFileAttributesW(mPath.c_str(), mEntry.dwFileAttributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    return DeleteFileW(mPath.c_str());
}

/// Waits until a deleted directory is gone. While others hold it open, it stays visible and can't
/// be opened.
void waitUntilGone(const std::string& path, std::string& message) {
    constexpr DWORD firstDelay = 10;
    constexpr DWORD delayOfWarning = 320;
    constexpr DWORD lastDelay = 1280;
    const std::wstring name = System::unicodePath(path);
    for (DWORD delay = firstDelay; delay <= lastDelay; delay *= 2) {
        const ScopedHandle directory = openExisting(name, /*access=*/0, FILE_FLAG_BACKUP_SEMANTICS);
        // A directory that can be opened is a new one, made by somebody else.
        if (directory.isOpen() || GetLastError() != ERROR_ACCESS_DENIED) {
            return;
        }
        SleepEx(delay, /*bAlertable=*/FALSE);
        if (delay == delayOfWarning) {
            message = "System::removeTree can't immediately remove tree \"";
            message += path;  // Compatibility: no closing quote
        }
    }
}

}  // namespace

bool System::removeTree(const std::string& path, std::string& message, bool keepRoot,
                        bool closeSystemHandles, bool waitUntilGone) {
    TreeRemoval removal(message, closeSystemHandles);
    if (!removal.empty(unicodePath(joinPath(path, "*", '/')))) {
        return true;
    }
    if (!keepRoot) {
        removal.removeDirectory(unicodePath(path), path);
    }
    if (!removal.hasFailed() && waitUntilGone && !keepRoot) {
        ::waitUntilGone(path, message);
    }
    return !removal.hasFailed();
}
