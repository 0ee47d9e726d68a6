// Examples of docs/utility.md: commands.

#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "testing/folderexample-win.h"
#include "util/pathfun.h"
#include "util/stringutilities.h"
#include "util/windows/environment-win.h"
#include "util/windows/exec-win.h"
#include "util/windows/exec/programsearch-win.h"
#include "util/windows/system-win.h"

namespace {

using CommandExampleTest = testing_support::FolderExampleTest;

TEST_F(CommandExampleTest, RunACommand) {
    Exec exec;
    Exec::RunInfo info;
    info.mDirectArgv = {"cmd /c echo hello"};
    std::string output;
    std::string error;
    bool aborted = false;
    const int32_t code = exec.runCommand(info, /*workingDirectory=*/"", /*environment=*/nullptr,
                                         /*passThrough=*/nullptr, &output, &error, &aborted);
    chomp(output);
    std::cout << code << ' ' << output << '\n';
}

TEST_F(CommandExampleTest, SendTheOutputOfACommandToFiles) {
    Exec exec;
    Exec::RunInfo info;
    info.mDirectArgv = {"cmd /c echo hello"};
    info.mStdoutMode = streamFile;
    info.mStdoutFile = "output.txt";
    info.mMergeOutput = true;
    std::string output;
    std::string error;
    bool aborted = false;
    const int32_t code =
        exec.runCommand(info, System::getcwd(), nullptr, nullptr, &output, &error, &aborted);
    std::cout << code << ' ' << System::exists("output.txt") << ' ' << output.size() << '\n';
}

TEST_F(CommandExampleTest, GiveACommandADirectoryAndAnEnvironment) {
    std::string block = "ANSWER=forty-two";
    block += '\0';
    for (const char* const name : {"SystemRoot", "PATH"}) {
        block.append(name).append("=").append(environmentVariable(name).value_or(""));
        block += '\0';
    }
    Exec exec;
    Exec::RunInfo info;
    info.mDirectArgv = {"cmd /c echo %ANSWER%"};
    std::string output;
    std::string error;
    bool aborted = false;
    static_cast<void>(
        exec.runCommand(info, "c:/", block.c_str(), nullptr, &output, &error, &aborted));
    chomp(output);
    std::cout << output << '\n';
}

TEST_F(CommandExampleTest, EndACommand) {
    Exec exec;
    {
        MutexLock lock(exec.mHandleLock);
        exec.abort(lock, /*signal=*/0);
    }
    Exec::RunInfo info;
    info.mDirectArgv = {"cmd /c echo hello"};
    std::string output;
    std::string error;
    bool aborted = false;
    const int32_t code = exec.runCommand(info, "", nullptr, nullptr, &output, &error, &aborted);
    std::cout << aborted << ' ' << (code == Exec::failureCode) << '\n';
    exec.reset();
}

TEST_F(CommandExampleTest, EndACommandThatHangs) {
    Exec exec;
    exec.setStallRules(
        {{.mPattern = ".*link.*", .mTimeout = 60'000, .mFlags = watchTime | watchIo}});
    Exec::RunInfo info;
    info.mDirectArgv = {"cmd /c echo link"};
    std::string output;
    std::string error;
    bool aborted = false;
    std::cout << exec.runCommand(info, "", nullptr, nullptr, &output, &error, &aborted) << '\n';
}

TEST_F(CommandExampleTest, FindTheProgramOfACommand) {
    const std::string file =
        findProgram(System::IsFileExecutableByMe(), "cmd", /*path=*/nullptr,
                    /*workingDirectory=*/nullptr, /*searchWorkingDirectoryFirst=*/false);
    std::cout << leafName(file) << '\n';
    try {
        static_cast<void>(findProgram(System::IsFileExecutableByMe(), "no-such-tool", "c:/",
                                      nullptr,
                                      /*searchWorkingDirectoryFirst=*/true));
    } catch (const std::runtime_error& failure) {
        std::cout << failure.what() << '\n';
    }
}

}  // namespace
