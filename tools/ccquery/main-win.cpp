// ccquery: a host on the command line. It reads the arguments, loads a connection library, queries
// it and prints the answers; each step has its own file.

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <windows.h>

#include "clearcase/configurationsource-win.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/askpaths.h"
#include "tools/ccquery/check.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/connectionlibrary-win.h"
#include "tools/ccquery/explainstatus.h"
#include "tools/ccquery/explainviewpath.h"
#include "tools/ccquery/journals/journalprogram-win.h"
#include "tools/shared/absolutepath-win.h"
#include "tools/shared/buildfacts.h"
#include "tools/shared/console-win.h"
#include "tools/shared/report.h"
#include "tools/shared/systemerror-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system/filestat-win.h"
#include "util/windows/system/smallfile-win.h"

namespace {

using namespace ccquery;
using namespace tools;

void complain(const std::string& problem) { std::cerr << "ccquery: " + oneLine(problem) + '\n'; }

/// Sets the configuration that the library will read. It counts a file that isn't there as empty,
/// but a file that the user has named is meant to be there.
void setConfiguration(const std::string& file) {
    const std::wstring name = toWide(file);
    if (std::filebuf().open(name.c_str(), std::ios::in) == nullptr) {
        throw std::runtime_error("can't read the configuration '" + file +
                                 "': " + std::strerror(errno) + "; name another by --config FILE");
    }
    // Uses the C runtime's call, so that the library's runtime sees the variable as well.
    _wputenv_s(L"NBCLEARCASE_FAKE_INI", name.c_str());
}

std::string bytesOf(const std::string& file) {
    std::string text;
    if (readFile(file, text) != fileIsRead) {
        const DWORD error = GetLastError();
        throw std::runtime_error("can't read the configuration '" + file +
                                 "': " + systemErrorText(error) + "; name another by check FILE");
    }
    return text;
}

/// Answers `check`, which needs no library.
ExitCode runCheck(const Query& query) {
    const std::string named = query.file.empty() ? query.config : query.file;
    const std::string file = named.empty() ? configurationFile() : named;
    const ConsoleColours colours(query.json);
    const CheckResult result =
        check(file, bytesOf(file), viewRootPrefix(), query.json, colours.painter());
    printText(result.output);
    return result.exitCode;
}

/// Returns the facts by which the fake decides about an element that isn't in its configuration.
std::optional<FileFacts> factsAbout(const std::string& path) {
    FileStat stat;
    if (!stat.read(path, /*unused=*/0)) {
        return std::nullopt;
    }
    return FileFacts{.isDirectory = stat.isDirectory(), .isReadOnly = !stat.isWritable()};
}

/// Returns what explains the answers to `query`, or nothing if that isn't asked for.
Explain explainerOf(const Query& query, ClearCaseConnection& connection) {
    if (!query.explain) {
        return nullptr;
    }
    if (query.command == Command::canonicalize) {
        std::map<std::string, std::string> viewDrives;
        std::string mvfsRoot;
        std::optional<std::string> problem;
        try {
            mvfsRoot = connection.getMvfsDrives(viewDrives);
        } catch (const std::exception& error) {
            problem = error.what();
        } catch (...) {
            problem = threwNoException;
        }
        if (problem) {
            viewDrives.clear();
            complain("the explanations know no drives: " + *problem);
        }
        return viewPathExplainer({.mvfsRoot = std::move(mvfsRoot),
                                  .viewDrives = std::move(viewDrives),
                                  .cwd = query.cwd,
                                  .tags = query.tags});
    }
    const std::string file = configurationFile();
    std::string text;
    const bool isRead = readFile(file, text) == fileIsRead;
    return statusExplainer({.configName = file,
                            .configText = isRead ? std::optional(std::move(text)) : std::nullopt,
                            .viewRootPrefix = viewRootPrefix(),
                            .look = factsAbout});
}

ExitCode run(Query query) {
    if (query.command == Command::check) {
        return runCheck(query);
    }
    if (!query.config.empty()) {
        setConfiguration(query.config);
    }
    if (isAboutJournals(query)) {
        return runJournals(
            query, {printText, complain, query.library.empty() ? defaultLibrary() : query.library});
    }
    const bool aboutPaths =
        query.command == Command::status || query.command == Command::canonicalize;
    if (query.command == Command::canonicalize) {
        query.cwd = query.cwd.empty() ? currentDirectory() : absolutePath(query.cwd);
    }
    const auto connection = connect(query.library.empty() ? defaultLibrary() : query.library);
    if (aboutPaths) {
        const ExitCode exitCode = askPaths(*connection, query,
                                           {.input = std::cin,
                                            .complete = absolutePath,
                                            .print = printText,
                                            .complain = complain,
                                            .explain = explainerOf(query, *connection)});
        // To std::cin a failure is the end.
        if (std::ferror(stdin) != 0) {
            throw std::runtime_error("can't read standard input; make it a file or a pipe");
        }
        return exitCode;
    }
    Report report;
    const ExitCode exitCode = ask(*connection, query, report);
    printText(query.json ? jsonText(report) : tableText(report));
    return exitCode;
}

ExitCode runCommandLine() {
    const CommandLine line = parseCommandLine(programArguments());
    if (!line.help.empty()) {
        printText(line.help);
        return exitAnswered;
    }
    if (line.version) {
        printText(line.query.json ? versionJson(buildFacts())
                                  : versionText("ccquery", buildFacts()));
        return exitAnswered;
    }
    if (!line.completion.empty()) {
        printText(line.completion);
        return exitAnswered;
    }
    return run(line.query);
}

}  // namespace

int main() {
    const Console console;
    try {
        return runCommandLine();
    } catch (const std::exception& error) {
        complain(error.what());
    } catch (...) {
        complain(threwNoException);
    }
    return exitNoAnswer;
}
