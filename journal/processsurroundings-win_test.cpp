#include "journal/processsurroundings-win.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;
using journal::ProcessSurroundings;

class ProcessSurroundingsTest : public testing::Test {
protected:
    std::string content() const {
        std::ifstream file(mName, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TempFolder mFolder;
    std::filesystem::path mName = mFolder.path() / "j.jsonl";
    ProcessSurroundings mSurroundings{mName.wstring()};
};

TEST_F(ProcessSurroundingsTest, TheFileIsMadeAndGrows) {
    EXPECT_EQ(mSurroundings.append("a\n"), "");
    EXPECT_EQ(mSurroundings.append("b\n"), "");
    EXPECT_EQ(content(), "a\nb\n");
}

TEST_F(ProcessSurroundingsTest, AFileThatIsThereKeepsItsContent) {
    static_cast<void>(mFolder.write("j.jsonl", "old\n"));
    EXPECT_EQ(mSurroundings.append("new\n"), "");
    EXPECT_EQ(content(), "old\nnew\n");
}

TEST_F(ProcessSurroundingsTest, AFileThatCannotBeOpenedIsTriedAgain) {
    create_directory(mName);
    EXPECT_TRUE(mSurroundings.append("a\n").starts_with("CreateFile: "));
    remove(mName);
    EXPECT_EQ(mSurroundings.append("b\n"), "");
    EXPECT_EQ(content(), "b\n");
}

/// Fails to write, as to a drive without a medium, which Windows may show in a dialog.
class MissingMedium {
public:
    MissingMedium() : mCall("WriteFile", write) {}

    static inline DWORD sMode = 0;  ///< of the thread, at the last write

private:
    static BOOL WINAPI write(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) {
        sMode = GetThreadErrorMode();
        SetLastError(ERROR_NOT_READY);
        return FALSE;
    }

    ReplacedCall<decltype(WriteFile)> mCall;
};

TEST_F(ProcessSurroundingsTest, AMissingMediumShowsNoDialog) {
    const DWORD before = GetThreadErrorMode();
    ASSERT_EQ(before & SEM_FAILCRITICALERRORS, 0U);
    {
        const MissingMedium missing;
        EXPECT_TRUE(mSurroundings.append("a\n").ends_with("(21)"));
    }
    EXPECT_EQ(MissingMedium::sMode, before | SEM_FAILCRITICALERRORS);
    EXPECT_EQ(GetThreadErrorMode(), before);
}

TEST_F(ProcessSurroundingsTest, AFullDiskIsReportedUntilThereIsRoom) {
    {
        const RefusedCall<decltype(WriteFile)> full("WriteFile", ERROR_DISK_FULL);
        EXPECT_TRUE(mSurroundings.append("a\n").ends_with("(112)"));
    }
    EXPECT_EQ(mSurroundings.append("b\n"), "");
    EXPECT_EQ(content(), "b\n");
}

/// Writes half of what is asked for.
class HalfWrites {
public:
    HalfWrites() : mCall("WriteFile", write) { sOriginal = mCall.original(); }

private:
    static BOOL WINAPI write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                             LPOVERLAPPED overlapped) {
        return sOriginal(file, data, size / 2, written, overlapped);
    }

    static decltype(WriteFile)* sOriginal;
    ReplacedCall<decltype(WriteFile)> mCall;
};
decltype(WriteFile)* HalfWrites::sOriginal;

TEST_F(ProcessSurroundingsTest, WhatIsLeftOfALineIsALineOfItsOwn) {
    {
        const HalfWrites half;
        EXPECT_NE(mSurroundings.append("123456\n"), "");
    }
    EXPECT_EQ(mSurroundings.append("next\n"), "");
    EXPECT_EQ(mSurroundings.append("last\n"), "");
    EXPECT_EQ(content(), "123\nnext\nlast\n");
}

TEST_F(ProcessSurroundingsTest, WholeLinesThatAreLeftNeedNoEnd) {
    {
        const HalfWrites half;
        EXPECT_NE(mSurroundings.append("1234\n5678\n"), "");
    }
    EXPECT_EQ(mSurroundings.append("next\n"), "");
    EXPECT_EQ(content(), "1234\nnext\n");
}

TEST_F(ProcessSurroundingsTest, WhatIsLeftOfAnothersLineIsALineOfItsOwn) {
    ProcessSurroundings other(mName.wstring());
    EXPECT_EQ(other.append("first\n"), "");
    {
        const HalfWrites half;
        EXPECT_NE(mSurroundings.append("123456\n"), "");
    }
    EXPECT_EQ(other.append("next\n"), "");
    EXPECT_EQ(mSurroundings.append("last\n"), "");
    EXPECT_EQ(content(), "first\n123\nnext\nlast\n");
}

TEST_F(ProcessSurroundingsTest, AFileWhoseLastLineHasNoEndGetsOne) {
    static_cast<void>(mFolder.write("j.jsonl", "old"));
    EXPECT_EQ(mSurroundings.append("new\n"), "");
    EXPECT_EQ(mSurroundings.append("last\n"), "");
    EXPECT_EQ(content(), "old\nnew\nlast\n");
}

TEST_F(ProcessSurroundingsTest, AFileThatCannotBeReadIsTakenForWhole) {
    static_cast<void>(mFolder.write("j.jsonl", "old"));
    const RefusedCall<decltype(ReadFile)> unreadable("ReadFile", ERROR_ACCESS_DENIED);
    EXPECT_EQ(mSurroundings.append("new\n"), "");
    EXPECT_EQ(content(), "oldnew\n");
}

TEST_F(ProcessSurroundingsTest, TheFileIsOpenedAnewAfterAFailure) {
    EXPECT_EQ(mSurroundings.append("a\n"), "");
    {
        const RefusedCall<decltype(WriteFile)> gone("WriteFile", ERROR_NETNAME_DELETED);
        EXPECT_TRUE(mSurroundings.append("b\n").ends_with("(64)"));
    }
    const auto moved = mFolder.path() / "moved.jsonl";
    rename(mName, moved);
    EXPECT_EQ(mSurroundings.append("c\n"), "");
    EXPECT_EQ(content(), "c\n");
}

TEST_F(ProcessSurroundingsTest, ErrorNumbersAreThoseOfTheThread) {
    const journal::ErrorNumbers numbers = {1234, EDOM};
    mSurroundings.setErrors(numbers);
    EXPECT_EQ(GetLastError(), 1234U);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(mSurroundings.errors(), numbers);
    std::thread([this] { EXPECT_EQ(mSurroundings.errors().ofSystem, ERROR_SUCCESS); }).join();
}

TEST_F(ProcessSurroundingsTest, OthersMayReadAndRemoveTheFile) {
    EXPECT_EQ(mSurroundings.append("a\n"), "");
    EXPECT_EQ(content(), "a\n");
    EXPECT_TRUE(remove(mName));
}

TEST_F(ProcessSurroundingsTest, LinesOfManyThreadsDoNotMix) {
    constexpr int threads = 4;
    constexpr int lines = 500;
    {
        std::vector<std::jthread> writers;
        writers.reserve(threads);
        for (int thread = 0; thread < threads; ++thread) {
            writers.emplace_back([&, thread] {
                // Each has the file open for itself, as other processes have.
                ProcessSurroundings own(mName.wstring());
                for (int i = 0; i < lines; ++i) {
                    EXPECT_EQ(own.append(std::string(static_cast<size_t>(i), 'x') + ' ' +
                                         std::to_string(thread) + '\n'),
                              "");
                }
            });
        }
    }
    std::ifstream file(mName);
    std::multiset<std::string> found;
    for (std::string line; std::getline(file, line);) {
        found.insert(line);
    }
    std::multiset<std::string> expected;
    for (int thread = 0; thread < threads; ++thread) {
        for (int i = 0; i < lines; ++i) {
            expected.insert(std::string(static_cast<size_t>(i), 'x') + ' ' +
                            std::to_string(thread));
        }
    }
    EXPECT_EQ(found, expected);
}

TEST_F(ProcessSurroundingsTest, TheClockShowsTheTime) {
    const auto before = static_cast<int64_t>(std::time(nullptr));
    const int64_t clock = mSurroundings.clock() / 1'000'000'000;
    const auto after = static_cast<int64_t>(std::time(nullptr));
    EXPECT_GE(clock, before - 1);
    EXPECT_LE(clock, after + 1);
}

TEST_F(ProcessSurroundingsTest, TheClockGoesOnWhileTimePasses) {
    const int64_t before = mSurroundings.clock();
    Sleep(20);
    EXPECT_GE(mSurroundings.clock() - before, 15'000'000);
}

TEST_F(ProcessSurroundingsTest, ProcessAndThreadHaveTheNumbersOfWindows) {
    EXPECT_EQ(mSurroundings.process(), GetCurrentProcessId());
    EXPECT_EQ(mSurroundings.thread(), GetCurrentThreadId());
}

}  // namespace
