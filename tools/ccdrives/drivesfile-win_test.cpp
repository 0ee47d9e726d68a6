#include "tools/ccdrives/drivesfile-win.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "tools/ccdrives/drivesread-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace ccdrives;
using namespace testing_support;

template <class Step>
std::string problemOf(Step step) {
    try {
        static_cast<void>(step());
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(none)";
}

void expectProblem(const std::string& problem, const std::string& beginning,
                   const std::string& end) {
    EXPECT_TRUE(problem.starts_with(beginning)) << problem;
    EXPECT_TRUE(problem.ends_with(end)) << problem;
}

size_t fileCount(const std::filesystem::path& folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                             std::filesystem::directory_iterator()));
}

constexpr const char* advice = "; name another list by NBCLEARCASE_DRIVES";

TEST(EditDrivesFileTest, TheEditReplacesTheListAndLeavesNoOtherFile) {
    const TempFolder folder;
    const std::string file = folder.write("gr\xc3\xbcn.txt", "a");
    editDrivesFile(file, [](const std::string& text) { return text + "b"; });
    EXPECT_EQ(readDrivesFile(file), "ab");
    EXPECT_EQ(fileCount(folder.path()), 1U);
}

TEST(EditDrivesFileTest, AMissingFolderIsCreated) {
    const TempFolder folder;
    const std::string file = folder.utf8("sub/drives.txt");
    editDrivesFile(file, [](const std::string& text) { return text + "b"; });
    EXPECT_EQ(readDrivesFile(file), "b");
    expectProblem(problemOf([&] {
                      editDrivesFile(folder.utf8("no/no/a.txt"),
                                     [](const std::string& text) { return text + 'b'; });
                      return 0;
                  }),
                  "can't edit '" + folder.utf8("no/no/a.txt") + "': ", advice);
}

TEST(EditDrivesFileTest, AListThatStaysAsItIsIsNotWritten) {
    const TempFolder folder;
    editDrivesFile(folder.utf8("a.txt"), [](const std::string& text) { return text; });
    editDrivesFile(folder.utf8("sub/a.txt"), [](const std::string& text) { return text; });
    EXPECT_EQ(fileCount(folder.path()), 0U);
}

TEST(EditDrivesFileTest, AnEditThatChangesNothingNeedsNoTurn) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "a");
    create_directory(folder.path() / turnFile("a.txt"));  // so that there is no turn
    editDrivesFile(file, [](const std::string& text) { return text; });
}

TEST(EditDrivesFileTest, AFileOfTheUserWithASimilarNameStays) {
    const TempFolder folder;
    const std::string lock = folder.write("a.txt.lock", "mine");
    editDrivesFile(folder.utf8("a.txt"), [](const std::string& text) { return text + "b"; });
    EXPECT_EQ(readDrivesFile(lock), "mine");
    EXPECT_EQ(fileCount(folder.path()), 2U);
}

TEST(EditDrivesFileTest, AListThatIsReadOnlyIsNotChanged) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "a");
    const std::wstring name = toWide(file);
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(problemOf([&] {
                  editDrivesFile(file, [](const std::string& text) { return text + "b"; });
                  return 0;
              }),
              "'" + file +
                  "' is read-only; change that, or name another list by "
                  "NBCLEARCASE_DRIVES");
    editDrivesFile(file, [](const std::string& text) { return text; });
    EXPECT_EQ(readDrivesFile(file), "a");
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(fileCount(folder.path()), 1U);
}

TEST(EditDrivesFileTest, WhatTheEditThrowsPassesThrough) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "a");
    EXPECT_EQ(problemOf([&] {
                  editDrivesFile(file, [](const std::string&) -> std::string {
                      throw std::runtime_error("no");
                  });
                  return 0;
              }),
              "no");
    EXPECT_EQ(readDrivesFile(file), "a");
    EXPECT_EQ(fileCount(folder.path()), 1U);
}

TEST(EditDrivesFileTest, EditsAtOnceAreAllInTheList) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "");
    std::atomic<bool> isDone{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!isDone) {
            // Each edit appends a line of three characters.
            torn += readDrivesFile(file).size() % 3 == 0 ? 0 : 1;
            // A file that is open all the time couldn't be replaced.
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    constexpr int count = 4;
    std::vector<std::thread> writers;
    writers.reserve(count);
    for (int i = 0; i < count; ++i) {
        writers.emplace_back([&] {
            for (int k = 0; k < 10; ++k) {
                editDrivesFile(file, [](const std::string& text) { return text + "x\r\n"; });
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    isDone = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(readDrivesFile(file).size(), 4U * 10 * 3);
    EXPECT_EQ(fileCount(folder.path()), 1U);
}

TEST(EditDrivesFileTest, AFileThatCannotBeTheTurnsIsReported) {
    const TempFolder folder;
    create_directory(std::filesystem::path(toWide(turnFile(folder.utf8("a.txt")))));
    expectProblem(problemOf([&] {
                      editDrivesFile(folder.utf8("a.txt"),
                                     [](const std::string& text) { return text + 'b'; });
                      return 0;
                  }),
                  "can't edit '" + folder.utf8("a.txt") + "': ", advice);
}

TEST(EditDrivesFileTest, ATurnThatNeverEndsIsReported) {
    const TempFolder folder;
    // Without the pauses, which are ten seconds in all.
    const ReplacedCall<decltype(Sleep)> sleep("Sleep", [](DWORD) {});
    const std::string file = folder.write("a.txt", "a");
    int calls = 0;
    editDrivesFile(file, [&](const std::string& text) {
        if (++calls == 2) {  // the first one only shows that something changes
            expectProblem(problemOf([&] {
                              editDrivesFile(file,
                                             [](const std::string& inner) { return inner + 'b'; });
                              return 0;
                          }),
                          "can't edit '" + file + "': ",
                          "; try again, or name another list by NBCLEARCASE_DRIVES");
        }
        return text + 'c';
    });
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(readDrivesFile(file), "ac");
}

/// Replaces CreateFileW: the file of a turn is denied in two rows, each shorter than what ends the
/// edit, with another process's turn between them.
class TwoRowsOfDenials {
public:
    TwoRowsOfDenials() : mCall("CreateFileW", create), mSleep("Sleep", [](DWORD) {}) {
        sOriginal = mCall.original();
        sCount = 0;
    }

private:
    using Create = decltype(CreateFileW);

    static HANDLE WINAPI create(LPCWSTR name, DWORD access, DWORD share,
                                LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                                HANDLE pattern) {
        constexpr int row = 40;
        if ((flags & FILE_FLAG_DELETE_ON_CLOSE) != 0 && ++sCount <= 2 * row + 1) {
            SetLastError(sCount == row + 1 ? ERROR_SHARING_VIOLATION : ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        }
        return sOriginal(name, access, share, security, disposition, flags, pattern);
    }

    static inline Create* sOriginal = nullptr;
    static inline int sCount = 0;
    ReplacedCall<Create> mCall;
    ReplacedCall<decltype(Sleep)> mSleep;
};

TEST(EditDrivesFileTest, OnlyDenialsInARowEndTheEdit) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "a");
    {
        const TwoRowsOfDenials denials;
        editDrivesFile(file, [](const std::string& text) { return text + 'b'; });
    }
    EXPECT_EQ(readDrivesFile(file), "ab");
}

}  // namespace
