// Examples of docs/utility.md: the process and its machine.

#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/pageexamples.h"
#include "util/pathfun.h"
#include "util/windows/callresult.h"
#include "util/windows/consoleevent-win.h"
#include "util/windows/environment-win.h"
#include "util/windows/sockets-win.h"
#include "util/windows/system-win.h"
#include "util/windows/system/host-win.h"

namespace {

using ProcessExampleTest = testing_support::UtilityExampleTest;

TEST_F(ProcessExampleTest, ReadAndSetEnvironmentVariables) {
    if (System::setEnvironment("EXAMPLE_MODE=on") == callSucceeded) {
        std::cout << environmentVariable("EXAMPLE_MODE").value_or("not set") << '\n';
    }
    if (System::unsetEnvironment("EXAMPLE_MODE") == callSucceeded) {
        std::cout << environmentVariable("EXAMPLE_MODE").value_or("not set") << '\n';
    }
}

TEST_F(ProcessExampleTest, FindTheFoldersOfTheProgram) {
    const std::string help = System::pathBelowProgram("help/index.txt", System::getcwd);
    std::cout << isInPath(System::programDirectory(), help) << ' '
              << isAbsolutePath(System::getcwd(), windowsPaths) << ' '
              << System::canListDirectory(System::tempDirectory()) << '\n';
}

TEST_F(ProcessExampleTest, NameTheMachineAndTheUser) {
    std::cout << "user " << System::userName() << '\n'
              << "host " << System::fullHostName(/*refresh=*/false) << '\n'
              << "time " << System::dateTimeText() << '\n';
}

TEST_F(ProcessExampleTest, SmallerQuestionsToWindows) {
    startSockets();
    std::string message;
    std::cout << consoleEventName(CTRL_BREAK_EVENT) << '\n'
              << System::deleteKey(HKEY_CURRENT_USER, L"Software\\NoSuchProgram", &message) << '\n';
}

}  // namespace
