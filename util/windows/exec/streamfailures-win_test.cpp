// Streams of a command that can't be set up: what is reported, where, and what is left.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/scopes/environmentscope.h"
#include "util/windows/exec-win.h"
#include "util/windows/exec/streams-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

class ExecStreamFailuresTest : public CommandTest {
protected:
    /// Runs a command whose streams can't be set up for this reason. The text before the reason is
    /// always the same.
    void expectFailure(Exec::RunInfo& info, const std::string& words, DWORD error) {
        const RecordedStarts starts;
        mExec.emplace();
        const CommandResult result = mExec->run(info, mFolder.utf8());
        EXPECT_EQ(result.code, Exec::notFoundCode);
        EXPECT_EQ(result.output, "");
        const std::string message = "Exec::runCommand couldn't " + words + ": It can't be";
        EXPECT_EQ(result.error, message);
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(mExec->errors(), Texts({message}));
        EXPECT_EQ(mExec->log(), "\twd: " + mFolder.utf8());
        EXPECT_EQ(mMessage.calls().back().number, error);
        EXPECT_TRUE(starts.calls().empty());
    }

    SystemMessage mMessage{L"It can't be."};
};

TEST_F(ExecStreamFailuresTest, AnInputThatIsNotThere) {
    Exec::RunInfo info = childInfo();
    info.mStdinFile = mFolder.utf8("none");
    expectFailure(info, "open file for standard input", ERROR_FILE_NOT_FOUND);
    info.mStdinFile = mFolder.utf8("none/none");
    expectFailure(info, "open file for standard input", ERROR_PATH_NOT_FOUND);
}

TEST_F(ExecStreamFailuresTest, AnInputThatIsAFolder) {
    Exec::RunInfo info = childInfo();
    info.mStdinFile = mFolder.utf8();
    expectFailure(info, "open file for standard input", ERROR_ACCESS_DENIED);
}

TEST_F(ExecStreamFailuresTest, APipeThatCannotBeMade) {
    const ReplacedCall<decltype(CreatePipe)> pipe(
        "CreatePipe", [](PHANDLE, PHANDLE, LPSECURITY_ATTRIBUTES attributes, DWORD size) -> BOOL {
            EXPECT_EQ(attributes->nLength, sizeof(SECURITY_ATTRIBUTES));
            EXPECT_EQ(attributes->lpSecurityDescriptor, nullptr);
            EXPECT_EQ(attributes->bInheritHandle, TRUE);
            EXPECT_EQ(size, 0U);
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    Exec::RunInfo info = childInfo();
    expectFailure(info, "create pipe for standard input", ERROR_ACCESS_DENIED);
}

HANDLE gWriteEnd = nullptr;
decltype(&CreatePipe) gCreatePipe = nullptr;
decltype(&CloseHandle) gClose = nullptr;

BOOL WINAPI createPipe(PHANDLE readEnd, PHANDLE writeEnd, LPSECURITY_ATTRIBUTES attributes,
                       DWORD size) {
    const BOOL isMade = gCreatePipe(readEnd, writeEnd, attributes, size);
    gWriteEnd = *writeEnd;
    return isMade;
}

BOOL WINAPI closeAllButTheWriteEnd(HANDLE handle) {
    const BOOL isClosed = gClose(handle);
    if (handle == gWriteEnd) {
        gWriteEnd = nullptr;
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return isClosed;
}

TEST_F(ExecStreamFailuresTest, APipeWhoseOtherEndCannotBeClosed) {
    const ReplacedCall<decltype(CreatePipe)> pipe("CreatePipe", &createPipe);
    gCreatePipe = pipe.original();
    const ReplacedCall<decltype(CloseHandle)> close("CloseHandle", &closeAllButTheWriteEnd);
    gClose = close.original();
    Exec::RunInfo info = childInfo();
    expectFailure(info, "close handle for standard input", ERROR_INVALID_HANDLE);
}

TEST_F(ExecStreamFailuresTest, ANamedFileThatCannotBeMade) {
    for (const StreamMode mode : {streamFile, streamAppend}) {
        Exec::RunInfo info = childInfo();
        info.mStdoutMode = mode;
        info.mStdoutFile = mFolder.utf8("none/out");
        expectFailure(info, "open file for standard output", ERROR_PATH_NOT_FOUND);
        info = childInfo();
        info.mStderrMode = mode;
        info.mStderrFile = mFolder.utf8("none/err");
        expectFailure(info, "open file for standard error", ERROR_PATH_NOT_FOUND);
    }
}

TEST_F(ExecStreamFailuresTest, ANamedFileThatIsAFolder) {
    Exec::RunInfo info = childInfo();
    info.mStdoutMode = info.mStderrMode = streamFile;
    info.mStdoutFile = info.mStderrFile = mFolder.utf8();
    expectFailure(info, "open file for standard output", ERROR_ACCESS_DENIED);
    info.mStdoutFile = mFolder.utf8("out");
    expectFailure(info, "open file for standard error", ERROR_ACCESS_DENIED);
    // It was made earlier.
    EXPECT_TRUE(exists(mFolder.path() / "out"));
}

TEST_F(ExecStreamFailuresTest, CapturesWithoutAFolderForThem) {
    const EnvironmentScope temporary("TMP", (mFolder.path() / "none").string());
    Exec::RunInfo info = childInfo();
    expectFailure(info, "open file for standard output", ERROR_DIRECTORY);
    info.mStdoutMode = streamFile;
    info.mStdoutFile = mFolder.utf8("out");
    expectFailure(info, "open file for standard error", ERROR_DIRECTORY);
}

std::vector<std::wstring> gPrefixes;
decltype(&GetTempFileNameW) gTempName = nullptr;

UINT WINAPI nameOnce(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR name) {
    gPrefixes.emplace_back(prefix);
    if (gPrefixes.size() > 1) {
        SetLastError(ERROR_FILE_EXISTS);
        return 0;
    }
    return gTempName(folder, prefix, number, name);
}

TEST_F(ExecStreamFailuresTest, ASecondCaptureWithoutAName) {
    gPrefixes.clear();
    const ReplacedCall<decltype(GetTempFileNameW)> name("GetTempFileNameW", &nameOnce);
    gTempName = name.original();
    Exec::RunInfo info = childInfo();
    expectFailure(info, "open file for standard error", ERROR_FILE_EXISTS);
    EXPECT_EQ(gPrefixes, (std::vector<std::wstring>{L"out", L"err"}));
}

TEST_F(ExecStreamFailuresTest, AModeThatIsNoneOpensNothing) {
    for (const StreamMode mode : {-1, 4}) {
        Exec::RunInfo info = childInfo();
        info.mStdoutMode = mode;
        expectFailure(info, "open file for standard output", ERROR_INVALID_PARAMETER);
        info = childInfo();
        info.mStderrMode = mode;
        expectFailure(info, "open file for standard error", ERROR_INVALID_PARAMETER);
    }
}

TEST_F(ExecStreamFailuresTest, TheTextGoesWhereFailuresGo) {
    const StandardFiles streams(mFolder);
    const std::string words = "Exec::runCommand couldn't open file for standard input: It can't be";
    for (const StreamChoice& choice : streamChoices) {
        mExec.emplace();
        Exec::RunInfo info = childInfo();
        info.mStdinFile = mFolder.utf8("none");
        info = choice.appliedTo(info);
        const CommandResult result = mExec->run(info);
        EXPECT_EQ(result.code, Exec::notFoundCode);
        choice.expectWords(result, words);
        EXPECT_EQ(mExec->errors(), Texts({words}));
    }
}

TEST_F(ExecStreamFailuresTest, ACopyThatFailsIsPutIntoTheMessageAndIsNoFailure) {
    const ReplacedCall<decltype(DuplicateHandle)> duplicate(
        "DuplicateHandle", [](HANDLE, HANDLE, HANDLE, LPHANDLE, DWORD, BOOL, DWORD) -> BOOL {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    ChildStreams streams;
    Exec::RunInfo info;
    info.mMergeOutput = true;
    std::string message;
    EXPECT_TRUE(setUpStreams(streams, info, message));
    EXPECT_EQ(message,
              "Exec::runCommand couldn't duplicate handle for standard error: It can't be");
    EXPECT_EQ(streams.mStartup.hStdError, streams.mStartup.hStdOutput);
    EXPECT_EQ(streams.mStartup.hStdError, streams.mOutputTempHandle);
    EXPECT_EQ(streams.mErrorTempHandle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(streams.mErrorTemp, "");
}

TEST_F(ExecStreamFailuresTest, NewStreamsAreNoneAndClosedOnesAgain) {
    ChildStreams streams;
    const auto expectNone = [&streams] {
        EXPECT_EQ(streams.mStartup.hStdInput, INVALID_HANDLE_VALUE);
        EXPECT_EQ(streams.mStartup.hStdOutput, INVALID_HANDLE_VALUE);
        EXPECT_EQ(streams.mStartup.hStdError, INVALID_HANDLE_VALUE);
        EXPECT_EQ(streams.mOutputTempHandle, INVALID_HANDLE_VALUE);
        EXPECT_EQ(streams.mErrorTempHandle, INVALID_HANDLE_VALUE);
        EXPECT_EQ(streams.mOutputTemp, "");
        EXPECT_EQ(streams.mErrorTemp, "");
    };
    expectNone();
    EXPECT_EQ(streams.mProcess.hProcess, INVALID_HANDLE_VALUE);
    EXPECT_EQ(streams.mProcess.hThread, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(streams.mStartup.lpDesktop, L"winsta0\\default");
    std::string message;
    EXPECT_TRUE(setUpStreams(streams, Exec::RunInfo(), message));
    EXPECT_EQ(message, "");
    EXPECT_EQ(captures().size(), 2U);
    streams.close();
    expectNone();
    EXPECT_EQ(captures().size(), 0U);
    // The object can be set up again.
    EXPECT_TRUE(setUpStreams(streams, Exec::RunInfo(), message));
}

}  // namespace
