#include "tools/ccquery/commandline.h"

#include <utility>

#include <gtest/gtest.h>

namespace {

using ccquery::Command;
using ccquery::CommandLine;
using ccquery::parseCommandLine;
using ccquery::Query;
using ccquery::UsageError;

using Texts = std::vector<std::string>;

Query parse(const Texts& arguments) { return parseCommandLine(arguments).query; }

/// The error message for a command line that can't be understood.
std::string problem(const Texts& arguments) {
    try {
        static_cast<void>(parseCommandLine(arguments));
    } catch (const UsageError& error) {
        return error.what();
    }
    return "(no complaint)";
}

TEST(CommandLineTest, EachCommandIsKnownByItsName) {
    const std::pair<Texts, Command> rows[] = {
        {{"status", "x"}, Command::status}, {{"canonicalize", "x"}, Command::canonicalize},
        {{"vobs", "x"}, Command::vobs},     {{"drives"}, Command::drives},
        {{"view"}, Command::view},          {{"info"}, Command::info},
        {{"errors"}, Command::errors},      {{"check"}, Command::check},
        {{"record", "j"}, Command::record}, {{"verify", "j"}, Command::verify},
        {{"usage", "j"}, Command::usage},
    };
    for (const auto& [arguments, command] : rows) {
        EXPECT_EQ(parse(arguments).command, command) << arguments.front();
        EXPECT_EQ(parseCommandLine(arguments).help, "");
    }
}

TEST(CommandLineTest, TheOptionsOfEveryCommandAreBeforeItsNameOrAfterIt) {
    const Texts rows[] = {
        {"--library", "l", "--config", "c", "--json", "status", "p", "q"},
        {"status", "--library", "l", "--config", "c", "--json", "p", "q"},
        {"status", "p", "q", "--library=l", "--config=c", "--json"},
        {"--json", "status", "p", "--library", "l", "q", "--config", "c"},
    };
    for (const Texts& arguments : rows) {
        const Query query = parse(arguments);
        EXPECT_EQ(query.command, Command::status);
        EXPECT_EQ(query.library, "l");
        EXPECT_EQ(query.config, "c");
        EXPECT_TRUE(query.json);
        EXPECT_EQ(query.paths, (Texts{"p", "q"}));
    }
}

TEST(CommandLineTest, OptionsThatAreNotGivenAreEmpty) {
    const Query query = parse({"canonicalize", "p"});
    EXPECT_EQ(query.library, "");
    EXPECT_EQ(query.config, "");
    EXPECT_FALSE(query.json);
    EXPECT_EQ(query.cwd, "");
    EXPECT_EQ(query.tags, Texts{});
    EXPECT_FALSE(query.endedByNull);
}

TEST(CommandLineTest, ADashIsAPathAmongOthers) {
    EXPECT_EQ(parse({"status", "a", "-", "b"}).paths, (Texts{"a", "-", "b"}));
    EXPECT_TRUE(parse({"status", "-", "--null"}).endedByNull);
    EXPECT_TRUE(parse({"canonicalize", "--null", "-"}).endedByNull);
}

TEST(CommandLineTest, AnswersAboutPathsCanBeExplained) {
    EXPECT_TRUE(parse({"status", "--explain", "p"}).explain);
    EXPECT_TRUE(parse({"canonicalize", "p", "--explain"}).explain);
    EXPECT_FALSE(parse({"status", "p"}).explain);
    for (const char* command : {"status", "canonicalize"}) {
        const std::string help = parseCommandLine({command, "--help"}).help;
        EXPECT_NE(help.find("--explain"), std::string::npos) << command;
        EXPECT_NE(help.find("\"explanation\""), std::string::npos) << command;
    }
}

TEST(CommandLineTest, EachTagTakesOneTextSoThatPathsMayFollow) {
    const Query query = parse(
        {"canonicalize", "--tag", "M:\\t\\v", "--cwd", "C:\\w", "a", "--tag", "X:\\v", "b", "c"});
    EXPECT_EQ(query.tags, (Texts{"M:\\t\\v", "X:\\v"}));
    EXPECT_EQ(query.cwd, "C:\\w");
    EXPECT_EQ(query.paths, (Texts{"a", "b", "c"}));
}

TEST(CommandLineTest, APathIsTakenAsItIsWhateverItLooksLike) {
    const Texts paths = {"/x",
                         "/json",
                         "//server/share",
                         "[a,b]",
                         "[a]",
                         "[a",
                         "++",
                         "status",
                         "view",
                         "a b",
                         "a,b",
                         "C:\\",
                         "gr\303\266\303\237e",
                         "",
                         "{a}",
                         "a=b",
                         "'a'",
                         "\"a\"",
                         "%%"};
    Texts arguments = paths;
    arguments.insert(arguments.begin(), "status");
    EXPECT_EQ(parse(arguments).paths, paths);
}

TEST(CommandLineTest, ATagAndARootMayLookLikeAListToo) {
    EXPECT_EQ(parse({"canonicalize", "--tag", "[a,b]", "[c,d]"}).tags, Texts{"[a,b]"});
    EXPECT_EQ(parse({"canonicalize", "--cwd", "[a,b]", "p"}).cwd, "[a,b]");
    EXPECT_EQ(parse({"vobs", "[a,b]"}).root, "[a,b]");
    EXPECT_EQ(parse({"view", "--library", "[a,b]", "--config", "[c]"}).library, "[a,b]");
    EXPECT_EQ(parse({"view", "--library", "[a,b]", "--config", "[c]"}).config, "[c]");
}

TEST(CommandLineTest, APathThatBeginsWithADashIsAfterTwoDashes) {
    EXPECT_EQ(parse({"status", "--", "-x", "--json"}).paths, (Texts{"-x", "--json"}));
}

TEST(CommandLineTest, TheRootOfVobsMayBeEmpty) {
    EXPECT_EQ(parse({"vobs", ""}).root, "");
    EXPECT_EQ(parse({"vobs", "C:\\vobs"}).root, "C:\\vobs");
}

TEST(CommandLineTest, CheckTakesAFileOrNone) {
    EXPECT_EQ(parse({"check"}).file, "");
    EXPECT_EQ(parse({"check", "a b.ini"}).file, "a b.ini");
    EXPECT_EQ(parse({"check", "[a,b]", "--config", "c"}).file, "[a,b]");
    EXPECT_EQ(parse({"check", "[a,b]", "--config", "c"}).config, "c");
}

TEST(CommandLineTest, HelpReportsEveryCommandAndOption) {
    for (const char* flag : {"--help", "-h"}) {
        const std::string help = parseCommandLine({flag}).help;
        for (const char* word :
             {"status", "canonicalize", "vobs", "drives", "view", "info", "errors", "check",
              "completion", "--library", "--config", "--json", "--version", "Exit codes"}) {
            EXPECT_NE(help.find(word), std::string::npos) << word;
        }
    }
}

TEST(CommandLineTest, TheVersionNeedsNoCommand) {
    for (const Texts& arguments : {Texts{"--version"}, Texts{"view", "--version"}}) {
        const CommandLine line = parseCommandLine(arguments);
        EXPECT_TRUE(line.version);
        EXPECT_FALSE(line.query.json);
        EXPECT_EQ(line.help, "");
    }
    EXPECT_FALSE(parseCommandLine({"view"}).version);
    EXPECT_FALSE(parseCommandLine({"--help"}).version);
}

TEST(CommandLineTest, TheVersionIsInJsonIfThatIsAskedBeforeOrAfter) {
    for (const Texts& arguments : {Texts{"--version", "--json"}, Texts{"--json", "--version"},
                                   Texts{"view", "--version", "--json"}}) {
        const CommandLine line = parseCommandLine(arguments);
        EXPECT_TRUE(line.version);
        EXPECT_TRUE(line.query.json);
    }
}

TEST(CommandLineTest, EachCommandHasHelpOfItsOwn) {
    for (const char* command :
         {"status", "canonicalize", "vobs", "drives", "view", "info", "errors", "check"}) {
        const std::string help = parseCommandLine({command, "--help"}).help;
        EXPECT_NE(help.find(command), std::string::npos);
        EXPECT_NE(help.find("With --json: {\""), std::string::npos) << command;
        EXPECT_NE(help.find("go with every command"), std::string::npos) << command;
    }
    const std::string help = parseCommandLine({"canonicalize", "--help"}).help;
    for (const char* word : {"PATH", "--cwd", "--tag", "--null", "standard input"}) {
        EXPECT_NE(help.find(word), std::string::npos) << word;
    }
}

TEST(CommandLineTest, ACommandLineThatCannotBeUnderstoodIsReportedInOneLine) {
    const std::string commands =
        "; use status, canonicalize, vobs, drives, view, info, errors, check, record, verify, "
        "usage "
        "or completion, or see ccquery --help";
    const std::pair<Texts, std::string> rows[] = {
        {{}, "no command" + commands},
        {{"--json"}, "no command" + commands},
        {{"frobnicate"}, "unknown command 'frobnicate'" + commands},
        {{"frobnicate", "x"}, "unknown command 'frobnicate'" + commands},
        {{"--frobnicate"}, "unknown command '--frobnicate'" + commands},
        {{"status"}, "PATH is required; see ccquery status --help"},
        {{"canonicalize"}, "PATH is required; see ccquery canonicalize --help"},
        {{"vobs"}, "ROOT is required; see ccquery vobs --help"},
        {{"vobs", "a", "b"}, "unexpected argument 'b'; see ccquery vobs --help"},
        {{"view", "--frobnicate"}, "unexpected argument '--frobnicate'; see ccquery view --help"},
        {{"status", "x", "--tag", "y"}, "unexpected argument '--tag'; see ccquery status --help"},
        {{"vobs", "x", "--explain"}, "unexpected argument '--explain'; see ccquery vobs --help"},
        {{"view", "--null"}, "unexpected argument '--null'; see ccquery view --help"},
        {{"check", "a", "b"}, "unexpected argument 'b'; see ccquery check --help"},
        {{"view", "a", "b"}, "unexpected argument 'a'; see ccquery view --help"},
        {{"view", "[a]"}, "unexpected argument '[a]'; see ccquery view --help"},
        {{"--library"}, "--library: 1 required FILE missing; see ccquery --help"},
        {{"view", "--library"}, "--library: 1 required FILE missing; see ccquery view --help"},
        {{"view", "--library", ""}, "--library: the name is empty; see ccquery view --help"},
        {{"view", "--config", ""}, "--config: the name is empty; see ccquery view --help"},
        {{"check", ""}, "FILE: the name is empty; see ccquery check --help"},
        {{"record", "j", "--output", ""}, "--output: the name is empty; see ccquery record --help"},
        {{"record", "j", "--drives", ""}, "--drives: the name is empty; see ccquery record --help"},
    };
    for (const auto& [arguments, expected] : rows) {
        EXPECT_EQ(problem(arguments), expected);
    }
}

TEST(CommandLineTest, TheCommandsAboutJournalsTakeSeveral) {
    for (const char* const command : {"record", "verify", "usage"}) {
        EXPECT_EQ(parse({command, "a.jsonl", "[b]", "/c"}).journals,
                  (Texts{"a.jsonl", "[b]", "/c"}));
        EXPECT_NE(problem({command}).find("JOURNAL is required"), std::string::npos);
    }
}

TEST(CommandLineTest, RecordTakesItsFiles) {
    const Query query = parse({"record", "j", "--output", "[o]", "--drives", "++", "--force", "k"});
    EXPECT_EQ(query.output, "[o]");
    EXPECT_EQ(query.drives, "++");
    EXPECT_TRUE(query.force);
    EXPECT_EQ(query.journals, (Texts{"j", "k"}));
    EXPECT_EQ(parse({"record", "j"}).output, "");
    EXPECT_EQ(parse({"record", "j"}).drives, "");
    EXPECT_FALSE(parse({"record", "j"}).force);
}

TEST(CommandLineTest, VerifyTakesFieldsAndOperations) {
    const Query query = parse({"verify", "--ignore", "version", "j", "--ignore", "target", "--ask",
                               "probeVobs", "k", "--ask", "startSession"});
    EXPECT_EQ(query.ignored, (Texts{"version", "target"}));
    EXPECT_EQ(query.asked, (Texts{"probeVobs", "startSession"}));
    EXPECT_EQ(query.journals, (Texts{"j", "k"}));
    EXPECT_NE(problem({"verify", "j", "--ignore", "colour"}).find("colour"), std::string::npos);
    EXPECT_NE(problem({"verify", "j", "--ask", "isReady"}).find("isReady"), std::string::npos);
}

TEST(CommandLineTest, CompletionIsTextInPlaceOfAnAnswer) {
    const std::string script = parseCommandLine({"completion", "bash"}).completion;
    EXPECT_TRUE(script.ends_with("\ncomplete -F _ccquery ccquery ccquery.exe\n")) << script;
    EXPECT_EQ(parseCommandLine({"view"}).completion, "");
    EXPECT_EQ(problem({"completion"}), "SHELL is required; see ccquery completion --help");
    EXPECT_EQ(problem({"completion", "zsh"}),
              "SHELL: there is no script for 'zsh', use bash; see ccquery completion --help");
}

}  // namespace
