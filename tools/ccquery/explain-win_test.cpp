// ccquery --explain as a user runs it.

#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "testing/describedmessage.h"
#include "testing/pagemessages.h"
#include "testing/processes/ccqueryrun-win.h"
#include "testing/providers/nodrivestest-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

class CcqueryExplainTest : public NoDrivesTest {};

TEST_F(CcqueryExplainTest, StatusNamesTheLineThatHasDecided) {
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

TEST_F(CcqueryExplainTest, StatusNamesTheFileThatHasDecidedAndTheNearestLines) {
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

TEST_F(CcqueryExplainTest, StatusSaysThatTheFileOfTheCurrentDirectoryIsMissing) {
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

TEST_F(CcqueryExplainTest, StatusExplainsPathsOnStandardInputInJson) {
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

TEST_F(CcqueryExplainTest, AnExplanationThatLeadsElsewhereEndsWithOne) {
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

TEST_F(CcqueryExplainTest, CanonicalizeExplainsByTheDrivesOfTheLibrary) {
    expectCodeOne(
        sample({"canonicalize", "--explain", "--cwd", "C:\\w", "--tag", "X:\\v", "M:\\tag1\\v\\a"}),
        "M:\\tag1\\v\\a  C:\\w|M:\\tag1\\v\\a|X:\\v\n"
        "    taken as M:/tag1/v/a: it is absolute\n"
        "    tag X:\\v: root X:, other route M:/tag1\n"
        "    rule 5: it lies on the other route of the root X:, and moves there\n"
        "    that makes it X:\\v\\a, but the library answers otherwise: it is another library\n");
}

TEST_F(CcqueryExplainTest, WithoutTheDrivesThePathIsAnsweredAndExplained) {
    const std::string begin = "ccquery: the explanations know no drives: ";
    const std::pair<const char*, std::string> rows[] = {
        {"1", begin + "no drives\n"},
        {"throwint", begin + "the connection library threw something that is no std::exception\n"},
    };
    ChildRun run =
        sample({"canonicalize", "--explain", "--cwd", "C:\\w", "--tag", "X:\\v", "C:\\a"});
    for (const auto& [how, error] : rows) {
        run.environment = {{"SAMPLECONNECTION_NO_DRIVES", how}};
        const ChildResult result = runChild(run);
        EXPECT_EQ(result.exitCode, 1U);
        EXPECT_EQ(result.error, error);
        EXPECT_TRUE(isAsDescribed(result.error, std::string("ccquery: ") + messageWithoutDrives));
        EXPECT_TRUE(
            result.output.starts_with("C:\\a  C:\\w|C:\\a|X:\\v\n"
                                      "    taken as C:/a: it is absolute\n"
                                      "    tag X:\\v: no root"))
            << result.output;
    }
}

TEST_F(CcqueryExplainTest, CanonicalizeNamesTheRuleThatHasEndedIt) {
    const ChildResult result =
        runChild(ccquery({"canonicalize", "--explain", "--cwd", "C:\\w", "a\\..\\b"}));
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output,
              "a\\..\\b  C:/w/b\n"
              "    taken as C:/w/b: it is relative to C:\\w\n"
              "    rule 3: it is on no drive that leads to views, and stays\n");
}

}  // namespace
