#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/scopes/cygwinscope.h"
#include "util/pathfun.h"

// Roots, and the effect of the Cygwin mode on them and on the rest.

namespace {

using namespace testing_support;

struct RootRow {
    const char* path;
    bool absolute;
    PathRange root;
    const char* rootText;
};

void expectRoots(const std::vector<RootRow>& rows) {
    for (const RootRow& row : rows) {
        SCOPED_TRACE(row.path);
        PathRange root{7, 9};
        std::string text = "old";
        EXPECT_EQ(parsePathRoot(row.path, root, &text, windowsPaths), row.absolute);
        EXPECT_EQ(root, row.root);
        EXPECT_EQ(text, row.rootText);
        EXPECT_EQ(isAbsolutePath(row.path, windowsPaths), row.absolute);
    }
}

TEST(ParsePathRootTest, ADriveIsAnythingWithAColonInSecondPlace) {
    expectRoots({{"C:", true, {0, 2}, "C:"},
                 {"C:foo", true, {0, 2}, "C:"},
                 {"C:\\foo", true, {0, 2}, "C:"},
                 {"1:x", true, {0, 2}, "1:"},
                 {"::", true, {0, 2}, "::"}});
    // A separator before the colon isn't a drive.
    expectRoots({{"/:x", false, {0, 0}, ""}, {"\\:", false, {0, 0}, ""}});
}

TEST(ParsePathRootTest, ANulBeforeTheColonIsAsGoodAsALetter) {
    PathRange root;
    std::string text;
    EXPECT_TRUE(parsePathRoot(std::string("\0:x", 3), root, &text, windowsPaths));
    EXPECT_EQ(root, (PathRange{0, 2}));
    EXPECT_EQ(text, std::string("\0:", 2));
}

TEST(ParsePathRootTest, APlainNameAnEmptyPathAndALoneLetterAreNotAbsolute) {
    expectRoots({{"", false, {0, 0}, ""},
                 {"C", false, {0, 0}, ""},
                 {"foo\\bar", false, {0, 0}, ""},
                 {"ab:c", false, {0, 0}, ""}});
}

TEST(ParsePathRootTest, AShareHasItsNormalSpellingWhateverItsSeparators) {
    expectRoots({{"\\\\srv\\share", true, {0, 11}, "//srv/share"},
                 {"/\\srv\\\\share\\x", true, {0, 12}, "//srv/share"},
                 {"\\\\\\srv//share", true, {0, 13}, "//srv/share"}});
}

TEST(ParsePathRootTest, AServerWithoutAShareIsNotAbsolute) {
    expectRoots({{"\\\\srv", false, {0, 0}, ""},
                 {"\\\\srv\\", false, {0, 0}, ""},
                 {"//srv///", false, {0, 0}, ""}});
}

TEST(ParsePathRootTest, OnlySeparatorsOrOneLeadingOneAreNotAbsoluteWithoutCygwin) {
    expectRoots({{"/", false, {0, 0}, ""},
                 {"\\", false, {0, 0}, ""},
                 {"///", false, {0, 0}, ""},
                 {"\\foo", false, {0, 0}, ""},
                 {"/foo", false, {0, 0}, ""}});
}

TEST(ParsePathRootTest, InPosixModeALeadingSlashIsAllThatCountsAndTheRootStaysEmpty) {
    PathRange root{7, 9};
    std::string text = "old";
    EXPECT_TRUE(parsePathRoot("/a/b", root, &text, posixPaths));
    EXPECT_EQ(root, PathRange{});
    EXPECT_EQ(text, "");
    EXPECT_FALSE(parsePathRoot("C:/a", root, &text, posixPaths));
    EXPECT_FALSE(parsePathRoot("\\\\srv\\share", root, &text, posixPaths));
    EXPECT_FALSE(parsePathRoot("", root, &text, posixPaths));
}

TEST(IsAbsolutePathTest, InAnyOtherModeThanThatOfWindowsALeadingSlashIsAllThatCounts) {
    const struct {
        const char* path;
        bool absolute;
    } rows[] = {
        {"/", true},     {"/a/b", true}, {"//srv/share", true},     {"/:x", true},
        {"C:/a", false}, {"C:", false},  {"\\\\srv\\share", false}, {"\\a", false},
        {"a/b", false},  {"", false},
    };
    for (const PathMode mode : {posixPaths, 2, -1}) {
        for (const auto& row : rows) {
            EXPECT_EQ(isAbsolutePath(row.path, mode), row.absolute) << row.path << " in " << mode;
        }
    }
}

TEST(ParsePathRootTest, TheRootTextMayBeNull) {
    PathRange root;
    EXPECT_TRUE(parsePathRoot("//srv/share/x", root, nullptr, windowsPaths));
    EXPECT_EQ(root, (PathRange{0, 11}));
}

TEST(ParsePathRootTest, PartOfALargerTextIsParsedToItsEndAndNoFurther) {
    const std::string text = "//srv/share";
    EXPECT_FALSE(isAbsolutePath(StringSpan(text.data(), 6), windowsPaths));
    EXPECT_FALSE(isAbsolutePath(StringSpan("C:", 1), windowsPaths));
}

TEST(CygwinPathsTest, TheModeIsOffUnlessSet) {
    EXPECT_FALSE(cygwinPathsEnabled());
    {
        const CygwinScope cygwin("/cygdrive/");
        EXPECT_TRUE(cygwinPathsEnabled());
    }
    EXPECT_FALSE(cygwinPathsEnabled());
}

TEST(CygwinPathsTest, APrefixWithoutASeparatorGetsOne) {
    {
        const CygwinScope cygwin("/mnt");
        expectRoots({{"/mnt/c/x", true, {0, 6}, "/mnt/c"}});
    }
    const CygwinScope cygwin("");
    expectRoots({{"/c/x", true, {0, 2}, "/c"}, {"/cc", true, {0, 0}, ""}});
}

TEST(CygwinPathsTest, APrefixThatEndsInEitherSeparatorIsTakenAsItIs) {
    const CygwinScope cygwin("/mnt\\");
    expectRoots({{"/mnt\\c/x", true, {0, 6}, "/mnt\\c"}});
}

TEST(CygwinPathsTest, ADriveFolderIsARootAndOtherPathsAreAbsoluteByTheirSlash) {
    const CygwinScope cygwin("/cygdrive/");
    expectRoots({{"/cygdrive/c/x", true, {0, 11}, "/cygdrive/c"},
                 {"/cygdrive/c", true, {0, 11}, "/cygdrive/c"},
                 {"/cygdrive/cc", true, {0, 0}, ""},
                 {"/cygdrive/c\\x", true, {0, 0}, ""},
                 {"/cygdrive//x", true, {0, 0}, ""},
                 {"/cygdrive//", true, {0, 0}, ""},
                 {"/cygdrive///x", true, {0, 0}, ""},
                 {"/cygdrive/", true, {0, 0}, ""},
                 {"/CYGDRIVE/c/x", true, {0, 0}, ""},
                 {"/foo", true, {0, 0}, ""},
                 {"/", true, {0, 0}, ""},
                 {"///", true, {0, 0}, ""},
                 {"\\foo", false, {0, 0}, ""},
                 {"\\", false, {0, 0}, ""},
                 {"//srv/share", true, {0, 11}, "//srv/share"},
                 {"//srv", false, {0, 0}, ""},
                 {"C:/x", true, {0, 2}, "C:"}});
}

TEST(CygwinPathsTest, APrefixThatBeginsWithABackslashLeadsToNoDrive) {
    const CygwinScope cygwin("\\odd/");
    expectRoots({{"\\odd/c", false, {0, 0}, ""}, {"/odd/c", true, {0, 0}, ""}});
}

TEST(CygwinPathsTest, ThePartsOfAPathBeginWithItsRootThoughThatBeEmpty) {
    const CygwinScope cygwin("/cygdrive/");
    const struct {
        const char* path;
        std::vector<PathRange> parts;
    } rows[] = {
        {"/foo/b", {{0, 0}, {1, 4}, {5, 6}}},
        {"/", {{0, 0}}},
        {"///", {{0, 0}}},
        {"/cygdrive/c/x", {{0, 11}, {12, 13}}},
        {"/cygdrive/cc", {{0, 0}, {1, 9}, {10, 12}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        std::vector<PathRange> parts;
        EXPECT_TRUE(splitPath(row.path, parts, nullptr));
        EXPECT_EQ(parts, row.parts);
        for (size_t i = 0; i < row.parts.size(); ++i) {
            EXPECT_EQ(pathComponent(row.path, i), row.parts[i]);
        }
    }
}

TEST(CygwinPathsTest, APathIsMadeRelativeToOneWithTheSameRoot) {
    const CygwinScope cygwin("/cygdrive/");
    const struct {
        const char* base;
        const char* path;
        bool isBelow;
        const char* rest;
    } rows[] = {
        {"/", "/a/b", true, "a/b"},
        {"/", "/", true, ""},
        {"/a", "/A", true, ""},
        {"/cygdrive/c", "/cygdrive/C/x", true, "x"},
        {"/", "/cygdrive/c/x", false, "/cygdrive/c/x"},
        {"/", "C:/x", false, "C:/x"},
        {"/cygdrive", "/cygdrive/c", false, "/cygdrive/c"},
    };
    for (const auto& row : rows) {
        std::string path = row.path;
        EXPECT_EQ(makeRelativeTo(row.base, path), row.isBelow) << row.base << ' ' << row.path;
        EXPECT_EQ(path, row.rest) << row.base << ' ' << row.path;
    }
}

TEST(CygwinPathsTest, PathsHaveTheirNormalForm) {
    const CygwinScope cygwin("/cygdrive/");
    EXPECT_EQ(normalizePath("/cygdrive/c/x"), "/cygdrive/c/x");
    EXPECT_EQ(normalizePath("/cygdrive/c/"), "/cygdrive/c");
    EXPECT_EQ(normalizePath("/cygdrive/cc"), "/cygdrive/cc");
    EXPECT_EQ(normalizePath("/"), "/");
    EXPECT_EQ(normalizePath("/a/.."), "/");
    EXPECT_EQ(normalizePath("/a/../../b"), "/b");
    EXPECT_EQ(normalizePath("/a\\b"), "/a/b");
    EXPECT_EQ(normalizePath("//"), "/");
}

TEST(CygwinPathsTest, NothingClimbsAboveADriveFolder) {
    const CygwinScope cygwin("/cygdrive/");
    EXPECT_EQ(normalizePath("/cygdrive/c/.."), "/cygdrive/c");
    EXPECT_EQ(normalizePath("/cygdrive/c/../x"), "/cygdrive/c/x");
}

TEST(CygwinPathsTest, ANormalFormThatEndsInAColonGetsASlash) {
    const CygwinScope cygwin("/cygdrive/");
    EXPECT_EQ(normalizePath("/a:"), "/a:/");
}

TEST(CygwinPathsTest, JoiningARootedPathToALoneSlashRootLeavesTheRootedPath) {
    const CygwinScope cygwin("/cygdrive/");
    EXPECT_EQ(joinPath("/cygdrive/c/x", "\\b", '/'), "/cygdrive/c\\b");
    EXPECT_EQ(joinPath("C:/x", "\\b", '/'), "C:\\b");
    EXPECT_EQ(joinPath("//srv/sh/x", "\\b", '/'), "//srv/sh\\b");
    EXPECT_EQ(joinPath("/a", "\\b", '/'), "\\b");
    EXPECT_EQ(joinPath("/a", "/b", '/'), "/b");
}

TEST(CygwinPathsTest, APrefixMeansNothingWhileTheModeIsOff) {
    setCygwinPaths(false, "/cygdrive/");
    EXPECT_FALSE(isAbsolutePath("/cygdrive/c/x", windowsPaths));
}

}  // namespace
