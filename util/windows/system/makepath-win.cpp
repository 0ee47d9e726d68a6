// System::makePath.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "util/parentlength.h"
#include "util/platform/errortext-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace {

[[noreturn]] void fail(const std::string& path, const char* why) {
    std::string text = "couldn't create directory \"";
    throw std::runtime_error(text.append(path).append("\": ").append(why));
}

/// Whether there is a directory at `path`. Fails with `fileInTheWay` if anything else is there.
bool isThere(const std::string& path, const char* fileInTheWay) {
    FileStat stat;
    if (!stat.read(path, /*unused=*/0)) {
        return false;
    }
    if (!stat.isDirectory()) {
        fail(path, fileInTheWay);
    }
    return true;
}

[[noreturn]] void fail(const std::string& path, uint32_t error) {
    fail(path, lastErrorText(/*withCode=*/false, &error, errorOfSystem));
}

/// Creates the chain of directories that ends with a path that was missing. It doesn't use
/// recursion, since a path can be thousands of levels deep.
class Chain {
public:
    /// `created` receives the outermost directory that is created.
    Chain(const std::string& path, std::string& created)
        : mPath(path), mCurrent(path), mCreated(created) {}

    void make() {
        while (!makeCurrent()) {
            toParent();
            if (isThere(mCurrent, "already exists as simple file")) {
                mCreated.clear();
                break;
            }
        }
        for (; !mWaiting.empty(); mWaiting.pop_back()) {
            mCurrent.assign(mPath, 0, mWaiting.back());
            makeAfterParent();
        }
    }

private:
    /// Returns false if the parent is missing.
    bool makeCurrent() {
        if (System::makeDirectory(mCurrent, /*mode=*/0)) {
            noteCreation();
            return true;
        }
        const uint32_t error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
            return false;
        }
        // Another process may have created it first.
        if (error == ERROR_ALREADY_EXISTS &&
            isThere(mCurrent, "already exists as simple file during create")) {
            return true;
        }
        fail(mCurrent, error);
    }

    void makeAfterParent() {
        if (System::makeDirectory(mCurrent, /*mode=*/0)) {
            noteCreation();
            return;
        }
        const uint32_t error = GetLastError();
        if (error != ERROR_ALREADY_EXISTS ||
            !isThere(mCurrent, "already exists as file during create after parent")) {
            fail(mCurrent, error);
        }
        SetLastError(error);
    }

    void toParent() {
        mWaiting.push_back(mCurrent.size());
        const size_t length = parentLength(mCurrent);
        if (length == 0) {
            std::string text = "System::makePath couldn't create directory: \"";
            throw std::runtime_error(text.append(mCurrent).append("\" doesn't exist"));
        }
        mCurrent.resize(length);
    }

    void noteCreation() {
        if (!mHasCreated) {
            mCreated = mCurrent;
            mHasCreated = true;
        }
    }

    const std::string& mPath;
    std::string mCurrent;          ///< a beginning of the path
    std::vector<size_t> mWaiting;  ///< the lengths of the paths that wait for their parents
    std::string& mCreated;
    bool mHasCreated = false;
};

}  // namespace

void System::makePath(const char* path, std::string* created) {
    if (path == nullptr || *path == '\0') {
        return;
    }
    const std::string name = path;
    std::string unused;
    std::string& outermost = created != nullptr ? *created : unused;
    if (isThere(name, "already exists as simple file")) {
        outermost.clear();
    } else {
        Chain(name, outermost).make();
    }
}
