#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "util/errortext.h"
#include "util/windows/exec-win.h"

namespace testing_support {

/// What a command left.
struct CommandResult {
    int32_t code = 0;
    std::string output;
    std::string error;
    bool aborted = false;
};

/// How the report of a start ends that fails with ERROR_INTERNAL_ERROR: where errors have the
/// system's words, asked for before a test may give them others, and where they have none.
inline const std::string internalErrorEnd = [] {
    constexpr uint32_t error = ERROR_INTERNAL_ERROR;
    return ": " + errorText(/*withCode=*/false, &error, /*which=*/1) + ".\n";
}();
inline const std::string wordlessInternalErrorEnd =
    ": Error " + std::to_string(ERROR_INTERNAL_ERROR) + ".\n";

/// An Exec that keeps what it is told to report, and whose parts can be looked at.
class TestedExec : public Exec {
public:
    using Exec::mAborted;
    using Exec::mChildSignal;
    using Exec::mConnector;
    using Exec::mCurrentRule;
    using Exec::mCygwinMajor;
    using Exec::mCygwinMinor;
    using Exec::mJob;
    using Exec::mJobPattern;
    using Exec::mKeepOutputBytes;
    using Exec::mLastKernelTime;
    using Exec::mLastOtherOps;
    using Exec::mLastReads;
    using Exec::mLastUserTime;
    using Exec::mLastWrites;
    using Exec::mLog;
    using Exec::mMaxOutputBytes;
    using Exec::mPathCache;
    using Exec::mPathCacheHits;
    using Exec::mPathCacheMisses;
    using Exec::mPid;
    using Exec::mPidBufferSize;
    using Exec::mStallCountdown;
    using Exec::mStallRules;
    using Exec::report;
    using Exec::reportWithLastError;
    using Exec::scriptCommandLine;
    using Exec::selectStallRule;
    using Exec::translateCached;
    using Exec::waitChildren;
    using Exec::waitProcessExit;

    void reportError(const char* text) override {
        const std::lock_guard lock(mErrorsMutex);
        mErrors.emplace_back(text);
    }
    /// What was reported so far, one entry for each call.
    std::vector<std::string> errors() const {
        const std::lock_guard lock(mErrorsMutex);
        return mErrors;
    }

    /// Runs a command in a directory. A null `environment` is this process's. Wine can't start one
    /// process in some thousands, with ERROR_INTERNAL_ERROR: that is tried again.
    CommandResult run(RunInfo& info, const std::string& directory = {},
                      const char* environment = nullptr) {
        for (;;) {
            const size_t errorCount = errors().size();
            // What the call must overwrite.
            CommandResult result{-1, "output before", "error before", true};
            result.code = runCommand(info, directory, environment, /*passThrough=*/nullptr,
                                     &result.output, &result.error, &result.aborted);
            if (result.code != 1 || !dropInternalError(errorCount)) {
                return result;
            }
        }
    }
    CommandResult run(const std::string& line, const std::string& directory = {},
                      const char* environment = nullptr) {
        RunInfo info;
        info.mDirectArgv = {line};
        return run(info, directory, environment);
    }

private:
    /// Whether the last report, behind the first `count`, is of such a start. Drops it then.
    bool dropInternalError(size_t count) {
        const std::lock_guard lock(mErrorsMutex);
        if (mErrors.size() <= count || !(mErrors.back().ends_with(internalErrorEnd) ||
                                         mErrors.back().ends_with(wordlessInternalErrorEnd))) {
            return false;
        }
        mErrors.pop_back();
        return true;
    }

    mutable std::mutex mErrorsMutex;
    std::vector<std::string> mErrors;
};

}  // namespace testing_support
