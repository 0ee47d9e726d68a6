#include "tools/ccdrives/drivesplace-win.h"

#include <filesystem>
#include <optional>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"
#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using ccdrives::drivesFile;
using testing_support::EnvironmentScope;

TEST(DrivesFileTest, TheVariableNamesTheList) {
    const EnvironmentScope named("NBCLEARCASE_DRIVES", "C:\\a\\b.txt");
    EXPECT_EQ(drivesFile(), "C:\\a\\b.txt");
}

TEST(DrivesFileTest, ARelativePathIsCompletedAsWindowsDoes) {
    const testing_support::TempFolder folder;
    const testing_support::CurrentDirectory current(folder.path());
    const EnvironmentScope named("NBCLEARCASE_DRIVES", "b.txt");
    EXPECT_EQ(drivesFile(), testing_support::utf8(std::filesystem::current_path()) + "\\b.txt");
}

TEST(DrivesFileTest, APathFromTheRootIsTheSameFileForReadersAndEditors) {
    // On Wine it is one of the host's.
    const testing_support::TempFolder folder;
    const std::string path = folder.utf8("b.txt").substr(2);
    const EnvironmentScope named("NBCLEARCASE_DRIVES", path);
    const std::string file = drivesFile();
    EXPECT_TRUE(isAbsolutePath(file, windowsPaths)) << file;
    EXPECT_EQ(System::unicodePath(file), L"\\\\?\\" + toWide(file));
    EXPECT_TRUE(file.ends_with("b.txt")) << file;
}

TEST(DrivesFileTest, WithoutTheVariableTheListIsTheUsers) {
    const EnvironmentScope named("NBCLEARCASE_DRIVES", std::nullopt);
    const EnvironmentScope profile("APPDATA", "C:\\me");
    EXPECT_EQ(drivesFile(), "C:\\me\\nbclearcase\\drives.txt");
    SetEnvironmentVariableW(L"NBCLEARCASE_DRIVES", L"");
    EXPECT_EQ(drivesFile(), "C:\\me\\nbclearcase\\drives.txt");
}

TEST(DrivesFileTest, WithoutEitherVariableThereIsNone) {
    const EnvironmentScope named("NBCLEARCASE_DRIVES", std::nullopt);
    const EnvironmentScope profile("APPDATA", std::nullopt);
    EXPECT_EQ(drivesFile(), "");
}

}  // namespace
