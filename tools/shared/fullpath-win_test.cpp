#include "tools/shared/fullpath-win.h"

#include <gtest/gtest.h>

#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace {

using namespace testing_support;
using tools::fullPath;

TEST(FullPathTest, APathIsCompletedFromTheCurrentDirectory) {
    const TempFolder folder;
    const CurrentDirectory current(folder.path());
    const std::string here = utf8(std::filesystem::current_path());
    EXPECT_EQ(fullPath("a.txt"), here + "\\a.txt");
    EXPECT_EQ(fullPath("b/../a.txt"), here + "\\a.txt");
    EXPECT_EQ(fullPath(here.substr(0, 2) + "a.txt"), here + "\\a.txt");
    EXPECT_EQ(fullPath("\\a.txt"), here.substr(0, 2) + "\\a.txt");
}

TEST(FullPathTest, AFullPathStaysAndWhatCannotBeCompletedToo) {
    EXPECT_EQ(fullPath("C:\\a\\b.txt"), "C:\\a\\b.txt");
    EXPECT_EQ(fullPath("C:/a/b.txt"), "C:\\a\\b.txt");
    EXPECT_EQ(fullPath("\\\\server\\share\\a"), "\\\\server\\share\\a");
    EXPECT_EQ(fullPath(""), "");
}

TEST(FullPathTest, NamesThatAreNotAsciiStay) {
    EXPECT_EQ(fullPath("C:\\\xc3\xbc\\\xe2\x82\xac.txt"), "C:\\\xc3\xbc\\\xe2\x82\xac.txt");
}

}  // namespace
