#include "tools/shared/absolutepath-win.h"

#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace {

using tools::absolutePath;
using namespace testing_support;

/// Changes the current directory of the process for its lifetime.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder)
        : mBefore(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~CurrentFolder() { std::filesystem::current_path(mBefore); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    std::filesystem::path mBefore;
};

TEST(AbsolutePathTest, APathWithADriveOrAServerAndAShareStaysAsItIs) {
    for (const char* path :
         {"C:", "C:\\", "C:/a", "C:foo", "a:", "1:x", "\\\\srv\\share", "//srv/share/x",
          "/\\srv\\\\share\\x", "\\\\\\srv\\share", "\\\\.\\NUL", "\\\\?\\C:\\x"}) {
        EXPECT_EQ(absolutePath(path), path);
    }
}

TEST(AbsolutePathTest, EveryOtherPathIsCompleted) {
    for (const char* path : {"C", "a", "a\\b", "\\", "/", "\\foo", "/foo/bar", "\\:", "..", "."}) {
        EXPECT_NE(absolutePath(path), path);
    }
}

TEST(AbsolutePathTest, APathThatIsAbsoluteStaysAsItIs) {
    for (const char* path : {"C:/a/../b", "C:foo", "\\\\srv\\share\\.\\x", "c:\\A"}) {
        EXPECT_EQ(absolutePath(path), path);
    }
}

TEST(AbsolutePathTest, ARelativePathBeginsAtTheCurrentDirectory) {
    const testing_support::TempFolder folder;
    const CurrentFolder current(folder.path());
    const std::string here = utf8(std::filesystem::current_path());
    EXPECT_EQ(absolutePath("a\\b.c"), here + "\\a\\b.c");
    EXPECT_EQ(absolutePath("./x/../gr\xc3\xb6\xc3\x9f"
                           "e"),
              here +
                  "\\gr\xc3\xb6\xc3\x9f"
                  "e");
    EXPECT_EQ(absolutePath("."), here);
    EXPECT_EQ(tools::currentDirectory(), here);
}

TEST(AbsolutePathTest, APathFromTheRootTakesTheCurrentDrive) {
    const testing_support::TempFolder folder;
    const CurrentFolder current(folder.path());
    const std::string drive = tools::currentDirectory().substr(0, 2);
    EXPECT_EQ(absolutePath("\\foo"), drive + "\\foo");
    EXPECT_EQ(absolutePath("/foo/bar"), drive + "\\foo\\bar");
}

TEST(AbsolutePathTest, ADeviceNameBecomesADevicePath) {
    EXPECT_EQ(absolutePath("NUL"), "\\\\.\\NUL");
}

TEST(AbsolutePathTest, APathThatCannotBeCompletedIsAnErrorThatNamesIt) {
    for (const char* path : {"", "\\\\", "\\\\server", "\\\\server\\", "//server/", "//server//"}) {
        try {
            ADD_FAILURE() << path << " became " << absolutePath(path);
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(
                error.what(),
                "'" + std::string(path) +
                    "' can't be made an absolute path; name a drive, or a server and a share");
        }
    }
}

}  // namespace
