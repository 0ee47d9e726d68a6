#include "util/windows/system/files-win.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

bool exists(const std::string& path) {
    return GetFileAttributesW(System::unicodePath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

TEST(CallResultTest, TheResultsHaveTheirNumbers) {
    EXPECT_EQ(callSucceeded, 0);
    EXPECT_EQ(callFailed, -1);
}

TEST(SystemRemoveTest, AFileIsRemoved) {
    const TempFolder folder;
    const std::string path = folder.write("\xE4\xB8\xAD", "x");
    EXPECT_EQ(System::remove(path, false), callSucceeded);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, AnEmptyDirectoryIsRemoved) {
    const TempFolder folder;
    const std::string path = folder.utf8("d");
    ASSERT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    EXPECT_EQ(System::remove(path, false), callSucceeded);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, AReadOnlyFileYieldsOnlyToForce) {
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(System::remove(path, false), callFailed);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(exists(path));
    EXPECT_EQ(System::remove(path, true), callSucceeded);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, ADirectoryThatIsNotEmptyStaysAndSaysWhy) {
    const TempFolder folder;
    folder.write("a", "x");
    for (const bool force : {false, true}) {
        EXPECT_EQ(System::remove(folder.utf8(), force), callFailed);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DIR_NOT_EMPTY));
    }
}

TEST(SystemRemoveTest, OfAFileTheFailedDeleteIsReportedAndNotTheRemovalOfADirectory) {
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    const ReplacedCall<decltype(DeleteFileW)> call("DeleteFileW", [](LPCWSTR) -> BOOL {
        SetLastError(ERROR_SHARING_VIOLATION);
        return FALSE;
    });
    const ReplacedCall<decltype(RemoveDirectoryW)> directory("RemoveDirectoryW",
                                                             [](LPCWSTR) -> BOOL {
                                                                 SetLastError(ERROR_DIRECTORY);
                                                                 return FALSE;
                                                             });
    EXPECT_EQ(System::remove(path, false), callFailed);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
}

TEST(SystemRemoveTest, AMissingPathFails) {
    EXPECT_EQ(System::remove("c:/missing/x", true), callFailed);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

DWORD gAttributes = 0;
int gAttributeCalls = 0;
std::wstring gName;

/// Refuses files and directories with the given errors, and records the other calls.
class RefusedRemoval {
public:
    RefusedRemoval(DWORD fileError, DWORD directoryError) {
        sFileError = fileError;
        sDirectoryError = directoryError;
        gAttributes = 0;
        gAttributeCalls = 0;
    }

private:
    static inline DWORD sFileError = 0;
    static inline DWORD sDirectoryError = 0;

    static BOOL WINAPI refuseFile(LPCWSTR name) {
        gName = name;
        SetLastError(sFileError);
        return FALSE;
    }
    static BOOL WINAPI refuseDirectory(LPCWSTR) {
        SetLastError(sDirectoryError);
        return FALSE;
    }
    static BOOL WINAPI keepAttributes(LPCWSTR, DWORD attributes) {
        gAttributes = attributes;
        ++gAttributeCalls;
        SetLastError(ERROR_SUCCESS);
        return TRUE;
    }

    ReplacedCall<decltype(DeleteFileW)> mFile{"DeleteFileW", refuseFile};
    ReplacedCall<decltype(RemoveDirectoryW)> mDirectory{"RemoveDirectoryW", refuseDirectory};
    ReplacedCall<decltype(SetFileAttributesW)> mAttributes{"SetFileAttributesW", keepAttributes};
};

TEST(SystemRemoveTest, WithoutForceTheAttributesAreLeftAlone) {
    const RefusedRemoval refused(ERROR_ACCESS_DENIED, ERROR_DIRECTORY);
    EXPECT_EQ(System::remove("c:/x", false), callFailed);
    EXPECT_EQ(gAttributeCalls, 0);
}

TEST(SystemRemoveTest, ForceSetsNormalAttributesOnceAndTheSecondFailureIsReported) {
    const RefusedRemoval refused(ERROR_SHARING_VIOLATION, ERROR_DIRECTORY);
    EXPECT_EQ(System::remove("c:/x", true), callFailed);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(gAttributeCalls, 1);
    EXPECT_EQ(gAttributes, DWORD{FILE_ATTRIBUTE_NORMAL});
}

TEST(SystemRemoveTest, OfADirectoryTheFailedRemovalIsReported) {
    for (const bool force : {false, true}) {
        const RefusedRemoval refused(ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION);
        EXPECT_EQ(System::remove("c:/x", force), callFailed);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    }
}

TEST(SystemRemoveTest, TrailingDotsAndBlanksDoNotReachWindows) {
    const RefusedRemoval refused(ERROR_FILE_NOT_FOUND, ERROR_DIRECTORY);
    EXPECT_EQ(System::remove("c:/x./a. .", false), callFailed);
    EXPECT_EQ(gName, L"\\\\?\\c:\\x\\a");
}

TEST(SystemRemoveTest, AReadOnlyDirectoryYieldsToForce) {
    const TempFolder folder;
    const std::string path = folder.utf8("d");
    const std::wstring name = System::unicodePath(path);
    ASSERT_TRUE(CreateDirectoryW(name.c_str(), nullptr));
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(System::remove(path, true), callSucceeded);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, ADirectoryThatYieldsOnlyToNormalAttributesIsRemovedByForce) {
    gAttributeCalls = 0;
    const ReplacedCall<decltype(DeleteFileW)> file("DeleteFileW", [](LPCWSTR) -> BOOL {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    const ReplacedCall<decltype(SetFileAttributesW)> attributes("SetFileAttributesW",
                                                                [](LPCWSTR, DWORD) -> BOOL {
                                                                    ++gAttributeCalls;
                                                                    return TRUE;
                                                                });
    const ReplacedCall<decltype(RemoveDirectoryW)> directory(
        "RemoveDirectoryW", [](LPCWSTR) -> BOOL {
            SetLastError(ERROR_ACCESS_DENIED);
            return gAttributeCalls == 0 ? FALSE : TRUE;
        });
    EXPECT_EQ(System::remove("c:/x", false), callFailed);
    EXPECT_EQ(System::remove("c:/x", true), callSucceeded);
}

TEST(SystemRemoveTest, ANameWithNullCharactersAfterItIsTheName) {
    const TempFolder folder;
    std::string path = folder.write("a", "x");
    path.resize(261);
    EXPECT_EQ(System::remove(path, false), callSucceeded);
    EXPECT_FALSE(exists(folder.utf8("a")));
}

}  // namespace
