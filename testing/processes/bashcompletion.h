#pragma once

// Types into an interactive bash that has read a completion script. Natively only.

#include <filesystem>
#include <string>
#include <vector>

namespace testing_support {

/// A completion script, which completes the command `program` by the function `_program`.
struct BashCompletion {
    std::string program;
    std::string script;
    /// The current directory of bash.
    std::filesystem::path folder = "/";

    /// Types each line and Tab. Returns for each what the script replies: the words, in their
    /// order, and the options that it sets by `compopt`, each with a blank in front.
    [[nodiscard]] std::vector<std::string> repliesTo(const std::vector<std::string>& lines) const;

    /// Types each line and Enter. A tabulator in a line is Tab. Returns the arguments that the
    /// program gets, each as "<ARGUMENT>"; nothing for a line that runs no program.
    [[nodiscard]] std::vector<std::string> argumentsOf(const std::vector<std::string>& lines) const;
};

}  // namespace testing_support
