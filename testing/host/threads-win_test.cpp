// Many threads on one connection of a shipped library.

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/processresources-win.h"
#include "testing/host/shippedlibrary-win.h"
#include "testing/providers/registeredprovider-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

struct Answer {
    int status;
    std::string version, target, canonical;

    bool operator==(const Answer&) const = default;
};

/// Returns the answers for one path, configured or not, on a view drive or not.
Answer ask(ClearCaseConnection& connection, const std::string& path,
           const std::vector<std::string>& tags) {
    Answer answer;
    answer.status = connection.getElementStatus(path.c_str(), &answer.version, &answer.target);
    answer.canonical = connection.canonicalizeViewPath("C:\\w", path, tags);
    return answer;
}

/// Asks for all paths in turn, `rounds` times. Returns how many answers differ from the expected
/// ones.
int wrongAnswers(ClearCaseConnection& connection, const std::vector<std::string>& paths,
                 const std::vector<std::string>& tags, const std::vector<Answer>& expected,
                 int rounds) {
    int wrong = 0;
    for (int i = 0; i < rounds; ++i) {
        for (size_t k = 0; k < paths.size(); ++k) {
            wrong += ask(connection, paths[k], tags) == expected[k] ? 0 : 1;
        }
    }
    return wrong;
}

class ThreadsTest : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Libraries, ThreadsTest, testing::Values(fakeLibrary, journalLibrary),
                         libraryTestName);

TEST_P(ThreadsTest, EightThreadsGetTheSameAnswersAndLeakNoMemoryOrHandles) {
    const RegisteredProvider provider;
    if (!provider.problem().empty()) {
        GTEST_SKIP() << provider.problem();
    }
    const TempFolder folder;
    const EnvironmentScope drives(
        "NBCLEARCASE_DRIVES",
        folder.write("drives.txt", "m: | \\\\view\nx: | \\\\view\\tag1\ny: | \\\\view\\tag2\n"));
    const EnvironmentScope configuration(
        "NBCLEARCASE_FAKE_INI",
        folder.write("c.ini", "[attrs]\nX:\\vob\\link=..\\a\nC:\\v.c=*version\n"));
    const JournalFile journal;
    const ShippedLibrary library(GetParam());
    const auto connection = library.connect();

    const std::vector<std::string> paths = {"X:\\vob\\link", "C:\\v.c",     "M:\\tag2\\b\\c",
                                            "y:/b/../d",     folder.utf8(), folder.utf8("missing")};
    const std::vector<std::string> tags = {"M:\\tag3\\v", "M:\\tag1\\vob", "Y:\\b"};
    std::vector<Answer> expected;
    expected.reserve(paths.size());
    for (const std::string& path : paths) {
        expected.push_back(ask(*connection, path, tags));
    }
    EXPECT_EQ(expected[0].canonical, "M:\\tag1\\vob\\link") << "the drives are connected";
    EXPECT_EQ(expected[2].canonical, "Y:\\b\\c");

    std::atomic<int> wrong{0};
    const auto runThreads = [&](int rounds) {
        std::vector<std::thread> threads;
        threads.reserve(8);
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back(
                [&] { wrong += wrongAnswers(*connection, paths, tags, expected, rounds); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    // Creates what is created only once.
    runThreads(500);
    const size_t handles = handleCount();
    // The heap sets up caches when threads contend for a size, but not in every round. A round is
    // 24,000 answers: a leak of three bytes in each would show in all of them.
    size_t least = std::numeric_limits<size_t>::max();
    for (int round = 0; round < 5 && least >= 50000; ++round) {
        const size_t bytes = heapBytes();
        runThreads(500);
        least = std::min(least, std::max(heapBytes(), bytes) - bytes);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_LT(least, 50000U);
    // A leaked handle would show too. A lock keeps one from the first time that two threads contend
    // for it, whenever that is.
    constexpr size_t locks = 8;
    EXPECT_LE(handleCount(), handles + locks);
}

}  // namespace
