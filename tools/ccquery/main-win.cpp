// ccquery: a host on the command line. It reads the arguments, loads a connection library, queries
// it and prints the answers; each step has its own file.

#include <cstddef>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>
#include <shellapi.h>

#include "tools/ccquery/absolutepath-win.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/connectionlibrary-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace ccquery;

/// Sets the console's output to UTF-8 until the program ends.
class Utf8Console {
public:
    Utf8Console() : mBefore(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    ~Utf8Console() { SetConsoleOutputCP(mBefore); }
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    UINT mBefore;
};

/// Returns the arguments after the program's name.
std::vector<std::string> arguments() {
    struct Freer {
        void operator()(wchar_t** list) const { LocalFree(list); }
    };
    int count = 0;
    const std::unique_ptr<wchar_t*[], Freer> list(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i) {
        result.push_back(toUtf8(list[static_cast<size_t>(i)]));
    }
    return result;
}

void completePaths(Query& query) {
    if (query.command == Command::status) {
        for (std::string& path : query.paths) {
            path = absolutePath(path);
        }
    } else if (query.command == Command::canonicalize) {
        query.cwd = query.cwd.empty() ? currentDirectory() : absolutePath(query.cwd);
    }
}

void print(const std::string& text) {
    std::cout << text << std::flush;
    if (!std::cout) {
        throw std::runtime_error("can't write to standard output");
    }
}

void complain(const std::string& problem) { std::cerr << "ccquery: " + oneLine(problem) + '\n'; }

ExitCode run(Query query) {
    completePaths(query);
    if (!query.config.empty()) {
        // Uses the C runtime's call, so that the library's runtime sees the variable as well.
        _wputenv_s(L"NBCLEARCASE_FAKE_INI", toWide(query.config).c_str());
    }
    const auto connection = connect(query.library.empty() ? defaultLibrary() : query.library);
    Report report;
    const auto printReport = [&report, &query] {
        print(query.json ? jsonText(report) : tableText(report));
    };
    ExitCode exitCode = exitNoAnswer;
    try {
        exitCode = ask(*connection, query, report);
    } catch (...) {
        // The answers before the failure are valid.
        if (!report.records.empty()) {
            printReport();
        }
        throw;
    }
    printReport();
    return exitCode;
}

ExitCode runCommandLine() {
    const CommandLine line = parseCommandLine(arguments());
    if (!line.help.empty()) {
        print(line.help);
        return exitAnswered;
    }
    return run(line.query);
}

}  // namespace

int main() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    // If a library needs another one that is missing, our error line reports it, not a window.
    SetErrorMode(SEM_FAILCRITICALERRORS);
    const Utf8Console console;
    try {
        return runCommandLine();
    } catch (const std::exception& error) {
        complain(error.what());
    } catch (...) {
        complain("the connection library threw something that is no std::exception");
    }
    return exitNoAnswer;
}
