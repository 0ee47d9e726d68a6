#include "tools/ccquery/journals/elementline.h"

#include <utility>

#include <gtest/gtest.h>

#include "clearcase/elementtypes.h"

namespace {

using namespace ccquery;
using Texts = std::vector<std::string>;

ElementLines linesOf(const StatusAnswer& answer, const std::string& path = "C:\\s\\a") {
    return elementLines("C:\\s\\a", path, answer);
}

ElementLines linkTo(const std::string& target, const std::string& path = "C:\\s\\a") {
    return linesOf({.type = elementSymbolicLink, .version = "", .target = target}, path);
}

TEST(ElementLineTest, EveryTypeHasALine) {
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        if (entry->type != elementSymbolicLink && entry->type != elementVersion &&
            entry->type != elementDirectoryVersion) {
            EXPECT_EQ(linesOf({.type = entry->type, .version = "", .target = ""}).candidates,
                      (Texts{std::string("C:\\s\\a=*") + entry->name + "\n"}));
        }
    }
}

TEST(ElementLineTest, AVersionKeepsItsTextForThosePeopleWhoReadIt) {
    EXPECT_EQ(linesOf({.type = elementVersion, .version = "/main/3"}).candidates,
              (Texts{"C:\\s\\a=/main/3*version\n"}));
    EXPECT_EQ(linesOf({.type = elementDirectoryVersion}).candidates,
              (Texts{"C:\\s\\a=/main/0*directory_version\n"}));
    EXPECT_EQ(linesOf({.type = elementVersion, .version = "a*b"}).candidates,
              (Texts{"C:\\s\\a=*version\n"}));
}

TEST(ElementLineTest, AVersionWithoutItsTextHasNoLine) {
    for (const int32_t type : {elementVersion, elementDirectoryVersion}) {
        const ElementLines lines = linesOf({.type = type, .version = ""});
        EXPECT_TRUE(lines.candidates.empty());
        EXPECT_EQ(lines.problem, "no line gives this type without a version");
    }
}

TEST(ElementLineTest, ANumberWithoutATypeHasNoLine) {
    const ElementLines lines = linesOf({.type = 42});
    EXPECT_TRUE(lines.candidates.empty());
    EXPECT_EQ(lines.problem, "no type of a configuration has the number 42");
}

TEST(ElementLineTest, ARelativeTextIsTheLikeliestOfALink) {
    EXPECT_EQ(linkTo("C:\\s/..\\b").candidates.front(), "C:\\s\\a=..\\b\n");
    EXPECT_EQ(linkTo("C:/s/b", "C:/s/a").candidates.front(), "C:\\s\\a=b\n");
    EXPECT_EQ(linkTo("D:\\b").candidates, (Texts{"C:\\s\\a=D:\\b\n"}));
    EXPECT_EQ(linkTo("C:\\b").candidates, (Texts{"C:\\s\\a=C:\\b\n", "C:\\s\\a=\\b\n"}));
}

TEST(ElementLineTest, AWhiteEndOfALinkTextIsKept) {
    EXPECT_EQ(linkTo("D:\\b ").candidates.front(), "C:\\s\\a=D:\\b *symbolic_link\n");
    EXPECT_EQ(linkTo("D:\\b\xa0").candidates.front(), "C:\\s\\a=D:\\b\xa0*symbolic_link\n");
    EXPECT_EQ(linkTo("D:\\b\x7f").candidates.front(), "C:\\s\\a=D:\\b\x7f*symbolic_link\n");
    EXPECT_EQ(linkTo("D:\\b\r").candidates.front(), "C:\\s\\a=D:\\b\r*symbolic_link\n");
}

TEST(ElementLineTest, ALinkWhoseTargetNobodyWantedHasAnyText) {
    EXPECT_EQ(linesOf({.type = elementSymbolicLink}).candidates, (Texts{"C:\\s\\a=\n"}));
}

TEST(ElementLineTest, ALinkTextThatNoLineCanHaveIsNamed) {
    const std::pair<std::string, std::string> rows[] = {
        {"D:\\a*b", "it contains '*'"},
        {"D:\\a\nb", "it contains a line end"},
        {"D:\\a\x1a", "it contains Ctrl+Z"},
    };
    for (const auto& [target, problem] : rows) {
        const ElementLines lines = linkTo(target);
        EXPECT_TRUE(lines.candidates.empty());
        EXPECT_EQ(lines.problem, "no line can have this link text: " + problem);
    }
}

TEST(ElementLineTest, APathThatNoLineCanHaveIsNamed) {
    const std::pair<std::string, std::string> rows[] = {
        {"C:\\a=b", "it contains '='"},
        {"C:\\a\nb", "it contains a line end"},
        {"C:\\a\x1a", "it contains Ctrl+Z"},
        {";:\\a", "it begins like a comment or a section"},
        {"#:\\a", "it begins like a comment or a section"},
        {"[:\\a", "it begins like a comment or a section"},
        {" :\\a", "it begins with white space"},
        {"\v:\\a", "it begins with white space"},
    };
    for (const auto& [key, problem] : rows) {
        EXPECT_EQ(problemOfName(key), problem);
        const ElementLines lines = elementLines(key, key, {.type = elementViewPrivate});
        EXPECT_TRUE(lines.candidates.empty());
        EXPECT_EQ(lines.problem, "no line can have this path: " + problem);
    }
    EXPECT_EQ(problemOfName(""), "");
    EXPECT_EQ(problemOfName("C:\\a*b;#[ "), "");
}

}  // namespace
