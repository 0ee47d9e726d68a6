#include "tools/ccquery/journals/verifycommand.h"

#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/journaltext.h"
#include "testing/portablefake.h"
#include "tools/ccquery/journals/askagain.h"
#include "tools/ccquery/journals/recordedconnections.h"

namespace {

using namespace ccquery;
using namespace testing_support;
using Texts = std::vector<std::string>;

/// Throws as no fake does.
class ThrowingFake : public PortableFake {
public:
    using PortableFake::PortableFake;
    std::string getOutput() override { throw std::logic_error("broken"); }
    std::string getError() override { throw 5; }
    void clearMessages() override { throw std::logic_error("broken"); }
    std::string getMvfsDrives(TextMap& /*drives*/) override { throw std::logic_error("broken"); }
};

/// Has sessions, and a connection that can be killed.
class FakeWithSessions : public PortableFake {
public:
    using PortableFake::PortableFake;
    void startSession() override {}
    void killConnection() override {}
};

class VerifyCommandTest : public testing::Test {
protected:
    ExitCode run(const std::string& journal) {
        mQuery.journals = {"j"};
        return verify(mQuery,
                      {.source = sourceOf({{"j", journal}}),
                       .connect = [this]() -> std::unique_ptr<ClearCaseConnection> {
                           ++mConnections;
                           if (mThrows) {
                               return std::make_unique<ThrowingFake>(mConfiguration, mWorld);
                           }
                           if (mHasSessions) {
                               return std::make_unique<FakeWithSessions>(mConfiguration, mWorld);
                           }
                           return std::make_unique<PortableFake>(mConfiguration, mWorld);
                       },
                       .setViewRoot = [this](const auto& value) { mWorld.viewRoot = value; },
                       .print = [this](const std::string& text) { mPrinted += text; },
                       .complain = [this](const std::string& text) { mComplaints.push_back(text); },
                       .painter = tools::Painter(mPaints)});
    }

    void expectEqual(const std::string& journal, const std::string& summary) {
        mPrinted.clear();
        EXPECT_EQ(run(journal), exitAnswered);
        EXPECT_EQ(mPrinted, summary + "\n");
        EXPECT_EQ(mComplaints, Texts());
    }

    void expectDifference(const std::string& journal, const std::string& difference) {
        mPrinted.clear();
        EXPECT_EQ(run(journal), exitComplaints);
        EXPECT_EQ(mPrinted, difference + "1 asked, 1 different\n");
    }

    Query mQuery{.command = Command::verify};
    std::string mConfiguration = "[vobs]\n\\v=\n[attrs]\nC:\\a=*version\nC:\\l=t\n";
    FakeWorld mWorld;
    bool mThrows = false;
    bool mHasSessions = false;
    bool mPaints = false;
    int mConnections = 0;
    std::string mPrinted;
    Texts mComplaints;
};

TEST_F(VerifyCommandTest, EqualAnswersAreOnlyCounted) {
    mWorld.mvfsRoot = "M:";
    mWorld.views = {{"X:", "tag1"}};
    expectEqual(
        connectLine(R"("C:\\views\\mine")") + statusLine(R"("C:\\a")", 1, R"("/main/0")") +
            statusLine(R"("C:\\l")", 3, R"("")", R"("C:/t")") +
            journalLine("getElementStatus", R"({"path":"C:\\l","version":null,"target":null})",
                        R"({"type":3,"version":null,"target":null})") +
            journalLine("getElementStatus", R"({"path":"C:\\x","version":"old","target":"kept"})",
                        R"({"type":4,"version":"","target":"kept"})") +
            journalLine("getOutput", "{}", R"({"text":""})") +
            journalLine("getError", "{}", R"({"text":""})") +
            journalLine("clearMessages", "{}", "{}") +
            journalLine("getViewTag", "{}", R"({"text":"mine"})") +
            journalLine("getProductInfo", R"({"info":[["more","x"]]})",
                        R"({"info":[["more","x"],["osname","Windows"],)"
                        R"(["product","Phony ClearCase Interface"],["version","n/a"]]})") +
            journalLine("canonicalizeViewPath",
                        R"({"cwd":"C:\\","path":"M:\\tag1\\vob\\a","vobTags":["X:\\vob"]})",
                        R"({"text":"X:\\vob\\a"})") +
            journalLine("getMvfsDrives", R"({"drives":[["Z:","x"]]})",
                        R"({"text":"M:","drives":[["X:","tag1"]]})") +
            journalLine("isReady", "{}", R"({"ready":true})") +
            journalLine("disconnect", "{}", "{}"),
        "12 asked, 0 different");
}

TEST_F(VerifyCommandTest, TheLinesOfADifferenceArePainted) {
    mPaints = true;
    expectDifference(statusLine(R"("C:\\a")", 1, R"("\u001b[1m")"),
                     "j:1: getElementStatus 'C:\\a'\n\x1b[31m- version: \\x1b[1m\x1b[0m\n"
                     "\x1b[32m+ version: /main/0\x1b[0m\n");
}

TEST_F(VerifyCommandTest, JsonIsNeverPainted) {
    mPaints = true;
    mQuery.json = true;
    EXPECT_EQ(run(statusLine(R"("C:\\a")", 1, R"("/main/3")")), exitComplaints);
    EXPECT_EQ(mPrinted.find('\x1b'), std::string::npos) << mPrinted;
}

TEST_F(VerifyCommandTest, ADifferenceShowsBothAnswers) {
    expectDifference(statusLine(R"("C:\\a")", 1, R"("/main/3")"),
                     "j:1: getElementStatus 'C:\\a'\n- version: /main/3\n+ version: /main/0\n");
    expectDifference(statusLine(R"("C:\\l")", 42, R"("x\n")", R"("y")"),
                     "j:1: getElementStatus 'C:\\l'\n- type: 42\n+ type: symbolic_link (3)\n- "
                     "version: x\\n\n+ version: \n"
                     "- target: y\n+ target: C:/t\n");
    expectDifference(journalLine("isReady", "{}", R"({"ready":false})"),
                     "j:1: isReady\n- ready: false\n+ ready: true\n");
    expectDifference(
        journalLine("canonicalizeViewPath", R"({"cwd":"C:\\","path":"a","vobTags":["X:\\v"]})",
                    R"({"text":"x"})"),
        "j:1: canonicalizeViewPath 'a' in 'C:\\', tag 'X:\\v'\n- text: x\n"
        "+ text: C:/a\n");
}

TEST_F(VerifyCommandTest, ElementsOfMapsDifferEachForItself) {
    mWorld.mvfsRoot = "M:";
    mWorld.views = {{"X:", "one"}, {"Y:", "two"}};
    expectDifference(journalLine("getMvfsDrives", R"({"drives":[]})",
                                 R"({"text":"M:","drives":[["W:","w"],["X:","x"]]})"),
                     "j:1: getMvfsDrives\n- drives 'W:': w\n- drives 'X:': x\n+ drives 'X:': one\n"
                     "+ drives 'Y:': two\n");
}

TEST_F(VerifyCommandTest, AStateWithoutANameIsItsNumber) {
    mQuery.asked = {"probeVobs"};
    expectDifference(
        journalLine("probeVobs", R"({"root":"C:","results":[]})",
                    R"({"results":[{"tag":"C:/v","state":7}]})"),
        "j:1: probeVobs 'C:'\n- results 1: C:/v (7)\n+ results 1: C:/v (not_determined)\n");
}

TEST_F(VerifyCommandTest, AnExceptionIsAnAnswer) {
    mThrows = true;
    expectDifference(journalLine("getOutput", "{}", R"({"text":"x"})"),
                     "j:1: getOutput\n- text: x\n+ exception: std::logic_error: broken\n");
    expectDifference(
        journalLine("getOutput", "{}", R"(!{"type":"std::logic_error","what":"other"})"),
        "j:1: getOutput\n- exception: std::logic_error: other\n"
        "+ exception: std::logic_error: broken\n");
    expectEqual(journalLine("getOutput", "{}", R"(!{"type":"std::logic_error","what":"broken"})") +
                    journalLine("getError", "{}", R"(!{"type":null,"what":null})"),
                "2 asked, 0 different");
}

TEST_F(VerifyCommandTest, AFieldCanBeIgnored) {
    mQuery.ignored = {"version"};
    expectEqual(statusLine(R"("C:\\a")", 1, R"("/main/3")"), "1 asked, 0 different");
    expectDifference(statusLine(R"("C:\\a")", 2, R"("/main/3")"),
                     "j:1: getElementStatus 'C:\\a'\n- type: directory_version (2)\n"
                     "+ type: version (1)\n");
    mQuery.ignored = {"exception", "text"};
    mThrows = true;
    expectEqual(journalLine("getOutput", "{}", R"({"text":"x"})"), "1 asked, 0 different");
}

TEST_F(VerifyCommandTest, ASessionThatStartsIsNoneThatIsRefused) {
    const std::string refused =
        journalLine("startSession", "{}", R"(!{"type":"std::runtime_error","what":"no"})");
    mHasSessions = true;
    mQuery.asked = {"startSession", "killConnection"};
    expectEqual(journalLine("startSession", "{}", "{}") + journalLine("killConnection", "{}", "{}"),
                "2 asked, 0 different");
    mPrinted.clear();
    EXPECT_EQ(run(refused), exitComplaints);
    EXPECT_EQ(mPrinted,
              "j:1: startSession\n- exception: std::runtime_error: no\n1 asked, 1 different\n");
}

TEST_F(VerifyCommandTest, WhatChangesSomethingIsAskedOnDemandOnly) {
    const std::string journal =
        journalLine("isReady", "{}", R"({"ready":true})") +
        journalLine("probeVobs", R"({"root":"C:","results":[{"tag":"x","state":1}]})",
                    R"({"results":[{"tag":"x","state":1},{"tag":"C:/v","state":2}]})") +
        journalLine(
            "startSession", "{}",
            R"(!{"type":"std::runtime_error","what":"No ClearCase sessions when faking"})") +
        journalLine("killConnection", "{}",
                    R"(!{"type":"std::runtime_error","what":"No connection to kill!"})");
    expectEqual(journal,
                "1 asked, 0 different, 1 of killConnection not asked, 1 of probeVobs "
                "not asked, 1 of startSession not asked");
    mQuery.asked = {"probeVobs"};
    expectEqual(journal,
                "2 asked, 0 different, 1 of killConnection not asked, 1 of "
                "startSession not asked");
    mQuery.asked = {"probeVobs", "startSession", "killConnection"};
    expectEqual(journal, "4 asked, 0 different");
    mWorld.writableFolders = {"C:/v"};
    mPrinted.clear();
    EXPECT_EQ(run(journal), exitComplaints);
    EXPECT_EQ(mPrinted,
              "j:2: probeVobs 'C:'\n- results 2: C:/v (not_determined)\n"
              "+ results 2: C:/v (writable)\n4 asked, 1 different\n");
}

TEST_F(VerifyCommandTest, WhatWouldStopTheProcessIsNotAsked) {
    const std::string end = ": it would stop the process of a fake; it isn't asked";
    EXPECT_EQ(run(statusLine(R"("a")", 4, R"("")") + statusLine("null", 4, R"("")") +
                  journalLine("canonicalizeViewPath", R"({"cwd":"w","path":"a","vobTags":[]})",
                              R"({"text":""})") +
                  journalLine("isReady", "{}", R"({"ready":true})")),
              exitAnswered);
    EXPECT_EQ(mComplaints, (Texts{"j:1: getElementStatus 'a'" + end,
                                  "j:2: getElementStatus of a null pointer" + end,
                                  "j:3: canonicalizeViewPath 'a' in 'w'" + end}));
    EXPECT_EQ(mPrinted,
              "1 asked, 0 different, 1 of canonicalizeViewPath not asked, 2 of "
              "getElementStatus not asked\n");
}

TEST_F(VerifyCommandTest, AnEmptyTagOfAViewWithoutADriveIsNotAsked) {
    mWorld.mvfsRoot = "M:";
    const std::string journal =
        journalLine("canonicalizeViewPath", R"({"cwd":"C:\\","path":"M:\\t\\a","vobTags":[""]})",
                    R"({"text":"M:/t/a"})");
    expectEqual(journal, "1 asked, 0 different");
    mWorld.views = {{"", "t"}};
    EXPECT_EQ(run(journal), exitNoAnswer);
    EXPECT_EQ(mComplaints.size(), 2U);
}

TEST_F(VerifyCommandTest, AViewOnWhatIsNoDriveIsNotAsked) {
    mWorld.mvfsRoot = "M:";
    mWorld.views = {{"X", "t"}};
    EXPECT_EQ(run(journalLine("canonicalizeViewPath",
                              R"({"cwd":"C:\\","path":"M:\\t\\a","vobTags":["X"]})",
                              R"({"text":"M:/t/a"})")),
              exitNoAnswer);
    EXPECT_EQ(mComplaints.size(), 2U);
}

TEST_F(VerifyCommandTest, ALibraryThatThrowsWhereItSaysItsDrivesIsAskedNevertheless) {
    mThrows = true;
    expectEqual(journalLine("canonicalizeViewPath", R"({"cwd":"C:\\","path":"a","vobTags":[""]})",
                            R"({"text":"C:/a"})"),
                "1 asked, 0 different");
}

TEST_F(VerifyCommandTest, AConnectionThatIsMadeAgainMayThrowWhereItsMessagesAreCleared) {
    mThrows = true;
    std::string journal =
        journalLine("clearMessages", "{}", R"(!{"type":"std::logic_error","what":"broken"})");
    const int others = static_cast<int>(RecordedConnections::limit);
    for (int process = 2; process < others + 2; ++process) {
        journal += journalLine("isReady", "{}", R"({"ready":true})", process);
    }
    journal += journalLine("isReady", "{}", R"({"ready":true})");
    expectEqual(journal, std::to_string(others + 2) + " asked, 0 different");
    EXPECT_EQ(mConnections, others + 2);
}

TEST_F(VerifyCommandTest, EachConnectionHasItsViewRoot) {
    mConfiguration = "[attrs]\nC:\\a=*version\n";
    const std::string tag = R"({"text":"one"})";
    expectEqual(connectLine(R"("C:\\one")", 1) + connectLine("null", 2) +
                    journalLine("getViewTag", "{}", R"({"text":"one"})", 1) +
                    journalLine("getViewTag", "{}", R"({"text":""})", 2) +
                    statusLine(R"("C:\\oneC:\\a")", 1, R"("/main/0")", R"("")", 1) +
                    statusLine(R"("C:\\oneC:\\a")", 4, R"("")", R"("")", 2),
                "4 asked, 0 different");
    EXPECT_EQ(mConnections, 2);
}

TEST_F(VerifyCommandTest, AConnectionLastsFromItsFirstLineToItsLast) {
    mConfiguration = "[attrs]\nbad\n";
    const std::string bad = R"({"text":"Invalid line in [attrs]:  bad\n"})";
    const std::string cleared = R"({"text":""})";
    expectEqual(journalLine("getError", "{}", bad) + journalLine("clearMessages", "{}", "{}") +
                    journalLine("getError", "{}", cleared) + connectLine() +
                    journalLine("getError", "{}", bad) + journalLine("clearMessages", "{}", "{}") +
                    journalLine("disconnect", "{}", "{}") + journalLine("getError", "{}", bad) +
                    journalLine("getError", "{}", bad, 1, 2),
                "7 asked, 0 different");
    EXPECT_EQ(mConnections, 4);
}

TEST_F(VerifyCommandTest, ThousandsOfConnectionsDoNotExistAtOnce) {
    class Counted : public PortableFake {
    public:
        Counted(const FakeWorld& world, int& count) : PortableFake("bad", world), mCount(count) {
            ++mCount;
        }
        ~Counted() override { --mCount; }
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;

    private:
        int& mCount;
    };
    int count = 0;
    int most = 0;
    RecordedConnections connections(
        [&] {
            auto made = std::make_unique<Counted>(mWorld, count);
            most = std::max(most, count);
            return made;
        },
        [](const auto&) {});
    JournalLine line{.operation = Operation::clearMessages, .connection = 1};
    for (line.process = 0; line.process < 10'000; ++line.process) {
        connections.of(line).clearMessages();
    }
    EXPECT_EQ(most, static_cast<int>(RecordedConnections::limit));
    // The first one doesn't exist any more.
    line.process = 0;
    connections.end(line);
    EXPECT_EQ(count, static_cast<int>(RecordedConnections::limit));
}

TEST_F(VerifyCommandTest, AConnectionThatIsMadeAgainHasItsMessagesCleared) {
    mConfiguration = "[attrs]\nbad\n";
    std::string journal = journalLine("clearMessages", "{}", "{}", 1);
    for (int process = 2; process < 70; ++process) {
        journal += journalLine("isReady", "{}", R"({"ready":true})", process);
    }
    journal += journalLine("getError", "{}", R"({"text":""})", 1);
    expectEqual(journal, "70 asked, 0 different");
    EXPECT_EQ(mConnections, 70);
}

TEST_F(VerifyCommandTest, MissingLinesAreReported) {
    EXPECT_EQ(run(journalLine("lost", "{}", R"({"lines":3,"error":"disk full"})") +
                  journalLine("isReady", "{}", R"({"ready":true})") + "x\n"),
              exitAnswered);
    EXPECT_EQ(mComplaints,
              (Texts{"j:1: 3 lines before this one are missing (disk full); they can't be asked",
                     "j:3: no JSON object; the line is left out"}));
    EXPECT_EQ(mPrinted, "1 asked, 0 different, 3 missing\n");
}

TEST_F(VerifyCommandTest, WithoutAQuestionTheExitCodeIsTwo) {
    EXPECT_EQ(run(connectLine()), exitNoAnswer);
    EXPECT_EQ(mComplaints, (Texts{"no question could be asked; name a journal that has some"}));
    mComplaints.clear();
    EXPECT_EQ(run(journalLine("startSession", "{}", "{}")), exitNoAnswer);
    EXPECT_EQ(mComplaints, (Texts{"no question could be asked; let --ask name an operation, or "
                                  "name another journal"}));
}

TEST_F(VerifyCommandTest, DifferencesInJsonHaveAllOfTheAnswers) {
    mQuery.json = true;
    EXPECT_EQ(run(statusLine(R"({"hex":"433a5c5cff"})", 4, R"("é")") +
                  journalLine("startSession", "{}", "{}")),
              exitComplaints);
    EXPECT_EQ(
        mPrinted,
        R"({"file":"j","line":1,"operation":"getElementStatus","arguments":{"path":)"
        R"({"hex":"433a5c5cff"},"version":"","target":""},"recorded":{"type":4,"version":"é",)"
        R"("target":""},"answered":{"type":4,"version":"","target":""}})"
        "\n"
        R"({"summary":{"asked":1,"different":1,"notAsked":{"startSession":1},"missing":0}})"
        "\n");
    mPrinted.clear();
    mThrows = true;
    EXPECT_EQ(run(journalLine("getOutput", "{}", R"({"text":"x"})")), exitComplaints);
    EXPECT_TRUE(mPrinted.starts_with(
        R"({"file":"j","line":1,"operation":"getOutput","arguments":{},"recorded":{"text":"x"},)"
        R"("answered":{"exception":{"type":"std::logic_error","what":"broken"}}})"))
        << mPrinted;
}

TEST_F(VerifyCommandTest, ListsAndMapsAreJsonToo) {
    mQuery.json = true;
    mQuery.asked = {"probeVobs"};
    mWorld.views = {{"X:", "one"}};
    EXPECT_EQ(run(journalLine("probeVobs", R"({"root":"C:","results":[]})", R"({"results":[]})") +
                  journalLine("getMvfsDrives", R"({"drives":[]})", R"({"text":"","drives":[]})") +
                  journalLine("canonicalizeViewPath",
                              R"({"cwd":"C:\\","path":"a","vobTags":["t"]})", R"({"text":"x"})") +
                  journalLine("isReady", "{}", R"({"ready":false})")),
              exitComplaints);
    for (const char* const part :
         {R"("answered":{"results":[{"tag":"C:/v","state":2}]})",
          R"("answered":{"text":"","drives":[["X:","one"]]})", R"("vobTags":["t"])",
          R"("recorded":{"ready":false},"answered":{"ready":true})"}) {
        EXPECT_NE(mPrinted.find(part), std::string::npos) << part << '\n' << mPrinted;
    }
}

TEST_F(VerifyCommandTest, OnlyQuestionsCanBeAskedAgain) {
    PortableFake fake("", mWorld);
    const JournalLine line{.operation = Operation::disconnect};
    EXPECT_DEATH(static_cast<void>(askAgain(fake, line)), "a line that isn't a question");
}

}  // namespace
