#include <algorithm>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "testing/calls/fakefile-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/filestat-win.h"

namespace {

using namespace testing_support;

void setFileAttributes(const std::string& path, DWORD attributes) {
    ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), attributes));
}

TEST(FileStatReadTest, AFileHasItsFacts) {
    const TempFolder folder;
    const std::string path = folder.write("\xD0\xB6.txt", "12345");
    ASSERT_TRUE(CreateHardLinkW(System::unicodePath(folder.utf8("second")).c_str(),
                                System::unicodePath(path).c_str(), nullptr));
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_EQ(stat.size, 5U);
    EXPECT_EQ(stat.links, 2U);
    EXPECT_NE(stat.fileIndex, 0U);
    EXPECT_NE(stat.written, FileTime(0, 0));
    EXPECT_FALSE(stat.isDirectory());
    EXPECT_EQ(stat.type(), FileStat::typeFile);
    FileStat second;
    ASSERT_TRUE(second.read(folder.utf8("second"), 99));
    EXPECT_EQ(second.fileIndex, stat.fileIndex);
    EXPECT_EQ(second.device, stat.device);
}

TEST(FileStatReadTest, TheInformationIsTakenWordByWordAndWithoutTheReparseBit) {
    const ReplacedCall<decltype(GetFileInformationByHandle)> call(
        "GetFileInformationByHandle", [](HANDLE, LPBY_HANDLE_FILE_INFORMATION information) -> BOOL {
            *information = {};
            information->dwFileAttributes =
                FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_SYSTEM;
            information->dwVolumeSerialNumber = 0xABCD;
            information->nFileIndexHigh = 5;
            information->nFileIndexLow = 6;
            information->nNumberOfLinks = 7;
            information->nFileSizeHigh = 8;
            information->nFileSizeLow = 9;
            information->ftCreationTime = {1, 0};
            information->ftLastAccessTime = {2, 0};
            information->ftLastWriteTime = {3, 0};
            return TRUE;
        });
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.utf8(), 0));
    EXPECT_EQ(stat.device, 0xABCDU);
    EXPECT_EQ(stat.fileIndex, 0x500000006U);
    EXPECT_EQ(stat.links, 7U);
    EXPECT_EQ(stat.size, 0x800000009U);
    EXPECT_EQ(stat.created, FileTime(1, 0));
    EXPECT_EQ(stat.accessed, FileTime(2, 0));
    EXPECT_EQ(stat.written, FileTime(3, 0));
    EXPECT_EQ(stat.attributes, DWORD{FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_SYSTEM});
    EXPECT_TRUE(stat.isSystem());
}

TEST(FileStatReadTest, ADirectoryIsOneAndWritable) {
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.utf8(), 0));
    EXPECT_TRUE(stat.isDirectory());
    EXPECT_EQ(stat.type(), FileStat::typeDirectory);
    EXPECT_TRUE(stat.isWritable());
}

TEST(FileStatReadTest, AReadOnlyFileIsNotWritable) {
    const TempFolder folder;
    const std::string path = folder.write("a", "");
    setFileAttributes(path, FILE_ATTRIBUTE_READONLY);
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_FALSE(stat.isWritable());
}

TEST(FileStatReadTest, AReadOnlyDirectoryIsADirectoryAndWritable) {
    const ReplacedCall<decltype(GetFileInformationByHandle)> call(
        "GetFileInformationByHandle", [](HANDLE, LPBY_HANDLE_FILE_INFORMATION information) -> BOOL {
            *information = {};
            information->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY;
            return TRUE;
        });
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.utf8(), 0));
    EXPECT_TRUE(stat.isDirectory());
    EXPECT_TRUE(stat.isWritable());
}

/// A value with different content in each field.
FileStat filledStat() {
    FileStat stat;
    stat.device = 1;
    stat.fileIndex = 2;
    stat.size = 3;
    stat.links = 4;
    stat.created = FileTime(5, 15);
    stat.accessed = FileTime(6, 16);
    stat.written = FileTime(7, 17);
    stat.attributes = FILE_ATTRIBUTE_READONLY;
    return stat;
}

void expectSame(const FileStat& a, const FileStat& b) {
    EXPECT_EQ(a.device, b.device);
    EXPECT_EQ(a.fileIndex, b.fileIndex);
    EXPECT_EQ(a.size, b.size);
    EXPECT_EQ(a.links, b.links);
    EXPECT_EQ(a.created, b.created);
    EXPECT_EQ(a.accessed, b.accessed);
    EXPECT_EQ(a.written, b.written);
    EXPECT_TRUE(std::equal(std::begin(a.reserved), std::end(a.reserved), std::begin(b.reserved)));
    EXPECT_EQ(a.attributes, b.attributes);
}

TEST(FileStatReadTest, AMissingPathLeavesTheValueUnchangedAndTheErrorInPlace) {
    const TempFolder folder;
    FileStat stat = filledStat();
    EXPECT_FALSE(stat.read(folder.utf8("missing"), 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    expectSame(stat, filledStat());
}

void expectDevice(const FileStat& stat) {
    EXPECT_EQ(stat.device, 0U);
    EXPECT_EQ(stat.fileIndex, 0U);
    EXPECT_EQ(stat.links, 0U);
    EXPECT_EQ(stat.created, FileTime(1, 0));
    EXPECT_EQ(stat.accessed, FileTime(1, 0));
    EXPECT_EQ(stat.written, FileTime(1, 0));
    EXPECT_EQ(stat.attributes, DWORD{FILE_ATTRIBUTE_DEVICE});
    EXPECT_TRUE(stat.isNotDirectory());
    EXPECT_TRUE(stat.isWritable());
}

TEST(FileStatReadTest, TheNullDeviceOpensAndIsADevice) {
    FileStat stat;
    stat.fileIndex = 5;
    ASSERT_TRUE(stat.read("c:/nul", 0));
    expectDevice(stat);
}

BOOL WINAPI refuseInformation(HANDLE, LPBY_HANDLE_FILE_INFORMATION) {
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
}

TEST(FileStatReadTest, OfADeviceTheSizeIsWhatGetFileSizeSays) {
    const ReplacedCall<decltype(GetFileInformationByHandle)> information(
        "GetFileInformationByHandle", refuseInformation);
    const ReplacedCall<decltype(GetFileSize)> size("GetFileSize",
                                                   [](HANDLE, LPDWORD high) -> DWORD {
                                                       *high = 3;
                                                       return 4;
                                                   });
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.write("a", "12"), 0));
    expectDevice(stat);
    EXPECT_EQ(stat.size, 0x300000004U);
}

TEST(FileStatReadTest, IfTheSizeOfADeviceIsUnknownItIsTheResultOfTheFailedCall) {
    const ReplacedCall<decltype(GetFileInformationByHandle)> information(
        "GetFileInformationByHandle", refuseInformation);
    const ReplacedCall<decltype(GetFileSize)> size("GetFileSize", [](HANDLE, LPDWORD) -> DWORD {
        SetLastError(ERROR_INVALID_FUNCTION);
        return INVALID_FILE_SIZE;
    });
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.write("a", "12"), 0));
    expectDevice(stat);
    EXPECT_EQ(stat.size, INVALID_FILE_SIZE);
}

struct OpenCall {
    std::wstring name;
    DWORD access, share, disposition, flags;
};
OpenCall gOpened;

TEST(FileStatReadTest, TheHandleIsClosedWhetherOrNotThereIsInformation) {
    FileStat stat;
    {
        const ReplacedCall<decltype(GetFileInformationByHandle)> information(
            "GetFileInformationByHandle", [](HANDLE, LPBY_HANDLE_FILE_INFORMATION facts) -> BOOL {
                *facts = {};
                return TRUE;
            });
        const FakeFile file;
        EXPECT_TRUE(stat.read("c:/x", 0));
        EXPECT_EQ(file.closes(), 1);
    }
    const ReplacedCall<decltype(GetFileInformationByHandle)> information(
        "GetFileInformationByHandle", refuseInformation);
    const FakeFile file;
    EXPECT_TRUE(stat.read("c:/x", 0));
    EXPECT_EQ(file.closes(), 1);
}

TEST(FileStatReadTest, ThePathIsOpenedWithoutAnyRightSoThatEverybodyMayGoOn) {
    const ReplacedCall<decltype(CreateFileW)> call(
        "CreateFileW",
        [](LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition,
           DWORD flags, HANDLE) -> HANDLE {
            gOpened = {name, access, share, disposition, flags};
            return INVALID_HANDLE_VALUE;
        });
    FileStat stat;
    EXPECT_FALSE(stat.read("c:/x/../y.", 0));
    EXPECT_EQ(gOpened.name, L"\\\\?\\c:\\y");
    EXPECT_EQ(gOpened.access, 0U);
    EXPECT_EQ(gOpened.share, shareAll);
    EXPECT_EQ(gOpened.disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(gOpened.flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS});
    EXPECT_FALSE(stat.applyTimes("c:/y"));
    EXPECT_EQ(gOpened.access, DWORD{FILE_WRITE_ATTRIBUTES});
    EXPECT_EQ(gOpened.share, shareAll);
    EXPECT_EQ(gOpened.disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(gOpened.flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS});
}

}  // namespace
