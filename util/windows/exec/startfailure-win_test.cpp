// Commands that can't be started.

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

constexpr DWORD denied = ERROR_ACCESS_DENIED;
constexpr DWORD elevationRequired = 740;  // not in the headers

class ExecStartFailureTest : public CommandTest {
protected:
    /// Runs a command with that line; the start fails with an error that doesn't mean a missing
    /// program.
    CommandResult refuse(Exec::RunInfo& info, const std::string& directory = {},
                         const char* environment = nullptr, DWORD error = denied) {
        const RecordedStarts starts({error});
        CommandResult result = mExec->run(info, directory, environment);
        EXPECT_EQ(starts.calls().size(), 1U);
        EXPECT_EQ(mMessage.calls().back().number, error);
        return result;
    }
    CommandResult refuse(const std::string& line, const std::string& directory = {},
                         const char* environment = nullptr, DWORD error = denied) {
        Exec::RunInfo info;
        info.mDirectArgv = {line};
        return refuse(info, directory, environment, error);
    }

    SystemMessage mMessage{L"It can't be."};

private:
    static HANDLE WINAPI noConsole(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD,
                                   HANDLE) {
        return INVALID_HANDLE_VALUE;
    }
    ReplacedCall<decltype(CreateFileA)> mConsole{"CreateFileA", &noConsole};
};

/// The report of a start that failed.
struct FailureReport {
    std::string command;
    std::string flags = "60c";
    std::string variables = "0";
    std::string aborted = "0";
    size_t lineLength = 0;
    std::string blockLength = "0";
    std::string directory = {};

    std::string words() const {
        return "Exec::runCommand couldn't create process (cmd='" + command + "'; flags=0x" + flags +
               ";\nenv=" + variables + " vars; aborted=" + aborted +
               "; Command line length=" + std::to_string(lineLength) +
               "; Environment block length=" + blockLength + "'; working directory '" + directory +
               "': It can't be.\n";
    }
};

TEST_F(ExecStartFailureTest, TheReportOfAFailedStartShowsWhatMayHaveCausedIt) {
    const std::string line = execChild("say x");
    const CommandResult result = refuse(line, mFolder.utf8(), "b=2\0a=1\0c\0");
    const std::string words = FailureReport{.command = line,
                                            .variables = "3",
                                            .lineLength = line.size(),
                                            .blockLength = "11",
                                            .directory = mFolder.utf8()}
                                  .words();
    EXPECT_EQ(result.code, Exec::failureCode);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, words);
    EXPECT_FALSE(result.aborted);
    EXPECT_EQ(mExec->errors(), Texts({words}));
    EXPECT_EQ(mExec->log(), "\twd: " + mFolder.utf8());
    EXPECT_EQ(mExec->mPid, Exec::noPid);
}

TEST_F(ExecStartFailureTest, ANullEnvironmentHasLength0AndAnEmptyOneHasLength1) {
    const std::string line = execChild();
    FailureReport report{.command = line, .lineLength = line.size()};
    EXPECT_EQ(refuse(line).error, report.words());
    report.blockLength = "1";
    EXPECT_EQ(refuse(line, "", "").error, report.words());
}

TEST_F(ExecStartFailureTest, TheFlagsAreThoseOfAJobAsWell) {
    const std::string line = execChild();
    mExec->setStallRules({{".*execchild.*", 1000}});
    EXPECT_EQ(
        refuse(line).error,
        (FailureReport{.command = line, .flags = "100060c", .lineLength = line.size()}.words()));
}

TEST_F(ExecStartFailureTest, AnAbortBeforeTheStartIsReported) {
    const std::string line = execChild();
    mExec->mAborted = true;
    const CommandResult result = refuse(line);
    EXPECT_EQ(result.error,
              (FailureReport{.command = line, .aborted = "1", .lineLength = line.size()}.words()));
    EXPECT_FALSE(result.aborted);
}

TEST_F(ExecStartFailureTest, TheLengthIsThatOfTheWideLineWhichWasTried) {
    // Without the quotes of a program that can't be found; a character outside the BMP counts
    // twice.
    const std::string line = "\"missing-program\" \"\xc3\xa4\xf0\x9f\x98\x80\"";
    EXPECT_EQ(refuse(line).error, (FailureReport{.command = line, .lineLength = 21}.words()));
}

std::string environmentOf(size_t length) {
    const std::string name = "NBCC_LONG=";
    return name + std::string(length - name.size() - 2, 'x') + std::string(2, '\0');
}

TEST_F(ExecStartFailureTest, AnEnvironmentOverTheLimitIsExplainedWhateverTheFailure) {
    const std::string line = execChild();
    struct Row {
        size_t length;
        std::string explanation;
    };
    const Row rows[] = {
        {30720, ""},
        {30721,
         "Explanation: Total length of environment variables exceeded Windows limit.\n"
         "Resolution: Please eliminate unnecessary environment variables or shorten them.\n"
         "For more details, please see Nimbrel Forge User Guide."},
    };
    for (const DWORD error :
         {denied, DWORD{ERROR_NOT_ENOUGH_MEMORY}, DWORD{ERROR_INVALID_PARAMETER}}) {
        for (const Row& row : rows) {
            const CommandResult result = refuse(line, "", environmentOf(row.length).c_str(), error);
            const std::string words = FailureReport{.command = line,
                                                    .variables = "1",
                                                    .lineLength = line.size(),
                                                    .blockLength = std::to_string(row.length)}
                                          .words();
            EXPECT_EQ(result.code, Exec::failureCode);
            EXPECT_EQ(result.error, words + row.explanation);
            EXPECT_EQ(mExec->errors().back(), words + row.explanation);
        }
    }
}

TEST_F(ExecStartFailureTest, TheFailureGoesToTheTextOfTheErrorsAndToTheOperation) {
    const StandardFiles streams(mFolder);
    for (const StreamChoice& choice : streamChoices) {
        mExec.emplace();
        Exec::RunInfo info;
        info.mDirectArgv = {execChild()};
        info = choice.appliedTo(info);
        const CommandResult result = refuse(info);
        EXPECT_EQ(result.code, Exec::failureCode);
        ASSERT_EQ(mExec->errors().size(), 1U);
        const std::string words = mExec->errors()[0];
        EXPECT_TRUE(words.starts_with("Exec::runCommand couldn't create process (")) << words;
        choice.expectWords(result, words);
    }
}

TEST_F(ExecStartFailureTest, AFailureOfAnyOtherKindIsNoMissingProgram) {
    for (const DWORD error : std::initializer_list<DWORD>{
             ERROR_INVALID_FUNCTION, ERROR_TOO_MANY_OPEN_FILES, ERROR_ACCESS_DENIED,
             ERROR_SHARING_VIOLATION, ERROR_FILENAME_EXCED_RANGE, elevationRequired,
             ERROR_PRIVILEGE_NOT_HELD}) {
        const RecordedStarts starts({error});
        mExec.emplace();
        const CommandResult result = mExec->run(execChild());
        EXPECT_EQ(result.code, Exec::failureCode) << error;
        EXPECT_EQ(mExec->errors().size(), 1U) << error;
        EXPECT_EQ(starts.calls().size(), 1U) << error;
        EXPECT_EQ(mMessage.calls().back().number, error);
    }
}

TEST_F(ExecStartFailureTest, TheThreeErrorsThatMeanAMissingProgramSayThatItIsNotFound) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_BAD_EXE_FORMAT}) {
        const RecordedStarts starts({error});
        const CommandResult result = mExec->run(execChild("say x"));
        EXPECT_EQ(result.code, Exec::notFoundCode) << error;
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, "'" + execChild("say x") + "': Command not found\n");
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(mExec->errors(), Texts());
        EXPECT_EQ(starts.calls().size(), 1U) << error;
    }
}

TEST_F(ExecStartFailureTest, AMissingProgramIsReportedInOnePlaceOnly) {
    const StandardFiles streams(mFolder);
    const std::string words = "'missing-program \xc3\xa4': Command not found\n";
    for (const StreamChoice& choice : streamChoices) {
        mExec.emplace();
        Exec::RunInfo info;
        info.mDirectArgv = {"missing-program \xc3\xa4"};
        info = choice.appliedTo(info);
        const CommandResult result = mExec->run(info, mFolder.utf8());
        EXPECT_EQ(result.code, Exec::notFoundCode);
        choice.expectWords(result, words);
        EXPECT_EQ(mExec->errors(), choice.isCaptured ? Texts() : Texts({words}));
        EXPECT_EQ(mExec->log(), "\twd: " + mFolder.utf8());
    }
}

TEST_F(ExecStartFailureTest, AnAbortOfAMissingProgramIsNotReported) {
    mExec->mAborted = true;
    const CommandResult result = mExec->run("missing-program");
    EXPECT_EQ(result.code, Exec::notFoundCode);
    EXPECT_EQ(result.error, "'missing-program': Command not found\n");
    EXPECT_FALSE(result.aborted);
}

TEST_F(ExecStartFailureTest, AProgramThatIsNamedAndMissingIsNotFoundEither) {
    Exec::RunInfo info;
    info.mDirectArgv = {execChild()};
    for (const std::string& program :
         {mFolder.utf8("none.exe"), mFolder.utf8("none/none.exe"), std::string("execchild")}) {
        info.mProgram = program;
        EXPECT_EQ(mExec->run(info, mFolder.utf8()).code, Exec::notFoundCode) << program;
    }
}

TEST_F(ExecStartFailureTest, AFileThatIsNoProgramIsNotFound) {
    mFolder.write("x.exe", "echo not a program\n");
    const RecordedStarts starts;
    const CommandResult result = mExec->run("x a", mFolder.utf8());
    EXPECT_EQ(result.code, Exec::notFoundCode);
    EXPECT_EQ(result.error, "'x a': Command not found\n");
    // It was found, but Windows refused it.
    EXPECT_EQ(starts.last().program, (mFolder.path() / "x.exe").wstring());
    EXPECT_EQ(starts.calls().size(), 1U);
}

TEST_F(ExecStartFailureTest, TheNextCommandRunsNevertheless) {
    EXPECT_EQ(mExec->run("missing-program", mFolder.utf8()).code, Exec::notFoundCode);
    EXPECT_EQ(refuse(execChild(), mFolder.utf8()).code, Exec::failureCode);
    EXPECT_EQ(mExec->run(execChild("say x"), mFolder.utf8()).output, "x");
}

}  // namespace
