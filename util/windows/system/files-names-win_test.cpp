// Names of files: listings, missing parents, new names and removed directories.

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"

namespace {

using namespace testing_support;
using Names = std::vector<std::string>;

constexpr const char* cyrillic = "\xD0\x9F\xD1\x83\xD1\x82\xD1\x8C";
constexpr const char* chinese = "\xE4\xB8\xAD\xE6\x96\x87";
constexpr const char* astral = "\xF0\x9D\x84\x9E";

std::string makeDirectory(const std::string& path) {
    EXPECT_TRUE(System::makeDirectory(path, 0755));
    return path;
}

TEST(SystemListDirectoryTest, EveryNameIsListedWithItsFacts) {
    const TempFolder folder;
    for (const char* name : {cyrillic, chinese, astral}) {
        folder.write(name, "1234");
    }
    makeDirectory(folder.utf8("d"));
    Names names = {"before"};
    std::vector<FileStat> stats;
    ASSERT_TRUE(System::listDirectory(folder.utf8(), names, &stats));
    ASSERT_EQ(names.size(), 7U);
    ASSERT_EQ(stats.size(), 6U);
    EXPECT_EQ(names.front(), "before");
    for (size_t i = 0; i < stats.size(); ++i) {
        const std::string& name = names[i + 1];
        const bool isDirectory = name == "d" || name == "." || name == "..";
        EXPECT_EQ(stats[i].isDirectory(), isDirectory) << name;
        EXPECT_EQ(stats[i].size, isDirectory ? 0U : 4U) << name;
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Names{".", "..", "before", "d", cyrillic, chinese, astral}));
}

TEST(SystemListDirectoryTest, FactsAreOptional) {
    const TempFolder folder;
    Names names;
    EXPECT_TRUE(System::listDirectory(folder.utf8(), names, nullptr));
    EXPECT_EQ(names.size(), 2U);
}

TEST(SystemListDirectoryTest, WhatIsNoDirectoryFails) {
    const TempFolder folder;
    Names names;
    EXPECT_FALSE(System::listDirectory(folder.utf8("missing"), names, nullptr));
    EXPECT_FALSE(System::listDirectory(folder.write("a", "x"), names, nullptr));
    EXPECT_TRUE(names.empty());
}

TEST(SystemListDirectoryTest, AListingThatBreaksOffCountsAsComplete) {
    const TempFolder folder;
    const ReplacedCall<decltype(FindNextFileW)> call("FindNextFileW",
                                                     [](HANDLE, LPWIN32_FIND_DATAW) -> BOOL {
                                                         SetLastError(ERROR_NETNAME_DELETED);
                                                         return FALSE;
                                                     });
    Names names;
    EXPECT_TRUE(System::listDirectory(folder.utf8(), names, nullptr));
    EXPECT_EQ(names.size(), 1U);
}

TEST(SystemMissingParentsTest, APathThatExistsMissesNothing) {
    const TempFolder folder;
    Names names = {"old"};
    System::missingParents(folder.utf8(), names);
    EXPECT_EQ(names, Names());
}

TEST(SystemMissingParentsTest, MissingParentsAreBeforeThePathOutermostFirst) {
    const TempFolder folder;
    const std::string base = folder.utf8();
    Names names;
    System::missingParents(base + "/a//b\\c/", names);
    EXPECT_EQ(names, (Names{base + "/a", base + "/a//b", base + "/a//b\\c/"}));
}

TEST(SystemMissingParentsTest, TheRootOfADriveKeepsItsSlash) {
    Names names;
    System::missingParents("q:\\\\a\\b", names);
    EXPECT_EQ(names, (Names{"q:\\", "q:\\\\a", "q:\\\\a\\b"}));
    System::missingParents("c:/missing", names);
    EXPECT_EQ(names, Names{"c:/missing"});
}

TEST(SystemMissingParentsTest, AParentOfOneCharacterIsNotLookedAt) {
    Names names;
    System::missingParents("z/missing", names);
    EXPECT_EQ(names, Names{"z/missing"});
    System::missingParents("zz/missing", names);
    EXPECT_EQ(names, (Names{"zz", "zz/missing"}));
    System::missingParents("missing", names);
    EXPECT_EQ(names, Names{"missing"});
    System::missingParents("", names);
    EXPECT_EQ(names, Names{""});
}

TEST(SystemMakeDirectoryTest, ADirectoryIsMadeOnce) {
    const TempFolder folder;
    const std::string path = makeDirectory(folder.utf8(chinese));
    EXPECT_FALSE(System::makeDirectory(path, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_FALSE(System::makeDirectory(folder.utf8("a/b"), 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST(SystemMakeDirectoryTest, ANameReachesWindowsWithoutTheDotsAndBlanksAfterIt) {
    const TempFolder folder;
    makeDirectory(folder.utf8("d. ."));
    EXPECT_TRUE(System::exists(folder.utf8("d")));
}

TEST(SystemRemoveDirectoryTest, TheResultsHaveTheirNumbers) {
    EXPECT_EQ(System::directoryRemoved, 0);
    EXPECT_EQ(System::directoryMissing, 1);
    EXPECT_EQ(System::directoryNotEmpty, 2);
    EXPECT_EQ(System::notADirectory, 3);
    EXPECT_EQ(System::directoryNotRemoved, 4);
}

TEST(SystemRemoveDirectoryTest, EachOutcomeHasItsResult) {
    const TempFolder folder;
    makeDirectory(folder.utf8("d"));
    const std::string file = folder.write("d/a", "x");
    EXPECT_EQ(System::removeDirectory(folder.utf8("d"), false), System::directoryNotEmpty);
    EXPECT_EQ(System::removeDirectory(file, false), System::notADirectory);
    EXPECT_EQ(System::removeDirectory(folder.utf8("missing"), true), System::directoryMissing);
    EXPECT_EQ(System::removeDirectory(folder.utf8("missing/x"), true), System::directoryMissing);
    EXPECT_EQ(System::removeDirectory(makeDirectory(folder.utf8("e")), false),
              System::directoryRemoved);
    EXPECT_FALSE(System::exists(folder.utf8("e")));
}

int gRemovals = 0;
DWORD gSecondError = ERROR_SUCCESS;

BOOL WINAPI refuseOnce(LPCWSTR) {
    SetLastError(++gRemovals == 1 ? ERROR_SHARING_VIOLATION : gSecondError);
    return gRemovals > 1 && gSecondError == ERROR_SUCCESS;
}

TEST(SystemRemoveDirectoryTest, OnlyForceTriesASecondTimeAfterAnyOtherFailure) {
    const ReplacedCall<decltype(RemoveDirectoryW)> call("RemoveDirectoryW", refuseOnce);
    static DWORD attributes;
    const ReplacedCall<decltype(SetFileAttributesW)> normal("SetFileAttributesW",
                                                            [](LPCWSTR, DWORD bits) -> BOOL {
                                                                attributes = bits;
                                                                return TRUE;
                                                            });
    gRemovals = 0;
    gSecondError = ERROR_SUCCESS;
    EXPECT_EQ(System::removeDirectory("c:/x", false), System::directoryNotRemoved);
    EXPECT_EQ(gRemovals, 1);
    const struct {
        DWORD secondError;
        System::RemoveDirectoryResult result;
    } rows[] = {{ERROR_SUCCESS, System::directoryRemoved},
                {ERROR_SHARING_VIOLATION, System::directoryNotRemoved},
                {ERROR_FILE_NOT_FOUND, System::directoryMissing},
                {ERROR_DIR_NOT_EMPTY, System::directoryNotEmpty},
                {ERROR_DIRECTORY, System::notADirectory}};
    for (const auto& row : rows) {
        gRemovals = 0;
        gSecondError = row.secondError;
        attributes = 0;
        EXPECT_EQ(System::removeDirectory("c:/x", true), row.result);
        EXPECT_EQ(gRemovals, 2);
        EXPECT_EQ(attributes, DWORD{FILE_ATTRIBUTE_NORMAL});
    }
}

TEST(SystemRenameTest, AFileTakesThePlaceOfAnother) {
    const TempFolder folder;
    const std::string from = folder.write("a", "new");
    const std::string to = folder.write("b", "old");
    EXPECT_TRUE(System::rename(from, to, false));
    EXPECT_FALSE(System::exists(from));
    std::string content;
    EXPECT_TRUE(System::readBytes(to, content, 3));
    EXPECT_EQ(content, "new");
    EXPECT_FALSE(System::rename(from, to, true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(SystemRenameTest, OnlyTheFlagLetsAFileLeaveItsVolume) {
    static DWORD flags;
    const ReplacedCall<decltype(MoveFileExW)> call("MoveFileExW",
                                                   [](LPCWSTR, LPCWSTR, DWORD bits) -> BOOL {
                                                       flags = bits;
                                                       return TRUE;
                                                   });
    EXPECT_TRUE(System::rename("c:/a", "d:/a", false));
    EXPECT_EQ(flags, DWORD{MOVEFILE_REPLACE_EXISTING});
    EXPECT_TRUE(System::rename("c:/a", "d:/a", true));
    EXPECT_EQ(flags, DWORD{MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED});
}

TEST(SystemHardLinkTest, AFileGetsASecondName) {
    const TempFolder folder;
    const std::string existing = folder.write("a", "x");
    EXPECT_EQ(System::hardLink(existing, folder.utf8("b")), callSucceeded);
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.utf8("b"), 0));
    EXPECT_EQ(stat.links, 2U);
    EXPECT_EQ(System::hardLink(folder.utf8("missing"), folder.utf8("c")), callFailed);
    EXPECT_EQ(System::hardLink(existing, folder.utf8("b")), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
}

}  // namespace
