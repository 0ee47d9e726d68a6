#pragma once

#include <ctime>
#include <pthread.h>

#include "util/mutex-pthreads.h"

/// Lets threads wait for something to change that a mutex guards. Threads can wake without any
/// signal, so that a wait stands in a loop:
///
///     MutexLock lock(mMutex);
///     while (!mStopRequested) {
///         mCondition.wait(mMutex);
///     }
///
/// Results are not examined but for the timeout. A condition that can't be made ends the process:
/// "Unable to initialize a new condition variable" on standard error, and abort.
class Condition {
public:
    Condition();
    /// No thread may be waiting.
    ~Condition();
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    /// Wakes one thread that waits, if there is one.
    void signal() { pthread_cond_signal(mHandle); }
    /// Wakes all threads that wait.
    void broadcast() { pthread_cond_broadcast(mHandle); }

    /// Gives up `m`, which the caller holds once, waits, and takes `m` again before it returns.
    /// That second taking isn't measured by the mutex's getter.
    void wait(Mutex& m);
    /// The same until `timeout`, which is a point in time, counted from 1970 UTC, and not a
    /// duration; null waits without limit. False if it is the time that ended the wait, true for
    /// everything else. Asserts that the nanoseconds are below one second.
    bool wait(Mutex& m, const timespec* timeout);

private:
    pthread_cond_t* mHandle;
};
