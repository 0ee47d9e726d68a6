#pragma once

// What the parsers of our programs have in common.

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace tools {

/// Makes the parser one whose program needs a command, and adds its options `--help`, `--json`,
/// which sets `json`, and `--version`, which ends the parsing by CLI::CallForVersion: after
/// `--json`, so that this is known then. Both go with every command too. `json` must outlive the
/// parser.
void addProgramOptions(CLI::App& program, bool& json, const std::string& aboutJson);

/// Returns one line that says why the program refuses a command line, and what to do. `rest` has
/// the arguments that nothing has taken.
[[nodiscard]] std::string complaintAbout(const CLI::App& program, const CLI::ParseError& error,
                                         const std::vector<std::string>& rest);

}  // namespace tools
