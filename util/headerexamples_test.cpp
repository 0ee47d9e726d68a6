// The tables of examples in the headers of paths, their order and wildcards, as they are there.

#include <string>

#include <gtest/gtest.h>

#include "util/pathcollation.h"
#include "util/pathfun.h"
#include "util/wildcard.h"

namespace {

using Text = std::string;

TEST(HeaderExamplesTest, NormalPaths) {
    EXPECT_EQ(normalizePath("C:\\a\\b\\..\\..\\.."), "C:/");
    EXPECT_EQ(normalizePath("C:foo"), "C:/foo");
    EXPECT_EQ(normalizePath("C:/a:"), "C:/a:/");
    EXPECT_EQ(normalizePath("\\\\srv\\sh\\a\\.."), "//srv/sh");
}

TEST(HeaderExamplesTest, JoinedPaths) {
    const struct {
        Text first, second, joined;
    } rows[] = {
        {"C:\\a", "b", "C:\\a/b"},   {"C:\\a\\", "b", "C:\\a\\b"},
        {"C:\\a", "D:\\b", "D:\\b"}, {"C:\\a", "\\b", "C:\\b"},
        {"rel", "\\b", "\\b"},       {"\\\\srv\\\\sh\\a", "\\b", "//srv/sh\\b"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(joinPath(row.first, row.second, '/'), row.joined);
    }
}

TEST(HeaderExamplesTest, TheOrderOfPaths) {
    const auto compare = [](const Text& a, const Text& b) { return comparePaths(a, b); };
    EXPECT_EQ(compare("C:\\a\\\\b", "c:/A/b"), 0);
    EXPECT_EQ(compare("C:a", "c:\\A"), 0);
    EXPECT_EQ(compare("//srv/sh", "\\\\SRV\\sh/"), 0);
    EXPECT_NE(compare("//srv/sh/x", "//srv//sh/x"), 0);
    EXPECT_LT(compare("a/b", "ab"), 0);
    EXPECT_GT(compare("C:\\a", "a"), 0);
}

TEST(HeaderExamplesTest, Wildcards) {
    const struct {
        Text pattern, text;
        bool matches;
    } rows[] = {
        {"abc*", "abc", true},  {"abc**", "abc", false}, {"abc**", "abcd", true},
        {"[]", "a", false},     {"[^]", "a", true},      {"[abc", "a", false},
        {"[c-a]", "-", true},   {"[c-a]", "b", false},   {"[!c-a]", "c", true},
        {"[!c-a]", "a", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(wildcardMatch(row.pattern, row.text), row.matches) << row.pattern;
    }
}

}  // namespace
