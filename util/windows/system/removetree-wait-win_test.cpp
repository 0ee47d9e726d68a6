// System::removeTree on directories and files in use: its waits, its last resort, and processes
// that work on the same tree.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/eventually.h"
#include "testing/processes/filechild-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/handles-win.h"
#include "util/windows/system/trees-win.h"

namespace {

using namespace testing_support;

// The error of each attempt to open the removed directory. All further attempts get the last one.
std::vector<DWORD> gErrors;
size_t gAttempts;
std::vector<DWORD> gSleeps;
std::wstring gName;

HANDLE WINAPI open(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                   DWORD disposition, DWORD flags, HANDLE) {
    gName = name;
    EXPECT_EQ(access, 0U);
    EXPECT_EQ(share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE});
    EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS});
    const DWORD error = gErrors[std::min(gAttempts++, gErrors.size() - 1)];
    SetLastError(error);
    return error == ERROR_SUCCESS ? CreateEventW(nullptr, FALSE, FALSE, nullptr)
                                  : INVALID_HANDLE_VALUE;
}
DWORD WINAPI sleep(DWORD milliseconds, BOOL alertable) {
    EXPECT_FALSE(alertable);
    gSleeps.push_back(milliseconds);
    return 0;
}

class SystemRemoveTreeWaitTest : public testing::Test {
protected:
    /// Removes an empty directory while attempts to open it fail with these errors. Returns the
    /// sleeps.
    std::vector<DWORD> waitsFor(const std::vector<DWORD>& errors, bool keepRoot = false,
                                bool waitUntilGone = true) {
        const std::string root = rootPath();
        EXPECT_TRUE(System::makeDirectory(root, 0) || GetLastError() == ERROR_ALREADY_EXISTS);
        const ReplacedCall<decltype(CreateFileW)> opened("CreateFileW", open);
        const ReplacedCall<decltype(SleepEx)> slept("SleepEx", sleep);
        gErrors = errors;
        gAttempts = 0;
        gSleeps.clear();
        EXPECT_TRUE(System::removeTree(root, mMessage, keepRoot, false, waitUntilGone));
        return gSleeps;
    }
    std::string rootPath() const { return mFolder.utf8("tree"); }

    TempFolder mFolder;
    std::string mMessage;
};

constexpr DWORD pending = ERROR_ACCESS_DENIED;

TEST_F(SystemRemoveTreeWaitTest, ADirectoryThatStaysPendingIsWaitedForEightTimes) {
    const size_t before = handleCount();
    EXPECT_EQ(waitsFor({pending}), (std::vector<DWORD>{10, 20, 40, 80, 160, 320, 640, 1280}));
    EXPECT_EQ(gName, System::unicodePath(rootPath()));
    EXPECT_EQ(mMessage, "System::removeTree can't immediately remove tree \"" + rootPath());
    EXPECT_EQ(handleCount(), before);
}

TEST_F(SystemRemoveTreeWaitTest, TheWarningComesWithTheSixthSleepInPlaceOfAnyText) {
    mMessage = "an earlier text";
    EXPECT_EQ(waitsFor({pending, pending, pending, pending, pending, ERROR_FILE_NOT_FOUND}).size(),
              5U);
    EXPECT_EQ(mMessage, "an earlier text");
    EXPECT_EQ(waitsFor({pending, pending, pending, pending, pending, pending, ERROR_FILE_NOT_FOUND})
                  .size(),
              6U);
    EXPECT_EQ(mMessage, "System::removeTree can't immediately remove tree \"" + rootPath());
}

TEST_F(SystemRemoveTreeWaitTest, AnyOtherErrorSaysThatItIsGone) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_SHARING_VIOLATION}) {
        EXPECT_EQ(waitsFor({error}), std::vector<DWORD>());
        EXPECT_EQ(waitsFor({pending, pending, error}), (std::vector<DWORD>{10, 20}));
    }
    EXPECT_EQ(mMessage, "");
}

TEST_F(SystemRemoveTreeWaitTest, WhatOpensIsAnotherDirectoryAndIsClosed) {
    const size_t before = handleCount();
    EXPECT_EQ(waitsFor({pending, ERROR_SUCCESS}), std::vector<DWORD>{10});
    EXPECT_EQ(handleCount(), before);
}

TEST_F(SystemRemoveTreeWaitTest, OnlyARemovedDirectoryIsWaitedForAndOnlyOnDemand) {
    waitsFor({pending}, /*keepRoot=*/true);
    EXPECT_EQ(gAttempts, 0U);
    waitsFor({pending}, /*keepRoot=*/false, /*waitUntilGone=*/false);
    EXPECT_EQ(gAttempts, 0U);
}

TEST_F(SystemRemoveTreeWaitTest, AfterAFailureNothingIsWaitedFor) {
    ASSERT_TRUE(System::makeDirectory(rootPath(), 0));
    const ReplacedCall<decltype(RemoveDirectoryW)> refused("RemoveDirectoryW", [](LPCWSTR) -> BOOL {
        SetLastError(ERROR_SHARING_VIOLATION);
        return FALSE;
    });
    const ReplacedCall<decltype(CreateFileW)> opened("CreateFileW", open);
    gAttempts = 0;
    EXPECT_FALSE(System::removeTree(rootPath(), mMessage, false, false, true));
    EXPECT_EQ(gAttempts, 0U);
}

TEST_F(SystemRemoveTreeWaitTest, OnlyTheOutermostDirectoryIsWaitedFor) {
    ASSERT_TRUE(System::makeDirectory(rootPath(), 0));
    ASSERT_TRUE(System::makeDirectory(rootPath() + "/below", 0));
    EXPECT_EQ(waitsFor({pending, ERROR_FILE_NOT_FOUND}), std::vector<DWORD>{10});
    EXPECT_EQ(gAttempts, 2U);
    EXPECT_EQ(gName, System::unicodePath(rootPath()));
}

FileChild* gChild;

/// Whether a directory that has been removed can't be opened while another process holds it.
bool staysPendingWhileHeld(const std::string& path) {
    const FileChild child("hold", {path, "7"});
    const std::wstring name = System::unicodePath(path);
    EXPECT_TRUE(RemoveDirectoryW(name.c_str()));
    return GetFileAttributesW(name.c_str()) == INVALID_FILE_ATTRIBUTES &&
           GetLastError() == ERROR_ACCESS_DENIED;
}

TEST_F(SystemRemoveTreeWaitTest, ADirectoryThatAnotherProcessHoldsIsGoneWhenItLetsGo) {
    ASSERT_TRUE(System::makeDirectory(rootPath(), 0));
    if (!staysPendingWhileHeld(rootPath())) {
        GTEST_SKIP() << "a directory that is held open goes at once here";
    }
    ASSERT_TRUE(System::makeDirectory(rootPath(), 0));
    FileChild child("hold", {rootPath(), "7"});
    gChild = &child;
    gSleeps.clear();
    const ReplacedCall<decltype(SleepEx)> slept("SleepEx", [](DWORD, BOOL) -> DWORD {
        gSleeps.push_back(0);
        EXPECT_TRUE(gChild->end());
        return 0;
    });
    EXPECT_TRUE(System::removeTree(rootPath(), mMessage, false, false, true));
    EXPECT_EQ(mMessage, "");
    EXPECT_EQ(gSleeps.size(), 1U);
    EXPECT_FALSE(System::exists(rootPath()));
}

// The last resort.

std::vector<std::wstring> gDeleted;

BOOL WINAPI refuseFile(LPCWSTR path) {
    gDeleted.emplace_back(path);
    SetLastError(ERROR_SHARING_VIOLATION);
    return FALSE;
}

int gTables;

NTSTATUS NTAPI emptyTable(ULONG, void* table, ULONG size, ULONG* length) {
    ++gTables;
    EXPECT_GE(size, sizeof(uint32_t));
    *static_cast<uint32_t*>(table) = 0;
    *length = 0;
    return 0;
}

/// Until the scope ends, the inspector of the process finds no handle. Its queries are counted.
class NoSystemHandles {
public:
    NoSystemHandles() { mQuery = &emptyTable; }
    ~NoSystemHandles() { HandleInspector::instance().mNtQuerySystemInformation = mBefore; }
    NoSystemHandles(const NoSystemHandles&) = delete;
    NoSystemHandles& operator=(const NoSystemHandles&) = delete;

private:
    HandleInspector::NtQuerySystemInformationFunction*& mQuery =
        HandleInspector::instance().mNtQuerySystemInformation;
    HandleInspector::NtQuerySystemInformationFunction* mBefore = mQuery;
};

TEST(SystemRemoveTreeHandlesTest, OnDemandTheSystemProcessIsSearchedForAFileThatResists) {
    const TempFolder folder;
    ASSERT_TRUE(System::makeDirectory(folder.utf8("tree"), 0));
    ASSERT_TRUE(System::makeDirectory(folder.utf8("tree/d"), 0));
    folder.write("tree/d/below", "x");
    const ReplacedCall<decltype(DeleteFileW)> refused("DeleteFileW", refuseFile);
    for (const bool closeSystemHandles : {false, true}) {
        const NoSystemHandles none;
        gTables = 0;
        gDeleted.clear();
        std::string message;
        EXPECT_FALSE(
            System::removeTree(folder.utf8("tree/d"), message, true, closeSystemHandles, false));
        EXPECT_EQ(gTables, closeSystemHandles ? 1 : 0);
        EXPECT_EQ(gDeleted.size(), closeSystemHandles ? 2U : 1U) << "a last attempt follows";
        EXPECT_NE(message.find("couldn't delete file\""), std::string::npos) << message;

        gTables = 0;
        EXPECT_FALSE(
            System::removeTree(folder.utf8("tree"), message, true, closeSystemHandles, false));
        EXPECT_EQ(gTables, 0) << "not for files below";
    }
}

BOOL WINAPI denyUntilTheTableIsRead(LPCWSTR path) {
    gDeleted.emplace_back(path);
    SetLastError(ERROR_ACCESS_DENIED);
    return gTables > 0;
}

TEST(SystemRemoveTreeHandlesTest, AFileThatIsLetGoOfIsDeletedByTheLastAttempt) {
    const TempFolder folder;
    const std::string file = folder.write("f", "x");
    const std::wstring name = System::unicodePath(file);
    const ReplacedCall<decltype(DeleteFileW)> deletion("DeleteFileW", denyUntilTheTableIsRead);
    static std::vector<DWORD> attributes;
    const ReplacedCall<decltype(SetFileAttributesW)> attribute("SetFileAttributesW",
                                                               [](LPCWSTR, DWORD bits) -> BOOL {
                                                                   EXPECT_EQ(gDeleted.size(), 1U);
                                                                   attributes.push_back(bits);
                                                                   return TRUE;
                                                               });
    const NoSystemHandles none;
    gTables = 0;
    gDeleted.clear();
    attributes.clear();
    std::string message;
    EXPECT_TRUE(System::removeTree(folder.utf8(), message, true, true, false));
    EXPECT_EQ(message, "");
    EXPECT_EQ(gTables, 1);
    EXPECT_EQ(attributes.size(), 1U);
    EXPECT_EQ(gDeleted, std::vector<std::wstring>(3, name));
}

// Another process that keeps adding files.

decltype(RemoveDirectoryW)* gRemoveDirectory;

TEST(SystemRemoveTreeLoadTest, TheRemovalOfATreeThatKeepsGrowingEndsAndSaysWhyItFailed) {
    const TempFolder folder;
    const std::string root = folder.utf8("tree");
    ASSERT_TRUE(System::makeDirectory(root, 0));
    static std::wstring rootName;
    rootName = System::unicodePath(root);
    const SystemMessage words(L"There is more.");
    // Simulates a slow removal: the other process always adds files before the last step.
    const ReplacedCall<decltype(RemoveDirectoryW)> call(
        "RemoveDirectoryW", [](LPCWSTR path) -> BOOL {
            if (path == rootName) {
                EXPECT_TRUE(eventually([path] {
                    std::vector<std::string> names;
                    static_cast<void>(System::listDirectory(toUtf8(path), names, nullptr));
                    // One of three files may be deleted only when the other process closes it.
                    return names.size() >= 2 + 3;
                }));
            }
            return gRemoveDirectory(path);
        });
    gRemoveDirectory = call.original();
    FileChild child("add", {root});
    std::string message;
    EXPECT_FALSE(System::removeTree(root, message, false, false, true));
    EXPECT_EQ(message,
              "System::removeTree couldn't delete directory \"" + root + "\": There is more");
    constexpr size_t removals = 20;
    const size_t before = handleCount();
    for (size_t i = 0; i < removals; ++i) {
        message.clear();
        EXPECT_FALSE(System::removeTree(root, message, false, false, true));
        EXPECT_NE(message, "");
    }
    // The thread that runs the child may open and close a few meanwhile.
    EXPECT_LT(handleCount(), before + removals / 2) << "searches stay open";
    EXPECT_TRUE(child.end());
}

TEST(SystemRemoveTreeLoadTest, WithoutAnyDelayARemovalEndsAndAFailureHasAMessage) {
    const TempFolder folder;
    const std::string root = folder.utf8("tree");
    ASSERT_TRUE(System::makeDirectory(root, 0));
    FileChild child("add", {root});
    for (int i = 0; i < 100; ++i) {
        std::string message;
        const bool result = System::removeTree(root, message, false, false, false);
        EXPECT_EQ(result, message.empty()) << message;
    }
    EXPECT_TRUE(child.end());
    std::string message;
    EXPECT_TRUE(System::removeTree(root, message, false, false, false)) << message;
    EXPECT_FALSE(System::exists(root));
}

}  // namespace
