// System::removeTree on a simulated directory: the test decides what the listing holds, and what
// can be deleted.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/treeremoval-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace testing_support;

constexpr wchar_t listingPattern[] = L"\\\\?\\c:\\t\\*";

struct Listed {
    std::wstring name;
    DWORD attributes;
};
std::vector<Listed> gListing;
size_t gNext;
DWORD gFirstError, gNextError;
DWORD gInnerError;              // of the listing of any other directory
DWORD gRefusal, gLaterRefusal;  // the errors of the first refusal and of all later ones
std::vector<std::wstring> gCalls;
std::vector<std::wstring> gRefused;

BOOL answer(LPWIN32_FIND_DATAW entry) {
    if (gNext == gListing.size()) {
        SetLastError(gNextError);
        return FALSE;
    }
    *entry = {};
    entry->dwFileAttributes = gListing[gNext].attributes;
    gListing[gNext].name.copy(entry->cFileName, MAX_PATH - 1);
    ++gNext;
    return TRUE;
}
HANDLE WINAPI findFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW entry) {
    gCalls.push_back(std::wstring(L"find ") + pattern);
    if (gFirstError != ERROR_SUCCESS || std::wstring(pattern) != listingPattern) {
        SetLastError(gFirstError != ERROR_SUCCESS ? gFirstError : gInnerError);
        return INVALID_HANDLE_VALUE;
    }
    answer(entry);
    return reinterpret_cast<HANDLE>(1);
}
BOOL WINAPI findNext(HANDLE, LPWIN32_FIND_DATAW entry) { return answer(entry); }
BOOL WINAPI findClose(HANDLE) {
    gCalls.push_back(L"close");
    return TRUE;
}
BOOL note(const wchar_t* what, LPCWSTR path) {
    gCalls.push_back(std::wstring(what) + path);
    for (const std::wstring& refused : gRefused) {
        if (gCalls.back() == refused) {
            SetLastError(std::exchange(gRefusal, gLaterRefusal));
            return FALSE;
        }
    }
    return TRUE;
}
BOOL WINAPI deleteFile(LPCWSTR path) { return note(L"file ", path); }
BOOL WINAPI removeDirectory(LPCWSTR path) { return note(L"directory ", path); }
BOOL WINAPI setAttributes(LPCWSTR path, DWORD attributes) {
    return note((std::to_wstring(attributes) + L' ').c_str(), path);
}

class SystemRemoveTreeListingTest : public testing::Test {
protected:
    SystemRemoveTreeListingTest() {
        gListing = {{L".", FILE_ATTRIBUTE_DIRECTORY}};
        gNext = 0;
        gFirstError = ERROR_SUCCESS;
        gNextError = ERROR_NO_MORE_FILES;
        gInnerError = ERROR_FILE_NOT_FOUND;
        gCalls.clear();
        gRefused.clear();
        gRefusal = ERROR_ACCESS_DENIED;
        gLaterRefusal = ERROR_ACCESS_DENIED;
    }
    DWORD reportedError() const { return mMessage.calls().back().number; }

private:
    static DWORD WINAPI lookAtAttributes(LPCWSTR path) {
        ADD_FAILURE() << toUtf8(path) << " is looked at";
        return INVALID_FILE_ATTRIBUTES;
    }
    static HANDLE WINAPI open(LPCWSTR path, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD,
                              HANDLE) {
        ADD_FAILURE() << toUtf8(path) << " is opened";
        return INVALID_HANDLE_VALUE;
    }

    ReplacedCall<decltype(FindFirstFileW)> mFirst{"FindFirstFileW", findFirst};
    ReplacedCall<decltype(FindNextFileW)> mNext{"FindNextFileW", findNext};
    ReplacedCall<decltype(FindClose)> mClose{"FindClose", findClose};
    ReplacedCall<decltype(DeleteFileW)> mDelete{"DeleteFileW", deleteFile};
    ReplacedCall<decltype(RemoveDirectoryW)> mRemove{"RemoveDirectoryW", removeDirectory};
    ReplacedCall<decltype(SetFileAttributesW)> mAttributes{"SetFileAttributesW", setAttributes};
    ReplacedCall<decltype(GetFileAttributesW)> mLook{"GetFileAttributesW", lookAtAttributes};
    ReplacedCall<decltype(CreateFileW)> mOpen{"CreateFileW", open};
    SystemMessage mMessage{L"It can't be."};
};

using Calls = std::vector<std::wstring>;

TEST_F(SystemRemoveTreeListingTest, EachDirectoryIsListedOnceAndNoEntryIsLookedAtAgain) {
    gListing.push_back({L"f", FILE_ATTRIBUTE_NORMAL});
    gListing.push_back({L"d", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"link", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT});
    gListing.push_back({L"filelink", FILE_ATTRIBUTE_REPARSE_POINT});
    EXPECT_TRUE(removeTree("c:/t").result);
    EXPECT_EQ(gCalls, (Calls{std::wstring(L"find ") + listingPattern, L"file \\\\?\\c:\\t\\f",
                             L"find \\\\?\\c:\\t\\d\\*", L"directory \\\\?\\c:\\t\\d",
                             L"directory \\\\?\\c:\\t\\link", L"file \\\\?\\c:\\t\\filelink",
                             L"close", L"directory \\\\?\\c:\\t"}));
}

TEST_F(SystemRemoveTreeListingTest, NamesAreTakenAsTheListingHasThem) {
    gListing.push_back({L"a. .", FILE_ATTRIBUTE_NORMAL});
    gListing.push_back({L"nul", FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_TRUE(removeTree("c:/t").result);
    EXPECT_EQ(gCalls[1], L"file \\\\?\\c:\\t\\a. .");
    EXPECT_EQ(gCalls[3], L"directory \\\\?\\c:\\t\\nul");
}

TEST_F(SystemRemoveTreeListingTest, ADenialOfAccessClearsTheReadOnlyAttributeForAnotherTry) {
    gListing.push_back({L"f", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN});
    gRefused = {L"file \\\\?\\c:\\t\\f"};
    gLaterRefusal = ERROR_SHARING_VIOLATION;
    const Removal removal = removeTree("c:/t", /*keepRoot=*/true);
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(removal.message,
              "System::removeTree couldn't delete file\"\\\\?\\c:\\t\\f\": It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_SHARING_VIOLATION}) << "that of the last attempt";
    EXPECT_EQ(gCalls, (Calls{std::wstring(L"find ") + listingPattern, L"file \\\\?\\c:\\t\\f",
                             L"2 \\\\?\\c:\\t\\f", L"file \\\\?\\c:\\t\\f", L"close"}));
}

TEST_F(SystemRemoveTreeListingTest, AnyOtherRefusalLeavesTheAttributesAlone) {
    gListing.push_back({L"f", FILE_ATTRIBUTE_READONLY});
    gRefused = {L"file \\\\?\\c:\\t\\f"};
    gRefusal = ERROR_SHARING_VIOLATION;
    EXPECT_FALSE(removeTree("c:/t", /*keepRoot=*/true).result);
    EXPECT_EQ(reportedError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(gCalls,
              (Calls{std::wstring(L"find ") + listingPattern, L"file \\\\?\\c:\\t\\f", L"close"}));
}

TEST_F(SystemRemoveTreeListingTest, AfterAFailureFilesGoOnBeingDeletedAndDirectoriesDoNot) {
    gListing.push_back({L"d1", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"f1", FILE_ATTRIBUTE_NORMAL});
    gListing.push_back({L"d2", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"f2", FILE_ATTRIBUTE_NORMAL});
    gRefused = {L"directory \\\\?\\c:\\t\\d1", L"directory \\\\?\\c:\\t"};
    const Removal removal = removeTree("c:/t");
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(removal.message,
              "System::removeTree couldn't delete directory \"\\\\?\\c:\\t\\d1\": It can't be");
    EXPECT_EQ(gCalls, (Calls{std::wstring(L"find ") + listingPattern, L"find \\\\?\\c:\\t\\d1\\*",
                             L"directory \\\\?\\c:\\t\\d1", L"file \\\\?\\c:\\t\\f1",
                             L"file \\\\?\\c:\\t\\f2", L"close", L"directory \\\\?\\c:\\t"}));
}

TEST_F(SystemRemoveTreeListingTest, NothingAfterALinkThatCannotBeRemovedIsDeleted) {
    gListing.push_back({L"link", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT});
    gListing.push_back({L"f", FILE_ATTRIBUTE_NORMAL});
    gRefused = {L"directory \\\\?\\c:\\t\\link"};
    EXPECT_FALSE(removeTree("c:/t").result);
    EXPECT_EQ(gCalls,
              (Calls{std::wstring(L"find ") + listingPattern, L"directory \\\\?\\c:\\t\\link",
                     L"close", L"directory \\\\?\\c:\\t"}));
}

TEST_F(SystemRemoveTreeListingTest, AListingThatCannotBeginIsReportedWithItsPattern) {
    gFirstError = ERROR_ACCESS_DENIED;
    const Removal removal = removeTree("c:/t");
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(removal.message,
              "System::removeTree got error from FindFirstFileW(\"\\\\?\\c:\\t\\*\"): It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(gCalls.back(), L"directory \\\\?\\c:\\t") << "that is tried all the same";
}

TEST_F(SystemRemoveTreeListingTest, AnEmptyListingIsNoFailure) {
    for (const DWORD error : {ERROR_NO_MORE_FILES, ERROR_FILE_NOT_FOUND}) {
        gFirstError = error;
        gCalls.clear();
        EXPECT_TRUE(removeTree("c:/t").result);
        EXPECT_EQ(gCalls.back(), L"directory \\\\?\\c:\\t");
    }
    gFirstError = ERROR_PATH_NOT_FOUND;
    gCalls.clear();
    EXPECT_TRUE(removeTree("c:/t").result);
    EXPECT_EQ(gCalls.size(), 1U) << "nothing is there";
}

TEST_F(SystemRemoveTreeListingTest, ASubdirectoryThatIsGoneMeanwhileIsNoFailure) {
    gListing.push_back({L"d", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"d2", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"f", FILE_ATTRIBUTE_NORMAL});
    gInnerError = ERROR_PATH_NOT_FOUND;
    const Removal removal = removeTree("c:/t");
    EXPECT_TRUE(removal.result);
    EXPECT_EQ(removal.message, "");
    EXPECT_EQ(gCalls, (Calls{std::wstring(L"find ") + listingPattern, L"find \\\\?\\c:\\t\\d\\*",
                             L"find \\\\?\\c:\\t\\d2\\*", L"file \\\\?\\c:\\t\\f", L"close",
                             L"directory \\\\?\\c:\\t"}));
}

TEST_F(SystemRemoveTreeListingTest, ASubdirectoryThatCannotBeListedIsReportedWithItsOwnPattern) {
    gListing.push_back({L"d1", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"d2", FILE_ATTRIBUTE_DIRECTORY});
    gListing.push_back({L"f", FILE_ATTRIBUTE_NORMAL});
    gInnerError = ERROR_ACCESS_DENIED;
    const Removal removal = removeTree("c:/t");
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(
        removal.message,
        "System::removeTree got error from FindFirstFileW(\"\\\\?\\c:\\t\\d1\\*\"): It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(gCalls, (Calls{std::wstring(L"find ") + listingPattern, L"find \\\\?\\c:\\t\\d1\\*",
                             L"directory \\\\?\\c:\\t\\d1", L"file \\\\?\\c:\\t\\f", L"close",
                             L"directory \\\\?\\c:\\t"}));
}

TEST_F(SystemRemoveTreeListingTest, AListingThatBreaksOffIsReported) {
    gNextError = ERROR_NETNAME_DELETED;
    const Removal removal = removeTree("c:/t");
    EXPECT_FALSE(removal.result);
    EXPECT_EQ(removal.message, "System::removeTree got error from FindNextFileW: It can't be");
    EXPECT_EQ(reportedError(), DWORD{ERROR_NETNAME_DELETED});
    EXPECT_EQ(gCalls.back(), L"directory \\\\?\\c:\\t");
}

TEST_F(SystemRemoveTreeListingTest, APathWithoutAWideFormHasNothing) {
    EXPECT_TRUE(removeTree("//").result);
    EXPECT_EQ(gCalls, Calls());
}

TEST_F(SystemRemoveTreeListingTest, AnEmptyPathIsTheCurrentDirectory) {
    EXPECT_TRUE(removeTree("").result);
    EXPECT_EQ(gCalls, (Calls{L"find *", L"directory "}));
}

}  // namespace
