#pragma once

// The command `completion SHELL` of our programs, which prints a script for that shell.

#include <string>

namespace CLI {
class App;
}

namespace tools {

/// Adds the command. The script will complete all that the program takes when it is asked for.
void addCompletionCommand(CLI::App& program);

/// Returns the script if the command line that `program` has read is this command, or nothing.
[[nodiscard]] std::string completionScript(const CLI::App& program);

}  // namespace tools
