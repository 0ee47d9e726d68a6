#include "tools/ccquery/explainviewpath.h"

#include <gtest/gtest.h>

namespace {

using namespace ccquery;

using Texts = std::vector<std::string>;

/// The drives that most tests use.
class ExplainViewPathTest : public testing::Test {
protected:
    Explanation explain(const std::string& path, const Texts& tags, const std::string& canonical) {
        const Explain explainer = viewPathExplainer(
            {.mvfsRoot = mMvfsRoot, .viewDrives = mViewDrives, .cwd = mCwd, .tags = tags});
        return explainer(path, {{"path", path}, {"canonical", canonical}});
    }
    /// The lines of an explanation that agrees with the answer.
    Texts lines(const std::string& path, const Texts& tags, const std::string& canonical) {
        const Explanation result = explain(path, tags, canonical);
        EXPECT_TRUE(result.agrees) << result.record;
        return result.lines;
    }

    std::string mMvfsRoot = "M:";
    std::map<std::string, std::string> mViewDrives = {{"X:", "tag1"}};
    std::string mCwd = "D:\\w";
};

TEST_F(ExplainViewPathTest, TheFormInWhichAPathIsTakenIsNamed) {
    const std::string rule = "rule 3: it is on no drive that leads to views, and stays";
    EXPECT_EQ(lines("c:\\src\\.\\a.c", {}, "C:/src/a.c"),
              (Texts{"taken as C:/src/a.c: it is absolute", rule}));
    EXPECT_EQ(lines("a.c", {}, "D:/w/a.c"),
              (Texts{"taken as D:/w/a.c: it is relative to D:\\w", rule}));
    EXPECT_EQ(lines("\\a.c", {}, "D:/a.c"),
              (Texts{"taken as D:/a.c: it begins on the drive of D:\\w", rule}));
}

TEST_F(ExplainViewPathTest, APathInARootNamesTheRootsThatHoldIt) {
    EXPECT_EQ(lines("x:\\vob\\a.c", {"M:\\tag1\\vob", "x:/vob", "X:\\b"}, "X:/vob/a.c"),
              (Texts{"taken as X:/vob/a.c: it is absolute", "tag M:\\tag1\\vob: root M:\\tag1",
                     "tag x:/vob: root X:, which holds it", "tag X:\\b: root X:, which holds it",
                     "rule 4: it lies in the root X:, and stays"}));
}

TEST_F(ExplainViewPathTest, APathThatMovesNamesTheOtherRoutes) {
    EXPECT_EQ(
        lines("X:\\vob\\a.c", {"M:\\tag2", "m:/tag1/vob", "M:\\tag3"}, "M:\\tag1\\vob\\a.c"),
        (Texts{"taken as X:/vob/a.c: it is absolute",
               "tag M:\\tag2: root M:\\tag2, which has no other route",
               "tag m:/tag1/vob: root M:\\tag1, other route X:", "tag M:\\tag3: root M:\\tag3",
               "rule 5: it lies on the other route of the root M:\\tag1, and moves there"}));
}

TEST_F(ExplainViewPathTest, APathOnNoOtherRouteStays) {
    EXPECT_EQ(lines("X:\\vob\\a.c", {"M:\\tag2"}, "X:/vob/a.c").back(),
              "rule 6: it lies in no root and on no other route of one, and stays");
}

TEST_F(ExplainViewPathTest, ATagWithoutARootSaysWhy) {
    mViewDrives["Y:"] = "tag2";
    EXPECT_EQ(lines("C:\\a", {"Z:\\vob", "M:\\"}, "C:/a"),
              (Texts{"taken as C:/a: it is absolute",
                     "tag Z:\\vob: no root, since it is neither in a view on the MVFS drive (M:) "
                     "nor on a view drive (X:, Y:)",
                     "tag M:\\: no root, since it is neither in a view on the MVFS drive (M:) nor "
                     "on a view drive (X:, Y:)",
                     "rule 3: it is on no drive that leads to views, and stays"}));
    mMvfsRoot.clear();
    mViewDrives.clear();
    EXPECT_EQ(lines("C:\\a", {"Z:\\vob"}, "C:/a")[1],
              "tag Z:\\vob: no root, since it is neither in a view on the MVFS drive (there is "
              "none) nor on a view drive (there is none)");
}

TEST_F(ExplainViewPathTest, APathThatCannotBeMovedSaysSo) {
    mMvfsRoot = "//";
    mViewDrives = {{"X:", "srv\\sh"}};
    mCwd = "//srv/sh";
    EXPECT_EQ(lines("x", {"X:\\vob"}, "\\\\srv\\sh\\x").back(),
              "rule 5: it lies on the other route of the root X:, couldn't be made relative to "
              "//srv\\sh, and stays, with backslashes");
}

TEST_F(ExplainViewPathTest, APathThatWouldStopTheProcessIsExplainedAndDoesNotStopIt) {
    mCwd = "\\\\srv\\sh";
    const Explanation atStart = explain("\\a", {}, "anything");
    EXPECT_EQ(atStart.lines,
              (Texts{"rule 1: '\\\\\\a' isn't absolute, which stops the process",
                     "that stops the process, but the library answers otherwise: it is another "
                     "library"}));
    EXPECT_FALSE(atStart.agrees);
    EXPECT_EQ(atStart.record["form"], nullptr);
    EXPECT_EQ(atStart.record["canonical"], nullptr);
    mViewDrives[""] = "tag2";
    const Explanation moved = explain("M:\\tag2\\a", {""}, "anything");
    EXPECT_EQ(moved.lines[2], "rule 5: 'a' isn't absolute, which stops the process");
    EXPECT_FALSE(moved.agrees);
}

TEST_F(ExplainViewPathTest, AnotherAnswerOfTheLibraryIsReported) {
    const Explanation result = explain("c:\\a", {}, "C:\\a");
    EXPECT_FALSE(result.agrees);
    EXPECT_EQ(result.lines.back(),
              "that makes it C:/a, but the library answers otherwise: it is another library");
    EXPECT_EQ(result.record["agrees"], false);
}

TEST_F(ExplainViewPathTest, TheJsonHasTheSame) {
    const Json expected = {
        {"start", "absolute"},
        {"form", "X:/a"},
        {"tags",
         {{{"tag", "Z:"}, {"root", nullptr}},
          {{"tag", "M:\\tag2"}, {"root", "M:\\tag2"}, {"holds", false}, {"otherRoute", nullptr}},
          {{"tag", "M:\\tag1\\v"}, {"root", "M:\\tag1"}, {"holds", false}, {"otherRoute", "X:"}},
          {{"tag", "M:\\tag3"}, {"root", "M:\\tag3"}, {"holds", false}}}},
        {"rule", 5},
        {"why", "it lies on the other route of the root M:\\tag1, and moves there"},
        {"canonical", "M:\\tag1\\a"},
        {"agrees", true}};
    EXPECT_EQ(explain("X:\\a", {"Z:", "M:\\tag2", "M:\\tag1\\v", "M:\\tag3"}, "M:\\tag1\\a").record,
              expected);
    EXPECT_EQ(explain("a", {}, "D:/w/a").record["start"], "directory");
    EXPECT_EQ(explain("\\a", {}, "D:/a").record["start"], "driveOfDirectory");
    EXPECT_EQ(explain("M:\\tag1\\a", {"M:\\tag1"}, "M:/tag1/a").record["tags"][0]["holds"], true);
}

TEST_F(ExplainViewPathTest, ManyPathsAreExplainedOneByOne) {
    const Explain explainer = viewPathExplainer({.mvfsRoot = mMvfsRoot,
                                                 .viewDrives = mViewDrives,
                                                 .cwd = mCwd,
                                                 .tags = {"M:\\tag1\\a long enough vob"}});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(explainer("X:\\a", {{"canonical", "M:\\tag1\\a"}}).record["rule"], 5);
        EXPECT_EQ(explainer("C:\\a", {{"canonical", "C:/a"}}).record["rule"], 3);
    }
}

}  // namespace
