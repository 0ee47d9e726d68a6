// A second process that works on files, as its arguments say:
//
//     hold SIGNAL PATH SHARE             keeps a file or directory open, shared as SHARE's bits say
//     lock SIGNAL PATH                   keeps the first 1,000 bytes of a file locked
//     add SIGNAL DIRECTORY               makes one file after the other, and the directory as well
//     chains SIGNAL DIRECTORY COUNT      makes 0/a/b/c, 1/a/b/c and so on, each as soon as the
//                                        other process is there, too (see chains.h)
//     unique SIGNAL PREFIX COUNT         makes new directories whose names begin with PREFIX, and
//                                        the file "child" in each
//
// It makes the file SIGNAL when it is ready. The last two actions end when they are complete, the
// others when that file is gone. It fails if it can't perform its action.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include <windows.h>

#include "testing/children/filechild/chains.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system/smallfile-win.h"

namespace {

bool isThere(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool makeFile(const std::wstring& path) {
    return ScopedHandle(CreateFileW(path.c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr))
        .isOpen();
}

HANDLE open(const wchar_t* path, DWORD access, DWORD share) {
    return CreateFileW(path, access, share, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                       nullptr);
}

bool waitForEnd(const std::wstring& signal) {
    if (!makeFile(signal)) {
        return false;
    }
    while (isThere(signal)) {
        Sleep(1);
    }
    return true;
}

bool hold(const std::wstring& signal, const wchar_t* path, DWORD share) {
    const ScopedHandle file(open(path, GENERIC_READ, share));
    return file.isOpen() && waitForEnd(signal);
}

bool lock(const std::wstring& signal, const wchar_t* path) {
    const ScopedHandle file(
        open(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
    return file.isOpen() && LockFile(file.get(), 0, 0, 1000, 0) && waitForEnd(signal);
}

bool add(const std::wstring& signal, const std::wstring& directory) {
    bool isReady = makeFile(signal);
    for (unsigned number = 0; isReady && isThere(signal); ++number) {
        // Fails as long as the directory is being removed.
        CreateDirectoryW(directory.c_str(), nullptr);
        makeFile(directory + L'\\' + std::to_wstring(number));
    }
    return isReady;
}

bool makeUnique(const std::string& prefix, unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
        const std::string path = makeUniqueDirectory(prefix);
        if (path.empty() || !makeFile(toWide(path + "/child"))) {
            return false;
        }
    }
    return true;
}

bool run(const std::wstring& what, const std::wstring& signal, const wchar_t* const* arguments) {
    if (what == L"hold") {
        return hold(signal, arguments[0], std::stoul(arguments[1]));
    }
    if (what == L"lock") {
        return lock(signal, arguments[0]);
    }
    if (what == L"add") {
        return add(signal, arguments[0]);
    }
    if (what == L"chains") {
        return makeFile(signal) && testing_support::makeChains(toUtf8(arguments[0]), "child",
                                                               "parent", std::stoul(arguments[1]));
    }
    if (what == L"unique") {
        return makeFile(signal) && makeUnique(toUtf8(arguments[0]), std::stoul(arguments[1]));
    }
    return false;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    try {
        return count > 3 && run(arguments[1], arguments[2], arguments + 3) ? EXIT_SUCCESS
                                                                           : EXIT_FAILURE;
    } catch (const std::exception& e) {
        std::cerr << e.what();
        return EXIT_FAILURE;
    }
}
