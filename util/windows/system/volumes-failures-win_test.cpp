// volumeType for paths that Windows can't resolve, without an account, and on real drives.

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/fakevolume-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/volumes-win.h"

namespace {

using namespace testing_support;

DWORD WINAPI refuseLongPath(LPCWSTR, LPWSTR, DWORD) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return 0;
}

TEST(SystemVolumeFailureTest, APathWithoutALongFormIsTakenAsTheCallerGaveIt) {
    FakeVolume fake;
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW", refuseLongPath);
    const std::string account = accountOf("c:/x/..\\y");
    EXPECT_TRUE(
        account.starts_with("Couldn't convert 'c:/x/..\\y' to a real path.\n"
                            "c: is \\Device\\HarddiskVolume7\n"
                            "Drive type of c:\\ is fixed media\n"))
        << account;
}

TEST(SystemVolumeFailureTest, ARelativePathWithoutALongFormIsItsOwnRoot) {
    FakeVolume fake;
    fake.driveType = DRIVE_NO_ROOT_DIR;
    fake.volume.reset();
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW", refuseLongPath);
    const SystemMessage message(L"Not there.\r\n");
    VolumeType type = VolumeType::fixed;
    EXPECT_EQ(accountOf("sub/x", &type), std::string("Couldn't convert '")
                                             .append(System::getcwd())
                                             .append("/sub/x' to a real path.\n"
                                                     "getRoot(sub/x) failed.\n"
                                                     "Drive type of sub/x\\ is invalid root path\n"
                                                     "GetVolumeInformation(\"sub/x\\\"): "
                                                     "Not there. (2)\n"));
    EXPECT_EQ(type, VolumeType::other);
    EXPECT_TRUE(fake.devices.empty());
}

TEST(SystemVolumeFailureTest, ARootWithABackslashAfterItGetsNoSecondOne) {
    FakeVolume fake;
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW", refuseLongPath);
    accountOf("sub\\");
    EXPECT_EQ(fake.drives, std::vector<std::wstring>{L"sub\\"});
}

TEST(SystemVolumeNullAccountTest, TheResultIsThatWithAnAccountAndNoDeviceIsAsked) {
    for (UINT drive = 0; drive < 8; ++drive) {
        for (const wchar_t* fileSystem : {L"NTFS", L"MVFS", static_cast<const wchar_t*>(nullptr)}) {
            FakeVolume fake;
            fake.driveType = drive;
            if (fileSystem == nullptr) {
                fake.volume.reset();
            } else {
                fake.volume->fileSystem = fileSystem;
            }
            VolumeType type = VolumeType::fixed;
            accountOf("c:/x", &type);
            fake.devices.clear();
            EXPECT_EQ(System::volumeType("c:/x", nullptr), type) << drive;
            EXPECT_TRUE(fake.devices.empty());
        }
    }
}

TEST(SystemVolumeNullAccountTest, FailuresAreSilent) {
    FakeVolume fake;
    fake.volume.reset();
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW", refuseLongPath);
    EXPECT_EQ(System::volumeType("sub/x", nullptr), VolumeType::fixed);
    EXPECT_EQ(fake.drives, std::vector<std::wstring>{L"sub/x\\"});
}

TEST(SystemVolumeRealTest, TheDriveOfWindowsIsFixedAndItsAccountIsWhatWindowsSays) {
    wchar_t device[261] = L"";
    wchar_t name[261] = L"";
    wchar_t fileSystem[261] = L"";
    DWORD serialNumber = 0;
    DWORD longestName = 0;
    DWORD flags = 0;
    ASSERT_NE(QueryDosDeviceW(L"c:", device, 261), 0U);
    ASSERT_TRUE(GetVolumeInformationW(L"c:\\", name, 261, &serialNumber, &longestName, &flags,
                                      fileSystem, 261));
    VolumeType type = VolumeType::other;
    const std::string account = accountOf("c:/windows", &type);
    EXPECT_EQ(type, VolumeType::fixed);
    // The letter has the case that Windows stores for the drive.
    const std::string root = account.starts_with("C") ? "C:" : "c:";
    std::ostringstream expected;
    expected << root << " is " << toUtf8(device) << "\nDrive type of " << root
             << "\\ is fixed media\n"
             << root << "\\ \"" << toUtf8(name) << "\" is " << toUtf8(fileSystem) << ", serial #"
             << serialNumber << ", maximum file name length " << longestName << ",\nflags 0x"
             << std::hex << flags << ":  ";
    EXPECT_TRUE(account.starts_with(expected.str())) << account << "\n" << expected.str();
    EXPECT_NE(lineWith(account, "flags").find("case preserved"), std::string::npos) << account;
}

TEST(SystemVolumeRealTest, AMissingPathStillLiesOnItsDrive) {
    std::string longForm;
    if (System::longPath("c:/missing/x", longForm)) {
        GTEST_SKIP() << "here a missing path has a long form";
    }
    VolumeType type = VolumeType::other;
    const std::string account = accountOf("c:/missing/x", &type);
    EXPECT_EQ(type, VolumeType::fixed);
    EXPECT_TRUE(account.starts_with("Couldn't convert 'c:/missing/x' to a real path.\nc: is "))
        << account;
}

TEST(SystemVolumeRealTest, AShareThatIsNotThereIsNoFailureOfTheFunction) {
    std::string account;
    EXPECT_NO_THROW(account = accountOf("//missing.invalid/share/x"));
    EXPECT_NE(lineWith(account, "GetVolumeInformation(\"\\\\missing.invalid\\share\\\"): "), "");
}

}  // namespace
