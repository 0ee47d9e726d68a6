// Runs of Cygwin commands that Windows can't start. Links: cygwinlink-win_test.cpp.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/environmentblock.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/processes/posixworld-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/utf8path.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

class ExecScriptTest : public CommandTest {
protected:
    ExecScriptTest() { create_directory(mFolder.path() / "work"); }

    static Exec::RunInfo cygwinInfo(const std::string& line) {
        Exec::RunInfo info;
        info.mDirectArgv = {line};
        info.mCygwinCommand = true;
        return info;
    }
    CommandResult run(const std::string& line, const char* environment = nullptr) {
        Exec::RunInfo info = cygwinInfo(line);
        return mExec->run(info, mDirectory, environment);
    }
    /// The log up to where the child waits or the run ends.
    std::string logUpToWait() {
        const std::string log = mExec->log();
        return log.substr(0, log.find("\twaiting for child pid "));
    }
    std::string logOf(const std::string& command, const std::string& line) const {
        std::string log = "\twd: " + mDirectory;
        return log.append("\tAssuming '")
            .append(command)
            .append("' is a script; invoking it with '")
            .append(line)
            .append("'.\n");
    }

    PosixWorld mWorld{mFolder};
    /// The directory of the commands: names below it would become relative.
    std::string mDirectory = mFolder.utf8("work");
    std::string mShell = mWorld.program("/bin/sh.exe");
};

TEST_F(ExecScriptTest, AScriptRunsByItsInterpreter) {
    const std::string content = "#!/bin/sh -x\necho \xc3\xa4\n";
    const std::string script = mWorld.write("/tools/bin/script", content);
    const RecordedStarts starts;
    // Its last word is the script.
    const CommandResult result = run("/tools/bin/script");
    const std::string line = mShell + " -x " + script;
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, line + "\n" + content);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_EQ(logUpToWait(), logOf("/tools/bin/script", line));
    EXPECT_EQ(starts.last().program, std::nullopt);
    EXPECT_EQ(starts.last().line, toWide(line));
}

TEST_F(ExecScriptTest, TheSecondStartIsLikeTheFirstButForProgramAndLine) {
    mWorld.write("/tools/bin/script");
    const std::string block = environmentBlock({"A=1", "PATH=" + utf8(PosixWorld::tools()),
                                                "SystemRoot=" + toUtf8(_wgetenv(L"SystemRoot"))});
    const RecordedStarts starts;
    EXPECT_EQ(run("/tools/bin/script a", block.c_str()).code, 0);
    const RecordedStarts::Call& first = starts.calls().front();
    const RecordedStarts::Call& second = starts.last();
    EXPECT_EQ(first.line, L"/tools/bin/script a");
    EXPECT_FALSE(second.hasAttributes);
    EXPECT_EQ(second.inherits, TRUE);
    EXPECT_EQ(second.flags, first.flags);
    EXPECT_EQ(second.environment, first.environment);
    EXPECT_EQ(second.directory, toWide(mDirectory));
    EXPECT_EQ(second.startup.hStdInput, first.startup.hStdInput);
    EXPECT_EQ(second.startup.hStdOutput, first.startup.hStdOutput);
    EXPECT_EQ(second.startup.hStdError, first.startup.hStdError);
    EXPECT_EQ(second.currentDirectory, first.currentDirectory);
    EXPECT_EQ(second.path, first.path);
}

TEST_F(ExecScriptTest, OfAQuotedNameTheQuoteIsBetweenFileAndArguments) {
    const std::string script = mWorld.write("/tools/bin/script");
    EXPECT_EQ(run("\"/tools/bin/script\" a b").output, mShell + " " + script + "\" a b\n");
}

TEST_F(ExecScriptTest, AProgramByAPosixNameRuns) {
    const std::string tool = mWorld.program("/tools/bin/tool.exe");
    EXPECT_EQ(run("/tools/bin/tool a \"b c\"").output, tool + "  a \"b c\"\n");
}

TEST_F(ExecScriptTest, TheToolsAndTheScriptAreSearchedInThePathOfTheCommand) {
    const std::string script = mWorld.write("/tools/bin/script.x");
    const EnvironmentScope own("PATH", (mWorld.root() / "bin").string());
    EXPECT_EQ(run("script.x a").code, Exec::notFoundCode);
    mExec->reset();
    const std::string block =
        environmentBlock({"PATH=" + mWorld.native("/tools/bin") + ";" + utf8(PosixWorld::tools())});
    EXPECT_EQ(run("script.x a", block.c_str()).output, mShell + " " + script + " a\n");
}

TEST_F(ExecScriptTest, ThePathOfTheCommandMayBeOfAnyAlphabet) {
    const std::string folder = "/tools/\xe4\xb8\xad";
    create_directory(mWorld.root() / "tools" / L"\u4E2D");
    const std::string script = mWorld.write(folder + "/script.x");
    const std::string block =
        environmentBlock({"PATH=" + mWorld.native(folder) + ";" + utf8(PosixWorld::tools())});
    EXPECT_EQ(run("script.x a", block.c_str()).output, mShell + " " + script + " a\n");
}

TEST_F(ExecScriptTest, TheThreeErrorsOfAMissingProgramMakeTheAttempt) {
    const std::string script = mWorld.write("/tools/bin/script");
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_BAD_EXE_FORMAT}) {
        mExec->reset();
        const RecordedStarts starts({error});
        EXPECT_EQ(run("/tools/bin/script a").output, mShell + " " + script + " a\n") << error;
        EXPECT_EQ(starts.calls().size(), 4U) << error;
    }
    for (const DWORD error : {ERROR_INVALID_FUNCTION, ERROR_ACCESS_DENIED, ERROR_INVALID_PARAMETER,
                              ERROR_EXE_MACHINE_TYPE_MISMATCH}) {
        const RecordedStarts starts({error});
        EXPECT_EQ(run("/tools/bin/script a").code, Exec::failureCode) << error;
        EXPECT_EQ(starts.calls().size(), 1U) << error;
        EXPECT_EQ(mExec->log(), "\twd: " + mDirectory) << error;
    }
}

TEST_F(ExecScriptTest, AnyOtherCommandIsNotFoundAtOnce) {
    mWorld.write("/tools/bin/script");
    const RecordedStarts starts;
    const CommandResult result = mExec->run("/tools/bin/script a", mDirectory);
    EXPECT_EQ(result.code, Exec::notFoundCode);
    EXPECT_EQ(result.error, "'/tools/bin/script a': Command not found\n");
    EXPECT_EQ(starts.calls().size(), 1U);
    EXPECT_EQ(mExec->mPathCacheMisses, 0U);
}

TEST_F(ExecScriptTest, ACommandThatIsNoScriptEitherIsNotFound) {
    const RecordedStarts starts;
    const CommandResult result = run("/tools/bin/none a");
    EXPECT_EQ(result.code, Exec::notFoundCode);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "'/tools/bin/none a': Command not found\n");
    EXPECT_EQ(mExec->errors(), Texts());
    EXPECT_EQ(mExec->log(), "\twd: " + mDirectory);
    // The other start is of cygpath.
    EXPECT_EQ(starts.calls().size(), 2U);
    EXPECT_EQ(run("/tools/bin/none a").code, Exec::notFoundCode);
    EXPECT_EQ(starts.calls().size(), 3U);
}

TEST_F(ExecScriptTest, TheAttemptIsMadeOnce) {
    const std::string script = mWorld.write("/tools/bin/script");
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_BAD_EXE_FORMAT}) {
        mExec->reset();
        // Between the two, cygpath runs for the script and the interpreter.
        const RecordedStarts starts({error, NO_ERROR, NO_ERROR, error});
        const CommandResult result = run("/tools/bin/script a");
        EXPECT_EQ(result.code, Exec::notFoundCode) << error;
        EXPECT_EQ(result.error, "'/tools/bin/script a': Command not found\n");
        EXPECT_EQ(mExec->log(), logOf("/tools/bin/script a", mShell + " " + script + " a"));
        EXPECT_EQ(starts.calls().size(), 4U);
    }
}

TEST_F(ExecScriptTest, AnotherFailureOfTheAttemptIsReportedWithTheLengthOfItsLine) {
    const std::string script = mWorld.write("/tools/bin/script");
    const RecordedStarts starts({ERROR_BAD_EXE_FORMAT, NO_ERROR, NO_ERROR, ERROR_ACCESS_DENIED});
    const CommandResult result = run("/tools/bin/script a");
    EXPECT_EQ(result.code, Exec::failureCode);
    const size_t length = (mShell + " " + script + " a").size();
    EXPECT_NE(result.error.find("(cmd='/tools/bin/script a'; "), std::string::npos) << result.error;
    EXPECT_NE(result.error.find("; Command line length=" + std::to_string(length) + "; "),
              std::string::npos)
        << result.error;
    EXPECT_EQ(mExec->errors(), Texts({result.error}));
}

TEST_F(ExecScriptTest, AnInterpreterThatIsNotFoundMeansThatTheCommandIsNot) {
    for (const char* content :
         {"#!/tools/bin/none\n", "#!/tools/bin/none a\n", "#! /bin/sh\n", "MZ"}) {
        mWorld.write("/tools/bin/script", content);
        const CommandResult result = run("/tools/bin/script a");
        EXPECT_EQ(result.code, Exec::notFoundCode) << content;
        EXPECT_EQ(result.error, "'/tools/bin/script a': Command not found\n") << content;
    }
}

TEST_F(ExecScriptTest, TheAlternateTakesThePlaceOfWhatIsNoScript) {
    Exec::RunInfo info = cygwinInfo("/tools/bin/none");
    info.mAlternateArgv = {execChild("say alternate")};
    EXPECT_EQ(mExec->run(info).output, "alternate");
    const RecordedStarts starts({ERROR_FILE_NOT_FOUND, NO_ERROR, NO_ERROR, ERROR_FILE_NOT_FOUND});
    mWorld.write("/tools/bin/script");
    info = cygwinInfo("/tools/bin/script");
    info.mAlternateArgv = {execChild("say alternate")};
    EXPECT_EQ(mExec->run(info).output, "alternate");
    EXPECT_EQ(starts.calls().size(), 5U);
}

TEST_F(ExecScriptTest, TheAlternateIsNoScriptItself) {
    mWorld.write("/tools/bin/script");
    Exec::RunInfo info = cygwinInfo("/tools/bin/none");
    info.mAlternateArgv = {"/tools/bin/script"};
    const CommandResult result = mExec->run(info);
    EXPECT_EQ(result.code, Exec::notFoundCode);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(mExec->mPathCache.count("/tools/bin/script"), 0U);
}

TEST_F(ExecScriptTest, ANamedProgramThatIsMissingLeavesTheLineToTheAttempt) {
    const std::string script = mWorld.write("/tools/bin/script");
    Exec::RunInfo info = cygwinInfo("/tools/bin/script a");
    info.mProgram = mFolder.utf8("none.exe");
    EXPECT_EQ(mExec->run(info).output, mShell + " " + script + " a\n");
}

TEST_F(ExecScriptTest, TheLogShowsWhatTheLocaleHasNoCharacterForAsAQuestionMark) {
    const std::string name = "/tools/bin/\xe4\xb8\xad";
    mWorld.write(name);
    EXPECT_EQ(run(name + " \xe4\xb8\xad").code, 0);
    EXPECT_EQ(logUpToWait(),
              logOf(name + " \xe4\xb8\xad", mShell + " " + mWorld.native("/tools/bin/? ?")));
}

TEST_F(ExecScriptTest, ASecondRunAsksNothing) {
    mWorld.write("/tools/bin/script");
    EXPECT_EQ(run("/tools/bin/script").code, 0);
    EXPECT_EQ(mExec->mPathCacheMisses, 2U);
    const RecordedStarts starts;
    EXPECT_EQ(run("/tools/bin/script").code, 0);
    EXPECT_EQ(starts.calls().size(), 2U);
    EXPECT_EQ(mExec->mPathCacheHits, 2U);
}

}  // namespace
