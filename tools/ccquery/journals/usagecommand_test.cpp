#include "tools/ccquery/journals/usagecommand.h"

#include <map>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/journaltext.h"
#include "tools/shared/report.h"

namespace {

using namespace ccquery;
using namespace testing_support;
using Texts = std::vector<std::string>;

class UsageCommandTest : public testing::Test {
protected:
    ExitCode run(const std::string& journal) {
        mQuery.journals = {"j"};
        mPrinted.clear();
        return usage(
            mQuery, {.source = sourceOf({{"j", journal}}),
                     .configurationFile = "f.ini",
                     .configuration = mConfiguration,
                     .exists = [this](const std::string& path) { return mDisk.count(path) != 0; },
                     .print = [this](const std::string& text) { mPrinted += text; },
                     .complain = [this](const std::string& text) { mComplaints.push_back(text); }});
    }

    void expectUsage(const std::string& journal, ExitCode exitCode, const std::string& printed) {
        EXPECT_EQ(run(journal), exitCode);
        EXPECT_EQ(mPrinted, printed);
        EXPECT_EQ(mComplaints, Texts());
    }

    Query mQuery{.command = Command::usage};
    std::string mConfiguration;
    std::set<std::string> mDisk;
    std::string mPrinted;
    Texts mComplaints;
};

std::string asked(const std::string& path) { return statusLine(Json(path).dump(), 4, R"("")"); }

const std::string probe =
    journalLine("probeVobs", R"({"root":"","results":[]})", R"({"results":[]})");

TEST_F(UsageCommandTest, LinesThatAreUsedAreOnlyCounted) {
    mConfiguration = "; a comment\n[vobs]\n\\v=ro\n[attrs]\nC:\\a=*version\nbad\nC:\\b=t\n";
    expectUsage(probe + asked("C:/./a") + asked("C:\\\\b"), exitAnswered,
                "0 of 3 lines never used, 0 of 2 paths without an answer\n");
}

TEST_F(UsageCommandTest, LinesThatNoQuestionUsesComeInTheirOrder) {
    mConfiguration = "[attrs]\nC:\\b=*version\n C:\\a=t\nC:\\b=new\n[vobs]\n\\v=ro\n";
    expectUsage(asked("C:\\b"), exitComplaints,
                "f.ini:2: never used: C:\\b=*version\nf.ini:3: never used: C:\\a=t\n"
                "f.ini:6: never used: \\v=ro\n"
                "3 of 4 lines never used, 0 of 1 paths without an answer\n");
}

TEST_F(UsageCommandTest, TheDiskAnswersToo) {
    mDisk = {"C:\\x"};
    expectUsage(asked("C:\\x") + asked("C:\\z") + asked("C:\\y"), exitComplaints,
                "no answer, asked once: C:\\y\nno answer, asked once: C:\\z\n"
                "0 of 0 lines never used, 2 of 3 paths without an answer\n");
}

TEST_F(UsageCommandTest, PathsWithoutAnAnswerComeWithTheirNearestLines) {
    mConfiguration = "[attrs]\nC:\\src\\main.c=*version\n";
    EXPECT_EQ(run(asked("C:\\z") + asked("C:\\src\\MAIN.c") + asked("C:\\src\\MAIN.c") +
                  asked("C:\\src\\main.c")),
              exitComplaints);
    const std::string beginning =
        "no answer, asked 2 times: C:\\src\\MAIN.c\n    f.ini:2: C:\\src\\main.c=*version  (";
    EXPECT_TRUE(mPrinted.starts_with(beginning)) << mPrinted;
    EXPECT_TRUE(
        mPrinted.ends_with(")\nno answer, asked once: C:\\z\n"
                           "0 of 1 lines never used, 2 of 3 paths without an answer\n"))
        << mPrinted;
}

TEST_F(UsageCommandTest, TheViewRootOfAConnectionCounts) {
    mConfiguration = "[attrs]\nC:\\a=*version\n";
    const std::string question = asked("C:\\vC:\\a");
    expectUsage(connectLine(R"("C:\\v")") + question, exitAnswered,
                "0 of 1 lines never used, 0 of 1 paths without an answer\n");
    for (const std::string& other :
         {connectLine(), connectLine(R"("")"), connectLine(R"("C:\\w")"),
          connectLine(R"("C:\\v")") + connectLine(),
          connectLine(R"("C:\\v")") + journalLine("disconnect", "{}", "{}"),
          connectLine(R"("C:\\v")", 2), std::string()}) {
        EXPECT_EQ(run(other + question), exitComplaints) << other;
    }
}

TEST_F(UsageCommandTest, APathIsListedOnceForAllViewRoots) {
    mConfiguration = "[attrs]\nC:\\s\\main.c=*version\n";
    const auto asks = [](int process, const std::string& path) {
        return statusLine(Json(path).dump(), 4, R"("")", R"("")", process);
    };
    const std::string ofFirst = asks(1, "C:\\vC:\\s\\main.h");
    const std::string ofSecond = asks(2, "C:\\vC:\\s\\main.h");
    // Only for the second root does a line nearly decide.
    expectUsage(connectLine(R"("C:\\u")", 1) + ofFirst + ofFirst + connectLine(R"("C:\\v")", 2) +
                    ofSecond + asks(2, "C:\\vC:\\s\\main.c") + asks(3, "C:\\s\\main.c"),
                exitComplaints,
                "no answer, asked 3 times: C:\\vC:\\s\\main.h\n"
                "    f.ini:2: C:\\s\\main.c=*version  (the name differs in one letter)\n"
                "0 of 1 lines never used, 1 of 3 paths without an answer\n");
}

TEST_F(UsageCommandTest, WhatIsNoQuestionAboutALineUsesNone) {
    mConfiguration = "[attrs]\nC:\\a=*version\n";
    expectUsage(journalLine("isReady", "{}", R"({"ready":true})"), exitComplaints,
                "f.ini:2: never used: C:\\a=*version\n"
                "1 of 1 lines never used, 0 of 0 paths without an answer\n");
}

TEST_F(UsageCommandTest, MissingLinesAreReportedAndCounted) {
    mConfiguration = "[attrs]\nC:\\a=*version\n";
    const std::string journal = journalLine("lost", "{}", R"({"lines":3,"error":"disk full"})") +
                                asked("C:\\a") +
                                journalLine("lost", "{}", R"({"lines":2,"error":"disk full"})");
    EXPECT_EQ(run(journal), exitAnswered);
    const std::string end =
        " lines before this one are missing (disk full); what they asked isn't counted";
    EXPECT_EQ(mComplaints, (Texts{"j:1: 3" + end, "j:3: 2" + end}));
    EXPECT_EQ(mPrinted, "0 of 1 lines never used, 0 of 1 paths without an answer, 5 missing\n");
    mQuery.json = true;
    EXPECT_EQ(run(journal), exitAnswered);
    EXPECT_TRUE(mPrinted.ends_with(",\"missing\":5}}\n")) << mPrinted;
}

TEST_F(UsageCommandTest, APathThatIsNotAbsoluteIsReported) {
    EXPECT_EQ(run(asked("a") + statusLine("null", 4, R"("")") + "x\n"), exitAnswered);
    const std::string end = ": a path that isn't absolute stops the host of a fake; it is left out";
    EXPECT_EQ(mComplaints, (Texts{"j:1: getElementStatus 'a'" + end,
                                  "j:2: getElementStatus of a null pointer" + end,
                                  "j:3: no JSON object; the line is left out"}));
}

TEST_F(UsageCommandTest, WithoutALineTheExitCodeIsTwo) {
    EXPECT_EQ(run(""), exitNoAnswer);
    EXPECT_EQ(mPrinted, "");
}

TEST_F(UsageCommandTest, JsonHasAnObjectALine) {
    mQuery.json = true;
    mConfiguration = "[attrs]\nC:\\src\\a=\xff*version\n";
    EXPECT_EQ(run(asked("C:\\src\\A")), exitComplaints);
    // The bytes of the line.
    const std::string text = R"({"hex":"433a5c7372635c613dff2a76657273696f6e"})";
    const std::string beginning =
        R"({"line":2,"text":)" + text + "}\n" +
        R"({"question":"C:\\src\\A","count":1,"near":[{"line":2,"text":)" + text + R"(,"why":")";
    EXPECT_TRUE(mPrinted.starts_with(beginning)) << mPrinted;
    EXPECT_TRUE(mPrinted.ends_with(
        "\"}]}\n{\"summary\":{\"lines\":1,\"neverUsed\":1,\"paths\":1,\"withoutAnswer\":1,"
        "\"missing\":0}}\n"))
        << mPrinted;
}

TEST_F(UsageCommandTest, APathThatIsNoUtf8IsInJsonByItsBytes) {
    mQuery.json = true;
    EXPECT_EQ(run(statusLine(R"({"hex":"433a5cff"})", 4, R"("")")), exitComplaints);
    EXPECT_TRUE(mPrinted.starts_with(R"({"question":{"hex":"433a5cff"},"count":1,"near":[]})"))
        << mPrinted;
}

}  // namespace
