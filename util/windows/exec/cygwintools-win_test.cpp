// The calls of cygpath, readlink and ln. Names that lead to files:
// cygwintools-resolve-win_test.cpp.

#include "util/windows/exec/cygwintools-win.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/refusedcall-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/processes/posixworld-win.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/threads/boundedthread.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

class CygwinToolsTest : public CommandTest {
protected:
    PosixWorld mWorld{mFolder};
};

TEST_F(CygwinToolsTest, TheLineIsTheProgramItsOptionsASpaceAndThePath) {
    const RecordedStarts starts;
    static_cast<void>(runCygpath("/tools/x y", "-m -a"));
    EXPECT_EQ(starts.last().line, L"cygpath -m -a /tools/x y");
    static_cast<void>(runCygpath("/tools/x", ""));
    EXPECT_EQ(starts.last().line, L"cygpath  /tools/x");
    static_cast<void>(runReadlink("/tools/x y", "-n"));
    EXPECT_EQ(starts.last().line, L"readlink -n /tools/x y");
    static_cast<void>(runReadlink("/tools/x", ""));
    EXPECT_EQ(starts.last().line, L"readlink  /tools/x");
    static_cast<void>(makeCygwinSymlink("../a b", "/tools/c d"));
    EXPECT_EQ(starts.last().line, L"ln -s \"../a b\" \"/tools/c d\"");
    static_cast<void>(makeCygwinSymlink("", "/none/x"));
    EXPECT_EQ(starts.last().line, L"ln -s \"\" \"/none/x\"");
    EXPECT_EQ(starts.calls().size(), 6U);
}

TEST_F(CygwinToolsTest, ThePathComesAsCygpathWritesItWithoutBlanksAtItsEnds) {
    EXPECT_EQ(runCygpath("/tools/bin", "-m"), mWorld.native("/tools/bin"));
    EXPECT_EQ(runCygpath("/tools/bin", ""), "/tools/bin");
    std::string backslashes = mWorld.native("/tools/bin");
    std::replace(backslashes.begin(), backslashes.end(), '/', '\\');
    EXPECT_EQ(runCygpath("/tools/bin", "-w"), backslashes);
    const EnvironmentScope answer("NBCC_CYGPATH_ANSWER", " \t\r\n c:/a  b \v\f\r\n\n");
    EXPECT_EQ(runCygpath("/tools/bin", "-m"), "c:/a  b");
}

TEST_F(CygwinToolsTest, ALinkIsReadAndMade) {
    EXPECT_TRUE(makeCygwinSymlink("../some folder/x", "/tools/bin/a link"));
    EXPECT_EQ(testing_support::fileContent(mWorld.root() / "tools/bin/a link.lnk"),
              "!<symlink>../some folder/x");
    EXPECT_TRUE(makeCygwinSymlink("target", "/tools/link"));
    EXPECT_EQ(runReadlink("/tools/link", ""), "target");
    EXPECT_EQ(runReadlink("/tools/link", "-n"), "target");
}

TEST_F(CygwinToolsTest, NamesMayBeOfAnyAlphabet) {
    const std::string name = "/tools/\xc3\xa4\xe4\xb8\xad";
    EXPECT_EQ(runCygpath(name, "-m"), mWorld.native(name));
    EXPECT_TRUE(makeCygwinSymlink("\xf0\x9f\x98\x80", name));
    EXPECT_EQ(runReadlink(name, ""), "\xf0\x9f\x98\x80");
}

TEST_F(CygwinToolsTest, AProgramThatEndsWithAFailureHasNoAnswer) {
    // It still writes a line.
    EXPECT_EQ(runCygpath("/none/x", "-m"), "");
    EXPECT_EQ(runReadlink("/tools/no-link", ""), "");
    mWorld.link("/tools/there", "x");
    EXPECT_FALSE(makeCygwinSymlink("y", "/tools/there"));
    EXPECT_EQ(runReadlink("/tools/there", ""), "x");
    EXPECT_FALSE(makeCygwinSymlink("y", "/none/x"));
}

TEST_F(CygwinToolsTest, WithoutTheProgramsEveryCallGivesNothing) {
    mWorld.write("/tools/bin/ls.exe");
    mWorld.link("/tools/link", "target");
    const EnvironmentScope path("PATH", mFolder.path().string());
    EXPECT_EQ(runCygpath("/tools/bin/ls", "-m"), "");
    EXPECT_EQ(runReadlink("/tools/link", ""), "");
    EXPECT_FALSE(makeCygwinSymlink("target", "/tools/other"));
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), "");
    EXPECT_EQ(resolveCygwinPath(mWorld.native("/tools/bin/ls.exe")), "");
}

TEST_F(CygwinToolsTest, TheyRunInTheCurrentDirectoryWithTheEnvironmentOfTheProcess) {
    const CurrentDirectory directory(mFolder.path());
    const RecordedStarts starts;
    EXPECT_EQ(runCygpath("x", "-m"), mFolder.utf8("x"));
    EXPECT_EQ(starts.last().directory, toWide(System::getcwd()));
    EXPECT_EQ(starts.last().environment, std::nullopt);
    EXPECT_EQ(toUtf8(*starts.last().program),
              testing_support::utf8((PosixWorld::tools() / "cygpath.exe").make_preferred()));
}

TEST_F(CygwinToolsTest, FailuresAreNotReported) {
    // Every other command reports these failures: no desktop, and a program that can't be started.
    const RefusedCall<decltype(GetProcessWindowStation)> noDesktop("GetProcessWindowStation",
                                                                   ERROR_ACCESS_DENIED);
    const RecordedStarts starts(
        {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED});
    const DebugOutput debugger;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(runCygpath("/tools", "-m"), "");
    EXPECT_EQ(runReadlink("/tools/link", ""), "");
    EXPECT_FALSE(makeCygwinSymlink("target", "/tools/link"));
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(debugger.texts(), std::vector<std::string>());
    EXPECT_EQ(starts.calls().size(), 4U);
    EXPECT_EQ(noDesktop.count(), 4);
}

/// Threads leave handles open, so this isn't a CommandTest.
TEST(CygwinToolsThreadsTest, SeveralThreadsMayAskAtOnce) {
    const TempFolder folder;
    const PosixWorld world(folder);
    const char* const names[] = {"/tools/a", "/none/b", "/bin/c"};
    std::vector<std::string> answers(std::size(names), "before");
    {
        std::vector<BoundedThread> threads;
        for (size_t i = 0; i < answers.size(); ++i) {
            threads.emplace_back(
                [&answer = answers[i], name = names[i]] { answer = runCygpath(name, "-m"); });
        }
    }
    EXPECT_EQ(answers[0], world.native("/tools/a"));
    EXPECT_EQ(answers[1], "");
    EXPECT_EQ(answers[2], world.native("/bin/c"));
}

}  // namespace
