// System::copy.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/filechild-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"

namespace {

using namespace testing_support;

std::string contentOf(const std::string& path) {
    FileStat stat;
    EXPECT_TRUE(stat.read(path, 0));
    std::string content;
    EXPECT_TRUE(System::readBytes(path, content, stat.size));
    return content;
}

std::string patternOf(size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i * 7 + i / 256);
    }
    return text;
}

class SystemCopyTest : public testing::Test {
protected:
    /// Returns the message of a copy that must fail with this error.
    std::string failureOf(const std::string& source, const std::string& destination,
                          DWORD error) const {
        std::string message = "old";
        EXPECT_FALSE(System::copy(source, destination, message));
        EXPECT_EQ(mMessage.calls().back().number, error);
        EXPECT_EQ(GetLastError(), error);
        return message;
    }

    TempFolder mFolder;
    std::string mSource = mFolder.write("source", "text");
    std::string mDestination = mFolder.utf8("destination");
    SystemMessage mMessage{L"So it is."};
};

TEST_F(SystemCopyTest, FilesOfAnySizeAreCopied) {
    for (const size_t size : {1U, 65535U, 65536U, 65537U, 300000U}) {
        const std::string content = patternOf(size);
        std::string message = "kept";
        ASSERT_TRUE(System::copy(mFolder.write("source", content), mDestination, message)) << size;
        EXPECT_EQ(contentOf(mDestination), content) << size;
        EXPECT_EQ(message, "kept");
    }
}

TEST_F(SystemCopyTest, AFileIsReplacedWhateverItsSize) {
    for (const char* old : {"", "old", "a longer text"}) {
        mFolder.write("destination", old);
        std::string message;
        EXPECT_TRUE(System::copy(mSource, mDestination, message));
        EXPECT_EQ(contentOf(mDestination), "text");
    }
}

TEST_F(SystemCopyTest, AnEmptyFileIsCopiedWithoutAMapping) {
    const ReplacedCall<decltype(CreateFileMappingA)> call(
        "CreateFileMappingA",
        [](HANDLE, LPSECURITY_ATTRIBUTES, DWORD, DWORD, DWORD, LPCSTR) -> HANDLE {
            ADD_FAILURE() << "an empty file can't be mapped";
            return nullptr;
        });
    mFolder.write("destination", "old");
    std::string message;
    EXPECT_TRUE(System::copy(mFolder.write("source", ""), mDestination, message));
    EXPECT_EQ(contentOf(mDestination), "");
}

TEST_F(SystemCopyTest, TimesAndAttributesAreNotCarriedOver) {
    const std::wstring name = System::unicodePath(mSource);
    FileStat stat;
    ASSERT_TRUE(stat.read(mSource, 0));
    stat.written = FileTime{1000000000, 0};
    ASSERT_TRUE(stat.applyTimes(mSource));
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_READONLY));
    std::string message;
    ASSERT_TRUE(System::copy(mSource, mDestination, message));
    FileStat copied;
    ASSERT_TRUE(copied.read(mDestination, 0));
    EXPECT_NE(copied.written, stat.written);
    EXPECT_TRUE(copied.isWritable());
}

TEST_F(SystemCopyTest, ASourceThatAnotherProcessReadsIsCopied) {
    FileChild child("hold", {mSource, "7"});
    std::string message;
    EXPECT_TRUE(System::copy(mSource, mDestination, message)) << message;
    EXPECT_TRUE(child.end());
}

TEST_F(SystemCopyTest, ASourceThatAnotherProcessHasForItselfIsCopiedOnceItLetsGo) {
    FileChild child("hold", {mSource, "0"});
    EXPECT_EQ(failureOf(mSource, mDestination, ERROR_SHARING_VIOLATION),
              "System::copy unable to open source file: So it is");
    EXPECT_TRUE(child.end());
    std::string message;
    EXPECT_TRUE(System::copy(mSource, mDestination, message)) << message;
}

TEST_F(SystemCopyTest, AMissingSourceFailsAndTheDestinationStays) {
    mFolder.write("destination", "old");
    EXPECT_EQ(failureOf(mFolder.utf8("missing"), mDestination, ERROR_FILE_NOT_FOUND),
              "System::copy unable to open source file: So it is");
    EXPECT_EQ(contentOf(mDestination), "old");
}

TEST_F(SystemCopyTest, ADestinationThatCannotBeMadeFails) {
    EXPECT_EQ(failureOf(mSource, mFolder.utf8("missing/x"), ERROR_PATH_NOT_FOUND),
              "System::copy unable to open destination file: So it is");
}

TEST_F(SystemCopyTest, ASizeThatCannotBeReadFails) {
    const ReplacedCall<decltype(GetFileSizeEx)> call("GetFileSizeEx",
                                                     [](HANDLE, PLARGE_INTEGER) -> BOOL {
                                                         SetLastError(ERROR_CRC);
                                                         return FALSE;
                                                     });
    EXPECT_EQ(failureOf(mSource, mDestination, ERROR_CRC),
              "System::copy unable to get source file size: So it is");
    EXPECT_FALSE(System::exists(mDestination));
}

TEST_F(SystemCopyTest, AMappingThatCannotBeMadeFails) {
    const size_t before = handleCount();
    const ReplacedCall<decltype(CreateFileMappingA)> call(
        "CreateFileMappingA",
        [](HANDLE, LPSECURITY_ATTRIBUTES, DWORD protection, DWORD high, DWORD low,
           LPCSTR name) -> HANDLE {
            EXPECT_EQ(protection, DWORD{PAGE_READONLY});
            EXPECT_EQ(high, 0U);
            EXPECT_EQ(low, 0U);
            EXPECT_EQ(name, nullptr);
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        });
    EXPECT_EQ(failureOf(mSource, mDestination, ERROR_NOT_ENOUGH_MEMORY),
              "System::copy unable to create file mapping: So it is");
    EXPECT_EQ(handleCount(), before);
}

TEST_F(SystemCopyTest, AViewThatCannotBeMadeFails) {
    const size_t before = handleCount();
    const ReplacedCall<decltype(MapViewOfFile)> call(
        "MapViewOfFile", [](HANDLE, DWORD access, DWORD, DWORD, SIZE_T size) -> LPVOID {
            EXPECT_EQ(access, DWORD{FILE_MAP_READ});
            EXPECT_EQ(size, 0U);
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        });
    EXPECT_EQ(failureOf(mSource, mDestination, ERROR_NOT_ENOUGH_MEMORY),
              "System::copy unable to create mapped view: So it is");
    EXPECT_EQ(handleCount(), before);
}

int gViews = 0;
decltype(UnmapViewOfFile)* gUnmap;
decltype(MapViewOfFile)* gMap;

TEST_F(SystemCopyTest, AWriteThatFailsEndsTheCopyAndLeavesNothingOpen) {
    const ReplacedCall<decltype(MapViewOfFile)> map(
        "MapViewOfFile",
        [](HANDLE mapping, DWORD access, DWORD high, DWORD low, SIZE_T size) -> LPVOID {
            ++gViews;
            return gMap(mapping, access, high, low, size);
        });
    const ReplacedCall<decltype(UnmapViewOfFile)> unmap("UnmapViewOfFile",
                                                        [](LPCVOID view) -> BOOL {
                                                            --gViews;
                                                            return gUnmap(view);
                                                        });
    const ReplacedCall<decltype(WriteFile)> write(
        "WriteFile", [](HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL {
            EXPECT_EQ(gViews, 1);
            SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
    gMap = map.original();
    gUnmap = unmap.original();
    const size_t before = handleCount();
    EXPECT_EQ(failureOf(mSource, mDestination, ERROR_DISK_FULL),
              "System::copy exception while writing: So it is");
    EXPECT_EQ(gViews, 0);
    EXPECT_EQ(handleCount(), before);
}

struct Writes {
    std::vector<DWORD> counts;
    std::string content;
    DWORD mostAtOnce = 0;
} gWrites;

BOOL WINAPI writeInParts(HANDLE, LPCVOID data, DWORD count, LPDWORD written, LPOVERLAPPED) {
    *written = std::min(count, gWrites.mostAtOnce);
    gWrites.counts.push_back(count);
    gWrites.content.append(static_cast<const char*>(data), *written);
    return TRUE;
}

/// Copies the source while one call writes at most `mostAtOnce` bytes. Returns the sizes asked for.
std::vector<DWORD> piecesOf(const std::string& source, const std::string& destination,
                            DWORD mostAtOnce) {
    gWrites = {};
    gWrites.mostAtOnce = mostAtOnce;
    const ReplacedCall<decltype(WriteFile)> call("WriteFile", writeInParts);
    std::string message;
    EXPECT_EQ(System::copy(source, destination, message), mostAtOnce != 0);
    return gWrites.counts;
}

TEST_F(SystemCopyTest, PiecesHaveAtMost65536BytesAndGoOnByWhatWasWritten) {
    const std::string content = patternOf(140000);
    mFolder.write("source", content);
    EXPECT_EQ(piecesOf(mSource, mDestination, 65536), (std::vector<DWORD>{65536, 65536, 8928}));
    EXPECT_EQ(gWrites.content, content);
    EXPECT_EQ(piecesOf(mSource, mDestination, 60000), (std::vector<DWORD>{65536, 65536, 20000}));
    EXPECT_EQ(gWrites.content, content);
}

size_t gMostHeap;

TEST_F(SystemCopyTest, ALargeFileTakesNoMoreMemoryThanASmallOne) {
    mFolder.write("source", std::string(8U << 20U, 'x'));
    const ReplacedCall<decltype(WriteFile)> call(
        "WriteFile", [](HANDLE, LPCVOID, DWORD count, LPDWORD written, LPOVERLAPPED) -> BOOL {
            gMostHeap = std::max(gMostHeap, heapBytes());
            *written = count;
            return TRUE;
        });
    gMostHeap = 0;
    const size_t before = heapBytes();
    std::string message;
    EXPECT_TRUE(System::copy(mSource, mDestination, message));
    EXPECT_GT(gMostHeap, 0U);
    EXPECT_LT(gMostHeap, before + 65536);
}

TEST_F(SystemCopyTest, AWriteOfNothingIsAFailure) {
    EXPECT_EQ(piecesOf(mSource, mDestination, 0), std::vector<DWORD>{4});
    EXPECT_EQ(GetLastError(), DWORD{ERROR_WRITE_FAULT});
}

/// Whether a part of a file that another process has locked can't be written. Under Wine it can.
bool locksHold(const std::string& path) {
    std::FILE* const file = System::openFile(path, "r+b");
    const bool isWritten = file != nullptr && std::fputs("x", file) == 0 && std::fflush(file) == 0;
    if (file != nullptr) {
        std::fclose(file);
    }
    return !isWritten;
}

FileChild* gLocker;
int gSleeps;

TEST_F(SystemCopyTest, ALockOnTheDestinationIsWaitedFor) {
    mFolder.write("destination", "old text");
    FileChild child("lock", {mDestination});
    if (!locksHold(mDestination)) {
        GTEST_SKIP() << "a locked part of a file can be written here";
    }
    gLocker = &child;
    gSleeps = 0;
    const ReplacedCall<decltype(SleepEx)> sleep("SleepEx", [](DWORD, BOOL) -> DWORD {
        ++gSleeps;
        EXPECT_TRUE(gLocker->end());
        return 0;
    });
    std::string message;
    EXPECT_TRUE(System::copy(mSource, mDestination, message)) << message;
    EXPECT_EQ(gSleeps, 1);
    EXPECT_EQ(contentOf(mDestination), "text");
}

struct Opened {
    DWORD access, share, disposition, flags;
    bool isOpenToAll;
};
std::vector<Opened> gOpened;
decltype(CreateFileW)* gCreateFile;

TEST_F(SystemCopyTest, BothFilesAreSharedAndTheNewOneIsOpenToAll) {
    const ReplacedCall<decltype(CreateFileW)> call(
        "CreateFileW",
        [](LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
           DWORD disposition, DWORD flags, HANDLE like) -> HANDLE {
            BOOL isPresent = FALSE;
            BOOL isDefaulted = TRUE;
            ACL* list = reinterpret_cast<ACL*>(&isPresent);
            const bool isOpenToAll = security != nullptr &&
                                     GetSecurityDescriptorDacl(security->lpSecurityDescriptor,
                                                               &isPresent, &list, &isDefaulted) &&
                                     isPresent && list == nullptr;
            gOpened.push_back({access, share, disposition, flags, isOpenToAll});
            return gCreateFile(name, access, share, security, disposition, flags, like);
        });
    gCreateFile = call.original();
    gOpened.clear();
    std::string message;
    EXPECT_TRUE(System::copy(mSource, mDestination, message));
    constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    ASSERT_EQ(gOpened.size(), 2U);
    EXPECT_EQ(gOpened[0].access, GENERIC_READ);
    EXPECT_EQ(gOpened[0].share, all);
    EXPECT_EQ(gOpened[0].disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(gOpened[0].flags, DWORD{FILE_ATTRIBUTE_NORMAL});
    EXPECT_FALSE(gOpened[0].isOpenToAll);
    EXPECT_EQ(gOpened[1].access, DWORD{GENERIC_WRITE});
    EXPECT_EQ(gOpened[1].share, all);
    EXPECT_EQ(gOpened[1].disposition, DWORD{CREATE_ALWAYS});
    EXPECT_TRUE(gOpened[1].isOpenToAll);
}

TEST_F(SystemCopyTest, WhatWasWrittenIsFlushed) {
    static int flushes;
    flushes = 0;
    const ReplacedCall<decltype(FlushFileBuffers)> call("FlushFileBuffers", [](HANDLE) -> BOOL {
        ++flushes;
        return FALSE;
    });
    std::string message;
    EXPECT_TRUE(System::copy(mSource, mDestination, message)) << "that it fails isn't looked at";
    EXPECT_EQ(flushes, 1);
}

TEST_F(SystemCopyTest, ACopyLeavesNothingOpen) {
    std::string message;
    ASSERT_TRUE(System::copy(mSource, mDestination, message));
    const size_t before = handleCount();
    ASSERT_TRUE(System::copy(mSource, mDestination, message));
    failureOf(mSource, mFolder.utf8("missing/x"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(handleCount(), before);
}

}  // namespace
