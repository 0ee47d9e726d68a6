// The Windows file that a name means, through links and suffixes.

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/processes/posixworld-win.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/cygwinscope.h"
#include "testing/scopes/environmentscope.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec/cygwintools-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

class ResolveCygwinPathTest : public CommandTest {
protected:
    static Texts linesOf(const RecordedStarts& starts) {
        Texts lines;
        for (const RecordedStarts::Call& call : starts.calls()) {
            lines.push_back(toUtf8(call.line));
        }
        return lines;
    }

    PosixWorld mWorld{mFolder};
};

TEST_F(ResolveCygwinPathTest, TheSuffixesAreTriedInTheirOrder) {
    const char* const order[] = {".exe", "", ".com", ".cmd", ".bat"};
    for (const char* suffix : order) {
        mWorld.write("/tools/bin/ls" + std::string(suffix));
    }
    for (const char* suffix : order) {
        const std::string file = mWorld.native("/tools/bin/ls") + suffix;
        EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), file);
        DeleteFileW(toWide(file).c_str());
    }
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), "");
}

TEST_F(ResolveCygwinPathTest, AnEmptyNameIsNoFileAndNothingIsAsked) {
    const RecordedStarts starts;
    EXPECT_EQ(resolveCygwinPath(""), "");
    EXPECT_TRUE(starts.calls().empty());
}

TEST_F(ResolveCygwinPathTest, AFileCostsOneChildAndALinkTwoMore) {
    const std::string file = mWorld.write("/tools/bin/ls.exe");
    mWorld.link("/tools/bin/dir", "ls");
    const RecordedStarts starts;
    EXPECT_EQ(resolveCygwinPath("/tools/bin/dir"), file);
    const std::string folder = mWorld.native("/tools/bin/");
    EXPECT_EQ(linesOf(starts), Texts({"cygpath -m /tools/bin/dir", "readlink  " + folder + "dir",
                                      "cygpath -m " + folder + "ls"}));
}

TEST_F(ResolveCygwinPathTest, ALinkHidesTheFileOfItsName) {
    mWorld.write("/tools/bin/ls.exe");
    mWorld.link("/tools/bin/ls.exe", "../../bin/real.exe");
    mWorld.write("/bin/real.exe");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), mWorld.native("/tools/bin/../../bin/real.exe"));
    // A file found with an earlier suffix comes before the link of a later suffix.
    mWorld.write("/tools/bin/more.exe");
    mWorld.link("/tools/bin/more", "real.exe");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/more"), mWorld.native("/tools/bin/more.exe"));
}

TEST_F(ResolveCygwinPathTest, TheFileOfALinkMayHaveAnySuffix) {
    const std::string file = mWorld.write("/tools/bin/real.bat");
    for (const char* suffix : {".exe", "", ".com", ".cmd", ".bat"}) {
        const std::string link = std::string("/tools/bin/name") + suffix;
        mWorld.link(link, "real");
        EXPECT_EQ(resolveCygwinPath("/tools/bin/name"), file) << suffix;
        DeleteFileW(toWide(mWorld.native(link) + ".lnk").c_str());
    }
}

/// Makes a chain of `count` links from /tools/1 on, and the file at its end.
void makeChain(const PosixWorld& world, int count) {
    for (int number = 1; number <= count; ++number) {
        world.link("/tools/" + std::to_string(number), std::to_string(number + 1));
    }
    world.write("/tools/" + std::to_string(count + 1));
}

TEST_F(ResolveCygwinPathTest, NineLinksInTurnAreFollowed) {
    makeChain(mWorld, 9);
    EXPECT_EQ(resolveCygwinPath("/tools/1"), mWorld.native("/tools/10"));
}

TEST_F(ResolveCygwinPathTest, TenLinksInTurnAreNoFile) {
    makeChain(mWorld, 10);
    const RecordedStarts starts;
    EXPECT_EQ(resolveCygwinPath("/tools/1"), "");
    EXPECT_EQ(starts.calls().size(), 20U);
    EXPECT_EQ(starts.last().line, L"readlink  " + toWide(mWorld.native("/tools/10")));
}

TEST_F(ResolveCygwinPathTest, ALoopOfLinksIsNoFile) {
    mWorld.link("/tools/a", "b");
    mWorld.link("/tools/b", "a");
    mWorld.link("/tools/self", "self");
    const RecordedStarts starts;
    EXPECT_EQ(resolveCygwinPath("/tools/a"), "");
    EXPECT_EQ(starts.calls().size(), 20U);
    EXPECT_EQ(resolveCygwinPath("/tools/self"), "");
    EXPECT_EQ(starts.calls().size(), 40U);
}

TEST_F(ResolveCygwinPathTest, AFileBesideALinkThatCannotBeReadIsFound) {
    mWorld.write("/tools/bin/ls.exe.lnk", "no link");
    const std::string file = mWorld.write("/tools/bin/ls.exe");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), file);
}

TEST_F(ResolveCygwinPathTest, AfterALinkThatCannotBeReadTheSuffixesFollowAnEmptyName) {
    mWorld.write("/tools/bin/ls.exe.lnk", "no link");
    mWorld.write("/tools/bin/ls");
    mWorld.write("/tools/bin/ls.bat");
    const CurrentDirectory directory(mFolder.path());
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), "");
    mFolder.write(".bat", "");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), ".bat");
    mFolder.write(".com", "");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), ".com");
    mFolder.write("target.exe", "");
    mFolder.write(".com.lnk", "!<symlink>target");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), mFolder.utf8("./target.exe"));
    // The name stays whole because it begins with a slash.
}

TEST_F(ResolveCygwinPathTest, ARelativeNameStaysRelative) {
    const std::string file = mWorld.write("/tools/bin/ls.exe");
    const CurrentDirectory directory(mWorld.root() / "tools");
    EXPECT_EQ(resolveCygwinPath("bin/ls"), "bin/ls.exe");
    EXPECT_EQ(resolveCygwinPath("bin\\ls"), "bin/ls.exe");
    // The same for any name that doesn't begin with a slash, in any case of letters.
    EXPECT_EQ(resolveCygwinPath(file), "bin/ls.exe");
    std::string upper = mWorld.native("/tools");
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    ASSERT_NE(upper, mWorld.native("/tools"));
    EXPECT_EQ(resolveCygwinPath(upper + "/bin/ls"), "bin/ls.exe");
    EXPECT_EQ(resolveCygwinPath("/tools/bin/ls"), file);
}

TEST_F(ResolveCygwinPathTest, ALinkIsFollowedFromARelativeName) {
    mWorld.write("/tools/bin/real.exe");
    mWorld.write("/bin/real.exe");
    mWorld.link("/tools/link", "bin/real");
    mWorld.link("/tools/bin/out", "../../bin/real");
    const CurrentDirectory directory(mWorld.root() / "tools");
    EXPECT_EQ(resolveCygwinPath("link"), "./bin/real.exe");
    EXPECT_EQ(resolveCygwinPath("bin/out"), "bin/../../bin/real.exe");
}

TEST_F(ResolveCygwinPathTest, TheDirectoryIsCutOffOnlyBeforeASeparatorAndMore) {
    create_directory(mWorld.root() / "tools2");
    const std::string beside = mWorld.write("/tools2/ls.exe");
    const CurrentDirectory directory(mWorld.root() / "tools");
    EXPECT_EQ(resolveCygwinPath(mWorld.native("/tools2/ls")), beside);
    EXPECT_EQ(resolveCygwinPath("../tools2/ls"), "../tools2/ls.exe");
    const std::string own = mWorld.native("/tools");
    EXPECT_EQ(resolveCygwinPath(own), own);
    mWorld.write("/tools/ls.exe");
    {
        const EnvironmentScope answer("NBCC_CYGPATH_ANSWER", own + "\\ls");
        EXPECT_EQ(resolveCygwinPath("any"), "ls.exe");
    }
    mWorld.write("/tools/.exe");
    const EnvironmentScope answer("NBCC_CYGPATH_ANSWER", own + "/");
    EXPECT_EQ(resolveCygwinPath("any"), ".exe") << "cut to nothing";
}

TEST_F(ResolveCygwinPathTest, CygpathGetsSlashesAndNoBackslashAtTheEnd) {
    const RecordedStarts starts;
    static_cast<void>(resolveCygwinPath(R"(/tools\bin\ls\)"));
    EXPECT_EQ(linesOf(starts), Texts({"cygpath -m /tools/bin/ls"}));
}

TEST_F(ResolveCygwinPathTest, ANameThatCygpathDoesNotKnowIsNoFile) {
    const RecordedStarts starts;
    EXPECT_EQ(resolveCygwinPath("/none/ls"), "");
    mWorld.link("/tools/out", "/none/x");
    const CygwinScope cygwin;
    EXPECT_EQ(resolveCygwinPath("/tools/out"), "");
    EXPECT_EQ(starts.last().line, L"cygpath -m /none/x");
}

TEST_F(ResolveCygwinPathTest, ATargetFromTheRootIsRelativeToTheDriveExceptInCygwinMode) {
    mWorld.link("/tools/link", "/bin/real");
    const std::string file = mWorld.write("/bin/real.exe");
    {
        const RecordedStarts starts;
        EXPECT_EQ(resolveCygwinPath("/tools/link"), "");
        EXPECT_EQ(toUtf8(starts.last().line),
                  "cygpath -m " + mWorld.native("").substr(0, 2) + "/bin/real");
    }
    const CygwinScope cygwin;
    EXPECT_EQ(resolveCygwinPath("/tools/link"), file);
}

}  // namespace
