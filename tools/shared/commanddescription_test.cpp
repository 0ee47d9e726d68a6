#include "tools/shared/commanddescription.h"

#include <stdexcept>

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

namespace {

using namespace tools;

using Texts = std::vector<std::string>;

std::string text(const ValueDescription& value) {
    std::string result = value.label;
    result += value.kind == ValueKind::file     ? " file"
              : value.kind == ValueKind::folder ? " folder"
                                                : " text";
    for (const std::string& word : value.words) {
        result += " " + word;
    }
    return result;
}

/// Each option as its names and its value.
Texts texts(const std::vector<OptionDescription>& options) {
    Texts result;
    for (const OptionDescription& option : options) {
        result.emplace_back();
        for (const std::string& name : option.names) {
            result.back() += name + ' ';
        }
        result.back() += option.value ? text(*option.value) : "flag";
    }
    return result;
}

Texts texts(const std::vector<ValueDescription>& values) {
    Texts result;
    for (const ValueDescription& value : values) {
        result.push_back(text(value));
    }
    return result;
}

class CommandDescriptionTest : public testing::Test {
protected:
    CLI::App mApp{"", "program"};
    std::string mText;
    Texts mTexts;
    bool mFlag = false;
};

TEST_F(CommandDescriptionTest, AnOptionHasItsNamesAndItsValue) {
    mApp.add_option("-o,--output", mText)->type_name("FILE");
    mApp.add_option("--cwd", mText)->type_name("DIR");
    mApp.add_option("--tag", mTexts)->type_name("VOBTAG")->allow_extra_args(false);
    mApp.add_flag("--json", mFlag);
    mApp.add_flag_callback("--version", [] {});
    const ProgramDescription program = describe(mApp);
    EXPECT_EQ(program.name, "program");
    EXPECT_EQ(texts(program.options),
              (Texts{"-h --help flag", "-o --output FILE file", "--cwd DIR folder",
                     "--tag VOBTAG text", "--json flag", "--version flag"}));
    EXPECT_TRUE(program.commands.empty());
}

TEST_F(CommandDescriptionTest, WordsAreThoseOfIsMember) {
    mApp.add_option("--ask", mTexts)->type_name("NAME")->check(CLI::IsMember({"a", "bc", "d"}));
    mApp.add_option("--one", mText)->type_name("NAME")->check(CLI::IsMember({"only"}));
    mApp.add_option("--any", mText)->type_name("NAME")->check([](const std::string&) {
        return std::string();
    });
    EXPECT_EQ(texts(describe(mApp).options), (Texts{"-h --help flag", "--ask NAME text a bc d",
                                                    "--one NAME text only", "--any NAME text"}));
}

TEST_F(CommandDescriptionTest, ArgumentsAreDescribedByTheirNamesInOrder) {
    CLI::App* command = mApp.add_subcommand("command");
    command->add_option("SHELL", mText)->type_name("")->check(CLI::IsMember({"bash"}));
    command->add_option("FILE", mText)->type_name("");
    command->add_option("ROOT", mText)->type_name("");
    command->add_option("PATH", mText)->type_name("");
    command->add_option("DRIVE", mText)->type_name("");
    command->add_option("JOURNAL", mTexts)->type_name("");
    mApp.add_subcommand("one")->add_option("DIR", mText)->type_name("");
    mApp.add_subcommand("none");
    const auto commands = describe(mApp).commands;
    ASSERT_EQ(commands.size(), 3U);
    EXPECT_EQ(commands[0].name, "command");
    EXPECT_EQ(texts(commands[0].arguments), (Texts{"SHELL text bash", "FILE file", "ROOT folder",
                                                   "PATH file", "DRIVE text", "JOURNAL file"}));
    EXPECT_TRUE(commands[0].lastRepeats);
    EXPECT_EQ(texts(commands[1].arguments), Texts{"DIR folder"});
    EXPECT_FALSE(commands[1].lastRepeats);
    EXPECT_EQ(commands[2].name, "none");
    EXPECT_TRUE(commands[2].arguments.empty());
    EXPECT_FALSE(commands[2].lastRepeats);
}

TEST_F(CommandDescriptionTest, OptionsOfTheProgramGoWithACommandIfItLetsThem) {
    mApp.add_flag("--json", mFlag);
    mApp.add_subcommand("alone")->add_flag("--all", mFlag);
    mApp.fallthrough();
    mApp.add_subcommand("both")->add_flag("--all", mFlag);
    const auto commands = describe(mApp).commands;
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_EQ(texts(commands[0].options), (Texts{"-h --help flag", "--all flag"}));
    EXPECT_EQ(texts(commands[1].options), (Texts{"-h --help flag", "--all flag", "--json flag"}));
}

TEST_F(CommandDescriptionTest, WhatCannotBeDescribedIsRefused) {
    CLI::App* command = mApp.add_subcommand("command");
    CLI::App* below = command->add_subcommand("below");
    EXPECT_THROW(static_cast<void>(describe(mApp)), std::invalid_argument);
    command->remove_subcommand(below);
    EXPECT_NO_THROW(static_cast<void>(describe(mApp)));
    mApp.add_option("FILE", mText);
    EXPECT_THROW(static_cast<void>(describe(mApp)), std::invalid_argument);
}

}  // namespace
