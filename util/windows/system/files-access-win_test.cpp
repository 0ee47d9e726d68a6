// Whether files and directories exist, can be read and can be written.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"

namespace {

using namespace testing_support;

/// Whether read-only files can be opened for writing nevertheless. Wine lets a superuser do so.
bool opensReadOnlyFiles() {
    const TempFolder folder;
    const std::wstring name = System::unicodePath(folder.write("a", "x"));
    EXPECT_TRUE(SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_READONLY));
    return ScopedHandle(
               CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr))
        .isOpen();
}

struct Opened {
    std::wstring name;
    DWORD access, share, disposition, flags;
};
Opened gOpened;

HANDLE WINAPI refuse(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                     DWORD disposition, DWORD flags, HANDLE) {
    gOpened = {name, access, share, disposition, flags};
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

HANDLE WINAPI refuseToShare(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    SetLastError(ERROR_SHARING_VIOLATION);
    return INVALID_HANDLE_VALUE;
}

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

TEST(SystemExistsTest, FilesAndDirectoriesExistAndNothingElseDoes) {
    const TempFolder folder;
    EXPECT_TRUE(System::exists(folder.write("\xD0\x9F\xD1\x83\xD1\x82\xD1\x8C", "x")));
    EXPECT_TRUE(System::exists(folder.utf8()));
    EXPECT_FALSE(System::exists(folder.utf8("missing")));
    EXPECT_FALSE(System::exists(""));
}

TEST(SystemCanReadTest, AFileCanBeReadAndADirectoryCannot) {
    const TempFolder folder;
    EXPECT_TRUE(System::canRead(folder.write("a", "x")));
    EXPECT_FALSE(System::canRead(folder.utf8()));
    EXPECT_FALSE(System::canRead(folder.utf8("missing")));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(SystemCanWriteTest, AFileCanBeWrittenAndADirectoryCannot) {
    const TempFolder folder;
    EXPECT_TRUE(System::canWrite(folder.write("a", "x")));
    EXPECT_FALSE(System::canWrite(folder.utf8()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(System::canWrite(folder.utf8("missing")));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(SystemCanWriteTest, AReadOnlyFileCannotBeWritten) {
    if (opensReadOnlyFiles()) {
        GTEST_SKIP() << "read-only files can be opened for writing here";
    }
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    ASSERT_TRUE(SetFileAttributesW(System::unicodePath(path).c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(System::canWrite(path));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(System::isWritable(path));
}

TEST(SystemCanReadTest, TheFileIsOpenedSharedWithEverybody) {
    const ReplacedCall<decltype(CreateFileW)> call("CreateFileW", refuse);
    EXPECT_FALSE(System::canRead("c:/a"));
    EXPECT_EQ(gOpened.name, L"\\\\?\\c:\\a");
    EXPECT_EQ(gOpened.access, GENERIC_READ);
    EXPECT_EQ(gOpened.share, shareAll);
    EXPECT_EQ(gOpened.disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(gOpened.flags, DWORD{FILE_ATTRIBUTE_NORMAL});
    EXPECT_FALSE(System::canWrite("c:/a"));
    EXPECT_EQ(gOpened.access, DWORD{GENERIC_WRITE});
}

TEST(SystemCanListDirectoryTest, ADirectoryCanBeListedAndAFileCannot) {
    const TempFolder folder;
    EXPECT_TRUE(System::canListDirectory(folder.utf8()));
    EXPECT_FALSE(System::canListDirectory(folder.write("a", "x")));
    EXPECT_FALSE(System::canListDirectory(folder.utf8("missing")));
}

TEST(SystemCanListDirectoryTest, AnEmptyPathIsTheRootOfTheDriveAndOneWithoutAWideFormIsNot) {
    static std::vector<std::wstring> patterns;
    patterns.clear();
    const ReplacedCall<decltype(FindFirstFileW)> call(
        "FindFirstFileW", [](LPCWSTR pattern, LPWIN32_FIND_DATAW) -> HANDLE {
            patterns.emplace_back(pattern);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_FALSE(System::canListDirectory(""));
    EXPECT_FALSE(System::canListDirectory("//server"));
    EXPECT_EQ(patterns, std::vector<std::wstring>{L"\\*"});
}

TEST(SystemIsWritableTest, OfAFileItsOpeningDecides) {
    const TempFolder folder;
    EXPECT_TRUE(System::isWritable(folder.write("a", "x")));
    EXPECT_FALSE(System::isWritable(folder.utf8("missing")));
    EXPECT_FALSE(System::isWritable(""));
}

TEST(SystemIsWritableTest, ADirectoryIsTriedWithAFileThatIsGoneAfterwards) {
    const TempFolder folder;
    EXPECT_TRUE(System::isWritable(folder.utf8()));
    EXPECT_TRUE(System::isWritable(folder.utf8() + "/"));
    EXPECT_TRUE(System::isWritable(folder.utf8() + "\\"));
    std::vector<std::string> names;
    ASSERT_TRUE(System::listDirectory(folder.utf8(), names, nullptr));
    EXPECT_EQ(names.size(), 2U) << "only . and ..";
}

TEST(SystemIsWritableTest, ADirectoryThatTakesNoFileIsNot) {
    const TempFolder folder;
    const ReplacedCall<decltype(GetTempFileNameW)> call(
        "GetTempFileNameW", [](LPCWSTR, LPCWSTR prefix, UINT, LPWSTR) -> UINT {
            EXPECT_STREQ(prefix, L"wd");
            SetLastError(ERROR_WRITE_PROTECT);
            return 0;
        });
    EXPECT_FALSE(System::isWritable(folder.utf8()));
    EXPECT_FALSE(System::isWritable(folder.utf8() + "/"));
}

TEST(SystemIsWritableTest, OnlyADenialOfAccessLeadsToTheTestOfADirectory) {
    const TempFolder folder;
    const ReplacedCall<decltype(CreateFileW)> call("CreateFileW", refuseToShare);
    EXPECT_FALSE(System::isWritable(folder.utf8()));
    EXPECT_TRUE(System::isWritable(folder.utf8() + "/")) << "a slash after it says directory";
}

std::wstring wide(const std::string& path) { return System::unicodePath(path).substr(4); }

TEST(SystemIsReadableTest, FilesAndDirectoriesAre) {
    const TempFolder folder;
    EXPECT_TRUE(System::isReadable(wide(folder.write("a", "x"))));
    EXPECT_TRUE(System::isReadable(wide(folder.utf8())));
    EXPECT_TRUE(System::isReadable(wide(folder.utf8()) + L"\\"));
    EXPECT_FALSE(System::isReadable(wide(folder.utf8("missing"))));
    EXPECT_FALSE(System::isReadable(wide(folder.utf8("missing")) + L"\\"));
    EXPECT_FALSE(System::isReadable(L""));
}

TEST(SystemIsReadableTest, OnlyADenialOfAccessLeadsToTheListing) {
    const TempFolder folder;
    const ReplacedCall<decltype(CreateFileW)> call("CreateFileW", refuseToShare);
    EXPECT_FALSE(System::isReadable(wide(folder.utf8())));
    EXPECT_TRUE(System::isReadable(wide(folder.utf8()) + L"/"));
}

TEST(SystemIsReadableTest, APathIsOpenedAsItIs) {
    const ReplacedCall<decltype(CreateFileW)> call("CreateFileW", refuse);
    EXPECT_FALSE(System::isReadable(L"c:/missing. "));
    EXPECT_EQ(gOpened.name, L"c:/missing. ");
    EXPECT_EQ(gOpened.access, GENERIC_READ);
    EXPECT_EQ(gOpened.share, shareAll);
}

}  // namespace
