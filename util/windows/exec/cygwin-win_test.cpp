// The cache of translated names, and the line that runs a script. Whole runs: script-win_test.cpp;
// the parts of the line: scriptline_test.cpp.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/processes/posixworld-win.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/environmentscope.h"
#include "util/numberedmessage.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

class TranslateCachedTest : public CommandTest {
protected:
    void expectCounters(uint64_t hits, uint64_t misses) const {
        EXPECT_EQ(mExec->mPathCacheHits, hits);
        EXPECT_EQ(mExec->mPathCacheMisses, misses);
    }
    PosixWorld mWorld{mFolder};
};

TEST_F(TranslateCachedTest, ANameIsTranslatedOnceAndThenKept) {
    const std::string file = mWorld.write("/tools/bin/ls.exe");
    const RecordedStarts starts;
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), file);
    expectCounters(0, 1);
    EXPECT_EQ(starts.calls().size(), 1U);
    DeleteFileW(toWide(file).c_str());
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), file);
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), file);
    expectCounters(2, 1);
    EXPECT_EQ(starts.calls().size(), 1U);
    // Another spelling is another name.
    EXPECT_EQ(mExec->translateCached("/tools/bin/LS"), "");
    expectCounters(2, 2);
}

TEST_F(TranslateCachedTest, ANameThatMeansNoFileIsKeptAsWell) {
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), "");
    expectCounters(0, 1);
    mWorld.write("/tools/bin/ls.exe");
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), "");
    expectCounters(1, 1);
    EXPECT_EQ(mExec->mPathCache.at("/tools/bin/ls"), "");
}

TEST_F(TranslateCachedTest, AResetLetsItBeAskedAgain) {
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), "");
    const std::string file = mWorld.write("/tools/bin/ls.exe");
    mExec->reset();
    expectCounters(0, 0);
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), file);
    expectCounters(0, 1);
}

TEST_F(TranslateCachedTest, AnEmptyNameMeansNoFileAndIsKept) {
    EXPECT_EQ(mExec->translateCached(""), "");
    EXPECT_EQ(mExec->translateCached(""), "");
    expectCounters(1, 1);
}

TEST_F(TranslateCachedTest, OfANameThatCouldNotBeAskedForNothingIsKept) {
    const std::string file = mWorld.write("/tools/bin/ls.exe");
    {
        const RefusedCall<decltype(SetCurrentDirectoryW)> refused("SetCurrentDirectoryW",
                                                                  ERROR_PATH_NOT_FOUND);
        EXPECT_THROW(static_cast<void>(mExec->translateCached("/tools/bin/ls")),
                     NumberedRuntimeError);
        EXPECT_GT(refused.count(), 0);
    }
    EXPECT_EQ(mExec->mPathCache.count("/tools/bin/ls"), 0U);
    expectCounters(0, 0);
    EXPECT_EQ(mExec->translateCached("/tools/bin/ls"), file);
    expectCounters(0, 1);
}

class ScriptCommandLineTest : public CommandTest {
protected:
    std::string lineOf(const std::string& commandLine, const char* path = "") {
        return toUtf8(mExec->scriptCommandLine(commandLine.c_str(), path));
    }
    PosixWorld mWorld{mFolder};
    std::string mShell = mWorld.program("/bin/sh.exe");
};

TEST_F(ScriptCommandLineTest, APosixNameIsRunByTheInterpreterOfItsFirstLine) {
    const std::string tool = mWorld.program("/tools/bin/tool.exe");
    const std::string script = mWorld.write("/tools/bin/script", "#!/tools/bin/tool -x y\nmore\n");
    EXPECT_EQ(lineOf("/tools/bin/script a \"b c\""), tool + " -x y " + script + " a \"b c\"");
    EXPECT_EQ(lineOf("/tools/bin/script"), tool + " -x y " + script);
}

TEST_F(ScriptCommandLineTest, TheClosingQuoteOfAQuotedNameIsAfterTheFile) {
    const std::string script = mWorld.write("/tools/bin/script");
    EXPECT_EQ(lineOf("\"/tools/bin/script\" a"), mShell + " " + script + "\" a");
}

TEST_F(ScriptCommandLineTest, ANameWithoutSlashesIsSearchedOnlyInThePath) {
    mWorld.write("/tools/script.sh");
    const std::string script = mWorld.write("/tools/bin/script.sh");
    const CurrentDirectory directory(mWorld.root() / "tools");
    EXPECT_EQ(lineOf("script.sh a", mWorld.native("/tools/bin").c_str()),
              mShell + " " + script + " a");
    // A relative directory of the path is relative to the current directory.
    EXPECT_EQ(lineOf("script.sh a", "none;bin"), mShell + " " + script + " a");
    EXPECT_EQ(mExec->mPathCache.count("script.sh"), 0U);
    // What isn't found is treated as a POSIX name, which exists in the current directory.
    EXPECT_EQ(lineOf("script.sh a", "c:/none"), mShell + " script.sh a");
    EXPECT_EQ(mExec->mPathCache.at("script.sh"), "script.sh");
}

TEST_F(ScriptCommandLineTest, WithoutAPathTheProcessesIsSearched) {
    const std::string script = mWorld.write("/tools/bin/script.sh");
    EXPECT_EQ(mExec->translateCached("/bin/sh"), mShell);
    {
        const EnvironmentScope path("PATH", (mWorld.root() / "tools/bin").string());
        EXPECT_EQ(lineOf("script.sh", nullptr), mShell + " " + script);
    }
    // An exception of the search means that nothing was found.
    const EnvironmentScope path("PATH", std::nullopt);
    EXPECT_EQ(lineOf("script.sh", nullptr), "");
}

TEST_F(ScriptCommandLineTest, ANameWithASlashIsNotSearched) {
    const std::string path = mWorld.native("/tools");
    mWorld.write("/tools/bin/script.sh");
    for (const char* name : {"bin/script.sh", R"(bin\script.sh)"}) {
        EXPECT_EQ(lineOf(name, path.c_str()), "") << name;
        EXPECT_EQ(mExec->mPathCache.at(name), "") << name;
    }
    // If it exists, it is found as a POSIX name, and so stays relative.
    mExec->reset();
    const CurrentDirectory directory(mWorld.root() / "tools");
    for (const char* name : {"bin/script.sh", R"(bin\script.sh)"}) {
        EXPECT_EQ(lineOf(name, path.c_str()), mShell + " bin/script.sh") << name;
        EXPECT_EQ(mExec->mPathCache.at(name), "bin/script.sh") << name;
    }
}

TEST_F(ScriptCommandLineTest, ANameMayBeInTheCache) {
    const std::string script = mWorld.write("/tools/bin/script");
    for (const char* name : {"script", "/any/script", "\"unpaired"}) {
        mExec->mPathCache[name] = script;
        EXPECT_EQ(lineOf(name), mShell + " " + script) << name;
    }
    mExec->mPathCache["backslashes"] = R"(C:\none\x.exe)";
    mExec->mPathCache["C:/none/x.exe"] = "D:/y.exe";
    EXPECT_EQ(lineOf("backslashes z"), "D:/y.exe  z");
    // For the four names, the interpreter was in the cache as well, except the first time.
    EXPECT_EQ(mExec->mPathCacheHits, 3U + 2U + 2U);
    EXPECT_EQ(mExec->mPathCacheMisses, 1U);
}

TEST_F(ScriptCommandLineTest, AProgramByAPosixNameIsItsOwnInterpreter) {
    for (const char* name : {"a.exe", "b.EXE", "c.com", "d.Bat", "e.cmd"}) {
        const std::string posix = std::string("/tools/bin/") + name;
        // The content isn't read.
        const std::string file = mWorld.write(posix, "MZ");
        EXPECT_EQ(lineOf(posix + " x"), file + "  x") << name;
        EXPECT_EQ(lineOf("\"" + posix + "\" x"), file + " \" x") << name;
        EXPECT_EQ(lineOf(posix), file + " ") << name;
    }
    const std::string file = mWorld.write("/tools/bin/suffix.cmd");
    EXPECT_EQ(lineOf("/tools/bin/suffix x"), file + "  x");
    // The same for one that the search finds.
    EXPECT_EQ(lineOf("suffix x", mWorld.native("/tools/bin").c_str()), file + "  x");
}

TEST_F(ScriptCommandLineTest, AFileThatCannotBeReadGivesNoLine) {
    EXPECT_EQ(lineOf("/tools/bin/none a"), "");
    create_directory(mWorld.root() / "tools/bin/folder");
    EXPECT_EQ(lineOf("/tools/bin/folder a"), "") << "can't be opened";
    EXPECT_EQ(mExec->mPathCache.at("/tools/bin/folder"), mWorld.native("/tools/bin/folder"));
    const std::string script = mWorld.write("/tools/bin/script");
    EXPECT_EQ(lineOf("/tools/bin/script a"), mShell + " " + script + " a");
    const ReplacedCall<decltype(ReadFile)> failing(
        "ReadFile", [](HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL {
            SetLastError(ERROR_CRC);
            return FALSE;
        });
    EXPECT_EQ(lineOf("/tools/bin/script a"), "");
}

TEST_F(ScriptCommandLineTest, ScriptsMayBeShortAndOpenElsewhere) {
    for (const char* content : {"", "x", "#!"}) {
        const std::string script = mWorld.write("/tools/bin/script", content);
        const std::string line = *content == '#' ? "" : mShell + " " + script;
        EXPECT_EQ(lineOf("/tools/bin/script"), line) << content;
    }
    mWorld.write("/tools/bin/script", "#!/bin/sh");
    HANDLE writer = CreateFileW(
        toWide(mWorld.native("/tools/bin/script")).c_str(), GENERIC_WRITE | DELETE,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(lineOf("/tools/bin/script"), "");
    CloseHandle(writer);
}

TEST_F(ScriptCommandLineTest, OnlyTheFirstBytesOfAScriptAreRead) {
    static DWORD asked;
    static int reads;
    asked = 0;
    reads = 0;
    mWorld.write("/tools/bin/script", "#!/bin/" + std::string(1000, 'x') + "\n");
    mExec->mPathCache["/tools/bin/script"] = mWorld.native("/tools/bin/script");
    mExec->mPathCache["/bin/" + std::string(248, 'x')] = "cut";
    static decltype(&ReadFile) original;
    const ReplacedCall<decltype(ReadFile)> recorded(
        "ReadFile",
        [](HANDLE file, LPVOID buffer, DWORD size, LPDWORD count, LPOVERLAPPED place) -> BOOL {
            asked = size;
            ++reads;
            return original(file, buffer, size, count, place);
        });
    original = recorded.original();
    EXPECT_EQ(lineOf("/tools/bin/script"), "cut " + mWorld.native("/tools/bin/script"));
    EXPECT_EQ(asked, 256U);
    EXPECT_EQ(reads, 1);
}

TEST_F(ScriptCommandLineTest, AProgramThatWindowsRefusedHasNoInterpreter) {
    mWorld.write("/tools/bin/program", "MZ and more");
    EXPECT_EQ(lineOf("/tools/bin/program a"), "");
    EXPECT_EQ(mExec->mPathCache.size(), 1U);
}

TEST_F(ScriptCommandLineTest, TheInterpreterIsTranslatedWithoutBlanksAtItsEnds) {
    const std::string script = mWorld.write("/tools/bin/script", "#!\t/bin/sh\v\f\t\nmore");
    EXPECT_EQ(lineOf("/tools/bin/script"), mShell + " " + script);
    EXPECT_EQ(mExec->mPathCache.at("/bin/sh"), mShell);
}

TEST_F(ScriptCommandLineTest, AnInterpreterThatIsNotFoundIsLeftOutOfTheLine) {
    const std::string script = mWorld.write("/tools/bin/script", "#!/tools/bin/none -x\n");
    EXPECT_EQ(lineOf("/tools/bin/script a"), " -x " + script + " a");
    EXPECT_EQ(mExec->mPathCache.at("/tools/bin/none"), "");
    // An interpreter that isn't named gives no line at all.
    mWorld.write("/tools/bin/script", "#! /bin/sh\n");
    EXPECT_EQ(lineOf("/tools/bin/script a"), "");
}

TEST_F(ScriptCommandLineTest, NamesMayBeOfAnyAlphabet) {
    const std::string name = "/tools/bin/\xc3\xa4\xe4\xb8\xad";
    const std::string script = mWorld.write(name, "#!/tools/bin/\xc3\xb6\n");
    const std::string tool = mWorld.write("/tools/bin/\xc3\xb6.exe");
    EXPECT_EQ(lineOf(name + " \xf0\x9f\x98\x80"), tool + " " + script + " \xf0\x9f\x98\x80");
}

}  // namespace
