#include "clearcase/viewdrives.h"

#include <gtest/gtest.h>

namespace {

using Drives = std::map<std::string, std::string>;

/// Returns what one connection adds to empty drives, as "root|drive>tag".
std::string outcome(const char* localName, const char* remoteName,
                    const char* provider = "ClearCase Dynamic Views") {
    std::string root;
    Drives drives;
    takeConnection(localName, remoteName, provider, root, drives);
    std::string text = root + "|";
    for (const auto& [drive, tag] : drives) {
        text.append(drive).append(">").append(tag);
    }
    return text;
}

TEST(TakeConnectionTest, TheServerItselfIsTheMvfsDriveInUpperCase) {
    EXPECT_EQ(outcome("m:", "\\\\view"), "M:|");
    EXPECT_EQ(outcome("M:", "\\\\view"), "M:|");
    EXPECT_EQ(outcome(nullptr, "\\\\view"), "|");
}

TEST(TakeConnectionTest, AnythingElseIsAViewDriveAndTheTagFollowsTheSeventhCharacter) {
    EXPECT_EQ(outcome("x:", "\\\\view\\tag1"), "|X:>tag1");
    EXPECT_EQ(outcome("X:", "\\\\view\\Tag\\x"), "|X:>Tag\\x");
    EXPECT_EQ(outcome("x:", "12345678"), "|X:>8");
    EXPECT_EQ(outcome("", "\\\\view\\t"), "|>t");
}

TEST(TakeConnectionTest, ARemoteNameThatIsTooShortForATagLeavesAnEmptyOne) {
    for (const char* remote : {"\\\\view\\", "\\\\VIEW", "short", "1234567", ""}) {
        EXPECT_EQ(outcome("x:", remote), "|X:>") << remote;
    }
    EXPECT_EQ(outcome("x:", nullptr), "|X:>");
}

TEST(TakeConnectionTest, OtherProvidersCountForNothing) {
    for (const char* provider :
         {"Microsoft Windows Network", "clearcase dynamic views", "ClearCase Dynamic Views ", ""}) {
        EXPECT_EQ(outcome("m:", "\\\\view", provider), "|") << provider;
        EXPECT_EQ(outcome("x:", "\\\\view\\tag", provider), "|") << provider;
    }
    EXPECT_EQ(outcome("m:", "\\\\view", nullptr), "|");
}

TEST(TakeConnectionTest, LaterConnectionsReplaceEarlierOnes) {
    std::string root = "K:";
    Drives drives = {{"X:", "one"}, {"Y:", "kept"}};
    takeConnection("m:", "\\\\view", "ClearCase Dynamic Views", root, drives);
    takeConnection("x:", "\\\\view\\two", "ClearCase Dynamic Views", root, drives);
    EXPECT_EQ(root, "M:");
    EXPECT_EQ(drives, (Drives{{"X:", "two"}, {"Y:", "kept"}}));
}

TEST(DriveLettersTest, ADriveIsAKeyExactlyIfTheMapHasIt) {
    const Drives drives = {{"A:", "a"}, {"M:", "m"}, {"Z:", "z"}, {"", "e"},
                           {"q:", "q"}, {"//", "s"}, {"N", "n"},  {"OO:", "o"}};
    const DriveLetters known(drives);
    const DriveLetters unknown;
    for (const std::string drive : {"A:", "B:", "M:", "N:", "Y:", "Z:", "", "q:", "Q:", "//", "N",
                                    "O:", "OO:", "@:", "[:", "a:", "A/", "::"}) {
        EXPECT_EQ(known.isKey(drive, drives), drives.count(drive) != 0) << drive;
        EXPECT_EQ(unknown.isKey(drive, drives), drives.count(drive) != 0) << drive;
    }
}

}  // namespace
