#include "testing/processes/childprocess-win.h"

#include <system_error>
#include <utility>

#include <gtest/gtest.h>

#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

ChildRun sampleProgram(std::vector<std::string> arguments) {
    return {.program = testing_support::testProgramFolder() / "sampleprogram.exe",
            .arguments = std::move(arguments)};
}

TEST(ChildProcessTest, TheExitCodeIsTheChilds) {
    const ChildResult result = runChild(sampleProgram({"exit", "259"}));
    EXPECT_EQ(result.exitCode, 259U);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
}

TEST(ChildProcessTest, ArgumentsArriveLetterForLetter) {
    const std::vector<std::string> awkward = {"",
                                              "a b",
                                              "tab\there",
                                              "a\"b",
                                              "\"",
                                              "\\",
                                              "a\\",
                                              "a b\\\\",
                                              "\\\"",
                                              "a\\\\\"b",
                                              "C:\\x y\\z",
                                              "%PATH%",
                                              "gr\xc3\xb6\xc3\x9f\x65",
                                              "\xf0\x9f\x98\x80",
                                              "^&|<>",
                                              "*.cpp"};
    std::vector<std::string> arguments = {"arguments"};
    std::string expected;
    for (const std::string& argument : awkward) {
        arguments.push_back(argument);
        expected += argument + '\n';
    }
    EXPECT_EQ(runChild(sampleProgram(arguments)).output, expected);
}

TEST(ChildProcessTest, AVariableIsInheritedWhereNothingIsSaidOfIt) {
    const EnvironmentScope inherited("CHILDPROCESS_TEST", "from the parent");
    EXPECT_EQ(runChild(sampleProgram({"variable", "CHILDPROCESS_TEST"})).output, "from the parent");
}

TEST(ChildProcessTest, AVariableIsReplacedWhateverTheCaseOfItsName) {
    const EnvironmentScope inherited("CHILDPROCESS_TEST", "from the parent");
    ChildRun run = sampleProgram({"variable", "CHILDPROCESS_TEST"});
    run.environment = {{"childprocess_test", "\xc3\xa4ndert"}};
    EXPECT_EQ(runChild(run).output, "\xc3\xa4ndert");
}

TEST(ChildProcessTest, AVariableWithoutAValueIsRemoved) {
    const EnvironmentScope inherited("CHILDPROCESS_TEST", "from the parent");
    ChildRun run = sampleProgram({"variable", "CHILDPROCESS_TEST"});
    run.environment = {{"CHILDPROCESS_TEST", std::nullopt}};
    EXPECT_EQ(runChild(run).output, "(not set)");
}

TEST(ChildProcessTest, TheChildRunsInTheFolderThatIsNamed) {
    const TempFolder folder;
    ChildRun run = sampleProgram({"folder"});
    run.folder = folder.path();
    const std::string output = runChild(run).output;
    EXPECT_TRUE(std::filesystem::equivalent(output, folder.path())) << output;
}

TEST(ChildProcessTest, StandardInputIsEmpty) {
    EXPECT_EQ(runChild(sampleProgram({"input"})).output, "0");
}

TEST(ChildProcessTest, BothOutputsAreReadWhileTheChildRunsAndKeptApart) {
    // Far more than a pipe holds, so that a child never ends if one of its streams isn't read.
    const std::string expected(1000000, 'x');
    const ChildResult result = runChild(sampleProgram({"flood", "1000000"}));
    EXPECT_EQ(result.output.size(), expected.size());
    EXPECT_TRUE(result.output == expected);
    EXPECT_TRUE(result.error == expected);
}

TEST(ChildProcessTest, AProgramThatIsNotThereIsAnError) {
    const TempFolder folder;
    EXPECT_THROW(runChild({.program = folder.path() / "none.exe"}), std::system_error);
}

TEST(ChildProcessTest, TheFolderOfTheTestProgramHoldsTheTestProgram) {
    EXPECT_TRUE(exists(testing_support::testProgramFolder() / "testing_test.exe"));
}

}  // namespace
