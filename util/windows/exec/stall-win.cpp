#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <limits>
#include <mutex>

#include <boost/regex.hpp>

#include "util/windows/exec/wait-win.h"

namespace {

// The environment variable "NBBRK", read once per process.
char gStallCommand[MAX_PATH];
int32_t gStallCommandLength = -1;
std::once_flag gStallCommandRead;

/// Returns the command that breaks a stalled one; null for none. A value that doesn't fit isn't
/// supported.
const char* stallCommand() {
    std::call_once(gStallCommandRead, [] {
        gStallCommandLength = static_cast<int32_t>(
            GetEnvironmentVariableA("NBBRK", gStallCommand, sizeof gStallCommand));
        gStallCommand[sizeof gStallCommand - 1] = '\0';
    });
    return gStallCommandLength > 0 ? gStallCommand : nullptr;
}

}  // namespace

/// What the system reports about a job's processes, up to the capacity of `ids`.
struct Exec::JobProcesses {
    DWORD assigned;
    DWORD listed;
    std::array<ULONG_PTR, 49> ids;

    /// A space and the id, for each listed process.
    std::string text() const {
        std::string result;
        std::for_each(
            ids.begin(), ids.begin() + std::min<size_t>(listed, ids.size()),
            [&result](ULONG_PTR id) { result.append(1, ' ').append(std::to_string(id)); });
        return result;
    }
};

void Exec::selectStallRule(const std::string& command) {
    const MutexLock lock(mHandleLock);
    mCurrentRule = nullptr;
    mStallCountdown = 0;
    for (StallRule& rule : mStallRules) {
        const boost::regex pattern(rule.mPattern, boost::regex::extended | boost::regex::icase);
        if (boost::regex_match(command, pattern)) {
            mCurrentRule = &rule;
            mJobPattern = rule.mPattern;
            mStallCountdown = rule.mTimeout;
            return;
        }
    }
    // Compatibility: without a match the pattern of the last rule that matched stays, and with it
    // the job mode.
}

bool Exec::isWatched() const {
    return mCurrentRule != nullptr && mCurrentRule->mTimeout != 0 &&
           (mCurrentRule->mFlags & (watchTime | watchIo)) != 0;
}

/// The log covers only the second half of a command's time.
bool Exec::isPastHalfTime() const { return mStallCountdown < mCurrentRule->mTimeout / 2; }

/// One check of the job. Holds the lock, even while it runs a command to break this one.
void Exec::superviseJob(Wait& wait) {
    const MutexLock lock(mHandleLock);
    if (!isWatched()) {
        return;
    }
    const JobProcesses processes = listJob(wait.failureText);
    JOBOBJECT_BASIC_AND_IO_ACCOUNTING_INFORMATION now{};
    if (!queryJob(mJob, JobObjectBasicAndIoAccountingInformation, &now, sizeof now)) {
        reportWithLastError("Exec::waitProcessExit couldn't query job accounting information",
                            wait.failureText);
        return;
    }
    if (isPastHalfTime()) {
        constexpr int64_t microsecond = 10;
        mLog << "\t  user time: " << now.BasicInfo.TotalUserTime.QuadPart / microsecond
             << " microsec\n\t  system time: "
             << now.BasicInfo.TotalKernelTime.QuadPart / microsecond
             << " microsec\n\t  reads: " << now.IoInfo.ReadOperationCount
             << "\n\t  writes: " << now.IoInfo.WriteOperationCount
             << "\n\t  other ops: " << now.IoInfo.OtherOperationCount << "\n";
    }
    if (sawProgress(now)) {
        return;
    }
    // After a stall that is only reported, the countdown goes on, maybe for weeks: it stops at the
    // smallest value.
    mStallCountdown =
        std::max(mStallCountdown, std::numeric_limits<int32_t>::min() + wakeInterval) -
        wakeInterval;
    if (mStallCountdown > 0) {
        return;
    }
    reportStall(wait, processes);
    if ((mCurrentRule->mFlags & reportOnly) == 0) {
        *wait.stalled = true;
        breakCommand(wait);
    }
}

Exec::JobProcesses Exec::listJob(std::string* failureText) {
    JobProcesses processes{};
    static_assert(sizeof processes == 400 &&
                  offsetof(JobProcesses, ids) ==
                      offsetof(JOBOBJECT_BASIC_PROCESS_ID_LIST, ProcessIdList));
    if (!queryJob(mJob, JobObjectBasicProcessIdList, &processes, sizeof processes) &&
        GetLastError() != ERROR_MORE_DATA) {
        reportWithLastError("Exec::waitProcessExit couldn't query job process information",
                            failureText);
        return {};
    }
    if (isPastHalfTime()) {
        mLog << "\tchecking for stalled job: pids" << processes.text();
        if (processes.assigned > processes.listed) {
            mLog << " (plus " << processes.assigned - processes.listed << " others)";
        }
        mLog << '\n';
    }
    return processes;
}

/// Returns whether a number that the rule watches has changed. If so, stores all numbers for the
/// next comparison and restarts the time.
bool Exec::sawProgress(const JOBOBJECT_BASIC_AND_IO_ACCOUNTING_INFORMATION& now) {
    const int64_t userTime = now.BasicInfo.TotalUserTime.QuadPart;
    const int64_t kernelTime = now.BasicInfo.TotalKernelTime.QuadPart;
    const bool didRun = userTime != mLastUserTime || kernelTime != mLastKernelTime;
    const bool didIo = now.IoInfo.ReadOperationCount != mLastReads ||
                       now.IoInfo.WriteOperationCount != mLastWrites ||
                       now.IoInfo.OtherOperationCount != mLastOtherOps;
    const uint32_t flags = mCurrentRule->mFlags;
    if (!((flags & watchTime) != 0 && didRun) && !((flags & watchIo) != 0 && didIo)) {
        return false;
    }
    mLastUserTime = userTime;
    mLastKernelTime = kernelTime;
    mLastReads = now.IoInfo.ReadOperationCount;
    mLastWrites = now.IoInfo.WriteOperationCount;
    mLastOtherOps = now.IoInfo.OtherOperationCount;
    mStallCountdown = mCurrentRule->mTimeout;
    return true;
}

/// Reports a stall, once in each wait.
void Exec::reportStall(Wait& wait, const JobProcesses& processes) {
    if (wait.reported) {
        return;
    }
    const bool goesOn = (mCurrentRule->mFlags & reportOnly) != 0;
    std::string message = "Command stalled: \"";
    message.append(wait.command)
        .append("\" (pid(s)")
        .append(processes.text())
        .append(")")
        .append(goesOn ? ": job will continue running" : ": aborting job");
    mLog << "\ttimed out waiting for pid " << wait.pid << (goesOn ? " (but not aborting)\n" : "\n");
    reportError(message.c_str());
    wait.reported = true;
}

void Exec::breakCommand(const Wait& wait) {
    const char* const command = stallCommand();
    if (command == nullptr) {
        GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, mPid);
        return;
    }
    Exec nested;
    RunInfo runInfo;
    runInfo.mDirectArgv.emplace_back(command);
    std::string outputText;
    std::string errorText;
    bool aborted = false;
    try {
        // Whatever it returns, the command that it was to break is ended by force if it goes on.
        static_cast<void>(nested.runCommand(runInfo, wait.workingDirectory, wait.environment,
                                            wait.passThrough, &outputText, &errorText, &aborted));
    } catch (const std::exception&) {
        // The same holds for a failure.
    }
}
