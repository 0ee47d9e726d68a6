// Commands that are started with the rights of a token.

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/duplicatedtoken-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/processes/posixworld-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/security/accesstoken-win.h"

namespace {

using namespace testing_support;

class ExecRunAsTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        Exec::setRunAsToken(duplicatedToken());
    }
    void TearDown() override {
        Exec::setRunAsToken({});
        CommandTest::TearDown();
    }
    static HANDLE token() { return Exec::runAsToken()->token(); }
};

TEST_F(CommandTest, ThereIsNoTokenAtFirst) { EXPECT_EQ(Exec::runAsToken(), nullptr); }

TEST_F(ExecRunAsTest, ACommandRunsUnderTheTokenWithAllElseAsBefore) {
    const std::string line = execChild("say x complain y exit 3");
    const RecordedStarts starts;
    const CommandResult asUser = mExec->run(line, mFolder.utf8());
    Exec::setRunAsToken({});
    const CommandResult asProcess = mExec->run(line, mFolder.utf8());
    EXPECT_EQ(asUser.code, 3);
    EXPECT_EQ(asUser.output, "x");
    EXPECT_EQ(asUser.error, "y");
    EXPECT_EQ(asProcess.code, 3);
    ASSERT_EQ(starts.calls().size(), 2U);
    const RecordedStarts::Call& user = starts.calls()[0];
    const RecordedStarts::Call& process = starts.calls()[1];
    EXPECT_NE(user.token, nullptr);
    EXPECT_EQ(process.token, nullptr);
    EXPECT_EQ(user.program, process.program);
    EXPECT_EQ(user.line, process.line);
    EXPECT_FALSE(user.hasAttributes);
    EXPECT_EQ(user.inherits, TRUE);
    EXPECT_EQ(user.flags, process.flags);
    EXPECT_EQ(user.environment, process.environment);
    EXPECT_EQ(user.directory, process.directory);
    EXPECT_EQ(user.desktop, process.desktop);
    EXPECT_EQ(user.startup.dwFlags, process.startup.dwFlags);
}

TEST_F(ExecRunAsTest, TheTokenIsTheOneThatWasSet) {
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(starts.last().token, token());
}

TEST_F(ExecRunAsTest, TheTokenIsKeptUntilAnotherIsSet) {
    const HANDLE first = token();
    Exec::setRunAsToken(Exec::runAsToken());
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(first, &flags));
    Exec::setRunAsToken({});
    EXPECT_EQ(Exec::runAsToken(), nullptr);
    EXPECT_FALSE(GetHandleInformation(first, &flags));
}

TEST_F(ExecRunAsTest, AnAlternateIsStartedWithTheRightsOfTheProcess) {
    Exec::RunInfo info;
    info.mDirectArgv = {"missing-program"};
    info.mAlternateArgv = {execChild("say x")};
    const RecordedStarts starts;
    const CommandResult result = mExec->run(info);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "x");
    ASSERT_EQ(starts.calls().size(), 2U);
    EXPECT_EQ(starts.calls()[0].token, token());
    EXPECT_EQ(starts.calls()[1].token, nullptr);
    // The next command has the token again.
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(starts.last().token, token());
}

TEST_F(ExecRunAsTest, AnAlternateForFailedStreamsHasTheRightsOfTheProcessToo) {
    Exec::RunInfo info;
    info.mDirectArgv = {execChild("say wrong")};
    info.mAlternateArgv = {execChild("say x")};
    info.mStdinFile = mFolder.utf8("none");
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run(info).output, "x");
    ASSERT_EQ(starts.calls().size(), 1U);
    EXPECT_EQ(starts.last().token, nullptr);
}

TEST_F(ExecRunAsTest, AScriptIsStartedUnderTheTokenBothTimes) {
    PosixWorld world(mFolder);
    world.program("/bin/sh.exe");
    world.write("/tools/bin/script");
    Exec::RunInfo info;
    info.mDirectArgv = {"/tools/bin/script"};
    info.mCygwinCommand = true;
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run(info, mFolder.utf8()).code, 0);
    ASSERT_GE(starts.calls().size(), 2U);
    EXPECT_EQ(starts.calls().front().line, L"/tools/bin/script");
    EXPECT_EQ(starts.calls().front().token, token());
    EXPECT_NE(starts.last().line, L"/tools/bin/script");
    EXPECT_EQ(starts.last().token, token());
}

TEST_F(ExecRunAsTest, AStartThatFailsIsReportedAsAnyOther) {
    const RecordedStarts starts({ERROR_PRIVILEGE_NOT_HELD});
    const CommandResult result = mExec->run(execChild());
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_TRUE(result.error.starts_with("Exec::runCommand couldn't create process (cmd='"))
        << result.error;
    EXPECT_EQ(mExec->errors(), std::vector<std::string>{result.error});
}

}  // namespace
