#include <cstdint>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/fakefile-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/filetime-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/filestat-win.h"

namespace {

using namespace testing_support;

/// Whether the system stores the creation time that is set for a file. Wine may not.
bool storesCreation(const TempFolder& folder) {
    const std::wstring name = System::unicodePath(folder.write("creation", ""));
    HANDLE file = CreateFileW(name.c_str(), GENERIC_READ | FILE_WRITE_ATTRIBUTES,
                              /*dwShareMode=*/0, /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                              /*dwFlagsAndAttributes=*/0, /*hTemplateFile=*/nullptr);
    const FILETIME given = toWindowsTime(FileTime(129000000000000000, 0));
    FILETIME kept = {};
    SetFileTime(file, &given, /*lpLastAccessTime=*/nullptr, /*lpLastWriteTime=*/nullptr);
    GetFileTime(file, &kept, /*lpLastAccessTime=*/nullptr, /*lpLastWriteTime=*/nullptr);
    CloseHandle(file);
    return fromWindowsTime(kept) == fromWindowsTime(given);
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
    if (storesCreation(folder)) {
        EXPECT_EQ(now.created, stat.created);
    }
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
    fileSystem[std::string_view(gFileSystem).copy(fileSystem, fileSystemRoom - 1)] = '\0';
    SetLastError(ERROR_SUCCESS);
    return TRUE;
}

/// Applies times, which are refused, on a volume with this file system. Null means a volume that
/// can't be queried.
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
    EXPECT_NE(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(gVolumeRoot, folder.utf8().substr(0, 3));
    EXPECT_EQ(gVolumeRooms[0], 261U);
    EXPECT_EQ(gVolumeRooms[1], 261U);
}

TEST(FileStatApplyTimesTest, OnAnyOtherFileSystemTheRefusalIsAFailure) {
    const TempFolder folder;
    for (const char* fileSystem : {"NTFS", "mvfs", "MVFS2", ""}) {
        EXPECT_FALSE(applyRefusedTimes(folder.utf8(), fileSystem)) << fileSystem;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    }
}

TEST(FileStatApplyTimesTest, OnAVolumeThatCannotBeQueriedTheRefusalIsAFailure) {
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

BOOL WINAPI refuseTimesOfProtected(HANDLE, const FILETIME*, const FILETIME*, const FILETIME*) {
    SetLastError(ERROR_WRITE_PROTECT);
    return FALSE;
}

TEST(FileStatApplyTimesTest, AnyOtherFailureIsReportedWithoutQueryingTheVolume) {
    const TempFolder folder;
    const DebugOutput output;
    const ReplacedCall<decltype(SetFileTime)> call("SetFileTime", refuseTimesOfProtected);
    FileStat stat;
    EXPECT_FALSE(stat.applyTimes(folder.utf8()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_PROTECT));
    EXPECT_TRUE(output.texts().empty());
}

TEST(FileStatApplyTimesTest, TheHandleIsClosedAfterARefusalWhateverTheVolumeSays) {
    for (const char* fileSystem : {"MVFS", "NTFS", static_cast<const char*>(nullptr)}) {
        const FakeFile file;
        applyRefusedTimes("c:/", fileSystem);
        EXPECT_EQ(file.closes(), 1);
    }
}

TEST(FileStatApplyTimesTest, TheHandleIsClosedWhereAPathHasNoLongForm) {
    const ReplacedCall<decltype(GetLongPathNameW)> call(
        "GetLongPathNameW", [](LPCWSTR, LPWSTR, DWORD) -> DWORD { return 0; });
    const FakeFile file;
    EXPECT_FALSE(applyRefusedTimes("c:/", "MVFS"));
    EXPECT_EQ(file.closes(), 1);
}

TEST(FileStatApplyTimesTest, TheHandleIsClosedAfterASuccessAndAfterAnyOtherFailure) {
    FileStat stat;
    {
        const ReplacedCall<decltype(SetFileTime)> call(
            "SetFileTime",
            [](HANDLE, const FILETIME*, const FILETIME*, const FILETIME*) -> BOOL { return TRUE; });
        const FakeFile file;
        EXPECT_TRUE(stat.applyTimes("c:/"));
        EXPECT_EQ(file.closes(), 1);
    }
    const ReplacedCall<decltype(SetFileTime)> call("SetFileTime", refuseTimesOfProtected);
    const FakeFile file;
    EXPECT_FALSE(stat.applyTimes("c:/"));
    EXPECT_EQ(file.closes(), 1);
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

bool applyAttributes(uint32_t bits, const std::string& path) {
    FileStat stat;
    stat.setAttributes(bits);
    return stat.applyAttributes(path);
}

TEST(FileStatApplyAttributesTest, TheAttributesReachTheFile) {
    const TempFolder folder;
    const std::string path = folder.write("a.ex", "");
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    EXPECT_TRUE(applyAttributes(FILE_ATTRIBUTE_READONLY, path));
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
    EXPECT_TRUE(applyAttributes(FILE_ATTRIBUTE_NORMAL, path));
    EXPECT_EQ(gSecurityCalls, 1);
    EXPECT_EQ(gSecured, System::unicodePath(path));
    EXPECT_EQ(gSecurityPart, DWORD{DACL_SECURITY_INFORMATION});
    EXPECT_EQ(gRevision, SECURITY_DESCRIPTOR_REVISION);
    EXPECT_EQ(gDescriptor, gDaclCall.descriptor);
    EXPECT_FALSE(gDaclCall.present);
    EXPECT_EQ(gDaclCall.list, nullptr);
    EXPECT_TRUE(gDaclCall.defaulted);
}

TEST(FileStatApplyAttributesTest, ARealExeCanStillBeRead) {
    const TempFolder folder;
    const std::string path = folder.write("a.exe", "x");
    EXPECT_TRUE(applyAttributes(FILE_ATTRIBUTE_NORMAL, path));
    FileStat stat;
    ASSERT_TRUE(stat.read(path, 0));
    EXPECT_EQ(stat.size, 1U);
}

TEST(FileStatApplyAttributesTest, AFailureOfTheAttributesIsTheResultAndTheError) {
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    EXPECT_FALSE(applyAttributes(FILE_ATTRIBUTE_NORMAL, "c:/missing/a.exe"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(gSecurityCalls, 1);
}

TEST(FileStatApplyAttributesTest, APathOfUnderFourCharactersIsNoExe) {
    gSecurityCalls = 0;
    const ReplacedCall<decltype(SetFileSecurityW)> call("SetFileSecurityW", setFileSecurity);
    EXPECT_FALSE(applyAttributes(FILE_ATTRIBUTE_NORMAL, "exe"));
    EXPECT_EQ(gSecurityCalls, 0);
    EXPECT_FALSE(applyAttributes(FILE_ATTRIBUTE_NORMAL, ".exe"));
    EXPECT_EQ(gSecurityCalls, 1);
}

}  // namespace
