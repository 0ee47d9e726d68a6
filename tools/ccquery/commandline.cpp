#include "tools/ccquery/commandline.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/shared/completioncommand.h"
#include "tools/shared/programparser.h"

namespace ccquery {
namespace {

// CLI11 treats "[a,b]" as a list and "++" as the end of a command, but both are valid file names. A
// leading character that no name contains protects them while the arguments are parsed.
constexpr char shieldMark = '\x1f';

void shield(std::string& argument) {
    const bool list = argument.size() >= 2 && argument.front() == '[' && argument.back() == ']';
    if (list || argument == "++") {
        argument.insert(argument.begin(), shieldMark);
    }
}

void unshield(std::string& argument) {
    if (!argument.empty() && argument.front() == shieldMark) {
        argument.erase(argument.begin());
    }
}

/// Refuses an empty name of a file, which would count as if it weren't given. A script has it from
/// a variable that isn't set.
std::string problemOfName(const std::string& name) {
    return name.empty() ? "the name is empty" : "";
}

const char* const everyCommand =
    "\n--library, --config and --json go with every command: see ccquery --help.";

/// The parser, its commands and the query that they fill.
class Parser {
public:
    Parser() {
        tools::addProgramOptions(mApp, mQuery.json,
                                 "Print a JSON object a line in place of a table");
        mApp.add_option("--library", mQuery.library,
                        "The connection library (default: nbclearcase_fake.dll beside ccquery)")
            ->type_name("FILE")
            ->check(problemOfName);
        mApp.add_option("--config", mQuery.config,
                        "The configuration of the fake connection: sets NBCLEARCASE_FAKE_INI")
            ->type_name("FILE")
            ->check(problemOfName);
        mApp.footer(
            "Exit codes: 0, or 1 if \"errors\", \"check\", \"record\", \"verify\" or \"usage\"\n"
            "finds any or \"--explain\" finds another answer, or 2 if an answer is missing:\n"
            "standard error then says why. \"ccquery COMMAND --help\" tells more of a command.");
        addPathCommands();
        addOtherCommands();
        addCheck();
        addJournalCommands();
        tools::addCompletionCommand(mApp);
    }

    /// What the parser takes.
    [[nodiscard]] tools::ProgramDescription description() const { return tools::describe(mApp); }

    CommandLine parse(std::vector<std::string> arguments) {
        std::for_each(arguments.begin(), arguments.end(), shield);
        std::reverse(arguments.begin(), arguments.end());
        try {
            mApp.parse(arguments);
        } catch (const CLI::CallForHelp&) {  // GCOVR_EXCL_BR_LINE: memory may be lacking
            return {.query = {}, .help = mApp.help()};
        } catch (const CLI::CallForVersion&) {  // GCOVR_EXCL_BR_LINE: memory may be lacking
            return {.query = mQuery, .help = {}, .version = true};
        } catch (const CLI::ParseError& error) {
            throw UsageError(complaint(error));
        }
        if (std::string script = tools::completionScript(mApp); !script.empty()) {
            return {.query = {}, .help = {}, .completion = std::move(script)};
        }
        for (std::string* text : {&mQuery.library, &mQuery.config, &mQuery.cwd, &mQuery.root,
                                  &mQuery.file, &mQuery.output, &mQuery.drives}) {
            unshield(*text);
        }
        std::for_each(mQuery.journals.begin(), mQuery.journals.end(), unshield);
        std::for_each(mQuery.paths.begin(), mQuery.paths.end(), unshield);
        std::for_each(mQuery.tags.begin(), mQuery.tags.end(), unshield);
        return {.query = mQuery, .help = {}};
    }

private:
    /// `answer` describes a line of JSON.
    CLI::App* addCommand(Command command, const char* name, const char* description,
                         const std::string& answer) {
        CLI::App* added = mApp.add_subcommand(name, description);
        added->group("Commands");
        added->parse_complete_callback([this, command] { mQuery.command = command; });
        added->footer("With --json: " + answer + everyCommand);
        return added;
    }

    void addPathCommands() {
        CLI::App* status = addCommand(
            Command::status, "status", "Each element's type, its version and where a link leads",
            R"({"path":TEXT,"type":NUMBER,"typeName":TEXT or null,"version":TEXT,)"
            R"("target":TEXT or null}
for each PATH; "target" is null where the library writes none;
with --explain also "explanation":{"key":TEXT,"decidedBy":"line", "file" or "nothing", ...})");
        addPaths(*status, "What to ask about; made absolute here if it is relative");
        addExplain(*status,
                   "Print below each answer which line or file has decided, or which lines\n"
                   "nearly have; by the configuration that the fake connection reads");
        CLI::App* canonicalize = addCommand(
            Command::canonicalize, "canonicalize",
            "The one spelling of each view path, on the route by which a VOB tag reaches it",
            R"({"path":TEXT,"canonical":TEXT} for each PATH;
with --explain also "explanation":{"form":TEXT or null,"tags":[...],"rule":NUMBER,"why":TEXT, ...})");
        addPaths(*canonicalize, "What to spell; the library takes it as it is");
        canonicalize
            ->add_option("--cwd", mQuery.cwd,
                         "Where a relative PATH begins (default: the current directory)")
            ->type_name("DIR");
        canonicalize
            ->add_option("--tag", mQuery.tags,
                         "The path of a VOB as the host knows it; may be given again")
            ->type_name("VOBTAG")
            ->allow_extra_args(false);
        addExplain(*canonicalize,
                   "Print below each answer the roots of the tags, and which rule of\n"
                   "clearcase/clearcaseconnection.h has led to it");
    }

    void addPaths(CLI::App& command, const std::string& description) {
        command
            .add_option(
                "PATH", mQuery.paths,
                description + ".\n\"-\": the paths on standard input, in UTF-8, a line each")
            ->required()
            ->type_name("");
        command.add_flag("--null", mQuery.endedByNull,
                         "On standard input a null character ends each path");
    }

    void addExplain(CLI::App& command, const std::string& description) {
        command.add_flag("--explain", mQuery.explain,
                         description + ".\nExit code 1 if the library answers otherwise");
    }

    void addOtherCommands() {
        addCommand(Command::vobs, "vobs", "Which VOBs of the configuration can be written",
                   R"({"tag":TEXT,"state":0, 1 or 2,"stateName":TEXT} for each VOB)")
            ->add_option("ROOT", mQuery.root, "What to put in front of each VOB tag; may be \"\"")
            ->required()
            ->type_name("");
        addCommand(Command::drives, "drives", "The MVFS drive and the drives of views",
                   R"({"mvfsRoot":TEXT,"drives":{DRIVE:VIEW TAG, ...}})");
        addCommand(Command::view, "view", "The view that is set", R"({"viewTag":TEXT})");
        addCommand(Command::info, "info", "What the library says of itself",
                   R"({"info":{NAME:VALUE, ...},"ready":true or false})");
        addCommand(Command::errors, "errors",
                   "What the connection complains of; exit code 1 if it does",
                   R"({"error":TEXT,"lines":[TEXT, ...]})");
    }

    void addCheck() {
        addCommand(
            Command::check, "check",
            "Lines of a configuration that do nothing, or not what was meant; exit code 1 if\n"
            "there are any. No library is loaded",
            R"({"file":TEXT,"line":NUMBER,"lastLine":NUMBER,"column":NUMBER,)"
            R"("severity":"warning" or "error","name":TEXT,"text":TEXT,)"
            R"("withoutEffect":true or false}
for each finding; docs/configuration.md describes each by its name)")
            ->add_option("FILE", mQuery.file,
                         "The configuration (default: that of --config, or NBCLEARCASE_FAKE_INI,\n"
                         "or nbclearcase_fake.ini in the current directory)")
            ->type_name("")
            ->check(problemOfName);
    }

    CLI::App* addJournalCommand(Command command, const char* name, const char* description,
                                const std::string& footer) {
        CLI::App* added = addCommand(command, name, description, "");
        added->footer(footer + everyCommand);
        added->add_option("JOURNAL", mQuery.journals, "What the journal library has written")
            ->required()
            ->type_name("");
        return added;
    }

    void addJournalCommands() {
        addRecord();
        addVerify();
        addJournalCommand(
            Command::usage, "usage",
            "Which lines of the configuration journals never use, and what nothing answers; exit\n"
            "code 1 if there is any",
            R"(With --json: {"line":NUMBER,"text":TEXT} for each line that isn't used, then
{"question":TEXT,"count":NUMBER,"near":[{"line":NUMBER,"text":TEXT,"why":TEXT}, ...]} for each
path without an answer, then {"summary":{...}}.)");
    }

    void addRecord() {
        CLI::App* record = addJournalCommand(
            Command::record, "record",
            "The configuration with which the fake answers as journals say",
            "What a configuration can't say is reported on standard error, line by line. The exit\n"
            "code is 1 if there is any.");
        record
            ->add_option("--output", mQuery.output, "Where to write it (default: standard output)")
            ->type_name("FILE")
            ->check(problemOfName);
        record
            ->add_option("--drives", mQuery.drives,
                         "Where to write the drives, as a list of ccdrives")
            ->type_name("FILE")
            ->check(problemOfName);
        record->add_flag("--force", mQuery.force, "Replace a file that is there already");
    }

    void addVerify() {
        CLI::App* verify = addJournalCommand(
            Command::verify, "verify",
            "Asks what journals have asked again; exit code 1 if an answer differs",
            R"(With --json: {"file":TEXT,"line":NUMBER,"operation":TEXT,"arguments":{...},
"recorded":{...},"answered":{...}} for each answer that differs, then {"summary":{...}}.)");
        verify
            ->add_option("--ignore", mQuery.ignored,
                         "A field of answers that may differ; may be given again")
            ->type_name("FIELD")
            ->check(CLI::IsMember({"type", "version", "target", "text", "results", "info", "drives",
                                   "ready", "exception"}))
            ->allow_extra_args(false);
        verify
            ->add_option("--ask", mQuery.asked,
                         "An operation that changes something, to be asked too: probeVobs,\n"
                         "startSession or killConnection; may be given again")
            ->type_name("OPERATION")
            ->check(CLI::IsMember({"probeVobs", "startSession", "killConnection"}))
            ->allow_extra_args(false);
    }

    std::string complaint(const CLI::ParseError& error) const {
        std::vector<std::string> rest = mApp.remaining(/*recurse=*/true);
        std::for_each(rest.begin(), rest.end(), unshield);
        return tools::complaintAbout(mApp, error, rest);
    }

    CLI::App mApp{"Loads a ClearCase connection library as a host does, and asks it.", "ccquery"};
    Query mQuery;
};

}  // namespace

CommandLine parseCommandLine(std::vector<std::string> arguments) {
    return Parser().parse(std::move(arguments));
}

tools::ProgramDescription describeCommandLine() { return Parser().description(); }

}  // namespace ccquery
