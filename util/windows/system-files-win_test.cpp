#include "util/windows/system-files-win.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/replacedcall-win.h"
#include "testing/tempfolder.h"
#include "util/windows/system-paths-win.h"

namespace {

using testing_support::ReplacedCall;
using testing_support::TempFolder;

bool exists(const std::string& path) {
    return GetFileAttributesW(System::unicodePath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

TEST(SystemRemoveTest, AFileIsRemoved) {
    const TempFolder folder;
    const std::string path = folder.write("\xE4\xB8\xAD", "x");
    EXPECT_EQ(System::remove(path, false), 0);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, AnEmptyDirectoryIsRemoved) {
    const TempFolder folder;
    const std::string path = folder.utf8("d");
    ASSERT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    EXPECT_EQ(System::remove(path, false), 0);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, AReadOnlyFileYieldsToForceAlone) {
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(System::remove(path, false), -1);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(exists(path));
    EXPECT_EQ(System::remove(path, true), 0);
    EXPECT_FALSE(exists(path));
}

TEST(SystemRemoveTest, ADirectoryThatIsNotEmptyStaysAndSaysWhy) {
    const TempFolder folder;
    folder.write("a", "x");
    for (const bool force : {false, true}) {
        EXPECT_EQ(System::remove(folder.utf8(), force), -1);
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
    EXPECT_EQ(System::remove(path, false), -1);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
}

TEST(SystemRemoveTest, AMissingPathFails) {
    EXPECT_EQ(System::remove("c:/missing/x", true), -1);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST(SystemRemoveTest, ANameWithNullCharactersBehindItIsTheName) {
    const TempFolder folder;
    std::string path = folder.write("a", "x");
    path.resize(261);
    EXPECT_EQ(System::remove(path, false), 0);
    EXPECT_FALSE(exists(folder.utf8("a")));
}

}  // namespace
