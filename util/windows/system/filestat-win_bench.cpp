#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/filestat-win.h"

namespace {

BY_HANDLE_FILE_INFORMATION openQueryClose(const wchar_t* name) {
    const HANDLE file = CreateFileW(
        name, /*dwDesiredAccess=*/0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
        /*hTemplateFile=*/nullptr);
    BY_HANDLE_FILE_INFORMATION information = {};
    GetFileInformationByHandle(file, &information);
    CloseHandle(file);
    return information;
}

TEST(Benchmark, FileStatRead) {
    const testing_support::TempFolder folder;
    const std::string path = folder.write("file", "text");
    const std::wstring name = System::unicodePath(path);
    FileStat stat;
    EXPECT_TRUE(stat.read(path, 0));
    EXPECT_EQ(stat.size, openQueryClose(name.c_str()).nFileSizeLow);
    constexpr size_t calls = 100;
    benchmark::compareEach(
        {"FileStat::read, 100 times", "open, query, close", 1.2}, calls,
        [&](size_t) { static_cast<void>(stat.read(path, 0)); },
        [&](size_t) { openQueryClose(name.c_str()); });
}

}  // namespace
