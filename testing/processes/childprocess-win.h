#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace testing_support {

/// A program to run to its end. All text is UTF-8. Standard input is empty.
struct ChildRun {
    /// The whole path of the program; nothing is searched for.
    std::filesystem::path program;
    /// Quoted so that a C program finds them in `argv` letter for letter.
    std::vector<std::string> arguments = {};
    /// Changes to this process's environment: a value sets a variable, no value removes it.
    std::map<std::string, std::optional<std::string>> environment = {};
    /// The current directory of the child; this process's own if empty.
    std::filesystem::path folder = {};
    /// What a runtime hands to its own kind (`lpReserved2`); at most 65,535 bytes.
    std::vector<unsigned char> startupRecord = {};
};

struct ChildResult {
    unsigned long exitCode = 0;
    /// What the child wrote, byte for byte.
    std::string output;
    std::string error;
};

/// Starts the program, waits for its end, however long that takes, and returns what it left.
/// Throws std::system_error if it can't be started. Not for use in two threads at once: each child
/// would hold the other's pipes open.
ChildResult runChild(const ChildRun& run);

/// The folder that the running test program lies in, where the build puts every program and DLL.
std::filesystem::path testProgramFolder();

}  // namespace testing_support
