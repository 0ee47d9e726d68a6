#include "util/windows/system/volumes-win.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/fakevolume-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

constexpr struct {
    UINT drive;
    VolumeType type;
    const char* word;
} driveTypes[] = {
    {DRIVE_UNKNOWN, VolumeType::other, "unknown"},
    {DRIVE_NO_ROOT_DIR, VolumeType::other, "invalid root path"},
    {DRIVE_REMOVABLE, VolumeType::removable, "removable media"},
    {DRIVE_FIXED, VolumeType::fixed, "fixed media"},
    {DRIVE_REMOTE, VolumeType::remote, "remote drive"},
    {DRIVE_CDROM, VolumeType::cdrom, "CD-ROM"},
    {DRIVE_RAMDISK, VolumeType::other, "RAM disk"},
    {7, VolumeType::other, "unexpected drive type 0x7!"},
    {0xDEADBEEF, VolumeType::other, "unexpected drive type 0xdeadbeef!"},
};

TEST(SystemVolumeTypeTest, TheResultsHaveTheNumbersThatCallersKnow) {
    EXPECT_EQ(static_cast<int>(VolumeType::fixed), 0);
    EXPECT_EQ(static_cast<int>(VolumeType::removable), 1);
    EXPECT_EQ(static_cast<int>(VolumeType::remote), 2);
    EXPECT_EQ(static_cast<int>(VolumeType::mvfs), 4);
    EXPECT_EQ(static_cast<int>(VolumeType::cdrom), 5);
    EXPECT_EQ(static_cast<int>(VolumeType::other), 6);
}

TEST(SystemVolumeTypeTest, EachDriveTypeHasItsResultAndItsWord) {
    for (const auto& [drive, expected, word] : driveTypes) {
        FakeVolume fake;
        fake.driveType = drive;
        VolumeType type = VolumeType::mvfs;
        const std::string account = accountOf("c:/x", &type);
        EXPECT_EQ(type, expected) << drive;
        EXPECT_EQ(lineWith(account, "Drive type"),
                  std::string("Drive type of c:\\ is ").append(word));
    }
}

TEST(SystemVolumeTypeTest, TheAccountReportsDeviceDriveVolumeAndFlagsInThisOrder) {
    FakeVolume fake;
    fake.volume->flags = 0x2f;
    VolumeType type = VolumeType::other;
    EXPECT_EQ(accountOf("c:/x/y", &type),
              "c: is \\Device\\HarddiskVolume7\n"
              "Drive type of c:\\ is fixed media\n"
              "c:\\ \"Data\" is NTFS, serial #4023233417, maximum file name length 255,\n"
              "flags 0x2f:  case-sensitive, case preserved, Unicode, ACLs, quotas\n");
    EXPECT_EQ(type, VolumeType::fixed);
}

TEST(SystemVolumeTypeTest, WindowsIsAskedAboutTheBareDriveAndTheRootWithABackslash) {
    FakeVolume fake;
    accountOf("c:/x/y");
    EXPECT_EQ(fake.longPaths, std::vector<std::wstring>{L"\\\\?\\c:\\x\\y"});
    EXPECT_EQ(fake.devices, std::vector<std::wstring>{L"c:"});
    EXPECT_EQ(fake.drives, std::vector<std::wstring>{L"c:\\"});
    EXPECT_EQ(fake.volumes, std::vector<std::wstring>{L"c:\\"});
    EXPECT_EQ(fake.rooms, (std::vector<DWORD>{261, 261, 261}));
}

TEST(SystemVolumeTypeTest, TheRootIsThatOfTheLongFormAndNotOfThePath) {
    FakeVolume fake;
    const ReplacedCall<decltype(GetLongPathNameW)> call(
        "GetLongPathNameW", [](LPCWSTR, LPWSTR buffer, DWORD) -> DWORD {
            return static_cast<DWORD>(std::wstring(lstrcpyW(buffer, L"\\\\?\\d:\\x")).size());
        });
    accountOf("c:/x");
    EXPECT_EQ(fake.drives, std::vector<std::wstring>{L"d:\\"});
}

TEST(SystemVolumeTypeTest, ARelativePathIsTakenAgainstTheCurrentDirectory) {
    FakeVolume fake;
    accountOf("sub/x");
    EXPECT_EQ(fake.longPaths,
              std::vector<std::wstring>{System::unicodePath(System::getcwd() + "/sub/x")});
}

TEST(SystemVolumeTypeTest, ANetworkPathHasNoDeviceAndItsRootIsServerAndShare) {
    FakeVolume fake;
    fake.driveType = DRIVE_REMOTE;
    fake.volume->flags = 0x4;
    VolumeType type = VolumeType::other;
    EXPECT_EQ(accountOf("//server/share/x/y", &type),
              "Drive type of \\\\server\\share\\ is remote drive\n"
              "\\\\server\\share\\ \"Data\" is NTFS, serial #4023233417, maximum file name length "
              "255,\n"
              "flags 0x4:  Unicode\n");
    EXPECT_EQ(type, VolumeType::remote);
    EXPECT_TRUE(fake.devices.empty());
}

TEST(SystemVolumeTypeTest, ARootWithoutALetterBeforeItsColonHasNoDevice) {
    for (const char* root : {"1:", "?:", "@:", "[:", "`:", "{:"}) {
        FakeVolume fake;
        EXPECT_TRUE(accountOf(std::string(root).append("/x"))
                        .starts_with(std::string("Drive type of ").append(root).append("\\ is ")))
            << root;
        EXPECT_TRUE(fake.devices.empty()) << root;
    }
}

TEST(SystemVolumeTypeTest, OnlyTheDriveTypeLineHasQuestionMarksForTheLocale) {
    FakeVolume fake;
    fake.volume->name = L"\u043D";
    fake.volume->fileSystem = L"\u0444";
    EXPECT_EQ(accountOf("//server/\xD1\x88\xD0\xB0\xD1\x80/x"),
              "Drive type of \\\\server\\???\\ is fixed media\n"
              "\\\\server\\\xD1\x88\xD0\xB0\xD1\x80\\ \"\xD0\xBD\" is \xD1\x84, serial "
              "#4023233417, maximum file name length 255,\n"
              "flags 0x0:  \n");
}

TEST(SystemVolumeTypeTest, TheDeviceIsReportedInUtf8) {
    FakeVolume fake;
    fake.device = L"\\??\\\u0444";
    EXPECT_EQ(lineWith(accountOf("c:/"), "c: is"), "c: is \\??\\\xD1\x84");
}

TEST(SystemVolumeTypeTest, NumbersAreWrittenTheSameWhateverTheStreamIsSetTo) {
    FakeVolume fake;
    fake.volume->flags = 0x10;
    std::ostringstream account;
    account << std::hex << std::showbase;
    static_cast<void>(System::volumeType("c:/", &account));
    EXPECT_NE(lineWith(account.str(), "serial #4023233417, maximum file name length 255,"), "");
    EXPECT_EQ(lineWith(account.str(), "flags"), "flags 0x10:  compression");
}

/// By the documentation of GetVolumeInformation, in the order of its names.
constexpr struct {
    DWORD bit;
    const char* word;
} volumeFlags[] = {
    {0x00000002, "case preserved"},           // FILE_CASE_PRESERVED_NAMES
    {0x00000001, "case-sensitive"},           // FILE_CASE_SENSITIVE_SEARCH
    {0x00000010, "compression"},              // FILE_FILE_COMPRESSION
    {0x00040000, "streams"},                  // FILE_NAMED_STREAMS
    {0x00000008, "ACLs"},                     // FILE_PERSISTENT_ACLS
    {0x00080000, "read-only"},                // FILE_READ_ONLY_VOLUME
    {0x00100000, "single sequential write"},  // FILE_SEQUENTIAL_WRITE_ONCE
    {0x00020000, "encryption"},               // FILE_SUPPORTS_ENCRYPTION
    {0x00800000, "extended attributes"},      // FILE_SUPPORTS_EXTENDED_ATTRIBUTES
    {0x00400000, "hard links"},               // FILE_SUPPORTS_HARD_LINKS
    {0x00010000, "object IDs"},               // FILE_SUPPORTS_OBJECT_IDS
    {0x01000000, "open by file ID"},          // FILE_SUPPORTS_OPEN_BY_FILE_ID
    {0x00000080, "reparse points"},           // FILE_SUPPORTS_REPARSE_POINTS
    {0x00000040, "sparse files"},             // FILE_SUPPORTS_SPARSE_FILES
    {0x00200000, "transactions"},             // FILE_SUPPORTS_TRANSACTIONS
    {0x02000000, "USN journal"},              // FILE_SUPPORTS_USN_JOURNAL
    {0x00000004, "Unicode"},                  // FILE_UNICODE_ON_DISK
    {0x00008000, "compressed volume"},        // FILE_VOLUME_IS_COMPRESSED
    {0x00000020, "quotas"},                   // FILE_VOLUME_QUOTAS
};

std::string flagsLine(DWORD flags) {
    FakeVolume fake;
    fake.volume->flags = flags;
    return lineWith(accountOf("c:/"), "flags");
}

TEST(SystemVolumeFlagsTest, EachFlagHasItsWord) {
    for (const auto& [bit, word] : volumeFlags) {
        std::ostringstream expected;
        expected << "flags 0x" << std::hex << bit << ":  " << word;
        EXPECT_EQ(flagsLine(bit), expected.str());
    }
}

TEST(SystemVolumeFlagsTest, SeveralWordsAreInTheOrderOfTheirBits) {
    EXPECT_EQ(flagsLine(0x3ff80ff),
              "flags 0x3ff80ff:  case-sensitive, case preserved, Unicode, ACLs, compression, "
              "quotas, sparse files, reparse points, compressed volume, object IDs, encryption, "
              "streams, read-only, single sequential write, transactions, hard links, extended "
              "attributes, open by file ID, USN journal");
}

TEST(SystemVolumeFlagsTest, BitsWithoutAWordAreOnlyInTheNumber) {
    EXPECT_EQ(flagsLine(0xfc007f00), "flags 0xfc007f00:  ");
    EXPECT_EQ(flagsLine(0x80000104), "flags 0x80000104:  Unicode");
}

TEST(SystemVolumeFlagsTest, WithoutFlagsTheLineEndsAfterTheNumber) {
    EXPECT_EQ(flagsLine(0), "flags 0x0:  ");
}

TEST(SystemVolumeMvfsTest, AFileSystemOfThatNameIsMvfsWhateverTheDriveTypeIs) {
    for (const auto& row : driveTypes) {
        FakeVolume fake;
        fake.driveType = row.drive;
        fake.volume->fileSystem = L"MVFS";
        VolumeType type = VolumeType::other;
        const std::string account = accountOf("m:/view/x", &type);
        EXPECT_EQ(type, VolumeType::mvfs) << row.drive;
        EXPECT_TRUE(account.ends_with("flags 0x0:  \nm:\\ is MVFS.\n")) << account;
        EXPECT_EQ(lineWith(account, "Drive type"),
                  std::string("Drive type of m:\\ is ").append(row.word));
    }
}

TEST(SystemVolumeMvfsTest, ANameThatIsOnlyAlikeIsNot) {
    for (const wchar_t* name : {L"mvfs", L"MVFS2", L"MVF", L" MVFS", L""}) {
        FakeVolume fake;
        fake.volume->fileSystem = name;
        VolumeType type = VolumeType::other;
        EXPECT_EQ(lineWith(accountOf("m:/", &type), "MVFS."), "");
        EXPECT_EQ(type, VolumeType::fixed);
    }
}

TEST(SystemVolumeFailureTest, ADeviceThatIsUnavailableIsReportedAndTheRestFollows) {
    FakeVolume fake;
    fake.device.reset();
    const SystemMessage message(L"Not there.\r\n");
    VolumeType type = VolumeType::other;
    EXPECT_EQ(accountOf("c:/x", &type),
              "QueryDosDevice(\"c:\"): Not there. (2)\n"
              "Drive type of c:\\ is fixed media\n"
              "c:\\ \"Data\" is NTFS, serial #4023233417, maximum file name length 255,\n"
              "flags 0x0:  \n");
    EXPECT_EQ(type, VolumeType::fixed);
}

TEST(SystemVolumeFailureTest, AVolumeThatCannotBeAskedHasTheTypeOfItsDrive) {
    for (const auto& row : driveTypes) {
        FakeVolume fake;
        fake.driveType = row.drive;
        fake.volume.reset();
        const SystemMessage message(L"Not there.\r\n");
        VolumeType type = VolumeType::mvfs;
        EXPECT_EQ(accountOf("c:/x", &type), std::string("c: is \\Device\\HarddiskVolume7\n"
                                                        "Drive type of c:\\ is ")
                                                .append(row.word)
                                                .append("\nGetVolumeInformation(\"c:\\\"): "
                                                        "Not there. (2)\n"));
        EXPECT_EQ(type, row.type);
    }
}

}  // namespace
