#include "tools/shared/bashcompletion.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

using namespace tools;

TEST(BashCompletionTest, PlacesHaveWhatFitsThere) {
    const std::string script = bashCompletion(
        {.name = "program",
         .options = {{.names = {"-h", "--help"}}},
         .commands = {
             {.name = "run",
              .options = {{.names = {"-o", "--output"},
                           .value = ValueDescription{.label = "FILE", .kind = ValueKind::file}},
                          {.names = {"--tag"}, .value = ValueDescription{.label = "VOBTAG"}}},
              .arguments = {{.label = "KIND", .kind = ValueKind::file, .words = {"a", "b"}},
                            {.label = "DIR", .kind = ValueKind::folder}},
              .lastRepeats = true},
             {.name = "end", .arguments = {{.label = "FILE", .kind = ValueKind::file}}}}});
    EXPECT_NE(script.find("    case $1 in\n"
                          "    :) takes=(run end) ;;\n"
                          "    :-) takes=(-h --help) ;;\n"
                          "    run:-) takes=(-o --output --tag) ;;\n"
                          "    run:-o | run:--output) takes=('<file>') ;;\n"
                          "    run:--tag) ;;\n"
                          "    run:0) takes=(a b) ;;\n"
                          "    run:[0-9]*) takes=('<folder>') ;;\n"
                          "    end:-) ;;\n"
                          "    end:0) takes=('<file>') ;;\n"
                          "    *) return 1 ;;\n"
                          "    esac\n"),
              std::string::npos)
        << script;
}

TEST(BashCompletionTest, TheScriptIsForTheNameOfTheProgram) {
    const std::string script = bashCompletion({.name = "my-program"});
    EXPECT_TRUE(script.ends_with("\ncomplete -F _my-program my-program my-program.exe\n"));
    EXPECT_NE(script.find("#     source <(my-program completion bash)\n"), std::string::npos);
    EXPECT_EQ(script.find("PROGRAM"), std::string::npos);
    EXPECT_EQ(script.find_first_of("\r\t"), std::string::npos);
}

TEST(BashCompletionTest, WhatWouldNeedQuotesIsRefused) {
    for (const char* bad : {"", "a b", "$x", "a\n", "a'b", "a;b", "gr\303\266\303\237e", "a/b"}) {
        const ProgramDescription descriptions[] = {
            {.name = bad},
            {.name = "p", .options = {{.names = {bad}}}},
            {.name = "p", .commands = {{.name = bad}}},
            {.name = "p", .commands = {{.name = "c", .options = {{.names = {bad}}}}}},
            {.name = "p",
             .commands = {{.name = "c", .arguments = {{.label = "", .words = {"w", bad}}}}}},
        };
        for (const ProgramDescription& description : descriptions) {
            EXPECT_THROW(static_cast<void>(bashCompletion(description)), std::invalid_argument)
                << bad;
        }
    }
}

}  // namespace
