// Tests the library in fresh processes, with a network provider that is there, isn't there, or
// fails.

#include <filesystem>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/host/shippedlibrary-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/providers/registeredprovider-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/underwine-win.h"
#include "testing/utf8path.h"

namespace {

using namespace testing_support;

using Arguments = std::vector<std::string>;

/// Queries a library in a separate process, with `drives` connected.
class DrivesTest : public testing::TestWithParam<const char*> {
protected:
    ~DrivesTest() override { EXPECT_EQ(mJournal.complaints(), ""); }

    void SetUp() override {
        if (!mProvider.problem().empty()) {
            GTEST_SKIP() << mProvider.problem();
        }
    }

    ChildResult ask(const std::string& drives, const Arguments& arguments) {
        ChildRun run{testProgramFolder() / "ccquery.exe",
                     {"--json", "--library", utf8(testProgramFolder() / GetParam())}};
        run.arguments.insert(run.arguments.end(), arguments.begin(), arguments.end());
        run.environment = {{"NBCLEARCASE_DRIVES", mFolder.write("drives.txt", drives)}};
        return runChild(run);
    }

    /// Returns the output of a process that succeeds without an error message.
    std::string answer(const std::string& drives, const Arguments& arguments) {
        const ChildResult result = ask(drives, arguments);
        EXPECT_EQ(result.exitCode, 0U);
        EXPECT_EQ(result.error, "");
        return result.output;
    }

    TempFolder mFolder;
    JournalFile mJournal;
    RegisteredProvider mProvider;
};

INSTANTIATE_TEST_SUITE_P(Libraries, DrivesTest, testing::Values(fakeLibrary, journalLibrary),
                         libraryTestName);

constexpr const char* twoViews = "m: | \\\\view\nx: | \\\\view\\tag1\ny: | \\\\view\\Tag2\n";

TEST_P(DrivesTest, TheDriveMapIsWhatTheProviderHasConnected) {
    EXPECT_EQ(answer(twoViews, {"drives"}),
              "{\"mvfsRoot\":\"M:\",\"drives\":{\"X:\":\"tag1\",\"Y:\":\"Tag2\"}}\n");
}

TEST_P(DrivesTest, SeveralBatchesAreOneMap) {
    EXPECT_EQ(answer("x: | \\\\view\\a\nbatch\nm: | \\\\view\nbatch\nbatch\ny: | \\\\view\\b\n",
                     {"drives"}),
              "{\"mvfsRoot\":\"M:\",\"drives\":{\"X:\":\"a\",\"Y:\":\"b\"}}\n");
}

TEST_P(DrivesTest, MoreDrivesThanOneBufferHoldsAreAllThere) {
    std::string drives;
    std::string expected;
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        const std::string tag = std::string(60, 't') + letter;
        drives += std::string(1, letter) + ": | \\\\view\\" + tag + "\n";
        expected +=
            std::string(expected.empty() ? "" : ",") + "\"" + letter + ":\":\"" + tag + "\"";
    }
    EXPECT_EQ(answer(drives, {"drives"}), "{\"mvfsRoot\":\"\",\"drives\":{" + expected + "}}\n");
}

TEST_P(DrivesTest, ConnectionsOfOtherProvidersCountForNothing) {
    // Under Wine, an empty text is the closest that the provider gets to a missing one.
    EXPECT_EQ(answer("n: | \\\\view | Other Network\n | \\\\view\\tag | \nz: | \\\\view\\t | \n"
                     "m: | \\\\view\n",
                     {"drives"}),
              "{\"mvfsRoot\":\"M:\",\"drives\":{}}\n");
}

TEST_P(DrivesTest, AConnectionWithAnEmptyLocalNameIsADriveWithoutAName) {
    EXPECT_EQ(answer(" | \\\\view\\nameless\nm: | \\\\view\n", {"drives"}),
              "{\"mvfsRoot\":\"M:\",\"drives\":{\"\":\"nameless\"}}\n");
}

TEST_P(DrivesTest, WithoutConnectionsThereAreNoDrivesAndNoMessage) {
    EXPECT_EQ(answer("", {"drives"}), "{\"mvfsRoot\":\"\",\"drives\":{}}\n");
}

TEST_P(DrivesTest, APathIsMovedToTheRouteOfItsTagAndBack) {
    EXPECT_EQ(answer(twoViews, {"canonicalize", "--tag", "M:\\tag1\\vob", "X:\\vob\\a.c"}),
              "{\"path\":\"X:\\\\vob\\\\a.c\",\"canonical\":\"M:\\\\tag1\\\\vob\\\\a.c\"}\n");
    EXPECT_EQ(answer(twoViews, {"canonicalize", "--tag", "X:\\vob", "M:\\tag1\\vob\\a.c"}),
              "{\"path\":\"M:\\\\tag1\\\\vob\\\\a.c\",\"canonical\":\"X:\\\\vob\\\\a.c\"}\n");
}

TEST_P(DrivesTest, APathOutsideTheTagsStaysInForwardSlashes) {
    EXPECT_EQ(answer(twoViews, {"canonicalize", "--cwd", "Y:\\w", "--tag", "X:\\vob", "a\\..\\b"}),
              "{\"path\":\"a\\\\..\\\\b\",\"canonical\":\"Y:/w/b\"}\n");
}

TEST_P(DrivesTest, WhatAProviderGaveBeforeItFailedIsKept) {
    const std::string drives = "m: | \\\\view\nx: | \\\\view\\tag1\nfail 1208\ny: | \\\\view\\t\n";
    const ChildResult result = ask(drives, {"drives"});
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_NE(result.output.find("\"X:\":\"tag1\""), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find("\"Y:\""), std::string::npos) << result.output;
}

TEST_P(DrivesTest, AProviderThatDoesNotOpenLeavesNoDrives) {
    const ChildResult result = ask(std::string("open 1208\n") + twoViews, {"drives"});
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output, "{\"mvfsRoot\":\"\",\"drives\":{}}\n");
}

/// Runs a host in `folder`, where another library may replace one of the system.
ChildResult loadIn(const std::string& folder,
                   const std::map<std::string, std::optional<std::string>>& environment = {}) {
    const std::filesystem::path programs = testProgramFolder();
    const ChildRun run{programs / folder / "loadhost.exe",
                       {(programs / "nbclearcase_fake.dll").string()},
                       environment};
    ChildResult result = runChild(run);
    // Both were written in text mode, with line ends of two characters.
    std::erase(result.output, '\r');
    std::erase(result.error, '\r');
    return result;
}

/// Expects the message of a failed call: `before`, the system's own sentence, and the number.
void expectWords(const std::string& text, const std::string& before, const std::string& number) {
    const std::string end = " (" + number + ")\n";
    EXPECT_EQ(text.rfind(before, 0), 0U) << text;
    ASSERT_GT(text.size(), before.size() + end.size()) << text;
    EXPECT_EQ(text.substr(text.size() - end.size()), end) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
}

constexpr const char* lookup = "nbclearcase:  initialization error looking up MVFS drives:  ";

TEST(NoProviderTest, WithoutAnyProviderTheLibraryLoadsWithAComplaintAndNoDrives) {
    const RegisteredProvider outer;  // restores the registry
    if (!outer.problem().empty()) {
        GTEST_SKIP() << outer.problem();
    }
    testing_support::removeProvider();
    const ChildResult system = runChild({.program = testProgramFolder() / "listconnections.exe"});
    if (!system.output.starts_with("open 1222\n")) {
        GTEST_SKIP() << "this system has network providers of its own: " << system.output;
    }
    const ChildResult result = loadIn("");
    expectWords(result.error, std::string(lookup) + "WNetOpenEnum: ", "1222");
    EXPECT_EQ(result.output, "loaded\nMVFS drive ''\n");
    EXPECT_EQ(result.exitCode, 0U);
}

TEST(FailingNetworkTest, AnEnumerationThatDoesNotOpenIsReported) {
    const ChildResult result = loadIn("failingmpr", {{"FAILING_MPR_OPEN", "1208"}});
    expectWords(result.error, std::string(lookup) + "WNetOpenEnum: ", "1208");
    EXPECT_EQ(result.output, "loaded\nMVFS drive ''\n");
}

TEST(FailingNetworkTest, AfterAFailureOnTheWayTheViewDrivesStayAndTheMvfsDriveDoesNot) {
    const ChildResult result = loadIn("failingmpr", {{"FAILING_MPR", "234"}});
    expectWords(result.error, std::string(lookup) + "WNetEnumResource: ", "234");
    EXPECT_EQ(result.output, "loaded\nMVFS drive ''\nX: tag1\n");
}

TEST(FailingSocketsTest, SocketsThatDoNotStartFailTheLoad) {
    if (!isUnderWine()) {
        GTEST_SKIP() << "Windows takes no ws2_32.dll from beside a program; Wine is configured to";
    }
    const ChildResult result = loadIn("failingsockets");
    expectWords(result.error, "nbclearcase:  WSAStartup: ", "10091");
    EXPECT_EQ(result.output, "error 1114\n");  // ERROR_DLL_INIT_FAILED
    EXPECT_EQ(result.exitCode, 1U);
}

}  // namespace
