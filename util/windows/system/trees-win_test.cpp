// Walking and measuring trees.

#include "util/windows/system/trees-win.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/scopes/directorylink-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"

namespace {

using namespace testing_support;
using Names = std::vector<std::string>;

class Visits : public System::TreeVisitor {
public:
    void visitFile(const std::string& directory, const std::string& leaf,
                   const FileStat& stat) override {
        paths.push_back(directory + '|' + leaf + '|' + std::to_string(stat.size));
    }

    Names paths;
};

/// Returns the files in the order in which they are visited, level by level.
Names walk(const std::string& path, bool recurse) {
    Visits visits;
    EXPECT_TRUE(System::walkTree(path, visits, recurse));
    return visits.paths;
}

/// Makes the files f1 (1 byte), d/f2, d/e/f3 and g/f4, each one byte longer than the one before.
void makeTree(const TempFolder& folder) {
    for (const char* directory : {"d", "d/e", "g"}) {
        ASSERT_TRUE(System::makeDirectory(folder.utf8(directory), 0));
    }
    folder.write("f1", "1");
    folder.write("d/f2", "12");
    folder.write("d/e/f3", "123");
    folder.write("g/f4", "1234");
}

TEST(SystemWalkTreeTest, FilesOfOneDirectoryAreShownWithTheirFacts) {
    const TempFolder folder;
    makeTree(folder);
    EXPECT_EQ(walk(folder.utf8(), false), Names{folder.utf8() + "|f1|1"});
}

TEST(SystemWalkTreeTest, DirectoriesBelowFollowLevelByLevel) {
    const TempFolder folder;
    makeTree(folder);
    const std::string base = folder.utf8();
    Names shown = walk(base, true);
    ASSERT_EQ(shown.size(), 4U);
    EXPECT_EQ(shown[0], base + "|f1|1");
    EXPECT_EQ(shown[3], base + "/d/e|f3|3");
    std::sort(shown.begin() + 1, shown.end() - 1);  // the two of the same level
    EXPECT_EQ(shown[1], base + "/d|f2|2");
    EXPECT_EQ(shown[2], base + "/g|f4|4");
}

TEST(SystemWalkTreeTest, WhatIsNoDirectoryIsAFailure) {
    const TempFolder folder;
    Visits visits;
    EXPECT_FALSE(System::walkTree(folder.write("f", "x"), visits, true));
    EXPECT_FALSE(System::walkTree(folder.utf8("missing"), visits, true));
    EXPECT_EQ(visits.paths, Names());
}

decltype(FindFirstFileW)* gFindFirst;

HANDLE WINAPI listAllButD(LPCWSTR name, LPWIN32_FIND_DATAW entry) {
    if (std::wstring(name).ends_with(L"\\d\\*")) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return gFindFirst(name, entry);
}

TEST(SystemWalkTreeTest, ADirectoryThatCannotBeListedIsTheEnd) {
    const TempFolder folder;
    makeTree(folder);
    const ReplacedCall<decltype(FindFirstFileW)> call("FindFirstFileW", listAllButD);
    gFindFirst = call.original();
    Visits visits;
    EXPECT_FALSE(System::walkTree(folder.utf8(), visits, true));
    EXPECT_EQ(visits.paths.front(), folder.utf8() + "|f1|1");
    for (const std::string& path : visits.paths) {
        EXPECT_EQ(path.find("/d"), std::string::npos) << path;
    }
    visits.paths.clear();
    EXPECT_TRUE(System::walkTree(folder.utf8(), visits, false)) << "it isn't looked at";
}

TEST(SystemWalkTreeTest, WhatTheVisitorThrowsPassesThroughAndNoSearchStaysOpen) {
    class Thrower : public System::TreeVisitor {
        void visitFile(const std::string&, const std::string&, const FileStat&) override {
            throw std::runtime_error("enough");
        }
    };
    const TempFolder folder;
    makeTree(folder);
    Thrower thrower;
    EXPECT_THROW(static_cast<void>(System::walkTree(folder.utf8(), thrower, true)),
                 std::runtime_error);
    const size_t before = handleCount();
    EXPECT_THROW(static_cast<void>(System::walkTree(folder.utf8(), thrower, true)),
                 std::runtime_error);
    EXPECT_EQ(handleCount(), before);
}

TEST(SystemTreeSizeTest, TheFilesOfAllLevelsAreSummed) {
    const TempFolder folder;
    makeTree(folder);
    EXPECT_EQ(System::treeSize(folder.utf8()), 10U);
    EXPECT_EQ(System::treeSize(folder.utf8("d")), 5U);
}

TEST(SystemTreeSizeTest, WhatCannotBeListedIsNothing) {
    const TempFolder folder;
    EXPECT_EQ(System::treeSize(folder.utf8()), 0U);
    EXPECT_EQ(System::treeSize(folder.utf8("missing")), 0U);
    EXPECT_EQ(System::treeSize(folder.write("f", "x")), 0U);
}

TEST(SystemTreeSizeTest, ADirectoryBelowThatCannotBeListedIsNothing) {
    const TempFolder folder;
    makeTree(folder);
    const ReplacedCall<decltype(FindFirstFileW)> call("FindFirstFileW", listAllButD);
    gFindFirst = call.original();
    EXPECT_EQ(System::treeSize(folder.utf8()), 5U) << "f1 and f4";
}

TEST(SystemTreeSizeTest, AFileMayBeLargerThanFourGigabytes) {
    const ReplacedCall<decltype(FindFirstFileW)> first(
        "FindFirstFileW", [](LPCWSTR name, LPWIN32_FIND_DATAW entry) -> HANDLE {
            EXPECT_STREQ(name, L"\\\\?\\c:\\d\\*");
            *entry = {};
            entry->nFileSizeHigh = 2;
            entry->nFileSizeLow = 3;
            return nullptr;
        });
    const ReplacedCall<decltype(FindNextFileW)> next(
        "FindNextFileW", [](HANDLE, LPWIN32_FIND_DATAW) -> BOOL { return FALSE; });
    const ReplacedCall<decltype(FindClose)> close("FindClose", [](HANDLE) -> BOOL { return TRUE; });
    EXPECT_EQ(System::treeSize("c:/d"), (uint64_t{2} << 32) + 3);
}

TEST(SystemTreesTest, DirectoriesThatAreLinksAreEntered) {
    const TempFolder folder;
    makeTree(folder);
    const DirectoryLink link(folder, "link", "g");
    EXPECT_EQ(System::treeSize(folder.utf8()), 14U);
    const Names shown = walk(folder.utf8(), true);
    EXPECT_EQ(std::count(shown.begin(), shown.end(), folder.utf8("link") + "|f4|4"), 1);
}

TEST(SystemTreesTest, NamesOutsideASCIIAreWalkedAndMeasured) {
    const TempFolder folder;
    const std::string directory = folder.utf8("\xD0\x9F\xE4\xB8\xAD\xF0\x9D\x84\x9E");
    ASSERT_TRUE(System::makeDirectory(directory, 0));
    folder.write("\xD0\x9F\xE4\xB8\xAD\xF0\x9D\x84\x9E/\xF0\x9D\x84\x9E", "12345");
    EXPECT_EQ(walk(folder.utf8(), true), Names{directory + "|\xF0\x9D\x84\x9E|5"});
    EXPECT_EQ(System::treeSize(folder.utf8()), 5U);
}

TEST(SystemTreesTest, NoSearchStaysOpen) {
    const TempFolder folder;
    makeTree(folder);
    walk(folder.utf8(), true);
    const size_t before = handleCount();
    walk(folder.utf8(), true);
    static_cast<void>(System::treeSize(folder.utf8()));
    EXPECT_EQ(handleCount(), before);
}

}  // namespace
