#include "util/pathfun.h"

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"

namespace {

std::vector<std::string> texts(const std::string& path, const std::vector<PathRange>& ranges) {
    std::vector<std::string> result;
    result.reserve(ranges.size());
    for (const PathRange range : ranges) {
        result.push_back(path.substr(range.begin, range.length()));
    }
    return result;
}

using Texts = std::vector<std::string>;

TEST(SeparatorTest, TheModesHaveTheirNumbers) {
    EXPECT_EQ(posixPaths, 0);
    EXPECT_EQ(windowsPaths, 1);
}

TEST(SeparatorTest, BackslashesSeparateOnlyInWindowsModeAndSlashesInAnyMode) {
    EXPECT_TRUE(isPathSeparator('/', windowsPaths));
    EXPECT_TRUE(isPathSeparator('\\', windowsPaths));
    EXPECT_FALSE(isPathSeparator(':', windowsPaths));
    for (const PathMode mode : {posixPaths, 2, -1}) {
        EXPECT_TRUE(isPathSeparator('/', mode));
        EXPECT_FALSE(isPathSeparator('\\', mode));
    }
}

TEST(SeparatorTest, ToBackslashesTurnsEachForwardSlash) {
    std::string path = "//a/b\\c/";
    toBackslashes(path);
    EXPECT_EQ(path, "\\\\a\\b\\c\\");
}

TEST(SplitPathTest, TheRootComesFirstAndRunsOfSeparatorsYieldNothing) {
    std::vector<PathRange> components;
    std::string root;
    const std::string path = "/\\srv\\share\\\\a/.//b\\";
    EXPECT_TRUE(splitPath(path, components, &root));
    EXPECT_EQ(texts(path, components), (Texts{"/\\srv\\share", "a", ".", "b"}));
    EXPECT_EQ(root, "//srv/share");
}

TEST(SplitPathTest, ARelativePathHasOnlyItsNames) {
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
    }
}

TEST(PathComponentTest, AfterTheLastItIsEmptyAtTheEnd) {
    const struct {
        const char* path;
        size_t numComponents;
        PathRange end;
    } rows[] = {{"C:\\a//b\\", 3, {8, 8}}, {"\\\\srv\\\\sh\\a", 2, {11, 11}},
                {"a/b/c", 3, {5, 5}},      {"C:", 1, {2, 2}},
                {"x", 1, {1, 1}},          {"", 0, {0, 0}},
                {"///", 0, {3, 3}}};
    for (const auto& row : rows) {
        EXPECT_EQ(pathComponent(row.path, row.numComponents), row.end) << row.path;
        EXPECT_EQ(pathComponent(row.path, row.numComponents + 1), row.end) << row.path;
    }
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
        EXPECT_DEATH(static_cast<void>(normalizePath(path)),
                     "assertion failed at util/pathfun\\.cpp.*: absolute");
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
        // A server without a share isn't absolute.
        {"C:\\a", "\\\\srv", "C:\\\\srv"},
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

TEST(IsInPathTest, BytesBeyondAsciiAreCompared) {
    EXPECT_TRUE(isInPath("C:/\xC3\xA4", "c:\\\xC3\xA4\\x"));
    EXPECT_FALSE(isInPath("C:/\xC3\xA4", "C:/\xC3\xB6"));
    EXPECT_FALSE(isInPath("C:/\xE1", "C:/a"));
    // The locale of this process folds only ASCII.
    EXPECT_FALSE(isInPath("C:/\xC3\xA4", "C:/\xC3\x84"));
}

TEST(IsInPathTest, ANulIsACharacterLikeAnyOther) {
    const std::string prefix("C:/a\0b", 6);
    EXPECT_TRUE(isInPath(prefix, std::string("c:/A\0B\\x", 8)));
    EXPECT_FALSE(isInPath(prefix, std::string("C:/a\0c", 6)));
    EXPECT_FALSE(isInPath(prefix, "C:/a"));
}

TEST(IsInPathTest, AnEmptyPrefixHoldsTheEmptyPathAndWhatBeginsWithASeparator) {
    EXPECT_TRUE(isInPath("", ""));
    EXPECT_TRUE(isInPath("", "/a"));
    EXPECT_FALSE(isInPath("", "a"));
}

TEST(MakeRelativeToTest, TheRestAfterTheBaseIsLeftAsItIs) {
    const struct {
        const char* base;
        const char* path;
        bool below;
        const char* rest;
    } rows[] = {
        {"M:/v", "m:/V/x//y", true, "x//y"},
        {"M:/v", "m:/v", true, ""},
        {"M:/v", "m:/v//", true, ""},
        {"M:/", "M:\\v\\w", true, "v\\w"},
        {"M:/v/", "M:/v/./w/", true, "./w/"},
        {"M:/v", "M:/vw/x", false, "M:/vw/x"},
        {"M:/v", "N:/v/x", false, "N:/v/x"},
        {"M:/v/x", "M:/v", false, "M:/v"},
        {"M:/v", "v/x", false, "v/x"},
        {"//srv/sh", "//SRV/sh/a", true, "a"},
        {"M:/", "M:", true, ""},
    };
    for (const auto& row : rows) {
        std::string path = row.path;
        EXPECT_EQ(makeRelativeTo(row.base, path), row.below) << row.base << "|" << row.path;
        EXPECT_EQ(path, row.rest) << row.base << "|" << row.path;
    }
}

TEST(MakeRelativeToTest, ANulInBothEndsTheComparisonOfAName) {
    const std::string base("M:/a\0b", 6);
    std::string path("m:/A\0c/x", 8);
    EXPECT_TRUE(makeRelativeTo(base, path));
    EXPECT_EQ(path, "x");
    path.assign("M:/a\0bc/x", 9);
    EXPECT_FALSE(makeRelativeTo(base, path)) << "names of unlike length";
}

TEST(MakeRelativeToTest, APathThatIsItsOwnBaseLeavesNothing) {
    std::string path = "M:/v/x/";
    EXPECT_TRUE(makeRelativeTo(path, path));
    EXPECT_EQ(path, "");
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
    EXPECT_DEATH(static_cast<void>(makeRelativeTo("relative", path)),
                 "assertion failed at util/pathfun\\.cpp.*: absolute");
}

}  // namespace
