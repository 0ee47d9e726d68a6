#include "util/pathfun.h"

#include <gtest/gtest.h>

#include "testing/allocationcount.h"

namespace {

/// Sets the Cygwin mode for a scope.
class CygwinScope {
public:
    explicit CygwinScope(const std::string& prefix) { setCygwinPaths(true, prefix); }
    ~CygwinScope() { setCygwinPaths(false, ""); }
    CygwinScope(const CygwinScope&) = delete;
    CygwinScope& operator=(const CygwinScope&) = delete;
};

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

std::vector<std::string> texts(const std::string& path, const std::vector<PathRange>& ranges) {
    std::vector<std::string> result;
    for (const PathRange range : ranges) {
        result.push_back(path.substr(range.begin, range.length()));
    }
    return result;
}

using Texts = std::vector<std::string>;

TEST(SeparatorTest, BothSlashesSeparateInWindowsModeAndOnlyTheForwardOneInAnyOther) {
    EXPECT_TRUE(isPathSeparator('/', 1));
    EXPECT_TRUE(isPathSeparator('\\', 1));
    EXPECT_FALSE(isPathSeparator(':', 1));
    for (const int mode : {0, 2, -1}) {
        EXPECT_TRUE(isPathSeparator('/', mode));
        EXPECT_FALSE(isPathSeparator('\\', mode));
    }
}

TEST(SeparatorTest, ToBackslashesTurnsEachForwardSlash) {
    std::string path = "//a/b\\c/";
    toBackslashes(path);
    EXPECT_EQ(path, "\\\\a\\b\\c\\");
}

TEST(ParsePathRootTest, ADriveIsAnythingWithAColonInSecondPlace) {
    expectRoots({{"C:", true, {0, 2}, "C:"},
                 {"C:foo", true, {0, 2}, "C:"},
                 {"C:\\foo", true, {0, 2}, "C:"},
                 {"1:x", true, {0, 2}, "1:"},
                 {"::", true, {0, 2}, "::"}});
    // A separator in first place is none.
    expectRoots({{"/:x", false, {0, 0}, ""}, {"\\:", false, {0, 0}, ""}});
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

TEST(ParsePathRootTest, SeparatorsAloneAndASingleLeadingOneAreNotAbsoluteWithoutCygwin) {
    expectRoots({{"/", false, {0, 0}, ""},
                 {"\\", false, {0, 0}, ""},
                 {"///", false, {0, 0}, ""},
                 {"\\foo", false, {0, 0}, ""},
                 {"/foo", false, {0, 0}, ""}});
}

TEST(ParsePathRootTest, InPosixModeALeadingSlashIsAllThatCountsAndTheRootStaysEmpty) {
    PathRange root{7, 9};
    std::string text = "old";
    EXPECT_TRUE(parsePathRoot("/a/b", root, &text, 0));
    EXPECT_EQ(root, PathRange{});
    EXPECT_EQ(text, "");
    EXPECT_FALSE(parsePathRoot("C:/a", root, &text, 0));
    EXPECT_FALSE(parsePathRoot("\\\\srv\\share", root, &text, 0));
    EXPECT_FALSE(parsePathRoot("", root, &text, 0));
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

TEST(CygwinPathsTest, TheModeIsOffAtStartUpAndAPrefixGetsItsSeparator) {
    EXPECT_FALSE(cygwinPathsEnabled());
    {
        const CygwinScope cygwin("/mnt");
        EXPECT_TRUE(cygwinPathsEnabled());
        expectRoots({{"/mnt/c/x", true, {0, 6}, "/mnt/c"}});
    }
    EXPECT_FALSE(cygwinPathsEnabled());
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

TEST(CygwinPathsTest, PathsHaveTheirNormalForm) {
    const CygwinScope cygwin("/cygdrive/");
    EXPECT_EQ(normalizePath("/cygdrive/c/x"), "/cygdrive/c/x");
    EXPECT_EQ(normalizePath("/cygdrive/c/"), "/cygdrive/c");
    EXPECT_EQ(normalizePath("/cygdrive/cc"), "/cygdrive/cc");
    EXPECT_EQ(normalizePath("/"), "/");
    EXPECT_EQ(normalizePath("/a/.."), "/");
    EXPECT_EQ(normalizePath("/a/../../b"), "/b");
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

TEST(SplitPathTest, TheRootComesFirstAndRunsOfSeparatorsYieldNothing) {
    std::vector<PathRange> components;
    std::string root;
    const std::string path = "/\\srv\\share\\\\a/.//b\\";
    EXPECT_TRUE(splitPath(path, components, &root));
    EXPECT_EQ(texts(path, components), (Texts{"/\\srv\\share", "a", ".", "b"}));
    EXPECT_EQ(root, "//srv/share");
}

TEST(SplitPathTest, ARelativePathHasItsNamesAlone) {
    std::vector<PathRange> components;
    const std::string path = "\\a/b";
    EXPECT_FALSE(splitPath(path, components, nullptr));
    EXPECT_EQ(texts(path, components), (Texts{"a", "b"}));
}

TEST(SplitPathTest, NothingAtAllGivesOneEmptyRange) {
    for (const char* path : {"", "/", "\\\\\\"}) {
        std::vector<PathRange> components;
        EXPECT_FALSE(splitPath(path, components, nullptr)) << path;
        EXPECT_EQ(components, std::vector<PathRange>(1)) << path;
    }
}

TEST(SplitPathTest, ComponentsAreAppendedAndNotCleared) {
    std::vector<PathRange> components = {{3, 5}};
    EXPECT_TRUE(splitPath("C:a", components, nullptr));
    EXPECT_EQ(components, (std::vector<PathRange>{{3, 5}, {0, 2}, {2, 3}}));
    components = {{3, 5}};
    EXPECT_FALSE(splitPath("", components, nullptr));
    EXPECT_EQ(components, (std::vector<PathRange>{{3, 5}}));
}

TEST(PathComponentTest, ItIsTheComponentThatSplitPathPutsThere) {
    for (const std::string path :
         {"C:\\a//b\\", "\\\\srv\\\\sh\\a", "a/b/c", "/a", "C:", "C:x", "x"}) {
        std::vector<PathRange> components;
        splitPath(path, components, nullptr);
        for (size_t i = 0; i < components.size(); ++i) {
            EXPECT_EQ(pathComponent(path, i), components[i]) << path << " " << i;
        }
        for (size_t i = components.size(); i < components.size() + 2; ++i) {
            EXPECT_EQ(pathComponent(path, i), (PathRange{path.size(), path.size()})) << path;
        }
    }
    EXPECT_EQ(pathComponent("", 0), PathRange{});
    EXPECT_EQ(pathComponent("///", 0), (PathRange{3, 3}));
}

TEST(NormalizePathTest, PathsHaveTheirNormalForm) {
    const struct {
        const char* path;
        const char* normal;
    } rows[] = {
        {"C:\\a\\b\\..\\..\\..", "C:/"},
        {"C:", "C:/"},
        {"C:\\", "C:/"},
        {"C:\\..\\x", "C:/x"},
        {"C:foo", "C:/foo"},
        {"C:.", "C:/"},
        {"C:..", "C:/"},
        {"C:...", "C:/..."},
        {"\\\\srv\\sh\\a\\..", "//srv/sh"},
        {"\\\\srv\\sh", "//srv/sh"},
        {"///srv\\\\sh\\\\", "//srv/sh"},
        {"//srv/sh\\a\\b", "//srv/sh/a/b"},
        {"C:\\a\\.\\b", "C:/a/b"},
        {"C:\\a\\", "C:/a"},
        {"C:/a//b", "C:/a/b"},
        {"C:/a/\\b", "C:/a/b"},
        {"C:/a\\/b", "C:/a/b"},
        {"C:/a\\\\b", "C:/a/b"},
        {"C:/a//b\\\\c", "C:/a/b/c"},
        {"C:/a/..b/c./.d", "C:/a/..b/c./.d"},
        {"C:/a/.../b", "C:/a/.../b"},
        {"C:/a/b/../c/./../../d/", "C:/d"},
        {"c:\\A\\b", "c:/A/b"},
        {"1:x", "1:/x"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(normalizePath(row.path), row.normal) << row.path;
    }
}

TEST(NormalizePathTest, AnyResultThatEndsInAColonGetsASlash) {
    EXPECT_EQ(normalizePath("C:/a:"), "C:/a:/");
    EXPECT_EQ(normalizePath("C:/a:/"), "C:/a:/");
    EXPECT_EQ(normalizePath("//srv/sh:"), "//srv/sh:/");
}

TEST(NormalizePathTest, BytesOfAnyKindAreKept) {
    const std::string path("C:\\a\0b\\\xFF\xC3\\.", 11);
    EXPECT_EQ(normalizePath(path), std::string("C:/a\0b/\xFF\xC3", 9));
}

TEST(NormalizePathDeathTest, ARelativePathStopsTheProcess) {
    for (const char* path : {"", "a", "\\x\\y", "/x", "//srv"}) {
        EXPECT_DEATH(normalizePath(path), "assertion failed at util/pathfun\\.cpp.*: absolute");
    }
}

TEST(NormalizePathTest, TheResultIsTheOneAllocationForPathsOfUsualDepth) {
    std::string deep = "\\\\fileserver\\share";
    for (int i = 0; i < 30; ++i) {
        deep += i % 3 == 0 ? "\\.\\" : "\\directory";
    }
    for (const std::string& path : {deep, std::string("C:\\directory\\directory\\directory\\file"),
                                    std::string("\\\\server\\share\\directory\\file"),
                                    std::string("C:\\directory\\directory\\directory:"),
                                    std::string("\\\\server\\share\\directory\\directory:")}) {
        const size_t before = testing_support::allocationCount();
        const std::string normal = normalizePath(path);
        EXPECT_EQ(testing_support::allocationCount() - before, 1U) << path;
        EXPECT_LT(normal.capacity(), normal.size() + 2) << "more room than needed: " << path;
    }
}

TEST(SplitPathTest, ComponentsAreOffsetsAndNoTextIsAllocated) {
    std::vector<PathRange> components;
    components.reserve(8);
    const std::string path = "\\\\server\\share\\a long directory name\\b\\c";
    const size_t before = testing_support::allocationCount();
    splitPath(path, components, nullptr);
    EXPECT_EQ(testing_support::allocationCount(), before);
}

TEST(NormalizePathTest, AHugePathIsFolded) {
    std::string path = "C:";
    for (int i = 0; i < 10000; ++i) {
        path += "\\a\\..";
    }
    EXPECT_EQ(normalizePath(path + "\\b"), "C:/b");
}

TEST(JoinPathTest, PathsAreJoined) {
    const struct {
        const char* first;
        const char* second;
        const char* joined;
    } rows[] = {
        {"C:\\a", "b", "C:\\a/b"},
        {"C:\\a\\", "b", "C:\\a\\b"},
        {"C:\\a/", "b", "C:\\a/b"},
        {"C:\\a", "\\b", "C:\\b"},
        {"C:\\a", "/b", "C:/b"},
        {"C:\\a", "D:\\b", "D:\\b"},
        {"C:\\a", "//srv/sh/b", "//srv/sh/b"},
        {"rel", "\\b", "\\b"},
        {"\\\\srv\\\\sh\\a", "\\b", "//srv/sh\\b"},
        {"", "b", "b"},
        {"a", "", "a"},
        {"", "", ""},
        {"C:", "b", "C:/b"},
        {"a", "..\\b", "a/..\\b"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(joinPath(row.first, row.second, '/'), row.joined)
            << row.first << "|" << row.second;
    }
}

TEST(JoinPathTest, TheSeparatorIsTheCallersChoice) {
    EXPECT_EQ(joinPath("C:/a", "b", '\\'), "C:/a\\b");
}

TEST(IsInPathTest, CaseAndKindOfSeparatorAreIgnored) {
    EXPECT_TRUE(isInPath("C:\\a", "c:/A"));
    EXPECT_TRUE(isInPath("C:\\a", "c:/a/b"));
    EXPECT_TRUE(isInPath("C:\\a", "C:\\a\\"));
    EXPECT_TRUE(isInPath("C:/a/", "C:\\a\\b"));
}

TEST(IsInPathTest, ANameThatOnlyBeginsAlikeIsOutside) {
    EXPECT_FALSE(isInPath("C:\\a", "C:\\ab"));
    EXPECT_FALSE(isInPath("C:\\a", "C:\\b"));
    EXPECT_FALSE(isInPath("C:\\a", "C:\\"));
    EXPECT_FALSE(isInPath("C:\\a\\", "C:\\a"));
    EXPECT_FALSE(isInPath("C:\\a", ""));
}

TEST(IsInPathTest, AnEmptyPrefixHoldsTheEmptyPathAndWhatBeginsWithASeparator) {
    EXPECT_TRUE(isInPath("", ""));
    EXPECT_TRUE(isInPath("", "/a"));
    EXPECT_FALSE(isInPath("", "a"));
}

TEST(MakeRelativeToTest, TheRestBehindTheBaseIsLeftAsItStands) {
    const struct {
        const char* base;
        const char* path;
        bool below;
        const char* rest;
    } rows[] = {
        {"M:/v", "m:/V/x//y", true, "x//y"},  {"M:/v", "m:/v", true, ""},
        {"M:/v", "m:/v//", true, ""},         {"M:/", "M:\\v\\w", true, "v\\w"},
        {"M:/v/", "M:/v/./w/", true, "./w/"}, {"M:/v", "M:/vw/x", false, "M:/vw/x"},
        {"M:/v", "N:/v/x", false, "N:/v/x"},  {"M:/v/x", "M:/v", false, "M:/v"},
        {"M:/v", "v/x", false, "v/x"},        {"//srv/sh", "//SRV/sh/a", true, "a"},
    };
    for (const auto& row : rows) {
        std::string path = row.path;
        EXPECT_EQ(makeRelativeTo(row.base, path), row.below) << row.base << "|" << row.path;
        EXPECT_EQ(path, row.rest) << row.base << "|" << row.path;
    }
}

TEST(MakeRelativeToTest, SharesThatAreSpelledDifferentlyDiffer) {
    std::string path = "\\\\srv\\sh\\a";
    EXPECT_FALSE(makeRelativeTo("//srv/sh", path));
}

TEST(MakeRelativeToTest, ARelativePathIsRefusedBeforeTheBaseIsLookedAt) {
    std::string path = "x";
    EXPECT_FALSE(makeRelativeTo("relative", path));
}

TEST(MakeRelativeToDeathTest, ARelativeBaseStopsTheProcess) {
    std::string path = "C:/x";
    EXPECT_DEATH(makeRelativeTo("relative", path),
                 "assertion failed at util/pathfun\\.cpp.*: absolute");
}

}  // namespace
