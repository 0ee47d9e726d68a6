// Reading files. New names, renaming and removing: smallfile-names-win_test.cpp.

#include "util/windows/system/smallfile-win.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <windows.h>
#include <winioctl.h>

#include "testing/calls/memoryshortage-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/allocationcount.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/filechild-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/errortext.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

std::string words(uint32_t error) { return errorText(/*withCode=*/false, &error, errorOfSystem); }

TEST(ReadFileTest, TheBytesOfAFileAreRead) {
    const TempFolder folder;
    const std::string content("line\r\n\0\x1A\xFF", 9);
    std::string text;
    EXPECT_EQ(readFile(folder.write("file", content), text), fileIsRead);
    EXPECT_EQ(text, content);
}

TEST(ReadFileTest, TheBytesGoAfterWhatTheTextHolds) {
    const TempFolder folder;
    std::string text = "before ";
    EXPECT_EQ(readFile(folder.write("file", "the file"), text), fileIsRead);
    EXPECT_EQ(text, "before the file");
}

TEST(ReadFileTest, AnEmptyFileLeavesTheTextAsItIs) {
    const TempFolder folder;
    const std::string path = folder.write("file", "");
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text, "before");
    text.clear();
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text, "");
}

TEST(ReadFileTest, APathMayBeNonAsciiAndLong) {
    const TempFolder folder;
    std::string path = folder.utf8();
    for (int level = 0; level < 3; ++level) {
        path += "/\xE4\xB8\xAD" + std::string(100, 'd');
        ASSERT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    }
    path += "/file";
    const std::wstring source = System::unicodePath(folder.write("file", "far"));
    ASSERT_TRUE(MoveFileW(source.c_str(), System::unicodePath(path).c_str()));
    std::string text;
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text, "far");
}

TEST(ReadFileTest, AFileThatOthersHaveOpenToWriteIsRead) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const ScopedHandle writer(CreateFileW(System::unicodePath(path).c_str(), GENERIC_WRITE,
                                          FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(writer.isOpen());
    std::string text;
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text, "text");
}

int gReads = 0;
DWORD gWanted = 0;
decltype(ReadFile)* gReadFile = nullptr;

BOOL WINAPI countRead(HANDLE file, LPVOID place, DWORD wanted, LPDWORD count, LPOVERLAPPED async) {
    ++gReads;
    gWanted = wanted;
    return gReadFile(file, place, wanted, count, async);
}

TEST(ReadFileTest, AFileIsReadByOneCall) {
    const TempFolder folder;
    const std::string content(1'000'000, 'c');
    const std::string path = folder.write("file", content);
    const ReplacedCall<decltype(ReadFile)> counted("ReadFile", countRead);
    gReadFile = counted.original();
    gReads = 0;
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(gReads, 1);
    EXPECT_EQ(gWanted, 1'000'000U);
    EXPECT_TRUE(text == "before" + content);
}

/// Makes a file of zeros that take no space on the disk.
std::string writeZeros(const TempFolder& folder, const char* name, LONGLONG size) {
    std::string path = folder.write(name, "");
    const ScopedHandle file(CreateFileW(System::unicodePath(path).c_str(), GENERIC_WRITE, 0,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    DWORD count = 0;
    DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &count, nullptr);
    LARGE_INTEGER end = {};
    end.QuadPart = size;
    EXPECT_TRUE(SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get()));
    return path;
}

TEST(ReadFileTest, ALargeFileTakesOneAllocationMoreThanAnEmptyOne) {
    const TempFolder folder;
    const auto allocations = [&](const std::string& path, size_t size) {
        std::string text;
        const size_t before = allocationCount();
        EXPECT_EQ(readFile(path, text), fileIsRead);
        const size_t after = allocationCount();
        EXPECT_EQ(text.size(), size);
        return after - before;
    };
    constexpr size_t fileSize = 256 << 20;
    const std::string empty = folder.write("empty", "");
    const std::string large = writeZeros(folder, "large", fileSize);
    allocations(empty, 0);
    EXPECT_EQ(allocations(large, fileSize), allocations(empty, 0) + 1);
}

TEST(ReadFileTest, SoakAFileOfMoreThanOneCallReadsIsReadWhole) {
    constexpr size_t fileSize = (size_t{1} << 32) + 10;
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    if (!GlobalMemoryStatusEx(&memory) || memory.ullAvailPhys < 2 * fileSize) {
        GTEST_SKIP() << "not enough memory";
    }
    const TempFolder folder;
    const std::string path = writeZeros(folder, "file", fileSize);
    std::string text;
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text.size(), fileSize);
    EXPECT_TRUE(text.back() == '\0');
}

// Files whose size has changed.

uint64_t gSize = 0;
bool gHasSize = true;

/// Until the scope ends, reports another size for every file, or fails with 50.
class ReportedSize {
public:
    explicit ReportedSize(uint64_t size) {
        gHasSize = true;
        gSize = size;
    }
    ReportedSize() { gHasSize = false; }

private:
    static BOOL WINAPI report(HANDLE, PLARGE_INTEGER size) {
        if (!gHasSize) {
            SetLastError(ERROR_NOT_SUPPORTED);
            return FALSE;
        }
        size->QuadPart = static_cast<LONGLONG>(gSize);
        return TRUE;
    }

    ReplacedCall<decltype(GetFileSizeEx)> mCall{"GetFileSizeEx", report};
};

TEST(ReadFileTest, AFileThatGrowsIsReadAsItWas) {
    const TempFolder folder;
    const std::string path = folder.write("file", "as it was, and more");
    const ReportedSize size(9);
    std::string text;
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text, "as it was");
}

TEST(ReadFileTest, OfAFileThatShrinksThereIsWhatIsLeft) {
    const TempFolder folder;
    const std::string path = folder.write("file", "left");
    const ReportedSize size(1000);
    std::string text = "what is ";
    EXPECT_EQ(readFile(path, text), fileIsRead);
    EXPECT_EQ(text, "what is left");
}

// Failures.

TEST(ReadFileTest, AMissingFileIs5001) {
    const TempFolder folder;
    const std::string path = folder.utf8("missing");
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), 5001);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(text, path + ": failed to open file: " + words(ERROR_FILE_NOT_FOUND));
}

TEST(ReadFileTest, ADirectoryIs5001) {
    const TempFolder folder;
    std::string text;
    EXPECT_EQ(readFile(folder.utf8(), text), 5001);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(text, folder.utf8() + ": failed to open file: " + words(ERROR_ACCESS_DENIED));
}

TEST(ReadFileTest, AFileThatAnotherProcessSharesWithNobodyIs5001) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const FileChild child("hold", {path, "0"});
    std::string text;
    EXPECT_EQ(readFile(path, text), 5001);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
}

TEST(ReadFileTest, AFailureToCloseIs5002) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    static decltype(CloseHandle)* original;
    const ReplacedCall<decltype(CloseHandle)> failing("CloseHandle", [](HANDLE handle) -> BOOL {
        original(handle);
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });
    original = failing.original();
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), 5002);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(text, path + ": failed to close file: " + words(ERROR_INVALID_HANDLE));
}

/// Reading fails with ERROR_CRC until the scope ends.
class FailedReading {
private:
    static BOOL WINAPI fail(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) {
        SetLastError(ERROR_CRC);
        return FALSE;
    }

    ReplacedCall<decltype(ReadFile)> mCall{"ReadFile", fail};
};

TEST(ReadFileTest, AFailureToReadIs5003) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const FailedReading failing;
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), 5003);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CRC));
    EXPECT_EQ(text, path + ": failed to read file: " + words(ERROR_CRC));
}

bool canReadBare(const std::string& path) {
    const ScopedHandle file(CreateFileW(System::unicodePath(path).c_str(), GENERIC_READ, shareAll,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    char byte = 0;
    DWORD count = 0;
    return ReadFile(file.get(), &byte, 1, &count, nullptr) != FALSE;
}

TEST(ReadFileTest, AFileThatAnotherProcessHasLockedIs5003) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const FileChild child("lock", {path});
    if (canReadBare(path)) {
        GTEST_SKIP() << "locks keep nobody from reading here";
    }
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), 5003);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_LOCK_VIOLATION));
    EXPECT_EQ(text, path + ": failed to read file: " + words(ERROR_LOCK_VIOLATION));
}

TEST(ReadFileTest, AFileWithoutASizeIs5004) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const ReportedSize none;
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), 5004);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(text, path + ": failed to get size of file: " + words(ERROR_NOT_SUPPORTED));
}

TEST(ReadFileTest, ASizeThatOverflowsWithTheTextIs5005) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const ReportedSize size(std::numeric_limits<uint64_t>::max() - 5);
    std::string text = "before";
    EXPECT_EQ(readFile(path, text), 5005);
    EXPECT_EQ(text, path + ": file too long: 18446744073709551610");
}

TEST(ReadFileTest, ASizeBeyondTheMemoryIs5006) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const std::pair<uint64_t, const char*> rows[] = {
        {uint64_t{1} << 60, "1152921504606846976"},
        // More than a string can hold.
        {std::numeric_limits<int64_t>::max(), "9223372036854775807"},
        {std::numeric_limits<uint64_t>::max() - 6, "18446744073709551609"},
    };
    for (const auto& [size, number] : rows) {
        const ReportedSize reported(size);
        std::string text = "before";
        EXPECT_EQ(readFile(path, text), 5006);
        EXPECT_EQ(text, path + ": file too long: " + number);
    }
}

TEST(ReadFileTest, NoFailureLeavesTheFileOpen) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    std::string text = "before";
    static_cast<void>(readFile(path, text));
    const size_t before = handleCount();
    EXPECT_EQ(readFile(path, text), fileIsRead);
    {
        const ReportedSize none;
        EXPECT_EQ(readFile(path, text), fileSizeUnknown);
    }
    for (const uint64_t size : {std::numeric_limits<uint64_t>::max(), uint64_t{1} << 60}) {
        const ReportedSize reported(size);
        text = "before";
        EXPECT_GE(readFile(path, text), fileTooLong);
    }
    {
        const FailedReading failing;
        EXPECT_EQ(readFile(path, text), fileNotRead);
    }
    EXPECT_EQ(handleCount(), before);
}

TEST(ReadFileDeathTest, WithoutMemoryForTheMessageTheNumberIsThereAndTheTextEmpty) {
    const auto run = [] {
        const std::string path = "c:/missing/" + std::string(100, 'p');
        std::string text = "before";
        int result = 0;
        {
            const MemoryShortage shortage(0);
            result = readFile(path, text);
        }
        std::_Exit(result == fileNotOpened && text.empty() ? 7 : 8);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(7), "");
}

// Messages.

TEST(FileErrorTextTest, PathWhatAndMessageAreJoinedAndTheNumberIsKept) {
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(fileErrorText("c:/a b", "what"), "c:/a b: what: " + words(ERROR_ACCESS_DENIED));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(FileErrorTextTest, NumbersWithoutMessagesAreKeptAsWell) {
    for (const DWORD error : {0UL, 0x20000000UL}) {
        SetLastError(error);
        EXPECT_EQ(fileErrorText("p", ""), "p: : " + words(error));
        EXPECT_EQ(GetLastError(), error);
    }
}

TEST(FileErrorTextTest, APathThatIsNotAsciiIsWrittenWithEscapes) {
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(fileErrorText("c:/\xC3\xA9\xE4\xB8\xAD\xFF", "what"),
              "c:/\\u00e9\\u4e2d\\udcff: what: " + words(ERROR_ACCESS_DENIED));
}

TEST(FileErrorTextTest, EveryMessageOfReadFileEscapesThePath) {
    const TempFolder folder;
    const std::string path = folder.write("\xC3\xA9", "text");
    const std::string start = folder.utf8() + "/\\u00e9: ";
    std::string text;
    EXPECT_EQ(readFile(path + "missing", text), fileNotOpened);
    EXPECT_EQ(text.substr(0, start.size() - 2), folder.utf8() + "/\\u00e9");
    const ReportedSize size(uint64_t{1} << 60);
    text.clear();
    EXPECT_EQ(readFile(path, text), fileBeyondMemory);
    EXPECT_EQ(text, start + "file too long: 1152921504606846976");
}

}  // namespace
