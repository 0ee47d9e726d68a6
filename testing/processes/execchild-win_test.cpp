#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/eventually.h"
#include "testing/processes/childprocess-win.h"
#include "testing/processes/startedchild-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

const std::filesystem::path childProgram = testing_support::testProgramFolder() / "execchild.exe";

ChildResult run(std::vector<std::string> actions) {
    return testing_support::runChild({.program = childProgram, .arguments = std::move(actions)});
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// An inheritable handle of a file, which is created if it doesn't exist.
class OpenFile {
public:
    explicit OpenFile(const std::filesystem::path& path) {
        SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        mHandle =
            CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_ALWAYS, 0, nullptr);
    }
    ~OpenFile() { CloseHandle(mHandle); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    HANDLE get() const { return mHandle; }

private:
    HANDLE mHandle;
};

TEST(ExecChildTest, ItWritesThePatternInPiecesOfAnySize) {
    struct Row {
        size_t count;
        size_t piece;
    };
    for (const Row& row : {Row{0, 1}, Row{1, 1}, Row{26, 26}, Row{1000, 7}, Row{100001, 4096},
                           Row{3000000, 1048576}, Row{10, 1048576}}) {
        std::string expected;
        while (expected.size() < row.count) {
            expected += "abcdefghijklmnopqrstuvwxyz";
        }
        expected.resize(row.count);
        const std::string count = std::to_string(row.count);
        const std::string piece = std::to_string(row.piece);
        EXPECT_TRUE(run({"out", count, piece}).output == expected) << count << ' ' << piece;
        EXPECT_TRUE(run({"err", count, piece}).error == expected) << count << ' ' << piece;
    }
}

TEST(ExecChildTest, ItDoesOneThingAfterTheOther) {
    const ChildResult result = run({"say", "a", "complain", "b", "sleep", "0", "say", "c\r\n",
                                    "complain", "d\n", "exit", "5", "say", "e"});
    EXPECT_EQ(result.output, "ac\r\n");
    EXPECT_EQ(result.error, "bd\n");
    EXPECT_EQ(result.exitCode, 5U);
}

TEST(ExecChildTest, ItSaysTextInUtf8OrUtf16) {
    const ChildResult result = run({"say", "\xc3\xa4", "say16", "\xc3\xa4!", "complain", "\xc3\xa4",
                                    "complain16", "\xf0\x9f\x98\x80"});
    EXPECT_EQ(result.output, std::string("\xc3\xa4\xe4\0!\0", 6));
    EXPECT_EQ(result.error, std::string("\xc3\xa4\x3d\xd8\x00\xde", 6));
}

TEST(ExecChildTest, AnyExitCodeIsPossible) {
    struct Row {
        const char* word;
        DWORD code;
    };
    for (const Row& row : {Row{"0", 0}, Row{"1", 1}, Row{"259", 259}, Row{"-1", 0xFFFFFFFF},
                           Row{"-1073741819", 0xC0000005}, Row{"0xC000013A", 0xC000013A}}) {
        EXPECT_EQ(run({"exit", row.word}).exitCode, row.code) << row.word;
    }
    EXPECT_EQ(run({}).exitCode, 0U);
}

TEST(ExecChildTest, WhatItCannotUnderstandEndsItWithAMessage) {
    const std::vector<std::vector<std::string>> rows = {
        {"dance"},         {"say"},        {"out", "1"},   {"out", "1", "0"},
        {"sleep", "long"}, {"exit", "1x"}, {"exit", "0x"}, {"spawn-and", "3", "exit", "0"}};
    for (const std::vector<std::string>& row : rows) {
        const ChildResult result = run(row);
        EXPECT_EQ(result.exitCode, 120U) << row[0];
        EXPECT_TRUE(result.error.starts_with("execchild: ")) << result.error;
    }
}

TEST(ExecChildTest, WhatItCannotDoEndsItWithAMessage) {
    const TempFolder folder;
    const ChildResult result = run({"make", folder.utf8("none/file"), "exit", "0"});
    EXPECT_EQ(result.exitCode, 121U);
    EXPECT_EQ(result.error, "execchild: " + folder.utf8("none/file") + ": error 3\n");
}

TEST(ExecChildTest, ItCopiesItsInput) {
    const TempFolder folder;
    const std::string content = std::string("a\r\n\0\x1a\xff", 6) + std::string(200000, 'x');
    folder.write("in", content);
    {
        const OpenFile input(folder.path() / "in");
        const OpenFile output(folder.path() / "out");
        const StartedChild child(
            {.actions = {"copy"}, .input = input.get(), .output = output.get()});
        EXPECT_EQ(child.wait(), 0U);
    }
    EXPECT_TRUE(contentOf(folder.path() / "out") == content);
}

TEST(ExecChildTest, ItReportsItsHandles) {
    EXPECT_EQ(run({"handles"}).output, "char\npipe\npipe\nno files\n");
    struct Row {
        const char* error;
        const char* words;
    };
    for (const Row& row : {Row{"out", "disk 7\ndisk 3\ndisk 0\nsame file\n"},
                           Row{"err", "disk 7\ndisk 3\ndisk 0\ndifferent files\n"}}) {
        const TempFolder folder;
        {
            const OpenFile input(folder.path() / "in");
            const OpenFile output(folder.path() / "out");
            const OpenFile error(folder.path() / row.error);
            SetFilePointer(input.get(), 7, nullptr, FILE_BEGIN);
            SetFilePointer(output.get(), 3, nullptr, FILE_BEGIN);
            const StartedChild child({.actions = {"handles"},
                                      .input = input.get(),
                                      .output = output.get(),
                                      .error = error.get()});
            EXPECT_EQ(child.wait(), 0U);
        }
        EXPECT_EQ(contentOf(folder.path() / "out").substr(3), row.words);
    }
}

TEST(ExecChildTest, ItReportsItsEnvironment) {
    const ChildRun child = {
        .program = childProgram,
        .arguments = {"variable", "NBCC_ONE", "say", "|", "variable", "NBCC_NONE", "say", "|\n",
                      "environment"},
        .environment = {{"NBCC_ONE", "\xc3\xa4 1"}, {"NBCC_NONE", std::nullopt}}};
    const std::string output = testing_support::runChild(child).output;
    EXPECT_TRUE(output.starts_with("\xc3\xa4 1|(not set)|\n")) << output;
    EXPECT_NE(output.find("\nNBCC_ONE=\xc3\xa4 1\n"), std::string::npos) << output;
}

TEST(ExecChildTest, ItReportsOnlyItsFolder) {
    const TempFolder folder;
    const std::string output =
        testing_support::runChild(
            {.program = childProgram, .arguments = {"folder"}, .folder = folder.path()})
            .output;
    EXPECT_TRUE(std::filesystem::equivalent(output, folder.path())) << output;
}

TEST(ExecChildTest, ItReportsItsCommandLineAsItCame) {
    EXPECT_EQ(run({"say", "x", "arguments", "a b", "dance"}).output,
              "x\"" + childProgram.string() + R"(" "say" "x" "arguments" "a b" "dance")");
}

TEST(ExecChildTest, ItWaitsForFilesAndMakesThem) {
    const TempFolder folder;
    const auto there = [&](const char* name) { return exists(folder.path() / name); };
    const StartedChild child(
        {.actions = {"pid", folder.utf8("pid"), "await", folder.utf8("go"), "make",
                     folder.utf8("made"), "await-gone", folder.utf8("go"), "exit", "7"}});
    // The child that moves the file into place still holds it open for a moment.
    EXPECT_TRUE(eventually(
        [&] { return contentOf(folder.path() / "pid") == std::to_string(child.pid()); }));
    EXPECT_FALSE(there("made"));
    folder.write("go", "");
    EXPECT_TRUE(eventually([&] { return there("made"); }));
    std::filesystem::remove(folder.path() / "go");
    EXPECT_EQ(child.wait(), 7U);
}

TEST(ExecChildTest, AGrandchildOutlivesItsParentAndHoldsNoHandleOfIt) {
    const TempFolder folder;
    // Returns once no process has the pipes open any more.
    EXPECT_EQ(
        run({"say", "x", "spawn", "await", folder.utf8("go"), "make", folder.utf8("made")}).output,
        "x");
    EXPECT_FALSE(exists(folder.path() / "made"));
    folder.write("go", "");
    EXPECT_TRUE(eventually([&] { return exists(folder.path() / "made"); }));
}

TEST(ExecChildTest, AfterAGrandchildsOutputItGoesOnWithItsOwn) {
    const TempFolder folder;
    EXPECT_EQ(run({"spawn-and", "2", "make", folder.utf8("made one"), "say", "x", "spawn-and", "2",
                   "make", folder.utf8("other"), "say", "y"})
                  .output,
              "xy");
    EXPECT_TRUE(eventually([&] { return exists(folder.path() / "made one"); }));
    EXPECT_TRUE(eventually([&] { return exists(folder.path() / "other"); }));
}

}  // namespace
