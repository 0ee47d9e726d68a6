#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace testing_support {

/// A program to run to its end. All text is UTF-8.
struct ChildRun {
    /// The full path of the program; there is no search.
    std::filesystem::path program;
    /// Quoted so that a C program finds them unchanged in `argv`.
    std::vector<std::string> arguments = {};
    /// Changes to this process's environment: a value sets a variable, no value removes it.
    std::map<std::string, std::optional<std::string>> environment = {};
    /// The child's current directory; if empty, this process's own.
    std::filesystem::path folder = {};
    /// The file that is the child's standard input; if empty, there is nothing to read. Reading
    /// fails if it is a folder.
    std::filesystem::path input = {};
    /// Whether each write of the child to its standard output fails.
    bool refusesOutput = false;
    /// What a runtime passes to a child with the same runtime (`lpReserved2`); at most 65,535
    /// bytes.
    std::vector<unsigned char> startupRecord = {};
};

struct ChildResult {
    unsigned long exitCode = 0;
    /// What the child wrote, byte for byte.
    std::string output;
    std::string error;
};

/// Starts the program, waits until it ends, however long that takes, and returns its exit code and
/// output. Throws std::system_error if it can't be started. Must not be used in two threads at
/// once: each child would hold the other's pipes open.
ChildResult runChild(const ChildRun& run);

/// Returns the folder of the running test program, where the build puts every program and DLL.
std::filesystem::path testProgramFolder();

}  // namespace testing_support
