// New names, and renaming and removing with further tries.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/processes/filechild-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/smallfile-win.h"

namespace {

using namespace testing_support;

uint64_t gTicks = 0;
DWORD gProcess = 0;

/// Until the scope ends, the clock shows `ticks`, and the process has the id `process`.
class SameStart {
public:
    SameStart(uint64_t ticks, DWORD process) {
        gTicks = ticks;
        gProcess = process;
    }

private:
    static void WINAPI time(LPFILETIME now) {
        now->dwLowDateTime = static_cast<DWORD>(gTicks);
        now->dwHighDateTime = static_cast<DWORD>(gTicks >> 32);
    }
    static DWORD WINAPI process() { return gProcess; }

    ReplacedCall<decltype(GetSystemTimeAsFileTime)> mTime{"GetSystemTimeAsFileTime", time};
    ReplacedCall<decltype(GetCurrentProcessId)> mProcess{"GetCurrentProcessId", process};
};

TEST(UniqueSuffixTest, TheFirstNumberComesFromTheClockAndTheProcess) {
    struct Row {
        uint64_t ticks;
        DWORD process;
        uint32_t value;
        uint32_t step;
    };
    const Row rows[] = {
        {100, 7, 107, 7},
        {0, 7, 7, 7},
        {0x100000005, 7, 12, 7},  // only 32 bits of the clock count
        {0xFFFFFFFF, 7, 8, 7},
        {0x7FFFFFFE, 7, 6, 7},
        {0x7FFFFFFF, 7, 7, 7},
        {100, 0x80000000, 101, 0x80000000},
        {100, 0xFFFFFFFF, 101, 0xFFFFFFFF},
        // Multiples of the modulus are not used as steps.
        {100, 0, 200, 100},
        {100, 0x7FFFFFFF, 200, 100},
        {100, 0xFFFFFFFE, 200, 100},
        {0, 0, 1, 1},
        {0x7FFFFFFF, 0x7FFFFFFF, 1, 1},
    };
    for (const Row& row : rows) {
        const SameStart start(row.ticks, row.process);
        UniqueSuffix suffix;
        suffix.advance();
        EXPECT_EQ(suffix.mValue, row.value) << row.ticks << ' ' << row.process;
        EXPECT_EQ(suffix.mStep, row.step) << row.ticks << ' ' << row.process;
    }
}

TEST(UniqueSuffixTest, EachFurtherNumberIsAStepOnModulo7fffffff) {
    struct Row {
        uint32_t value;
        uint32_t step;
        uint32_t next;
    };
    const Row rows[] = {
        {5, 3, 8},
        {0x7FFFFFFD, 1, 0x7FFFFFFE},
        {0x7FFFFFFE, 1, 0},
        {0x7FFFFFFE, 0x7FFFFFFE, 0x7FFFFFFD},
        {0x7FFFFFFE, 0xFFFFFFFD, 0x7FFFFFFD},  // the sum is beyond 32 bits
    };
    const SameStart start(1, 1);
    for (const Row& row : rows) {
        UniqueSuffix suffix{row.value, row.step};
        suffix.advance();
        EXPECT_EQ(suffix.mValue, row.next);
        EXPECT_EQ(suffix.mStep, row.step);
    }
}

TEST(UniqueNameTest, TheNumberIsSixDigitsOfFiveBits) {
    struct Row {
        uint32_t number;
        const char* name;
    };
    const Row rows[] = {
        {0, "x000000"},
        {1, "x000001"},
        {9, "x000009"},
        {10, "x00000A"},
        {31, "x00000V"},
        {32, "x000010"},
        {31 * 32 + 10, "x0000VA"},
        {1 << 25, "x100000"},
        {0x3FFFFFFF, "xVVVVVV"},
        {0x40000000, "x000000"},  // the highest bit is beyond them
        {0x7FFFFFFE, "xVVVVVU"},
    };
    for (const Row& row : rows) {
        const uint32_t before = (row.number + UniqueSuffix::modulus - 1) % UniqueSuffix::modulus;
        UniqueName name("x", UniqueSuffix{before, 1});
        EXPECT_EQ(name.next(), row.name) << row.number;
    }
}

TEST(UniqueNameTest, ThePrefixStaysAndEachNameIsOfTheNextNumber) {
    UniqueName name("c:/folder/\xC3\xA9", UniqueSuffix{30, 2});
    EXPECT_EQ(name.next(),
              "c:/folder/\xC3\xA9"
              "000010");
    EXPECT_EQ(name.next(),
              "c:/folder/\xC3\xA9"
              "000012");
}

TEST(UniqueNameTest, WithoutAStartTheNamesComeFromTheClockAndTheProcess) {
    const SameStart start(100, 1);
    UniqueName name("");
    EXPECT_EQ(name.next(), "000035");
    EXPECT_EQ(name.next(), "000036");
}

bool isDirectory(const std::string& path) {
    const DWORD attributes = GetFileAttributesW(System::unicodePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

TEST(MakeUniqueDirectoryTest, TheDirectoryIsThereUnderThePrefixAndSixCharacters) {
    const TempFolder folder;
    const std::string prefix = folder.utf8("\xE4\xB8\xAD-");
    const std::string path = makeUniqueDirectory(prefix);
    ASSERT_EQ(path.size(), prefix.size() + 6);
    EXPECT_EQ(path.substr(0, prefix.size()), prefix);
    EXPECT_EQ(path.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUV", prefix.size()),
              std::string::npos);
    EXPECT_TRUE(isDirectory(path));
}

TEST(MakeUniqueDirectoryTest, DirectoriesMadeInARowHaveDifferentNames) {
    const TempFolder folder;
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        const std::string path = makeUniqueDirectory(folder.utf8("d"));
        EXPECT_TRUE(isDirectory(path));
        EXPECT_TRUE(names.insert(path).second) << path;
    }
}

TEST(MakeUniqueDirectoryTest, NamesThatExistArePassedOver) {
    const TempFolder folder;
    const SameStart start(100, 1);
    ASSERT_TRUE(System::makeDirectory(folder.utf8("000035"), 0));
    folder.write("000036", "a file");
    EXPECT_EQ(makeUniqueDirectory(folder.utf8() + '/'), folder.utf8("000037"));
    EXPECT_EQ(makeUniqueDirectory(folder.utf8() + '/'), folder.utf8("000038"));
}

TEST(MakeUniqueDirectoryTest, AnyOtherFailureEndsItAndStaysInGetLastError) {
    const TempFolder folder;
    EXPECT_EQ(makeUniqueDirectory(folder.utf8("missing/d")), "");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    static int calls;
    calls = 0;
    const ReplacedCall<decltype(CreateDirectoryW)> refused(
        "CreateDirectoryW", [](LPCWSTR, LPSECURITY_ATTRIBUTES) -> BOOL {
            SetLastError(++calls < 3 ? ERROR_ALREADY_EXISTS : ERROR_ACCESS_DENIED);
            return FALSE;
        });
    EXPECT_EQ(makeUniqueDirectory(folder.utf8("d")), "");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(calls, 3);
}

TEST(MakeUniqueDirectoryTest, TwoProcessesAtOnceNeverGetTheSameName) {
    constexpr size_t nameCount = 100;
    const TempFolder folder;
    FileChild child("unique", {folder.utf8("d"), std::to_string(nameCount)});
    for (size_t i = 0; i < nameCount; ++i) {
        const std::string path = makeUniqueDirectory(folder.utf8("d"));
        ASSERT_NE(path, "");
        // The child marks its own directories.
        EXPECT_FALSE(System::exists(path + "/child"));
        EXPECT_TRUE(System::makeDirectory(path + "/parent", 0));
    }
    EXPECT_TRUE(child.wait());
    size_t ours = 0;
    size_t childs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        const bool isOurs = std::filesystem::exists(entry.path() / "parent");
        const bool isChilds = std::filesystem::exists(entry.path() / "child");
        EXPECT_NE(isOurs, isChilds) << entry.path();
        ours += isOurs ? 1 : 0;
        childs += isChilds ? 1 : 0;
    }
    EXPECT_EQ(ours, nameCount);
    EXPECT_EQ(childs, nameCount);
}

// Further tries. The first one fails with 1001, the second with 1002 and so on; then one succeeds.

constexpr DWORD firstFailure = 1001;

int gTries = 0;
int gFailures = 0;
std::vector<DWORD> gPauses;
std::vector<BOOL> gAlertable;
DWORD gMoveFlags = 0;

BOOL tryOnce() {
    if (++gTries > gFailures) {
        SetLastError(1);
        return TRUE;
    }
    SetLastError(firstFailure - 1 + static_cast<DWORD>(gTries));
    return FALSE;
}

class RetryingTest : public testing::Test {
protected:
    void failTimes(int failures) {
        gTries = 0;
        gFailures = failures;
        gPauses.clear();
        gAlertable.clear();
    }

private:
    static DWORD WINAPI sleep(DWORD time, BOOL isAlertable) {
        gPauses.push_back(time);
        gAlertable.push_back(isAlertable);
        return 0;
    }
    static BOOL WINAPI move(LPCWSTR, LPCWSTR, DWORD flags) {
        gMoveFlags = flags;
        return tryOnce();
    }
    static BOOL WINAPI deleteFile(LPCWSTR) { return tryOnce(); }
    static BOOL WINAPI removeNoDirectory(LPCWSTR) {
        SetLastError(ERROR_DIRECTORY);
        return FALSE;
    }

    ReplacedCall<decltype(SleepEx)> mSleep{"SleepEx", sleep};
    ReplacedCall<decltype(MoveFileExW)> mMove{"MoveFileExW", move};
    ReplacedCall<decltype(DeleteFileW)> mDelete{"DeleteFileW", deleteFile};
    ReplacedCall<decltype(RemoveDirectoryW)> mRemove{"RemoveDirectoryW", removeNoDirectory};
};

using Retrying = bool (*)();
const Retrying operations[] = {[] { return renameRetrying("c:/a", "c:/b"); },
                               [] { return removeRetrying("c:/a", false); }};

TEST_F(RetryingTest, SuccessAtOnceTakesNoPause) {
    for (const Retrying operation : operations) {
        failTimes(0);
        EXPECT_TRUE(operation());
        EXPECT_EQ(gTries, 1);
        EXPECT_TRUE(gPauses.empty());
    }
}

TEST_F(RetryingTest, EachFailureIsFollowedByATenthOfASecondAndAnotherTry) {
    for (const Retrying operation : operations) {
        failTimes(3);
        EXPECT_TRUE(operation());
        EXPECT_EQ(gTries, 4);
        EXPECT_EQ(gPauses, (std::vector<DWORD>{100, 100, 100}));
        EXPECT_EQ(gAlertable, (std::vector<BOOL>{FALSE, FALSE, FALSE}));
        EXPECT_EQ(GetLastError(), firstFailure);
    }
}

TEST_F(RetryingTest, TheLastOf600TriesMaySucceed) {
    for (const Retrying operation : operations) {
        failTimes(599);
        EXPECT_TRUE(operation());
        EXPECT_EQ(gTries, 600);
        EXPECT_EQ(GetLastError(), firstFailure);
    }
}

TEST_F(RetryingTest, After600TriesTheFailureIsThatOfTheFirst) {
    for (const Retrying operation : operations) {
        failTimes(1000);
        EXPECT_FALSE(operation());
        EXPECT_EQ(gTries, 600);
        EXPECT_EQ(gPauses, std::vector<DWORD>(599, 100));
        EXPECT_EQ(GetLastError(), firstFailure);
    }
}

TEST_F(RetryingTest, ARenameStaysOnItsVolume) {
    failTimes(0);
    EXPECT_TRUE(renameRetrying("c:/a", "c:/b"));
    EXPECT_EQ(gMoveFlags, static_cast<DWORD>(MOVEFILE_REPLACE_EXISTING));
}

TEST(RenameRetryingTest, AFileGetsItsNewName) {
    const TempFolder folder;
    const std::string path = folder.write("a", "text");
    EXPECT_TRUE(renameRetrying(path, folder.utf8("b")));
    EXPECT_FALSE(System::exists(path));
    EXPECT_TRUE(System::exists(folder.utf8("b")));
}

/// Ends the child at the first pause between two tries, which releases what it holds.
class [[nodiscard]] EndAtPause {
public:
    explicit EndAtPause(FileChild& child) : mSleep("SleepEx", end) { sChild = &child; }

private:
    static DWORD WINAPI end(DWORD, BOOL) {
        // The tests find out from the file whether the child held it.
        static_cast<void>(sChild->end());
        return 0;
    }

    static inline FileChild* sChild = nullptr;
    ReplacedCall<decltype(SleepEx)> mSleep;
};

TEST(RenameRetryingTest, AFileThatAnotherProcessHoldsForAWhileIsRenamedThen) {
    const TempFolder folder;
    const std::string path = folder.write("a", "text");
    FileChild child("hold", {path, "0"});
    ASSERT_FALSE(System::rename(path, folder.utf8("b"), false));
    const EndAtPause end(child);
    EXPECT_TRUE(renameRetrying(path, folder.utf8("b")));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_TRUE(System::exists(folder.utf8("b")));
}

TEST(RemoveRetryingTest, AFileThatAnotherProcessHoldsForAWhileIsRemovedThen) {
    const TempFolder folder;
    const std::string path = folder.write("a", "text");
    FileChild child("hold", {path, "0"});
    ASSERT_EQ(System::remove(path, false), callFailed);
    const EndAtPause end(child);
    EXPECT_TRUE(removeRetrying(path, false));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_FALSE(System::exists(path));
}

TEST(RemoveRetryingTest, AReadOnlyFileYieldsOnlyToForce) {
    const TempFolder folder;
    const std::string path = folder.write("a", "text");
    ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), FILE_ATTRIBUTE_READONLY));
    static int pauses;
    pauses = 0;
    const ReplacedCall<decltype(SleepEx)> quick("SleepEx", [](DWORD, BOOL) -> DWORD {
        ++pauses;
        return 0;
    });
    EXPECT_FALSE(removeRetrying(path, false));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(pauses, 599);
    EXPECT_TRUE(removeRetrying(path, true));
    EXPECT_EQ(pauses, 599);
    EXPECT_FALSE(System::exists(path));
}

}  // namespace
