#include "clearcase/vobprobe-win.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

TEST(ProbeVobsTest, NoVobsGiveNoResults) {
    std::vector<VobRecord> results = {{"a", vobWritable}, {"b", vobReadOnly}};
    probeVobs({}, "c:\\", results);
    EXPECT_EQ(results.size(), 2U);
}

TEST(ProbeVobsTest, ResultsAreAppendedInTheOrderOfTheVobsWithDuplicates) {
    std::vector<VobRecord> results = {{"a", vobWritable}, {"b", vobReadOnly}};
    probeVobs({{"\\x", vobWritable}, {"\\y", vobWritable}, {"\\x", vobWritable}},
              "q:\\no such folder", results);
    ASSERT_EQ(results.size(), 5U);
    EXPECT_EQ(results[0].tag, "a");
    EXPECT_EQ(results[1].tag, "b");
    EXPECT_EQ(results[2].tag, "Q:/no such folder/x");
    EXPECT_EQ(results[3].tag, "Q:/no such folder/y");
    EXPECT_EQ(results[4].tag, "Q:/no such folder/x");
}

VobState stateOf(const std::string& folder, VobState configured = vobWritable) {
    std::vector<VobRecord> results;
    probeVobs({{"", configured}}, folder, results);
    return results.at(0).state;
}

TEST(ProbeVobsTest, TheConfiguredStateIsIgnoredAndTheProbeLeavesNoFile) {
    const TempFolder folder;
    EXPECT_EQ(stateOf(folder.utf8(), vobReadOnly), vobWritable);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(ProbeVobsTest, AMissingFolderIsNotDetermined) {
    const TempFolder folder;
    EXPECT_EQ(stateOf(folder.utf8("missing")), vobNotDetermined);
}

DWORD gError = 0;

UINT WINAPI refuse(LPCSTR, LPCSTR, UINT, LPSTR) {
    SetLastError(gError);
    return 0;
}

TEST(ProbeVobsTest, OnlyAWriteProtectedMediumIsReadOnly) {
    const ReplacedCall<decltype(GetTempFileNameA)> call("GetTempFileNameA", refuse);
    const struct {
        DWORD error;
        VobState state;
    } rows[] = {{ERROR_WRITE_PROTECT, vobReadOnly},
                {ERROR_ACCESS_DENIED, vobNotDetermined},
                {ERROR_DIRECTORY, vobNotDetermined},
                {ERROR_SUCCESS, vobNotDetermined}};
    for (const auto& row : rows) {
        gError = row.error;
        EXPECT_EQ(stateOf("c:\\"), row.state) << row.error;
    }
}

struct TempCall {
    std::string folder, prefix;
    UINT number;
};
TempCall gTempCall;
std::vector<std::wstring> gDeleted;
int gAttributeCalls = 0;

TEST(ProbeVobsTest, TheCallMakesAFileOfItsOwnAndItIsRemovedOnceAndWithoutForce) {
    const ReplacedCall<decltype(GetTempFileNameA)> call(
        "GetTempFileNameA", [](LPCSTR folder, LPCSTR prefix, UINT number, LPSTR name) -> UINT {
            gTempCall = {folder, prefix, number};
            lstrcpyA(name, "C:/v/rof1.tmp");
            return 1;
        });
    gDeleted.clear();
    const ReplacedCall<decltype(DeleteFileW)> remove("DeleteFileW", [](LPCWSTR name) -> BOOL {
        gDeleted.emplace_back(name);
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    gAttributeCalls = 0;
    const ReplacedCall<decltype(SetFileAttributesW)> force("SetFileAttributesW",
                                                           [](LPCWSTR, DWORD) -> BOOL {
                                                               ++gAttributeCalls;
                                                               return TRUE;
                                                           });
    EXPECT_EQ(stateOf("c:\\v"), vobWritable) << "the outcome of the removal doesn't count";
    EXPECT_EQ(gTempCall.folder, "C:/v");
    EXPECT_EQ(gTempCall.prefix, "rofscheck");
    EXPECT_EQ(gTempCall.number, 0U);
    EXPECT_EQ(gDeleted, (std::vector<std::wstring>{L"\\\\?\\C:\\v\\rof1.tmp"}));
    EXPECT_EQ(gAttributeCalls, 0);
}

/// Fills the buffer up to the last place that the call may write to.
UINT WINAPI longestName(LPCSTR, LPCSTR, UINT, LPSTR name) {
    std::fill(name, name + 260, 'x');
    return name[260] == '\0' ? 1 : 0;
}

TEST(ProbeVobsTest, TheNameHasRoomFor260CharactersAndItsEnd) {
    const ReplacedCall<decltype(GetTempFileNameA)> call("GetTempFileNameA", longestName);
    EXPECT_EQ(stateOf("c:\\v"), vobWritable);
}

}  // namespace
