// Examples of docs/utility.md: paths as text.

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"
#include "util/pathprefixset.h"
#include "util/wildcard.h"

namespace {

using PathExampleTest = testing_support::UtilityExampleTest;

TEST_F(PathExampleTest, MakeAPathNormal) {
    for (const std::string path :
         {"C:\\src\\.\\lib\\..\\main.c", "\\\\server\\share\\a\\", "\\a"}) {
        if (isAbsolutePath(path, windowsPaths)) {
            std::cout << normalizePath(path) << '\n';
        }
    }
}

TEST_F(PathExampleTest, CompleteAPath) {
    const std::string folder = "C:\\project";
    for (const char* const path : {"src/a.c", "..\\b.c", "D:\\c.c", "\\d.c"}) {
        std::cout << normalizePath(joinPath(folder, path, '/')) << '\n';
    }
}

TEST_F(PathExampleTest, TakeAPathApart) {
    const std::string path = "\\\\server\\share\\src\\main.c";
    std::cout << leafName(path) << ' ' << fileExtension(path) << ' ' << parentPath(path) << '\n';
    std::string folder;
    std::string leaf;
    splitDirLeaf("main.c", folder, leaf);
    std::cout << leafName("main.c").empty() << ' ' << leaf << '\n';
    std::vector<PathRange> components;
    splitPath(path, components, /*rootText=*/nullptr);
    for (const PathRange& component : components) {
        std::cout << path.substr(component.begin, component.length()) << '\n';
    }
}

TEST_F(PathExampleTest, FindOutWhetherAPathIsInAnother) {
    std::cout << isInPath("C:\\src", "c:/SRC/lib/a.c") << ' ' << isInPath("C:\\src", "C:/src2")
              << '\n';
    std::string path = "c:/SRC/lib/a.c";
    if (makeRelativeTo("C:/src", path)) {
        std::cout << path << '\n';
    }
}

TEST_F(PathExampleTest, CompareAndSortPaths) {
    std::vector<std::string> paths = {"C:/a b", "c:\\A\\z", "C:/a", "b"};
    std::sort(paths.begin(), paths.end(),
              [](const std::string& a, const std::string& b) { return comparePaths(a, b) < 0; });
    for (const std::string& path : paths) {
        std::cout << path << '\n';
    }
    std::cout << comparePaths("C:\\a\\\\b", "c:/A/b/") << '\n';
}

TEST_F(PathExampleTest, MatchAPathWithAPattern) {
    std::cout << wildcardMatch("*.[ch]", "src/MAIN.C") << ' ' << wildcardMatch("a?.c", "abc.c")
              << '\n';
    const std::string name = "libx.a";
    TextRange stem;
    if (matchStem("lib%.a", name, {0, name.size()}, '%', &stem, /*exact=*/true)) {
        std::cout << name.substr(stem.first, stem.second - stem.first) << '\n';
    }
}

TEST_F(PathExampleTest, KeepASetOfPathsAndPrefixes) {
    PathPrefixSet readOnly;
    readOnly.insert("C:/sdk/", /*isPrefix=*/true);
    readOnly.insert("C:/src/main.c", /*isPrefix=*/false);
    for (const char* const path : {"C:/sdk/include/a.h", "C:/src/main.c", "C:/src/main.c/x"}) {
        std::cout << (readOnly.find(path) != readOnly.end()) << '\n';
    }
}

}  // namespace
