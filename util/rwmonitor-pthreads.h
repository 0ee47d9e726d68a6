#pragma once

#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"

/// A lock that many readers or one writer may hold. Writers take precedence: a waiting writer
/// blocks all readers that come later. So a thread must not lock it for reading twice: see
/// `addReader`.
///
/// The monitor uses a mutex and a condition of its owner's, which several monitors may share and
/// which must outlive it. Each operation takes the mutex for its bookkeeping only, so the caller
/// must not hold it.
class NB_CAPABILITY("monitor") RWMonitor {
public:
    /// Waits aren't measured.
    RWMonitor(Mutex& m, Condition& c) : RWMonitor(m, c, nullptr) {}
    /// Waits are measured with the getter's timer, both for the busy mutex and for the monitor
    /// itself. For the latter, the getter is called with the mutex held, and must not take it.
    RWMonitor(Mutex& m, Condition& c, TimerGetter getter)
        : mMutex(&m), mCondition(&c), mGetter(getter) {}
    /// Asserts that no thread holds the monitor or waits for it. No operation may still be running.
    ~RWMonitor();
    RWMonitor(const RWMonitor&) = delete;
    RWMonitor& operator=(const RWMonitor&) = delete;

    /// Waits until no writer holds the monitor or waits for it, and locks it for reading.
    void lockForRead() NB_ACQUIRE_SHARED(this);
    /// Waits until no thread holds the monitor, and locks it for writing.
    void lockForWrite() NB_ACQUIRE(this);
    /// Locks for reading without waiting, ahead of any waiting writers. No writer may hold the
    /// monitor: its hold would be lost. For a thread that is sure of this, such as one that has
    /// already locked for reading. Needs its own `unlock`.
    void addReader() NB_ACQUIRE_SHARED(this);
    /// Ends one hold, for reading or writing. Asserts that there is one. A hold isn't bound to a
    /// thread: any thread may end it.
    void unlock() NB_RELEASE_GENERIC(this);

private:
    friend struct RWMonitorTestPeer;
    class Bookkeeping;

    void waitAtGate(int& numWaiting) NB_REQUIRES(mMutex);

    // These do nothing. They tell the compiler's check of locks what it can't see from the fields:
    // that the monitor is held from now on, or isn't any more.
    void isHeldForRead() NB_ACQUIRE_SHARED() {}
    void isHeldForWrite() NB_ACQUIRE() {}
    void isReleased() NB_RELEASE_GENERIC() {}

    Mutex* mMutex;
    Condition* mCondition;
    int mNumReadersWaiting NB_GUARDED_BY(mMutex) = 0;
    int mNumWritersWaiting NB_GUARDED_BY(mMutex) = 0;
    /// 0 when free, the number of readers, or -1 for a writer.
    int mState NB_GUARDED_BY(mMutex) = 0;
    TimerGetter mGetter;
};
