// Cygwin commands whose program file is a symbolic link, by its system attribute.

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/processes/commandtest-win.h"
#include "testing/processes/posixworld-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

class ExecCygwinLinkTest : public CommandTest {
protected:
    static constexpr uint16_t version17 = 1007;

    void SetUp() override {
        CommandTest::SetUp();
        mExec->cygwinVersion() = std::tuple(version17, 0);
    }
    /// Makes a file with the attribute that leads to `target`, and returns the name that the search
    /// finds.
    std::string systemFile(const std::string& name, const std::string& target) const {
        const std::wstring file = toWide(mWorld.link(name, target));
        mWorld.write(name, "!<symlink>");
        EXPECT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_SYSTEM));
        std::string found = toUtf8(file);
        std::replace(found.begin(), found.end(), '/', '\\');
        return found;
    }
    static Exec::RunInfo cygwinInfo(const std::string& line) {
        Exec::RunInfo info;
        info.mDirectArgv = {line};
        info.mCygwinCommand = true;
        return info;
    }
    CommandResult run(const std::string& line) {
        Exec::RunInfo info = cygwinInfo(line);
        return mExec->run(info, mWorld.native("/tools/bin"));
    }

    PosixWorld mWorld{mFolder};
    std::string mReal = mWorld.program("/bin/real.exe");
    /// The target of the links, relative to /tools/bin.
    std::string mTarget = mWorld.native("/tools/bin/../../bin/real.exe");
};

TEST_F(ExecCygwinLinkTest, TheTargetRunsInThePlaceOfTheLink) {
    // Run from another directory, so that the name stays whole.
    const std::string link = systemFile("/tools/bin/tool.exe", "../../bin/real");
    const RecordedStarts starts;
    Exec::RunInfo info = cygwinInfo("\"" + link + "\" \"a b\"  c");
    EXPECT_EQ(mExec->run(info, mWorld.native("/bin")).output, "\"" + mTarget + "\" \"a b\"  c\n");
    EXPECT_EQ(starts.last().program, toWide(mTarget));
    EXPECT_EQ(starts.last().line, toWide("\"" + mTarget + "\" \"a b\"  c"));
    EXPECT_EQ(mExec->mPathCache.at(link), mTarget);
}

TEST_F(ExecCygwinLinkTest, TheNewNameIsInThePlaceOfTheWholeFirstWord) {
    systemFile("/tools/bin/tool.exe", "../../bin/real");
    systemFile("/tools/bin/my tool.exe", "any");
    mExec
        ->mPathCache[toUtf8((mWorld.root() / "tools/bin/my tool.exe").make_preferred().wstring())] =
        mReal;
    struct Row {
        const char* line;
        std::string started;
    };
    const std::string relative = "\"./../../bin/real.exe\"";
    const std::string absolute = "\"" + mReal + "\"";
    for (const Row& row : {
             Row{"tool", relative},
             Row{"tool.exe  a", relative + "  a"},
             Row{"tool\ta", relative + "\ta"},
             Row{"\"tool\" \"a b\"", relative + " \"a b\""},
             Row{"\"my tool\" \"a b\"", absolute + " \"a b\""},
             Row{"\"my tool\"more \"a b\"", absolute + " \"a b\""},
             // A leading blank makes the first word empty.
             Row{" tool a", relative + " tool a"},
         }) {
        EXPECT_EQ(run(row.line).output, row.started + "\n") << row.line;
    }
}

TEST_F(ExecCygwinLinkTest, WhatIsNoLinkOfACygwinCommandStaysAsItIs) {
    const std::string link = systemFile("/tools/bin/tool.exe", "../../bin/real");
    struct Row {
        const char* what;
        bool isCygwinCommand;
        uint16_t version;
        DWORD attributes;
        bool isFollowed;
    };
    for (const Row& row : {
             Row{"a link", true, version17, FILE_ATTRIBUTE_SYSTEM, true},
             Row{"with other attributes", true, version17,
                 FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_READONLY, true},
             Row{"a later version", true, 3004, FILE_ATTRIBUTE_SYSTEM, true},
             Row{"another command", false, version17, FILE_ATTRIBUTE_SYSTEM, false},
             Row{"an older version", true, 1006, FILE_ATTRIBUTE_SYSTEM, false},
             Row{"no version", true, 0, FILE_ATTRIBUTE_SYSTEM, false},
             Row{"no system file", true, version17, FILE_ATTRIBUTE_HIDDEN, false},
         }) {
        SetFileAttributesW(toWide(link).c_str(), row.attributes);
        mExec->reset();
        mExec->cygwinVersion() = std::tuple(row.version, 0);
        // A denial of the command's first start ends the run.
        const RecordedStarts starts(
            row.isFollowed ? std::deque<DWORD>{NO_ERROR, NO_ERROR, NO_ERROR, ERROR_ACCESS_DENIED}
                           : std::deque<DWORD>{ERROR_ACCESS_DENIED});
        Exec::RunInfo info = cygwinInfo("tool a");
        info.mCygwinCommand = row.isCygwinCommand;
        EXPECT_EQ(mExec->run(info, mWorld.native("/tools/bin")).code, Exec::failureCode)
            << row.what;
        EXPECT_EQ(starts.calls().size(), row.isFollowed ? 4U : 1U) << row.what;
        EXPECT_EQ(toUtf8(*starts.last().program), row.isFollowed ? "./../../bin/real.exe" : link)
            << row.what;
        EXPECT_EQ(toUtf8(starts.last().line),
                  row.isFollowed ? "\"./../../bin/real.exe\" a" : "tool a")
            << row.what;
    }
    SetFileAttributesW(toWide(link).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(ExecCygwinLinkTest, ANamedProgramIsNotLookedAt) {
    Exec::RunInfo info = cygwinInfo("any");
    info.mProgram = systemFile("/tools/bin/tool.exe", "../../bin/real");
    const RecordedStarts starts({ERROR_ACCESS_DENIED});
    EXPECT_EQ(mExec->run(info).code, Exec::failureCode);
    EXPECT_EQ(starts.calls().size(), 1U);
    EXPECT_EQ(toUtf8(*starts.last().program), info.mProgram);
    EXPECT_EQ(starts.last().line, L"any");
}

TEST_F(ExecCygwinLinkTest, ALinkThatMeansItselfLeavesTheLine) {
    const std::string link = systemFile("/tools/bin/tool.exe", "any");
    mExec->mPathCache[link] = link;
    const RecordedStarts starts({ERROR_ACCESS_DENIED});
    EXPECT_EQ(run("\"tool\" a").code, Exec::failureCode);
    EXPECT_EQ(toUtf8(*starts.last().program), link);
    EXPECT_EQ(starts.last().line, L"\"tool\" a");
}

TEST_F(ExecCygwinLinkTest, ALinkThatLeadsNowhereLeavesNoNameAndTheCommandIsNotFound) {
    systemFile("/tools/bin/tool.exe", "nowhere");
    const RecordedStarts starts;
    const CommandResult result = run("tool \"a b\"");
    EXPECT_EQ(result.code, Exec::notFoundCode);
    EXPECT_EQ(result.error, "'tool \"a b\"': Command not found\n");
    // After cygpath, readlink and cygpath. The quotes of the empty name are gone.
    ASSERT_GT(starts.calls().size(), 3U);
    EXPECT_EQ(starts.calls()[3].program, std::nullopt);
    EXPECT_EQ(starts.calls()[3].line, L" \"a b\"");
}

TEST_F(ExecCygwinLinkTest, ALinkIsTranslatedOnce) {
    systemFile("/tools/bin/tool.exe", "../../bin/real");
    EXPECT_EQ(run("tool").code, 0);
    EXPECT_EQ(mExec->mPathCacheMisses, 1U);
    EXPECT_EQ(mExec->mPathCacheHits, 0U);
    const RecordedStarts starts;
    EXPECT_EQ(run("tool").code, 0);
    EXPECT_EQ(starts.calls().size(), 1U);
    EXPECT_EQ(mExec->mPathCacheHits, 1U);
}

TEST_F(ExecCygwinLinkTest, ALinkToAScriptRunsByItsInterpreter) {
    const std::string shell = mWorld.program("/bin/sh.exe");
    const std::string script = mWorld.write("/bin/script.x");
    systemFile("/tools/bin/tool.x", "../../bin/script.x");
    mExec->mPathCache["tool.x"] = script;
    // The attempt begins with the original line.
    EXPECT_EQ(run("tool.x a").output, shell + " " + script + " a\n");
}

}  // namespace
