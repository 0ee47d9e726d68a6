#include <array>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include <wnnc.h>

#include <gtest/gtest.h>

#include <windows.h>
#include <winnetwk.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/guidemessages.h"
#include "testing/processes/childprocess-win.h"
#include "testing/providers/registeredprovider-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/libraryfunction-win.h"

extern "C" {
#include <npapi.h>
}

namespace {

using namespace testing_support;

/// The drives file of a test, made known to this process and its children.
class DrivesFile {
public:
    explicit DrivesFile(std::string_view text)
        : mVariable("NBCLEARCASE_DRIVES", mFolder.write("drives.txt", text)) {}

private:
    TempFolder mFolder;
    EnvironmentScope mVariable;
};

/// The functions of the DLL, called as the system calls them.
class ProviderTest : public testing::Test {
protected:
    ProviderTest()
        : mLibrary(LoadLibraryW((testProgramFolder() / "ccdrives_provider.dll").c_str())) {
        getCaps = function<DWORD WINAPI(DWORD)>("NPGetCaps");
        openEnum =
            function<DWORD WINAPI(DWORD, DWORD, DWORD, LPNETRESOURCEW, LPHANDLE)>("NPOpenEnum");
        enumResource = function<DWORD WINAPI(HANDLE, LPDWORD, LPVOID, LPDWORD)>("NPEnumResource");
        closeEnum = function<DWORD WINAPI(HANDLE)>("NPCloseEnum");
    }
    ~ProviderTest() override {
        if (mHandle != nullptr) {
            closeEnum(mHandle);
        }
        FreeLibrary(mLibrary);
    }

    void SetUp() override {
        ASSERT_NE(mLibrary, nullptr);
        ASSERT_TRUE(getCaps && openEnum && enumResource && closeEnum);
    }

    DWORD open() {
        return openEnum(RESOURCE_CONNECTED, RESOURCETYPE_DISK, /*dwUsage=*/0,
                        /*lpNetResource=*/nullptr, &mHandle);
    }

    /// Gets one answer into a buffer of `size` bytes, and its figures into `mCount` and `mSize`.
    DWORD next(DWORD size = 1024, DWORD count = 0xFFFFFFFF) {
        mCount = count;
        mSize = size;
        return enumResource(mHandle, &mCount, mBuffer.data(), &mSize);
    }

    std::array<NETRESOURCEW, 64> mBuffer{};
    DWORD mCount = 0;
    DWORD mSize = 0;

    DWORD(WINAPI* getCaps)(DWORD) = nullptr;
    DWORD(WINAPI* openEnum)(DWORD, DWORD, DWORD, LPNETRESOURCEW, LPHANDLE) = nullptr;
    DWORD(WINAPI* enumResource)(HANDLE, LPDWORD, LPVOID, LPDWORD) = nullptr;
    DWORD(WINAPI* closeEnum)(HANDLE) = nullptr;

private:
    template <class Signature>
    Signature* function(const char* name) {
        return findFunction<Signature>(mLibrary, name);
    }

    HMODULE mLibrary;
    HANDLE mHandle = nullptr;
};

TEST_F(ProviderTest, ItSaysThatItEnumeratesConnectionsAndNothingElse) {
    EXPECT_EQ(getCaps(WNNC_ENUMERATION), static_cast<DWORD>(WNNC_ENUM_LOCAL));
    EXPECT_EQ(getCaps(WNNC_START), static_cast<DWORD>(WNNC_WAIT_FOR_START));
    EXPECT_EQ(getCaps(WNNC_NET_TYPE), static_cast<DWORD>(WNNC_NET_CLEARCASE));
    EXPECT_EQ(getCaps(WNNC_CONNECTION), 0U);
}

TEST_F(ProviderTest, AConnectionHasItsThreeTexts) {
    const DrivesFile drives(
        "m: | \\\\view | gr\xc3\xb6\xc3\x9f"
        "er\n");
    ASSERT_EQ(open(), 0U);
    ASSERT_EQ(next(), 0U);
    ASSERT_EQ(mCount, 1U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"m:");
    EXPECT_STREQ(mBuffer[0].lpRemoteName, L"\\\\view");
    EXPECT_STREQ(mBuffer[0].lpProvider, L"gr\u00f6\u00dfer");
    EXPECT_EQ(mBuffer[0].dwType, static_cast<DWORD>(RESOURCETYPE_DISK));
    EXPECT_EQ(next(), static_cast<DWORD>(WN_NO_MORE_ENTRIES));
}

TEST_F(ProviderTest, ATextThatIsNoneIsANullPointer) {
    const DrivesFile drives("- | - | -\n");
    ASSERT_EQ(open(), 0U);
    ASSERT_EQ(next(), 0U);
    ASSERT_EQ(mCount, 1U);
    EXPECT_EQ(mBuffer[0].lpLocalName, nullptr);
    EXPECT_EQ(mBuffer[0].lpRemoteName, nullptr);
    EXPECT_EQ(mBuffer[0].lpProvider, nullptr);
}

TEST_F(ProviderTest, AnEmptyTextIsAnEmptyText) {
    const DrivesFile drives("| |\n");
    ASSERT_EQ(open(), 0U);
    ASSERT_EQ(next(), 0U);
    ASSERT_EQ(mCount, 1U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"");
    EXPECT_STREQ(mBuffer[0].lpRemoteName, L"");
    EXPECT_STREQ(mBuffer[0].lpProvider, L"");
}

TEST_F(ProviderTest, EachBatchIsAnAnswer) {
    const DrivesFile drives("a:|x\nb:|x\nbatch\nc:|x\n");
    ASSERT_EQ(open(), 0U);
    EXPECT_EQ(next(), 0U);
    EXPECT_EQ(mCount, 2U);
    EXPECT_EQ(next(), 0U);
    EXPECT_EQ(mCount, 1U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"c:");
    EXPECT_EQ(next(), static_cast<DWORD>(WN_NO_MORE_ENTRIES));
    EXPECT_EQ(mCount, 0U);
}

TEST_F(ProviderTest, ABatchThatDoesNotFitIsHandedOverInParts) {
    const DrivesFile drives("a:|x|y\nb:|x|y\nc:|x|y\n");
    ASSERT_EQ(open(), 0U);
    const DWORD two = 2 * (sizeof(NETRESOURCEW) + /*texts*/ 14);
    EXPECT_EQ(next(two), 0U);
    EXPECT_EQ(mCount, 2U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"a:");
    EXPECT_STREQ(mBuffer[1].lpLocalName, L"b:");
    EXPECT_EQ(next(two), 0U);
    EXPECT_EQ(mCount, 1U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"c:");
}

TEST_F(ProviderTest, NoMoreIsHandedOverThanAskedFor) {
    const DrivesFile drives("a:|x\nb:|x\n");
    ASSERT_EQ(open(), 0U);
    EXPECT_EQ(next(/*size=*/1024, /*count=*/1), 0U);
    EXPECT_EQ(mCount, 1U);
    EXPECT_EQ(next(/*size=*/1024, /*count=*/1), 0U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"b:");
}

TEST_F(ProviderTest, ABufferTooSmallForOneConnectionGetsTheNeededSize) {
    const DrivesFile drives("a:|x|y\n");
    ASSERT_EQ(open(), 0U);
    const DWORD needed = sizeof(NETRESOURCEW) + /*texts*/ 14;
    EXPECT_EQ(next(needed - 1), static_cast<DWORD>(WN_MORE_DATA));
    EXPECT_EQ(mCount, 0U);
    EXPECT_EQ(mSize, needed);
    EXPECT_EQ(next(needed), 0U);
    EXPECT_EQ(mCount, 1U);
}

TEST_F(ProviderTest, AFailureComesAfterTheBatchesAboveIt) {
    const DrivesFile drives("a:|x\nfail 1222\nb:|x\n");
    ASSERT_EQ(open(), 0U);
    EXPECT_EQ(next(), 0U);
    EXPECT_EQ(next(), 1222U);
    EXPECT_EQ(mCount, 0U);
    EXPECT_EQ(next(), 0U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"b:");
}

TEST_F(ProviderTest, AnOpeningThatFailsGivesItsNumber) {
    const DrivesFile drives("open 1200\n");
    EXPECT_EQ(open(), 1200U);
}

TEST_F(ProviderTest, NothingButConnectionsCanBeEnumerated) {
    HANDLE handle = nullptr;
    EXPECT_EQ(openEnum(RESOURCE_GLOBALNET, RESOURCETYPE_DISK, /*dwUsage=*/0,
                       /*lpNetResource=*/nullptr, &handle),
              static_cast<DWORD>(WN_NOT_SUPPORTED));
}

TEST_F(ProviderTest, DrivesAreDisksAndNoPrinters) {
    const DrivesFile drives("a:|x\n");
    for (const auto& [type, answer] :
         {std::pair(RESOURCETYPE_ANY, WN_SUCCESS), std::pair(RESOURCETYPE_DISK, WN_SUCCESS),
          std::pair(RESOURCETYPE_DISK | RESOURCETYPE_PRINT, WN_SUCCESS),
          std::pair(RESOURCETYPE_PRINT, WN_NO_MORE_ENTRIES)}) {
        HANDLE handle = nullptr;
        ASSERT_EQ(openEnum(RESOURCE_CONNECTED, static_cast<DWORD>(type), /*dwUsage=*/0,
                           /*lpNetResource=*/nullptr, &handle),
                  0U);
        DWORD count = 1;
        DWORD size = sizeof mBuffer;
        EXPECT_EQ(enumResource(handle, &count, mBuffer.data(), &size), static_cast<DWORD>(answer))
            << type;
        EXPECT_EQ(closeEnum(handle), 0U);
    }
}

TEST_F(ProviderTest, AnEntryTakesWhatTheListReckons) {
    const DrivesFile drives("M:|" + std::string(483, 'a') + "|\nM:|" + std::string(484, 'a') +
                            "|\n");
    ASSERT_EQ(open(), 0U);
    EXPECT_EQ(next(/*size=*/1024), 0U);
    EXPECT_EQ(mCount, 1U);
    EXPECT_EQ(next(/*size=*/1024), static_cast<DWORD>(WN_MORE_DATA));
    EXPECT_EQ(mSize, 1026U);
}

TEST_F(ProviderTest, WithoutMemoryOpeningFailsAndNothingIsThrown) {
    testing::internal::CaptureStderr();
    {
        // The first exception of a library in a thread needs memory.
        const DrivesFile mistake("a:\n");
        EXPECT_EQ(open(), static_cast<DWORD>(ERROR_INVALID_DATA));
    }
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    const DrivesFile drives("a:|x\n");
    static void* (*original)(size_t);
    static int before;  // how many blocks there are before the one that is lacking
    before = -1;
    const ReplacedCall<void*(size_t)> memory(
        "malloc", [](size_t size) { return before-- == 0 ? nullptr : original(size); },
        GetModuleHandleW(L"ccdrives_provider.dll"));
    original = memory.original();
    DWORD opened = WN_OUT_OF_MEMORY;
    int failures = -1;
    testing::internal::CaptureStderr();
    for (; opened == WN_OUT_OF_MEMORY; ++failures) {
        before = failures + 1;
        opened = open();
        before = -1;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(opened, 0U);
    EXPECT_GT(failures, 0);
}

TEST_F(ProviderTest, WithoutTheVariableTheListOfTheUserCounts) {
    const TempFolder folder;
    create_directory(folder.path() / "nbclearcase");
    folder.write("nbclearcase/drives.txt", "a:|x\n");
    const EnvironmentScope variable("NBCLEARCASE_DRIVES", std::nullopt);
    const EnvironmentScope profile("APPDATA", folder.path().string());
    ASSERT_EQ(open(), 0U);
    ASSERT_EQ(next(), 0U);
    ASSERT_EQ(mCount, 1U);
    EXPECT_STREQ(mBuffer[0].lpLocalName, L"a:");
}

TEST_F(ProviderTest, WithoutAPlaceForTheListThereIsNoConnection) {
    const EnvironmentScope variable("NBCLEARCASE_DRIVES", std::nullopt);
    const EnvironmentScope profile("APPDATA", std::nullopt);
    ASSERT_EQ(open(), 0U);
    EXPECT_EQ(next(), static_cast<DWORD>(WN_NO_MORE_ENTRIES));
}

TEST_F(ProviderTest, WithoutTheFileThereIsNoConnection) {
    const TempFolder folder;
    const EnvironmentScope variable("NBCLEARCASE_DRIVES", folder.utf8("none.txt"));
    ASSERT_EQ(open(), 0U);
    EXPECT_EQ(next(), static_cast<DWORD>(WN_NO_MORE_ENTRIES));
}

TEST_F(ProviderTest, AMistakeInTheFileIsReportedAndMakesOpeningFail) {
    const DrivesFile drives("a:|x\nb:\n");
    testing::internal::CaptureStderr();
    const DWORD opened = open();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(guidemessages::badDriveList) + '\n');
    EXPECT_EQ(opened, static_cast<DWORD>(ERROR_INVALID_DATA));
}

TEST_F(ProviderTest, AListThatCannotBeReadIsReportedAndMakesOpeningFail) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "a:|x\n");
    for (const std::string& list : {folder.utf8(), '"' + file + '"'}) {
        const EnvironmentScope variable("NBCLEARCASE_DRIVES", list);
        testing::internal::CaptureStderr();
        const DWORD opened = open();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string(guidemessages::noDriveList) + '\n');
        EXPECT_EQ(opened, static_cast<DWORD>(ERROR_OPEN_FAILED));
    }
}

/// Tests what a process finds when it asks the system.
class ConnectionsTest : public testing::Test {
protected:
    void SetUp() override {
        if (!mProvider.problem().empty()) {
            GTEST_SKIP() << mProvider.problem();
        }
    }

    /// Returns the lines of listconnections that begin with `word`; for "entry", only those of the
    /// file.
    static std::vector<std::string> lines(std::string_view word,
                                          const std::vector<std::string>& arguments = {}) {
        const ChildResult result = runChild(
            {.program = testProgramFolder() / "listconnections.exe", .arguments = arguments});
        EXPECT_EQ(result.error, "");
        std::istringstream output(result.output);
        std::vector<std::string> found;
        for (std::string line; std::getline(output, line);) {
            const bool foreign =
                word == "entry" && line.find("ClearCase Dynamic Views") == std::string::npos;
            if (line.starts_with(word) && !foreign) {
                found.push_back(line);
            }
        }
        return found;
    }

    RegisteredProvider mProvider;
};

using Lines = std::vector<std::string>;

TEST_F(ConnectionsTest, TheSystemHandsOnWhatTheFileSays) {
    const DrivesFile drives("m: | \\\\view\nx: | \\\\view\\tag1\n");
    EXPECT_EQ(lines("entry"), (Lines{"entry\tm:\t\\\\view\tClearCase Dynamic Views",
                                     "entry\tx:\t\\\\view\\tag1\tClearCase Dynamic Views"}));
    EXPECT_EQ(lines("open"), Lines{"open 0"});
    EXPECT_EQ(lines("close"), Lines{"close 0"});
}

TEST_F(ConnectionsTest, AnEmptyLocalNameArrivesAsAnEmptyText) {
    const DrivesFile drives(" | \\\\view\\tag1\n");
    EXPECT_EQ(lines("entry"), Lines{"entry\t\t\\\\view\\tag1\tClearCase Dynamic Views"});
}

TEST_F(ConnectionsTest, BatchesArriveOneAfterTheOther) {
    const DrivesFile drives("a:|x\nbatch\nb:|x\nbatch\nc:|x\n");
    EXPECT_EQ(lines("entry").size(), 3U);
    EXPECT_EQ(lines("enum 0"), (Lines{"enum 0 1", "enum 0 1", "enum 0 1"}));
}

TEST_F(ConnectionsTest, ManyConnectionsTakeSeveralStepsOfASmallBuffer) {
    std::ostringstream text;
    for (int i = 0; i < 40; ++i) {
        text << "x" << i << ": | \\\\view\\tag" << i << "\n";
    }
    const DrivesFile drives(text.str());
    EXPECT_EQ(lines("entry").size(), 40U);
    EXPECT_GT(lines("enum 0").size(), 2U);
}

TEST_F(ConnectionsTest, ACountOfOneTakesOneConnectionAStep) {
    const DrivesFile drives("a:|x\nb:|x\n");
    EXPECT_EQ(lines("enum 0", {"1024", "1"}), (Lines{"enum 0 1", "enum 0 1"}));
}

TEST_F(ConnectionsTest, AProviderThatDoesNotOpenHasNoConnection) {
    const DrivesFile drives("m: | \\\\view\nopen 1200\n");
    EXPECT_EQ(lines("entry"), Lines{});
}

TEST_F(ConnectionsTest, AnEnumerationThatFailsKeepsWhatCameBefore) {
    const DrivesFile drives("m: | \\\\view\nfail 1222\n");
    EXPECT_EQ(lines("entry"), Lines{"entry\tm:\t\\\\view\tClearCase Dynamic Views"});
}

}  // namespace
