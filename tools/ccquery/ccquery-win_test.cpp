// ccquery as a user runs it: a process of its own, with the sample connection.

#include <algorithm>
#include <optional>
#include <regex>
#include <utility>

#include <gtest/gtest.h>

#include "testing/processes/ccqueryrun-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

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

TEST(CcqueryTest, StandardInputThatCannotBeReadIsReported) {
    const TempFolder folder;
    ChildRun run = sample({"status", "-"});
    run.input = folder.path();
    expectNoAnswer(run, "can't read standard input", "; make it a file or a pipe");
}

TEST(CcqueryTest, ALibraryThatMakesNoConnectionIsReported) {
    ChildRun run = sample({"view"});
    run.environment = {{"SAMPLECONNECTION_NULL", "1"}};
    expectNoAnswer(
        run, "'",
        "' made no connection; if it doesn't say why above, name another by --library FILE");
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

TEST(CcqueryTest, TheVersionSaysWhatTheProgramWasBuiltOf) {
    const ChildResult text = runChild(ccquery({"--version"}));
    EXPECT_EQ(text.exitCode, 0U);
    EXPECT_TRUE(std::regex_match(text.output, std::regex(R"(ccquery \d+\.\d+\.\d+
commit ([0-9a-f]{40}( with changes)?|unknown, since the sources were no git clone)
compiler GCC [0-9][-.0-9a-z]*, (msvcrt|ucrt)
)"))) << text.output;
    EXPECT_EQ(text.error, "");
    const ChildResult json = runChild(ccquery({"--json", "--version"}));
    EXPECT_EQ(json.exitCode, 0U);
    EXPECT_TRUE(std::regex_match(
        json.output, std::regex(R"(\{"version":"[^"]+","commit":"[^"]+","compiler":"[^"]+"\}\n)")))
        << json.output;
}

TEST(CcqueryTest, TheCompletionScriptHasNoCarriageReturns) {
    const ChildResult result = runChild(ccquery({"completion", "bash"}));
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_TRUE(result.output.ends_with("\n\ncomplete -F _ccquery ccquery ccquery.exe\n"))
        << result.output;
    EXPECT_EQ(result.output.find('\r'), std::string::npos);
    EXPECT_EQ(result.error, "");
}

TEST(CcqueryTest, OutputToAFileHasNoColours) {
    const TempFolder folder;
    const std::string bad = folder.write("bad.ini", "[vobs]\nbad\n");
    for (const Texts& arguments : {Texts{"--help"}, Texts{"--version"}, Texts{"frobnicate"},
                                   Texts{"check", bad}, Texts{"completion", "bash"}}) {
        ChildRun run = ccquery(arguments);
        run.environment = {
            {"CLICOLOR_FORCE", "1"}, {"FORCE_COLOR", "1"}, {"NO_COLOR", std::nullopt}};
        const ChildResult result = runChild(run);
        EXPECT_NE(result.output + result.error, "");
        EXPECT_EQ((result.output + result.error).find('\x1b'), std::string::npos);
    }
}

}  // namespace
