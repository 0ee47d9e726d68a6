// The content of files: streams, bytes, temporary files, space on the volume, repeated writing.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"

namespace {

using namespace testing_support;

HANDLE open(const std::string& path, DWORD access, DWORD share) {
    return CreateFileW(System::unicodePath(path).c_str(), access, share, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST(SystemOpenFileTest, AStreamIsOpenedByAModeOfTheCLibrary) {
    const TempFolder folder;
    const std::string path = folder.utf8("\xF0\x9D\x84\x9E.txt");
    std::FILE* file = System::openFile(path, "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fputs("text", file), 0);
    EXPECT_EQ(std::fclose(file), 0);
    std::string content;
    EXPECT_TRUE(System::readBytes(path, content, 4));
    EXPECT_EQ(content, "text");
    errno = 0;
    EXPECT_EQ(System::openFile(folder.utf8("missing"), "rb"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST(SystemReadBytesTest, TheStartOfAFileIsRead) {
    const TempFolder folder;
    const std::string path = folder.write("a", "12345");
    std::string content = "the old text";
    EXPECT_TRUE(System::readBytes(path, content, 3));
    EXPECT_EQ(content, "123");
    EXPECT_TRUE(System::readBytes(path, content, 0));
    EXPECT_EQ(content, "");
}

TEST(SystemReadBytesTest, AShortReadIsNotNoticed) {
    const TempFolder folder;
    std::string content;
    EXPECT_TRUE(System::readBytes(folder.write("a", "12"), content, 4));
    EXPECT_EQ(content, std::string("12\0\0", 4));
}

int gReads;

TEST(SystemReadBytesTest, OneReadIsAllThatIsMade) {
    const TempFolder folder;
    const std::string path = folder.write("a", "123");
    gReads = 0;
    const ReplacedCall<decltype(ReadFile)> call(
        "ReadFile", [](HANDLE, LPVOID buffer, DWORD, LPDWORD count, LPOVERLAPPED) -> BOOL {
            ++gReads;
            *static_cast<char*>(buffer) = '1';
            *count = 1;
            return TRUE;
        });
    std::string content;
    EXPECT_TRUE(System::readBytes(path, content, 3));
    EXPECT_EQ(content, std::string("1\0\0", 3));
    EXPECT_EQ(gReads, 1);
}

TEST(SystemReadBytesTest, TheFileIsSharedWithReadersOnly) {
    const TempFolder folder;
    const std::string path = folder.write("a", "12");
    std::string content;
    {
        const ScopedHandle reader(open(path, GENERIC_READ, FILE_SHARE_READ));
        EXPECT_TRUE(System::readBytes(path, content, 2));
    }
    const ScopedHandle writer(open(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
    EXPECT_FALSE(System::readBytes(path, content, 2));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
}

TEST(SystemReadBytesTest, AMissingFileFailsAndTheBufferHasItsSize) {
    std::string content;
    EXPECT_FALSE(System::readBytes("c:/missing", content, 2));
    EXPECT_EQ(content, std::string(2, '\0'));
}

TEST(SystemReadBytesTest, AFailingReadFails) {
    const TempFolder folder;
    const ReplacedCall<decltype(ReadFile)> call(
        "ReadFile", [](HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL {
            SetLastError(ERROR_CRC);
            return FALSE;
        });
    std::string content;
    EXPECT_FALSE(System::readBytes(folder.write("a", "12"), content, 2));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CRC});
}

TEST(SystemFreeDiskSpaceTest, AVolumeHasRoom) {
    const TempFolder folder;
    EXPECT_GT(System::freeDiskSpace(folder.utf8()), 0);
    EXPECT_GT(System::freeDiskSpace(""), 0);
    EXPECT_EQ(System::freeDiskSpace("q:/missing"), callFailed);
}

TEST(SystemFreeDiskSpaceTest, AnEmptyPathIsTheCurrentVolumeAndTheCallersBytesCount) {
    static bool isNull;
    const ReplacedCall<decltype(GetDiskFreeSpaceExW)> call(
        "GetDiskFreeSpaceExW",
        [](LPCWSTR name, PULARGE_INTEGER toCaller, PULARGE_INTEGER, PULARGE_INTEGER) -> BOOL {
            isNull = name == nullptr;
            toCaller->QuadPart = 1ULL << 40;
            return TRUE;
        });
    EXPECT_EQ(System::freeDiskSpace(""), int64_t{1} << 40);
    EXPECT_TRUE(isNull);
    static_cast<void>(System::freeDiskSpace("c:/"));
    EXPECT_FALSE(isNull);
}

TEST(SystemTemporaryFileNameTest, ANewEmptyFileIsMade) {
    const TempFolder folder;
    const std::string first = System::temporaryFileName(folder.utf8(),
                                                        "\xC3\xA4"
                                                        "bcd");
    const std::string second = System::temporaryFileName(folder.utf8(),
                                                         "\xC3\xA4"
                                                         "bcd");
    EXPECT_NE(first, second);
    for (const std::string& name : {first, second}) {
        FileStat stat;
        ASSERT_TRUE(stat.read(name, 0)) << name;
        EXPECT_EQ(stat.size, 0U);
        EXPECT_NE(name.find("\\\xC3\xA4"
                            "bc"),
                  std::string::npos)
            << name;
        EXPECT_EQ(name.find("\\\\?\\"), std::string::npos) << name;
    }
}

TEST(SystemTemporaryFileNameTest, WithoutADirectoryTheFolderForTemporaryFilesTakesIt) {
    const std::string name = System::temporaryFileName("", "nb");
    ASSERT_FALSE(name.empty());
    EXPECT_TRUE(System::exists(name));
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(GetTempPathW(MAX_PATH, folder.data()));
    EXPECT_TRUE(name.starts_with(toUtf8(folder))) << name;
    EXPECT_EQ(System::remove(name, false), callSucceeded);
}

TEST(SystemTemporaryFileNameTest, WithoutThatFolderTheRootOfDriveCDoes) {
    static DWORD answer;
    static std::wstring folder;
    const ReplacedCall<decltype(GetTempPathW)> path("GetTempPathW",
                                                    [](DWORD, LPWSTR) -> DWORD { return answer; });
    const ReplacedCall<decltype(GetTempFileNameW)> name(
        "GetTempFileNameW", [](LPCWSTR where, LPCWSTR, UINT unique, LPWSTR) -> UINT {
            EXPECT_EQ(unique, 0U);
            folder = where;
            return 0;
        });
    for (const DWORD value : {0U, 261U}) {
        answer = value;
        folder.clear();
        EXPECT_EQ(System::temporaryFileName("", "nb"), "");
        EXPECT_EQ(folder, L"\\\\?\\c:\\");
    }
}

TEST(SystemTemporaryFileNameTest, AFolderOnAShareKeepsItsShareForm) {
    const ReplacedCall<decltype(GetTempFileNameW)> call(
        "GetTempFileNameW", [](LPCWSTR where, LPCWSTR prefix, UINT unique, LPWSTR name) -> UINT {
            EXPECT_STREQ(where, L"\\\\?\\UNC\\srv\\sh");
            EXPECT_STREQ(prefix, L"nb");
            EXPECT_EQ(unique, 0U);
            constexpr wchar_t made[] = L"\\\\?\\UNC\\srv\\sh\\nb1.tmp\0behind";
            std::copy(std::begin(made), std::end(made), name);
            return 1;
        });
    EXPECT_EQ(System::temporaryFileName("//srv/sh", "nb"), "\\\\srv\\sh\\nb1.tmp");
}

TEST(SystemTemporaryFileNameTest, AFailureGivesNoName) {
    EXPECT_EQ(System::temporaryFileName("c:/missing/x", "nb"), "");
}

TEST(SystemTemporaryFileNameTest, AFolderWithoutAWideFormIsNotTheRootOfTheDrive) {
    const ReplacedCall<decltype(GetTempFileNameW)> call(
        "GetTempFileNameW", [](LPCWSTR where, LPCWSTR, UINT, LPWSTR) -> UINT {
            ADD_FAILURE() << "a file is made in \"" << toUtf8(where) << '"';
            return 0;
        });
    EXPECT_EQ(System::temporaryFileName("//server", "nb"), "");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

// A file that refuses some writes, and a clock that records the pauses.

int gWrites;
int gFailures;
DWORD gError;
std::vector<DWORD> gSleeps;

BOOL WINAPI writeOrFail(HANDLE, LPCVOID, DWORD count, LPDWORD written, LPOVERLAPPED) {
    *written = count;
    SetLastError(gError);
    return ++gWrites > gFailures;
}
DWORD WINAPI noteSleep(DWORD milliseconds, BOOL alertable) {
    EXPECT_FALSE(alertable);
    gSleeps.push_back(milliseconds);
    return 0;
}

class WriteWithRetryTest : public testing::Test {
protected:
    int64_t write(int failures, DWORD error) {
        gWrites = 0;
        gFailures = failures;
        gError = error;
        gSleeps.clear();
        return writeWithRetry(nullptr, "12345", 5);
    }

    ReplacedCall<decltype(WriteFile)> mWrite{"WriteFile", writeOrFail};
    ReplacedCall<decltype(SleepEx)> mSleep{"SleepEx", noteSleep};
};

TEST_F(WriteWithRetryTest, ALockIsWaitedForFourTimesTheFirstAtOnce) {
    const struct {
        int failures;
        int writes;
        int64_t result;
        std::vector<DWORD> sleeps;
    } rows[] = {
        {0, 1, 5, {}},       {1, 2, 5, {}},           {2, 3, 5, {50}},
        {3, 4, 5, {50, 50}}, {4, 5, 5, {50, 50, 50}}, {5, 5, callFailed, {50, 50, 50}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(write(row.failures, ERROR_LOCK_VIOLATION), row.result) << row.failures;
        EXPECT_EQ(gWrites, row.writes) << row.failures;
        EXPECT_EQ(gSleeps, row.sleeps) << row.failures;
    }
    EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
}

TEST_F(WriteWithRetryTest, AnyOtherErrorIsAFailureAtOnce) {
    EXPECT_EQ(write(1, ERROR_DISK_FULL), callFailed);
    EXPECT_EQ(gWrites, 1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
}

}  // namespace
