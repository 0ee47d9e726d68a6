#pragma once

// A console with ccquery and without Windows: it runs the commands that pages show.

#include <cstddef>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "testing/journaltext.h"
#include "testing/portablefake.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/askpaths.h"
#include "tools/ccquery/check.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/explainstatus.h"
#include "tools/ccquery/explainviewpath.h"
#include "tools/ccquery/journals/recordcommand.h"
#include "tools/ccquery/journals/usagecommand.h"
#include "tools/ccquery/journals/verifycommand.h"
#include "tools/shared/buildfacts.h"
#include "tools/shared/report.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"

namespace testing_support {

/// A library that isn't the fake: it has an answer to everything, and no name for its numbers.
class OddLibrary : public PortableFake {
public:
    explicit OddLibrary(const FakeWorld& world) : PortableFake("", world) {}
    /// Throws for "C:\throw" and, what is no exception, for "C:\throwint".
    int getElementStatus(const char* path, std::string* version, std::string*) override {
        if (path == std::string("C:\\throw")) {
            throw std::runtime_error("no answer");
        }
        if (path == std::string("C:\\throwint")) {
            throw 42;
        }
        version->clear();
        return 42;
    }
    std::string canonicalizeViewPath(const std::string&, const std::string& path,
                                     const std::vector<std::string>&) override {
        return path;
    }
    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override {
        results.push_back({root, static_cast<VobState>(7)});
    }
};

/// Its commands are `set NAME=VALUE`, `echo %errorlevel%`, `type FILE` and `ccquery`, which may be
/// after `type FILE |`. Words are separated by blanks, and may be in quotation marks.
class ExampleShell {
public:
    /// Runs a command, and returns what it writes to standard output and standard error.
    std::string run(const std::string& command) {
        mOutput.clear();
        const std::string bar = " | ";
        const size_t at = command.find(bar);
        std::vector<std::string> words = wordsOf(command.substr(0, at));
        const std::string name = words.front();
        words.erase(words.begin());
        if (name == "set") {
            const std::string setting = command.substr(4);
            const size_t equals = setting.find('=');
            environment[setting.substr(0, equals)] = setting.substr(equals + 1);
        } else if (name == "echo" && words.front() == "%errorlevel%") {
            mOutput = std::to_string(mExitCode) + '\n';
        } else if (name == "type" && at != std::string::npos) {
            words = wordsOf(command.substr(at + bar.size()));
            words.erase(words.begin());
            std::istringstream input(files.at(wordsOf(command)[1]));
            mExitCode = runProgram(words, input);
        } else if (name == "type") {
            mOutput = files.at(words.front());
        } else if (name == "ccquery") {
            std::istringstream input;
            mExitCode = runProgram(words, input);
        } else {
            throw std::runtime_error("no such command: " + command);
        }
        return mOutput;
    }

    [[nodiscard]] ccquery::ExitCode exitCode() const { return mExitCode; }

    std::map<std::string, std::string> files = {};
    /// What is on the disk, and the drives. CLEARCASE_ROOT is in the environment.
    FakeWorld world = {};
    std::map<std::string, std::string> environment = {};
    std::string directory = "C:\\project";
    tools::BuildFacts facts = {};

private:
    static std::vector<std::string> wordsOf(const std::string& command) {
        std::vector<std::string> words;
        std::string word;
        bool isQuoted = false;
        bool isBegun = false;
        for (const char c : command + ' ') {
            if (c == '"') {
                isQuoted = !isQuoted;
                isBegun = true;
            } else if (c != ' ' || isQuoted) {
                word += c;
                isBegun = true;
            } else if (isBegun) {
                words.push_back(std::exchange(word, ""));
                isBegun = false;
            }
        }
        return words;
    }

    std::string variable(const std::string& name) const {
        const auto found = environment.find(name);
        return found == environment.end() ? "" : found->second;
    }

    std::string configurationFile() const {
        const std::string name = variable("NBCLEARCASE_FAKE_INI");
        return name.empty() ? "nbclearcase_fake.ini" : name;
    }

    std::optional<std::string> contentOf(const std::string& file) const {
        const auto found = files.find(file);
        return found == files.end() ? std::nullopt : std::optional(found->second);
    }

    std::string completed(const std::string& path) const {
        return isAbsolutePath(path, windowsPaths) ? path
                                                  : elementKey(joinPath(directory, path, '\\'));
    }

    void print(const std::string& text) { mOutput += text; }
    void complain(const std::string& problem) {
        mOutput += "ccquery: " + tools::oneLine(problem) + '\n';
    }

    /// What the program sets in its environment ends with it.
    ccquery::ExitCode runProgram(const std::vector<std::string>& arguments, std::istream& input) {
        const auto before = environment;
        const ccquery::ExitCode code = answer(arguments, input);
        environment = before;
        return code;
    }

    ccquery::ExitCode answer(const std::vector<std::string>& arguments, std::istream& input) {
        try {
            const ccquery::CommandLine line = ccquery::parseCommandLine(arguments);
            if (line.version) {
                print(line.query.json ? versionJson(facts) : versionText("ccquery", facts));
                return ccquery::exitAnswered;
            }
            print(line.help);
            return line.help.empty() ? query(line.query, input) : ccquery::exitAnswered;
        } catch (const std::exception& error) {
            complain(error.what());
            return ccquery::exitNoAnswer;
        }
    }

    std::unique_ptr<ClearCaseConnection> connect(const std::string& library) {
        const std::string root = variable("CLEARCASE_ROOT");
        world.viewRoot = root.empty() ? std::nullopt : std::optional(root);
        if (!library.empty()) {
            return std::make_unique<OddLibrary>(world);
        }
        return std::make_unique<PortableFake>(contentOf(configurationFile()).value_or(""), world);
    }

    ccquery::ExitCode query(ccquery::Query query, std::istream& input) {
        using ccquery::Command;
        if (!query.config.empty()) {
            environment["NBCLEARCASE_FAKE_INI"] = query.config;
        }
        switch (query.command) {
            case Command::check: {
                const std::string file = query.file.empty() ? configurationFile() : query.file;
                const ccquery::CheckResult result =
                    ccquery::check(file, files.at(file), variable("CLEARCASE_ROOT"), query.json);
                print(result.output);
                return result.exitCode;
            }
            case Command::record:
                return record(query);
            case Command::verify:
                return verify(query);
            case Command::usage:
                return usage(query);
            case Command::status:
            case Command::canonicalize:
                return askPaths(std::move(query), input);
            default:
                break;
        }
        tools::Report report;
        const ccquery::ExitCode code = ask(*connect(query.library), query, report);
        print(query.json ? jsonText(report) : tableText(report));
        return code;
    }

    std::optional<ccquery::FileFacts> look(const std::string& path) const {
        const auto found = world.disk.find(elementKey(path));
        if (found == world.disk.end()) {
            return std::nullopt;
        }
        return ccquery::FileFacts{.isDirectory = found->second == FakeWorld::File::folder,
                                  .isReadOnly = found->second == FakeWorld::File::readOnly};
    }

    ccquery::ExitCode askPaths(ccquery::Query query, std::istream& input) {
        query.cwd = query.cwd.empty() ? directory : completed(query.cwd);
        const auto connection = connect(query.library);
        ccquery::Explain explain;
        if (query.explain && query.command == ccquery::Command::status) {
            explain = ccquery::statusExplainer(
                {.configName = configurationFile(),
                 .configText = contentOf(configurationFile()),
                 .viewRootPrefix = variable("CLEARCASE_ROOT"),
                 .look = [this](const std::string& path) { return look(path); }});
        } else if (query.explain) {
            explain = ccquery::viewPathExplainer({.mvfsRoot = world.mvfsRoot,
                                                  .viewDrives = world.views,
                                                  .cwd = query.cwd,
                                                  .tags = query.tags});
        }
        return ccquery::askPaths(
            *connection, query,
            {.input = input,
             .complete = [this](const std::string& path) { return completed(path); },
             .print = [this](const std::string& text) { print(text); },
             .complain = [this](const std::string& text) { complain(text); },
             .explain = explain});
    }

    ccquery::ExitCode record(const ccquery::Query& query) {
        return ccquery::record(
            query, {.source = sourceOf(files),
                    .print = [this](const std::string& text) { print(text); },
                    .complain = [this](const std::string& text) { complain(text); },
                    .exists = [this](const std::string& file) { return files.count(file) != 0; },
                    .isSamePath = [](const std::string& a,
                                     const std::string& b) { return comparePaths(a, b) == 0; },
                    .write = [this](const std::string& file, const std::string& text,
                                    bool /*replace*/) { files[file] = text; }});
    }

    ccquery::ExitCode verify(const ccquery::Query& query) {
        return ccquery::verify(query,
                               {.source = sourceOf(files),
                                .connect = [&] { return connect(query.library); },
                                .setViewRoot =
                                    [this](const std::optional<std::string>& value) {
                                        environment["CLEARCASE_ROOT"] = value.value_or("");
                                    },
                                .print = [this](const std::string& text) { print(text); },
                                .complain = [this](const std::string& text) { complain(text); }});
    }

    ccquery::ExitCode usage(const ccquery::Query& query) {
        const std::string file = configurationFile();
        return ccquery::usage(
            query, {.source = sourceOf(files),
                    .configurationFile = file,
                    .configuration = files.at(file),
                    .exists = [this](const std::string& path) { return look(path).has_value(); },
                    .print = [this](const std::string& text) { print(text); },
                    .complain = [this](const std::string& text) { complain(text); }});
    }

    std::string mOutput;
    ccquery::ExitCode mExitCode = ccquery::exitAnswered;
};

}  // namespace testing_support
