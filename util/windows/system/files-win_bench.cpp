#include <filesystem>
#include <memory>

#include "testing/benchmark/comparison.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system/files-win.h"

namespace {

namespace fs = std::filesystem;

size_t listWithStats(const std::string& path) {
    std::vector<std::string> names;
    std::vector<FileStat> stats;
    static_cast<void>(System::listDirectory(path, names, &stats));
    return names.size();
}

size_t iterateWithStatus(const fs::path& path) {
    std::vector<fs::path> names;
    std::vector<fs::file_status> states;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        names.push_back(entry.path().filename());
        states.push_back(fs::status(entry.path()));
    }
    return names.size();
}

constexpr int count = 5000;

/// Made once, for all passes.
const testing_support::TempFolder& filledFolder() {
    static const auto folder = [] {
        auto filled = std::make_unique<testing_support::TempFolder>();
        for (int i = 0; i < count; ++i) {
            filled->write(std::to_string(i) + ".cpp", "");
        }
        return filled;
    }();
    return *folder;
}

TEST(Benchmark, SystemListDirectory) {
    const testing_support::TempFolder& folder = filledFolder();
    EXPECT_EQ(listWithStats(folder.utf8()), count + 2);
    EXPECT_EQ(iterateWithStatus(folder.path()), count);
    benchmark::comparePrepared(
        {"System::listDirectory, 5,000 entries, stats", "directory_iterator with status", 0.5,
         /*rounds=*/5},
        [] {}, [&] { listWithStats(folder.utf8()); }, [&] { iterateWithStatus(folder.path()); });
}

}  // namespace
