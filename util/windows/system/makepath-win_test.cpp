#include <bit>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/children/filechild/chains.h"
#include "testing/processes/filechild-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace {

using namespace testing_support;

/// Returns the content of `created` after the call; before it, it is "old".
std::string makePath(const std::string& path) {
    std::string created = "old";
    System::makePath(path.c_str(), &created);
    return created;
}

std::string failureOf(const std::string& path) {
    try {
        System::makePath(path.c_str(), nullptr);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "no failure";
}

TEST(SystemMakePathTest, TheOutermostDirectoryThatWasMadeIsReported) {
    const TempFolder folder;
    ASSERT_TRUE(System::makeDirectory(folder.utf8("a"), 0));
    EXPECT_EQ(makePath(folder.utf8("a/b/c")), folder.utf8("a/b"));
    EXPECT_TRUE(System::exists(folder.utf8("a/b/c")));
    EXPECT_EQ(makePath(folder.utf8("a/d")), folder.utf8("a/d"));
}

TEST(SystemMakePathTest, ADirectoryThatExistsClearsTheText) {
    const TempFolder folder;
    EXPECT_EQ(makePath(folder.utf8()), "");
}

TEST(SystemMakePathTest, NoPathIsNothingToDo) {
    std::string created = "old";
    System::makePath(nullptr, &created);
    System::makePath("", &created);
    EXPECT_EQ(created, "old");
}

TEST(SystemMakePathTest, TheTextIsOptional) {
    const TempFolder folder;
    System::makePath(folder.utf8("a/b").c_str(), nullptr);
    EXPECT_TRUE(System::exists(folder.utf8("a/b")));
    System::makePath(folder.utf8("a/b").c_str(), nullptr);
}

TEST(SystemMakePathTest, SlashesOfBothKindsMayBeDoubledAndFollow) {
    const TempFolder folder;
    EXPECT_EQ(makePath(folder.utf8() + "//a\\\\b//"), folder.utf8() + "//a");
    EXPECT_TRUE(System::exists(folder.utf8("a/b")));
}

TEST(SystemMakePathTest, ADirectoryMayHaveANameOutsideASCII) {
    const TempFolder folder;
    const std::string path =
        folder.utf8("\xD0\x9F\xD1\x83\xD1\x82\xD1\x8C/\xE4\xB8\xAD\xE6\x96\x87/\xF0\x9D\x84\x9E");
    makePath(path);
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_TRUE(stat.isDirectory());
}

TEST(SystemMakePathTest, DotsAndBlanksAfterANameDoNotReachWindows) {
    const TempFolder folder;
    EXPECT_EQ(makePath(folder.utf8("a. /b..")), folder.utf8("a. "));
    std::vector<std::string> names;
    ASSERT_TRUE(System::listDirectory(folder.utf8("a"), names, nullptr));
    EXPECT_EQ(names.back(), "b");
}

TEST(SystemMakePathTest, AFileOfThatNameIsAFailure) {
    const TempFolder folder;
    const std::string path = folder.write("f", "x");
    EXPECT_EQ(failureOf(path),
              "couldn't create directory \"" + path + "\": already exists as simple file");
}

TEST(SystemMakePathTest, AFileAmongTheParentsIsAFailure) {
    const TempFolder folder;
    const std::string file = folder.write("f", "x");
    const SystemMessage message(L"The file stands in the way.");
    const bool isMissingParent =
        !System::makeDirectory(file + "/d", 0) && GetLastError() == ERROR_PATH_NOT_FOUND;
    EXPECT_EQ(failureOf(file + "/d"),
              isMissingParent
                  ? "couldn't create directory \"" + file + "\": already exists as simple file"
                  : "couldn't create directory \"" + file + "/d\": The file stands in the way");
}

// From here on the test decides what Windows finds at a path, and what creating the path returns.

struct Step {
    const char* path;
    DWORD error;
};
std::vector<Step> gFinds, gMakes;

std::wstring wide(const char* path) { return System::unicodePath(path); }

/// As an error ERROR_DIRECTORY means that a directory is there, and ERROR_FILE_EXISTS a file.
HANDLE WINAPI find(LPCWSTR name, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    if (gFinds.empty()) {
        ADD_FAILURE() << "one look too many";
        return INVALID_HANDLE_VALUE;
    }
    const Step step = gFinds.front();
    gFinds.erase(gFinds.begin());
    EXPECT_EQ(name, wide(step.path));
    SetLastError(step.error);
    const bool isThere = step.error == ERROR_DIRECTORY || step.error == ERROR_FILE_EXISTS;
    return isThere ? std::bit_cast<HANDLE>(uintptr_t{step.error}) : INVALID_HANDLE_VALUE;
}
BOOL WINAPI facts(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) {
    *information = {};
    information->dwFileAttributes = reinterpret_cast<uintptr_t>(file) == ERROR_DIRECTORY
                                        ? FILE_ATTRIBUTE_DIRECTORY
                                        : FILE_ATTRIBUTE_NORMAL;
    return TRUE;
}
BOOL WINAPI closeNothing(HANDLE) { return TRUE; }
BOOL WINAPI make(LPCWSTR name, LPSECURITY_ATTRIBUTES security) {
    EXPECT_EQ(security, nullptr);
    if (gMakes.empty()) {
        ADD_FAILURE() << "one attempt too many";
        return FALSE;
    }
    const Step step = gMakes.front();
    gMakes.erase(gMakes.begin());
    EXPECT_EQ(name, wide(step.path));
    SetLastError(step.error);
    return step.error == ERROR_SUCCESS;
}

/// Expects look-ups and attempts in order, each with its answer.
class SystemMakePathRaceTest : public testing::Test {
protected:
    static void expect(std::vector<Step> finds, std::vector<Step> makes) {
        gFinds = std::move(finds);
        gMakes = std::move(makes);
    }
    /// The number of the error whose message the failure has.
    DWORD reportedError() const { return mMessage.calls().back().number; }
    ~SystemMakePathRaceTest() override {
        EXPECT_TRUE(gFinds.empty());
        EXPECT_TRUE(gMakes.empty());
    }

private:
    ReplacedCall<decltype(CreateFileW)> mFind{"CreateFileW", find};
    ReplacedCall<decltype(GetFileInformationByHandle)> mFacts{"GetFileInformationByHandle", facts};
    ReplacedCall<decltype(CloseHandle)> mClose{"CloseHandle", closeNothing};
    ReplacedCall<decltype(CreateDirectoryW)> mMake{"CreateDirectoryW", make};
    SystemMessage mMessage{L"Denied."};
};

constexpr DWORD nothing = ERROR_FILE_NOT_FOUND;
constexpr DWORD aFile = ERROR_FILE_EXISTS;
constexpr DWORD aDirectory = ERROR_DIRECTORY;

TEST_F(SystemMakePathRaceTest, AnotherProcessMayBeFaster) {
    expect({{"c:/a", nothing}, {"c:/a", aDirectory}}, {{"c:/a", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(makePath("c:/a"), "old");
}

TEST_F(SystemMakePathRaceTest, AFileMayAppearMeanwhile) {
    expect({{"c:/a", nothing}, {"c:/a", aFile}}, {{"c:/a", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(failureOf("c:/a"),
              "couldn't create directory \"c:/a\": already exists as simple file during create");
}

TEST_F(SystemMakePathRaceTest, WhatExistsAndIsNotFoundIsAnError) {
    expect({{"c:/a", nothing}, {"c:/a", ERROR_ACCESS_DENIED}}, {{"c:/a", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(failureOf("c:/a"), "couldn't create directory \"c:/a\": Denied");
    EXPECT_EQ(reportedError(), DWORD{ERROR_ALREADY_EXISTS});
}

TEST_F(SystemMakePathRaceTest, AnotherErrorIsAFailureAtOnce) {
    expect({{"c:/a", nothing}}, {{"c:/a", ERROR_WRITE_PROTECT}});
    EXPECT_EQ(failureOf("c:/a"), "couldn't create directory \"c:/a\": Denied");
    EXPECT_EQ(reportedError(), DWORD{ERROR_WRITE_PROTECT});
}

TEST_F(SystemMakePathRaceTest, AFileAmongTheParentsThatTheSystemNamesIsAFailure) {
    expect({{"c:/f/d", nothing}}, {{"c:/f/d", ERROR_DIRECTORY}});
    EXPECT_EQ(failureOf("c:/f/d"), "couldn't create directory \"c:/f/d\": Denied");
    EXPECT_EQ(reportedError(), DWORD{ERROR_DIRECTORY});
}

TEST_F(SystemMakePathRaceTest, BothErrorsOfAMissingParentLeadToIt) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND}) {
        expect({{"c:/a/b", nothing}, {"c:/a", nothing}},
               {{"c:/a/b", error}, {"c:/a", ERROR_SUCCESS}, {"c:/a/b", ERROR_SUCCESS}});
        EXPECT_EQ(makePath("c:/a/b"), "c:/a");
    }
}

TEST_F(SystemMakePathRaceTest, AfterAParentAnotherProcessMayBeFaster) {
    expect({{"c:/a/b", nothing}, {"c:/a", nothing}, {"c:/a/b", aDirectory}},
           {{"c:/a/b", ERROR_PATH_NOT_FOUND},
            {"c:/a", ERROR_SUCCESS},
            {"c:/a/b", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(makePath("c:/a/b"), "c:/a");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
}

TEST_F(SystemMakePathRaceTest, AfterAParentAFileMayAppear) {
    expect({{"c:/a/b", nothing}, {"c:/a", nothing}, {"c:/a/b", aFile}},
           {{"c:/a/b", ERROR_PATH_NOT_FOUND},
            {"c:/a", ERROR_SUCCESS},
            {"c:/a/b", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(failureOf("c:/a/b"),
              "couldn't create directory \"c:/a/b\": already exists as file during create after "
              "parent");
}

TEST_F(SystemMakePathRaceTest, AfterAParentAnErrorIsAFailure) {
    expect({{"c:/a/b", nothing}, {"c:/a", nothing}, {"c:/a/b", nothing}},
           {{"c:/a/b", ERROR_PATH_NOT_FOUND},
            {"c:/a", ERROR_SUCCESS},
            {"c:/a/b", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(failureOf("c:/a/b"), "couldn't create directory \"c:/a/b\": Denied");
    EXPECT_EQ(reportedError(), DWORD{ERROR_ALREADY_EXISTS});
    expect({{"c:/a/b", nothing}, {"c:/a", nothing}}, {{"c:/a/b", ERROR_PATH_NOT_FOUND},
                                                      {"c:/a", ERROR_SUCCESS},
                                                      {"c:/a/b", ERROR_WRITE_PROTECT}});
    EXPECT_EQ(failureOf("c:/a/b"), "couldn't create directory \"c:/a/b\": Denied");
    EXPECT_EQ(reportedError(), DWORD{ERROR_WRITE_PROTECT});
}

TEST_F(SystemMakePathRaceTest, AParentThatAppearsMeanwhileIsNotMade) {
    expect({{"c:/a/b", nothing}, {"c:/a", aDirectory}},
           {{"c:/a/b", ERROR_PATH_NOT_FOUND}, {"c:/a/b", ERROR_SUCCESS}});
    EXPECT_EQ(makePath("c:/a/b"), "c:/a/b");
}

TEST_F(SystemMakePathRaceTest, AParentThatAppearsMeanwhileClearsTheTextUnlessMoreIsMade) {
    expect({{"c:/a/b", nothing}, {"c:/a", aDirectory}, {"c:/a/b", aDirectory}},
           {{"c:/a/b", ERROR_PATH_NOT_FOUND}, {"c:/a/b", ERROR_ALREADY_EXISTS}});
    EXPECT_EQ(makePath("c:/a/b"), "");
}

TEST_F(SystemMakePathRaceTest, AParentThatAnotherProcessMakesIsNotReported) {
    expect({{"c:/a/b", nothing}, {"c:/a", nothing}, {"c:/a", aDirectory}},
           {{"c:/a/b", ERROR_PATH_NOT_FOUND},
            {"c:/a", ERROR_ALREADY_EXISTS},
            {"c:/a/b", ERROR_SUCCESS}});
    EXPECT_EQ(makePath("c:/a/b"), "c:/a/b");
}

TEST_F(SystemMakePathRaceTest, WhatWasMadeBeforeAFailureIsReported) {
    expect({{"c:/a/b", nothing}, {"c:/a", nothing}}, {{"c:/a/b", ERROR_PATH_NOT_FOUND},
                                                      {"c:/a", ERROR_SUCCESS},
                                                      {"c:/a/b", ERROR_WRITE_PROTECT}});
    std::string created;
    EXPECT_THROW(System::makePath("c:/a/b", &created), std::runtime_error);
    EXPECT_EQ(created, "c:/a");
}

TEST_F(SystemMakePathRaceTest, AParentThatIsAFileMeanwhileIsAFailure) {
    expect({{"c:/a/b", nothing}, {"c:/a", aFile}}, {{"c:/a/b", ERROR_PATH_NOT_FOUND}});
    EXPECT_EQ(failureOf("c:/a/b"),
              "couldn't create directory \"c:/a\": already exists as simple file");
}

TEST_F(SystemMakePathRaceTest, AtTheTopNothingIsLeftToMake) {
    expect({{"a", nothing}}, {{"a", ERROR_PATH_NOT_FOUND}});
    EXPECT_EQ(failureOf("a"), "System::makePath couldn't create directory: \"a\" doesn't exist");
    expect({{"q:/a", nothing}, {"q:", nothing}},
           {{"q:/a", ERROR_PATH_NOT_FOUND}, {"q:", ERROR_PATH_NOT_FOUND}});
    EXPECT_EQ(failureOf("q:/a"),
              "System::makePath couldn't create directory: \"q:\" doesn't exist");
}

TEST(SystemMakePathLoadTest, TwoProcessesMakeTheSameChainsAtTheSameTime) {
    constexpr unsigned long count = 200;
    const TempFolder folder;
    FileChild child("chains", {folder.utf8(), std::to_string(count)});
    EXPECT_TRUE(testing_support::makeChains(folder.utf8(), "parent", "child", count));
    EXPECT_TRUE(child.wait());
    for (unsigned long round = 0; round < count; ++round) {
        EXPECT_TRUE(System::exists(folder.utf8(std::to_string(round) + "/a/b/c"))) << round;
    }
}

}  // namespace
