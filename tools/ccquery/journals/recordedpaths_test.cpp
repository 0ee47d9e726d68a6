#include "tools/ccquery/journals/recordedpaths.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "testing/recordcommandtest.h"
#include "tools/ccdrives/drivelist.h"

namespace {

using namespace ccquery;
using namespace testing_support;

class RecordedPathsTest : public RecordCommandTest {};

TEST_F(RecordedPathsTest, ViewPathsAreCheckedWithTheRecordedDrives) {
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
    EXPECT_EQ(mComplaints, (Texts{"j:1: canonicalizeViewPath 'M:\\tag1\\vob\\a' in 'C:\\', tag "
                                  "'X:\\vob': 'else' becomes 'X:\\vob\\a' with "
                                  "the recorded drives; connect those that the host had"}));
}

TEST_F(RecordedPathsTest, AViewPathThatIsAskedTwiceHasOneAnswer) {
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
    EXPECT_EQ(
        mComplaints,
        (Texts{"j:2: canonicalizeViewPath 'a' in 'C:/': the answer differs from the one before "
               "('X:/a' in place of 'C:/a'); drives that change can't be recorded"}));
}

TEST_F(RecordedPathsTest, AViewWithoutADriveStopsTheHostOnlyIfATagNamesIt) {
    const auto stops = [](const std::string& path, const std::string& tag,
                          const std::string& drive) {
        return stopsHost("C:", path, {tag}, {.mvfsRoot = "M:", .views = {{drive, "t"}}});
    };
    EXPECT_TRUE(stops("M:/t", "", ""));
    EXPECT_FALSE(stops("M:/u", "", ""));
    EXPECT_FALSE(stops("M:/t", "X:", ""));
    EXPECT_FALSE(stops("M:/t", "", "X:"));
    EXPECT_FALSE(stops("M:/t", "X:", "X:"));
}

TEST_F(RecordedPathsTest, AViewOnWhatIsNoDriveStopsTheHostLikeOneWithoutADrive) {
    for (const char* drive : {"X", "PQ"}) {
        const RecordedDrives drives{.mvfsRoot = "M:", .views = {{drive, "tag"}}};
        const std::vector<std::string> tags = {drive};
        EXPECT_TRUE(stopsHost("C:\\", "M:\\tag\\a", tags, drives)) << drive;
        EXPECT_FALSE(stopsHost("C:\\", "C:\\a", tags, drives)) << drive;
        const std::string name = '"' + std::string(drive) + '"';
        EXPECT_EQ(run(journalLine("getMvfsDrives", R"({"drives":[]})",
                                  R"({"text":"M:","drives":[[)" + name + R"(,"tag"]]})") +
                      journalLine("canonicalizeViewPath",
                                  R"({"cwd":"C:\\","path":"M:\\tag\\a","vobTags":[)" + name + "]}",
                                  R"({"text":"x"})")),
                  exitComplaints);
        const auto stops = [](const std::string& complaint) {
            return complaint.ends_with("would stop the host of a fake; it is left out");
        };
        EXPECT_EQ(std::count_if(mComplaints.begin(), mComplaints.end(), stops), 1) << drive;
        mComplaints.clear();
    }
}

TEST_F(RecordedPathsTest, DrivesAreAListForTheProvider) {
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
    const ccdrives::DriveList list = ccdrives::parseDriveList(mFiles["d"]);
    ASSERT_EQ(list.batches.size(), 1U);
    ASSERT_EQ(list.batches[0].connections.size(), 5U);
    EXPECT_EQ(list.batches[0].connections[0].localName, "M:");
    EXPECT_EQ(list.batches[0].connections[0].remoteName, "\\\\view");
    EXPECT_EQ(list.batches[0].connections[1].localName, "");
    EXPECT_EQ(list.batches[0].connections[2].remoteName, "\\\\view\\tag1");
    EXPECT_EQ(list.batches[0].connections[3].provider, "ClearCase Dynamic Views");
}

TEST_F(RecordedPathsTest, DrivesThatAreNotWantedAreMentioned) {
    EXPECT_EQ(run(journalLine("getMvfsDrives", R"({"drives":[]})", R"({"text":"M:","drives":[]})")),
              exitAnswered);
    EXPECT_EQ(mComplaints, (Texts{"j:1: getMvfsDrives: drives aren't part of a configuration; "
                                  "write them by --drives FILE"}));
}

TEST_F(RecordedPathsTest, ADriveThatTheListCannotHaveIsAnnounced) {
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

TEST_F(RecordedPathsTest, DrivesThatChangeAreAnnounced) {
    mQuery.drives = "d";
    const auto drives = [](const char* root) {
        return journalLine("getMvfsDrives", R"({"drives":[]})",
                           std::string(R"({"text":")") + root + R"(","drives":[]})");
    };
    EXPECT_EQ(run(drives("M:") + drives("N:") + drives("M:")), exitComplaints);
    EXPECT_EQ(mComplaints, (Texts{"j:2: getMvfsDrives: the drives differ from those before; the "
                                  "first ones are kept"}));
}

}  // namespace
