#pragma once

#include <algorithm>
#include <functional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/processes/bashcompletion.h"
#include "tools/shared/commanddescription.h"

namespace testing_support {

/// A program, by its own words.
struct CompletedProgram {
    tools::ProgramDescription description;
    /// Returns what the parser prints for the arguments: a help, the complaint, or nothing.
    std::function<std::string(const std::vector<std::string>&)> parse;
    BashCompletion bash;
};

using TextSet = std::set<std::string>;

inline TextSet wordsOf(const std::string& line) {
    std::istringstream stream(line);
    TextSet words;
    for (std::string word; stream >> word;) {
        words.insert(word);
    }
    return words;
}

/// Returns what the group of the pattern matches in the lines of a help.
inline TextSet namesInHelp(const std::string& help, const char* pattern) {
    std::istringstream stream(help);
    TextSet names;
    std::smatch match;
    for (std::string line; std::getline(stream, line);) {
        if (std::regex_search(line, match, std::regex(pattern))) {
            names.insert(match[1]);
        }
    }
    return names;
}

/// The long names of the options that a help describes.
inline TextSet optionsInHelp(const std::string& help) {
    return namesInHelp(help, "^  (?:-[a-z],)?(--[a-z]+)");
}

inline TextSet commandsInHelp(const std::string& help) {
    return namesInHelp(help.substr(help.find("\nCommands:\n")), "^  ([a-z]+)  ");
}

inline bool includes(const TextSet& whole, const TextSet& part) {
    return std::includes(whole.begin(), whole.end(), part.begin(), part.end());
}

/// Expects that bash offers the commands of the help, and in front of a command and after it the
/// options of the helps, and that the parser knows all that is offered.
inline void expectCompletionOfTheHelp(const CompletedProgram& program) {
    const std::string& name = program.bash.program;
    const std::string help = program.parse({"--help"});
    const TextSet commands = commandsInHelp(help);
    EXPECT_GE(commands.size(), 5U) << help;
    std::vector<std::string> lines = {name + " ", name + " -"};
    for (const std::string& command : commands) {
        lines.emplace_back(name).append(" ").append(command).append(" -");
    }
    const std::vector<std::string> replies = program.bash.repliesTo(lines);
    ASSERT_EQ(replies.size(), lines.size());
    EXPECT_EQ(wordsOf(replies[0]), commands);
    auto reply = replies.begin() + 1;
    const auto expectOptions = [&](const std::string& command, TextSet described) {
        const TextSet offered = wordsOf(*reply++);
        described.merge(optionsInHelp(help));
        EXPECT_TRUE(includes(offered, described)) << command;
        for (const std::string& option : offered) {
            const std::string answer =
                program.parse(command.empty() ? std::vector{option} : std::vector{command, option});
            EXPECT_EQ(answer.find("'" + option + "'"), std::string::npos) << answer;
        }
    };
    expectOptions("", {});
    for (const std::string& command : commands) {
        EXPECT_EQ(program.parse({command}).find("unknown command"), std::string::npos);
        expectOptions(command, optionsInHelp(program.parse({command, "--help"})));
    }
}

/// Expects that bash offers for each option those words that the parser takes, with a blank in
/// front of them and with "=".
inline void expectCompletionOfValues(const CompletedProgram& program) {
    for (const tools::CommandDescription& command : program.description.commands) {
        for (const tools::OptionDescription& option : command.options) {
            if (!option.value || option.value->words.empty()) {
                continue;
            }
            const std::vector<std::string>& words = option.value->words;
            const std::string& optionName = option.names.back();
            const std::string line = program.bash.program + ' ' + command.name + ' ' + optionName;
            const TextSet all(words.begin(), words.end());
            for (const std::string& reply : program.bash.repliesTo({line + ' ', line + '='})) {
                EXPECT_EQ(wordsOf(reply), all) << line;
            }
            for (const std::string& word : words) {
                const std::string answer = program.parse({command.name, "x", optionName, word});
                EXPECT_EQ(answer, "");
            }
        }
    }
}

/// Returns the labels of the values of which nothing is offered.
inline TextSet labelsOfTexts(const tools::ProgramDescription& program) {
    TextSet labels;
    const auto add = [&](const tools::ValueDescription& value) {
        if (value.kind == tools::ValueKind::text && value.words.empty()) {
            labels.insert(value.label);
        }
    };
    for (const tools::CommandDescription& command : program.commands) {
        std::for_each(command.arguments.begin(), command.arguments.end(), add);
        for (const tools::OptionDescription& option : command.options) {
            if (option.value) {
                add(*option.value);
            }
        }
    }
    return labels;
}

}  // namespace testing_support
