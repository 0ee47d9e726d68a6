#include "tools/shared/completioncommand.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include "tools/shared/bashcompletion.h"

namespace {

using namespace tools;

TEST(CompletionCommandTest, TheScriptCompletesAllThatTheProgramTakes) {
    CLI::App app("", "program");
    addCompletionCommand(app);
    app.add_subcommand("later");
    app.parse("completion bash");
    const std::string script = completionScript(app);
    EXPECT_EQ(script, bashCompletion(describe(app)));
    EXPECT_NE(script.find(":) takes=(completion later) ;;"), std::string::npos) << script;
    EXPECT_NE(script.find("completion:0) takes=(bash) ;;"), std::string::npos) << script;
}

TEST(CompletionCommandTest, AnotherCommandHasNoScript) {
    CLI::App app("", "program");
    addCompletionCommand(app);
    app.add_subcommand("other");
    app.parse("other");
    EXPECT_EQ(completionScript(app), "");
}

TEST(CompletionCommandTest, TheShellIsRequiredAndKnown) {
    CLI::App app("", "program");
    addCompletionCommand(app);
    EXPECT_THROW(app.parse("completion"), CLI::RequiredError);
    try {
        app.parse("completion zsh");
        ADD_FAILURE() << "the shell is taken";
    } catch (const CLI::ValidationError& error) {
        EXPECT_STREQ(error.what(), "SHELL: there is no script for 'zsh', use bash");
    }
}

TEST(CompletionCommandTest, ItsHelpSaysHowToSwitchItOn) {
    CLI::App app("", "program");
    addCompletionCommand(app);
    const std::string help = app.get_subcommand("completion")->help();
    EXPECT_NE(help.find("SHELL REQUIRED"), std::string::npos) << help;
    EXPECT_NE(help.find("    source <(program completion bash)\n"), std::string::npos) << help;
}

}  // namespace
