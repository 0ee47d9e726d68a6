#include <cstdint>
#include <string>

#include "util/assertion.h"
#include "util/windows/cygwinconnector.h"
#include "util/windows/exec-win.h"

void Exec::abort(MutexLock& lock, int signal) {
    NB_ASSERT(lock.check(mHandleLock));
    mLog << "aborted by call to Exec::abort\n";
    mAborted = true;
    const uint32_t pid = mPid;
    if (pid == noPid || signalCygwinProcess(pid, signal)) {
        return;
    }
    // Every child is a process group of its own. If the event can't be sent, or the child is gone,
    // that isn't a failure: the thread that waits for the child ends it by force.
    mLog << "\tsending break event to Windows pid " << pid << '\n';
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, pid);
}

/// Returns true if the process is known to the POSIX side and got the signal.
bool Exec::signalCygwinProcess(uint32_t pid, int signal) {
    if (mConnector == nullptr) {
        return false;
    }
    const int64_t cygwinPid = mConnector->internalize_pid(pid);
    if (cygwinPid == callFailed) {
        return false;
    }
    const int64_t group = mConnector->getpgid(cygwinPid);
    const int64_t target = group != callFailed ? -group : cygwinPid;
    mLog << "\tsending a Cygwin signal to Cygwin pid/-pgid " << target << ": "
         << mConnector->strsignal(signal) << '\n';
    if (mConnector->kill(target, signal) == callSucceeded) {
        return true;
    }
    mLog << "\tfailed to send Cygwin signal: " << mConnector->error_text(mConnector->last_error())
         << '\n';
    return false;
}
