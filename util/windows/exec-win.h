#pragma once

// Runs commands one at a time, from the command line to the exit code.
//
//     Exec exec;
//     Exec::RunInfo info;
//     info.mDirectArgv = {"tool.exe \"some file\" -v"};
//     std::string output, error;
//     bool aborted = false;
//     const int32_t code = exec.runCommand(info, "c:/work", /*environment=*/nullptr,
//                                          /*passThrough=*/nullptr, &output, &error, &aborted);
//
// All text is UTF-8, with two exceptions: one line of the log (see `log`), and the output of a
// command, which is returned byte for byte.

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <list>
#include <map>
#include <sstream>
#include <string>

#include <boost/shared_ptr.hpp>

#include <windows.h>

#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"
#include "util/windows/exec/runinfo.h"
#include "util/windows/exec/runresult.h"
#include "util/windows/exec/stallrule.h"
#include "util/windows/scopedhandle-win.h"

class AccessToken;
namespace cygwin {
class connector;
}

/// Only one thread at a time may run commands on an object. While a command runs, other threads may
/// abort it, replace the stall rules and, with `mHandleLock` held, read the log; every other call
/// must wait until the command has ended.
///
/// A derived class may override `reportError` and the other virtual functions. `reportError` may be
/// called with `mHandleLock` held, and while other commands of the process wait to start: it must
/// neither wait for another thread nor throw.
class Exec {
public:
    using RunInfo = ExecRunInfo;      ///< what to run
    using StallRule = ExecStallRule;  ///< when a command counts as stalled

    static constexpr uint32_t noPid = 0xffffffff;     ///< no command is running
    static constexpr uint32_t noSignal = 0x80000000;  ///< no signal has ended a command

    static constexpr int32_t failureCode = ExecResult::failureCode;    ///< see ExecResult
    static constexpr int32_t notFoundCode = ExecResult::notFoundCode;  ///< see ExecResult

    /// The largest initial size, in bytes, of the buffer for the processes of a job.
    static constexpr uint32_t largestPidBuffer = 1024;

    Exec();
    /// Closes the job. If a child is still known (no run leaves one behind), it is asked to end,
    /// and the destructor doesn't wait for it. No thread may be inside a call.
    virtual ~Exec();
    Exec(const Exec&) = delete;
    Exec& operator=(const Exec&) = delete;

    /// Starts a command, waits for it and, in job mode, for all processes that it started. Returns
    /// its exit code, or a code of ExecResult (exec/runresult.h), which also describes `*aborted`
    /// and where failures are reported.
    ///
    /// `environment` is a block of NUL-terminated NAME=VALUE strings, with one more NUL at its end.
    /// Null or empty means the caller's environment. Programs are searched for in its first PATH,
    /// in any letter case. `workingDirectory` is absolute, or empty for the current one; relative
    /// files of the streams are resolved against it.
    ///
    /// A stalled command is broken by another command: the value of the environment variable
    /// "NBBRK", read when it is first needed (in the ANSI code page, at most 259 characters).
    /// Another Exec runs it with the same `passThrough`. Without a value, the stalled command gets
    /// a break event.
    ///
    /// The last three parameters must not be null; they are reset at once. Captured output over the
    /// limit is cut, after a report at its start (see `setOutputLimits`). If the command leaves a
    /// process behind that has its streams, the files of a capture stay open: they can't be
    /// removed, and remain in the folder for temporary files. Without capture, the run waits until
    /// everything that was written into a pipe of the caller has been read.
    ///
    /// Until the command runs, the process has the command's current directory and `Path`, and
    /// other commands wait to start. `Path` goes through the ANSI code page in both directions: if
    /// the block has a PATH, the process's own `Path` loses the characters that the code page
    /// lacks.
    ///
    /// Throws NumberedRuntimeError with the code directoryNotEntered (exec/environment-win.h) if
    /// the working directory can't be entered, and passes on what the regular expression of a stall
    /// rule throws.
    [[nodiscard]] virtual int32_t runCommand(RunInfo& runInfo, const std::string& workingDirectory,
                                             const char* environment, void* passThrough,
                                             std::string* outputText, std::string* errorText,
                                             bool* aborted) NB_EXCLUDES(mHandleLock);
    /// Asks the running command, or the next one if none is running, to end; if it hasn't ended
    /// after 1.5 seconds, it is ended by force. Every later command is aborted as well, until
    /// `reset`.
    ///
    /// `lock` must hold `mHandleLock`; otherwise an assertion stops the process. `signal` is for a
    /// process of the POSIX side. Any other process, and one that the signal can't be sent to, gets
    /// a break event. A command that starts after the call gets neither: unless it ends by
    /// itself, it is ended by force. Never waits, but `mHandleLock` is held while the command of
    /// "NBBRK" runs.
    virtual void abort(MutexLock& lock, int signal) NB_REQUIRES(mHandleLock);
    /// Restores the state of a new object, except for the log, the job, the output limits, the size
    /// of the buffer for processes, the countdown and the last counters. Must not be called while a
    /// command runs.
    virtual void reset() NB_EXCLUDES(mHandleLock);
    /// Does nothing. The three reserved functions keep places in the table of virtual functions.
    virtual void reserved1();
    /// Replaces the rules. If one of the new rules has the pattern of the rule that matched last,
    /// it applies to the running command from now on. Otherwise that command isn't watched any
    /// more.
    virtual void setStallRules(const std::list<StallRule>& rules) NB_EXCLUDES(mHandleLock);
    /// Does nothing.
    virtual void reserved2();
    /// Sets the limits for captured streams: one of more than `maxBytes` bytes (initially
    /// 5,000,000) is cut to `keepBytes` bytes (initially 5,000). It is a failure if a stream that
    /// is cut has fewer than `keepBytes` bytes, so `keepBytes` must be at most `maxBytes`, or 0. If
    /// `maxBytes` is negative, every stream is cut, even an empty one: with a `maxBytes` of -1 and
    /// a `keepBytes` of 0, each captured stream yields only the report.
    virtual void setOutputLimits(int maxBytes, unsigned keepBytes);
    /// Stores the limits; neither pointer may be null.
    virtual void getOutputLimits(int* maxBytes, unsigned* keepBytes);
    /// Returns what happened in the current or last run. While a command runs, every other thread
    /// must hold `mHandleLock` here. The line that a script was started with is in the narrow
    /// characters of the process-wide locale (see narrowText), which isn't always UTF-8.
    [[nodiscard]] virtual std::string log();
    /// Writes the text and a line end to standard error.
    virtual void reportError(const char* text);
    /// Does nothing.
    virtual void reserved3();

    /// Sets the connector for commands that are POSIX processes, or null for none. It must outlive
    /// its use here.
    void setCygwinConnector(cygwin::connector* connector) NB_EXCLUDES(mHandleLock);
    /// Returns the signal that ended the last Cygwin command, or `noSignal`. Runtime versions
    /// before 1.5.20 don't report it; the value then stays as it was.
    [[nodiscard]] uint32_t childSignal() const { return mChildSignal; }
    /// Sets the initial size, in bytes, of the buffer for the processes of a job. It must be at
    /// least 16, which is enough for one process; the system refuses less. A size over
    /// `largestPidBuffer` is ignored.
    void setPidBufferSize(uint32_t size);

    /// Makes the jobs that are created from now on run at high priority if the version of Windows
    /// is below 6.1. From 6.1 on, it only enables the privilege. Returns an empty text, or the
    /// failure.
    [[nodiscard]] static std::string elevateWindowsPriority();

    /// @{
    /// From now on, all commands of the process except alternates are started with the rights of
    /// this token, a primary one. Null, the initial state, means the rights of the process. May
    /// wait for other commands to start. Any thread may call these two functions.
    static void setRunAsToken(const boost::shared_ptr<AccessToken>& token);
    [[nodiscard]] static boost::shared_ptr<AccessToken> runAsToken();
    /// @}

protected:
    /// Appends the text to `failureText`, unless that is null, and calls `reportError`.
    void report(const std::string& text, std::string* failureText);
    /// The same with ": ", the message for GetLastError and a line end after the text.
    void reportWithLastError(const char* text, std::string* failureText);
    /// Makes the first rule whose pattern matches the whole line the current one, or none. Throws
    /// what the regular expression throws.
    void selectStallRule(const std::string& command) NB_EXCLUDES(mHandleLock);
    /// Waits for a process, and breaks and ends it on an abort or a stall. Returns false
    /// if the wait fails.
    [[nodiscard]] bool waitProcessExit(HANDLE process, uint32_t pid, const char* command,
                                       std::string* failureText, bool* stalled,
                                       const std::string& workingDirectory, const char* environment,
                                       void* passThrough) NB_EXCLUDES(mHandleLock);
    /// Waits for the processes left in the job, except for servers that are known to stay.
    void waitChildren(const char* command, std::string* failureText) NB_EXCLUDES(mHandleLock);

    /// Returns `resolveCygwinPath` of a name, cached until `reset`. The cache also holds the empty
    /// text of a name that means no file, and relative results, which are valid only in the
    /// directory of the command that asked first. Like the whole cache, only for the thread in
    /// `runCommand`.
    [[nodiscard]] std::string translateCached(const std::string& posixName);
    /// Returns the command line that runs the script, or the program with a POSIX name, at the
    /// start of a command line: the Windows name of the interpreter, the file and the rest of the
    /// line. A name without slashes is searched for in `path` (null for the process's PATH). The
    /// result is empty if there is no such file, or if the file can't be read, is a program that
    /// Windows refused, or names no interpreter. An interpreter that can't be found is left out of
    /// the line.
    [[nodiscard]] std::wstring scriptCommandLine(const char* commandLine, const char* path);

    std::atomic<uint32_t> mPid = noPid;  ///< the command's process, or `noPid`
    std::atomic<bool> mAborted = false;  ///< from `abort` until `reset`

public:
    /// Guards the fields that are declared with it below. `abort` holds it when it reads `mPid` and
    /// sets `mAborted`. The thread that runs commands reads both, and clears `mPid`, without it.
    Mutex mHandleLock;

protected:
    /// In the order in which they are tried.
    std::list<StallRule> mStallRules NB_GUARDED_BY(mHandleLock);
    /// That of the running command; null if there is none.
    StallRule* mCurrentRule NB_GUARDED_BY(mHandleLock) NB_PT_GUARDED_BY(mHandleLock) = nullptr;
    /// Not empty: job mode. Only the thread that runs commands writes it, with `mHandleLock` held,
    /// and so needs no lock to read it.
    std::string mJobPattern;
    int32_t mStallCountdown NB_GUARDED_BY(mHandleLock) = 0;  ///< milliseconds
    std::ostringstream mLog NB_GUARDED_BY(mHandleLock);      ///< see `log`
    int32_t mMaxOutputBytes = 5000000;                       ///< see `setOutputLimits`
    uint32_t mKeepOutputBytes = 5000;                        ///< see `setOutputLimits`
    /// Like the version of the runtime below, only for the thread that runs commands and between
    /// commands: no lock guards them.
    uint32_t mChildSignal = noSignal;
    ScopedHandle mJob;  ///< open in job mode
    /// Units of 100 ns, like the next one.
    int64_t mLastUserTime NB_GUARDED_BY(mHandleLock) = 0;
    /// See `mLastUserTime`.
    int64_t mLastKernelTime NB_GUARDED_BY(mHandleLock) = 0;
    /// @{
    /// The counts of I/O operations of the job at the last progress.
    uint64_t mLastReads NB_GUARDED_BY(mHandleLock) = 0;
    uint64_t mLastWrites NB_GUARDED_BY(mHandleLock) = 0;
    uint64_t mLastOtherOps NB_GUARDED_BY(mHandleLock) = 0;
    /// @}
    uint32_t mPidBufferSize = largestPidBuffer;                          ///< in bytes
    uint16_t mCygwinMajor = 0;                                           ///< major * 1000 + minor
    uint16_t mCygwinMinor = 0;                                           ///< the patch level
    cygwin::connector* mConnector NB_GUARDED_BY(mHandleLock) = nullptr;  ///< not owned
    std::map<std::string, std::string> mPathCache;  ///< POSIX names to Windows paths
    uint64_t mPathCacheHits = 0;                    ///< answers from the cache
    uint64_t mPathCacheMisses = 0;                  ///< answers that had to be found

private:
    class Run;
    struct Wait;
    struct JobProcesses;

    static constexpr int killSignal = 9;  ///< of the POSIX side

    void addToLog(const std::string& text) NB_EXCLUDES(mHandleLock);
    void emptyLog() NB_EXCLUDES(mHandleLock);
    [[nodiscard]] int32_t ruleTimeout() const NB_REQUIRES(mHandleLock);
    [[nodiscard]] bool signalCygwinProcess(uint32_t pid, int signal) NB_REQUIRES(mHandleLock);

    [[nodiscard]] bool endByForce(const Wait& wait, HANDLE ntvdm);
    [[nodiscard]] bool waitLeftover(uint32_t id, const char* command, std::string* failureText);
    void superviseJob(Wait& wait) NB_EXCLUDES(mHandleLock);
    [[nodiscard]] bool isWatched() const NB_REQUIRES(mHandleLock);
    [[nodiscard]] bool isPastHalfTime() const NB_REQUIRES(mHandleLock);
    [[nodiscard]] JobProcesses listJob(std::string* failureText) NB_REQUIRES(mHandleLock);
    [[nodiscard]] bool sawProgress(const JOBOBJECT_BASIC_AND_IO_ACCOUNTING_INFORMATION& now)
        NB_REQUIRES(mHandleLock);
    void reportStall(Wait& wait, const JobProcesses& processes) NB_REQUIRES(mHandleLock);
    void breakCommand(const Wait& wait) NB_REQUIRES(mHandleLock);
};
