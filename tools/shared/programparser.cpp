#include "tools/shared/programparser.h"

#include <cstddef>

#include <CLI/CLI.hpp>

namespace tools {
namespace {

/// Returns the names of the commands: "a, b or c".
std::string commandNames(const CLI::App& program) {
    const std::vector<const CLI::App*> commands =
        program.get_subcommands([](const CLI::App*) { return true; });
    std::string names;
    for (size_t i = 0; i < commands.size(); ++i) {
        const bool isLast = i + 1 == commands.size();
        names.append(i == 0 ? "" : isLast ? " or " : ", ").append(commands[i]->get_name());
    }
    return names;
}

}  // namespace

void addProgramOptions(CLI::App& program, bool& json, const std::string& aboutJson) {
    // What begins with a slash is a path or another text, no option.
    program.allow_windows_style_options(false);
    program.fallthrough();
    program.require_subcommand(1);
    program.get_formatter()->label("SUBCOMMAND", "COMMAND ...");
    program.set_help_flag("-h,--help", "Print this help and exit");
    program.add_flag("--json", json, aboutJson);
    program.add_flag_callback(
        "--version", [] { throw CLI::CallForVersion(); },
        "Print the version, the commit and the compiler, and exit");
}

std::string complaintAbout(const CLI::App& program, const CLI::ParseError& error,
                           const std::vector<std::string>& rest) {
    const std::vector<CLI::App*> chosen = program.get_subcommands();
    const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
    if (chosen.empty() && kind == CLI::ExitCodes::RequiredError) {
        return (rest.empty() ? "no command" : "unknown command '" + rest.front() + "'") + "; use " +
               commandNames(program) + ", or see " + program.get_name() + " --help";
    }
    const std::string problem = kind == CLI::ExitCodes::ExtrasError
                                    ? "unexpected argument '" + rest.front() + "'"
                                    : std::string(error.what());
    return problem + "; see " + program.get_name() + ' ' +
           (chosen.empty() ? "" : chosen.front()->get_name() + ' ') + "--help";
}

}  // namespace tools
