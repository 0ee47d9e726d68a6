// A program on the utility layer in one file: takes a path as text, and runs a command.
//
//     exampleutility PATH COMMAND

#include <cstdint>
#include <iostream>
#include <string>

#include "util/pathfun.h"
#include "util/windows/exec-win.h"

namespace {

void describePath(const std::string& path) {
    std::cout << "normal form  " << normalizePath(path) << '\n'
              << "parent       " << parentPath(path) << '\n'
              << "name         " << leafName(path) << '\n';
}

/// Returns the exit code of the command.
int32_t runCommand(const std::string& line) {
    Exec exec;
    Exec::RunInfo info;
    info.mDirectArgv = {line};
    std::string output;
    std::string error;
    bool aborted = false;
    const int32_t code =
        exec.runCommand(info, /*workingDirectory=*/std::string(), /*environment=*/nullptr,
                        /*passThrough=*/nullptr, &output, &error, &aborted);
    std::cout << "exit code    " << code << '\n' << "output       " << output;
    std::cerr << error;
    return code;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::cerr << "usage: exampleutility PATH COMMAND\n";
        return 2;
    }
    describePath(argv[1]);
    return runCommand(argv[2]);
}
