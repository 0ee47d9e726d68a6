// Captures that are too large to be read whole.

#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/quickwakes-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/exec/streams-win.h"

namespace {

using namespace testing_support;

std::string pattern(size_t length) {
    std::string text;
    while (text.size() < length) {
        text += "abcdefghijklmnopqrstuvwxyz";
    }
    text.resize(length);
    return text;
}

std::string report(const std::string& command, const std::string& size, const std::string& stream,
                   const std::string& kept) {
    return "\n***\n*** The command:\n***\n***     " + command + "\n***\n*** produced " + size +
           " bytes of " + stream +
           ".  This may indicate an error\n*** in the command invocation.  The first " + kept +
           " bytes are included here\n*** for analysis.  If you believe this message has been "
           "reached in\n*** error, please contact your system administrator.\n***\n";
}

using ExecCaptureLimitsTest = CommandTest;

TEST_F(ExecCaptureLimitsTest, ACaptureOfJustTheLimitComesWholeAndOneOverItIsCut) {
    mExec->setOutputLimits(100, 30);
    const std::string atLimit = execChild("out 100 7 err 100 100");
    CommandResult result = mExec->run(atLimit);
    EXPECT_EQ(result.output, pattern(100));
    EXPECT_EQ(result.error, pattern(100));
    const std::string output = execChild("out 101 7 err 100 100");
    result = mExec->run(output);
    EXPECT_EQ(result.output, report(output, "101", "output text", "30") + pattern(30) + "\n");
    EXPECT_EQ(result.error, pattern(100));
    const std::string error = execChild("out 100 7 err 101 101");
    result = mExec->run(error);
    EXPECT_EQ(result.output, pattern(100));
    EXPECT_EQ(result.error, report(error, "101", "error text", "30") + pattern(30) + "\n");
    EXPECT_TRUE(mExec->errors().empty());
}

TEST_F(ExecCaptureLimitsTest, ByDefaultFiveThousandBytesAreKeptOfOverFiveMillion) {
    EXPECT_TRUE(mExec->run(execChild("out 5000000 1000000")).output == pattern(5000000));
    const std::string over = execChild("out 5000001 1000000");
    EXPECT_EQ(mExec->run(over).output,
              report(over, "5000001", "output text", "5000") + pattern(5000) + "\n");
}

TEST_F(ExecCaptureLimitsTest, MergedStreamsAreOneCapture) {
    mExec->setOutputLimits(100, 5);
    Exec::RunInfo info = childInfo("out 60 60 err 41 41");
    info.mMergeOutput = true;
    const CommandResult result = mExec->run(info);
    EXPECT_EQ(result.output, report(info.mDirectArgv[0], "101", "output text", "5") + "abcde\n");
    EXPECT_EQ(result.error, "");
}

TEST_F(ExecCaptureLimitsTest, TheLimitsAreThoseAtTheEndOfTheCommand) {
    mExec->setOutputLimits(100, 100);
    const QuickWakes wakes([this](size_t) -> DWORD {
        mExec->setOutputLimits(1, 2);
        mFolder.write("go", "");
        return QuickWakes::awaitEnd;
    });
    const std::string line = execChild("out 3 3 err 4 4 await \"" + mFolder.utf8("go") + "\"");
    const CommandResult result = mExec->run(line);
    EXPECT_EQ(result.output, report(line, "3", "output text", "2") + "ab\n");
    EXPECT_EQ(result.error, report(line, "4", "error text", "2") + "ab\n");
}

TEST_F(ExecCaptureLimitsTest, NothingNeedBeKept) {
    mExec->setOutputLimits(0, 0);
    const std::string line = execChild("say x");
    const CommandResult result = mExec->run(line);
    EXPECT_EQ(result.output, report(line, "1", "output text", "0") + "\n");
    EXPECT_EQ(result.error, "");
}

TEST_F(ExecCaptureLimitsTest, WithANegativeLimitOnlyTheReportComesBackOfEveryStream) {
    mExec->setOutputLimits(-1, 0);
    const std::string line = execChild("say x exit 9");
    const CommandResult result = mExec->run(line);
    EXPECT_EQ(result.code, 9);
    EXPECT_EQ(result.output, report(line, "1", "output text", "0") + "\n");
    EXPECT_EQ(result.error, report(line, "0", "error text", "0") + "\n");
}

/// An open file with this text.
class FileOf {
public:
    explicit FileOf(const std::string& text) {
        const auto path = mFolder.path() / mFolder.write("file", text);
        mHandle = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              0, nullptr);
    }
    ~FileOf() { EXPECT_TRUE(CloseHandle(mHandle)); }
    FileOf(const FileOf&) = delete;
    FileOf& operator=(const FileOf&) = delete;

    bool read(int maxBytes, unsigned keepBytes, std::string& text) const {
        return readCapturedOutput(mHandle, maxBytes, keepBytes, "tool -x", "error text", text);
    }
    HANDLE get() const { return mHandle; }

private:
    TempFolder mFolder;
    HANDLE mHandle;
};

TEST(ReadCapturedOutputTest, ItAddsWhatTheFileHoldsWhereverItsPositionIs) {
    const FileOf file("content");
    std::string text = "before ";
    SetFilePointer(file.get(), 3, nullptr, FILE_BEGIN);
    EXPECT_TRUE(file.read(7, 1, text));
    EXPECT_EQ(text, "before content");
    EXPECT_TRUE(file.read(100, 1, text));
    EXPECT_EQ(text, "before contentcontent");
}

TEST(ReadCapturedOutputTest, ItPutsTheReportBetweenWhatWasThereAndTheStartOfTheFile) {
    const FileOf file("content");
    std::string text = "before";
    EXPECT_TRUE(file.read(6, 3, text));
    EXPECT_EQ(text, "before" + report("tool -x", "7", "error text", "3") + "con\n");
}

TEST(ReadCapturedOutputTest, AllOfALongFileMayBeKept) {
    const FileOf file("content");
    std::string text;
    EXPECT_TRUE(file.read(-1, 7, text));
    EXPECT_EQ(text, report("tool -x", "7", "error text", "7") + "content\n");
}

TEST(ReadCapturedOutputTest, MoreThanTheFileHoldsCannotBeKept) {
    const FileOf file("content");
    std::string text;
    SetLastError(NO_ERROR);
    EXPECT_FALSE(file.read(6, 8, text));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_HANDLE_EOF));
    EXPECT_EQ(text, report("tool -x", "7", "error text", "8") + "content");
}

TEST(ReadCapturedOutputTest, AnEmptyFileAddsNothing) {
    const FileOf file("");
    std::string text = "before";
    EXPECT_TRUE(file.read(0, 0, text));
    EXPECT_EQ(text, "before");
}

TEST(ReadCapturedOutputTest, AFileThatCannotBeReadFails) {
    const FileOf file("content");
    const ReplacedCall<decltype(ReadFile)> read(
        "ReadFile", [](HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    std::string text = "before";
    EXPECT_FALSE(file.read(100, 1, text));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(text, "before");
}

/// Gives all files this size until the scope ends, and counts the reads.
class FileSize {
public:
    FileSize(DWORD low, DWORD high, DWORD error = NO_ERROR) {
        sLow = low;
        sHigh = high;
        sError = error;
        sReads = 0;
        sReadFile = mRead.original();
    }

    static int reads() { return sReads; }

private:
    static DWORD WINAPI size(HANDLE /*file*/, LPDWORD high) {
        if (high != nullptr) {
            *high = sHigh;
        }
        // A size that isn't INVALID_FILE_SIZE leaves the last error as it is.
        if (sError != NO_ERROR) {
            SetLastError(sError);
        }
        return sLow;
    }
    static BOOL WINAPI read(HANDLE file, LPVOID buffer, DWORD size, LPDWORD count,
                            LPOVERLAPPED overlap) {
        ++sReads;
        return sReadFile(file, buffer, size, count, overlap);
    }

    static inline DWORD sLow = 0;
    static inline DWORD sHigh = 0;
    static inline DWORD sError = NO_ERROR;
    static inline int sReads = 0;
    static inline decltype(&ReadFile) sReadFile = nullptr;
    ReplacedCall<decltype(GetFileSize)> mSize{"GetFileSize", &FileSize::size};
    ReplacedCall<decltype(ReadFile)> mRead{"ReadFile", &FileSize::read};
};

TEST(ReadCapturedOutputTest, AFileOf2GigabytesFailsAndIsNotRead) {
    const FileOf file("content");
    const FileSize size(/*low=*/0x80000000, /*high=*/0);
    std::string text = "before";
    SetLastError(ERROR_ACCESS_DENIED);  // from an earlier call
    EXPECT_FALSE(file.read(100, 1, text));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_TOO_LARGE));
    EXPECT_EQ(text, "before");
    EXPECT_EQ(FileSize::reads(), 0);
}

TEST(ReadCapturedOutputTest, ASizeThatIsUnavailableFailsWithItsError) {
    const FileOf file("content");
    const FileSize size(INVALID_FILE_SIZE, /*high=*/0, ERROR_ACCESS_DENIED);
    std::string text = "before";
    EXPECT_FALSE(file.read(100, 1, text));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(text, "before");
    EXPECT_EQ(FileSize::reads(), 0);
}

TEST(ReadCapturedOutputTest, OfALongerFileTheLower32BitsCount) {
    const FileOf file("content");
    const FileSize size(/*low=*/3, /*high=*/1);
    std::string text;
    EXPECT_TRUE(file.read(100, 1, text));
    EXPECT_EQ(text, "con");
}

}  // namespace
