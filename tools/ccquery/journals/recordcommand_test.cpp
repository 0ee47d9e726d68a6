#include "tools/ccquery/journals/recordcommand.h"

#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/journaltext.h"
#include "testing/providers/mvfsprovider/drivelist.h"
#include "tools/ccquery/journals/recordedpaths.h"
#include "tools/ccquery/journals/recordedvobs.h"
#include "util/pathcollation.h"

namespace {

using namespace ccquery;
using namespace testing_support;
using Texts = std::vector<std::string>;

const std::string beginning = "; Recorded by ccquery from j\n";

class RecordCommandTest : public testing::Test {
protected:
    ExitCode run(const std::string& journal) { return run({{"j", journal}}, {"j"}); }

    ExitCode run(std::map<std::string, std::string> files, Texts journals) {
        mQuery.journals = std::move(journals);
        return record(
            mQuery, {.source = sourceOf(std::move(files)),
                     .print = [this](const std::string& text) { mPrinted += text; },
                     .complain = [this](const std::string& text) { mComplaints.push_back(text); },
                     .exists = [this](const std::string& file) { return mFiles.count(file) != 0; },
                     .isSamePath = [](const std::string& a,
                                      const std::string& b) { return comparePaths(a, b) == 0; },
                     .write =
                         [this](const std::string& file, const std::string& text, bool replace) {
                             EXPECT_EQ(replace, mQuery.force);
                             mFiles[file] = text;
                         }});
    }

    void expectRecorded(const std::string& journal, const std::string& configuration) {
        EXPECT_EQ(run(journal), exitAnswered);
        EXPECT_EQ(mPrinted, beginning + configuration);
        EXPECT_EQ(mComplaints, Texts());
    }

    /// Expects that the first line of the journal isn't reproduced, and why.
    void expectAnnounced(const std::string& journal, const std::string& why) {
        mComplaints.clear();
        EXPECT_EQ(run(journal), exitComplaints);
        EXPECT_EQ(mComplaints, (Texts{"j:1: " + why}));
    }

    std::string problem() {
        try {
            static_cast<void>(run(connectLine()));
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "(none)";
    }

    Query mQuery{.command = Command::record};
    std::map<std::string, std::string> mFiles;
    std::string mPrinted;
    Texts mComplaints;
};

TEST_F(RecordCommandTest, ElementsAreSortedByTheirKeys) {
    expectRecorded(connectLine() + statusLine(R"("C:\\s\\b")", 4, R"("")") +
                       statusLine(R"("C:/s/./a.c")", 1, R"("/main/0")") +
                       statusLine(R"("C:\\s\\l")", 3, R"("")", R"("C:\\s/..\\t")") +
                       statusLine(R"("C:\\s\\b")", 4, R"("")"),
                   "[attrs]\nC:\\s\\a.c=/main/0*version\nC:\\s\\b=*view_private\nC:\\s\\l=..\\t\n");
}

TEST_F(RecordCommandTest, VobsKeepTheirOrder) {
    const std::string results =
        R"({"results":[{"tag":"C:/v/b","state":1},{"tag":"C:/v/a","state":0}]})";
    EXPECT_EQ(run(journalLine("probeVobs", R"({"root":"c:\\v","results":[]})", results)),
              exitAnswered);
    EXPECT_EQ(mPrinted, beginning + "[vobs]\n\\b=ro\n\\a=\n");
    EXPECT_EQ(mComplaints, (Texts{"j:1: probeVobs 'c:\\v': a configuration doesn't say which VOBs "
                                  "can be written; the folders on the disk decide about that"}));
}

TEST_F(RecordCommandTest, ASpellingThatIsAskedTwiceGetsTheLinkThatFitsBoth) {
    expectRecorded(statusLine(R"("C:/s/l")", 3, R"("")", R"("C:/t")") +
                       statusLine(R"("C:\\s\\l")", 3, R"("")", R"("C:/t")"),
                   "[attrs]\nC:\\s\\l=C:/t\n");
    mPrinted.clear();
    expectRecorded(statusLine(R"("C:/s/l")", 3, R"("")", R"("C:/s/t")") +
                       statusLine(R"("C:\\s\\l")", 3, R"("")", R"("C:\\s/t")"),
                   "[attrs]\nC:\\s\\l=t\n");
}

TEST_F(RecordCommandTest, AnAnswerWithoutAllTextsWaitsForAWholeOne) {
    expectRecorded(
        journalLine("getElementStatus", R"({"path":"C:\\l","version":null,"target":null})",
                    R"({"type":3,"version":null,"target":null})") +
            statusLine(R"("C:\\l")", 3, R"("")", R"("D:\\t")"),
        "[attrs]\nC:\\l=D:\\t\n");
}

TEST_F(RecordCommandTest, AnswersAsTheFakeGivesThemNeedNoLine) {
    expectRecorded(
        connectLine(R"("C:\\views\\mine")") + journalLine("getOutput", "{}", R"({"text":""})") +
            journalLine("getError", "{}", R"({"text":""})") +
            journalLine("clearMessages", "{}", "{}") +
            journalLine("getViewTag", "{}", R"({"text":"mine"})") +
            journalLine("getProductInfo", R"({"info":[["more","x"]]})",
                        R"({"info":[["more","x"],["osname","Windows"],)"
                        R"(["product","Phony ClearCase Interface"],["version","n/a"]]})") +
            journalLine("isReady", "{}", R"({"ready":true})") +
            journalLine(
                "startSession", "{}",
                R"(!{"type":"std::runtime_error","what":"No ClearCase sessions when faking"})") +
            journalLine("killConnection", "{}",
                        R"(!{"type":"std::runtime_error","what":"No connection to kill!"})") +
            journalLine("canonicalizeViewPath", R"({"cwd":"C:\\w","path":"a","vobTags":[]})",
                        R"({"text":"C:/w/a"})") +
            journalLine("getMvfsDrives", R"({"drives":[]})", R"({"text":"","drives":[]})") +
            journalLine("disconnect", "{}", "{}"),
        "");
}

TEST_F(RecordCommandTest, AVersionOfItsOwnIsAnnounced) {
    expectAnnounced(statusLine(R"("C:\\a")", 1, R"("/main/3")"),
                    "getElementStatus 'C:\\a': the version '/main/3' becomes '/main/0'; verify "
                    "with --ignore version");
    EXPECT_EQ(mPrinted, beginning + "[attrs]\nC:\\a=/main/3*version\n");
}

TEST_F(RecordCommandTest, AnElementWithoutALineIsAnnounced) {
    const std::string end = "; the file on the disk decides";
    expectAnnounced(statusLine(R"("C:\\a")", 2, R"("")"),
                    "getElementStatus 'C:\\a': no line gives this type without a version" + end);
    expectAnnounced(
        statusLine(R"("C:\\a=b")", 4, R"("")"),
        "getElementStatus 'C:\\a=b': no line can have this path: it contains '='" + end);
    expectAnnounced(
        statusLine(R"("C:\\a")", 3, R"("")", R"("D:\\*")"),
        "getElementStatus 'C:\\a': no line can have this link text: it contains '*'" + end);
    expectAnnounced(statusLine(R"("C:\\a")", 9, R"("")"),
                    "getElementStatus 'C:\\a': no type of a configuration has the number 9" + end);
}

TEST_F(RecordCommandTest, APathThatWouldStopTheHostIsAnnounced) {
    const std::string end =
        ": a path that isn't absolute would stop the host of a fake; it is left out";
    expectAnnounced(statusLine(R"("a")", 4, R"("")"), "getElementStatus 'a'" + end);
    expectAnnounced(statusLine("null", 4, R"("")"), "getElementStatus of a null pointer" + end);
    expectAnnounced(journalLine("canonicalizeViewPath", R"({"cwd":"w","path":"a","vobTags":[]})",
                                R"({"text":"w/a"})"),
                    "canonicalizeViewPath 'a': the path can't be made absolute, which would stop "
                    "the host of a fake; it is left out");
}

TEST_F(RecordCommandTest, ASecondAnswerIsAnnounced) {
    EXPECT_EQ(run(statusLine(R"("C:\\a")", 4, R"("")") + statusLine(R"("C:\\a")", 6, R"("")")),
              exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: getElementStatus 'C:\\a': the answer differs from the one before (type "
                     "derived_object, version '', target '' in place of type view_private, version "
                     "'', target ''); the first one is kept"}));
    EXPECT_EQ(mPrinted, beginning + "[attrs]\nC:\\a=*view_private\n");
}

TEST_F(RecordCommandTest, AnAnswerIsShownWithTheTextsThatTheHostWanted) {
    const auto asked = [](const char* path, int type) {
        return journalLine(
            "getElementStatus",
            std::string(R"({"path":")") + path + R"(","version":null,"target":null})",
            R"({"version":null,"target":null,"type":)" + std::to_string(type) + "}");
    };
    EXPECT_EQ(run(asked("C:/a", 1) + asked("C:/a", 99) + asked("C:/.//a", 2)), exitComplaints);
    EXPECT_EQ(
        mComplaints,
        (Texts{"j:2: getElementStatus 'C:/a': the answer differs from the one before (type 99 "
               "in place of type version); the first one is kept",
               "j:3: getElementStatus 'C:/.//a': type directory_version becomes type version; "
               "another answer decides about this element"}));
}

TEST_F(RecordCommandTest, ATargetOfAnotherSpellingIsAnnounced) {
    EXPECT_EQ(run(statusLine(R"("C:/s/l")", 3, R"("")", R"("C:/s/t")") +
                  statusLine(R"("C:/s/./l")", 3, R"("")", R"("C:/u")")),
              exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: getElementStatus 'C:/s/./l': type symbolic_link, version '', target "
                     "'C:/u' becomes type symbolic_link, version '', target 'C:/s/./t'; another "
                     "answer decides about this element"}));
}

TEST_F(RecordCommandTest, AnotherSpellingWithAnotherAnswerIsAnnounced) {
    EXPECT_EQ(run(statusLine(R"("C:\\a")", 4, R"("")") + statusLine(R"("C:/a")", 6, R"("")")),
              exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: getElementStatus 'C:/a': type derived_object, version '', target '' "
                     "becomes type view_private, version '', target ''; another answer decides "
                     "about this element"}));
}

TEST_F(RecordCommandTest, TheSecondKeyOfAViewRootCounts) {
    // With this view root the line of "C:\a" also answers for "C:\vC:\a".
    EXPECT_EQ(run(connectLine(R"("C:\\v")") + statusLine(R"("C:\\a")", 4, R"("")") +
                  statusLine(R"("C:\\vC:\\a")", 2, R"("")")),
              exitComplaints);
    ASSERT_EQ(mComplaints.size(), 1U);
    EXPECT_TRUE(
        mComplaints[0].starts_with("j:3: getElementStatus 'C:\\vC:\\a': type "
                                   "directory_version, version '', target '' becomes type "
                                   "view_private"))
        << mComplaints[0];
}

TEST_F(RecordCommandTest, AnAnswerThatNoFakeGivesIsAnnounced) {
    const std::pair<std::string, std::string> rows[] = {
        {journalLine("getOutput", "{}", R"({"text":"x"})"), "getOutput: 'x' becomes ''"},
        {journalLine("getError", "{}", R"({"text":"bad\n"})"), "getError: 'bad\n' becomes ''"},
        {journalLine("getViewTag", "{}", R"({"text":"mine"})"), "getViewTag: 'mine' becomes ''"},
        {journalLine("isReady", "{}", R"({"ready":false})"),
         "isReady: the connection wasn't ready, and that of a fake always is"},
        {journalLine("getProductInfo", R"({"info":[]})", R"({"info":[]})"),
         "getProductInfo: the product becomes 'Phony ClearCase Interface'"},
        {journalLine("startSession", "{}", "{}"),
         "startSession: it succeeded, and a fake always refuses it"},
        {journalLine("killConnection", "{}", R"(!{"type":"E","what":"w"})"),
         "killConnection: the exception E 'w' becomes std::runtime_error 'No connection to kill!'"},
        {journalLine("killConnection", "{}", R"(!{"type":"std::runtime_error","what":"w"})"),
         "killConnection: the exception std::runtime_error 'w' becomes std::runtime_error 'No "
         "connection to kill!'"},
        {journalLine("isReady", "{}", R"(!{"type":null,"what":null})"),
         "isReady: it threw something '', and a fake doesn't"},
        {journalLine("lost", "{}", R"({"lines":3,"error":"disk full"})"),
         "lost: 3 lines before this one are missing (disk full)"},
        {journalLine("canonicalizeViewPath", R"({"cwd":"C:\\w","path":"a","vobTags":[]})",
                     R"({"text":"X:\\a"})"),
         "canonicalizeViewPath 'a': 'X:\\a' becomes 'C:/w/a' without drives; have the journal "
         "record a call of getMvfsDrives"},
    };
    for (const auto& [journal, why] : rows) {
        expectAnnounced(journal, why);
    }
}

TEST_F(RecordCommandTest, ViewPathsAreCheckedWithTheRecordedDrives) {
    const std::string drives = journalLine("getMvfsDrives", R"({"drives":[]})",
                                           R"({"text":"M:","drives":[["X:","tag1"]]})");
    const auto moved = [](const std::string& text) {
        return journalLine("canonicalizeViewPath",
                           R"({"cwd":"C:\\","path":"M:\\tag1\\vob\\a","vobTags":["X:\\vob"]})",
                           R"({"text":")" + text + "\"}");
    };
    mQuery.force = true;
    mQuery.drives = "d";
    EXPECT_EQ(run(moved(R"(X:\\vob\\a)") + drives), exitAnswered);
    EXPECT_EQ(mComplaints, Texts());
    EXPECT_EQ(run(moved("else") + drives), exitComplaints);
    EXPECT_EQ(
        mComplaints,
        (Texts{"j:1: canonicalizeViewPath 'M:\\tag1\\vob\\a': 'else' becomes 'X:\\vob\\a' with "
               "the recorded drives; connect those that the host had"}));
}

TEST_F(RecordCommandTest, AViewPathThatIsAskedTwiceHasOneAnswer) {
    const auto asked = [](const std::string& cwd, const std::string& path, const std::string& tags,
                          const std::string& text) {
        return journalLine(
            "canonicalizeViewPath",
            R"({"cwd":")" + cwd + R"(","path":")" + path + R"(","vobTags":[)" + tags + "]}",
            R"({"text":")" + text + "\"}");
    };
    const std::string first = asked("C:/", "a", "", "C:/a");
    expectRecorded(first + first + asked("D:/", "a", "", "D:/a") + asked("C:/", "b", "", "C:/b") +
                       asked("C:/", "a", R"("X:")", "C:/a") + asked("C:/", "/c", "", "C:/c") +
                       asked("C:/", "", "", "C:/"),
                   "");
    EXPECT_EQ(run(first + asked("C:/", "a", "", "X:/a")), exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: canonicalizeViewPath 'a': the answer differs from the one before "
                     "('X:/a' in place of 'C:/a'); drives that change can't be recorded"}));
}

TEST_F(RecordCommandTest, AViewWithoutADriveStopsTheHostOnlyIfATagNamesIt) {
    EXPECT_TRUE(stopsHost("C:", "M:/t", {""}, {{"", "t"}}));
    EXPECT_FALSE(stopsHost("C:", "M:/t", {"X:"}, {{"", "t"}}));
    EXPECT_FALSE(stopsHost("C:", "M:/t", {""}, {{"X:", "t"}}));
}

TEST_F(RecordCommandTest, DrivesAreAListForTheProvider) {
    mQuery.drives = "d";
    mQuery.output = "o";
    EXPECT_EQ(run(journalLine("getMvfsDrives", R"({"drives":[]})",
                              R"({"text":"M:","drives":[["","two"],["X:","tag1"],)"
                              R"(["Y:",""],["Z:","\u0001"]]})")),
              exitAnswered);
    EXPECT_EQ(mFiles["d"],
              "# Recorded by ccquery from j\nM: | \\\\view\n | \\\\view\\two\n"
              "X: | \\\\view\\tag1\nY: | \\\\view\\\nZ: | \\\\view\\\x01\n");
    EXPECT_EQ(mFiles["o"], beginning);
    EXPECT_EQ(mPrinted, "");
    const DriveList list = parseDriveList(mFiles["d"]);
    ASSERT_EQ(list.batches.size(), 1U);
    ASSERT_EQ(list.batches[0].connections.size(), 5U);
    EXPECT_EQ(list.batches[0].connections[0].localName, "M:");
    EXPECT_EQ(list.batches[0].connections[0].remoteName, "\\\\view");
    EXPECT_EQ(list.batches[0].connections[1].localName, "");
    EXPECT_EQ(list.batches[0].connections[2].remoteName, "\\\\view\\tag1");
    EXPECT_EQ(list.batches[0].connections[3].provider, "ClearCase Dynamic Views");
}

TEST_F(RecordCommandTest, DrivesThatAreNotWantedAreMentioned) {
    EXPECT_EQ(run(journalLine("getMvfsDrives", R"({"drives":[]})", R"({"text":"M:","drives":[]})")),
              exitAnswered);
    EXPECT_EQ(mComplaints, (Texts{"j:1: getMvfsDrives: drives aren't part of a configuration; "
                                  "write them by --drives FILE"}));
}

TEST_F(RecordCommandTest, ADriveThatTheListCannotHaveIsAnnounced) {
    mQuery.drives = "d";
    for (const char* const pair : {R"(["X:","a|b"])", R"(["X:","a "])", R"(["X:","a\t"])",
                                   R"([" X:","a"])", R"(["\tX:","a"])", R"(["-","a"])",
                                   R"(["x:","a"])", R"(["#:","a"])", R"(["X:","a\nb"])"}) {
        mComplaints.clear();
        EXPECT_EQ(run(journalLine("getMvfsDrives", R"({"drives":[]})",
                                  R"({"text":"","drives":[)" + std::string(pair) + "]}")),
                  exitComplaints);
        ASSERT_EQ(mComplaints.size(), 1U) << pair;
        EXPECT_TRUE(mComplaints[0].starts_with("j:1: getMvfsDrives: a list of drives can't have '"))
            << mComplaints[0];
        EXPECT_EQ(mFiles["d"], "# Recorded by ccquery from j\n");
        mFiles.clear();
    }
}

TEST_F(RecordCommandTest, DrivesThatChangeAreAnnounced) {
    mQuery.drives = "d";
    const auto drives = [](const char* root) {
        return journalLine("getMvfsDrives", R"({"drives":[]})",
                           std::string(R"({"text":")") + root + R"(","drives":[]})");
    };
    EXPECT_EQ(run(drives("M:") + drives("N:") + drives("M:")), exitComplaints);
    EXPECT_EQ(mComplaints, (Texts{"j:2: getMvfsDrives: the drives differ from those before; the "
                                  "first ones are kept"}));
}

TEST_F(RecordCommandTest, ProbesThatNoConfigurationFitsAreAnnounced) {
    const auto probe = [](const std::string& root, const std::string& records,
                          const std::string& before = "") {
        return journalLine("probeVobs", R"({"root":")" + root + R"(","results":[)" + before + "]}",
                           R"({"results":[)" + records + "]}");
    };
    const std::string note =
        ": a configuration doesn't say which VOBs can be written; the folders on the disk decide "
        "about that";
    EXPECT_EQ(run(probe("C:", R"({"tag":"D:/x","state":0})")), exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:1: probeVobs 'C:': the VOBs of a configuration can't have these folders; "
                     "ask for one root alone",
                     "j:1: probeVobs 'C:'" + note}));
    mComplaints.clear();
    EXPECT_EQ(run(probe("C:", R"({"tag":"D:/x","state":0},{"tag":"C:/x","state":0})")),
              exitComplaints);
    EXPECT_EQ(mPrinted, beginning + beginning);
    mComplaints.clear();
    EXPECT_EQ(run(probe("C:", R"({"tag":"C:/x","state":7})")), exitComplaints);
    EXPECT_EQ(mComplaints.front(), "j:1: probeVobs 'C:': a fake reports none of these states");
    mComplaints.clear();
    EXPECT_EQ(run(probe("C:", R"({"tag":"C:/x","state":-1})")), exitComplaints);
    EXPECT_EQ(mComplaints.front(), "j:1: probeVobs 'C:': a fake reports none of these states");
    for (const char* const changed : {R"({"tag":"y","state":0})", R"({"tag":"x","state":1})", ""}) {
        mComplaints.clear();
        EXPECT_EQ(run(probe("C:", changed, R"({"tag":"x","state":0})")), exitComplaints);
        EXPECT_EQ(mComplaints, (Texts{"j:1: probeVobs 'C:': it changed the results that it was "
                                      "given; the fake only adds some"}));
    }
    for (const char* const second :
         {"", R"({"tag":"C:/x","state":1})", R"({"tag":"C:/y","state":0})"}) {
        mComplaints.clear();
        EXPECT_EQ(run(probe("C:", R"({"tag":"C:/x","state":0})") + probe("C:", second)),
                  exitComplaints);
        EXPECT_EQ(mComplaints.front(),
                  "j:2: probeVobs 'C:': the answer differs from the one before; the first one is "
                  "kept");
    }
}

TEST_F(RecordCommandTest, ATagIsFoundForEachFormOfARoot) {
    EXPECT_EQ(tagOfFolder("c:\\vobs", "C:/vobs/a"), "\\a");
    EXPECT_EQ(tagOfFolder("\\\\srv\\sh", "/srv/sh/a"), "\\a");
    EXPECT_EQ(tagOfFolder("C:/v/", "C:/v/a"), "a");
    EXPECT_EQ(tagOfFolder("", "X/a"), "X\\a");
    EXPECT_EQ(tagOfFolder("C:/v", "C:/v"), "");
    EXPECT_EQ(tagOfFolder("C:/v", "C:/v/a=b"), "");
    EXPECT_EQ(tagOfFolder("C:/v", "C:"), "");
}

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
