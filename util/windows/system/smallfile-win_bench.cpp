#include <string>
#include <vector>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/smallfile-win.h"

namespace {

/// Open, size, read, close, and nothing else.
std::string readBare(const std::wstring& name) {
    const HANDLE file = CreateFileW(
        name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
        FILE_FLAG_SEQUENTIAL_SCAN | FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr);
    LARGE_INTEGER size = {};
    GetFileSizeEx(file, &size);
    std::string text(static_cast<size_t>(size.QuadPart), '\0');
    DWORD count = 0;
    ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
    CloseHandle(file);
    return text;
}

TEST(Benchmark, ReadFile) {
    const testing_support::TempFolder folder;
    std::vector<std::string> paths;
    std::vector<std::wstring> names;
    for (int i = 0; i < 1000; ++i) {
        paths.push_back(folder.write(std::to_string(i), std::string(1000, 'c')));
        names.push_back(System::unicodePath(paths.back()));
    }
    std::string text;
    EXPECT_EQ(readFile(paths[0], text), fileIsRead);
    EXPECT_EQ(text, readBare(names[0]));
    benchmark::compareEach(
        {"readFile, 1,000 files", "open, size, read, close", 1.10, /*rounds=*/5}, paths.size(),
        [&](size_t file) {
            text.clear();
            static_cast<void>(readFile(paths[file], text));
        },
        [&](size_t file) { text = readBare(names[file]); });
}

}  // namespace
