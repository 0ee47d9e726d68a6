// What docs/ccquery.md shows is what is printed, and it has every command and option.

#include <algorithm>
#include <cstddef>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/describedmessage.h"
#include "testing/exampleshell.h"
#include "testing/page.h"
#include "testing/pagemessages.h"

namespace {

using namespace testing_support;
using ccquery::parseCommandLine;

using Kind = PagePart::Kind;

std::vector<PagePart> page() { return partsOf(pageText("docs/ccquery.md")); }

/// Returns a console as the page describes it.
ExampleShell describedShell() {
    ExampleShell shell;
    shell.facts = {.version = "1.0.0",
                   .commit = "0123456789abcdef0123456789abcdef01234567",
                   .compiler = "GCC 12-posix, msvcrt"};
    shell.world.mvfsRoot = "M:";
    shell.world.views = {{"X:", "main_view"}};
    shell.world.writableFolders = {"C:/test/vobs/tools"};
    shell.files["paths.txt"] = "C:\\src\\main.c\nC:\\src\\new.c\n";
    shell.files["journal.jsonl"] =
        connectLine() + statusLine(R"("C:\\src\\main.c")", elementVersion, R"("/main/3")");
    return shell;
}

/// Returns the name that a line gives to the file below it: "This is `bad.ini`:".
std::string announcedFile(const std::string& line) {
    std::smatch found;
    return std::regex_search(line, found, std::regex("`([a-z.]+)`:$")) ? found[1].str() : "";
}

TEST(CcqueryPageTest, TheExamplesInTheirOrderPrintWhatIsShown) {
    ExampleShell shell = describedShell();
    std::string file;
    std::set<std::string> shown;
    for (const PagePart& part : page()) {
        file = part.kind == Kind::text && !part.text.empty() ? announcedFile(part.text) : file;
        if (part.kind != Kind::block) {
            continue;
        }
        if (part.language == "ini") {
            ASSERT_NE(file, "") << part.text;
            shell.files[file] = part.text;
        }
        for (const PageCommand& command : commandsIn(part.text)) {
            EXPECT_EQ(shell.run(command.command), command.output) << command.command;
            shown.insert(part.section);
        }
    }
    for (const char* command : {"status", "canonicalize", "vobs", "drives", "view", "info",
                                "errors", "check", "record", "verify", "usage"}) {
        EXPECT_EQ(shown.count(command), 1U) << command;
    }
}

TEST(CcqueryPageTest, TheExampleOfTheReadmePrintsWhatIsShown) {
    const std::string folder = "bin\\";
    const std::string file = "examples\\project\\nbclearcase_fake.ini";
    ExampleShell shell;
    shell.files[file] = pageText("examples/project/nbclearcase_fake.ini");
    size_t count = 0;
    for (const PagePart& part : partsOf(pageText("README.md"))) {
        for (const PageCommand& command : commandsIn(part.text)) {
            ASSERT_TRUE(command.command.starts_with(folder)) << command.command;
            EXPECT_EQ(shell.run(command.command.substr(folder.size())), command.output);
            ++count;
        }
    }
    EXPECT_EQ(count, 1U);
}

std::set<std::string> optionsIn(const std::string& text) {
    const std::regex option("--[a-z]+");
    return {std::sregex_token_iterator(text.begin(), text.end(), option),
            std::sregex_token_iterator()};
}

/// Returns what help says without its footer, in which other commands may be named.
std::string optionsOfHelp(const std::vector<std::string>& arguments) {
    const std::string help = parseCommandLine(arguments).help;
    const size_t begin = help.find("\nOptions:");
    const size_t end = help.find("\n\n", begin + 1);
    return help.substr(begin, end - begin);
}

/// Returns the commands that the program's help lists.
std::set<std::string> commands() {
    const std::string help = parseCommandLine({"--help"}).help;
    const std::string list = help.substr(help.find("\nCommands:\n"));
    const std::regex name("\n  ([a-z]+) ");
    return {std::sregex_token_iterator(list.begin(), list.end(), name, 1),
            std::sregex_token_iterator()};
}

TEST(CcqueryPageTest, EachCommandHasASectionWithAllOfItsOptions) {
    std::map<std::string, std::set<std::string>> inTables;
    for (const PagePart& part : page()) {
        inTables[part.section];
        if (part.kind == Kind::row) {
            inTables[part.section].merge(optionsIn(part.cells.front()));
        }
    }
    EXPECT_EQ(commands().size(), 12U);
    for (const std::string& command : commands()) {
        ASSERT_EQ(inTables.count(command), 1U) << command;
        std::set<std::string> options = optionsIn(optionsOfHelp({command, "--help"}));
        options.erase("--help");
        EXPECT_EQ(inTables[command], options) << command;
    }
    EXPECT_EQ(inTables["Options of every command"], optionsIn(optionsOfHelp({"--help"})));
}

TEST(CcqueryPageTest, TheUsageHasEachCommandWithItsOptions) {
    const std::vector<PagePart> parts = page();
    const auto block = std::find_if(parts.begin(), parts.end(),
                                    [](const PagePart& part) { return part.kind == Kind::block; });
    std::map<std::string, std::string> lines;  // by the command
    std::istringstream usage(block->text);
    std::string command;
    for (std::string line; std::getline(usage, line);) {
        const size_t first = line.find_first_not_of(' ');
        if (first == 4) {
            command = line.substr(4, line.find(' ', 4) - 4);
        }
        lines[command] += line + '\n';
    }
    for (const std::string& name : commands()) {
        std::set<std::string> options = optionsIn(optionsOfHelp({name, "--help"}));
        options.erase("--help");
        EXPECT_EQ(optionsIn(lines[name]), options) << name;
    }
}

TEST(CcqueryPageTest, TheMessagesAreThoseOfTheProgram) {
    ExampleShell shell = describedShell();
    shell.files["wide.txt"] = std::string("C:\\a\0\n", 6);
    const std::pair<const char*, const char*> rows[] = {
        {"ccquery", "no command; use status, ..."},
        {"ccquery frobnicate", "unknown command 'NAME'; use status, ..."},
        {"ccquery status", "NAME is required; see ccquery COMMAND --help"},
        {"ccquery view a", "unexpected argument 'TEXT'; see ccquery COMMAND --help"},
        {"ccquery view --library \"\"", "NAME: PROBLEM; see ccquery COMMAND --help"},
        {"type wide.txt | ccquery status -",
         "'PATH' is followed by a null character; write the paths in UTF-8, or use --null if null "
         "characters end them"},
        {"ccquery status C:\\throw --library other.dll", "'PATH': REASON"},
        {"ccquery status C:\\throwint --library other.dll",
         "'PATH': the connection library threw something that is no std::exception"},
    };
    std::set<std::string> tested(messagesOfWindows.begin(), messagesOfWindows.end());
    tested.insert(messageWithoutDrives);
    for (const auto& [command, message] : rows) {
        EXPECT_TRUE(isAsDescribed(shell.run(command), std::string("ccquery: ") + message))
            << message;
        EXPECT_EQ(shell.exitCode(), ccquery::exitNoAnswer) << message;
        tested.insert(message);
    }
    std::set<std::string> described;
    for (const PagePart& part : page()) {
        if (part.kind == Kind::row && part.section == "Messages") {
            described.insert(part.cells.front());
        }
    }
    EXPECT_EQ(described, tested);
}

}  // namespace
