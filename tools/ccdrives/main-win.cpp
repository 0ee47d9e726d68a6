// ccdrives: connects drives of views on a machine without ClearCase. It reads the arguments and
// does what they ask for; each step has its own file.

#include <exception>
#include <iostream>
#include <string>

#include <windows.h>

#include "tools/ccdrives/commandline.h"
#include "tools/ccdrives/commands.h"
#include "tools/ccdrives/drivesfile-win.h"
#include "tools/ccdrives/drivesplace-win.h"
#include "tools/ccdrives/drivesread-win.h"
#include "tools/ccdrives/providersetup-win.h"
#include "tools/shared/absolutepath-win.h"
#include "tools/shared/buildfacts.h"
#include "tools/shared/console-win.h"
#include "tools/shared/fullpath-win.h"
#include "tools/shared/report.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/host-win.h"

namespace {

using namespace ccdrives;

void complain(const std::string& problem) {
    std::cerr << "ccdrives: " + tools::oneLine(problem) + '\n';
}

/// Returns the full path of the provider that is named, or else of the one beside this program.
std::string libraryPath(const std::string& named) {
    if (named.empty()) {
        return System::programDirectory() + "\\ccdrives_provider.dll";
    }
    // Other programs have other current directories, also on other drives.
    return tools::fullPath(tools::absolutePath(named));
}

bool isFile(const std::string& path) {
    const DWORD attributes = GetFileAttributesW(System::unicodePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

ExitCode runCommandLine() {
    const CommandLine line = parseCommandLine(tools::programArguments());
    if (!line.help.empty()) {
        tools::printText(line.help);
        return exitDone;
    }
    if (line.version) {
        const tools::BuildFacts facts = tools::buildFacts();
        tools::printText(line.request.json ? tools::versionJson(facts)
                                           : tools::versionText("ccdrives", facts));
        return exitDone;
    }
    if (!line.completion.empty()) {
        tools::printText(line.completion);
        return exitDone;
    }
    return run(line.request, {.drivesFile = drivesFile(),
                              .readDrives = readDrivesFile,
                              .editDrives = editDrivesFile,
                              .readEntries = readProviderEntries,
                              .requireAdministrator = requireAdministrator,
                              .apply = apply,
                              .library = libraryPath(line.request.library),
                              .isThere = isFile,
                              .isProvider = isProvider,
                              .print = tools::printText,
                              .complain = complain});
}

}  // namespace

int main() {
    const tools::Console console;
    try {
        return runCommandLine();
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return exitNotDone;
}
