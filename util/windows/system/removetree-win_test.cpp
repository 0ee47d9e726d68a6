// System::removeTree: what it removes, and what it reports if it can't.

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/filechild-win.h"
#include "testing/scopes/directorylink-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/treeremoval-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace {

using namespace testing_support;

/// Returns a path in the form that the removal uses below the outermost directory.
std::string wideForm(const std::string& path) { return toUtf8(System::unicodePath(path)); }

class SystemRemoveTreeTest : public testing::Test {
protected:
    /// Makes a directory in the tree.
    std::string makeDirectory(const std::string& name) const {
        std::string path = at(name);
        EXPECT_TRUE(System::makeDirectory(path, 0));
        return path;
    }
    std::string write(const std::string& name) const { return mFolder.write("tree/" + name, "x"); }
    std::string at(const std::string& name) const { return mRoot + '/' + name; }
    /// The number of the error whose text a message has.
    DWORD reportedError() const { return mMessage.calls().back().number; }

    TempFolder mFolder;
    std::string mRoot = mFolder.utf8("tree");
    SystemMessage mMessage{L"It can't be."};

private:
    void SetUp() override { ASSERT_TRUE(System::makeDirectory(mRoot, 0)); }
};

TEST_F(SystemRemoveTreeTest, ATreeIsRemovedWithAllThatIsInIt) {
    write("f");
    makeDirectory("d");
    write("d/f");
    makeDirectory("d/e");
    write("d/e/\xD0\x9F\xE4\xB8\xAD\xF0\x9D\x84\x9E");
    makeDirectory("empty");
    const Removal removal = removeTree(mRoot);
    EXPECT_TRUE(removal.result);
    EXPECT_EQ(removal.message, "");
    EXPECT_FALSE(System::exists(mRoot));
}

TEST_F(SystemRemoveTreeTest, WhatIsNotThereNeedsNoRemoval) {
    for (const char* name : {"missing", "missing/x"}) {
        const Removal removal = removeTree(at(name));
        EXPECT_TRUE(removal.result);
        EXPECT_EQ(removal.message, "");
    }
}

TEST_F(SystemRemoveTreeTest, TheOutermostDirectoryCanBeKept) {
    write("f");
    makeDirectory("d");
    EXPECT_TRUE(removeTree(mRoot, /*keepRoot=*/true).result);
    std::vector<std::string> names;
    ASSERT_TRUE(System::listDirectory(mRoot, names, nullptr));
    EXPECT_EQ(names.size(), 2U) << "only . and ..";
}

TEST_F(SystemRemoveTreeTest, ReadOnlyFilesAreRemoved) {
    const std::string file = write("f");
    makeDirectory("d");
    const std::string below = write("d/f");
    for (const std::string& path : {file, below}) {
        ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), FILE_ATTRIBUTE_READONLY));
    }
    EXPECT_TRUE(removeTree(mRoot).result);
    EXPECT_FALSE(System::exists(mRoot));
}

const DirectoryLink* gLink;
decltype(RemoveDirectoryW)* gRemoveDirectory;

TEST_F(SystemRemoveTreeTest, ALinkIsRemovedAndItsTargetIsNot) {
    ASSERT_TRUE(System::makeDirectory(mFolder.utf8("target"), 0));
    const std::string file = mFolder.write("target/f", "x");
    const DirectoryLink link(mFolder, "tree/link", "target");
    // Wine's function would remove the target of such a link.
    const ReplacedCall<decltype(RemoveDirectoryW)> call(
        "RemoveDirectoryW", [](LPCWSTR path) -> BOOL {
            const bool isLink = std::wstring(path).ends_with(L"\\link");
            return isLink ? gLink->remove() : gRemoveDirectory(path);
        });
    gLink = &link;
    gRemoveDirectory = call.original();
    const Removal removal = removeTree(mRoot);
    EXPECT_TRUE(removal.result) << removal.message;
    EXPECT_FALSE(System::exists(mRoot));
    EXPECT_TRUE(System::exists(file));
}

BOOL WINAPI refuse(LPCWSTR) {
    SetLastError(ERROR_SHARING_VIOLATION);
    return FALSE;
}

TEST_F(SystemRemoveTreeTest, ALinkThatCannotBeRemovedEndsTheListing) {
    const std::string target = mFolder.utf8("target");
    ASSERT_TRUE(System::makeDirectory(target, 0));
    mFolder.write("target/f", "x");
    const DirectoryLink link(mFolder, "tree/link", "target");
    const ReplacedCall<decltype(RemoveDirectoryW)> call("RemoveDirectoryW", refuse);
    const Removal removal = removeTree(mRoot);
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(removal.message, "System::removeTree couldn't delete reparse point\"" +
                                   wideForm(at("link")) + "\": It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(System::exists(mFolder.utf8("target/f")));
    const size_t before = handleCount();
    removeTree(mRoot);
    EXPECT_EQ(handleCount(), before) << "no search stays open";
}

TEST_F(SystemRemoveTreeTest, AFileThatAnotherProcessHoldsStaysUntilItLetsGo) {
    const std::string file = write("f");
    FileChild child("hold", {file, "1"});
    const Removal refused = removeTree(mRoot);
    EXPECT_FALSE(refused.result);
    EXPECT_EQ(refused.message,
              "System::removeTree couldn't delete file\"" + wideForm(file) + "\": It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(System::exists(file));
    EXPECT_TRUE(child.end());
    EXPECT_TRUE(removeTree(mRoot).result);
    EXPECT_FALSE(System::exists(mRoot));
}

TEST_F(SystemRemoveTreeTest, ADirectoryThatAnotherProcessHoldsStays) {
    FileChild child("hold", {mRoot, "3"});
    const Removal refused = removeTree(mRoot);
    EXPECT_FALSE(refused.result);
    EXPECT_EQ(refused.message,
              "System::removeTree couldn't delete directory \"" + mRoot + "\": It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(child.end());
}

TEST_F(SystemRemoveTreeTest, ADirectoryBelowThatCannotBeRemovedIsNamedByItsWideForm) {
    const std::string directory = makeDirectory("d");
    const ReplacedCall<decltype(RemoveDirectoryW)> call("RemoveDirectoryW", refuse);
    const Removal removal = removeTree(mRoot);
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(removal.message, "System::removeTree couldn't delete directory \"" +
                                   wideForm(directory) + "\": It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_SHARING_VIOLATION});
}

TEST_F(SystemRemoveTreeTest, TheFirstFailureIsReportedAndATextThatIsThereStays) {
    makeDirectory("d");
    const ReplacedCall<decltype(RemoveDirectoryW)> call("RemoveDirectoryW", refuse);
    std::string message = "an earlier text";
    EXPECT_FALSE(System::removeTree(mRoot, message, false, false, false));
    EXPECT_EQ(message, "an earlier text");
}

TEST_F(SystemRemoveTreeTest, AFileInPlaceOfADirectoryFailsAndStays) {
    const std::string file = write("f");
    const Removal removal = removeTree(file);
    EXPECT_FALSE(removal.result);
    EXPECT_TRUE(System::exists(file));
}

TEST_F(SystemRemoveTreeTest, APathWithANullCharacterReachesNothing) {
    std::string path = mRoot;
    path.append(1, '\0').append("x");
    EXPECT_FALSE(removeTree(path).result);
    EXPECT_TRUE(System::exists(mRoot)) << "an empty directory";
    const std::string file = write("f");
    EXPECT_FALSE(removeTree(path).result);
    EXPECT_TRUE(System::exists(file));
}

TEST_F(SystemRemoveTreeTest, ALinkThatThePathNamesIsFollowed) {
    ASSERT_TRUE(System::makeDirectory(mFolder.utf8("target"), 0));
    const std::string file = mFolder.write("target/f", "x");
    const DirectoryLink link(mFolder, "link", "target");
    EXPECT_TRUE(removeTree(mFolder.utf8("link"), /*keepRoot=*/true).result);
    EXPECT_FALSE(System::exists(file));
}

}  // namespace
