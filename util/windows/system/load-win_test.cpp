// Many operations in many threads.

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/counts/processresources-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/trees-win.h"
#include "util/windows/system/volumes-win.h"

namespace {

using namespace testing_support;

/// Runs some operations on files. Returns whether each succeeded or failed as expected.
bool mix(const std::string& base) {
    std::string message;
    std::string created;
    System::makePath((base + "/a/b").c_str(), &created);
    bool isRight = created == base;
    std::FILE* const file = System::openFile(base + "/a/f", "wb");
    isRight = isRight && file != nullptr && std::fputs("text", file) == 0;
    isRight = (file == nullptr || std::fclose(file) == 0) && isRight;
    isRight = System::copy(base + "/a/f", base + "/a/b/g", message) && isRight;
    isRight = !System::copy(base + "/missing", base + "/a/b/h", message) && isRight;
    isRight = System::treeSize(base) == 8 && isRight;
    std::vector<std::string> names;
    std::vector<FileStat> stats;
    isRight = System::listDirectory(base + "/a", names, &stats) && names.size() == 4 && isRight;
    isRight = System::isWritable(base + "/a") && isRight;
    isRight = System::rename(base + "/a/f", base + "/a/b/g", false) && isRight;
    isRight = !System::canRead(base + "/a/f") && System::canRead(base + "/a/b/g") && isRight;
    isRight = System::volumeType(base, nullptr) == VolumeType::fixed && isRight;
    isRight = System::removeDirectory(base + "/a/b", false) == System::directoryNotEmpty && isRight;
    message.clear();
    return System::removeTree(base, message, false, false, true) && isRight;
}

TEST(SystemLoadTest, AThousandMixedOperationsInEightThreadsLeaveNoHandleOpen) {
    constexpr int threadCount = 8;
    constexpr int rounds = 10;  // of 13 operations
    const TempFolder folder;
    std::atomic<int> wrong{0};
    const auto run = [&] {
        std::vector<std::jthread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&, thread] {
                for (int round = 0; round < rounds; ++round) {
                    wrong += mix(folder.utf8(std::to_string(thread))) ? 0 : 1;
                }
            });
        }
    };
    // A lock that is busy for the first time may keep a handle for good, and a joined thread may
    // not have closed its own yet. A real leak, however, shows in every run.
    const auto leavesNone = [&] {
        const size_t before = handleCount();
        run();
        Sleep(100);
        return handleCount() <= before;
    };
    bool hasLeftNone = false;
    for (int attempt = 0; attempt < 10 && !hasLeftNone; ++attempt) {
        hasLeftNone = leavesNone();
    }
    EXPECT_TRUE(hasLeftNone);
    EXPECT_EQ(wrong, 0);
}

}  // namespace
