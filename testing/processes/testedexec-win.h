#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "util/threadannotations.h"
#include "util/windows/exec-win.h"

namespace testing_support {

/// The results of a command.
struct CommandResult {
    int32_t code = 0;
    std::string output;
    std::string error;
    bool aborted = false;
};

/// An Exec that stores its reports, and whose parts can be inspected.
class TestedExec : public Exec {
public:
    // Public here: each test is a class of its own, and friendship isn't inherited.
    using Exec::mAborted, Exec::mChildSignal, Exec::mJob, Exec::mJobPattern, Exec::mPathCache,
        Exec::mPathCacheHits, Exec::mPathCacheMisses, Exec::mPid, Exec::mPidBufferSize;
    using Exec::report, Exec::reportWithLastError, Exec::scriptCommandLine, Exec::selectStallRule,
        Exec::translateCached, Exec::waitChildren, Exec::waitProcessExit;

    // Fields that go together, to read and to write.
    auto cygwinVersion() { return std::tie(mCygwinMajor, mCygwinMinor); }

    // What `mHandleLock` guards, unchecked: a test knows when no other thread uses it.
    auto& connector() NB_NO_THREAD_SAFETY_ANALYSIS { return mConnector; }
    auto& currentRule() NB_NO_THREAD_SAFETY_ANALYSIS { return mCurrentRule; }
    auto lastCounters() NB_NO_THREAD_SAFETY_ANALYSIS {
        return std::tie(mLastUserTime, mLastKernelTime, mLastReads, mLastWrites, mLastOtherOps);
    }
    auto& logStream() NB_NO_THREAD_SAFETY_ANALYSIS { return mLog; }
    auto& stallCountdown() NB_NO_THREAD_SAFETY_ANALYSIS { return mStallCountdown; }
    auto& stallRules() NB_NO_THREAD_SAFETY_ANALYSIS { return mStallRules; }

    void reportError(const char* text) override {
        const std::lock_guard lock(mErrorsMutex);
        mErrors.emplace_back(text);
    }
    /// Returns the reports so far, one entry for each call.
    std::vector<std::string> errors() const {
        const std::lock_guard lock(mErrorsMutex);
        return mErrors;
    }

    /// Runs a command in a directory. A null `environment` means this process's.
    CommandResult run(RunInfo& info, const std::string& directory = {},
                      const char* environment = nullptr) {
        // The call must overwrite these values.
        CommandResult result{-1, "output before", "error before", true};
        result.code = runCommand(info, directory, environment, /*passThrough=*/nullptr,
                                 &result.output, &result.error, &result.aborted);
        return result;
    }
    CommandResult run(const std::string& line, const std::string& directory = {},
                      const char* environment = nullptr) {
        RunInfo info;
        info.mDirectArgv = {line};
        return run(info, directory, environment);
    }

private:
    mutable std::mutex mErrorsMutex;
    std::vector<std::string> mErrors;
};

}  // namespace testing_support
