#include "testing/scopes/directorylink-win.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

using namespace testing_support;

TEST(DirectoryLinkTest, ItShowsAsAReparsePointAndLeadsToItsTargetUntilItIsGone) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.path() / "target");
    folder.write("target/f", "x");
    {
        const DirectoryLink link(folder, "link", "target");
        WIN32_FIND_DATAW entry;
        const HANDLE search = FindFirstFileW((folder.path() / "link").c_str(), &entry);
        ASSERT_NE(search, INVALID_HANDLE_VALUE);
        FindClose(search);
        EXPECT_TRUE(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
        EXPECT_TRUE(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT);
        EXPECT_TRUE(std::filesystem::exists(folder.path() / "link/f"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "link"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "target/f"));
}

}  // namespace
