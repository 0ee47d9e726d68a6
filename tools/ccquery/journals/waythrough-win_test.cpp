// From the answers of a library to a configuration that answers alike: a host asks through the
// journal, and ccquery records, verifies, and explains.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "testing/jsonschema.h"
#include "testing/processes/ccqueryrun-win.h"
#include "testing/providers/nodrivestest-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace {

using namespace testing_support;

class WayThroughTest : public NoDrivesTest {
protected:
    ChildResult run(const char* program, Texts arguments) const {
        return runChild(
            {.program = testProgramFolder() / program,
             .arguments = std::move(arguments),
             .environment = {{"NBCLEARCASE_JOURNAL_LIBRARY", library("sampleconnection")},
                             {"NBCLEARCASE_JOURNAL_FILE", "j.jsonl"},
                             {"NBCLEARCASE_FAKE_INI", "recorded.ini"},
                             {"NBCLEARCASE_DRIVES", mFolder.utf8("recorded.txt")},
                             {"CLEARCASE_ROOT", std::nullopt}},
             .folder = mFolder.path()});
    }
    ChildResult ccqueryRun(Texts arguments) const {
        return run("ccquery.exe", std::move(arguments));
    }

    static std::string library(const std::string& name) {
        return utf8(testProgramFolder() / (name + ".dll"));
    }
    std::string contentOf(const char* name) const {
        std::ifstream file(mFolder.path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// A host asks for these elements, and for everything else once.
    ChildResult ask(const std::string& name) const {
        return run("examplehost.exe",
                   {library(name), "C:\\a\\version", "C:\\a\\link", "C:/a/other"});
    }
    static std::string elementsOf(const std::string& hostOutput) {
        const size_t begin = hostOutput.find("getElementStatus");
        return hostOutput.substr(begin, hostOutput.find("canonicalizeViewPath") - begin);
    }

    TempFolder mFolder;
};

TEST_F(WayThroughTest, RecordedAnswersAreThoseOfTheLibrary) {
    const ChildResult asked = ask("nbclearcase_journal");
    EXPECT_EQ(asked.exitCode, 0U);
    EXPECT_EQ(asked.error, "");
    EXPECT_EQ(journalComplaints(contentOf("j.jsonl")), "");

    const ChildResult recorded =
        ccqueryRun({"record", "j.jsonl", "--output", "recorded.ini", "--drives", "recorded.txt"});
    EXPECT_EQ(recorded.exitCode, 1U) << "some answers are announced";
    EXPECT_NE(recorded.error.find("getViewTag"), std::string::npos) << recorded.error;
    EXPECT_EQ(recorded.error.find("getElementStatus"), std::string::npos) << recorded.error;
    EXPECT_EQ(contentOf("recorded.ini"),
              "; Recorded by ccquery from j.jsonl\n[attrs]\n"
              "C:\\a\\link=D:\\gr\xc3\xb6\xc3\x9f"
              "er \"quoted\"\n"
              "C:\\a\\other=*view_private\nC:\\a\\version=/main/0*version\n");

    const ChildResult again = ask("nbclearcase_fake");
    EXPECT_EQ(again.exitCode, 0U);
    EXPECT_EQ(elementsOf(again.output), elementsOf(asked.output));
    EXPECT_NE(again.output.find("MVFS drive \"M:\", X: is tag1, Y: is tag2"), std::string::npos)
        << again.output;

    const ChildResult verified = ccqueryRun({"verify", "j.jsonl"});
    EXPECT_EQ(verified.exitCode, 1U);
    EXPECT_NE(verified.output.find("j.jsonl:11: getViewTag\n- text: gr"), std::string::npos)
        << verified.output;
    EXPECT_EQ(verified.output.find("getElementStatus"), std::string::npos) << verified.output;

    const ChildResult used = ccqueryRun({"usage", "j.jsonl"});
    EXPECT_EQ(used.exitCode, 0U);
    EXPECT_EQ(used.output, "0 of 3 lines never used, 0 of 3 paths without an answer\n");

    const ChildResult explained = ccqueryRun({"status", "--explain", "C:/a/version"});
    EXPECT_EQ(explained.exitCode, 0U);
    EXPECT_EQ(explained.output,
              "C:/a/version  version (1)  /main/0\n    key: C:\\a\\version\n"
              "    decided by recorded.ini:5: C:\\a\\version=/main/0*version\n");
}

TEST_F(WayThroughTest, AJournalOfTheFakeVerifiesAgainstTheFake) {
    mFolder.write("recorded.ini", "[attrs]\nC:\\a\\version=/main/3*version\nC:\\a\\link=..\\t\n");
    mFolder.write("recorded.txt", "m: | \\\\view\nx: | \\\\view\\main_view\n");
    const auto throughTheJournal = [&] {
        ChildRun host{.program = testProgramFolder() / "examplehost.exe",
                      .arguments = {library("nbclearcase_journal"), "C:\\a\\version", "C:\\a\\link",
                                    mFolder.utf8("recorded.ini")},
                      .environment = {{"NBCLEARCASE_JOURNAL_LIBRARY", std::nullopt},
                                      {"NBCLEARCASE_JOURNAL_FILE", "j.jsonl"},
                                      {"NBCLEARCASE_FAKE_INI", "recorded.ini"},
                                      {"NBCLEARCASE_DRIVES", mFolder.utf8("recorded.txt")}},
                      .folder = mFolder.path()};
        return runChild(host);
    };
    EXPECT_EQ(throughTheJournal().exitCode, 0U);
    const ChildResult verified = ccqueryRun({"verify", "j.jsonl", "--ask", "startSession", "--ask",
                                             "killConnection", "--ask", "probeVobs"});
    EXPECT_EQ(verified.exitCode, 0U) << verified.output;
    EXPECT_EQ(verified.output, "15 asked, 0 different\n");
}

}  // namespace
