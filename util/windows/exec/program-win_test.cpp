// Which program runs, and what it gets: its line, its environment and its directory.

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/environmentblock.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/utf8path.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

fs::path fromUtf8(const std::string& text) { return {std::u8string(text.begin(), text.end())}; }

class ExecProgramTest : public CommandTest {
protected:
    /// Copies execchild to that name (UTF-8, relative to the folder), and makes its folder.
    std::string copyTo(const std::string& name) const {
        const fs::path copy = (mFolder.path() / fromUtf8(name)).make_preferred();
        create_directories(copy.parent_path());
        copy_file(testing_support::testProgramFolder() / "execchild.exe", copy);
        return utf8(copy);
    }
    /// A block with only that PATH.
    std::string blockOf(const std::string& path) const {
        return "PATH=" + path + std::string(2, '\0');
    }
    static std::string variable(const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr ? value : "";
    }
    /// A block with that PATH and what batch files need.
    static std::string batchBlockOf(const std::string& path) {
        return environmentBlock({"PATH=" + path, "SystemRoot=" + variable("SystemRoot"),
                                 "ComSpec=" + variable("ComSpec")});
    }
    /// The program of the last start.
    static std::string startedBy(const RecordedStarts& starts) {
        return toUtf8(starts.last().program.value_or(L"(none)"));
    }
};

TEST_F(ExecProgramTest, ThePathOfTheBlockDecidesWhichOfTwoRuns) {
    const std::string first = copyTo("first/tool.exe");
    const std::string second = copyTo("second/tool.exe");
    const EnvironmentScope path("PATH", (mFolder.path() / "first").string());
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run("tool say x", "", blockOf(mFolder.utf8("second")).c_str()).output, "x");
    EXPECT_EQ(startedBy(starts), second);
    EXPECT_EQ(mExec
                  ->run("tool say x", "",
                        blockOf(mFolder.utf8("first") + ";" + mFolder.utf8("second")).c_str())
                  .output,
              "x");
    EXPECT_EQ(startedBy(starts), first);
    // Without a block, the process's PATH is used.
    EXPECT_EQ(mExec->run("tool say x").output, "x");
    EXPECT_EQ(startedBy(starts), first);
    EXPECT_EQ(mExec->run("tool say x", "", "").output, "x");
    EXPECT_EQ(startedBy(starts), first);
}

TEST_F(ExecProgramTest, TheWorkingDirectoryComesBeforeThePath) {
    copyTo("path/tool.exe");
    const std::string own = copyTo("directory/tool.exe");
    const RecordedStarts starts;
    EXPECT_EQ(
        mExec->run("tool say x", mFolder.utf8("directory"), blockOf(mFolder.utf8("path")).c_str())
            .output,
        "x");
    EXPECT_EQ(startedBy(starts), own);
}

TEST_F(ExecProgramTest, SuffixesAreAddedInTheirOrder) {
    const std::string exe = copyTo("tool.exe");
    copyTo("tool");
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run("tool say x", mFolder.utf8(), blockOf("").c_str()).output, "x");
    EXPECT_EQ(startedBy(starts), exe);
    const std::string com = copyTo("tool.com");
    EXPECT_EQ(mExec->run("tool say x", mFolder.utf8(), blockOf("").c_str()).output, "x");
    EXPECT_EQ(startedBy(starts), com);
    EXPECT_EQ(mExec->run("tool.exe say x", mFolder.utf8(), blockOf("").c_str()).output, "x");
    EXPECT_EQ(startedBy(starts), exe);
}

TEST_F(ExecProgramTest, ProgramsOfEachSuffixAreFoundInThePathAndRun) {
    for (const char* suffix : {".com", ".exe"}) {
        const std::string folder = std::string("path").append(suffix);
        const std::string program = copyTo(folder + "/tool" + suffix);
        const RecordedStarts starts;
        EXPECT_EQ(mExec->run("tool say x", "", batchBlockOf(mFolder.utf8(folder)).c_str()).output,
                  "x");
        EXPECT_EQ(startedBy(starts), program);
    }
    for (const char* suffix : {".bat", ".cmd"}) {
        const std::string folder = std::string("path").append(suffix);
        create_directory(mFolder.path() / folder);
        const std::string name = folder + "/tool" + suffix;
        mFolder.write(name, "@echo x\r\n");
        const RecordedStarts starts;
        const CommandResult result =
            mExec->run("tool", "", batchBlockOf(mFolder.utf8(folder)).c_str());
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.output, "x\r\n");
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(startedBy(starts), utf8((mFolder.path() / name).make_preferred()));
    }
}

TEST_F(ExecProgramTest, AnEnvironmentOverTheLimitThatStartsIsNotReported) {
    // No value may have more than 32767 characters.
    const std::string value(20000, 'x');
    const std::string block = environmentBlock(
        {"NBCC_A=" + value, "NBCC_B=" + value, "SystemRoot=" + variable("SystemRoot")});
    const CommandResult result =
        mExec->run(execChild("variable NBCC_A variable NBCC_B"), "", block.c_str());
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.output == value + value) << result.output.size();
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecProgramTest, ANameWithBlanksIsInQuotes) {
    const std::string program = copyTo("a folder/a tool.exe");
    const RecordedStarts starts;
    for (const std::string& word : {std::string(R"("a tool")"), "\"" + program + "\"",
                                    "\"" + program.substr(0, program.size() - 4) + "\""}) {
        const std::string line = word + " arguments \"a b\"";
        EXPECT_EQ(mExec->run(line, mFolder.utf8("a folder")).output, line);
        EXPECT_EQ(startedBy(starts), program);
        EXPECT_EQ(starts.last().line, toWide(line));
    }
}

TEST_F(ExecProgramTest, ANamedProgramIsTakenAsItIsWithoutItsQuotes) {
    const std::string program = copyTo("a folder/a tool.exe");
    const RecordedStarts starts;
    Exec::RunInfo info;
    info.mDirectArgv = {"\"any name\" arguments"};
    for (const std::string& name :
         {program, "\"" + program + "\"", mFolder.utf8("a folder") + "/\"a tool.exe\""}) {
        info.mProgram = name;
        EXPECT_EQ(mExec->run(info).output, info.mDirectArgv[0]);
        EXPECT_TRUE(fs::equivalent(*starts.last().program, fromUtf8(program)));
        EXPECT_EQ(starts.last().line, L"\"any name\" arguments");
    }
}

TEST_F(ExecProgramTest, WhatCannotBeFoundIsLeftToWindowsWithAnUnquotedFirstWord) {
    // Windows searches beside this program, which findProgram doesn't.
    const RecordedStarts starts;
    const EnvironmentScope path("PATH", "c:\\none");
    const CommandResult result =
        mExec->run("\"exec\"child arguments \"a b\"", mFolder.utf8(), blockOf("c:/none").c_str());
    EXPECT_EQ(starts.last().program, std::nullopt);
    EXPECT_EQ(starts.last().line, L"execchild arguments \"a b\"");
    EXPECT_EQ(result.output, "execchild arguments \"a b\"");
}

TEST_F(ExecProgramTest, NamesAndArgumentsMayBeOfAnyAlphabet) {
    const std::string name = "\xc3\xa4 \xe4\xb8\xad \xf0\x9f\x98\x80";
    const std::string program = copyTo(name + "/" + name + ".exe");
    const RecordedStarts starts;
    const std::string line = "\"" + name + "\" folder say | say \"" + name + "\"";
    const CommandResult result = mExec->run(line, mFolder.utf8(name));
    EXPECT_EQ(result.output, utf8(fromUtf8(program).parent_path()) + "|" + name);
    EXPECT_EQ(startedBy(starts), program);
    EXPECT_TRUE(mExec->log().starts_with("\twd: " + mFolder.utf8(name) + "\t"));
    EXPECT_EQ(mExec->run(line + " exit 1", mFolder.utf8(name)).code, 1);
    EXPECT_EQ(mExec->run("\"" + program + "\" say \xc3\xa4").output, "\xc3\xa4");
}

TEST_F(ExecProgramTest, TheLineReachesTheProgramAsItIs) {
    for (const std::string& words :
         {std::string("arguments"),
          std::string("arguments  a   \"b c\"  \\\"d\\\" 2>&1 |<> %PATH% "),
          "arguments " + std::string(30000, 'x')}) {
        EXPECT_EQ(mExec->run(execChild(words)).output, execChild(words));
    }
}

TEST_F(ExecProgramTest, TheProgramRunsInItsDirectory) {
    EXPECT_EQ(mExec->run(execChild("folder"), mFolder.utf8()).output, utf8(mFolder.path()));
    create_directory(mFolder.path() / "inner");
    const CommandResult result = mExec->run(execChild("folder"), mFolder.utf8() + "/inner/..");
    EXPECT_EQ(result.output, utf8(mFolder.path()));
}

/// The lines of a text, except those for the directories of drives.
std::multiset<std::string> linesOf(const std::string& text) {
    std::multiset<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.starts_with("=")) {
            lines.insert(line);
        }
    }
    return lines;
}

TEST_F(ExecProgramTest, TheEnvironmentOfTheBlockIsAllThatTheProgramHas) {
    const EnvironmentScope callers("NBCC_CALLER", "1");
    std::string block;
    std::multiset<std::string> expected;
    for (int number = 0; number < 500; ++number) {
        const std::string entry =
            "NBCC_" + std::to_string(number) + "=\xc3\xa4 " + std::to_string(number * number);
        block.append(entry).push_back('\0');
        expected.insert(entry);
    }
    block.append("NBCC_7=a second value").push_back('\0');
    block.append("NBCC_BARE").push_back('\0');
    block.push_back('\0');
    std::multiset<std::string> found =
        linesOf(mExec->run(execChild("environment"), "", block.c_str()).output);
    // Removes what Windows itself adds, and a name without a value, which Windows may leave out.
    std::erase_if(found, [](const std::string& line) {
        return !line.starts_with("NBCC_") || line == "NBCC_BARE=";
    });
    EXPECT_EQ(found, expected);
}

TEST_F(ExecProgramTest, WithoutABlockTheProgramHasTheEnvironmentOfThisProcess) {
    const EnvironmentScope variable("NBCC_OWN", "1");
    for (const char* environment : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(mExec->run(execChild("variable NBCC_OWN"), "", environment).output, "1");
    }
    EXPECT_EQ(mExec->run(execChild("variable NBCC_OWN"), "", "NBCC_OTHER=1\0").output, "(not set)");
}

}  // namespace
