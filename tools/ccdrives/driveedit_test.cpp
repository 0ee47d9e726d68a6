#include "tools/ccdrives/driveedit.h"

#include <gtest/gtest.h>

#include "tools/ccdrives/drivelist.h"

namespace {

using namespace ccdrives;

/// Returns the message of the error that `step` ends with.
template <class Step>
std::string problemOf(Step step) {
    try {
        static_cast<void>(step());
    } catch (const DriveError& error) {
        return error.what();
    }
    return "(none)";
}

std::string connectProblem(const std::string& list, const std::string& drive,
                           const std::string& remoteName) {
    return problemOf([&] { return withConnection(list, drive, remoteName); });
}

TEST(CheckedDriveTest, ADriveIsALetterAndAColonInUpperCase) {
    EXPECT_EQ(checkedDrive("A:"), "A:");
    EXPECT_EQ(checkedDrive("z:"), "Z:");
}

TEST(CheckedDriveTest, AnythingElseIsNoDrive) {
    for (const std::string drive :
         {"", "M", "M:\\", "M;", "1:", "@:", "[:", "MM:", "\xc3\xa4:", ":M"}) {
        EXPECT_EQ(problemOf([&] { return checkedDrive(drive); }),
                  "'" + drive + "' is no drive; write a letter and a colon, such as M:");
    }
}

TEST(CheckRemoteNameTest, TheMvfsDriveAndViewsHaveRemoteNames) {
    for (const char* name :
         {"\\\\view", "\\\\view\\a", "\\\\view\\-", "\\\\view\\a b", "\\\\view\\gr\xc3\xbcn"}) {
        EXPECT_NO_THROW(checkRemoteName(name)) << name;
    }
}

TEST(CheckRemoteNameTest, OtherNamesAreRefusedWithTheTwoForms) {
    for (const std::string name : {"", "view", "\\view", "\\\\view\\", "\\\\VIEW", "//view/a",
                                   "\\\\views", "\\\\server\\share"}) {
        EXPECT_EQ(
            connectProblem("", "M:", name),
            "'" + name +
                "' is no remote name; write \\\\view for the MVFS drive, or \\\\view\\TAG for "
                "the drive of a view");
    }
}

TEST(CheckRemoteNameTest, ATagThatAListCannotHaveIsRefused) {
    for (const std::string tag : {"a\\b", "a/b", "a|b", " a", "a ", "a\n", "\x7f", "\t", "a\x1f",
                                  "a\xc2\x80", "\xc2\x9f"}) {
        EXPECT_EQ(connectProblem("", "M:", "\\\\view\\" + tag),
                  "'" + tag +
                      "' is no view tag; write one without \\, /, |, control characters and blanks "
                      "at its ends");
    }
}

TEST(CheckRemoteNameTest, ATagHasAtMost255Bytes) {
    std::string tag(127, 'a');
    for (int i = 0; i < 64; ++i) {
        tag += "\xc3\xbc";
    }
    ASSERT_EQ(tag.size(), 255U);
    EXPECT_NO_THROW(checkRemoteName("\\\\view\\" + tag));
    EXPECT_EQ(connectProblem("", "M:", "\\\\view\\" + tag + 'a'),
              "the view tag has 256 bytes; write one of at most 255");
}

TEST(WithConnectionTest, ANewListBeginsWithAComment) {
    const std::string list = withConnection("", "m:", "\\\\view");
    EXPECT_TRUE(list.starts_with("# ")) << list;
    EXPECT_TRUE(list.ends_with("\r\nM: | \\\\view\r\n")) << list;
    EXPECT_EQ(connectionsOf(parseDriveList(list)).size(), 1U);
}

TEST(WithConnectionTest, CommentsAndOrderStay) {
    EXPECT_EQ(withConnection("# a\n\n  x: | \\\\view\\a\n# end\n", "Y:", "\\\\view\\b"),
              "# a\n\n  x: | \\\\view\\a\nY: | \\\\view\\b\n# end\n");
    EXPECT_EQ(withConnection("\xef\xbb\xbf# a\n", "Y:", "\\\\view\\b"),
              "\xef\xbb\xbf# a\nY: | \\\\view\\b\n");
}

TEST(WithConnectionTest, AByteOrderMarkStaysAtTheBeginning) {
    const std::string mark = "\xef\xbb\xbf";
    EXPECT_EQ(withConnection(mark, "m:", "\\\\view"), mark + withConnection("", "m:", "\\\\view"));
    EXPECT_EQ(withoutDrive(mark + "m: | \\\\view\nx: | \\\\view\\a\n", "M:"),
              mark + "x: | \\\\view\\a\n");
    EXPECT_EQ(withoutDrive(mark + "m: | \\\\view", "M:"), mark);
}

TEST(WithConnectionTest, WhatEndsAnEnumerationComesAfterTheConnection) {
    EXPECT_EQ(withConnection("x: | \\\\view\\a\nbatch\nfail 5\n", "Y:", "\\\\view\\b"),
              "x: | \\\\view\\a\nY: | \\\\view\\b\nbatch\nfail 5\n");
}

TEST(WithConnectionTest, LineEndsAreThoseOfTheList) {
    EXPECT_EQ(withConnection("# a\r\n", "Y:", "\\\\view\\b"), "# a\r\nY: | \\\\view\\b\r\n");
    EXPECT_EQ(withConnection("x: | \\\\view\\a", "Y:", "\\\\view\\b"),
              "x: | \\\\view\\a\r\nY: | \\\\view\\b\r\n");
    EXPECT_EQ(withConnection("\nx: | \\\\view\\a", "Y:", "\\\\view\\b"),
              "\nx: | \\\\view\\a\nY: | \\\\view\\b\n");
}

TEST(WithConnectionTest, TheSameConnectionAgainChangesNothing) {
    const std::string list = "x: | \\\\view\\a\nm: | \\\\view\n";
    EXPECT_EQ(withConnection(list, "X:", "\\\\view\\a"), list);
    EXPECT_EQ(withConnection(list, "m:", "\\\\view"), list);
}

TEST(WithConnectionTest, TheSameConnectionMayComeAfterAnother) {
    const std::string list =
        "x: | \\\\server\\a | Other\nm: | \\\\view\nx: | \\\\view\\a\nn: | \\\\view\n";
    EXPECT_EQ(withConnection(list, "X:", "\\\\view\\a"), list);
    EXPECT_EQ(withConnection(list, "n:", "\\\\view"), list);
}

TEST(WithConnectionTest, AnotherConnectionOfTheDriveIsNotReplaced) {
    EXPECT_EQ(connectProblem("x: | \\\\view\\a\n", "X:", "\\\\view\\b"),
              "X: is connected with \\\\view\\a; disconnect it first");
    EXPECT_EQ(connectProblem("x: | \\\\view\\a | Other\n", "X:", "\\\\view\\a"),
              "X: is connected with \\\\view\\a; disconnect it first");
    EXPECT_EQ(connectProblem("x: | -\n", "X:", "\\\\view\\a"),
              "X: is connected with nothing; disconnect it first");
}

TEST(WithConnectionTest, ThereIsOneMvfsDrive) {
    EXPECT_EQ(connectProblem("m: | \\\\view\n", "N:", "\\\\view"),
              "m: is the MVFS drive, and there is only one; disconnect it first");
    EXPECT_EQ(connectProblem("- | \\\\view\n", "N:", "\\\\view"),
              "- is the MVFS drive, and there is only one; disconnect it first");
    EXPECT_EQ(withConnection("m: | \\\\view | Other\n", "N:", "\\\\view"),
              "m: | \\\\view | Other\nN: | \\\\view\n");
}

TEST(WithConnectionTest, AListWithABadLineIsNotEdited) {
    EXPECT_THROW(static_cast<void>(withConnection("x\n", "X:", "\\\\view\\a")), DriveListError);
    EXPECT_THROW(static_cast<void>(withoutDrive("x\n", "X:")), DriveListError);
}

TEST(WithoutDriveTest, TheLinesOfTheDriveAreTakenOut) {
    EXPECT_EQ(withoutDrive("# a\r\nX: | \\\\view\\a\r\ny: | \\\\view\\b\r\nbatch\r\nx: | s | Other",
                           "x:"),
              "# a\r\ny: | \\\\view\\b\r\nbatch\r\n");
}

TEST(WithoutDriveTest, WithoutTheDriveNothingChanges) {
    for (const std::string list : {"", "y: | b\n- | c\n", "\xef\xbb\xbf# a\r\n"}) {
        EXPECT_EQ(withoutDrive(list, "x:"), list);
    }
}

TEST(WithoutDriveTest, AnythingButADriveIsRefused) {
    EXPECT_EQ(problemOf([] { return withoutDrive("", "x"); }),
              "'x' is no drive; write a letter and a colon, such as M:");
}

}  // namespace
