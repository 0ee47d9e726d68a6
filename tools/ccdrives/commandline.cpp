#include "tools/ccdrives/commandline.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/shared/completioncommand.h"
#include "tools/shared/programparser.h"

namespace ccdrives {
namespace {

/// The parser, its commands and the request that they fill.
class Parser {
public:
    Parser() {
        tools::addProgramOptions(mApp, mRequest.json,
                                 "Print a JSON object a line in place of text");
        mApp.footer(
            "The list of drives is %APPDATA%\\nbclearcase\\drives.txt, or the file that the\n"
            "environment variable NBCLEARCASE_DRIVES names. docs/drives.md describes it.\n"
            "Exit codes: 0; 1 if \"list\" finds that programs can't see the drives; 2 if it\n"
            "isn't done: standard error then says why, and what to do.");
        addProviderCommands();
        addDriveCommands();
        tools::addCompletionCommand(mApp);
    }

    /// What the parser takes.
    [[nodiscard]] tools::ProgramDescription description() const { return tools::describe(mApp); }

    CommandLine parse(std::vector<std::string> arguments) {
        std::reverse(arguments.begin(), arguments.end());
        try {
            mApp.parse(arguments);
        } catch (const CLI::CallForHelp&) {  // GCOVR_EXCL_BR_LINE: memory may be lacking
            return {.request = {}, .help = mApp.help()};
        } catch (const CLI::CallForVersion&) {  // GCOVR_EXCL_BR_LINE: memory may be lacking
            return {.request = mRequest, .help = {}, .version = true};
        } catch (const CLI::ParseError& error) {
            throw UsageError(tools::complaintAbout(mApp, error, mApp.remaining(/*recurse=*/true)));
        }
        if (std::string script = tools::completionScript(mApp); !script.empty()) {
            return {.request = {}, .help = {}, .completion = std::move(script)};
        }
        return {.request = mRequest, .help = {}};
    }

private:
    CLI::App* addCommand(Command command, const char* name, const char* description,
                         const std::string& footer) {
        CLI::App* added = mApp.add_subcommand(name, description);
        added->group("Commands");
        added->parse_complete_callback([this, command] { mRequest.command = command; });
        added->footer(footer);
        return added;
    }

    void addProviderCommands() {
        const std::string changes =
            R"(Prints each change of the registry before it makes any; what is done already isn't
done again. With --json: {"change":"set", "removeValue" or "removeKey","key":TEXT,
"value":TEXT or null,"text":TEXT or null,"before":TEXT or null} for each change, then
{"installed":true or false,"changes":NUMBER})";
        addCommand(Command::install, "install",
                   "Enters the network provider in the registry; needs an administrator", changes)
            ->add_option("--library", mRequest.library,
                         "The provider (default: ccdrives_provider.dll beside ccdrives)")
            ->type_name("FILE")
            // An empty name would count as if it weren't given. A script has it from a variable
            // that isn't set.
            ->check([](const std::string& name) {
                return std::string(name.empty() ? "the name is empty" : "");
            });
        addCommand(Command::remove, "remove",
                   "Undoes what install has changed, and nothing else; needs an administrator",
                   changes);
    }

    void addDriveCommands() {
        addCommand(Command::list, "list",
                   "The connections of the list; exit code 1 if programs can't see them",
                   R"(With --json: {"drive":TEXT or null,"remoteName":TEXT or null,
"provider":TEXT or null} for each connection)");
        const std::string answer =
            R"(With --json: {"drive":TEXT,"remoteName":TEXT or null,"changed":true or false})";
        CLI::App* connect = addCommand(
            Command::connect, "connect", "Connects a drive in the list",
            R"(A drive that is connected with something else isn't replaced: disconnect it first. The
same connection again changes nothing. Libraries see it when they are loaded next.
)" + answer);
        addDrive(*connect);
        connect
            ->add_option("REMOTENAME", mRequest.remoteName,
                         R"(\\view for the MVFS drive, \\view\TAG for the drive of a view)")
            ->required()
            ->type_name("");
        addDrive(*addCommand(Command::disconnect, "disconnect", "Takes a drive out of the list",
                             answer));
    }

    void addDrive(CLI::App& command) {
        command.add_option("DRIVE", mRequest.drive, "A letter and a colon, such as M:")
            ->required()
            ->type_name("");
    }

    CLI::App mApp{"Connects drives of views on a machine without ClearCase.", "ccdrives"};
    Request mRequest;
};

}  // namespace

CommandLine parseCommandLine(std::vector<std::string> arguments) {
    return Parser().parse(std::move(arguments));
}

tools::ProgramDescription describeCommandLine() { return Parser().description(); }

}  // namespace ccdrives
