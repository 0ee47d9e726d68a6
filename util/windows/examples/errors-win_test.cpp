// Examples of docs/utility.md: errors of Windows.

#include <iostream>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/pageexamples.h"
#include "util/platform/errorstate-win.h"
#include "util/platform/errortext-win.h"
#include "util/windows/debugstream-win.h"

namespace {

using WindowsErrorExampleTest = testing_support::UtilityExampleTest;

TEST_F(WindowsErrorExampleTest, ReportAFailedWindowsCall) {
    try {
        if (!DeleteFileW(L"missing.txt")) {
            throw Win32Exception("DeleteFileW");
        }
    } catch (const Win32Exception& failure) {
        std::cout << failure.what() << '\n' << (failure.mError == ERROR_FILE_NOT_FOUND) << '\n';
    }
}

TEST_F(WindowsErrorExampleTest, KeepAnErrorNumber) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    const ErrorState failure = ErrorState::current();
    SetLastError(ERROR_SUCCESS);
    std::cout << "can't read: " << failure << '\n';
    failure.restore();
    std::cout << GetLastError() << '\n';
}

TEST_F(WindowsErrorExampleTest, ReportAnErrorFromADestructor) {
    class Library {
    public:
        explicit Library(HMODULE module) : mModule(module) {}
        ~Library() {
            if (!FreeLibrary(mModule)) {
                debugFailure("FreeLibrary");
            }
        }
        Library(const Library&) = delete;
        Library& operator=(const Library&) = delete;

    private:
        HMODULE mModule;
    };
    const Library library(LoadLibraryW(L"version.dll"));
}

}  // namespace
