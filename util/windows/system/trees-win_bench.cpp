#include <filesystem>
#include <fstream>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system/trees-win.h"

namespace {

namespace fs = std::filesystem;
using benchmark::comparePrepared;
using namespace testing_support;

void copyAndFlush(const fs::path& from, const fs::path& to) {
    fs::copy_file(from, to);
    const ScopedHandle copy(CreateFileW(to.c_str(), GENERIC_WRITE, /*dwShareMode=*/0,
                                        /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
    FlushFileBuffers(copy.get());
}

TEST(Benchmark, SystemCopy) {
    const struct {
        const char* operation;
        size_t bytes;
        int rounds;
    } rows[] = {{"System::copy, 1 KB", 1U << 10U, 150},
                {"System::copy, 1 MB", 1U << 20U, 40},
                {"System::copy, 256 MB", 1U << 28U, 2}};
    for (const auto& row : rows) {
        const TempFolder folder;
        const std::string source = folder.write("source", std::string(row.bytes, 'x'));
        const std::string destination = folder.utf8("destination");
        const fs::path from = folder.path() / "source";
        const fs::path to = folder.path() / "destination";
        const auto removeCopy = [&] { fs::remove(to); };
        const auto copy = [&] {
            std::string message;
            EXPECT_TRUE(System::copy(source, destination, message));
        };
        // Ours flushes, which takes most of the time for a small file and depends only on the disk.
        // It also maps the file, which takes the same time for any size.
        constexpr double mapping = 30'000;
        comparePrepared(
            {row.operation, "std::filesystem::copy_file, flush", 1.0, row.rounds, mapping},
            removeCopy, copy, [&] { copyAndFlush(from, to); });
        if (row.bytes > 1U << 20U) {
            comparePrepared({row.operation, "std::filesystem::copy_file", 1.0, row.rounds},
                            removeCopy, copy, [&] { fs::copy_file(from, to); });
        }
    }
}

/// Makes 200 folders with 25 files each: 20 folders, with nine further ones in each.
void makeTree(const fs::path& root) {
    constexpr int outerFolders = 20;
    constexpr int innerFolders = 9;
    constexpr int fileCount = 25;
    const auto fill = [](const fs::path& folder) {
        fs::create_directories(folder);
        for (int i = 0; i < fileCount; ++i) {
            std::ofstream(folder / (std::to_string(i) + ".cpp"));
        }
    };
    for (int outer = 0; outer < outerFolders; ++outer) {
        const fs::path folder = root / std::to_string(outer);
        fill(folder);
        for (int inner = 0; inner < innerFolders; ++inner) {
            fill(folder / std::to_string(100 + inner));
        }
    }
}

TEST(Benchmark, SystemRemoveTree) {
    const TempFolder folder;
    const fs::path root = folder.path() / "tree";
    const std::string path = folder.utf8("tree");
    std::string message;
    comparePrepared(
        {"System::removeTree, 5,000 files in 200 folders", "std::filesystem::remove_all", 1.0, 2},
        [&] { makeTree(root); },
        [&] { EXPECT_TRUE(System::removeTree(path, message, false, false, false)); },
        [&] { EXPECT_EQ(fs::remove_all(root), 5201); });
}

}  // namespace
