#pragma once

// Reads the query of a ccquery command line. Text in, values out; UTF-8.

#include <stdexcept>
#include <string>
#include <vector>

#include "tools/shared/commanddescription.h"

namespace ccquery {

enum class Command {
    status,
    canonicalize,
    vobs,
    drives,
    view,
    info,
    errors,
    check,
    record,
    verify,
    usage,
};

struct Query {
    Command command = Command::info;
    /// The options of every command; empty if they aren't given.
    std::string library = {};
    std::string config = {};
    bool json = false;
    /// For `status` and `canonicalize`. A path "-" stands for the paths on standard input, each
    /// ended by a line feed, or by a null character if `endedByNull` is set.
    std::vector<std::string> paths = {};
    bool endedByNull = false;
    bool explain = false;  ///< for both, too
    /// For `canonicalize`; `cwd` is empty if it isn't given.
    std::string cwd = {};
    std::vector<std::string> tags = {};
    /// For `vobs`.
    std::string root = {};
    /// For `check`; empty if it isn't given.
    std::string file = {};
    /// For `record`, `verify` and `usage`.
    std::vector<std::string> journals = {};
    /// For `record`; `output` is empty for standard output, `drives` if no drives are wanted.
    std::string output = {};
    std::string drives = {};
    bool force = false;
    /// For `verify`: the fields of answers that aren't compared, and the operations that are asked
    /// although they change something.
    std::vector<std::string> ignored = {};
    std::vector<std::string> asked = {};
};

struct CommandLine {
    Query query;
    /// Not empty if help was asked for: the text to print instead of an answer.
    std::string help = {};
    /// Whether the version was asked for, instead of an answer; of `query` only `json` counts then.
    bool version = false;
    /// Not empty if a completion script was asked for: the script to print instead of an answer.
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

}  // namespace ccquery
