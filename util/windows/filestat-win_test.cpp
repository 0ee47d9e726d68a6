#include "util/windows/filestat-win.h"

#include <cstddef>
#include <cstring>
#include <string_view>

#include <gtest/gtest.h>

#include "testing/debugoutput-win.h"
#include "testing/replacedcall-win.h"
#include "testing/tempfolder.h"
#include "util/windows/filetime-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using testing_support::DebugOutput;
using testing_support::ReplacedCall;
using testing_support::TempFolder;

void setFileAttributes(const std::string& path, DWORD attributes) {
    ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), attributes));
}

FileStat withAttributes(uint32_t attributes) {
    FileStat stat;
    stat.attributes = attributes;
    return stat;
}

TEST(FileStatTest, ANewValueIsAllZero) {
    const FileStat stat;
    EXPECT_EQ(stat.device | stat.fileIndex | stat.size | stat.links, 0U);
    EXPECT_EQ(stat.created, FileTime(0, 0));
    EXPECT_EQ(stat.accessed, FileTime(0, 0));
    EXPECT_EQ(stat.written, FileTime(0, 0));
    for (const uint32_t word : stat.reserved) {
        EXPECT_EQ(word, 0U);
    }
    EXPECT_EQ(stat.attributes, 0U);
}

TEST(FileStatTest, TheFieldsStandInTheirOrder) {
    EXPECT_EQ(offsetof(FileStat, device), 0U);
    EXPECT_LT(offsetof(FileStat, device), offsetof(FileStat, fileIndex));
    EXPECT_LT(offsetof(FileStat, fileIndex), offsetof(FileStat, size));
    EXPECT_LT(offsetof(FileStat, size), offsetof(FileStat, links));
    EXPECT_LT(offsetof(FileStat, links), offsetof(FileStat, created));
    EXPECT_LT(offsetof(FileStat, created), offsetof(FileStat, accessed));
    EXPECT_LT(offsetof(FileStat, accessed), offsetof(FileStat, written));
    EXPECT_LT(offsetof(FileStat, written), offsetof(FileStat, reserved));
    EXPECT_EQ(offsetof(FileStat, reserved) + 12, offsetof(FileStat, attributes));
}

template <class Entry>
Entry listingEntry() {
    Entry entry = {};
    entry.dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    entry.nFileSizeHigh = 2;
    entry.nFileSizeLow = 3;
    entry.ftCreationTime = {10, 1};
    entry.ftLastAccessTime = {20, 2};
    entry.ftLastWriteTime = {30, 3};
    return entry;
}

void expectListed(const FileStat& stat) {
    EXPECT_EQ(stat.device, 0U);
    EXPECT_EQ(stat.fileIndex, 0U);
    EXPECT_EQ(stat.links, 1U);
    EXPECT_EQ(stat.size, 0x200000003U);
    EXPECT_EQ(stat.created, FileTime(0x10000000AU, 0));
    EXPECT_EQ(stat.accessed, FileTime(0x200000014U, 0));
    EXPECT_EQ(stat.written, FileTime(0x30000001EU, 0));
    EXPECT_EQ(stat.attributes, 16U);
}

TEST(FileStatTest, AListingEntryIsTakenWithoutItsReparseBit) {
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAW>()));
    expectListed(FileStat(listingEntry<WIN32_FIND_DATAA>()));
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
    EXPECT_EQ(stat.type(), 1);
    FileStat second;
    ASSERT_TRUE(second.read(folder.utf8("second"), 99));
    EXPECT_EQ(second.fileIndex, stat.fileIndex);
    EXPECT_EQ(second.device, stat.device);
}

TEST(FileStatReadTest, TheInformationIsTakenWordByWordAndWithoutTheReparseBit) {
    const ReplacedCall<decltype(GetFileInformationByHandle)> call(
        "GetFileInformationByHandle", [](HANDLE, LPBY_HANDLE_FILE_INFORMATION information) -> BOOL {
            *information = {};
            information->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY | 0x400 | 4;
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
    EXPECT_EQ(stat.attributes, 20U);
    EXPECT_TRUE(stat.isSystem());
}

TEST(FileStatReadTest, ADirectoryIsOneWhetherOrNotItIsReadOnly) {
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.utf8(), 0));
    EXPECT_TRUE(stat.isDirectory());
    EXPECT_EQ(stat.type(), 3);
    EXPECT_TRUE(stat.isWritable());
}

TEST(FileStatReadTest, AReadOnlyFileIsNotWritable) {
    const TempFolder folder;
    const std::string path = folder.write("a", "");
    setFileAttributes(path, FILE_ATTRIBUTE_READONLY);
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_FALSE(stat.isWritable());
    EXPECT_TRUE(withAttributes(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY).isWritable());
}

TEST(FileStatReadTest, AMissingPathLeavesTheValueUnchangedAndTheErrorInPlace) {
    const TempFolder folder;
    FileStat stat;
    stat.size = 77;
    stat.attributes = 128;
    EXPECT_FALSE(stat.read(folder.utf8("missing"), 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(stat.size, 77U);
    EXPECT_EQ(stat.attributes, 128U);
}

void expectDevice(const FileStat& stat) {
    EXPECT_EQ(stat.device, 0U);
    EXPECT_EQ(stat.fileIndex, 0U);
    EXPECT_EQ(stat.links, 0U);
    EXPECT_EQ(stat.created, FileTime(1, 0));
    EXPECT_EQ(stat.accessed, FileTime(1, 0));
    EXPECT_EQ(stat.written, FileTime(1, 0));
    EXPECT_EQ(stat.attributes, 64U);
    EXPECT_TRUE(stat.isNotDirectory());
    EXPECT_TRUE(stat.isWritable());
}

TEST(FileStatReadTest, TheNullDeviceOpensAndIsADevice) {
    FileStat stat;
    stat.fileIndex = 5;
    ASSERT_TRUE(stat.read("c:/nul", 0));
    expectDevice(stat);
}

TEST(FileStatReadTest, OfADeviceTheSizeIsWhatGetFileSizeSays) {
    const ReplacedCall<decltype(GetFileInformationByHandle)> information(
        "GetFileInformationByHandle", [](HANDLE, LPBY_HANDLE_FILE_INFORMATION) -> BOOL {
            SetLastError(ERROR_INVALID_FUNCTION);
            return FALSE;
        });
    const ReplacedCall<decltype(GetFileSize)> size(
        "GetFileSize", [](HANDLE, LPDWORD high) -> DWORD { return *high = 3, 4; });
    const TempFolder folder;
    FileStat stat;
    ASSERT_TRUE(stat.read(folder.write("a", "12"), 0));
    expectDevice(stat);
    EXPECT_EQ(stat.size, 0x300000004U);
}

struct OpenCall {
    std::wstring name;
    DWORD access, share, disposition, flags;
};
OpenCall gOpened;
HANDLE gClosed = nullptr;

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
    EXPECT_EQ(gOpened.share, 7U);
    EXPECT_EQ(gOpened.disposition, 3U);
    EXPECT_EQ(gOpened.flags, 0x02000000U);
    EXPECT_FALSE(stat.applyTimes("c:/y"));
    EXPECT_EQ(gOpened.access, 0x100U);
    EXPECT_EQ(gOpened.share, 7U);
    EXPECT_EQ(gOpened.disposition, 3U);
    EXPECT_EQ(gOpened.flags, 0x02000000U);
}

TEST(FileStatApplyTimesTest, TheThreeTimesReachTheFile) {
    const TempFolder folder;
    const std::string path = folder.write("a", "");
    FileStat stat;
    stat.created = FileTime(130000000000000000, 0);
    stat.accessed = FileTime(131000000000000000, 0);
    stat.written = FileTime(132000000000000000, 0);
    ASSERT_TRUE(stat.applyTimes(path));
    FileStat now;
    ASSERT_TRUE(now.read(path, 0));
    EXPECT_EQ(now.accessed, stat.accessed);
    EXPECT_EQ(now.written, stat.written);
}

TEST(FileStatApplyTimesTest, TheTimesGoInTheOrderOfWindows) {
    const TempFolder folder;
    const ReplacedCall<decltype(SetFileTime)> call(
        "SetFileTime",
        [](HANDLE, const FILETIME* created, const FILETIME* accessed,
           const FILETIME* written) -> BOOL {
            return created->dwLowDateTime == 1 && accessed->dwLowDateTime == 2 &&
                   written->dwLowDateTime == 3 && written->dwHighDateTime == 4;
        });
    FileStat stat;
    stat.created = FileTime(1, 0);
    stat.accessed = FileTime(2, 0);
    stat.written = FileTime(0x400000003, 99);
    EXPECT_TRUE(stat.applyTimes(folder.utf8()));
}

TEST(FileStatApplyTimesTest, AMissingPathIsAFailure) {
    FileStat stat;
    EXPECT_FALSE(stat.applyTimes("c:/missing/x"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

BOOL WINAPI refuseTimes(HANDLE, const FILETIME*, const FILETIME*, const FILETIME*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

const char* gFileSystem = nullptr;
std::string gVolumeRoot;
DWORD gVolumeRooms[2];

BOOL WINAPI volumeInformation(LPCSTR root, LPSTR, DWORD volumeRoom, LPDWORD, LPDWORD, LPDWORD,
                              LPSTR fileSystem, DWORD fileSystemRoom) {
    gVolumeRoot = root;
    gVolumeRooms[0] = volumeRoom;
    gVolumeRooms[1] = fileSystemRoom;
    if (gFileSystem == nullptr) {
        SetLastError(ERROR_NOT_READY);
        return FALSE;
    }
    std::strcpy(fileSystem, gFileSystem);
    SetLastError(ERROR_SUCCESS);
    return TRUE;
}

/// A refusal of the times on a volume of the given file system (null: one that can't be asked).
bool applyRefusedTimes(const std::string& path, const char* fileSystem) {
    gFileSystem = fileSystem;
    const ReplacedCall<decltype(SetFileTime)> times("SetFileTime", refuseTimes);
    const ReplacedCall<decltype(GetVolumeInformationA)> volume("GetVolumeInformationA",
                                                               volumeInformation);
    const DebugOutput output;
    FileStat stat;
    const bool applied = stat.applyTimes(path);
    const DWORD error = GetLastError();
    EXPECT_EQ(output.texts(), std::vector<std::string>{"SetFileTime got ERROR_ACCESS_DENIED!\n"});
    SetLastError(error);
    return applied;
}

TEST(FileStatApplyTimesTest, OnMvfsARefusalCountsAsSuccess) {
    const TempFolder folder;
    EXPECT_TRUE(applyRefusedTimes(folder.utf8(), "MVFS"));
    EXPECT_EQ(gVolumeRoot, folder.utf8().substr(0, 3));
    EXPECT_EQ(gVolumeRooms[0], 261U);
    EXPECT_EQ(gVolumeRooms[1], 261U);
}

TEST(FileStatApplyTimesTest, OnAnyOtherFileSystemTheRefusalStands) {
    const TempFolder folder;
    for (const char* fileSystem : {"NTFS", "mvfs", "MVFS2", ""}) {
        EXPECT_FALSE(applyRefusedTimes(folder.utf8(), fileSystem)) << fileSystem;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    }
}

TEST(FileStatApplyTimesTest, OnAVolumeThatCannotBeAskedTheRefusalStands) {
    const TempFolder folder;
    EXPECT_FALSE(applyRefusedTimes(folder.utf8(), nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(FileStatApplyTimesTest, APathWithoutALongFormIsAFailureWithoutALookAtItsVolume) {
    const TempFolder folder;
    const ReplacedCall<decltype(GetLongPathNameW)> call("GetLongPathNameW",
                                                        [](LPCWSTR, LPWSTR, DWORD) -> DWORD {
                                                            SetLastError(ERROR_NOT_SUPPORTED);
                                                            return 0;
                                                        });
    gVolumeRoot = "none";
    EXPECT_FALSE(applyRefusedTimes(folder.utf8(), "MVFS"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(gVolumeRoot, "none");
}

TEST(FileStatApplyTimesTest, AnyOtherFailureStandsWithoutALookAtTheVolume) {
    const TempFolder folder;
    const DebugOutput output;
    const ReplacedCall<decltype(SetFileTime)> call(
        "SetFileTime", [](HANDLE, const FILETIME*, const FILETIME*, const FILETIME*) -> BOOL {
            SetLastError(ERROR_WRITE_PROTECT);
            return FALSE;
        });
    FileStat stat;
    EXPECT_FALSE(stat.applyTimes(folder.utf8()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_PROTECT));
    EXPECT_TRUE(output.texts().empty());
}

TEST(FileStatApplyTimesTest, TheHandleIsClosedAfterARefusal) {
    const TempFolder folder;
    gClosed = nullptr;
    const ReplacedCall<decltype(CreateFileW)> open(
        "CreateFileW",
        [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            return reinterpret_cast<HANDLE>(0x1234);
        });
    const ReplacedCall<decltype(CloseHandle)> close("CloseHandle", [](HANDLE handle) -> BOOL {
        gClosed = handle;
        return TRUE;
    });
    EXPECT_FALSE(applyRefusedTimes("c:/", "NTFS"));
    EXPECT_EQ(gClosed, reinterpret_cast<HANDLE>(0x1234));
}

int gSecurityCalls = 0;
std::wstring gSecured;
SECURITY_INFORMATION gSecurityPart = 0;
const void* gDescriptor = nullptr;
BYTE gRevision = 0;

BOOL WINAPI setFileSecurity(LPCWSTR name, SECURITY_INFORMATION part,
                            PSECURITY_DESCRIPTOR descriptor) {
    ++gSecurityCalls;
    gSecured = name;
    gSecurityPart = part;
    gDescriptor = descriptor;
    gRevision = static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Revision;
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
}

struct DaclCall {
    const void* descriptor;
    BOOL present;
    const void* list;
    BOOL defaulted;
};
DaclCall gDaclCall;

TEST(FileStatApplyAttributesTest, TheAttributesReachTheFile) {
    const TempFolder folder;
    const std::string path = folder.write("a.ex", "");
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    EXPECT_TRUE(withAttributes(FILE_ATTRIBUTE_READONLY).applyAttributes(path));
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_FALSE(stat.isWritable());
    EXPECT_EQ(gSecurityCalls, 0);
}

TEST(FileStatApplyAttributesTest, AnExeAlsoLosesItsAccessListWhateverComesOfThat) {
    const TempFolder folder;
    const std::string path = folder.write("a.EXE", "");
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    const ReplacedCall<decltype(SetSecurityDescriptorDacl)> list(
        "SetSecurityDescriptorDacl",
        [](PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl, BOOL defaulted) -> BOOL {
            gDaclCall = {descriptor, present, dacl, defaulted};
            return TRUE;
        });
    EXPECT_TRUE(withAttributes(128).applyAttributes(path));
    EXPECT_EQ(gSecurityCalls, 1);
    EXPECT_EQ(gSecured, System::unicodePath(path));
    EXPECT_EQ(gSecurityPart, 4U);
    EXPECT_EQ(gRevision, 1);
    EXPECT_EQ(gDescriptor, gDaclCall.descriptor);
    EXPECT_FALSE(gDaclCall.present);
    EXPECT_EQ(gDaclCall.list, nullptr);
    EXPECT_TRUE(gDaclCall.defaulted);
}

TEST(FileStatApplyAttributesTest, ARealExeCanStillBeRead) {
    const TempFolder folder;
    const std::string path = folder.write("a.exe", "x");
    EXPECT_TRUE(withAttributes(128).applyAttributes(path));
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_EQ(stat.size, 1U);
}

TEST(FileStatApplyAttributesTest, AFailureOfTheAttributesIsTheResultAndTheError) {
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    EXPECT_FALSE(withAttributes(128).applyAttributes("c:/missing/a.exe"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(gSecurityCalls, 1);
}

TEST(FileStatApplyAttributesTest, APathOfUnderFourCharactersIsNoExe) {
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    EXPECT_FALSE(withAttributes(128).applyAttributes("exe"));
    EXPECT_EQ(gSecurityCalls, 0);
    EXPECT_FALSE(withAttributes(128).applyAttributes(".exe"));
    EXPECT_EQ(gSecurityCalls, 1);
}

TEST(FileStatCopyFromTest, TheMaskChoosesTimesAndAttributes) {
    FileStat other;
    other.device = 1;
    other.fileIndex = 2;
    other.size = 3;
    other.links = 4;
    other.created = FileTime(5, 0);
    other.accessed = FileTime(6, 0);
    other.written = FileTime(7, 0);
    other.attributes = 1;
    for (const unsigned mask : {0U, 1U, 2U, 4U, 64U, 71U, ~71U}) {
        SCOPED_TRACE(mask);
        FileStat stat;
        stat.attributes = 128;
        stat.copyFrom(other, mask);
        EXPECT_EQ(stat.device, 1U);
        EXPECT_EQ(stat.fileIndex, 2U);
        EXPECT_EQ(stat.size, 3U);
        EXPECT_EQ(stat.links, 4U);
        EXPECT_EQ(stat.created, FileTime((mask & 1) != 0 ? 5 : 0, 0));
        EXPECT_EQ(stat.accessed, FileTime((mask & 2) != 0 ? 6 : 0, 0));
        EXPECT_EQ(stat.written, FileTime((mask & 4) != 0 ? 7 : 0, 0));
        EXPECT_EQ(stat.attributes, (mask & 64) != 0 ? 1U : 128U);
    }
}

TEST(FileStatTest, SetTimesToNowSetsAllThreeToOneTime) {
    const FileTime before = FileTime::now();
    FileStat stat;
    stat.setTimesToNow();
    EXPECT_GE(stat.created.ticks(), before.ticks());
    EXPECT_LE(stat.created.ticks(), FileTime::now().ticks());
    EXPECT_EQ(stat.accessed, stat.created);
    EXPECT_EQ(stat.written, stat.created);
}

TEST(FileStatTest, TheTestsLookAtTheirBits) {
    const struct {
        uint32_t attributes;
        bool directory, system, writable;
        int type;
    } rows[] = {
        {128, false, false, true, 1},    {1, false, false, false, 1},
        {4, false, true, true, 1},       {5, false, true, false, 1},
        {16, true, false, true, 3},      {17, true, false, true, 3},
        {0x400, false, false, true, 2},  {0x410, false, false, true, 2},
        {0x401, false, false, false, 2}, {64, false, false, true, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.attributes);
        const FileStat stat = withAttributes(row.attributes);
        EXPECT_EQ(stat.attributesValue(), row.attributes);
        EXPECT_EQ(stat.isDirectory(), row.directory);
        EXPECT_EQ(stat.isNotDirectory(), !row.directory);
        EXPECT_EQ(stat.isSystem(), row.system);
        EXPECT_EQ(stat.isWritable(), row.writable);
        EXPECT_EQ(stat.type(), row.type);
    }
}

TEST(FileStatTest, AfterSetLinkADirectoryIsALink) {
    FileStat stat = withAttributes(16);
    stat.setLink();
    EXPECT_FALSE(stat.isDirectory());
    EXPECT_TRUE(stat.isNotDirectory());
    EXPECT_EQ(stat.type(), 2);
    EXPECT_EQ(stat.attributes, 0x410U);
    FileStat plain = withAttributes(128);
    plain.setLink();
    EXPECT_EQ(plain.attributes, 0x400U);
}

TEST(FileStatTest, SetAttributesKeepsTheWordFromZeroAndNormalAlone) {
    const uint32_t rows[][2] = {{0, 128}, {129, 1}, {128, 128}, {0x410, 0x410}, {16, 16}};
    for (const auto& row : rows) {
        FileStat stat;
        stat.setAttributes(row[0]);
        EXPECT_EQ(stat.attributes, row[1]);
    }
}

TEST(FileStatTest, SetTypeSetsTheDirectoryBitForThreeAndClearsItForAnyOther) {
    FileStat stat;
    stat.setType(3);
    EXPECT_EQ(stat.attributes, 16U);
    stat.setType(1);
    EXPECT_EQ(stat.attributes, 128U);
    stat.setAttributes(17);
    stat.setType(2);
    EXPECT_EQ(stat.attributes, 1U);
    stat.setAttributes(128);
    stat.setType(3);
    EXPECT_EQ(stat.attributes, 16U);
}

TEST(FileStatTest, SetReadOnlyKeepsTheRuleOfTheWord) {
    FileStat stat = withAttributes(128);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, 1U);
    stat.setReadOnly(false);
    EXPECT_EQ(stat.attributes, 128U);
    stat.setAttributes(16);
    stat.setReadOnly(true);
    EXPECT_EQ(stat.attributes, 17U);
}

}  // namespace
