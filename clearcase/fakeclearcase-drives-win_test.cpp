// The drives of the library, and the paths that they move.

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "clearcase/fakeclearcase.h"
#include "clearcase/mvfsdrives-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

/// Gives the library drives for a scope.
class DrivesScope {
public:
    DrivesScope(const std::string& root, const std::map<std::string, std::string>& drives) {
        mvfsRoot = root;
        viewDrives = drives;
    }
    ~DrivesScope() {
        mvfsRoot.clear();
        viewDrives.clear();
    }
    DrivesScope(const DrivesScope&) = delete;
    DrivesScope& operator=(const DrivesScope&) = delete;
};

TEST(FakeClearCaseDrivesTest, TheDriveMapReplacesWhatTheCallersHeld) {
    const DrivesScope drives("M:", {{"X:", "tag1"}});
    FakeClearCase connection(nullptr);
    std::map<std::string, std::string> copy = {{"Q:", "gone"}};
    EXPECT_EQ(connection.getMvfsDrives(copy), "M:");
    EXPECT_EQ(copy, (std::map<std::string, std::string>{{"X:", "tag1"}}));
}

TEST(FakeClearCaseDrivesTest, TheDriveMapItselfIsLeftAlone) {
    const DrivesScope drives("M:", {{"X:", "tag1"}});
    FakeClearCase connection(nullptr);
    EXPECT_EQ(connection.getMvfsDrives(viewDrives), "M:");
    EXPECT_EQ(viewDrives, (std::map<std::string, std::string>{{"X:", "tag1"}}));
}

TEST(FakeClearCaseDrivesTest, TheDrivesOfTheLibraryAndNotTheConfiguredVobsMoveViewPaths) {
    const DrivesScope drives("M:", {{"X:", "tag1"}});
    const TempFolder folder;
    const EnvironmentScope named("NBCLEARCASE_FAKE_INI",
                                 folder.write("own.ini", "[vobs]\nX:\\vob=ro\n"));
    FakeClearCase connection(nullptr);
    EXPECT_EQ(connection.canonicalizeViewPath("C:\\w", "X:\\vob\\a.c", {"M:\\tag1\\vob"}),
              "M:\\tag1\\vob\\a.c");
    EXPECT_EQ(connection.canonicalizeViewPath("X:\\vob", "a.c", {}), "X:/vob/a.c");
}

TEST(FakeClearCaseDrivesTest, ARootThatOneConnectionFoundOutIsKnownToTheNext) {
    const auto canonical = [] {
        return FakeClearCase(nullptr).canonicalizeViewPath("C:\\", "U:\\v\\a", {"M:\\shared\\v"});
    };
    {
        const DrivesScope drives("M:", {{"U:", "shared"}});
        EXPECT_EQ(canonical(), "M:\\shared\\v\\a");
    }
    // None of these drives leads to the root.
    const DrivesScope drives("M:", {{"U:", "other"}});
    EXPECT_EQ(canonical(), "M:\\shared\\v\\a");
}

TEST(FakeClearCaseDrivesTest, APathThatCannotBeMovedIsReportedOnlyOnStandardError) {
    const DrivesScope drives("//", {{"V:", "srv\\sh"}});
    FakeClearCase connection(nullptr);
    connection.clearMessages();
    testing::internal::CaptureStderr();
    static_cast<void>(connection.canonicalizeViewPath("//srv/sh", "x", {"V:\\vob"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Couldn't make //srv/sh/x relative to //srv\\sh!\n");
    EXPECT_EQ(connection.getError(), "");
    EXPECT_EQ(connection.getOutput(), "");
}

}  // namespace
