#include "tools/ccquery/journals/recordedvobs.h"

#include <gtest/gtest.h>

#include "testing/recordcommandtest.h"

namespace {

using namespace ccquery;
using namespace testing_support;

class RecordedVobsTest : public RecordCommandTest {};

TEST_F(RecordedVobsTest, ProbesThatNoConfigurationFitsAreAnnounced) {
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

TEST_F(RecordedVobsTest, ARootWithoutASeparatorAtItsEndShowsHowTheTagsBegin) {
    const auto probe = [](const std::string& root, const std::string& folder) {
        return journalLine("probeVobs", R"({"root":")" + root + R"(","results":[]})",
                           R"({"results":[{"tag":")" + folder + R"(","state":0}]})");
    };
    const std::string onDrive = probe(R"(C:\\r\\)", "C:/r/vob");
    for (const std::string& journal :
         {onDrive + probe(R"(C:\\x)", "C:/x/vob"), probe(R"(C:\\x)", "C:/x/vob") + onDrive}) {
        mPrinted.clear();
        mComplaints.clear();
        EXPECT_EQ(run(journal), exitAnswered);
        EXPECT_EQ(mPrinted, beginning + "[vobs]\n\\vob=\n");
        EXPECT_EQ(mComplaints.size(), 1U) << "which VOBs can be written";
    }
    mPrinted.clear();
    EXPECT_EQ(run(onDrive + probe(R"(C:\\x)", "C:/xvob")), exitAnswered);
    EXPECT_EQ(mPrinted, beginning + "[vobs]\nvob=\n");
    mPrinted.clear();
    EXPECT_EQ(run(onDrive), exitAnswered);
    EXPECT_EQ(mPrinted, beginning + "[vobs]\nvob=\n");
}

TEST_F(RecordedVobsTest, ATagIsFoundForEachFormOfARoot) {
    EXPECT_EQ(tagOfFolder("c:\\vobs", "C:/vobs/a"), "\\a");
    EXPECT_EQ(tagOfFolder("\\\\srv\\sh", "/srv/sh/a"), "\\a");
    EXPECT_EQ(tagOfFolder("C:/v/", "C:/v/a"), "a");
    EXPECT_EQ(tagOfFolder("", "X/a"), "X\\a");
    EXPECT_EQ(tagOfFolder("C:/v", "C:/v"), "");
    EXPECT_EQ(tagOfFolder("C:/v", "C:/v/a=b"), "");
    EXPECT_EQ(tagOfFolder("C:/v", "C:"), "");
}

}  // namespace
