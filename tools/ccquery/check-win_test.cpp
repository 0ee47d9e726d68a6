// ccquery check as a user runs it.

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "testing/processes/ccqueryrun-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

const char* const faultyFile = "[attrs]\nC:\\a=x*Version\n";
const std::string faultOfFile =
    ":2:8: warning: there is no type 'Version', and so the element is a link; write version "
    "[unknown-type]\n";

/// Expects exit code 1 and this on standard output.
void expectFindings(const ChildRun& run, const std::string& output) {
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 1U);
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.error, "");
}

TEST(CcqueryCheckTest, CheckPrintsItsFindingsAndEndsWithOne) {
    const TempFolder folder;
    folder.write("a.ini", faultyFile);
    ChildRun run = ccquery({"check", ".\\a.ini"});
    run.folder = folder.path();
    expectFindings(run, ".\\a.ini" + faultOfFile);
    run.arguments.push_back("--json");
    expectFindings(run,
                   "{\"file\":\".\\\\a.ini\",\"line\":2,\"lastLine\":2,\"column\":8,"
                   "\"severity\":\"warning\",\"name\":\"unknown-type\",\"text\":\"there is no "
                   "type 'Version', and so the element is a link; write version\","
                   "\"withoutEffect\":false}\n");
}

TEST(CcqueryCheckTest, CheckEndsWithZeroIfThereIsNothingToFind) {
    const TempFolder folder;
    expectAnswer(ccquery({"check", folder.write("a.ini", "[attrs]\r\nC:\\a=x\r\n")}), "");
    expectAnswer(ccquery({"check", "--json", folder.write("empty.ini", "")}), "");
}

TEST(CcqueryCheckTest, CheckTakesTheFileThatIsNamedFirstOfAll) {
    const TempFolder folder;
    const std::string file = folder.write(
        "gr\xc3\xb6\xc3\x9f"
        "e.ini",
        faultyFile);
    const std::string good = folder.write("good.ini", "");
    ChildRun run = ccquery({"check", file, "--config", good});
    run.environment = {{"NBCLEARCASE_FAKE_INI", good}};
    expectFindings(run, file + faultOfFile);
    run.arguments = {"check", "--config", file};
    expectFindings(run, file + faultOfFile);
    run.arguments = {"check"};
    expectAnswer(run, "");
    run.environment = {{"NBCLEARCASE_FAKE_INI", file}};
    expectFindings(run, file + faultOfFile);
}

TEST(CcqueryCheckTest, CheckTakesTheFileOfTheCurrentDirectoryLastOfAll) {
    const TempFolder folder;
    folder.write("nbclearcase_fake.ini", faultyFile);
    ChildRun run = ccquery({"check"});
    run.folder = folder.path();
    run.environment = {{"NBCLEARCASE_FAKE_INI", std::nullopt}};
    expectFindings(run, "nbclearcase_fake.ini" + faultOfFile);
}

TEST(CcqueryCheckTest, CheckKnowsTheViewRoot) {
    const TempFolder folder;
    const std::string file = folder.write("a.ini", "[attrs]\nC:/a=x\n");
    ChildRun run = ccquery({"check", file});
    run.environment = {{"CLEARCASE_ROOT", "M:\\v"}};
    expectFindings(run, file +
                            ":2:1: warning: no path can name the element's second path "
                            "'M:\\vC:/a'; write 'C:\\a' [unreachable-second-path]\n");
    run.environment = {{"CLEARCASE_ROOT", std::nullopt}};
    expectAnswer(run, "");
}

TEST(CcqueryCheckTest, CheckReadsWhatTheLibraryReadsUpToCtrlZ) {
    const TempFolder folder;
    const std::string file = folder.write("a.ini", "[attrs]\nC:\\b=x\n\x1a\nC:\\a=x*Version\n");
    expectFindings(ccquery({"check", file}),
                   file + ":3:1: warning: Ctrl+Z ends the file here; take it out [ctrl-z]\n" +
                       file +
                       ":4:1: warning: nothing after the Ctrl+Z in line 3 is read; take that out "
                       "[after-ctrl-z]\n");
}

TEST(CcqueryCheckTest, AFileThatCheckCannotReadIsReported) {
    const TempFolder folder;
    for (const std::string& file : {folder.utf8("none.ini"), folder.utf8()}) {
        expectNoAnswer(ccquery({"check", file}), "can't read the configuration '" + file + "': ",
                       "; name another by check FILE");
    }
    ChildRun run = ccquery({"check"});
    run.folder = folder.path();
    run.environment = {{"NBCLEARCASE_FAKE_INI", std::nullopt}};
    expectNoAnswer(run, "can't read the configuration 'nbclearcase_fake.ini': ",
                   "; name another by check FILE");
}

TEST(CcqueryCheckTest, OtherCommandsDoNotPrintTheComplaints) {
    ChildRun run = sample({"view"});
    run.environment = {{"SAMPLECONNECTION_ERROR", "first\n"}};
    expectAnswer(run,
                 "gr\xc3\xb6\xc3\x9f"
                 "te_view\n");
}

}  // namespace
