#include <gtest/gtest.h>

#include "testing/recordcommandtest.h"

namespace {

using namespace ccquery;
using namespace testing_support;

class RecordedElementsTest : public RecordCommandTest {};

TEST_F(RecordedElementsTest, ElementsAreSortedByTheirKeys) {
    expectRecorded(connectLine() + statusLine(R"("C:\\s\\b")", 4, R"("")") +
                       statusLine(R"("C:/s/./a.c")", 1, R"("/main/0")") +
                       statusLine(R"("C:\\s\\l")", 3, R"("")", R"("C:\\s/..\\t")") +
                       statusLine(R"("C:\\s\\b")", 4, R"("")"),
                   "[attrs]\nC:\\s\\a.c=/main/0*version\nC:\\s\\b=*view_private\nC:\\s\\l=..\\t\n");
}

TEST_F(RecordedElementsTest, VobsKeepTheirOrder) {
    const std::string results =
        R"({"results":[{"tag":"C:/v/b","state":1},{"tag":"C:/v/a","state":0}]})";
    EXPECT_EQ(run(journalLine("probeVobs", R"({"root":"c:\\v","results":[]})", results)),
              exitAnswered);
    EXPECT_EQ(mPrinted, beginning + "[vobs]\n\\b=ro\n\\a=\n");
    EXPECT_EQ(mComplaints, (Texts{"j:1: probeVobs 'c:\\v': a configuration doesn't say which VOBs "
                                  "can be written; the folders on the disk decide about that"}));
}

TEST_F(RecordedElementsTest, ASpellingThatIsAskedTwiceGetsTheLinkThatFitsBoth) {
    expectRecorded(statusLine(R"("C:/s/l")", 3, R"("")", R"("C:/t")") +
                       statusLine(R"("C:\\s\\l")", 3, R"("")", R"("C:/t")"),
                   "[attrs]\nC:\\s\\l=C:/t\n");
    mPrinted.clear();
    expectRecorded(statusLine(R"("C:/s/l")", 3, R"("")", R"("C:/s/t")") +
                       statusLine(R"("C:\\s\\l")", 3, R"("")", R"("C:\\s/t")"),
                   "[attrs]\nC:\\s\\l=t\n");
}

TEST_F(RecordedElementsTest, AnAnswerWithoutAllTextsWaitsForAWholeOne) {
    expectRecorded(
        journalLine("getElementStatus", R"({"path":"C:\\l","version":null,"target":null})",
                    R"({"type":3,"version":null,"target":null})") +
            statusLine(R"("C:\\l")", 3, R"("")", R"("D:\\t")"),
        "[attrs]\nC:\\l=D:\\t\n");
}

TEST_F(RecordedElementsTest, AnswersAsTheFakeGivesThemNeedNoLine) {
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

TEST_F(RecordedElementsTest, AVersionOfItsOwnIsAnnounced) {
    expectAnnounced(statusLine(R"("C:\\a")", 1, R"("/main/3")"),
                    "getElementStatus 'C:\\a': the version '/main/3' becomes '/main/0'; verify "
                    "with --ignore version");
    EXPECT_EQ(mPrinted, beginning + "[attrs]\nC:\\a=/main/3*version\n");
}

TEST_F(RecordedElementsTest, AnElementWithoutALineIsAnnounced) {
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

TEST_F(RecordedElementsTest, APathThatWouldStopTheHostIsAnnounced) {
    const std::string end =
        ": a path that isn't absolute would stop the host of a fake; it is left out";
    expectAnnounced(statusLine(R"("a")", 4, R"("")"), "getElementStatus 'a'" + end);
    expectAnnounced(statusLine("null", 4, R"("")"), "getElementStatus of a null pointer" + end);
    expectAnnounced(
        journalLine("canonicalizeViewPath", R"({"cwd":"w","path":"a","vobTags":[]})",
                    R"({"text":"w/a"})"),
        "canonicalizeViewPath 'a' in 'w': the path can't be made absolute, which would stop "
        "the host of a fake; it is left out");
}

TEST_F(RecordedElementsTest, ASecondAnswerIsAnnounced) {
    EXPECT_EQ(run(statusLine(R"("C:\\a")", 4, R"("")") + statusLine(R"("C:\\a")", 6, R"("")")),
              exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: getElementStatus 'C:\\a': the answer differs from the one before (type "
                     "derived_object, version '', target '' in place of type view_private, version "
                     "'', target ''); the first one is kept"}));
    EXPECT_EQ(mPrinted, beginning + "[attrs]\nC:\\a=*view_private\n");
}

TEST_F(RecordedElementsTest, AnAnswerIsShownWithTheTextsThatTheHostWanted) {
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

TEST_F(RecordedElementsTest, ATargetOfAnotherSpellingIsAnnounced) {
    EXPECT_EQ(run(statusLine(R"("C:/s/l")", 3, R"("")", R"("C:/s/t")") +
                  statusLine(R"("C:/s/./l")", 3, R"("")", R"("C:/u")")),
              exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: getElementStatus 'C:/s/./l': type symbolic_link, version '', target "
                     "'C:/u' becomes type symbolic_link, version '', target 'C:/s/./t'; another "
                     "answer decides about this element"}));
}

TEST_F(RecordedElementsTest, AnotherSpellingWithAnotherAnswerIsAnnounced) {
    EXPECT_EQ(run(statusLine(R"("C:\\a")", 4, R"("")") + statusLine(R"("C:/a")", 6, R"("")")),
              exitComplaints);
    EXPECT_EQ(mComplaints,
              (Texts{"j:2: getElementStatus 'C:/a': type derived_object, version '', target '' "
                     "becomes type view_private, version '', target ''; another answer decides "
                     "about this element"}));
}

TEST_F(RecordedElementsTest, TheSecondKeyOfAViewRootCounts) {
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

TEST_F(RecordedElementsTest, AnAnswerThatNoFakeGivesIsAnnounced) {
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
         "canonicalizeViewPath 'a' in 'C:\\w': 'X:\\a' becomes 'C:/w/a' without drives; have the "
         "journal "
         "record a call of getMvfsDrives"},
    };
    for (const auto& [journal, why] : rows) {
        expectAnnounced(journal, why);
    }
}

}  // namespace
