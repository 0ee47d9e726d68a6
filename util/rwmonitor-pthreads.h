#pragma once

#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"

/// A lock that many readers or one writer may hold. Writers take precedence: a waiting writer
/// blocks all readers that come later. So a thread must not lock it for reading twice: see
/// `addReader`.
///
/// The monitor uses a mutex and a condition of its owner's, which several monitors may share and
/// which must outlive it. Each operation takes the mutex for its bookkeeping only, so the caller
/// must not hold it.
class RWMonitor {
public:
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
    void lockForRead();
    /// Waits until no thread holds the monitor, and locks it for writing.
    void lockForWrite();
    /// Locks for reading without waiting, ahead of any waiting writers. No writer may hold the
    /// monitor: its hold would be lost. For a thread that is sure of this, such as one that has
    /// already locked for reading. Needs its own `unlock`.
    void addReader();
    /// Ends one hold, for reading or writing. Asserts that there is one. A hold isn't bound to a
    /// thread: any thread may end it.
    void unlock();

private:
    friend struct RWMonitorTestPeer;
    class Bookkeeping;

    void waitAtGate(int& numWaiting);

    Mutex* mMutex;
    Condition* mCondition;
    int mNumReadersWaiting = 0;
    int mNumWritersWaiting = 0;
    /// 0 when free, the number of readers, or -1 for a writer.
    int mState = 0;
    TimerGetter mGetter;
};
