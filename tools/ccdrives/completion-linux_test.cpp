// The completion script of ccdrives in bash.

#include <gtest/gtest.h>

#include "testing/completionproperty.h"
#include "tools/ccdrives/commandline.h"

namespace {

using namespace testing_support;
using namespace ccdrives;

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
            .bash = {.program = "ccdrives",
                     .script = parseCommandLine({"completion", "bash"}).completion}};
}

TEST(CcdrivesCompletionTest, WhatTheHelpDescribesIsOfferedAndKnown) {
    expectCompletionOfTheHelp(program());
}

TEST(CcdrivesCompletionTest, ValuesAreOfferedThatTheParserTakes) {
    expectCompletionOfValues(program());
    const std::string files = " -o bashdefault -o default";
    EXPECT_EQ(program().bash.repliesTo({"ccdrives c", "ccdrives install --library ",
                                        "ccdrives completion ", "ccdrives connect ",
                                        "ccdrives connect M: "}),
              (Texts{"connect completion", files, "bash", "", ""}));
}

TEST(CcdrivesCompletionTest, NothingIsOfferedForDrivesAndRemoteNames) {
    EXPECT_EQ(labelsOfTexts(describeCommandLine()), (TextSet{"DRIVE", "REMOTENAME"}));
}

TEST(CcdrivesCompletionTest, TheCompletedLineIsTheOneThatIsMeant) {
    EXPECT_EQ(program().bash.argumentsOf({"ccdrives --j\tcon\t M: '\\\\view\\a b'"}),
              Texts{"<--json><connect><M:><\\\\view\\a b>"});
}

}  // namespace
