// A process that runs one command, for tests that end it in the middle: `exechost LINE`. Its exit
// code is the command's.

#include <cstdlib>
#include <string>

#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return EXIT_FAILURE;
    }
    Exec exec;
    Exec::RunInfo info;
    info.mDirectArgv = {toUtf8(arguments[1])};
    std::string output;
    std::string error;
    bool aborted = false;
    return exec.runCommand(info, /*workingDirectory=*/std::string(), /*environment=*/nullptr,
                           /*passThrough=*/nullptr, &output, &error, &aborted);
}
