// What a command that has ended returns: its exit code, and the text of its streams.

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/beforeresume-win.h"
#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/eventually.h"
#include "testing/processes/commandtest-win.h"
#include "testing/threads/boundedthread.h"
#include "util/platform/errortext-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/system/host-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

class ExecResultTest : public CommandTest {
protected:
    /// The log after the line of the wait.
    std::string logOfTheEnd() {
        const std::string log = mExec->log();
        return log.substr(log.find('\n') + 1);
    }
};

TEST_F(ExecResultTest, TheExitCodeIsReturnedAndLogged) {
    struct Row {
        const char* word;
        int32_t code;
        const char* log;
    };
    for (const Row& row :
         {Row{"0", 0, ""}, Row{"1", 1, "\texit code 1\n"}, Row{"255", 255, "\texit code 255\n"},
          Row{"259", 259, "\texit code 259\n"},
          Row{"0x7fffffff", 0x7fffffff, "\texit code 2147483647\n"}}) {
        const CommandResult result = mExec->run(execChild(std::string("exit ") + row.word));
        EXPECT_EQ(result.code, row.code);
        EXPECT_EQ(logOfTheEnd(), row.log);
        EXPECT_EQ(result.error, "");
        EXPECT_FALSE(result.aborted);
    }
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecResultTest, ANegativeExitCodeIsLoggedWithTheMessageForTheStatus) {
    const SystemMessage message(L"It broke.");
    struct Row {
        const char* word;
        uint32_t code;
        const char* number;
    };
    for (const Row& row :
         {Row{"0xc0000005", 0xc0000005, "c0000005"}, Row{"0x80000000", 0x80000000, "80000000"},
          Row{"-1", 0xffffffff, "ffffffff"}}) {
        EXPECT_EQ(mExec->run(execChild(std::string("exit ") + row.word)).code,
                  static_cast<int32_t>(row.code));
        EXPECT_EQ(logOfTheEnd(), std::string("\texit code 0x") + row.number + " [" +
                                     NtException("NTSTATUS", row.code).what() + "]\n");
        EXPECT_NE(logOfTheEnd().find(" [NTSTATUS: It broke"), std::string::npos);
    }
}

TEST_F(ExecResultTest, AnExitCodeThatIsUnavailableIsAFailure) {
    const SystemMessage message(L"It can't be.");
    const ReplacedCall<decltype(GetExitCodeProcess)> code("GetExitCodeProcess",
                                                          [](HANDLE, LPDWORD) -> BOOL {
                                                              SetLastError(ERROR_ACCESS_DENIED);
                                                              return FALSE;
                                                          });
    const CommandResult result = mExec->run(execChild("say x exit 3"));
    const std::string words = "Exec::runCommand couldn't get process's exit code: It can't be\n";
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, words);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(mExec->errors(), Texts({words}));
    EXPECT_EQ(logOfTheEnd(), "");
    EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

int gReads = 0;
int gFailingRead = 0;
DWORD gMissing = 0;  ///< bytes missing from that read; 0: it fails outright
decltype(&ReadFile) gReadFile = nullptr;

BOOL WINAPI readFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD count, LPOVERLAPPED overlap) {
    if (++gReads != gFailingRead) {
        return gReadFile(file, buffer, size, count, overlap);
    }
    if (gMissing != 0) {
        const BOOL isRead = gReadFile(file, buffer, size - gMissing, count, overlap);
        SetLastError(NO_ERROR);
        return isRead;
    }
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(ExecResultTest, ACaptureThatCannotBeReadIsAFailure) {
    const SystemMessage message(L"It can't be.");
    const ReplacedCall<decltype(ReadFile)> read("ReadFile", &readFile);
    gReadFile = read.original();
    struct Row {
        int failing;
        DWORD missing;
        DWORD number;
        const char* output;  ///< with what was read
        const char* error;
    };
    for (const Row& row :
         {Row{1, 0, ERROR_ACCESS_DENIED, "", ""}, Row{1, 1, ERROR_HANDLE_EOF, "x", ""},
          Row{2, 0, ERROR_ACCESS_DENIED, "xy", ""}, Row{2, 1, ERROR_HANDLE_EOF, "xy", "z"}}) {
        mExec.emplace();
        gReads = 0;
        gFailingRead = row.failing;
        gMissing = row.missing;
        const std::string words = std::string("Exec::runCommand couldn't read standard ") +
                                  (row.failing == 1 ? "output" : "error") + " file: It can't be\n";
        const CommandResult result = mExec->run(execChild("say xy complain zz exit 3"));
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(result.output, row.output);
        EXPECT_EQ(result.error, row.error + words);
        EXPECT_EQ(mExec->errors(), Texts({words}));
        EXPECT_EQ(logOfTheEnd(), "\texit code 3\n");
        EXPECT_EQ(message.calls().back().number, row.number);
    }
}

TEST_F(ExecResultTest, AMergedCaptureThatCannotBeReadIsReportedInTheOutput) {
    const SystemMessage message(L"It can't be.");
    const ReplacedCall<decltype(ReadFile)> read("ReadFile", &readFile);
    gReadFile = read.original();
    gReads = 0;
    gFailingRead = 1;
    gMissing = 0;
    Exec::RunInfo info = childInfo("say xy");
    info.mMergeOutput = true;
    const CommandResult result = mExec->run(info);
    const std::string words = "Exec::runCommand couldn't read standard output file: It can't be\n";
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.output.ends_with(words));
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(mExec->errors(), Texts({words}));
}

std::vector<HANDLE> gFlushed;

BOOL WINAPI flush(HANDLE file) {
    gFlushed.push_back(file);
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

TEST_F(ExecResultTest, StreamsThatAreNotCapturedAreFlushedAndThatMayFail) {
    const ReplacedCall<decltype(FlushFileBuffers)> flushing("FlushFileBuffers", &flush);
    const StandardFiles streams(mFolder);
    for (const bool isFile : {false, true}) {
        for (const bool merge : {false, true}) {
            const RecordedStarts starts;
            gFlushed.clear();
            Exec::RunInfo info = childInfo("exit 3");
            info.mCaptureOutput = false;
            info.mMergeOutput = merge;
            if (isFile) {
                info.mStdoutMode = info.mStderrMode = streamFile;
                info.mStdoutFile = mFolder.utf8("out");
                info.mStderrFile = mFolder.utf8("err");
            }
            EXPECT_EQ(mExec->run(info).code, 3);
            const STARTUPINFOW& startup = starts.last().startup;
            std::vector<HANDLE> expected = {startup.hStdOutput};
            if (!merge) {
                expected.push_back(startup.hStdError);
            }
            EXPECT_EQ(gFlushed, expected);
        }
    }
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecResultTest, CapturedStreamsAreNotFlushed) {
    const ReplacedCall<decltype(FlushFileBuffers)> flushing("FlushFileBuffers", &flush);
    gFlushed.clear();
    EXPECT_EQ(mExec->run(execChild("say x")).output, "x");
    EXPECT_TRUE(gFlushed.empty());
}

TEST_F(ExecResultTest, ACaptureThatSomebodyElseKeepsOpenStaysInItsFolder) {
    HANDLE kept = nullptr;
    {
        const RecordedStarts starts;
        // Acts as a process that inherited the command's standard output and outlives it.
        const BeforeResume resumed([&](HANDLE) {
            const RecordedStarts::Call& call = starts.last();
            DuplicateHandle(call.process.hProcess, call.startup.hStdOutput, GetCurrentProcess(),
                            &kept, 0, FALSE, DUPLICATE_SAME_ACCESS);
        });
        EXPECT_EQ(mExec->run(execChild("say x complain y")).output, "x");
    }
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_TRUE(CloseHandle(kept));
    EXPECT_EQ(captures(), std::multiset<std::string>{"out"}) << "nobody removes it later";
    for (const auto& file : std::filesystem::directory_iterator(System::tempDirectory())) {
        EXPECT_TRUE(std::filesystem::remove(file)) << file;
    }
}

HANDLE gPipe = nullptr;
std::atomic<bool> gIsFlushing = false;
decltype(&FlushFileBuffers) gFlushFileBuffers = nullptr;

BOOL WINAPI flushReally(HANDLE file) {
    if (file == gPipe) {
        gIsFlushing = true;
    }
    return gFlushFileBuffers(file);
}

/// Threads leave handles open, so this isn't a CommandTest.
TEST(ExecPipeTest, TheRunWaitsUntilAPipeOfTheCallerHasBeenRead) {
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    ASSERT_TRUE(CreatePipe(&readEnd, &writeEnd, &inheritable, 0));
    HANDLE outputBefore = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, writeEnd);
    gPipe = writeEnd;
    gIsFlushing = false;
    const ReplacedCall<decltype(FlushFileBuffers)> flushing("FlushFileBuffers", &flushReally);
    gFlushFileBuffers = flushing.original();
    std::atomic<bool> isRead = false;
    std::atomic<bool> isOver = false;
    char text = '\0';
    BoundedThread reader([&] {
        EXPECT_TRUE(eventually([&] { return gIsFlushing || isOver; }));
        // A run that doesn't wait would go unnoticed only if it took longer than this. A run that
        // waits never ends before.
        Sleep(50);
        isRead = true;
        DWORD count = 0;
        EXPECT_TRUE(ReadFile(readEnd, &text, 1, &count, nullptr));
    });
    const TempFolder folder;
    TestedExec exec;
    Exec::RunInfo info = childInfo("say x");
    info.mCaptureOutput = false;
    info.mStderrMode = streamFile;
    info.mStderrFile = folder.utf8("error");
    EXPECT_EQ(exec.run(info).code, 0);
    isOver = true;
    EXPECT_TRUE(isRead);
    reader.join();
    EXPECT_EQ(text, 'x');
    SetStdHandle(STD_OUTPUT_HANDLE, outputBefore);
    CloseHandle(readEnd);
    CloseHandle(writeEnd);
}

TEST_F(ExecResultTest, TextInUtf16ComesBackInUtf8) {
    Exec::RunInfo info;
    info.mUtf16Output = true;
    struct Row {
        const char* actions;
        const char* output;
        const char* error;
    };
    for (const Row& row : {Row{"say16 \xc3\xa4\xf0\x9f\x98\x80 complain16 \xe4\xb8\xad",
                               "\xc3\xa4\xf0\x9f\x98\x80", "\xe4\xb8\xad"},
                           Row{"say16 ab say c complain16 d complain e", "ab", "d"},
                           Row{"say x", "", ""}, Row{"", "", ""}}) {
        info.mDirectArgv = {execChild(row.actions)};
        const CommandResult result = mExec->run(info);
        EXPECT_EQ(result.output, row.output);
        EXPECT_EQ(result.error, row.error);
    }
    info.mDirectArgv = {execChild("say16 a complain16 b")};
    info.mMergeOutput = true;
    EXPECT_EQ(mExec->run(info).output, "ab");
}

TEST_F(ExecResultTest, OtherTextComesBackByteForByte) {
    const CommandResult result = mExec->run(execChild("say \xc3\xa4 say16 a complain16 b"));
    EXPECT_EQ(result.output, std::string("\xc3\xa4"
                                         "a\0",
                                         4));
    EXPECT_EQ(result.error, std::string("b\0", 2));
}

struct CygwinRow {
    uint16_t major;
    uint16_t minor;
    uint32_t code;
    uint32_t result;
    uint32_t signal;
};
constexpr uint32_t noChildSignal = Exec::noSignal;
constexpr uint32_t keptBytes = 77;  ///< the signal before
const CygwinRow cygwinRows[] = {
    // 1.5.13 has the exit code in bits 8 to 15, and no signal.
    {1005, 13, 0x0000, 0x00, keptBytes},
    {1005, 13, 0x0100, 0x01, keptBytes},
    {1005, 13, 0xff00, 0xff, keptBytes},
    {1005, 13, 0x0180, 0x01, keptBytes},
    {1005, 13, 0x0080, 0x00, keptBytes},
    {1005, 13, 0x0001, 0x0001, keptBytes},
    {1005, 13, 0x0140, 0x0140, keptBytes},
    {1005, 13, 0x10100, 0x10100, keptBytes},
    {1005, 13, 0xc0000005, 0xc0000005, keptBytes},
    // An unknown version, and all from 1.5.20 on, have the signal in bits 8 to 14.
    {0, 0, 0x0000, 0x0000, noChildSignal},
    {0, 0, 0x00ff, 0x00ff, noChildSignal},
    {0, 0, 0x0900, 0x0900, 9},
    {0, 0, 0x7f00, 0x7f00, 0x7f},
    {0, 0, 0x8000, 0x8000, noChildSignal},
    {0, 0, 0x8f01, 0x8f01, 15},
    {0, 0, 0xc0000f05, 0xc0000f05, 15},
    {0, 13, 0x0900, 0x0900, 9},
    {1005, 20, 0x0900, 0x0900, 9},
    {1005, 21, 0x0000, 0x0000, noChildSignal},
    {1005, 999, 0x0900, 0x0900, 9},
    {1006, 0, 0x0900, 0x0900, 9},
    {1007, 13, 0x0900, 0x0900, 9},
    {2011, 1, 0x0900, 0x0900, 9},
    // For the other versions, nothing is extracted.
    {1005, 0, 0x0900, 0x0900, keptBytes},
    {1005, 12, 0x0900, 0x0900, keptBytes},
    {1005, 14, 0x0900, 0x0900, keptBytes},
    {1005, 19, 0x0000, 0x0000, keptBytes},
    {1004, 13, 0x0900, 0x0900, keptBytes},
    {1004, 20, 0x0900, 0x0900, keptBytes},
    {1, 20, 0x0900, 0x0900, keptBytes},
};

TEST_F(ExecResultTest, TheCodeOfACygwinCommandIsReadAsItsVersionWritesIt) {
    for (const CygwinRow& row : cygwinRows) {
        mExec->cygwinVersion() = std::tie(row.major, row.minor);
        mExec->mChildSignal = keptBytes;
        Exec::RunInfo info = childInfo("exit " + std::to_string(row.code));
        info.mCygwinCommand = true;
        EXPECT_EQ(static_cast<uint32_t>(mExec->run(info).code), row.result)
            << row.major << '.' << row.minor << ' ' << row.code;
        EXPECT_EQ(mExec->childSignal(), row.signal)
            << row.major << '.' << row.minor << ' ' << row.code;
    }
}

TEST_F(ExecResultTest, TheCodeOfACygwinCommandIsLoggedAsItCame) {
    mExec->cygwinVersion() = std::tuple(1005, 13);
    Exec::RunInfo info = childInfo("exit 256");
    info.mCygwinCommand = true;
    EXPECT_EQ(mExec->run(info).code, 1);
    EXPECT_EQ(logOfTheEnd(), "\texit code 256\n");
}

TEST_F(ExecResultTest, TheCodeOfAnyOtherCommandStaysWhatItIs) {
    mExec->cygwinVersion() = std::tuple(1005, 13);
    mExec->mChildSignal = keptBytes;
    EXPECT_EQ(mExec->run(execChild("exit 256")).code, 256);
    mExec->cygwinVersion() = std::tuple(1007, 13);
    EXPECT_EQ(mExec->run(execChild("exit 0x900")).code, 0x900);
    EXPECT_EQ(mExec->childSignal(), keptBytes);
}

}  // namespace
