// Paths of more than 260 characters, and paths near the limit of Windows.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/errortext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace {

using namespace testing_support;

constexpr size_t mostCharacters = 32766;  // characters of a wide path

/// Returns a path in the folder whose wide form has `length` characters. Its first component is one
/// character outside the basic plane; the others take 200 characters each, slash included.
std::string pathOf(const TempFolder& folder, size_t length) {
    std::string path = folder.utf8("\xF0\x9D\x84\x9E");
    size_t units = System::unicodePath(path).size();
    for (; units < length; units += 200) {
        path.append(1, '/').append(std::min<size_t>(199, length - units - 1), 'x');
        if (length - units < 202) {
            break;
        }
    }
    return path;
}

class SystemLongPathTest : public testing::TestWithParam<size_t> {
protected:
    /// Makes the directory. Returns false if this system has no paths of that length: on Linux they
    /// have at most 4,095 bytes.
    bool makeDirectory() {
        try {
            System::makePath(mPath.c_str(), nullptr);
            return true;
        } catch (const std::runtime_error& e) {
            const std::string what = e.what();
            bool isTooLong = false;
            for (const uint32_t error : {ERROR_FILENAME_EXCED_RANGE, ERROR_GEN_FAILURE}) {
                isTooLong |= what.ends_with("\": " + errorText(false, &error, errorOfSystem));
            }
            EXPECT_TRUE(isTooLong) << what.substr(what.size() - 100);
            return false;
        }
    }

    ~SystemLongPathTest() override {
        const std::string top = mFolder.utf8("\xF0\x9D\x84\x9E");
        std::string message;
        EXPECT_TRUE(System::removeTree(top, message, false, false, true)) << message;
        EXPECT_FALSE(System::exists(top));
    }

    TempFolder mFolder;
    std::string mPath = pathOf(mFolder, GetParam());
};

TEST_P(SystemLongPathTest, OperationsTakeIt) {
    ASSERT_GE(System::unicodePath(mPath).size() + 2, GetParam());
    if (!makeDirectory()) {
        GTEST_SKIP() << "no paths of " << GetParam() << " characters here";
    }
    EXPECT_TRUE(System::exists(mPath));
    EXPECT_FALSE(System::isWritable(mPath + "/missing"));
    const std::string file = mPath + "/f";
    std::FILE* stream = System::openFile(file, "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fputs("text", stream), 0);
    EXPECT_EQ(std::fclose(stream), 0);
    std::string message;
    EXPECT_TRUE(System::copy(file, mPath + "/g", message)) << message;
    EXPECT_TRUE(System::rename(mPath + "/g", mPath + "/h", false));
    EXPECT_EQ(System::hardLink(file, mPath + "/i"), callSucceeded);
    EXPECT_TRUE(System::canRead(file));
    EXPECT_TRUE(System::isWritable(file));
    EXPECT_TRUE(System::canListDirectory(mPath));
    EXPECT_EQ(System::treeSize(mPath), 12U);
    EXPECT_GT(System::freeDiskSpace(mPath), 0);
    FileStat stat;
    EXPECT_TRUE(stat.read(file, 0));
    EXPECT_EQ(stat.links, 2U);
    std::vector<std::string> names;
    EXPECT_TRUE(System::listDirectory(mPath, names, nullptr));
    EXPECT_EQ(names.size(), 5U);
    System::missingParents(mPath + "/j/k", names);
    EXPECT_EQ(names, (std::vector<std::string>{mPath + "/j", mPath + "/j/k"}));
    EXPECT_EQ(System::remove(mPath + "/h", false), callSucceeded);
    EXPECT_EQ(System::removeDirectory(mPath, false), System::directoryNotEmpty);
}

INSTANTIATE_TEST_SUITE_P(Characters, SystemLongPathTest,
                         testing::Values(261U, 1000U, 3000U, mostCharacters - 2 - 260));

std::wstring gName;

TEST(SystemLongPathsTest, APathOfTheGreatestLengthReachesWindowsWhole) {
    const ReplacedCall<decltype(CreateDirectoryW)> call(
        "CreateDirectoryW", [](LPCWSTR name, LPSECURITY_ATTRIBUTES) -> BOOL {
            gName = name;
            return TRUE;
        });
    const std::string path = "c:/" + std::string(mostCharacters - 7, 'x');
    EXPECT_TRUE(System::makeDirectory(path, 0));
    EXPECT_EQ(gName.size(), mostCharacters);
    EXPECT_EQ(gName, L"\\\\?\\c:\\" + std::wstring(mostCharacters - 7, L'x'));
}

TEST(SystemLongPathsTest, ATreeOfManyLevelsIsMadeAndRemoved) {
    const TempFolder folder;
    std::string path = folder.utf8();
    for (int i = 0; i < 300; ++i) {
        path += "/d";
    }
    System::makePath(path.c_str(), nullptr);
    EXPECT_TRUE(System::exists(path));
    EXPECT_EQ(System::treeSize(folder.utf8()), 0U);
    std::string message;
    EXPECT_TRUE(System::removeTree(folder.utf8("d"), message, false, false, false)) << message;
    EXPECT_FALSE(System::exists(folder.utf8("d")));
}

}  // namespace
