// The alternate command, which replaces one that can't be started.

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

class ExecAlternateTest : public CommandTest {
protected:
    /// A missing program, with execchild and these actions as its alternate.
    static Exec::RunInfo alternateInfo(const std::string& actions) {
        Exec::RunInfo info;
        info.mDirectArgv = {"missing-program"};
        info.mAlternateArgv = {execChild(actions)};
        return info;
    }

    SystemMessage mMessage{L"It can't be."};
};

TEST_F(ExecAlternateTest, ItRunsWhereTheProgramIsMissing) {
    const RecordedStarts starts;
    Exec::RunInfo info = alternateInfo("say x complain y exit 3");
    const CommandResult result = mExec->run(info, mFolder.utf8());
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(result.error, "y");
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_EQ(mExec->log(),
              "\twd: " + mFolder.utf8() + "\tinvoking alternate command\n\twaiting for child pid " +
                  std::to_string(starts.last().process.dwProcessId) + "\n\texit code 3\n");
}

TEST_F(ExecAlternateTest, ItRunsWhereTheStreamsCannotBeSetUp) {
    const RecordedStarts starts;
    Exec::RunInfo info = alternateInfo("say x");
    info.mDirectArgv = {execChild("say wrong")};
    info.mStdinFile = mFolder.utf8("none");
    const CommandResult result = mExec->run(info);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_EQ(starts.calls().size(), 1U);
}

TEST_F(ExecAlternateTest, ItDoesNotRunWhereTheCommandDoesOrFailsForAnotherReason) {
    Exec::RunInfo info = alternateInfo("say alternate");
    info.mDirectArgv = {execChild("say x exit 255")};
    info.mStdoutMode = streamFile;
    info.mStdoutFile = mFolder.utf8("out");
    EXPECT_EQ(mExec->run(info).code, 255);
    EXPECT_EQ(testing_support::fileContent(mFolder.path() / "out"), "x");
    const RecordedStarts starts({ERROR_ACCESS_DENIED});
    EXPECT_EQ(mExec->run(info).code, Exec::failureCode);
    EXPECT_EQ(starts.calls().size(), 1U);
    // The redirections stay.
    EXPECT_EQ(info.mStdoutMode, streamFile);
    EXPECT_EQ(info.mStdoutFile, mFolder.utf8("out"));
}

TEST_F(ExecAlternateTest, ItIsStartedAsItIsWithAllElseOfTheCommand) {
    const RecordedStarts starts({ERROR_FILE_NOT_FOUND});
    Exec::RunInfo info = alternateInfo("say \xc3\xa4");
    info.mProgram = "named.exe";
    info.mAlternateArgv.emplace_back("not looked at");
    EXPECT_EQ(mExec->run(info, mFolder.utf8(), "a=1\0").output, "\xc3\xa4");
    ASSERT_EQ(starts.calls().size(), 2U);
    const RecordedStarts::Call& first = starts.calls()[0];
    const RecordedStarts::Call& second = starts.calls()[1];
    EXPECT_EQ(first.program, L"named.exe");
    EXPECT_EQ(second.program, std::nullopt);
    EXPECT_EQ(second.line, toWide(info.mAlternateArgv[0]));
    EXPECT_FALSE(second.hasAttributes);
    EXPECT_EQ(second.inherits, TRUE);
    EXPECT_EQ(second.flags, first.flags);
    EXPECT_EQ(second.environment, std::wstring(L"a=1\0", 4));
    EXPECT_EQ(second.directory, toWide(mFolder.utf8()));
    EXPECT_EQ(second.desktop, first.desktop);
    EXPECT_EQ(second.currentDirectory, mFolder.path().wstring());
}

TEST_F(ExecAlternateTest, ItGetsNewStreamsWithoutRedirections) {
    std::vector<std::multiset<std::string>> captured;
    const RecordedStarts starts({}, [&] { captured.push_back(captures()); });
    Exec::RunInfo info = alternateInfo("copy say x complain y");
    info.mStdinFile = mFolder.write("in", "input");
    info.mStdoutMode = streamFile;
    info.mStdoutFile = mFolder.utf8("out");
    info.mStderrMode = streamOutput;
    info.mStderrFile = "unused";
    const CommandResult result = mExec->run(info);
    EXPECT_EQ(result.output, "x");
    EXPECT_EQ(result.error, "y");
    EXPECT_EQ(testing_support::fileContent(mFolder.path() / "out"), "");
    EXPECT_EQ(info.mStdinFile, "");
    EXPECT_EQ(info.mStdoutFile, "");
    EXPECT_EQ(info.mStderrFile, "");
    EXPECT_EQ(info.mStdoutMode, streamOutput);
    EXPECT_EQ(info.mStderrMode, streamError);
    // The command's own captures are gone by then.
    EXPECT_EQ(captured, (std::vector<std::multiset<std::string>>{{"out"}, {"err", "out"}}));
}

TEST_F(ExecAlternateTest, ItsStreamsAreMergedAndCapturedAsTheCommands) {
    const StandardFiles streams(mFolder);
    Exec::RunInfo info = alternateInfo("say x complain y");
    info.mMergeOutput = true;
    EXPECT_EQ(mExec->run(info).output, "xy");
    info.mCaptureOutput = false;
    EXPECT_EQ(mExec->run(info).output, "");
    EXPECT_EQ(streams.outputContent(), "xy");
}

TEST_F(ExecAlternateTest, ItsExitCodeIsReadAsThatOfTheCygwinCommand) {
    Exec::RunInfo info = alternateInfo("exit 0x100");
    info.mCygwinCommand = true;
    mExec->cygwinVersion() = std::tuple(1005, 13);
    EXPECT_EQ(mExec->run(info).code, 1);
    info = alternateInfo("exit 0x900");
    info.mCygwinCommand = true;
    mExec->cygwinVersion() = std::tuple(0, 0);
    EXPECT_EQ(mExec->run(info).code, 0x900);
    EXPECT_EQ(mExec->childSignal(), 9U);
}

TEST_F(ExecAlternateTest, AFailedAlternateIsNotReported) {
    Exec::RunInfo info = alternateInfo("");
    for (const std::string& alternate : {std::string("missing-alternate"), std::string("\"\"")}) {
        info.mAlternateArgv = {alternate};
        const CommandResult result = mExec->run(info, mFolder.utf8());
        EXPECT_EQ(result.code, Exec::notFoundCode);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, "");
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(mExec->errors(), Texts());
        EXPECT_EQ(mExec->log(), "\twd: " + mFolder.utf8() + "\tinvoking alternate command\n");
    }
    const RecordedStarts starts({ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED});
    EXPECT_EQ(mExec->run(info).code, Exec::notFoundCode);
    EXPECT_EQ(starts.calls().size(), 2U);
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecAlternateTest, WhereItsStreamsCannotBeSetUpTheRunFails) {
    const ReplacedCall<decltype(CreatePipe)> pipe(
        "CreatePipe", [](PHANDLE, PHANDLE, LPSECURITY_ATTRIBUTES, DWORD) -> BOOL {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    const std::string words =
        "Exec::runCommand couldn't create pipe for standard input: It can't be";
    const std::string inputs[] = {
        "",                       // the command's pipe can't be made either
        mFolder.write("in", ""),  // the program is missing
        mFolder.utf8("none"),     // the command's input is
    };
    for (const std::string& input : inputs) {
        mExec.emplace();
        Exec::RunInfo info = alternateInfo("say x");
        info.mStdinFile = input;
        const CommandResult result = mExec->run(info, mFolder.utf8());
        EXPECT_EQ(result.code, Exec::failureCode);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, words);
        EXPECT_EQ(mExec->errors(), Texts({words}));
        EXPECT_EQ(mExec->log(), "\twd: " + mFolder.utf8());
        EXPECT_EQ(info.mStdinFile, "");
    }
}

TEST_F(ExecAlternateTest, ItsOwnRuleWatchesIt) {
    mExec->setStallRules({{"missing-program", 1000}, {".*execchild.*", 2000}});
    Exec::RunInfo info = alternateInfo("");
    EXPECT_EQ(mExec->run(info).code, 0);
    EXPECT_EQ(mExec->currentRule(), &mExec->stallRules().back());
    EXPECT_EQ(mExec->stallCountdown(), 2000);
    EXPECT_EQ(mExec->mJobPattern, ".*execchild.*");
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecAlternateTest, OneWithoutARuleIsNotWatched) {
    mExec->setStallRules({{"missing-program", 1000}});
    Exec::RunInfo info = alternateInfo("");
    EXPECT_EQ(mExec->run(info).code, 0);
    EXPECT_EQ(mExec->currentRule(), nullptr);
    EXPECT_EQ(mExec->stallCountdown(), 0);
    EXPECT_EQ(mExec->mJobPattern, "missing-program");
}

TEST_F(ExecAlternateTest, ReportsNameTheCommandAndNotTheAlternate) {
    mExec->setOutputLimits(1, 1);
    Exec::RunInfo info = alternateInfo("say xy");
    EXPECT_TRUE(mExec->run(info).output.starts_with(
        "\n***\n*** The command:\n***\n***     missing-program\n***\n*** produced 2 bytes"));
}

}  // namespace
