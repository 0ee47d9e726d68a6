#pragma once

// Runs one command at a time, from its line to its exit code.
//
//     Exec exec;
//     Exec::RunInfo info;
//     info.mDirectArgv = {"tool.exe \"some file\" -v"};
//     std::string output, error;
//     bool aborted = false;
//     const int32_t code = exec.runCommand(info, "c:/work", /*environment=*/nullptr,
//                                          /*passThrough=*/nullptr, &output, &error, &aborted);
//
// All text is UTF-8, save a line of the log (see there), and what a command writes, which comes
// back byte for byte.

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <list>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include <windows.h>

#include "util/mutex-pthreads.h"
#include "util/windows/scopedhandle-win.h"

class AccessToken;
namespace cygwin {
class connector;
}

/// Where a command's standard output or standard error goes. A stream of any other mode can't be
/// opened.
using StreamMode = int32_t;
enum : StreamMode {
    streamOutput = 0,  ///< the caller's standard output, or the capture of it
    streamError = 1,   ///< the caller's standard error, or the capture of it
    streamFile = 2,    ///< the named file, emptied first
    streamAppend = 3,  ///< the named file, behind what it holds
};

/// One thread at a time runs commands on an object. Any other thread may meanwhile abort the
/// command, replace the stall rules and, with `mHandleLock` held, read the log; all else waits for
/// the end of the command.
///
/// A derived class may replace `reportError` and the other virtual operations. `reportError` may be
/// called with `mHandleLock` held, and while other commands of the process wait for their start: it
/// must not wait for another thread, nor throw.
class Exec {
public:
    /// A command and where its streams go.
    struct RunInfo {
        /// The program file, taken as it stands but for its double quotes; nothing is searched for.
        /// Empty: the program is the first word of the line.
        std::string mProgram;
        /// Exactly one text, the whole line, quoted as the program wants it. Any other count stops
        /// the process by an assertion.
        std::vector<std::string> mDirectArgv;
        /// If not empty, its first text is the line that is started where the program can't be
        /// found or the streams can't be set up, and `clearRedirections` is called before.
        std::vector<std::string> mAlternateArgv;
        std::string mStdinFile;  ///< empty: the command reads the end of the file at once
        std::string mStdoutFile;
        std::string mStderrFile;
        StreamMode mStdoutMode = streamOutput;
        StreamMode mStderrMode = streamError;
        /// A stream of mode 1 counts as one of mode 0, so that standard error goes where standard
        /// output does.
        bool mMergeOutput = false;
        /// Streams of the modes 0 and 1 come back as text.
        bool mCaptureOutput = true;
        /// The two texts are taken for UTF-16, little-endian, and come back as UTF-8 where the exit
        /// code does. Only what the command itself writes comes through: a failure's text, or the
        /// report of a cut, is garbled.
        bool mUtf16Output = false;
        /// The command is a Cygwin program, whose exit code tells of signals. From version 1.7 of
        /// the connector on, a file with the system attribute is taken for a symbolic link and
        /// followed. What Windows can't find or start is tried once more, as a script or by its
        /// POSIX name. Both run Cygwin's own programs as commands, one by one, before the start; an
        /// abort doesn't reach these, and takes effect behind them. What they find is kept until
        /// `reset`: that is for before a command in another directory.
        bool mCygwinCommand = false;

        /// Makes the five fields of redirections what they are by default.
        void clearRedirections();
    };

    enum : uint32_t {
        watchTime = 1,   ///< a change of the job's processor times is progress
        watchIo = 2,     ///< a change of the job's counts of I/O operations is progress
        reportOnly = 4,  ///< a stall is reported and the command goes on
    };
    /// When a command counts as stalled. From the first command that matches a rule on, all
    /// commands of the object run in a job, in job mode, until `reset`. Those that match a rule now
    /// are watched, unless it has a timeout of 0 or neither watchTime nor watchIo.
    struct StallRule {
        std::string mPattern;  ///< POSIX extended; matches the whole line, in any case of letters
        /// Milliseconds without progress; in effect a multiple of 500, and 500 if it is negative.
        int32_t mTimeout = 0;
        uint32_t mFlags = 0;
    };

    static constexpr uint32_t noPid = 0xffffffff;
    static constexpr uint32_t noSignal = 0x80000000;

    Exec();
    /// Closes the job. A child that is still known, which no run leaves behind, is told to end and
    /// not waited for. No thread may be inside a call.
    virtual ~Exec();
    Exec(const Exec&) = delete;
    Exec& operator=(const Exec&) = delete;

    /// Starts a command, waits for it and, in job mode, for all that it started, and returns its
    /// exit code. 255: the program can't be found, the streams can't be set up at first, or the
    /// alternate can't be started. 1: any other failure, or an abort, and then `*aborted` is true,
    /// or a stall, and then a text behind the captured errors tells; without capture a stalled
    /// command's exit code comes back. A command may return these numbers itself.
    ///
    /// In three cases an abort leaves `*aborted` false, and the result is what it is without one:
    /// after a stall was noticed, where no program is started (a missing one, for instance), and
    /// where the wait for it fails.
    ///
    /// `environment` is a block of NAME=VALUE strings, each with its NUL, and one NUL more; null or
    /// empty stands for the caller's. Its first PATH in any case of letters is where programs are
    /// searched for. `workingDirectory` is absolute, or empty for the current one; relative files
    /// of the streams are seen from it. A stalled command is broken by the command that the
    /// environment variable "NBBRK" held when it was first needed (in the ANSI code page, at most
    /// 259 characters), run by another Exec with the same `passThrough`; without it by a break
    /// event.
    ///
    /// The last three are never null and are written at once. What is captured over the limit is
    /// cut, with a report in front. A process that the command leaves behind with its streams keeps
    /// the files of a capture open: they can't be removed then, and stay in the folder for
    /// temporary files. Without capture the run waits until all that was written into a pipe of the
    /// caller has been read.
    ///
    /// Failures are given to `reportError` and, with capture, put into `errorText`, or `outputText`
    /// where the streams are merged, in the order of events: those of the wait stand before what
    /// was captured. The missing program goes to one of the two. The desktop, the assignment to the
    /// job and a stall are told to `reportError` alone, and of an alternate that can't be started
    /// nothing is said.
    ///
    /// Until the command runs, the process's current directory and `Path` are the command's, and
    /// other commands wait for their start. `Path` goes through the ANSI code page, both ways:
    /// where the block has a PATH, the process's own loses characters that this lacks.
    ///
    /// Throws NumberedRuntimeError, 5008, for a working directory that can't be entered, and what
    /// the regular expression of a stall rule throws.
    virtual int32_t runCommand(RunInfo& runInfo, const std::string& workingDirectory,
                               const char* environment, void* passThrough, std::string* outputText,
                               std::string* errorText, bool* aborted);
    /// Tells the running command, or the next one if none is running, to end; if it hasn't within
    /// 1.5 seconds, it is ended by force. Every later command is aborted as well, until `reset`.
    /// `lock` must hold `mHandleLock`: an assertion stops the process otherwise. `signal` is for a
    /// process of the POSIX side; all others, and one that it can't be sent to, get a break event.
    /// Never waits; but while the command of "NBBRK" runs, that lock is held.
    virtual void abort(MutexLock& lock, int signal);
    /// Makes the object as new, but for the log, the job, the output limits, the size of the buffer
    /// for processes, the countdown and the last counters. Not while a command runs.
    virtual void reset();
    /// Does nothing. This one and the other two keep the places of operations.
    virtual void reserved1();
    /// Replaces the rules. If one of the new ones has the pattern of the rule that matched last, it
    /// applies to the running command from now on; otherwise that isn't watched any more.
    virtual void setStallRules(const std::list<StallRule>& rules);
    virtual void reserved2();
    /// A captured stream of over `maxBytes` bytes (5,000,000 at first) is cut to `keepBytes` bytes
    /// (5,000). A stream that is cut and has fewer is a failure: `keepBytes` is at most `maxBytes`,
    /// or 0. With a negative `maxBytes` every stream is cut, an empty one included: -1 and 0 give
    /// the report alone, of each captured stream.
    virtual void setOutputLimits(int maxBytes, unsigned keepBytes);
    virtual void getOutputLimits(int* maxBytes, unsigned* keepBytes);
    /// What happened in the present or last run. While a command runs, every other thread holds
    /// `mHandleLock` here. The line that a script was started by has the narrow characters of the
    /// process-wide locale (see narrowText), and is not always UTF-8.
    virtual std::string log();
    /// Writes the text and a line end to standard error.
    virtual void reportError(const char* text);
    virtual void reserved3();

    /// The connector is for commands that are POSIX processes; it outlives its use here. Null for
    /// none.
    void setCygwinConnector(cygwin::connector* connector);
    /// The signal that ended the last Cygwin command, or `noSignal`. Versions before 1.5.20 don't
    /// tell, and leave what was.
    uint32_t childSignal() const { return mChildSignal; }
    /// The first size, in bytes, of the buffer for the processes of a job: 16 at least, which is
    /// room for one, as the system refuses less. One of over 1,024 is ignored.
    void setPidBufferSize(uint32_t size);

    /// Lets the jobs that are made from now on run at high priority, if the version of Windows is
    /// below 6.1; from that on it enables the privilege alone. Empty, or the failure.
    static std::string elevateWindowsPriority();

    /// From now on all commands of the process, but for alternates, are started with the rights of
    /// this token, a primary one; with null, as at first, with those of the process. May wait for
    /// other commands to be started. Any thread may call these two.
    static void setRunAsToken(const boost::shared_ptr<AccessToken>& token);
    static boost::shared_ptr<AccessToken> runAsToken();

protected:
    /// Puts the text behind `failureText`, unless that is null, and calls `reportError`.
    void report(const std::string& text, std::string* failureText);
    /// The same with ": ", the words for GetLastError and a line end behind the text.
    void reportWithLastError(const char* text, std::string* failureText);
    void selectStallRule(const std::string& command);
    /// Waits for a process, breaks and ends it on an abort or a stall. False if the wait fails.
    bool waitProcessExit(HANDLE process, uint32_t pid, const char* command,
                         std::string* failureText, bool* stalled,
                         const std::string& workingDirectory, const char* environment,
                         void* passThrough);
    /// Waits for the processes that are left in the job, but for servers that are known to stay.
    void waitChildren(const char* command, std::string* failureText);

    /// `resolveCygwinPath` of a name, found once and kept until `reset`; so is the empty text of a
    /// name that means no file, and a relative answer, which holds only in the directory of the
    /// command that asked first. As all of the cache, for the thread in `runCommand`.
    std::string translateCached(const std::string& posixName);
    /// The line that runs the script, or the program by a POSIX name, that a command line begins
    /// with: the interpreter, by its Windows name, the file and the rest of the line. A name
    /// without slashes is searched for in `path` (null for the process's PATH). Empty where there
    /// is no such file, it can't be read, is a program that Windows refused, or names no
    /// interpreter. An interpreter that can't be found is left out of the line.
    std::wstring scriptCommandLine(const char* commandLine, const char* path);

    std::atomic<uint32_t> mPid = noPid;
    std::atomic<bool> mAborted = false;

public:
    /// Guards `mPid`, `mAborted`, the log, the rules and the countdown.
    Mutex mHandleLock;

protected:
    std::list<StallRule> mStallRules;
    StallRule* mCurrentRule = nullptr;
    std::string mJobPattern;      ///< not empty: job mode
    int32_t mStallCountdown = 0;  ///< milliseconds
    std::ostringstream mLog;      ///< written with `mHandleLock` held
    int32_t mMaxOutputBytes = 5000000;
    uint32_t mKeepOutputBytes = 5000;
    uint32_t mChildSignal = noSignal;
    ScopedHandle mJob;
    int64_t mLastUserTime = 0;  ///< units of 100 ns, as the next
    int64_t mLastKernelTime = 0;
    uint64_t mLastReads = 0;
    uint64_t mLastWrites = 0;
    uint64_t mLastOtherOps = 0;
    uint32_t mPidBufferSize = 1024;
    uint16_t mCygwinMajor = 0;  ///< major * 1000 + minor
    uint16_t mCygwinMinor = 0;  ///< the patch level
    cygwin::connector* mConnector = nullptr;
    std::map<std::string, std::string> mPathCache;  ///< POSIX names to Windows paths
    uint64_t mPathCacheHits = 0;
    uint64_t mPathCacheMisses = 0;

private:
    class Run;
    struct Wait;
    struct JobProcesses;

    void addToLog(const std::string& text);
    void emptyLog();
    int32_t ruleTimeout() const;
    bool signalCygwinProcess(uint32_t pid, int signal);

    bool endByForce(const Wait& wait, HANDLE ntvdm);
    bool waitLeftover(uint32_t id, const char* command, std::string* failureText);
    void superviseJob(Wait& wait);
    bool isWatched() const;
    bool isPastHalfTime() const;
    JobProcesses listJob(std::string* failureText);
    bool sawProgress(const JOBOBJECT_BASIC_AND_IO_ACCOUNTING_INFORMATION& now);
    void reportStall(Wait& wait, const JobProcesses& processes);
    void breakCommand(const Wait& wait);
};
