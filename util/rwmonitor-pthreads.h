#pragma once

#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"

/// A gate that many readers or one writer may hold, and at which writers go first: a writer that
/// waits holds back all readers that come later. So a thread must not lock it for reading twice:
/// see `addReader`.
///
/// It stands on a mutex and a condition of someone else's, which several monitors may share and
/// which must outlive it. The mutex is taken by each operation, for its bookkeeping only, and so
/// must not be held by the caller.
class RWMonitor {
public:
    RWMonitor(Mutex& m, Condition& c) : RWMonitor(m, c, nullptr) {}
    /// Waits are measured into the getter's timer: those for the busy mutex, and those at the gate.
    /// For the latter the getter is called with the mutex held, and must not take it.
    RWMonitor(Mutex& m, Condition& c, TimerGetter getter)
        : mMutex(&m), mCondition(&c), mGetter(getter) {}
    /// Asserts that nobody holds the monitor or waits for it. No operation may still be running.
    ~RWMonitor();
    RWMonitor(const RWMonitor&) = delete;
    RWMonitor& operator=(const RWMonitor&) = delete;

    /// Waits until no writer holds the monitor or waits for it.
    void lockForRead();
    /// Waits until nobody holds the monitor.
    void lockForWrite();
    /// Enters as a reader without waiting, past writers that wait. No writer may hold the monitor:
    /// its hold would be lost. For a thread that vouches that it may, such as one that has locked
    /// for reading already. Ended by an `unlock` of its own.
    void addReader();
    /// Ends one hold, of either kind. Asserts that there is one. A hold isn't bound to a thread:
    /// any may end it.
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
