#include <gtest/gtest.h>

#include "util/pathfun.h"

namespace {

TEST(ParentPathTest, ItIsWhatComesBeforeTheLastSeparatorAndADotWithoutOne) {
    EXPECT_EQ(parentPath("a"), ".");
    EXPECT_EQ(parentPath(""), ".");
    EXPECT_EQ(parentPath("C:\\"), "C:");
    EXPECT_EQ(parentPath("\\a"), "");
    EXPECT_EQ(parentPath("a/"), "a");
    EXPECT_EQ(parentPath("C:/a\\b/c"), "C:/a\\b");
}

TEST(LeafNameTest, ItIsWhatComesAfterTheLastSeparatorAndNothingWithoutOne) {
    EXPECT_EQ(leafName("a"), "");
    EXPECT_EQ(leafName("a/"), "");
    EXPECT_EQ(leafName("a\\b"), "b");
    EXPECT_EQ(leafName("a\\b/c.d"), "c.d");
    EXPECT_EQ(leafName("a/b\\c"), "c");
}

TEST(FileExtensionTest, ItIsWhatComesAfterTheLastDotOfTheLastComponent) {
    EXPECT_EQ(fileExtension("a.b/c"), "");
    EXPECT_EQ(fileExtension("a.b\\c"), "");
    EXPECT_EQ(fileExtension("a."), "");
    EXPECT_EQ(fileExtension("a"), "");
    EXPECT_EQ(fileExtension(""), "");
    EXPECT_EQ(fileExtension(".x"), "x");
    EXPECT_EQ(fileExtension("a\\b.c.d"), "d");
    EXPECT_EQ(fileExtension("a/.x"), "x");
}

struct PartsRow {
    const char* path;
    PathRange drive, directory, leaf, stem, extension;
};

void expectParts(const PartsRow& row, PathMode mode) {
    SCOPED_TRACE(row.path);
    std::vector<PathRange> parts(9, {1, 2});
    splitFileName(row.path, parts, mode);
    ASSERT_EQ(parts.size(), 5U);
    EXPECT_EQ(parts[drivePart], row.drive);
    EXPECT_EQ(parts[directoryPart], row.directory);
    EXPECT_EQ(parts[leafPart], row.leaf);
    EXPECT_EQ(parts[stemPart], row.stem);
    EXPECT_EQ(parts[extensionPart], row.extension);
}

TEST(SplitFileNameTest, AFileNameHasItsFiveParts) {
    const PartsRow rows[] = {
        // path, drive, directory, leaf, stem, extension
        {"C:\\a/b.c", {0, 1}, {0, 5}, {5, 8}, {0, 6}, {6, 8}},
        {"a/b.c.d", {}, {0, 2}, {2, 7}, {0, 5}, {5, 7}},
        {"a.b/c", {}, {0, 4}, {4, 5}, {0, 5}, {}},
        {"a.b", {}, {}, {0, 3}, {0, 1}, {1, 3}},
        {"abc", {}, {}, {0, 3}, {0, 3}, {}},
        {"", {}, {}, {}, {}, {}},
        {"a/.x", {}, {0, 2}, {2, 4}, {0, 2}, {2, 4}},
        {"..", {}, {}, {0, 2}, {0, 1}, {1, 2}},
        {"x.", {}, {}, {0, 2}, {0, 1}, {1, 2}},
        {"a/.", {}, {0, 2}, {2, 3}, {0, 2}, {2, 3}},
    };
    for (const PartsRow& row : rows) {
        expectParts(row, windowsPaths);
    }
}

TEST(SplitFileNameTest, ADotAtTheVeryStartLeavesTheStemForTheWholePath) {
    expectParts({".x", {}, {}, {0, 2}, {0, 2}, {0, 2}}, windowsPaths);
    expectParts({".", {}, {}, {0, 1}, {0, 1}, {0, 1}}, windowsPaths);
}

TEST(SplitFileNameTest, ASeparatorBeforeTheColonIsTheDriveAndTheDirectory) {
    expectParts({"\\:x", {0, 1}, {0, 1}, {1, 3}, {0, 3}, {}}, windowsPaths);
}

TEST(SplitFileNameTest, AfterATrailingSeparatorTheLeafAtTheEndIsAsLongAsThePath) {
    expectParts({"ab/", {}, {0, 3}, {3, 6}, {0, 3}, {}}, windowsPaths);
    expectParts({"/", {}, {0, 1}, {1, 2}, {0, 1}, {}}, windowsPaths);
    expectParts({"ab/", {}, {0, 3}, {3, 6}, {0, 3}, {}}, posixPaths);
}

TEST(SplitFileNameTest, InPosixModeABackslashIsPartOfTheName) {
    expectParts({"a\\b.c", {}, {}, {0, 5}, {0, 3}, {3, 5}}, posixPaths);
    expectParts({"a\\", {}, {}, {0, 2}, {0, 2}, {}}, posixPaths);
}

TEST(SplitDirLeafTest, TheDirectoryKeepsItsSeparator) {
    const struct {
        const char* path;
        const char* dir;
        const char* leaf;
    } rows[] = {{"C:\\a\\b.c", "C:\\a\\", "b.c"},
                {"a/", "a/", ""},
                {"a", "", "a"},
                {".x", "", ".x"},
                {"", "", ""},
                {"C:a", "", "C:a"}};
    for (const auto& row : rows) {
        std::string dir = "old";
        std::string leaf = "old";
        splitDirLeaf(row.path, dir, leaf);
        EXPECT_EQ(dir, row.dir) << row.path;
        EXPECT_EQ(leaf, row.leaf) << row.path;
    }
}

TEST(SplitDirLeafTest, TheResultMayTakeThePlaceOfThePath) {
    std::string path = "a/b";
    std::string leaf;
    splitDirLeaf(path, path, leaf);
    EXPECT_EQ(path, "a/");
    EXPECT_EQ(leaf, "b");
}

TEST(SplitWildcardLeafTest, OnlyALeafWithAWildcardIsCutOff) {
    const struct {
        const char* path;
        const char* dir;
        const char* pattern;
    } rows[] = {{"a/*.c", "a/", "*.c"}, {"a/%x", "a/", "%x"}, {"a*/b", "a*/b", ""},
                {"a/b", "a/b", ""},     {"*", "", "*"},       {"a/", "a/", ""}};
    for (const auto& row : rows) {
        std::string dir = "old";
        std::string pattern = "old";
        splitWildcardLeaf(row.path, dir, pattern);
        EXPECT_EQ(dir, row.dir) << row.path;
        EXPECT_EQ(pattern, row.pattern) << row.path;
    }
}

TEST(TerminateRootTest, AnEmptyPathAndABareDriveGetASlash) {
    const char* const rows[][2] = {
        {"", "/"}, {"C:", "C:/"}, {"a/b:", "a/b:/"}, {"C:/", "C:/"}, {"a", "a"}};
    for (const auto& row : rows) {
        std::string path = row[0];
        terminateRoot(path);
        EXPECT_EQ(path, row[1]);
    }
}

TEST(JoinPathListTest, PathsAreAppendedWithSemicolonsBetweenThem) {
    std::string out = "PATH=";
    joinPathList({}, out);
    EXPECT_EQ(out, "PATH=");
    joinPathList({"a"}, out);
    EXPECT_EQ(out, "PATH=a");
    joinPathList({"b", "", "c"}, out);
    EXPECT_EQ(out, "PATH=ab;;c");
}

TEST(JoinPathListTest, AnEmptyPathInFrontHasItsSemicolon) {
    std::string out;
    joinPathList({"", "a"}, out);
    EXPECT_EQ(out, ";a");
}

TEST(IsDotNameTest, ExactlyOneOrTwoDotsAreDotNames) {
    for (const char* name : {".", ".."}) {
        EXPECT_TRUE(isDotName(name));
        EXPECT_TRUE(isDotName(std::string(name)));
        EXPECT_TRUE(isDotName(StringSpan(name)));
    }
    for (const char* name : {"", "...", ".a", "a."}) {
        EXPECT_FALSE(isDotName(name));
        EXPECT_FALSE(isDotName(std::string(name)));
        EXPECT_FALSE(isDotName(StringSpan(name)));
    }
}

TEST(StripDotSlashTest, ALeadingRunIsStripped) {
    const char* const rows[][2] = {
        {"./.x", ".x"}, {".//./a", "a"}, {".\\a", "a"}, {".\\/.\\./a/./b", "a/./b"},
        {"././.", "."}, {".//", ""},     {"./..", ".."}};
    for (const auto& row : rows) {
        StringSpan path(row[0]);
        EXPECT_TRUE(stripDotSlash(path)) << row[0];
        EXPECT_EQ(path.view(), row[1]) << row[0];
    }
}

TEST(StripDotSlashTest, AShortTextAndAnyOtherStartStay) {
    for (const char* text : {"", ".", "./", "a", "a/b", "../a", "/./a"}) {
        StringSpan path(text);
        EXPECT_FALSE(stripDotSlash(path)) << text;
        EXPECT_EQ(path.view(), text);
    }
}

TEST(IsDriveRootTest, ALetterAColonAndASeparatorGiveTheUpperCaseLetter) {
    EXPECT_EQ(isDriveRoot("c:/"), 'C');
    EXPECT_EQ(isDriveRoot("Z:\\"), 'Z');
    EXPECT_EQ(isDriveRoot("a:/"), 'A');
}

TEST(IsDriveRootTest, AnythingElseGivesZero) {
    for (const char* path :
         {"", "c", "c:", "c:/x", "1:/", "@:/", "[:/", "{:/", "`:/", "cc/", "\xE9:/"}) {
        EXPECT_EQ(isDriveRoot(path), 0) << path;
    }
}

TEST(IsDriveColonTest, TheTextAroundTheColonDecides) {
    const struct {
        const char* line;
        size_t loc;
        bool withFallback;
        bool withoutFallback;
    } rows[] = {
        {"all: C:/x", 3, false, false},  // a letter comes before the letter
        {"all: C:/x", 6, true, true},
        // The end of the line counts as a blank.
        {"(C:", 2, true, false},
        {"C:", 1, true, false},
        {"C:\\x", 1, true, true},
        {"@:/x", 1, true, true},
        {"1:/x", 1, true, true},
        {"\tC:/x", 2, true, true},
        // Nothing, or no letter, before the colon.
        {":/x", 0, false, false},
        {" :/x", 1, false, false},
        {"C:(x)", 1, false, false},
        {"C::x", 1, false, false},
        {"C: x", 1, true, false},
        {"C:\tx", 1, true, false},
        {"C:x", 1, true, false},
        {";C:/x", 2, false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(isDriveColon(row.line, row.loc, true), row.withFallback) << row.line;
        EXPECT_EQ(isDriveColon(row.line, row.loc, false), row.withoutFallback) << row.line;
    }
}

TEST(IsDriveColonDeathTest, AnOffsetWithoutAColonStopsTheProcess) {
    const char* const noColon = "assertion failed at util/pathnames\\.cpp.*: line\\[loc\\] == ':'";
    EXPECT_DEATH(static_cast<void>(isDriveColon("C:/x", 2, true)), noColon);
    // The end of the line.
    EXPECT_DEATH(static_cast<void>(isDriveColon("C", 1, true)), noColon);
}

}  // namespace
