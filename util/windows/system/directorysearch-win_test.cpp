#include "util/windows/system/directorysearch-win.h"

#include <cstddef>
#include <cwchar>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

using Names = std::multiset<std::wstring>;

static_assert(!std::is_copy_constructible_v<DirectorySearch>);
static_assert(!std::is_copy_assignable_v<DirectorySearch>);

WIN32_FIND_DATAW entryOf(const wchar_t* name) {
    WIN32_FIND_DATAW entry{};
    std::wcscpy(entry.cFileName, name);
    return entry;
}

TEST(IsDotEntryTest, TheFolderItselfAndTheOneAboveAre) {
    EXPECT_TRUE(isDotEntry(entryOf(L".")));
    EXPECT_TRUE(isDotEntry(entryOf(L"..")));
}

TEST(IsDotEntryTest, NamesThatBeginWithDotsAreNot) {
    for (const wchar_t* name : {L"...", L".a", L"..a", L". ", L".. ", L"a", L"a.", L"a..", L""}) {
        EXPECT_FALSE(isDotEntry(entryOf(name))) << name;
    }
}

/// Records the handles of searches that begin and of those that are closed, until the scope ends.
class SearchHandles {
public:
    SearchHandles() {
        sFirst = mFirst.original();
        sClose = mClose.original();
        sBegun.clear();
        sClosed.clear();
    }
    const std::vector<HANDLE>& begun() const { return sBegun; }
    const std::vector<HANDLE>& closed() const { return sClosed; }

private:
    static HANDLE WINAPI first(LPCWSTR pattern, LPWIN32_FIND_DATAW entry) {
        sBegun.push_back(sFirst(pattern, entry));
        return sBegun.back();
    }
    static BOOL WINAPI close(HANDLE handle) {
        sClosed.push_back(handle);
        return sClose(handle);
    }
    static inline decltype(&FindFirstFileW) sFirst = nullptr;
    static inline decltype(&FindClose) sClose = nullptr;
    static inline std::vector<HANDLE> sBegun;
    static inline std::vector<HANDLE> sClosed;

    ReplacedCall<decltype(FindFirstFileW)> mFirst{"FindFirstFileW", &first};
    ReplacedCall<decltype(FindClose)> mClose{"FindClose", &close};
};

/// A folder with the files a1, a2 and b.
class DirectorySearchTest : public testing::Test {
protected:
    DirectorySearchTest() {
        for (const char* name : {"a1", "a2", "b"}) {
            mFolder.write(name, "x");
        }
    }
    std::wstring pattern(const wchar_t* name) const { return (mFolder.path() / name).wstring(); }
    bool begin(DirectorySearch& search, const wchar_t* name = L"*") {
        return search.first(pattern(name), mEntry);
    }
    /// Returns the first entry of a search and the rest of its listing.
    Names rest(DirectorySearch& search) {
        Names names;
        do {
            names.insert(mEntry.cFileName);
        } while (search.next(mEntry));
        return names;
    }

    TempFolder mFolder;
    WIN32_FIND_DATAW mEntry{};
};

TEST_F(DirectorySearchTest, EveryEntryThatMatchesIsFound) {
    DirectorySearch all;
    ASSERT_TRUE(begin(all));
    EXPECT_EQ(rest(all), Names({L".", L"..", L"a1", L"a2", L"b"}));
    DirectorySearch some;
    ASSERT_TRUE(begin(some, L"a*"));
    EXPECT_EQ(rest(some), Names({L"a1", L"a2"}));
}

TEST_F(DirectorySearchTest, TheEndIsReportedByItsError) {
    DirectorySearch search;
    ASSERT_TRUE(begin(search, L"b"));
    SetLastError(NO_ERROR);
    EXPECT_FALSE(search.next(mEntry));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
}

TEST_F(DirectorySearchTest, AListingThatBreaksOffIsReportedByItsError) {
    const RefusedCall<decltype(FindNextFileW)> refused("FindNextFileW", ERROR_NETNAME_DELETED,
                                                       /*before=*/1);
    DirectorySearch search;
    ASSERT_TRUE(begin(search));
    EXPECT_TRUE(search.next(mEntry));
    EXPECT_FALSE(search.next(mEntry));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NETNAME_DELETED});
}

TEST_F(DirectorySearchTest, WhereNothingMatchesItDoesNotBegin) {
    const SearchHandles handles;
    {
        DirectorySearch search;
        EXPECT_FALSE(begin(search, L"c*"));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    }
    {
        DirectorySearch search;
        EXPECT_FALSE(begin(search, L"none/*"));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    }
    EXPECT_EQ(handles.begun().size(), 2U);
    EXPECT_TRUE(handles.closed().empty()) << "there is nothing to close";
}

TEST_F(DirectorySearchTest, APatternWithANullCharacterIsNoName) {
    const SearchHandles handles;
    std::wstring cut = pattern(L"a1");
    cut.append(1, L'\0').append(L"*");
    DirectorySearch search;
    SetLastError(NO_ERROR);
    EXPECT_FALSE(search.first(cut, mEntry));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
    EXPECT_TRUE(handles.begun().empty()) << "the part in front of it isn't asked for";
}

TEST_F(DirectorySearchTest, TheEndOfTheObjectClosesTheHandleOnce) {
    const SearchHandles handles;
    {
        DirectorySearch search;
        ASSERT_TRUE(begin(search));
        EXPECT_TRUE(handles.closed().empty());
    }
    EXPECT_EQ(handles.closed(), handles.begun());
}

TEST_F(DirectorySearchTest, AListingMayBeClosedBeforeItsEnd) {
    const SearchHandles handles;
    {
        DirectorySearch search;
        search.close();
        EXPECT_TRUE(handles.closed().empty()) << "there is none yet";
        ASSERT_TRUE(begin(search));
        search.close();
        EXPECT_EQ(handles.closed(), handles.begun());
        search.close();
    }
    EXPECT_EQ(handles.closed(), handles.begun()) << "once";
}

TEST_F(DirectorySearchTest, AnotherListingEndsTheOneBefore) {
    const SearchHandles handles;
    {
        DirectorySearch search;
        ASSERT_TRUE(begin(search, L"b"));
        ASSERT_TRUE(begin(search, L"a*"));
        EXPECT_EQ(handles.closed(), std::vector{handles.begun()[0]});
        EXPECT_EQ(rest(search), Names({L"a1", L"a2"}));
    }
    EXPECT_EQ(handles.closed(), handles.begun()) << "each once";
}

TEST_F(DirectorySearchTest, AMovedListingGoesOn) {
    const SearchHandles handles;
    {
        std::optional<DirectorySearch> source(std::in_place);
        ASSERT_TRUE(begin(*source));
        DirectorySearch target(std::move(*source));
        source.reset();
        EXPECT_TRUE(handles.closed().empty());
        EXPECT_EQ(rest(target).size(), 5U);
    }
    EXPECT_EQ(handles.closed(), handles.begun());
}

TEST_F(DirectorySearchTest, AnAssignedListingGoesOnAndNoHandleIsLost) {
    const SearchHandles handles;
    {
        DirectorySearch target;
        ASSERT_TRUE(begin(target, L"b"));
        {
            DirectorySearch source;
            ASSERT_TRUE(begin(source, L"a*"));
            target = std::move(source);
        }
        EXPECT_EQ(handles.closed(), std::vector{handles.begun()[0]}) << "the one before";
        EXPECT_EQ(rest(target), Names({L"a1", L"a2"}));
    }
    EXPECT_EQ(handles.closed(), handles.begun()) << "each once";
}

TEST_F(DirectorySearchTest, AListingAssignedToItselfGoesOn) {
    const SearchHandles handles;
    {
        DirectorySearch search;
        ASSERT_TRUE(begin(search, L"a*"));
        DirectorySearch& same = search;
        search = std::move(same);
        EXPECT_EQ(rest(search), Names({L"a1", L"a2"}));
    }
    EXPECT_EQ(handles.closed(), handles.begun());
}

TEST_F(DirectorySearchTest, ListingsLeaveNoHandleOpen) {
    const size_t before = handleCount();
    for (int i = 0; i < 20; ++i) {
        DirectorySearch search;
        ASSERT_TRUE(begin(search));
    }
    EXPECT_EQ(handleCount(), before);
}

}  // namespace
