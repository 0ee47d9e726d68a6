// Where a command's streams go.

#include <array>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/beforeresume-win.h"
#include "testing/calls/recordedstarts-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;
using Captures = std::multiset<std::string>;

class ExecStreamsTest : public CommandTest {
protected:
    std::string content(const char* name) const { return fileContent(mFolder.path() / name); }
};

/// The places where text of a command can end up.
struct Places {
    std::string output;  ///< captured
    std::string error;
    std::string standardOutput;  ///< the caller's
    std::string standardError;
    std::string outputFile = "before";
    std::string errorFile = "before";
    bool operator==(const Places&) const = default;
};

void PrintTo(const Places& places, std::ostream* out) {
    *out << "{output '" << places.output << "', error '" << places.error << "', standard output '"
         << places.standardOutput << "', standard error '" << places.standardError
         << "', output file '" << places.outputFile << "', error file '" << places.errorFile
         << "'}";
}

/// Puts the text where a stream in this mode has to write it; `file` is the file that the stream
/// names.
void put(Places& places, StreamMode mode, bool capture, std::string& file, const char* text) {
    switch (mode) {
        case streamOutput:
            (capture ? places.output : places.standardOutput) += text;
            break;
        case streamError:
            (capture ? places.error : places.standardError) += text;
            break;
        case streamFile:
            file = text;
            break;
        default:  // streamAppend
            file += text;
    }
}

TEST_F(ExecStreamsTest, EachModeOfEachStreamHasItsPlace) {
    for (int row = 0; row < 64; ++row) {
        const StreamMode outputMode = row & 3;
        const StreamMode errorMode = row >> 2 & 3;
        const bool capture = (row & 16) != 0;
        const bool merge = (row & 32) != 0;
        if (merge && outputMode != streamError && errorMode != streamError) {
            continue;  // merging makes no difference
        }
        Places expected;
        put(expected, merge && outputMode == streamError ? streamOutput : outputMode, capture,
            expected.outputFile, "x");
        put(expected, merge && errorMode == streamError ? streamOutput : errorMode, capture,
            expected.errorFile, "y");

        const StandardFiles streams(mFolder);
        Exec::RunInfo info = childInfo("say x complain y");
        info.mStdoutMode = outputMode;
        info.mStderrMode = errorMode;
        info.mCaptureOutput = capture;
        info.mMergeOutput = merge;
        info.mStdoutFile = mFolder.write("out", "before");
        info.mStderrFile = mFolder.write("err", "before");
        const CommandResult result = mExec->run(info);
        EXPECT_EQ(result.code, 0);
        const Places found = {result.output,          result.error,   streams.outputContent(),
                              streams.errorContent(), content("out"), content("err")};
        EXPECT_EQ(found, expected) << "modes " << outputMode << ' ' << errorMode << " capture "
                                   << capture << " merge " << merge;
    }
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecStreamsTest, CapturesAreMadeForTheModesThatNeedThem) {
    struct Row {
        StreamMode output;
        StreamMode error;
        bool merge;
        bool capture;
        Captures captures;
    };
    const Row rows[] = {
        {streamOutput, streamError, false, true, {"err", "out"}},
        {streamError, streamOutput, false, true, {"err", "out"}},
        {streamOutput, streamOutput, false, true, {"out"}},
        {streamError, streamError, false, true, {"err"}},
        {streamFile, streamError, false, true, {"err"}},
        {streamOutput, streamAppend, false, true, {"out"}},
        {streamFile, streamAppend, false, true, {}},
        {streamOutput, streamError, true, true, {"out"}},
        {streamError, streamError, true, true, {"out"}},
        {streamOutput, streamError, false, false, {}},
    };
    const StandardFiles streams(mFolder);
    for (const Row& row : rows) {
        Captures found;
        const BeforeResume resumed([&](HANDLE) { found = captures(); });
        Exec::RunInfo info = childInfo();
        info.mStdoutMode = row.output;
        info.mStderrMode = row.error;
        info.mMergeOutput = row.merge;
        info.mCaptureOutput = row.capture;
        info.mStdoutFile = mFolder.utf8("out");
        info.mStderrFile = mFolder.utf8("err");
        EXPECT_EQ(mExec->run(info).code, 0);
        EXPECT_EQ(found, row.captures) << row.output << ' ' << row.error;
        EXPECT_EQ(captures(), Captures());
    }
}

TEST_F(ExecStreamsTest, StreamsOfOneFileShareItsPosition) {
    struct Row {
        StreamMode output;
        StreamMode error;
        const char* content;
    };
    for (const Row& row :
         {Row{streamFile, streamFile, "abcd"}, Row{streamFile, streamAppend, "abcd"},
          Row{streamAppend, streamFile, "beforeabcd"},
          Row{streamAppend, streamAppend, "beforeabcd"}}) {
        Exec::RunInfo info = childInfo("say a complain b say c complain d");
        info.mStdoutMode = row.output;
        info.mStderrMode = row.error;
        info.mStdoutFile = info.mStderrFile = mFolder.write("out", "before");
        EXPECT_EQ(mExec->run(info).code, 0);
        EXPECT_EQ(content("out"), row.content) << row.output << ' ' << row.error;
    }
}

TEST_F(ExecStreamsTest, StreamsOfOneCaptureOrOneOfTheCallersShareItsPosition) {
    const StandardFiles streams(mFolder);
    for (const StreamMode mode : {streamOutput, streamError}) {
        Exec::RunInfo info = childInfo("say a complain b say c complain d handles");
        info.mStdoutMode = info.mStderrMode = mode;
        const std::string words = "abcdpipe\ndisk 4\ndisk 4\nsame file\n";
        const CommandResult result = mExec->run(info);
        EXPECT_EQ(result.output, mode == streamOutput ? words : "");
        EXPECT_EQ(result.error, mode == streamError ? words : "");
        info.mCaptureOutput = false;
        EXPECT_EQ(mExec->run(info).output, "");
        EXPECT_EQ(mode == streamOutput ? streams.outputContent() : streams.errorContent(), words);
    }
}

TEST_F(ExecStreamsTest, OneFileByTwoSpellingsHasTwoPositions) {
    Exec::RunInfo info = childInfo("say abc complain X");
    info.mStdoutMode = info.mStderrMode = streamFile;
    info.mStdoutFile = mFolder.utf8("out");
    info.mStderrFile = mFolder.utf8("./out");
    EXPECT_EQ(mExec->run(info).code, 0);
    EXPECT_EQ(content("out"), "Xbc");
}

TEST_F(ExecStreamsTest, CapturesAreTwoFilesThatBeginEmpty) {
    EXPECT_EQ(mExec->run(execChild("handles")).output, "pipe\ndisk 0\ndisk 0\ndifferent files\n");
}

TEST_F(ExecStreamsTest, AnAppendedFileIsOpenedAtItsEnd) {
    Exec::RunInfo info = childInfo("handles");
    info.mStderrMode = streamAppend;
    info.mStderrFile = mFolder.write("err", "1234567");
    EXPECT_EQ(mExec->run(info).output, "pipe\ndisk 0\ndisk 7\ndifferent files\n");
}

TEST_F(ExecStreamsTest, NamedFilesAreMadeWhereTheyAreMissing) {
    for (const StreamMode mode : {streamFile, streamAppend}) {
        Exec::RunInfo info = childInfo("say x complain y");
        info.mStdoutMode = info.mStderrMode = mode;
        info.mStdoutFile = mFolder.utf8("out" + std::to_string(mode));
        info.mStderrFile = mFolder.utf8("err" + std::to_string(mode));
        EXPECT_EQ(mExec->run(info).code, 0);
    }
    for (const char* name : {"out2", "out3"}) {
        EXPECT_EQ(content(name), "x");
    }
    for (const char* name : {"err2", "err3"}) {
        EXPECT_EQ(content(name), "y");
    }
}

TEST_F(ExecStreamsTest, WithoutAFileTheInputIsAtItsEndAtOnce) {
    const CommandResult result = mExec->run(execChild("copy say x"));
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "x");
}

TEST_F(ExecStreamsTest, AFileIsReadFromItsStart) {
    const std::string text = std::string("a\r\n\0\x1a\xff", 6) + std::string(100000, 'x');
    Exec::RunInfo info = childInfo("copy");
    info.mStdinFile = mFolder.write("in", text);
    EXPECT_TRUE(mExec->run(info).output == text);
    info.mDirectArgv = {execChild("handles")};
    EXPECT_EQ(mExec->run(info).output, "disk 0\ndisk 0\ndisk 0\ndifferent files\n");
    info.mStdinFile = mFolder.write("empty", "");
    info.mDirectArgv = {execChild("copy")};
    EXPECT_EQ(mExec->run(info).output, "");
}

TEST_F(ExecStreamsTest, NamesOfFilesMayBeOfAnyAlphabet) {
    const std::string name = "\xc3\xa4 \xe4\xb8\xad \xf0\x9f\x98\x80";
    const auto file = [&](const wchar_t* kind) {
        return mFolder.path() / std::wstring(L"\u00e4 \u4e2d \U0001f600 ").append(kind);
    };
    Exec::RunInfo info = childInfo("copy complain y");
    info.mStdinFile = mFolder.write(name + " in", "input");
    info.mStdoutMode = streamFile;
    info.mStderrMode = streamAppend;
    info.mStdoutFile = mFolder.utf8(name + " out");
    info.mStderrFile = mFolder.write(name + " err", "x");
    EXPECT_EQ(mExec->run(info).code, 0);
    EXPECT_EQ(fileContent(file(L"out")), "input");
    EXPECT_EQ(fileContent(file(L"err")), "xy");
}

TEST_F(ExecStreamsTest, RelativeNamesAreSeenFromTheWorkingDirectory) {
    mFolder.write("in", "input");
    Exec::RunInfo info = childInfo("copy complain y");
    info.mStdinFile = "in";
    info.mStdoutMode = info.mStderrMode = streamFile;
    info.mStdoutFile = "out";
    info.mStderrFile = "err";
    EXPECT_EQ(mExec->run(info, mFolder.utf8()).code, 0);
    EXPECT_EQ(content("out"), "input");
    EXPECT_EQ(content("err"), "y");
}

bool isInheritable(HANDLE handle) {
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(handle, &flags));
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}

std::array<HANDLE, 3> streamsOf(const STARTUPINFOW& startup) {
    return {startup.hStdInput, startup.hStdOutput, startup.hStdError};
}

TEST_F(ExecStreamsTest, OnceTheChildIsMadeNoOtherChildGetsItsStreams) {
    for (const bool merge : {false, true}) {
        std::vector<bool> isInherited;
        const RecordedStarts starts;
        const BeforeResume resumed([&](HANDLE) {
            for (HANDLE handle : streamsOf(starts.last().startup)) {
                isInherited.push_back(isInheritable(handle));
            }
        });
        Exec::RunInfo info = childInfo("say x");
        info.mMergeOutput = merge;
        EXPECT_EQ(mExec->run(info).output, "x");
        EXPECT_EQ(isInherited, std::vector<bool>(3, false));
    }
}

TEST_F(ExecStreamsTest, TheCallersOwnStreamsStayOpenAndInheritable) {
    const StandardFiles streams(mFolder);
    for (const StreamMode output : {streamOutput, streamError}) {
        for (const StreamMode error : {streamOutput, streamError}) {
            Exec::RunInfo info = childInfo();
            info.mCaptureOutput = false;
            info.mStdoutMode = output;
            info.mStderrMode = error;
            EXPECT_EQ(mExec->run(info).code, 0);
            info.mDirectArgv = {"missing-program"};
            EXPECT_EQ(mExec->run(info).code, Exec::notFoundCode);
            EXPECT_TRUE(isInheritable(streams.output()));
            EXPECT_TRUE(isInheritable(streams.error()));
        }
    }
}

TEST_F(ExecStreamsTest, TheCallersOwnStreamsAreGivenToTheChild) {
    const StandardFiles streams(mFolder);
    const RecordedStarts starts;
    Exec::RunInfo info = childInfo();
    info.mCaptureOutput = false;
    EXPECT_EQ(mExec->run(info).code, 0);
    EXPECT_EQ(starts.last().startup.hStdOutput, streams.output());
    EXPECT_EQ(starts.last().startup.hStdError, streams.error());
    std::swap(info.mStdoutMode, info.mStderrMode);
    EXPECT_EQ(mExec->run(info).code, 0);
    EXPECT_EQ(starts.last().startup.hStdOutput, streams.error());
    EXPECT_EQ(starts.last().startup.hStdError, streams.output());
}

}  // namespace
