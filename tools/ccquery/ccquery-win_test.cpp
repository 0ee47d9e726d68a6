// ccquery as a user runs it: a process of its own, with the sample connection.

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

#include "testing/processes/childprocess-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

ChildRun ccquery(Texts arguments) {
    return {.program = testProgramFolder() / "ccquery.exe", .arguments = std::move(arguments)};
}

/// With the sample connection as the library.
ChildRun sample(Texts arguments) {
    ChildRun run = ccquery(std::move(arguments));
    run.arguments.insert(run.arguments.end(),
                         {"--library", utf8(testProgramFolder() / "sampleconnection.dll")});
    return run;
}

void expectAnswer(const ChildRun& run, const std::string& output) {
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.error, "");
}

/// Expects exit code 2, nothing on standard output, and one line on standard error that begins with
/// the program's name and `beginning` and ends with `end`.
void expectNoAnswer(const ChildRun& run, const std::string& beginning, const std::string& end) {
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 2U);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(result.error.starts_with("ccquery: " + beginning)) << result.error;
    EXPECT_TRUE(result.error.ends_with(end + "\n")) << result.error;
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
}

TEST(CcqueryTest, StatusAnswersInJson) {
    expectAnswer(sample({"status", "--json", "C:\\a\\version", "C:/a/link", "C:/a/other"}),
                 "{\"path\":\"C:\\\\a\\\\version\",\"type\":1,\"typeName\":\"version\","
                 "\"version\":\"/main/0\",\"target\":null}\n"
                 "{\"path\":\"C:/a/link\",\"type\":3,\"typeName\":\"symbolic_link\","
                 "\"version\":\"\",\"target\":\"D:\\\\gr\xc3\xb6\xc3\x9f"
                 "er \\\"quoted\\\"\"}\n"
                 "{\"path\":\"C:/a/other\",\"type\":4,\"typeName\":\"view_private\","
                 "\"version\":\"\",\"target\":null}\n");
}

TEST(CcqueryTest, StatusAnswersInATable) {
    expectAnswer(sample({"status", "C:\\a\\version",
                         "C:/gr\xc3\xb6\xc3\x9f"
                         "er/link"}),
                 "PATH            TYPE               VERSION  TARGET\n"
                 "C:\\a\\version    version (1)        /main/0  -\n"
                 "C:/gr\xc3\xb6\xc3\x9f"
                 "er/link  symbolic_link (3)  -        "
                 "D:\\gr\xc3\xb6\xc3\x9f"
                 "er \"quoted\"\n");
}

TEST(CcqueryTest, TextsThatAreNoUtf8ArePrintedWithReplacementCharacters) {
    expectAnswer(sample({"status", "--json", "C:\\broken"}),
                 "{\"path\":\"C:\\\\broken\",\"type\":3,\"typeName\":\"symbolic_link\","
                 "\"version\":\"a\\tb\\n\\u001b[31m\","
                 "\"target\":\"\xef\xbf\xbd\xef\xbf\xbd(\"}\n");
    expectAnswer(sample({"status", "C:\\broken"}),
                 "PATH       TYPE               VERSION         TARGET\n"
                 "C:\\broken  symbolic_link (3)  a\\tb\\n\\x1b[31m  \xef\xbf\xbd\xef\xbf\xbd(\n");
}

TEST(CcqueryTest, ARelativePathOfStatusIsMadeAbsolute) {
    const TempFolder folder;
    ChildRun run = sample({"status", "--json", "sub\\..\\version"});
    run.folder = folder.path();
    const std::string output = runChild(run).output;
    EXPECT_NE(output.find(":\\\\"), std::string::npos) << output;
    EXPECT_NE(output.find("\\\\version\",\"type\":1"), std::string::npos) << output;
    EXPECT_EQ(output.find(".."), std::string::npos) << output;
}

TEST(CcqueryTest, CanonicalizeHandsOnWhatIsAsked) {
    expectAnswer(sample({"canonicalize", "--json", "--cwd", "C:\\w", "--tag", "M:\\t\\v", "--tag",
                         "X:\\v", "a\\..\\b", "\\c"}),
                 "{\"path\":\"a\\\\..\\\\b\",\"canonical\":"
                 "\"C:\\\\w|a\\\\..\\\\b|M:\\\\t\\\\v|X:\\\\v\"}\n"
                 "{\"path\":\"\\\\c\",\"canonical\":\"C:\\\\w|\\\\c|M:\\\\t\\\\v|X:\\\\v\"}\n");
}

TEST(CcqueryTest, CanonicalizeBeginsAtTheCurrentDirectory) {
    ChildRun run = sample({"canonicalize", "x"});
    run.folder = "C:\\windows";
    expectAnswer(run, "PATH  CANONICAL\nx     C:\\windows|x\n");
}

TEST(CcqueryTest, ARelativeDirectoryOfCanonicalizeIsMadeAbsolute) {
    ChildRun run = sample({"canonicalize", "--cwd", "system32", "x"});
    run.folder = "C:\\windows";
    expectAnswer(run, "PATH  CANONICAL\nx     C:\\windows\\system32|x\n");
}

TEST(CcqueryTest, VobsAnswers) {
    expectAnswer(sample({"vobs", "C:\\v", "--json"}),
                 "{\"tag\":\"C:\\\\v\\\\a\",\"state\":0,\"stateName\":\"writable\"}\n"
                 "{\"tag\":\"C:\\\\v\\\\b\",\"state\":1,\"stateName\":\"read_only\"}\n"
                 "{\"tag\":\"C:\\\\v\\\\c\",\"state\":2,\"stateName\":\"not_determined\"}\n");
}

TEST(CcqueryTest, DrivesAnswers) {
    expectAnswer(sample({"drives", "--json"}),
                 "{\"mvfsRoot\":\"M:\",\"drives\":{\"X:\":\"tag1\",\"Y:\":\"tag2\"}}\n");
}

TEST(CcqueryTest, ViewAnswers) {
    expectAnswer(sample({"view"}),
                 "gr\xc3\xb6\xc3\x9f"
                 "te_view\n");
}

TEST(CcqueryTest, TheConfigurationIsNamedBeforeTheLibraryIsLoaded) {
    const TempFolder folder;
    folder.write("some where.ini", "");
    ChildRun run = sample({"info", "--json", "--config", ".\\some where.ini"});
    run.folder = folder.path();
    run.environment = {{"NBCLEARCASE_FAKE_INI", "from before"}};
    expectAnswer(run,
                 "{\"info\":{\"configAtLoad\":\".\\\\some where.ini\","
                 "\"product\":\"Sample connection\"},\"ready\":true}\n");
}

TEST(CcqueryTest, AConfigurationThatIsNotThereIsReported) {
    const TempFolder folder;
    for (const std::string& file : {folder.utf8("none.ini"), folder.utf8()}) {
        expectNoAnswer(
            sample({"errors", "--config", file}),
            "can't read the configuration '" + file + "': ", "; name another by --config FILE");
    }
}

TEST(CcqueryTest, WithoutTheOptionTheConfigurationOfTheEnvironmentStays) {
    ChildRun run = sample({"info"});
    run.environment = {{"NBCLEARCASE_FAKE_INI", "from before"}};
    expectAnswer(run,
                 "configAtLoad  from before\nproduct       Sample connection\n"
                 "ready         yes\n");
}

TEST(CcqueryTest, ErrorsEndsWithOneIfThereAreAny) {
    ChildRun run = sample({"errors"});
    run.environment = {{"SAMPLECONNECTION_ERROR", "first\nsecond\n"}};
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 1U);
    EXPECT_EQ(result.output, "first\nsecond\n");
    EXPECT_EQ(result.error, "");
}

TEST(CcqueryTest, ErrorsEndsWithZeroIfThereAreNone) {
    expectAnswer(sample({"errors", "--json"}), "{\"error\":\"\",\"lines\":[]}\n");
}

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

TEST(CcqueryTest, CheckPrintsItsFindingsAndEndsWithOne) {
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

TEST(CcqueryTest, CheckEndsWithZeroIfThereIsNothingToFind) {
    const TempFolder folder;
    expectAnswer(ccquery({"check", folder.write("a.ini", "[attrs]\r\nC:\\a=x\r\n")}), "");
    expectAnswer(ccquery({"check", "--json", folder.write("empty.ini", "")}), "");
}

TEST(CcqueryTest, CheckTakesTheFileThatIsNamedFirstOfAll) {
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

TEST(CcqueryTest, CheckTakesTheFileOfTheCurrentDirectoryLastOfAll) {
    const TempFolder folder;
    folder.write("nbclearcase_fake.ini", faultyFile);
    ChildRun run = ccquery({"check"});
    run.folder = folder.path();
    run.environment = {{"NBCLEARCASE_FAKE_INI", std::nullopt}};
    expectFindings(run, "nbclearcase_fake.ini" + faultOfFile);
}

TEST(CcqueryTest, CheckKnowsTheViewRoot) {
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

TEST(CcqueryTest, CheckReadsWhatTheLibraryReadsUpToCtrlZ) {
    const TempFolder folder;
    const std::string file = folder.write("a.ini", "[attrs]\nC:\\b=x\n\x1a\nC:\\a=x*Version\n");
    expectFindings(ccquery({"check", file}),
                   file + ":3:1: warning: Ctrl+Z ends the file here; take it out [ctrl-z]\n" +
                       file +
                       ":4:1: warning: nothing after the Ctrl+Z in line 3 is read; take that out "
                       "[after-ctrl-z]\n");
}

TEST(CcqueryTest, AFileThatCheckCannotReadIsReported) {
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

TEST(CcqueryTest, OtherCommandsDoNotPrintTheComplaints) {
    ChildRun run = sample({"view"});
    run.environment = {{"SAMPLECONNECTION_ERROR", "first\n"}};
    expectAnswer(run,
                 "gr\xc3\xb6\xc3\x9f"
                 "te_view\n");
}

TEST(CcqueryTest, StatusNamesTheLineThatHasDecided) {
    const TempFolder folder;
    folder.write("p.ini", "; ours\n[attrs]\nC:\\src\\main.c=/main/3*version\n");
    ChildRun run = ccquery({"status", "--explain", "--config", "p.ini", "C:/src/main.c"});
    run.folder = folder.path();
    run.environment = {{"CLEARCASE_ROOT", std::nullopt}};
    expectAnswer(run,
                 "C:/src/main.c  version (1)  /main/0\n"
                 "    key: C:\\src\\main.c\n"
                 "    decided by p.ini:3: C:\\src\\main.c=/main/3*version\n");
    run.arguments = {"status", "--explain", "--config", "p.ini", "M:\\v\\C:\\src\\main.c"};
    run.environment = {{"CLEARCASE_ROOT", "M:\\v\\"}};
    expectAnswer(run,
                 "M:\\v\\C:\\src\\main.c  version (1)  /main/0\n"
                 "    key: M:\\v\\C:\\src\\main.c\n"
                 "    decided by p.ini:3 by CLEARCASE_ROOT and its path as spelled: "
                 "C:\\src\\main.c=/main/3*version\n");
}

TEST(CcqueryTest, StatusNamesTheFileThatHasDecidedAndTheNearestLines) {
    const TempFolder folder;
    const std::string asked = folder.write("main.c", "");
    const std::string config = folder.write("p.ini", "[attrs]\n;" + asked + "=x*version\n");
    ChildRun run = ccquery({"status", "--explain", "--config", config, asked, folder.utf8("none")});
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 0U);
    const std::string none = "no line of " + config + " has this key\n";
    EXPECT_NE(result.output.find(asked + "  view_private (4)\n"), std::string::npos);
    EXPECT_NE(result.output.find("    " + none +
                                 "    decided by the disk: it is a file that is writable\n"
                                 "    near: " +
                                 config + ":2: ;" + asked + "=x*version (it is a comment)\n"),
              std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find("    " + none +
                                 "    decided by the disk: nothing is there that can be opened\n"),
              std::string::npos)
        << result.output;
    EXPECT_EQ(result.error, "");
}

TEST(CcqueryTest, StatusSaysThatTheFileOfTheCurrentDirectoryIsMissing) {
    const TempFolder folder;
    ChildRun run = ccquery({"status", "--explain", folder.utf8()});
    run.folder = folder.path();
    run.environment = {{"NBCLEARCASE_FAKE_INI", std::nullopt}};
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_TRUE(
        result.output.ends_with("    nbclearcase_fake.ini can't be read, and so counts as empty\n"
                                "    decided by the disk: it is a directory\n"))
        << result.output;
}

TEST(CcqueryTest, StatusExplainsPathsOnStandardInputInJson) {
    const TempFolder folder;
    folder.write("p.ini", "[attrs]\nC:\\a=x*null\n");
    folder.write("paths.txt", "C:\\a\r\nC:\\a\\.\r\n");
    ChildRun run = ccquery({"status", "--explain", "--json", "--config", "p.ini", "-"});
    run.folder = folder.path();
    run.input = folder.path() / "paths.txt";
    run.environment = {{"CLEARCASE_ROOT", std::nullopt}};
    const auto line = [](const std::string& path) {
        return "{\"path\":\"" + path +
               "\",\"type\":0,\"typeName\":\"null\",\"version\":\"\",\"target\":null,"
               "\"explanation\":{\"key\":\"C:\\\\a\",\"decidedBy\":\"line\","
               "\"line\":{\"file\":\"p.ini\",\"line\":2,\"text\":\"C:\\\\a=x*null\"},"
               "\"matched\":\"path\",\"replaces\":null,"
               "\"answer\":{\"type\":0,\"typeName\":\"null\",\"version\":\"\",\"target\":null},"
               "\"agrees\":true}}\n";
    };
    expectAnswer(run, line("C:\\\\a") + line("C:\\\\a\\\\."));
}

/// Expects exit code 1 and this on standard output.
void expectCodeOne(const ChildRun& run, const std::string& output) {
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 1U);
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.error, "");
}

TEST(CcqueryTest, AnExplanationThatLeadsElsewhereEndsWithOne) {
    const TempFolder folder;
    folder.write("p.ini", "[attrs]\nC:\\a\\version=x*null\n");
    ChildRun run = sample({"status", "--explain", "--config", "p.ini", "C:\\a\\version"});
    run.folder = folder.path();
    run.environment = {{"CLEARCASE_ROOT", std::nullopt}};
    expectCodeOne(run,
                  "C:\\a\\version  version (1)  /main/0\n"
                  "    key: C:\\a\\version\n"
                  "    decided by p.ini:2: C:\\a\\version=x*null\n"
                  "    that makes it null, but the library answers otherwise: it is another "
                  "library, or a file has changed\n");
}

TEST(CcqueryTest, CanonicalizeExplainsByTheDrivesOfTheLibrary) {
    expectCodeOne(
        sample({"canonicalize", "--explain", "--cwd", "C:\\w", "--tag", "X:\\v", "M:\\tag1\\v\\a"}),
        "M:\\tag1\\v\\a  C:\\w|M:\\tag1\\v\\a|X:\\v\n"
        "    taken as M:/tag1/v/a: it is absolute\n"
        "    tag X:\\v: root X:, other route M:/tag1\n"
        "    rule 5: it lies on the other route of the root X:, and moves there\n"
        "    that makes it X:\\v\\a, but the library answers otherwise: it is another library\n");
}

TEST(CcqueryTest, CanonicalizeNamesTheRuleThatHasEndedIt) {
    const ChildResult result =
        runChild(ccquery({"canonicalize", "--explain", "--cwd", "C:\\w", "a\\..\\b"}));
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output,
              "a\\..\\b  C:/w/b\n"
              "    taken as C:/w/b: it is relative to C:\\w\n"
              "    rule 3: it is on no drive that leads to views, and stays\n");
}

TEST(CcqueryTest, PathsThatCannotBeAskedAboutDoNotStopTheOthers) {
    const ChildResult result =
        runChild(sample({"status", "\\\\server", "C:\\throw", "C:\\version"}));
    EXPECT_EQ(result.exitCode, 2U);
    EXPECT_EQ(result.output,
              "PATH        TYPE         VERSION  TARGET\n"
              "C:\\version  version (1)  /main/0  -\n");
    EXPECT_EQ(
        result.error,
        "ccquery: '\\\\server' can't be made an absolute path; name a drive, or a server and a "
        "share\n"
        "ccquery: 'C:\\throw': a failure\\nof two lines\n");
}

TEST(CcqueryTest, WhatIsThrownThatIsNoExceptionIsOneLineToo) {
    expectNoAnswer(sample({"status", "C:\\throwint"}),
                   "'C:\\throwint': the connection library threw", "");
}

TEST(CcqueryTest, PathsCanBeOnStandardInput) {
    const TempFolder folder;
    folder.write("lines.txt", "C:\\version\r\nC:\\other\n");
    folder.write("nulls.txt", std::string("C:\\version\0C:\\other", 19));
    ChildRun run = sample({"status", "-"});
    run.input = folder.path() / "lines.txt";
    const std::string answers =
        "C:\\version\tversion (1)\t/main/0\t-\n"
        "C:\\other\tview_private (4)\t-\t-\n";
    expectAnswer(run, answers);
    run.arguments.push_back("--null");
    run.input = folder.path() / "nulls.txt";
    expectAnswer(run, answers);
}

TEST(CcqueryTest, ALibraryThatMakesNoConnectionIsReported) {
    ChildRun run = sample({"view"});
    run.environment = {{"SAMPLECONNECTION_NULL", "1"}};
    expectNoAnswer(run, "'", "' made no connection: is there memory left?");
}

TEST(CcqueryTest, ALibraryThatIsNotThereIsReported) {
    expectNoAnswer(
        ccquery({"view", "--library", "C:\\no\\such.dll"}),
        "can't load 'C:\\no\\such.dll': ", "; name a connection library by --library FILE");
}

TEST(CcqueryTest, AFileThatIsNoLibraryIsReported) {
    const TempFolder folder;
    const std::string file = folder.write("text.dll", "no library");
    expectNoAnswer(ccquery({"view", "--library", file}),
                   "can't load '" + file + "': ", "; name a connection library by --library FILE");
}

TEST(CcqueryTest, ALibraryWithoutTheFunctionIsReported) {
    expectNoAnswer(ccquery({"--library", "kernel32.dll", "view"}),
                   "'kernel32.dll' is no connection library: it doesn't export ClearCaseImplCtor; ",
                   "name another by --library FILE");
}

TEST(CcqueryTest, ALibraryIsFoundByARelativePathWithSlashes) {
    ChildRun run = ccquery({"view", "--library", "./sub/../sampleconnection.dll"});
    run.folder = testProgramFolder();
    expectAnswer(run,
                 "gr\xc3\xb6\xc3\x9f"
                 "te_view\n");
}

TEST(CcqueryTest, TheLibraryBesideTheProgramIsTheDefault) {
    const TempFolder folder;
    copy_file(testProgramFolder() / "ccquery.exe", folder.path() / "ccquery.exe");
    expectNoAnswer({.program = folder.path() / "ccquery.exe", .arguments = {"view"}},
                   "can't load '", "; name a connection library by --library FILE");
    copy_file(testProgramFolder() / "sampleconnection.dll", folder.path() / "nbclearcase_fake.dll");
    expectAnswer({.program = folder.path() / "ccquery.exe", .arguments = {"view"}},
                 "gr\xc3\xb6\xc3\x9f"
                 "te_view\n");
}

TEST(CcqueryTest, ACommandLineThatCannotBeUnderstoodIsReported) {
    expectNoAnswer(ccquery({}), "no command; ", "see ccquery --help");
    expectNoAnswer(ccquery({"frobnicate"}), "unknown command 'frobnicate'; ", "see ccquery --help");
    expectNoAnswer(ccquery({"status"}), "PATH is required; ", "see ccquery status --help");
}

TEST(CcqueryTest, HelpGoesToStandardOutputAndNeedsNoLibrary) {
    for (const Texts& arguments : {Texts{"--help"}, Texts{"status", "--help"}}) {
        const ChildResult result = runChild(ccquery(arguments));
        EXPECT_EQ(result.exitCode, 0U);
        EXPECT_NE(result.output.find("Usage: ccquery"), std::string::npos) << result.output;
        EXPECT_EQ(result.error, "");
    }
}

}  // namespace
