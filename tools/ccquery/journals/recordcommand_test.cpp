#include <gtest/gtest.h>

#include "testing/recordcommandtest.h"

namespace {

using namespace ccquery;
using namespace testing_support;

TEST_F(RecordCommandTest, TheConnectionDecidesWhichViewRootCounts) {
    expectRecorded(connectLine(R"("C:\\v\\one")", 1) + connectLine(R"("C:\\v\\two")", 2) +
                       journalLine("getViewTag", "{}", R"({"text":"one"})", 1) +
                       journalLine("getViewTag", "{}", R"({"text":"two"})", 2) +
                       journalLine("disconnect", "{}", "{}", 1) +
                       journalLine("getViewTag", "{}", R"({"text":""})", 1),
                   "");
}

TEST_F(RecordCommandTest, EachElementThatDiffersIsAnnouncedAtItsFirstLine) {
    std::string journal;
    for (int i = 0; i < 50; ++i) {
        journal += statusLine(R"("C:\\)" + std::to_string(i % 25) + "\"", 1, R"("/main/3")");
    }
    EXPECT_EQ(run(journal), exitComplaints);
    ASSERT_EQ(mComplaints.size(), 25U);
    EXPECT_TRUE(mComplaints.back().starts_with("j:25: getElementStatus 'C:\\24': the version "))
        << mComplaints.back();
}

TEST_F(RecordCommandTest, AnAnswerThatIsRepeatedIsAnnouncedOnce) {
    const std::string line = journalLine("getViewTag", "{}", R"({"text":"other"})");
    EXPECT_EQ(run(line + line + line), exitComplaints);
    EXPECT_EQ(mComplaints, Texts{"j:1: getViewTag: 'other' becomes ''"});
}

TEST_F(RecordCommandTest, LinesThatCannotBeTakenAreReported) {
    EXPECT_EQ(run({{"j", "x\n" + connectLine()}}, {"j", "none"}), exitComplaints);
    EXPECT_EQ(mComplaints, (Texts{"j:1: no JSON object; the line is left out",
                                  "can't read the journal 'none': no such file; name another"}));
    EXPECT_EQ(mPrinted, "; Recorded by ccquery from j, none\n");
}

TEST_F(RecordCommandTest, WithoutALineNothingIsWritten) {
    mQuery.output = "o";
    EXPECT_EQ(run(""), exitNoAnswer);
    EXPECT_EQ(mComplaints, (Texts{"j: the journal is empty; name one that a host has written"}));
    EXPECT_TRUE(mFiles.empty());
}

TEST_F(RecordCommandTest, TheSourceIsOneLine) {
    EXPECT_EQ(run({{"a\nb", connectLine()}}, {"a\nb"}), exitAnswered);
    EXPECT_EQ(mPrinted, "; Recorded by ccquery from a\\nb\n");
}

TEST_F(RecordCommandTest, AFileThatIsThereIsReplacedByForceAlone) {
    mQuery.output = "o";
    mFiles["o"] = "old";
    EXPECT_EQ(problem(), "'o' is there already; name another file, or replace it by --force");
    EXPECT_EQ(mFiles["o"], "old");
    mQuery.drives = "o";
    EXPECT_EQ(problem(), "--output and --drives both name 'o'; name two files");
    mQuery.drives = "";
    mQuery.force = true;
    EXPECT_EQ(problem(), "(none)");
    EXPECT_EQ(mFiles["o"], beginning);
}

TEST_F(RecordCommandTest, AFileIsNeitherAJournalNorTheOtherFile) {
    mQuery.force = true;
    mQuery.output = "O";
    mQuery.drives = "o";
    EXPECT_EQ(problem(), "--output and --drives both name 'O'; name two files");
    mQuery.output = "J";
    EXPECT_EQ(problem(), "'J' is a journal that is read; name another file");
    mQuery.output = "";
    mQuery.drives = "j";
    EXPECT_EQ(problem(), "'j' is a journal that is read; name another file");
    EXPECT_TRUE(mFiles.empty());
}

}  // namespace
