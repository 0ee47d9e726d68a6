#include "util/rwmonitor-pthreads.h"

#include "util/assertion.h"

/// Holds the monitor's mutex. The monitor's timer measures the wait for it, and so does the mutex's
/// own if the mutex has a getter.
class RWMonitor::Bookkeeping {
public:
    explicit Bookkeeping(RWMonitor& monitor) : mMutex(*monitor.mMutex) {
        lockMeasured(
            monitor.mGetter, [this] { return pthread_mutex_trylock(mMutex.mHandle); },
            [this] { mMutex.lock(); });
    }
    ~Bookkeeping() { mMutex.unlock(); }
    Bookkeeping(const Bookkeeping&) = delete;
    Bookkeeping& operator=(const Bookkeeping&) = delete;

private:
    Mutex& mMutex;
};

RWMonitor::~RWMonitor() {
    NB_ASSERT(mState == 0);
    NB_ASSERT(mNumReadersWaiting == 0);
    NB_ASSERT(mNumWritersWaiting == 0);
}

void RWMonitor::lockForRead() {
    const Bookkeeping held(*this);
    while (mNumWritersWaiting != 0 || mState < 0) {
        waitAtGate(mNumReadersWaiting);
    }
    ++mState;
}

void RWMonitor::lockForWrite() {
    const Bookkeeping held(*this);
    while (mState != 0) {
        waitAtGate(mNumWritersWaiting);
    }
    --mState;
}

void RWMonitor::addReader() {
    const Bookkeeping held(*this);
    ++mState;
}

void RWMonitor::unlock() {
    const Bookkeeping held(*this);
    NB_ASSERT(mState != 0);
    mState = mState > 0 ? mState - 1 : 0;
    if (mState == 0) {
        mCondition->broadcast();
    }
}

void RWMonitor::waitAtGate(int& numWaiting) {
    // The getter runs under the mutex here. The gate is known to be shut only while the mutex is
    // held, and only the wait itself releases the mutex.
    const ScopedTimer waiting(mGetter != nullptr ? mGetter() : nullptr);
    ++numWaiting;
    mCondition->wait(*mMutex);
    --numWaiting;
}
