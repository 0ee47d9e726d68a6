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
    // Every child is a process group of its own. One that can't be reached so, or that has gone, is
    // not a failure: whoever waits for it ends it by force.
    mLog << "\tsending break event to Windows pid " << pid << '\n';
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, pid);
}

/// True if the process is one of the POSIX side and got the signal.
bool Exec::signalCygwinProcess(uint32_t pid, int signal) {
    if (mConnector == nullptr) {
        return false;
    }
    const int64_t cygwinPid = mConnector->internalize_pid(pid);
    if (cygwinPid == -1) {
        return false;
    }
    const int64_t group = mConnector->getpgid(cygwinPid);
    const int64_t target = group != -1 ? -group : cygwinPid;
    mLog << "\tsending a Cygwin signal to Cygwin pid/-pgid " << target << ": "
         << mConnector->strsignal(signal) << '\n';
    if (mConnector->kill(target, signal) == 0) {
        return true;
    }
    mLog << "\tfailed to send Cygwin signal: " << mConnector->error_text(mConnector->last_error())
         << '\n';
    return false;
}
