#include "testing/scopes/tempfolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

using namespace testing_support;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(TempFolderTest, ANewFolderIsEmptyAndBelowTheTemporaryFolder) {
    const TempFolder folder;
    EXPECT_TRUE(fs::is_directory(folder.path()));
    EXPECT_TRUE(fs::is_empty(folder.path()));
    EXPECT_EQ(folder.path(), fs::temp_directory_path() / folder.path().filename());
}

TEST(TempFolderTest, EachFolderIsItsOwn) {
    const TempFolder first;
    const TempFolder second;
    EXPECT_NE(first.path(), second.path());
}

TEST(TempFolderTest, TheFolderGoesWithAllThatIsInIt) {
    fs::path path;
    {
        const TempFolder folder;
        path = folder.path();
        fs::create_directories(path / "sub" / "deeper");
        folder.write("file", "text");
        folder.write("sub/deeper/readonly", "text");
        fs::permissions(path / "sub" / "deeper" / "readonly", fs::perms::owner_read);
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST(TempFolderTest, NamesAreUtf8WithForwardSlashes) {
    const TempFolder folder;
    const std::string name = "caf\xC3\xA9";
    const std::string whole = folder.utf8();
    EXPECT_EQ(whole.find('\\'), std::string::npos);
    EXPECT_EQ(folder.utf8(name), whole + "/" + name);
    folder.write(name, "text");
    EXPECT_TRUE(fs::exists(folder.path() / fs::path(u8"caf\u00E9")));
}

TEST(TempFolderTest, AFileIsWrittenByteForByteAndItsNameReturned) {
    const TempFolder folder;
    const std::string content("a\nb\r\n\x1A\0\xFF", 8);
    EXPECT_EQ(folder.write("file", content), folder.utf8("file"));
    EXPECT_EQ(contentOf(folder.path() / "file"), content);
}

TEST(TempFolderTest, AFileThatCannotBeWrittenIsAnError) {
    const TempFolder folder;
    EXPECT_THROW(folder.write("missing/file", "text"), std::runtime_error);
}

}  // namespace
