#pragma once

// Describes a command line as plain data, for whoever writes completion scripts. The description is
// taken from the parser itself, so both always know the same.

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tools {

/// What the value of an option, or an argument, is to the person who types it.
enum class ValueKind { text, file, folder };

struct ValueDescription {
    /// As in the help: FILE, DIR, VOBTAG.
    std::string label;
    ValueKind kind = ValueKind::text;
    /// If there are any, the value is one of these.
    std::vector<std::string> words = {};
};

struct OptionDescription {
    std::vector<std::string> names;  ///< with their hyphens
    /// None for a flag.
    std::optional<ValueDescription> value = std::nullopt;
};

struct CommandDescription {
    std::string name;
    /// Its own, and those of the program that may be after its name too.
    std::vector<OptionDescription> options = {};
    /// In their order.
    std::vector<ValueDescription> arguments = {};
    /// Whether the last argument may be given again.
    bool lastRepeats = false;
};

struct ProgramDescription {
    std::string name;
    /// Those in front of a command.
    std::vector<OptionDescription> options = {};
    std::vector<CommandDescription> commands = {};
};

/// Describes a program whose arguments all belong to its commands. A value is a file or a folder if
/// its label says so: FILE, PATH and JOURNAL, or DIR and ROOT. The label is the name of an
/// argument, or the type name of an option; the words are those of CLI::IsMember.
///
/// Throws std::invalid_argument if a command has commands, or if the program has arguments: this
/// can't describe them.
[[nodiscard]] ProgramDescription describe(const CLI::App& program);

}  // namespace tools
