#include "tools/ccdrives/drivesplace-win.h"

#include <optional>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/scopes/environmentscope.h"

namespace {

using ccdrives::drivesFile;
using testing_support::EnvironmentScope;

TEST(DrivesFileTest, TheVariableNamesTheList) {
    const EnvironmentScope named("NBCLEARCASE_DRIVES", "C:\\a\\b.txt");
    EXPECT_EQ(drivesFile(), "C:\\a\\b.txt");
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
