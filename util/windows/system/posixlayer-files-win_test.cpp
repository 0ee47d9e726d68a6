// Size, content and position of files, with a Windows handle as the file descriptor.

#include <cstddef>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/posixlayer-win.h"

namespace {

using namespace testing_support;

constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;

/// An open file in a folder of its own.
class OpenFile {
public:
    explicit OpenFile(const std::string& content, DWORD access = readWrite)
        : mHandle(CreateFileW(System::unicodePath(mFolder.write("a", content)).c_str(), access,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                              nullptr)) {
        EXPECT_TRUE(mHandle.isOpen());
    }

    HANDLE get() const { return mHandle.get(); }

    int64_t position() const {
        LARGE_INTEGER position = {};
        EXPECT_TRUE(SetFilePointerEx(get(), LARGE_INTEGER{}, &position, FILE_CURRENT));
        return position.QuadPart;
    }
    void moveTo(int64_t place) const {
        LARGE_INTEGER position;
        position.QuadPart = place;
        EXPECT_TRUE(SetFilePointerEx(get(), position, nullptr, FILE_BEGIN));
    }
    int64_t size() const {
        LARGE_INTEGER size = {};
        EXPECT_TRUE(GetFileSizeEx(get(), &size));
        return size.QuadPart;
    }
    /// Returns the content of the file. Moves the position.
    std::string content() const {
        moveTo(0);
        std::string text(100, '\0');
        DWORD count = 0;
        EXPECT_TRUE(ReadFile(get(), text.data(), 100, &count, nullptr));
        text.resize(count);
        return text;
    }

private:
    TempFolder mFolder;
    ScopedHandle mHandle;
};

TEST(PosixFileSizeTest, ItIsTheNumberOfBytes) {
    for (const size_t length : {0, 1, 5000}) {
        const OpenFile file(std::string(length, 'x'));
        uint64_t size = 99;
        EXPECT_EQ(posixlayer::fileSize(file.get(), &size), callSucceeded);
        EXPECT_EQ(size, length);
    }
}

struct SizeAnswer {
    DWORD low, high, error;
};
SizeAnswer gSize;

DWORD WINAPI answerSize(HANDLE, LPDWORD high) {
    *high = gSize.high;
    SetLastError(gSize.error);
    return gSize.low;
}

TEST(PosixFileSizeTest, SizesOfMoreThan32BitsAreWhole) {
    constexpr struct {
        SizeAnswer answer;
        uint64_t size;
    } sampleSizes[] = {
        {{5, 1, 0}, 0x100000005},
        {{0, 1, 0}, 0x100000000},
        {{0xffffffff, 0, 0}, 0xffffffff},
        {{0xffffffff, 0x12, 0}, 0x12ffffffff},
        {{0xfffffffe, 0x7fffffff, 0}, 0x7ffffffffffffffe},
        {{5, 1, ERROR_ACCESS_DENIED}, 0x100000005},
    };
    const ReplacedCall<decltype(GetFileSize)> call("GetFileSize", answerSize);
    for (const auto& row : sampleSizes) {
        gSize = row.answer;
        uint64_t size = 0;
        EXPECT_EQ(posixlayer::fileSize(nullptr, &size), callSucceeded);
        EXPECT_EQ(size, row.size);
    }
}

TEST(PosixFileSizeTest, AllOnesWithAnErrorAreAFailure) {
    const ReplacedCall<decltype(GetFileSize)> call("GetFileSize", answerSize);
    gSize = {0xffffffff, 0, ERROR_ACCESS_DENIED};
    uint64_t size = 0;
    EXPECT_EQ(posixlayer::fileSize(nullptr, &size), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST(PosixFileSizeTest, AHandleThatIsNoneIsAFailure) {
    uint64_t size = 0;
    EXPECT_EQ(posixlayer::fileSize(nullptr, &size), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(PosixReadTest, AFileIsReadFromItsPositionToItsEnd) {
    const OpenFile file("ab\r\nc");
    std::string buffer(4, '?');
    EXPECT_EQ(posixlayer::readFile(file.get(), buffer.data(), 4), 4);
    EXPECT_EQ(buffer, "ab\r\n");
    EXPECT_EQ(posixlayer::readFile(file.get(), buffer.data(), 4), 1);
    EXPECT_EQ(buffer, "cb\r\n");
    EXPECT_EQ(posixlayer::readFile(file.get(), buffer.data(), 4), 0);
}

TEST(PosixReadTest, AFileThatMustNotBeReadIsAFailure) {
    const OpenFile file("abc", GENERIC_WRITE);
    char byte = 0;
    EXPECT_EQ(posixlayer::readFile(file.get(), &byte, 1), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST(PosixReadTest, TheEndOfAPipeIsAFailure) {
    ScopedHandle end;
    ScopedHandle writer;
    ASSERT_TRUE(CreatePipe(end.receive(), writer.receive(), nullptr, 0));
    EXPECT_EQ(posixlayer::writeFile(writer.get(), "ab", 2), 2);
    writer.release();
    std::string buffer(4, '?');
    EXPECT_EQ(posixlayer::readFile(end.get(), buffer.data(), 4), 2);
    EXPECT_EQ(buffer, "ab??");
    EXPECT_EQ(posixlayer::readFile(end.get(), buffer.data(), 4), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE});
}

TEST(PosixReadTest, ACountOfMoreThan31BitsIsNoFailure) {
    const ReplacedCall<decltype(ReadFile)> call(
        "ReadFile", [](HANDLE, LPVOID, DWORD count, LPDWORD read, LPOVERLAPPED) -> BOOL {
            *read = count;
            return TRUE;
        });
    EXPECT_EQ(posixlayer::readFile(nullptr, nullptr, 0xffffffff), 0xffffffff);
}

TEST(PosixWriteTest, AFileIsWrittenAtItsPosition) {
    const OpenFile file("abcdef");
    file.moveTo(2);
    EXPECT_EQ(posixlayer::writeFile(file.get(), "XY", 2), 2);
    EXPECT_EQ(posixlayer::writeFile(file.get(), "", 0), 0);
    EXPECT_EQ(file.content(), "abXYef");
}

TEST(PosixWriteTest, AFileThatMustNotBeWrittenIsAFailure) {
    const OpenFile file("abc", GENERIC_READ);
    EXPECT_EQ(posixlayer::writeFile(file.get(), "x", 1), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(file.content(), "abc");
}

TEST(PosixWriteTest, APartThatSomebodyElseHasLockedIsTriedAgain) {
    static int calls;
    calls = 0;
    const ReplacedCall<decltype(WriteFile)> call(
        "WriteFile", [](HANDLE, LPCVOID, DWORD count, LPDWORD written, LPOVERLAPPED) -> BOOL {
            *written = count;
            SetLastError(ERROR_LOCK_VIOLATION);
            return ++calls == 2 ? TRUE : FALSE;
        });
    EXPECT_EQ(posixlayer::writeFile(nullptr, "abc", 3), 3);
    EXPECT_EQ(calls, 2);
}

// The numbers that callers have always passed.
static_assert(SEEK_SET == 0 && SEEK_CUR == 1 && SEEK_END == 2);

TEST(PosixSeekTest, TheWhenceSaysWhereTheOffsetStarts) {
    constexpr struct {
        int whence;
        int64_t offset, position;
    } sampleMoves[] = {
        {SEEK_SET, 4, 4},
        {SEEK_CUR, 2, 5},
        {SEEK_CUR, -3, 0},
        {SEEK_CUR, 0, 3},
        {SEEK_END, 0, 10},
        {SEEK_END, -4, 6},
        {SEEK_END, 5, 15},
        {7, 4, 4},
        {-1, 4, 4},
        {3, 100, 100},
        {SEEK_SET, 0x100000005, 0x100000005},
        {SEEK_CUR, 0x100000000, 0x100000003},
    };
    const OpenFile file("0123456789");
    for (const auto& [whence, offset, position] : sampleMoves) {
        file.moveTo(3);
        EXPECT_EQ(posixlayer::seekFile(file.get(), offset, whence), position);
        EXPECT_EQ(file.position(), position);
    }
}

TEST(PosixSeekTest, APlaceBeforeTheStartIsAFailureAndThePositionStays) {
    const OpenFile file("0123456789");
    file.moveTo(3);
    for (const int whence : {SEEK_SET, SEEK_CUR, SEEK_END}) {
        EXPECT_EQ(posixlayer::seekFile(file.get(), -11, whence), callFailed);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
        EXPECT_EQ(file.position(), 3);
    }
}

TEST(PosixTruncateTest, AFileIsCutOrGrowsAndThePositionStays) {
    for (const int64_t position : {0, 3, 6, 20}) {
        const OpenFile file("abcdef");
        file.moveTo(position);
        EXPECT_EQ(posixlayer::truncateFile(file.get(), 4), callSucceeded);
        EXPECT_EQ(file.position(), position);
        EXPECT_EQ(file.size(), 4);
        EXPECT_EQ(posixlayer::truncateFile(file.get(), 7), callSucceeded);
        EXPECT_EQ(file.position(), position);
        EXPECT_EQ(file.content(), std::string("abcd\0\0\0", 7));
    }
}

TEST(PosixTruncateTest, AnySizeCanBeSet) {
    const OpenFile file("abcdef");
    for (const int64_t size : {6, 100000, 0}) {
        EXPECT_EQ(posixlayer::truncateFile(file.get(), size), callSucceeded);
        EXPECT_EQ(file.size(), size);
    }
}

TEST(PosixTruncateTest, AHandleThatIsNoneIsAFailure) {
    EXPECT_EQ(posixlayer::truncateFile(nullptr, 0), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(PosixTruncateTest, ANegativeSizeIsAFailureAndNothingChanges) {
    const OpenFile file("abcdef");
    file.moveTo(3);
    EXPECT_EQ(posixlayer::truncateFile(file.get(), -1), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
    EXPECT_EQ(file.position(), 3);
    EXPECT_EQ(file.content(), "abcdef");
}

decltype(SetFilePointerEx)* gMove = nullptr;

BOOL WINAPI moveAndChangeError(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position,
                               DWORD method) {
    const BOOL moved = gMove(file, distance, position, method);
    SetLastError(ERROR_SUCCESS);
    return moved;
}

TEST(PosixTruncateTest, AFileThatMustNotBeWrittenIsAFailureAndThePositionStays) {
    const OpenFile file("abcdef", GENERIC_READ);
    file.moveTo(3);
    EXPECT_EQ(posixlayer::truncateFile(file.get(), 1), callFailed);
    EXPECT_EQ(file.position(), 3);
    EXPECT_EQ(file.content(), "abcdef");
}

TEST(PosixTruncateTest, AFailureToSetTheEndIsReportedAndThePositionStays) {
    const OpenFile file("abcdef");
    file.moveTo(3);
    const ReplacedCall<decltype(SetEndOfFile)> end("SetEndOfFile", [](HANDLE) -> BOOL {
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    });
    const ReplacedCall<decltype(SetFilePointerEx)> move("SetFilePointerEx", moveAndChangeError);
    gMove = move.original();
    EXPECT_EQ(posixlayer::truncateFile(file.get(), 1), callFailed);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(file.position(), 3);
}

int gMoves = 0;
int gFailingMove = 0;
bool gCut = false;

TEST(PosixTruncateTest, AFailureOfAnyMoveIsAFailure) {
    const ReplacedCall<decltype(SetFilePointerEx)> move(
        "SetFilePointerEx",
        [](HANDLE, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD) -> BOOL {
            SetLastError(ERROR_IO_DEVICE);
            *position = distance;
            return ++gMoves == gFailingMove ? FALSE : TRUE;
        });
    const ReplacedCall<decltype(SetEndOfFile)> end("SetEndOfFile", [](HANDLE) -> BOOL {
        gCut = true;
        return TRUE;
    });
    for (const int failing : {0, 1, 2, 3}) {
        gMoves = 0;
        gFailingMove = failing;
        gCut = false;
        EXPECT_EQ(posixlayer::truncateFile(nullptr, 1), failing == 0 ? callSucceeded : callFailed);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_IO_DEVICE});
        EXPECT_EQ(gMoves, failing == 0 ? 3 : failing);
        EXPECT_EQ(gCut, failing == 0 || failing == 3)
            << "only if the position was moved to the new end";
    }
}

}  // namespace
