#include "tools/shared/completioncommand.h"

#include <CLI/CLI.hpp>

#include "tools/shared/bashcompletion.h"
#include "tools/shared/commanddescription.h"

namespace tools {
namespace {

/// Like CLI::IsMember({"bash"}), with a message for people who have another shell.
CLI::Validator knownShell() {
    const auto problemOf = [](const std::string& shell) {
        return shell == "bash" ? "" : "there is no script for '" + shell + "', use bash";
    };
    return {problemOf, "{bash}"};
}

}  // namespace

void addCompletionCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand(
        "completion", "A script with which a shell completes this command line");
    command->group("Commands");
    command->footer("This line in ~/.bashrc switches it on:\n    source <(" + program.get_name() +
                    " completion bash)");
    command->add_option("SHELL")
        ->description("The only shell that there is a script for is bash")
        ->required()
        ->option_text("REQUIRED")
        ->check(knownShell());
}

std::string completionScript(const CLI::App& program) {
    return program.got_subcommand("completion") ? bashCompletion(describe(program)) : "";
}

}  // namespace tools
