#include "tools/shared/commanddescription.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>

#include <CLI/CLI.hpp>

namespace tools {
namespace {

ValueKind kindOf(std::string_view label) {
    if (label == "FILE" || label == "PATH" || label == "JOURNAL") {
        return ValueKind::file;
    }
    return label == "DIR" || label == "ROOT" ? ValueKind::folder : ValueKind::text;
}

/// `typeName` is as CLI11 writes it, with the words of CLI::IsMember: "FIELD:{type,version}".
std::vector<std::string> wordsOf(const std::string& typeName) {
    const size_t begin = typeName.find(":{");
    if (begin == std::string::npos) {
        return {};
    }
    const size_t end = typeName.find('}', begin);
    return CLI::detail::split(typeName.substr(begin + 2, end - begin - 2), ',');
}

ValueDescription valueOf(const CLI::Option& option) {
    const std::string typeName = option.get_type_name();
    const std::string label =
        option.get_positional() ? option.get_name() : typeName.substr(0, typeName.find(':'));
    return {.label = label, .kind = kindOf(label), .words = wordsOf(typeName)};
}

OptionDescription describeOption(const CLI::Option& option) {
    OptionDescription result;
    for (const std::string& name : option.get_snames()) {
        result.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        result.names.push_back("--" + name);
    }
    if (option.get_items_expected_max() > 0) {
        result.value = valueOf(option);
    }
    return result;
}

std::vector<OptionDescription> optionsOf(const CLI::App& app) {
    std::vector<OptionDescription> result;
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional()) {
            result.push_back(describeOption(*option));
        }
    }
    return result;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> argumentsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

bool hasOption(const CommandDescription& command, const OptionDescription& option) {
    return std::any_of(command.options.begin(), command.options.end(),
                       [&](const OptionDescription& known) { return known.names == option.names; });
}

CommandDescription describeCommand(const CLI::App& command,
                                   const std::vector<OptionDescription>& programOptions) {
    if (!commandsOf(command).empty()) {
        throw std::invalid_argument("the command " + command.get_name() + " has commands");
    }
    CommandDescription result{.name = command.get_name(), .options = optionsOf(command)};
    if (command.get_fallthrough()) {
        for (const OptionDescription& option : programOptions) {
            if (!hasOption(result, option)) {
                result.options.push_back(option);
            }
        }
    }
    for (const CLI::Option* argument : argumentsOf(command)) {
        result.arguments.push_back(valueOf(*argument));
        result.lastRepeats = argument->get_items_expected_max() > 1;
    }
    return result;
}

}  // namespace

ProgramDescription describe(const CLI::App& program) {
    if (!argumentsOf(program).empty()) {
        throw std::invalid_argument("the program " + program.get_name() + " has arguments");
    }
    ProgramDescription result{.name = program.get_name(), .options = optionsOf(program)};
    for (const CLI::App* command : commandsOf(program)) {
        result.commands.push_back(describeCommand(*command, result.options));
    }
    return result;
}

}  // namespace tools
