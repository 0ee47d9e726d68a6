// The completion script of ccquery in bash.

#include <gtest/gtest.h>

#include "testing/completionproperty.h"
#include "tools/ccquery/commandline.h"

namespace {

using namespace testing_support;
using namespace ccquery;

using Texts = std::vector<std::string>;

std::string parsed(const Texts& arguments) {
    try {
        return parseCommandLine(arguments).help;
    } catch (const UsageError& error) {
        return error.what();
    }
}

CompletedProgram program() {
    return {.description = describeCommandLine(),
            .parse = parsed,
            .bash = {.program = "ccquery",
                     .script = parseCommandLine({"completion", "bash"}).completion}};
}

TEST(CcqueryCompletionTest, WhatTheHelpDescribesIsOfferedAndKnown) {
    expectCompletionOfTheHelp(program());
}

TEST(CcqueryCompletionTest, ValuesAreOfferedThatTheParserTakes) {
    expectCompletionOfValues(program());
    EXPECT_EQ(program().bash.repliesTo(
                  {"ccquery verify --ignore t", "ccquery verify j --ask=s", "ccquery completion "}),
              (Texts{"type target text", "startSession", "bash"}));
}

TEST(CcqueryCompletionTest, NothingIsOfferedForTagsAlone) {
    EXPECT_EQ(labelsOfTexts(describeCommandLine()), TextSet{"VOBTAG"});
}

TEST(CcqueryCompletionTest, PathsAreFilesOrFolders) {
    const std::string files = " -o bashdefault -o default";
    EXPECT_EQ(
        program().bash.repliesTo({"ccquery status ", "ccquery status a b", "ccquery check ",
                                  "ccquery check a ", "ccquery verify j --library ",
                                  "ccquery --config=x", "ccquery vobs ", "ccquery vobs x ",
                                  "ccquery canonicalize --cwd ", "ccquery view "}),
        (Texts{files, files, files, "", files, files, " -o dirnames", "", " -o dirnames", ""}));
}

TEST(CcqueryCompletionTest, TheCompletedLineIsTheOneThatIsMeant) {
    EXPECT_EQ(program().bash.argumentsOf(
                  {"ccquery can\t--ta\tX: --cw\t/us\tbin x", "ccquery --js\tver\tj --ask=pr\t"}),
              (Texts{"<canonicalize><--tag><X:><--cwd></usr/bin><x>",
                     "<--json><verify><j><--ask=probeVobs>"}));
}

}  // namespace
