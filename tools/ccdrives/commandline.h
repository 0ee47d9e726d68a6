#pragma once

// Reads a ccdrives command line. Text in, values out; UTF-8.

#include <stdexcept>
#include <string>
#include <vector>

#include "tools/shared/commanddescription.h"

namespace ccdrives {

enum class Command { install, remove, list, connect, disconnect };

struct Request {
    Command command = Command::list;
    bool json = false;
    /// For `install`; empty if it isn't given.
    std::string library = {};
    /// For `connect` and `disconnect`, as they are given.
    std::string drive = {};
    /// For `connect`.
    std::string remoteName = {};
};

struct CommandLine {
    Request request;
    /// Not empty if help was asked for: the text to print in place of doing anything.
    std::string help;
    /// Whether the version was asked for, in place of doing anything; of `request` only `json`
    /// counts then.
    bool version = false;
    /// Not empty if a completion script was asked for: the script to print in place of doing
    /// anything.
    std::string completion = {};
};

/// A command line that can't be understood. The message is one line that says what to do.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the arguments after the program's name. Throws UsageError.
[[nodiscard]] CommandLine parseCommandLine(std::vector<std::string> arguments);

/// Describes what parseCommandLine takes.
[[nodiscard]] tools::ProgramDescription describeCommandLine();

}  // namespace ccdrives
