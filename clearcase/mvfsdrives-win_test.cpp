#include "clearcase/mvfsdrives-win.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <winnetwk.h>

#include "testing/calls/replacedcall-win.h"
#include "util/platform/errortext-win.h"

namespace {

using namespace testing_support;

struct Connection {
    const char* localName;
    const char* remoteName;
    const char* provider = "ClearCase Dynamic Views";
};

/// One answer of the enumeration.
struct Batch {
    std::vector<Connection> connections;
    DWORD result;
    bool leavesCountAlone = false;
};

struct OpenCall {
    DWORD scope, type, usage;
    const void* start;
};

/// Replaces the system's enumeration, and records the calls.
struct Enumeration {
    DWORD openResult = NO_ERROR;
    std::vector<Batch> batches;
    size_t next = 0;
    std::vector<OpenCall> opened;
    std::vector<std::pair<DWORD, DWORD>> asked;  ///< count and buffer size
    int closed = 0;
};

Enumeration gEnumeration;
const HANDLE handleOfIt = reinterpret_cast<HANDLE>(0x77);

DWORD WINAPI openEnum(DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEA start,
                      LPHANDLE enumeration) {
    gEnumeration.opened.push_back({scope, type, usage, start});
    *enumeration = handleOfIt;
    return gEnumeration.openResult;
}

DWORD WINAPI enumResource(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size) {
    EXPECT_EQ(enumeration, handleOfIt);
    gEnumeration.asked.emplace_back(*count, *size);
    const Batch& batch = gEnumeration.batches.at(gEnumeration.next++);
    auto* entry = static_cast<NETRESOURCEA*>(buffer);
    for (const Connection& connection : batch.connections) {
        *entry = {};
        entry->lpLocalName = const_cast<char*>(connection.localName);
        entry->lpRemoteName = const_cast<char*>(connection.remoteName);
        entry->lpProvider = const_cast<char*>(connection.provider);
        ++entry;
    }
    if (!batch.leavesCountAlone) {
        *count = static_cast<DWORD>(batch.connections.size());
    }
    return batch.result;
}

DWORD WINAPI closeEnum(HANDLE enumeration) {
    EXPECT_EQ(enumeration, handleOfIt);
    ++gEnumeration.closed;
    return NO_ERROR;
}

class LookupMvfsDrivesTest : public testing::Test {
protected:
    std::string lookup(std::vector<Batch> batches) {
        gEnumeration = {};
        gEnumeration.batches = std::move(batches);
        return lookupMvfsDrives(mDrives);
    }

    ReplacedCall<decltype(WNetOpenEnumA)> mOpen{"WNetOpenEnumA", openEnum};
    ReplacedCall<decltype(WNetEnumResourceA)> mEnum{"WNetEnumResourceA", enumResource};
    ReplacedCall<decltype(WNetCloseEnum)> mClose{"WNetCloseEnum", closeEnum};
    std::map<std::string, std::string> mDrives;
};

using Drives = std::map<std::string, std::string>;

TEST_F(LookupMvfsDrivesTest, DisksAreReadInBatchesOf1024BytesAndTheHandleIsClosed) {
    EXPECT_EQ(lookup({{{}, NO_ERROR}, {{}, ERROR_NO_MORE_ITEMS}}), "");
    ASSERT_EQ(gEnumeration.opened.size(), 1U);
    EXPECT_EQ(gEnumeration.opened[0].scope, DWORD{RESOURCE_CONNECTED});
    EXPECT_EQ(gEnumeration.opened[0].type, DWORD{RESOURCETYPE_DISK});
    EXPECT_EQ(gEnumeration.opened[0].usage, 0U);
    EXPECT_EQ(gEnumeration.opened[0].start, nullptr);
    const std::pair<DWORD, DWORD> all{0xFFFFFFFF, 1024};
    EXPECT_EQ(gEnumeration.asked, (std::vector<std::pair<DWORD, DWORD>>{all, all}));
    EXPECT_EQ(gEnumeration.closed, 1);
    EXPECT_TRUE(mDrives.empty());
}

TEST_F(LookupMvfsDrivesTest, TheMvfsDriveIsReturnedAndViewDrivesAreStoredInUpperCase) {
    EXPECT_EQ(lookup({{{{"m:", "\\\\view"}, {"x:", "\\\\view\\tag1"}, {"Y:", "\\\\view\\Tag2"}},
                       NO_ERROR},
                      {{}, ERROR_NO_MORE_ITEMS}}),
              "M:");
    EXPECT_EQ(mDrives, (Drives{{"X:", "tag1"}, {"Y:", "Tag2"}}));
}

TEST_F(LookupMvfsDrivesTest, OtherProvidersAreSkipped) {
    EXPECT_EQ(lookup({{{{"m:", "\\\\view", "Microsoft Windows Network"},
                        {"n:", "\\\\view", "clearcase dynamic views"},
                        {"o:", "\\\\view", "ClearCase Dynamic Views "},
                        {"p:", "\\\\view\\tag", nullptr},
                        {"q:", "\\\\view\\tag", ""}},
                       ERROR_NO_MORE_ITEMS}}),
              "");
    EXPECT_TRUE(mDrives.empty());
}

TEST_F(LookupMvfsDrivesTest, EntriesOfABatchThatEndsTheEnumerationCount) {
    EXPECT_EQ(lookup({{{{"m:", "\\\\view"}, {"x:", "\\\\view\\t"}}, ERROR_NO_MORE_ITEMS}}), "M:");
    EXPECT_EQ(mDrives, (Drives{{"X:", "t"}}));
}

TEST_F(LookupMvfsDrivesTest, ACountThatIsLeftAloneMeansNoEntries) {
    EXPECT_EQ(lookup({{{}, ERROR_NO_MORE_ITEMS, /*leavesCountAlone=*/true}}), "");
    EXPECT_TRUE(mDrives.empty());
}

TEST_F(LookupMvfsDrivesTest, LaterEntriesReplaceEarlierOnes) {
    mDrives = {{"X:", "before"}, {"K:", "kept"}};
    EXPECT_EQ(lookup({{{{"m:", "\\\\view"}, {"x:", "\\\\view\\one"}}, NO_ERROR},
                      {{{"n:", "\\\\view"}, {"X:", "\\\\view\\two"}}, NO_ERROR},
                      {{}, ERROR_NO_MORE_ITEMS}}),
              "N:");
    EXPECT_EQ(mDrives, (Drives{{"K:", "kept"}, {"X:", "two"}}));
}

TEST_F(LookupMvfsDrivesTest, ANameThatIsMissingIsTheEmptyText) {
    EXPECT_EQ(lookup({{{{nullptr, "\\\\view\\tag"}, {"y:", nullptr}}, ERROR_NO_MORE_ITEMS}}), "");
    EXPECT_EQ(mDrives, (Drives{{"", "tag"}, {"Y:", ""}}));
    EXPECT_EQ(lookup({{{{"m:", "\\\\view"}, {nullptr, "\\\\view"}}, ERROR_NO_MORE_ITEMS}}), "");
}

TEST_F(LookupMvfsDrivesTest, TheTagIsWhatFollowsTheSeventhCharacterWhateverIsBefore) {
    EXPECT_EQ(lookup({{{{"a:", "\\\\view\\"},
                        {"b:", "\\\\VIEW"},
                        {"c:", "short"},
                        {"d:", "1234567"},
                        {"e:", "12345678"},
                        {"f:", "\\\\view\\a\\b"}},
                       ERROR_NO_MORE_ITEMS}}),
              "");
    EXPECT_EQ(
        mDrives,
        (Drives{{"A:", ""}, {"B:", ""}, {"C:", ""}, {"D:", ""}, {"E:", "8"}, {"F:", "a\\b"}}));
}

uint32_t errorOf(std::map<std::string, std::string>& drives, const char* call) {
    try {
        static_cast<void>(lookupMvfsDrives(drives));
    } catch (const Win32Exception& e) {
        EXPECT_EQ(std::string(e.what()).rfind(std::string(call) + ": ", 0), 0U) << e.what();
        return e.mError;
    }
    ADD_FAILURE() << "nothing was thrown";
    return 0;
}

TEST_F(LookupMvfsDrivesTest, AnEnumerationThatDoesNotOpenIsAnException) {
    gEnumeration = {};
    gEnumeration.openResult = ERROR_NO_NETWORK;
    EXPECT_EQ(errorOf(mDrives, "WNetOpenEnum"), static_cast<uint32_t>(ERROR_NO_NETWORK));
    EXPECT_EQ(gEnumeration.closed, 0);
}

TEST_F(LookupMvfsDrivesTest, AFailureOnTheWayIsAnExceptionAndWhatWasStoredStays) {
    gEnumeration = {};
    gEnumeration.batches = {{{{"x:", "\\\\view\\tag1"}}, NO_ERROR},
                            {{{"y:", "\\\\view\\tag2"}}, ERROR_MORE_DATA}};
    EXPECT_EQ(errorOf(mDrives, "WNetEnumResource"), static_cast<uint32_t>(ERROR_MORE_DATA));
    EXPECT_EQ(mDrives, (Drives{{"X:", "tag1"}}));
    EXPECT_EQ(gEnumeration.closed, 0) << "it is left open";
}

}  // namespace
