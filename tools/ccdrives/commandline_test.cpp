#include "tools/ccdrives/commandline.h"

#include <gtest/gtest.h>

namespace {

using namespace ccdrives;

using Texts = std::vector<std::string>;

Request parse(const Texts& arguments) { return parseCommandLine(arguments).request; }

/// The error message for a command line that can't be understood.
std::string problem(const Texts& arguments) {
    try {
        static_cast<void>(parseCommandLine(arguments));
    } catch (const UsageError& error) {
        return error.what();
    }
    return "(no complaint)";
}

TEST(DrivesCommandLineTest, EachCommandIsKnownByItsName) {
    EXPECT_EQ(parse({"install"}).command, Command::install);
    EXPECT_EQ(parse({"remove"}).command, Command::remove);
    EXPECT_EQ(parse({"list"}).command, Command::list);
    EXPECT_EQ(parse({"connect", "M:", "\\\\view"}).command, Command::connect);
    EXPECT_EQ(parse({"disconnect", "M:"}).command, Command::disconnect);
}

TEST(DrivesCommandLineTest, ArgumentsArriveAsTheyAreGiven) {
    const Request request = parse({"connect", "m:", "\\\\view\\a b"});
    EXPECT_EQ(request.drive, "m:");
    EXPECT_EQ(request.remoteName, "\\\\view\\a b");
    EXPECT_FALSE(request.json);
    EXPECT_EQ(parse({"connect", "M:", "//view"}).remoteName, "//view");
    EXPECT_EQ(parse({"disconnect", "x:"}).drive, "x:");
    EXPECT_EQ(parse({"install", "--library", "a.dll"}).library, "a.dll");
    EXPECT_EQ(parse({"install"}).library, "");
}

TEST(DrivesCommandLineTest, JsonGoesBeforeTheCommandOrAfterIt) {
    EXPECT_TRUE(parse({"--json", "list"}).json);
    EXPECT_TRUE(parse({"list", "--json"}).json);
    EXPECT_TRUE(parse({"connect", "M:", "--json", "\\\\view"}).json);
}

TEST(DrivesCommandLineTest, WhatCannotBeUnderstoodIsSaidOnOneLine) {
    const std::string commands =
        "; use install, remove, list, connect, disconnect or completion, or see ccdrives --help";
    EXPECT_EQ(problem({}), "no command" + commands);
    EXPECT_EQ(problem({"--json"}), "no command" + commands);
    EXPECT_EQ(problem({"use"}), "unknown command 'use'" + commands);
    EXPECT_EQ(problem({"connect"}), "DRIVE is required; see ccdrives connect --help");
    EXPECT_EQ(problem({"connect", "M:"}), "REMOTENAME is required; see ccdrives connect --help");
    EXPECT_EQ(problem({"disconnect"}), "DRIVE is required; see ccdrives disconnect --help");
    EXPECT_EQ(problem({"list", "x"}), "unexpected argument 'x'; see ccdrives list --help");
    EXPECT_EQ(problem({"remove", "--library", "x"}),
              "unexpected argument '--library'; see ccdrives remove --help");
    EXPECT_EQ(problem({"install", "--library", ""}),
              "--library: the name is empty; see ccdrives install --help");
    EXPECT_TRUE(problem({"--json=x"}).ends_with("see ccdrives --help"));
}

TEST(DrivesCommandLineTest, HelpIsTextInPlaceOfACommand) {
    const std::string help = parseCommandLine({"--help"}).help;
    for (const char* part :
         {"Usage: ccdrives", "install", "remove", "list", "connect", "disconnect", "completion",
          "--json", "--version", "NBCLEARCASE_DRIVES", "Exit codes"}) {
        EXPECT_NE(help.find(part), std::string::npos) << part << " in " << help;
    }
    const std::string connect = parseCommandLine({"connect", "-h"}).help;
    for (const char* part : {"Usage: ccdrives connect", "DRIVE", "REMOTENAME", "isn't replaced"}) {
        EXPECT_NE(connect.find(part), std::string::npos) << part << " in " << connect;
    }
    EXPECT_EQ(parseCommandLine({"list"}).help, "");
}

TEST(DrivesCommandLineTest, TheVersionNeedsNoCommand) {
    for (const Texts& arguments : {Texts{"--version"}, Texts{"list", "--version"}}) {
        const CommandLine line = parseCommandLine(arguments);
        EXPECT_TRUE(line.version);
        EXPECT_FALSE(line.request.json);
        EXPECT_EQ(line.help, "");
    }
    EXPECT_FALSE(parseCommandLine({"list"}).version);
    EXPECT_FALSE(parseCommandLine({"--help"}).version);
}

TEST(DrivesCommandLineTest, TheVersionIsInJsonIfThatIsAskedBeforeOrAfter) {
    for (const Texts& arguments : {Texts{"--version", "--json"}, Texts{"--json", "--version"},
                                   Texts{"list", "--version", "--json"}}) {
        const CommandLine line = parseCommandLine(arguments);
        EXPECT_TRUE(line.version);
        EXPECT_TRUE(line.request.json);
    }
}

TEST(DrivesCommandLineTest, CompletionIsTextInPlaceOfACommand) {
    const std::string script = parseCommandLine({"completion", "bash"}).completion;
    EXPECT_TRUE(script.ends_with("\ncomplete -F _ccdrives ccdrives ccdrives.exe\n")) << script;
    EXPECT_EQ(parseCommandLine({"list"}).completion, "");
    EXPECT_EQ(problem({"completion"}), "SHELL is required; see ccdrives completion --help");
    EXPECT_EQ(problem({"completion", "zsh"}),
              "SHELL: there is no script for 'zsh', use bash; see ccdrives completion --help");
}

}  // namespace
