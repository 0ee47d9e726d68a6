#include "tools/ccdrives/drivesread-win.h"

#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/scopedhandle-win.h"

namespace {

using namespace ccdrives;
using namespace testing_support;

void expectUnreadable(const std::string& file) {
    try {
        const std::string text = readDrivesFile(file);
        ADD_FAILURE() << file << " has " << text;
    } catch (const std::runtime_error& error) {
        const std::string problem = error.what();
        EXPECT_TRUE(problem.starts_with("can't read '" + file + "': ")) << problem;
        EXPECT_TRUE(problem.ends_with("; name another list by NBCLEARCASE_DRIVES")) << problem;
    }
}

TEST(ReadDrivesFileTest, AListThatIsNotThereIsEmpty) {
    const TempFolder folder;
    EXPECT_EQ(readDrivesFile(folder.write("a.txt", "x\r\n")), "x\r\n");
    EXPECT_EQ(readDrivesFile(folder.utf8("none.txt")), "");
    EXPECT_EQ(readDrivesFile(folder.utf8("none/none.txt")), "");
}

TEST(ReadDrivesFileTest, AListOfAnyLengthIsWhole) {
    const TempFolder folder;
    for (const size_t size : {size_t{4095}, size_t{4096}, size_t{4097}, size_t{100000}}) {
        const std::string text(size, 'x');
        EXPECT_EQ(readDrivesFile(folder.write("a.txt", text)), text);
    }
}

TEST(ReadDrivesFileTest, AFolderIsNoList) {
    const TempFolder folder;
    expectUnreadable(folder.utf8());
}

TEST(ReadDrivesFileTest, APathInQuotesIsNoMissingList) {
    const TempFolder folder;
    expectUnreadable('"' + folder.write("a.txt", "x") + '"');
}

TEST(ReadDrivesFileTest, AListThatAnotherHasForItselfIsReported) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "x");
    const ScopedHandle owner(CreateFileW(toWide(file).c_str(), GENERIC_READ, /*dwShareMode=*/0,
                                         /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
    ASSERT_TRUE(owner.isOpen());
    expectUnreadable(file);
}

TEST(ReadDrivesFileTest, ALongPathOfAServerKeepsItsServer) {
    static std::wstring opened;
    const ReplacedCall<decltype(CreateFileW)> refused(
        "CreateFileW",
        [](LPCWSTR name, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            opened = name;
            SetLastError(ERROR_BAD_NETPATH);
            return INVALID_HANDLE_VALUE;
        });
    const std::string name(300, 'a');
    expectUnreadable("//server/share/" + name);
    EXPECT_EQ(opened, L"\\\\?\\UNC\\server\\share\\" + toWide(name));
}

TEST(ReadDrivesFileTest, AReadThatFailsIsReported) {
    const TempFolder folder;
    const std::string file = folder.write("a.txt", "x");
    const RefusedCall<decltype(ReadFile)> refused("ReadFile", ERROR_CRC);
    expectUnreadable(file);
}

TEST(ReadDrivesFileTest, AListMayHaveALongPath) {
    const TempFolder folder;
    std::filesystem::path deep = folder.path();
    std::string relative;
    for (int i = 0; i < 3; ++i) {
        const std::string name(100, static_cast<char>('a' + i));
        relative += name + '/';
        deep /= name;
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + deep.wstring()).c_str(), nullptr))
            << GetLastError();
    }
    const std::wstring file = L"\\\\?\\" + (deep / "a.txt").wstring();
    {
        const ScopedHandle made(CreateFileW(file.c_str(), GENERIC_WRITE, /*dwShareMode=*/0,
                                            /*lpSecurityAttributes=*/nullptr, CREATE_NEW,
                                            FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(made.get(), "x", 1, &written, /*lpOverlapped=*/nullptr));
    }
    EXPECT_EQ(readDrivesFile(folder.utf8(relative + "a.txt")), "x");
    EXPECT_EQ(readDrivesFile(toUtf8(file)), "x");
    EXPECT_EQ(readDrivesFile(folder.utf8(relative + "none.txt")), "");
}

}  // namespace
