#include "util/scriptline.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using namespace std::literals;

struct SplitRow {
    const char* line;
    const char* name;
    const char* rest;
};

void expectSplits(std::initializer_list<SplitRow> rows) {
    for (const SplitRow& row : rows) {
        const NameAndRest split = splitCommandLine(row.line);
        EXPECT_EQ(split.name, row.name) << row.line;
        EXPECT_EQ(split.rest, row.rest) << row.line;
    }
}

TEST(SplitCommandLineTest, ANameEndsBeforeTheFirstSpaceAndTheRestKeepsIt) {
    expectSplits({
        {"tool", "tool", ""},
        {"tool a b", "tool", " a b"},
        {"tool ", "tool", " "},
        {"tool  a", "tool", "  a"},
        {" tool a", "", " tool a"},
        {"tool\ta b", "tool\ta", " b"},
        {"to\"ol a\" b", "to\"ol", " a\" b"},
        {"/usr/bin/x -y", "/usr/bin/x", " -y"},
        {"", "", ""},
    });
}

TEST(SplitCommandLineTest, OfAQuotedNameTheClosingQuoteGoesToTheRest) {
    expectSplits({
        {"\"my tool\" a", "my tool", "\" a"},
        {"\"tool\"", "tool", "\""},
        {"\"a\"b \"c\"", "a", "\"b \"c\""},
        {"\"\" a", "", "\" a"},
    });
}

TEST(SplitCommandLineTest, AQuoteWithoutAPartnerIsPartOfTheName) {
    expectSplits({{"\"tool a", "\"tool", " a"}, {"\"tool", "\"tool", ""}, {"\"", "\"", ""}});
}

TEST(ProgramExtensionTest, FourExtensionsInAnyCaseAreProgramsOfWindows) {
    for (const char* path : {"c:/a/x.exe", "x.EXE", "x.Com", "a.b/x.y.bat", "x.cMd", ".exe"}) {
        EXPECT_TRUE(hasProgramExtension(path)) << path;
    }
    for (const char* path :
         {"", "x", "exe", "x.sh", "x.exe2", "x.ex", "x.exe/y", "x.exe.", "x.lnk", "x.exe "}) {
        EXPECT_FALSE(hasProgramExtension(path)) << path;
    }
}

/// The head of a file that contains `content`.
ScriptHead headOf(std::string_view content) {
    ScriptHead head{};
    std::copy_n(content.begin(), std::min(content.size(), head.size()), head.begin());
    return head;
}

struct HeadRow {
    std::string_view content;
    std::string_view program;
    std::string_view arguments;
};

void expectInterpreters(std::initializer_list<HeadRow> rows) {
    for (const HeadRow& row : rows) {
        const std::optional<Interpreter> interpreter = interpreterOf(headOf(row.content));
        ASSERT_TRUE(interpreter.has_value()) << row.content;
        EXPECT_EQ(interpreter->program, row.program) << row.content;
        EXPECT_EQ(interpreter->arguments, row.arguments) << row.content;
    }
}

TEST(InterpreterTest, TheFirstLineNamesItWithItsArgumentsAfterASpace) {
    expectInterpreters({
        {"#!/bin/perl\nmore", "/bin/perl", ""},
        {"#!/bin/perl -w\nmore", "/bin/perl", " -w"},
        {"#!/bin/perl  -w -x \nmore", "/bin/perl", "  -w -x "},
        {"#!/bin/perl \nmore", "/bin/perl", " "},
        {"#!\t/bin/perl\t-w\nmore", "\t/bin/perl\t-w", ""},
        {"#!/bin/perl", "/bin/perl", ""},
        {"#!x", "x", ""},
    });
}

TEST(InterpreterTest, TheLineEndsAtACarriageReturnALineFeedOrANul) {
    expectInterpreters({
        {"#!/bin/a\r\n b", "/bin/a", ""},
        {"#!/bin/a\r b", "/bin/a", ""},
        {"#!/bin/a\n\r b", "/bin/a", ""},
        {"#!/bin/a b\r c\n d", "/bin/a", " b"},
        {"#!/bin/a\0 b\n"sv, "/bin/a", ""},
        {"#!/bin/a b\0c\n"sv, "/bin/a", " b"},
    });
}

TEST(InterpreterTest, AMarkWithNothingOrASpaceAfterItNamesNoProgram) {
    expectInterpreters({
        {"#!", "", ""},
        {"#!\n/bin/sh", "", ""},
        {"#! /bin/sh -x\n", "", " /bin/sh -x"},
        {"#! ", "", " "},
        {"#!\0/bin/sh"sv, "", ""},
    });
}

TEST(InterpreterTest, AFileWithoutTheMarkIsRunByTheShell) {
    for (const std::string_view content :
         {""sv, "#"sv, "echo"sv, "#/bin/perl\n"sv, " #!/bin/perl\n"sv, "\n#!/bin/perl\n"sv,
          "!#/bin/perl"sv, "ZM"sv, "Mz"sv, "mz"sv, "M"sv, " MZ"sv, "#\0!/bin/perl"sv, "\0MZ"sv}) {
        expectInterpreters({{content, "/bin/sh", ""}});
    }
}

TEST(InterpreterTest, AProgramOfWindowsHasNone) {
    for (const std::string_view content : {"MZ"sv, "MZ\x90\0\x03"sv, "MZ#!/bin/sh\n"sv}) {
        EXPECT_FALSE(interpreterOf(headOf(content)).has_value()) << content;
    }
}

TEST(InterpreterTest, TheLastByteOfTheHeadDoesNotCount) {
    const std::string name(252, 'x');
    for (const std::string& more :
         {std::string("y"), std::string("yz"), std::string("yz w\n"), std::string("y\n")}) {
        const std::string content = std::string("#!").append(name).append(more);
        expectInterpreters({{content, name + "y", ""}});
    }
    const std::string spaced = "#!" + name + " y";
    expectInterpreters({{spaced, name, " "}});
}

TEST(ScriptLineTest, TheScriptFollowsASpaceAndTheRestFollowsItAtOnce) {
    EXPECT_EQ(scriptLine({"c:/bin/perl.exe", " -w"}, "c:/x/script", " a b"),
              "c:/bin/perl.exe -w c:/x/script a b");
    EXPECT_EQ(scriptLine({"c:/bin/perl.exe", ""}, "c:/x/script", "\" a"),
              "c:/bin/perl.exe c:/x/script\" a");
    EXPECT_EQ(scriptLine({"c:/bin/tool.exe", ""}, "", " a"), "c:/bin/tool.exe  a");
    EXPECT_EQ(scriptLine({"", ""}, "", ""), " ");
}

}  // namespace
