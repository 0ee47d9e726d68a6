#include "clearcase/libraryload-win.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include <winsock2.h>
#include <winnetwk.h>

#include "clearcase/mvfsdrives-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/describedmessage.h"
#include "testing/guidemessages.h"

namespace {

using namespace testing_support;

WORD gVersion = 0;
int gCleanups = 0;
int gStep = 0;

DWORD WINAPI openEnum(DWORD, DWORD, DWORD, LPNETRESOURCEA, LPHANDLE enumeration) {
    *enumeration = nullptr;
    gStep = 0;
    return NO_ERROR;
}

/// Reports an MVFS drive and a view drive, and then a failure instead of the end.
DWORD WINAPI enumThatFails(HANDLE, LPDWORD count, LPVOID buffer, LPDWORD) {
    static char names[][32] = {"m:", "\\\\view", "x:", "\\\\view\\tag", "ClearCase Dynamic Views"};
    if (gStep++ != 0) {
        return ERROR_EXTENDED_ERROR;
    }
    auto* entries = static_cast<NETRESOURCEA*>(buffer);
    entries[0] = {};
    entries[0].lpLocalName = names[0];
    entries[0].lpRemoteName = names[1];
    entries[0].lpProvider = names[4];
    entries[1] = entries[0];
    entries[1].lpLocalName = names[2];
    entries[1].lpRemoteName = names[3];
    *count = 2;
    return NO_ERROR;
}

DWORD WINAPI enumThatEnds(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size) {
    enumThatFails(enumeration, count, buffer, size);
    return ERROR_NO_MORE_ITEMS;
}

class LibraryLoadTest : public testing::Test {
protected:
    LibraryLoadTest() { forget(); }
    ~LibraryLoadTest() override { forget(); }

    static void forget() {
        mvfsRoot.clear();
        viewDrives.clear();
        viewDriveLetters = DriveLetters();
    }

    /// Passes maps that contradict the letters, so that only the letters can answer.
    static void expectLettersOfViewDrives() {
        EXPECT_TRUE(viewDriveLetters.isKey("X:", {}));
        EXPECT_FALSE(viewDriveLetters.isKey("Y:", {{"Y:", "other"}}));
    }

    ReplacedCall<decltype(WNetOpenEnumA)> mOpen{"WNetOpenEnumA", openEnum};
    ReplacedCall<decltype(WNetCloseEnum)> mClose{"WNetCloseEnum",
                                                 [](HANDLE) -> DWORD { return NO_ERROR; }};
};

TEST_F(LibraryLoadTest, SocketsOfVersion22AreStartedAndTheDrivesAreRead) {
    const ReplacedCall<decltype(WSAStartup)> start("WSAStartup",
                                                   [](WORD version, LPWSADATA) -> int {
                                                       gVersion = version;
                                                       return 0;
                                                   });
    const ReplacedCall<decltype(WNetEnumResourceA)> enumerate("WNetEnumResourceA", enumThatEnds);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(attachLibrary());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(gVersion, MAKEWORD(2, 2));
    EXPECT_EQ(mvfsRoot, "M:");
    EXPECT_EQ(viewDrives, (std::map<std::string, std::string>{{"X:", "tag"}}));
    expectLettersOfViewDrives();
}

TEST_F(LibraryLoadTest, SocketsThatDoNotStartFailTheLoadWithTheirMessage) {
    const SystemMessage message(L"No sockets.\r\n");
    const ReplacedCall<decltype(WSAStartup)> start(
        "WSAStartup", [](WORD, LPWSADATA) -> int { return WSASYSNOTREADY; });
    testing::internal::CaptureStderr();
    EXPECT_FALSE(attachLibrary());
    const std::string error = testing::internal::GetCapturedStderr();
    EXPECT_EQ(error, "nbclearcase:  WSAStartup: No sockets. (10091)\n");
    EXPECT_TRUE(isAsDescribed(error, guidemessages::noSockets));
}

TEST_F(LibraryLoadTest, DrivesThatCannotBeReadAreReportedAndTheLoadGoesOn) {
    const SystemMessage message(L"The network is ill.\r\n");
    const ReplacedCall<decltype(WNetEnumResourceA)> enumerate("WNetEnumResourceA", enumThatFails);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(attachLibrary());
    const std::string error = testing::internal::GetCapturedStderr();
    EXPECT_EQ(error,
              "nbclearcase:  initialization error looking up MVFS drives:  "
              "WNetEnumResource: The network is ill. (1208)\n");
    EXPECT_TRUE(isAsDescribed(error, guidemessages::noLookup));
    EXPECT_EQ(mvfsRoot, "") << "though the MVFS drive was seen";
    EXPECT_EQ(viewDrives, (std::map<std::string, std::string>{{"X:", "tag"}}));
    expectLettersOfViewDrives();
    detachLibrary();
}

TEST_F(LibraryLoadTest, AnEnumerationThatDoesNotOpenIsReportedAndTheLoadGoesOn) {
    const SystemMessage message(L"No network.\r\n");
    const ReplacedCall<decltype(WNetOpenEnumA)> open(
        "WNetOpenEnumA",
        [](DWORD, DWORD, DWORD, LPNETRESOURCEA, LPHANDLE) -> DWORD { return ERROR_NO_NETWORK; });
    testing::internal::CaptureStderr();
    EXPECT_TRUE(attachLibrary());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "nbclearcase:  initialization error looking up MVFS drives:  "
              "WNetOpenEnum: No network. (1222)\n");
    EXPECT_EQ(mvfsRoot, "");
    EXPECT_TRUE(viewDrives.empty());
    detachLibrary();
}

TEST_F(LibraryLoadTest, LeavingReleasesTheSocketsAndNothingElse) {
    mvfsRoot = "M:";
    gCleanups = 0;
    const ReplacedCall<decltype(WSACleanup)> cleanup("WSACleanup", []() -> int {
        ++gCleanups;
        return 0;
    });
    detachLibrary();
    EXPECT_EQ(gCleanups, 1);
    EXPECT_EQ(mvfsRoot, "M:");
}

}  // namespace
