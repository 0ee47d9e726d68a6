// The commands about journals as a user runs them: a process of its own, with the fake and its
// files.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "testing/journaltext.h"
#include "testing/processes/childprocess-win.h"
#include "testing/providers/nodrivestest-win.h"
#include "testing/scopes/directorylink-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"
#include "tools/shared/report.h"

namespace {

using namespace testing_support;
using Texts = std::vector<std::string>;

class JournalProgramTest : public NoDrivesTest {
protected:
    ChildResult run(Texts arguments) const {
        ChildRun child{.program = testProgramFolder() / "ccquery.exe",
                       .arguments = std::move(arguments)};
        child.folder = mFolder.path();
        child.environment = {{"NBCLEARCASE_FAKE_INI", "from before.ini"},
                             {"CLEARCASE_ROOT", "C:\\from before"}};
        return runChild(child);
    }

    static void expectRun(const ChildResult& result, unsigned exitCode, const std::string& output,
                          const std::string& error) {
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.error, error);
    }

    std::string contentOf(const std::string& name) const {
        std::ifstream stream(mFolder.path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// A status question about a file of the folder.
    std::string fileStatus(const std::string& name, int type, const std::string& version) const {
        return statusLine(tools::Json(mFolder.utf8(name)).dump(), type,
                          tools::Json(version).dump());
    }

    TempFolder mFolder;
};

TEST_F(JournalProgramTest, WhatIsRecordedCanBeVerified) {
    mFolder.write("j", connectLine(R"("C:\\views\\mine")") +
                           statusLine(R"("C:\\a")", 1, R"("/main/0")") +
                           statusLine(R"("C:\\l")", 3, R"("")", R"("C:/t")") +
                           journalLine("getViewTag", "{}", R"({"text":"mine"})") +
                           fileStatus("j", 4, "") + journalLine("disconnect", "{}", "{}"));
    expectRun(run({"record", "j", "--output", "o.ini"}), 0, "", "");
    const std::string configuration = contentOf("o.ini");
    EXPECT_TRUE(configuration.starts_with("; Recorded by ccquery from j\n[attrs]\n"))
        << configuration;
    EXPECT_NE(configuration.find("C:\\a=/main/0*version\n"), std::string::npos) << configuration;
    EXPECT_NE(configuration.find("C:\\l=t\n"), std::string::npos) << configuration;
    expectRun(run({"verify", "j", "--config", "o.ini"}), 0, "4 asked, 0 different\n", "");
    expectRun(run({"usage", "j", "--config", "o.ini"}), 0,
              "0 of 3 lines never used, 0 of 3 paths without an answer\n", "");
}

TEST_F(JournalProgramTest, WithoutAFileTheConfigurationIsPrinted) {
    mFolder.write("j", statusLine(R"("C:\\a")", 1, R"("/main/3")"));
    expectRun(run({"record", "j"}), 1,
              "; Recorded by ccquery from j\n[attrs]\nC:\\a=/main/3*version\n",
              "ccquery: j:1: getElementStatus 'C:\\a': the version '/main/3' becomes '/main/0'; "
              "verify with --ignore version\n");
}

TEST_F(JournalProgramTest, AFileThatIsThereIsKeptWithoutForce) {
    mFolder.write("j", connectLine());
    mFolder.write("o.ini", "old");
    expectRun(run({"record", "j", "--output", "o.ini"}), 2, "",
              "ccquery: 'o.ini' is there already; name another file, or replace it by --force\n");
    EXPECT_EQ(contentOf("o.ini"), "old");
    expectRun(run({"record", "j", "--output", "o.ini", "--drives", "d.txt", "--force"}), 0, "", "");
    EXPECT_EQ(contentOf("o.ini"), "; Recorded by ccquery from j\n");
    EXPECT_EQ(contentOf("d.txt"), "# Recorded by ccquery from j\n");
}

TEST_F(JournalProgramTest, AJournalIsNeverReplaced) {
    mFolder.write("j", connectLine());
    for (const std::string& spelling :
         {std::string("j"), std::string("J"), std::string(".\\x\\..\\j"), mFolder.utf8("j")}) {
        expectRun(run({"record", "j", "--output", spelling, "--force"}), 2, "",
                  "ccquery: '" + spelling + "' is a journal that is read; name another file\n");
    }
    expectRun(run({"record", "j", "--output", "o", "--drives", "./O", "--force"}), 2, "",
              "ccquery: --output and --drives both name 'o'; name two files\n");
    EXPECT_EQ(contentOf("j"), connectLine());
}

TEST_F(JournalProgramTest, AJournalIsNeverReplacedByAnotherPathOfIt) {
    create_directory(mFolder.path() / "folder");
    mFolder.write("folder/j", connectLine());
    const DirectoryLink link(mFolder, "link", "folder");
    expectRun(run({"record", "folder\\j", "--output", "link\\j", "--force"}), 2, "",
              "ccquery: 'link\\j' is a journal that is read; name another file\n");
    EXPECT_EQ(contentOf("folder/j"), connectLine());
}

TEST_F(JournalProgramTest, VerifyMayAskThroughAJournalThatIsTheOneItReads) {
    constexpr int lines = 20000;  // more than a block that is read
    std::string journal;
    for (int i = 0; i < lines; ++i) {
        journal += journalLine("isReady", "{}", R"({"ready":true})");
    }
    const std::string file = mFolder.write("j", journal);
    ChildRun child{.program = testProgramFolder() / "ccquery.exe",
                   .arguments = {"verify", "j", "--library",
                                 utf8(testProgramFolder() / "nbclearcase_journal.dll")}};
    child.folder = mFolder.path();
    child.environment = {{"NBCLEARCASE_JOURNAL_FILE", file},
                         {"NBCLEARCASE_JOURNAL_LIBRARY", std::nullopt}};
    expectRun(runChild(child), 0, "20000 asked, 0 different\n", "");
}

TEST_F(JournalProgramTest, AFileThatCannotBeWrittenIsReported) {
    mFolder.write("j", connectLine());
    const ChildResult result = run({"record", "j", "--output", "none\\o.ini"});
    EXPECT_EQ(result.exitCode, 2U);
    EXPECT_TRUE(result.error.starts_with("ccquery: can't write 'none\\o.ini': ")) << result.error;
    EXPECT_TRUE(result.error.ends_with("; name another file\n")) << result.error;
}

TEST_F(JournalProgramTest, VerifyAsksTheLibraryThatIsNamed) {
    mFolder.write("j", statusLine(R"("C:\\version")", 1, R"("/main/3")") +
                           journalLine("getViewTag", "{}", R"({"text":"größte_view"})"));
    expectRun(run({"verify", "j", "--library", utf8(testProgramFolder() / "sampleconnection.dll")}),
              1,
              "j:1: getElementStatus 'C:\\version'\n- version: /main/3\n+ version: /main/0\n"
              "2 asked, 1 different\n",
              "");
}

TEST_F(JournalProgramTest, VerifyRemovesAViewRootThatTheHostDidNotHave) {
    mFolder.write("j", connectLine() + journalLine("getViewTag", "{}", R"({"text":""})") +
                           connectLine(R"("C:\\v\\größe")", 2) +
                           journalLine("getViewTag", "{}", R"({"text":"größe"})", 2) +
                           connectLine(R"("")", 3) +
                           journalLine("getViewTag", "{}", R"({"text":""})", 3));
    expectRun(run({"verify", "j"}), 0, "3 asked, 0 different\n", "");
}

TEST_F(JournalProgramTest, UsageLooksAtTheDisk) {
    mFolder.write("o.ini", "[attrs]\nC:\\no such\\a=t\n");
    mFolder.write("j", fileStatus("j", 4, "") + fileStatus("none", 4, ""));
    expectRun(
        run({"usage", "j", "--config", "o.ini"}), 1,
        "o.ini:2: never used: C:\\no such\\a=t\nno answer, asked once: " + mFolder.utf8("none") +
            "\n1 of 1 lines never used, 1 of 2 paths without an answer\n",
        "");
}

TEST_F(JournalProgramTest, UsageNeedsAConfiguration) {
    mFolder.write("j", connectLine());
    const ChildResult result = run({"usage", "j"});
    EXPECT_EQ(result.exitCode, 2U);
    EXPECT_TRUE(
        result.error.starts_with("ccquery: can't read the configuration 'from before.ini': "))
        << result.error;
    EXPECT_TRUE(result.error.ends_with("; name another by --config FILE\n")) << result.error;
}

TEST_F(JournalProgramTest, JournalsThatCannotBeReadAreReportedInOneLineEach) {
    create_directory(mFolder.path() / "folder");
    mFolder.write("empty", "");
    mFolder.write("j", "x\n" + journalLine("isReady", "{}", R"({"ready":true})") + "{\"torn");
    const ChildResult result = run({"verify", "none", "folder", "empty", "j"});
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output, "1 asked, 0 different\n");
    EXPECT_TRUE(result.error.starts_with("ccquery: can't read the journal 'none': "))
        << result.error;
    EXPECT_NE(result.error.find("\nccquery: can't read the journal 'folder': "), std::string::npos)
        << result.error;
    EXPECT_TRUE(result.error.ends_with(
        "\nccquery: empty: the journal is empty; name one that a host has written\n"
        "ccquery: j:1: no JSON object; the line is left out\n"
        "ccquery: j:3: the last line is torn; it is left out\n"))
        << result.error;
    EXPECT_EQ(run({"verify", "none"}).exitCode, 2U);
    EXPECT_EQ(run({"record", "none"}).exitCode, 2U);
}

}  // namespace
