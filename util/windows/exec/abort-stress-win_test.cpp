// Aborts from many threads at any moment of a run.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/consolebreak-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/eventually.h"
#include "testing/processes/execwait-win.h"
#include "testing/processes/testedexec-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "testing/threads/boundedthread.h"
#include "util/windows/scopedhandle-win.h"

namespace {

using namespace testing_support;
using Clock = std::chrono::steady_clock;

/// Records the processes that are started; for one thread at a time.
class StartedProcesses {
public:
    StartedProcesses() { sOriginal = mReplaced.original(); }
    ~StartedProcesses() { forget(); }
    StartedProcesses(const StartedProcesses&) = delete;
    StartedProcesses& operator=(const StartedProcesses&) = delete;

    bool haveEnded() const {
        return std::all_of(sHandles.begin(), sHandles.end(), [](HANDLE handle) {
            return WaitForSingleObject(handle, /*dwMilliseconds=*/0) == WAIT_OBJECT_0;
        });
    }
    void forget() {
        std::for_each(sHandles.begin(), sHandles.end(), &CloseHandle);
        sHandles.clear();
    }

private:
    static BOOL WINAPI start(LPCWSTR program, LPWSTR line, LPSECURITY_ATTRIBUTES processAttributes,
                             LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherits, DWORD flags,
                             LPVOID environment, LPCWSTR directory, LPSTARTUPINFOW startup,
                             LPPROCESS_INFORMATION process) {
        if (!sOriginal(program, line, processAttributes, threadAttributes, inherits, flags,
                       environment, directory, startup, process)) {
            return FALSE;
        }
        HANDLE copy = nullptr;
        EXPECT_TRUE(DuplicateHandle(GetCurrentProcess(), process->hProcess, GetCurrentProcess(),
                                    &copy, SYNCHRONIZE, FALSE, 0));
        sHandles.push_back(copy);
        return TRUE;
    }

    static inline std::vector<HANDLE> sHandles;
    static inline decltype(&CreateProcessW) sOriginal = nullptr;
    ReplacedCall<decltype(CreateProcessW)> mReplaced{"CreateProcessW", &StartedProcesses::start};
};

/// When an abort came.
enum class Moment {
    beforeEnd,  ///< it must count
    nearEnd,    ///< the process was over, the run perhaps not
    afterRun,   ///< it must not count
};

struct Kind {
    const char* actions;
    bool usesJob;
};
constexpr Kind kinds[] = {
    {"say x exit 7", false},          {"sleep 60000", false},
    {"say x exit 7", true},           {"say x spawn-and 2 sleep 20 exit 7", true},
    {"sleep 10 say x exit 7", false}, {"spawn-and 2 sleep 60000 sleep 60000", true},
};
constexpr int longestDelays[] = {5000, 40000, 200000};  // microseconds
constexpr Kind stubborn = {"ignore-break sleep 60000", false};

/// One run, and the threads that abort it.
class AbortedRun {
public:
    AbortedRun(const Kind& kind, std::mt19937& random) {
        if (kind.usesJob) {
            mExec.setStallRules(everyCommand(/*timeout=*/0, /*flags=*/0));
        }
        const int threads = std::uniform_int_distribution(1, 4)(random);
        // Some aborts come before the child begins, some long after it has ended.
        const int longest = longestDelays[std::uniform_int_distribution<size_t>(
            0, std::size(longestDelays) - 1)(random)];
        for (int thread = 0; thread < threads; ++thread) {
            const std::chrono::microseconds delay(
                std::uniform_int_distribution(0, longest)(random));
            mAborters.emplace_back([this, delay] {
                std::this_thread::sleep_for(delay);
                abort();
            });
        }
        mResult = mExec.run(waitedChild(kind.actions));
        mEnd = Clock::now();
        mHasEnded = true;
        mAborters.clear();
    }

    void check(Clock::duration longest) {
        if (mCounts[static_cast<size_t>(Moment::beforeEnd)] > 0) {
            EXPECT_TRUE(mResult.aborted);
        } else if (mCounts[static_cast<size_t>(Moment::nearEnd)] == 0) {
            EXPECT_FALSE(mResult.aborted);
        }
        EXPECT_EQ(mResult.code, mResult.aborted ? 1 : 7);
        EXPECT_EQ(mResult.output, mResult.aborted ? "" : "x");
        EXPECT_EQ(mResult.error, "");
        EXPECT_TRUE(mExec.errors().empty());
        EXPECT_TRUE(mExec.mAborted);
        EXPECT_EQ(mExec.mPid, Exec::noPid);
        EXPECT_LT(mEnd - mFirstAbort, longest) << "hangs";
        EXPECT_TRUE(!mExec.mJob.isOpen() || eventually([this] { return isJobEmpty(); }));
    }

private:
    void abort() {
        MutexLock lock(mExec.mHandleLock);
        mFirstAbort = std::min(mFirstAbort, Clock::now());
        // The run clears the id before it takes this lock to check for an abort.
        const bool isOver = mExec.mPid == Exec::noPid &&
                            mExec.log().find("\twaiting for child pid ") != std::string::npos;
        const Moment moment = mHasEnded ? Moment::afterRun
                              : isOver  ? Moment::nearEnd
                                        : Moment::beforeEnd;
        ++mCounts[static_cast<size_t>(moment)];
        mExec.abort(lock, /*signal=*/9);
    }
    bool isJobEmpty() const {
        JOBOBJECT_BASIC_PROCESS_ID_LIST list{};
        return QueryInformationJobObject(mExec.mJob.get(), JobObjectBasicProcessIdList, &list,
                                         sizeof list, /*lpReturnLength=*/nullptr) &&
               list.NumberOfAssignedProcesses == 0;
    }

    TestedExec mExec;
    std::atomic<bool> mHasEnded = false;
    int mCounts[3] = {};  ///< by the moment
    Clock::time_point mFirstAbort = Clock::time_point::max();
    Clock::time_point mEnd;
    CommandResult mResult;
    std::vector<BoundedThread> mAborters;
};

/// `longest` is the most time from the first abort to the end of a run.
void expectEachRunToEndAsItShould(int runs, Clock::duration longest) {
    const TempFolder captures;
    const EnvironmentScope tmp("TMP", captures.path().string());
    const ConsoleBreaks breaks;
    StartedProcesses processes;
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    for (int number = 0; number < runs && !testing::Test::HasFailure(); ++number) {
        // A run that is ended by force takes a second and a half.
        const bool isStubborn = number % 25 == 24;
        const Kind& kind = isStubborn ? stubborn : kinds[number % std::size(kinds)];
        SCOPED_TRACE(std::to_string(seed) + ", " + std::to_string(number) + ": " + kind.actions);
        AbortedRun run(kind, random);
        run.check(longest);
        EXPECT_TRUE(processes.haveEnded());
        EXPECT_TRUE(std::filesystem::is_empty(captures.path()));
        processes.forget();
    }
}

TEST(ExecAbortsOfManyThreads, EachOf50RunsEndsAtOnceAndKnowsWhetherItWasAborted) {
    expectEachRunToEndAsItShould(50, std::chrono::seconds(30));
}

TEST(ExecAbortsOfManyThreads, EachOf1000RunsEndsAtOnceAndKnowsWhetherItWasAbortedSoak) {
    expectEachRunToEndAsItShould(1000, std::chrono::seconds(3));
}

}  // namespace
