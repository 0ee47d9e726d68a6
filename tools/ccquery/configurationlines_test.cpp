#include "tools/ccquery/configurationlines.h"

#include <gtest/gtest.h>

namespace {

using ccquery::ConfigurationLine;
using ccquery::ConfigurationLines;
using ccquery::LineKind;

using Kinds = std::vector<LineKind>;

Kinds kindsOf(const ConfigurationLines& file) {
    Kinds kinds;
    for (const ConfigurationLine& line : file.lines()) {
        kinds.push_back(line.kind);
    }
    return kinds;
}

/// The texts of all lines, each in brackets.
std::string textsOf(const ConfigurationLines& file) {
    std::string texts;
    for (const ConfigurationLine& line : file.lines()) {
        texts.append("<").append(line.text).append(">");
    }
    return texts;
}

/// The number of the line that decides about a key; 0 if there is none.
size_t decider(const ConfigurationLines& file, std::string_view key) {
    const ConfigurationLine* line = file.deciding(key);
    return line == nullptr ? 0 : line->number;
}

TEST(ConfigurationLinesTest, AnEmptyTextHasNoLines) {
    const ConfigurationLines file("", "");
    EXPECT_EQ(file.lines().size(), 0U);
    EXPECT_EQ(file.ctrlZ(), std::nullopt);
    EXPECT_EQ(file.complaints(), "");
}

TEST(ConfigurationLinesTest, EachLineHasItsNumberItsTextAndItsKind) {
    const ConfigurationLines file(
        "x=1\n"
        "[vobs]\r\n"
        "\n"
        "; remark\n"
        " \\v=ro,x \n"
        "bad\n"
        "[Attrs]\n"
        "C:/a=/main/3*version\n"
        "rel=x\n"
        "[other]\n"
        "last",
        "");
    EXPECT_EQ(kindsOf(file),
              (Kinds{LineKind::outside, LineKind::header, LineKind::empty, LineKind::comment,
                     LineKind::vob, LineKind::badLine, LineKind::header, LineKind::element,
                     LineKind::relativePath, LineKind::header, LineKind::unfinished}));
    EXPECT_EQ(textsOf(file),
              "<x=1><[vobs]\r><><; remark>< \\v=ro,x ><bad><[Attrs]><C:/a=/main/3*version>"
              "<rel=x><[other]><last>");
    for (size_t i = 0; i < file.lines().size(); ++i) {
        EXPECT_EQ(file.lines()[i].number, i + 1);
        EXPECT_EQ(&file.line(i + 1), &file.lines()[i]);
    }
    EXPECT_EQ(file.line(2).trimmed, "[vobs]");
    EXPECT_EQ(file.line(5).trimmed, "\\v=ro,x");
    EXPECT_EQ(file.text().substr(0, 4), "x=1\n");
    EXPECT_EQ(file.complaints(), "Invalid line in [vobs]:  bad\n");
}

TEST(ConfigurationLinesTest, EmptyLinesAndCommentsSayNothingWhereverTheyAre) {
    const ConfigurationLines file(";\n\n[vobs]\nx=\n # y\x1a\n z\n ;\n\t\n\nq", "");
    std::vector<size_t> silent;
    for (const ConfigurationLine& line : file.lines()) {
        if (line.saysNothing) {
            silent.push_back(line.number);
        }
    }
    EXPECT_EQ(silent, (std::vector<size_t>{1, 2, 5, 7, 8, 9}));
}

TEST(ConfigurationLinesTest, AHeaderHasItsOwnSectionAndOtherLinesThatAroundThem) {
    const ConfigurationLines file("a\n[vobs]\nb=\n\n[attrs]\n;\n[none]\nc\n[vobs]\nd", "");
    std::vector<ConfigurationSection> sections;
    for (const ConfigurationLine& line : file.lines()) {
        sections.push_back(line.section);
    }
    using enum ConfigurationSection;
    EXPECT_EQ(sections,
              (std::vector{none, vobs, vobs, vobs, attrs, attrs, none, none, vobs, vobs}));
}

TEST(ConfigurationLinesTest, AVobHasItsTagAndItsFlagsAsSpelled) {
    const ConfigurationLines file("[vobs]\n\\v =a=b, ro\n", "");
    EXPECT_EQ(file.line(2).tag, "\\v ");
    EXPECT_EQ(file.line(2).flags, "a=b, ro");
}

TEST(ConfigurationLinesTest, AnElementHasItsPathItsKeyItsTypeAndItsValue) {
    const ConfigurationLines file(
        "[attrs]\nC:/a/./b=x*y*version\nC:\\l=..\\t\nC:\\d=v*null\nC:\\e=w*\n", "");
    EXPECT_EQ(file.line(2).path, "C:/a/./b");
    EXPECT_EQ(file.line(2).key, "C:\\a\\b");
    EXPECT_EQ(file.line(2).secondKey, "");
    EXPECT_EQ(file.line(2).unknownType, "y*version");
    EXPECT_EQ(file.line(2).type, elementSymbolicLink);
    EXPECT_EQ(file.line(2).value, "x");
    EXPECT_EQ(file.line(3).key, "C:\\l");
    EXPECT_EQ(file.line(3).type, elementSymbolicLink);
    EXPECT_EQ(file.line(3).value, "..\\t");
    EXPECT_EQ(file.line(3).unknownType, std::nullopt);
    EXPECT_EQ(file.line(4).type, elementNull);
    EXPECT_EQ(file.line(4).value, "v");
    EXPECT_EQ(file.line(5).unknownType, "");
    EXPECT_EQ(file.complaints(),
              "Invalid attr 'y*version' for C:/a/./b\nInvalid attr '' for C:\\e\n");
}

TEST(ConfigurationLinesTest, AnElementWithARelativePathHasNothingButThePath) {
    const ConfigurationLines file("[attrs]\nrel=x*nonsense\n", "M:");
    EXPECT_EQ(file.line(2).kind, LineKind::relativePath);
    EXPECT_EQ(file.line(2).path, "rel");
    EXPECT_EQ(file.line(2).key, "");
    EXPECT_EQ(file.line(2).secondKey, "");
    EXPECT_EQ(file.complaints(), "");
    EXPECT_TRUE(file.configuration().elements.empty());
}

TEST(ConfigurationLinesTest, TheViewRootPrefixAddsASecondKey) {
    const ConfigurationLines file("[attrs]\nC:/a=x\n", "M:\\view");
    EXPECT_EQ(file.viewRootPrefix(), "M:\\view");
    EXPECT_EQ(file.line(2).key, "C:\\a");
    EXPECT_EQ(file.line(2).secondKey, "M:\\viewC:/a");
    EXPECT_EQ(decider(file, "M:\\viewC:/a"), 2U);
    EXPECT_EQ(decider(file, "C:\\a"), 2U);
}

TEST(ConfigurationLinesTest, TheLastLineWithAKeyDecidesAndNamesThatBeforeIt) {
    const ConfigurationLines file("[attrs]\nC:/a=1\nC:\\b=2\nC:\\a=3\nC:\\x\\..\\a=4\n", "");
    EXPECT_EQ(decider(file, "C:\\a"), 5U);
    EXPECT_EQ(decider(file, "C:\\b"), 3U);
    EXPECT_EQ(decider(file, "C:/a"), 0U);
    EXPECT_EQ(decider(file, "C:\\c"), 0U);
    EXPECT_EQ(file.line(5).keyBefore, 4U);
    EXPECT_EQ(file.line(4).keyBefore, 2U);
    EXPECT_EQ(file.line(2).keyBefore, 0U);
    EXPECT_EQ(file.line(3).keyBefore, 0U);
}

TEST(ConfigurationLinesTest, AKeyMayBeTheFirstOneOfALineAndTheSecondOneOfAnother) {
    const ConfigurationLines file("[attrs]\nA:C:\\x=1\nC:\\x=2\nA:C:\\x=3\n", "A:");
    EXPECT_EQ(file.line(2).key, "A:\\C:\\x");
    EXPECT_EQ(file.line(2).secondKey, "A:A:C:\\x");
    EXPECT_EQ(file.line(3).secondKey, "A:C:\\x");
    EXPECT_EQ(file.line(4).secondKeyBefore, 2U);
    const ConfigurationLines mixed("[attrs]\nA:\\B:\\x=1\nB:\\x=2\nA:\\B:\\x=3\n", "A:\\");
    EXPECT_EQ(mixed.line(3).secondKey, "A:\\B:\\x");
    EXPECT_EQ(mixed.line(3).secondKeyBefore, 2U);
    EXPECT_EQ(mixed.line(4).keyBefore, 3U);
    EXPECT_EQ(decider(mixed, "A:\\B:\\x"), 4U);
}

TEST(ConfigurationLinesTest, TheTablesAreThoseOfTheLibrary) {
    const ConfigurationLines file("[vobs]\n\\v=ro\n[attrs]\nC:/a=x\nrel=y\nC:\\b=z\nC:\\c=w", "");
    ASSERT_EQ(file.configuration().vobs.size(), 1U);
    EXPECT_EQ(file.configuration().vobs[0].state, vobReadOnly);
    EXPECT_EQ(file.configuration().elements.size(), 2U);
    EXPECT_NE(file.configuration().index.find("C:\\a"), nullptr);
    EXPECT_EQ(file.configuration().index.find("C:\\c"), nullptr);
}

TEST(ConfigurationLinesTest, CtrlZEndsTheFileInTheMiddleOfALine) {
    const ConfigurationLines file("[attrs]\nC:\\a=\x1a x\nC:\\b=\x1a\n\nlast", "");
    EXPECT_EQ(kindsOf(file), (Kinds{LineKind::header, LineKind::unfinished, LineKind::afterCtrlZ,
                                    LineKind::afterCtrlZ, LineKind::afterCtrlZ}));
    EXPECT_EQ(textsOf(file), "<[attrs]><C:\\a=\x1a x><C:\\b=\x1a><><last>");
    EXPECT_EQ(file.line(2).trimmed, "C:\\a=");
    EXPECT_EQ(file.line(5).trimmed, "last");
    EXPECT_EQ(file.line(5).number, 5U);
    EXPECT_EQ(file.line(5).section, ConfigurationSection::attrs);
    EXPECT_EQ(file.ctrlZ(), 13U);
    EXPECT_TRUE(file.configuration().elements.empty());
}

TEST(ConfigurationLinesTest, CtrlZMayBeAlone) {
    const ConfigurationLines file("[attrs]\n\x1a", "");
    EXPECT_EQ(kindsOf(file), (Kinds{LineKind::header, LineKind::unfinished}));
    EXPECT_EQ(file.line(2).text, "\x1a");
    EXPECT_EQ(file.line(2).trimmed, "");
    const ConfigurationLines finished("\x1a\n", "");
    EXPECT_EQ(kindsOf(finished), Kinds{LineKind::unfinished});
    EXPECT_EQ(finished.line(1).text, "\x1a");
}

TEST(ConfigurationLinesTest, WhatFollowsCtrlZIsNotReadWhateverItIs) {
    const ConfigurationLines file("\x1a\n[vobs]\n\\v=ro\nbad\n[attrs]\nC:\\a=x\nrel=x\n", "");
    EXPECT_EQ(kindsOf(file),
              (Kinds{LineKind::unfinished, LineKind::afterCtrlZ, LineKind::afterCtrlZ,
                     LineKind::afterCtrlZ, LineKind::afterCtrlZ, LineKind::afterCtrlZ,
                     LineKind::afterCtrlZ}));
    EXPECT_EQ(file.complaints(), "");
    EXPECT_TRUE(file.configuration().vobs.empty());
}

TEST(ConfigurationLinesTest, ALineThatIsNotReadHasTheElementThatItWouldBe) {
    for (const char* text : {"C:/a=t*version\n", "  C:/a=t*version", "; C:/a=t*version\n",
                             "##;C:/a=t*version", "C:/a=t*version\x1a rest"}) {
        const ConfigurationLines file(text, "M:\\v");
        const auto element = file.asElement(file.line(1));
        ASSERT_TRUE(element) << text;
        EXPECT_EQ(element->path, "C:/a");
        EXPECT_EQ(element->key, "C:\\a");
        EXPECT_EQ(element->secondKey, "M:\\vC:/a");
        EXPECT_EQ(element->type, elementVersion);
        EXPECT_EQ(element->value, "t");
        EXPECT_EQ(element->unknownType, std::nullopt);
    }
    const ConfigurationLines unknown("#C:/a=t*Version", "");
    EXPECT_EQ(unknown.asElement(unknown.line(1))->unknownType, "Version");
    EXPECT_EQ(unknown.asElement(unknown.line(1))->secondKey, "");
}

TEST(ConfigurationLinesTest, ALineThatIsNoElementAnywhereHasNone) {
    for (const char* text :
         {"\n", ";\n", "; a remark", "; rel=x", "[C:\\a=x]", "C:\\a", "#[x]=y"}) {
        const ConfigurationLines file(text, "");
        EXPECT_FALSE(file.asElement(file.line(1))) << text;
    }
}

TEST(ConfigurationLinesTest, ElementsOfTheSectionAreAsReadAndAfterCtrlZToo) {
    const ConfigurationLines file("[attrs]\nC:\\a=x\n\x1a\nC:\\b=y\n", "");
    EXPECT_EQ(file.asElement(file.line(2))->value, "x");
    EXPECT_FALSE(file.asElement(file.line(3)));
    EXPECT_EQ(file.asElement(file.line(4))->key, "C:\\b");
}

}  // namespace
