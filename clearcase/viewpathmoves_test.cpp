#include "clearcase/viewpathmoves.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

using viewpathmoves::PathStart;

using Tags = std::vector<std::string>;
using Texts = std::vector<std::string>;

/// Writes down each call.
struct Recorder {
    void start(PathStart start) {
        const char* const names[] = {"absolute", "driveOfDirectory", "directory"};
        calls.push_back(std::string("start ") + names[static_cast<int>(start)]);
    }
    void needsAbsolute(std::string_view text) { add("needsAbsolute", text); }
    void onOtherDrive() { calls.emplace_back("onOtherDrive"); }
    void inRoot(std::string_view root) { add("inRoot", root); }
    void otherRoute(std::string_view root, const std::string& other) {
        add("otherRoute", std::string(root) + " " + other);
    }
    void moved() { calls.emplace_back("moved"); }
    void notMoved() { calls.emplace_back("notMoved"); }
    void onNoRoute() { calls.emplace_back("onNoRoute"); }

    void add(const std::string& name, std::string_view text) {
        calls.push_back(name + " " + std::string(text));
    }

    Texts calls;
};

/// The drives that most tests use, and a path that is observed.
class ViewPathMovesTest : public testing::Test {
protected:
    Texts observe(const std::string& path, const Tags& tags, const std::string& cwd = "D:\\w") {
        const DriveMap drives = {mMvfsRoot, mViewDrives};
        RootCache cache;
        std::ostringstream errors;
        Recorder recorder;
        PathBuffer buffer;
        const std::string_view form =
            viewpathmoves::absoluteNormalForm(cwd, path, buffer, recorder);
        const std::string result =
            viewpathmoves::onRouteOfTags(form, drives, cache, tags, errors, recorder);
        std::ostringstream sameErrors;
        EXPECT_EQ(result, canonicalizeViewPath(drives, cache, cwd, path, tags, sameErrors));
        EXPECT_EQ(errors.str(), sameErrors.str());
        return recorder.calls;
    }

    std::string mMvfsRoot = "M:";
    std::map<std::string, std::string> mViewDrives = {{"X:", "tag1"}};
};

TEST_F(ViewPathMovesTest, AnAbsolutePathOnAnotherDriveEndsAtOnce) {
    EXPECT_EQ(observe("c:\\a", {"X:\\vob"}), (Texts{"start absolute", "onOtherDrive"}));
}

TEST_F(ViewPathMovesTest, APathThatIsNotAbsoluteIsCompletedFirst) {
    EXPECT_EQ(observe("a", {}),
              (Texts{"start directory", "needsAbsolute D:\\w\\a", "onOtherDrive"}));
    EXPECT_EQ(observe("/a", {}),
              (Texts{"start driveOfDirectory", "needsAbsolute D:\\a", "onOtherDrive"}));
}

TEST_F(ViewPathMovesTest, APathInARootEndsThere) {
    EXPECT_EQ(observe("M:\\tag1\\a", {"X:\\vob", "m:/tag1/vob"}),
              (Texts{"start absolute", "inRoot M:\\tag1"}));
    EXPECT_EQ(observe("x:\\a", {"x:\\vob"}), (Texts{"start absolute", "inRoot X:"}));
}

TEST_F(ViewPathMovesTest, APathIsMovedToTheFirstRootThatHasItOnItsOtherRoute) {
    EXPECT_EQ(observe("X:\\a", {"M:\\tag2", "C:\\b", "M:\\tag1\\b", "M:\\tag3"}),
              (Texts{"start absolute", "otherRoute M:\\tag2 ",
                     "otherRoute M:\\tag1 X:", "needsAbsolute X:", "moved"}));
}

TEST_F(ViewPathMovesTest, APathThatIsJoinedToItsRootMustBeAbsolute) {
    EXPECT_EQ(observe("X:\\", {"M:\\tag1"}),
              (Texts{"start absolute", "otherRoute M:\\tag1 X:", "needsAbsolute X:", "moved",
                     "needsAbsolute M:\\tag1"}));
}

TEST_F(ViewPathMovesTest, APathOnNoOtherRouteStays) {
    EXPECT_EQ(observe("X:\\a", {"M:\\tag2"}),
              (Texts{"start absolute", "otherRoute M:\\tag2 ", "onNoRoute"}));
    EXPECT_EQ(observe("X:\\a", {}), (Texts{"start absolute", "onNoRoute"}));
}

TEST_F(ViewPathMovesTest, APathThatCannotBeMovedIsReported) {
    mMvfsRoot = "//";
    mViewDrives = {{"X:", "srv\\sh"}};
    EXPECT_EQ(observe("x", {"X:\\vob"}, "//srv/sh"),
              (Texts{"start directory", "needsAbsolute \\\\srv\\sh\\x", "otherRoute X: //srv\\sh",
                     "needsAbsolute //srv\\sh", "notMoved"}));
}

}  // namespace
