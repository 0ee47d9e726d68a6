#pragma once

#include <ctime>
#include <pthread.h>

#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"

/// Lets threads wait for a change of something that a mutex guards. A thread can wake up without
/// any signal, so a wait belongs in a loop:
///
///     MutexLock lock(mMutex);
///     while (!mStopRequested) {
///         mCondition.wait(mMutex);
///     }
///
/// The results of the pthread calls are ignored, except for the timeout. If the condition can't be
/// created, "Unable to initialize a new condition variable" and the error's text go to standard
/// error, and the process aborts.
class Condition {
public:
    Condition();
    /// No thread may be waiting.
    ~Condition();
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    /// Wakes one waiting thread, if there is one.
    void signal() { pthread_cond_signal(mHandle); }
    /// Wakes all waiting threads.
    void broadcast() { pthread_cond_broadcast(mHandle); }

    /// Releases `m`, which the caller must hold exactly once, waits, and locks `m` again before it
    /// returns. The mutex's getter doesn't measure this second locking.
    void wait(Mutex& m) NB_REQUIRES(m);
    /// The same, but waits until `timeout` at the latest. `timeout` is a point in time, counted
    /// from 1970 UTC, not a duration; null means no limit. Returns false if the wait timed out and
    /// true in all other cases. Asserts that the nanoseconds are below one second.
    [[nodiscard]] bool wait(Mutex& m, const timespec* timeout) NB_REQUIRES(m);

private:
    pthread_cond_t* mHandle;
};
