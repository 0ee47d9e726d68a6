#include "util/rwmonitor-pthreads.h"

#include "util/assertion.h"

/// Holds the monitor's mutex. The monitor's timer measures the wait for it, and so does the mutex's
/// own if the mutex has a getter.
class NB_SCOPED_CAPABILITY [[nodiscard]] RWMonitor::Bookkeeping {
public:
    explicit Bookkeeping(RWMonitor& monitor) NB_ACQUIRE(monitor.mMutex) : mMutex(*monitor.mMutex) {
        lockMeasured(
            monitor.mGetter, [this] { return pthread_mutex_trylock(mMutex.mHandle); },
            // Unchecked: the object holds it beyond this function.
            [this]() NB_NO_THREAD_SAFETY_ANALYSIS { mMutex.lock(); });
    }
    ~Bookkeeping() NB_RELEASE() { mMutex.unlock(); }
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
    isHeldForRead();
}

void RWMonitor::lockForWrite() {
    const Bookkeeping held(*this);
    while (mState != 0) {
        waitAtGate(mNumWritersWaiting);
    }
    --mState;
    isHeldForWrite();
}

void RWMonitor::addReader() {
    const Bookkeeping held(*this);
    ++mState;
    isHeldForRead();
}

void RWMonitor::unlock() {
    const Bookkeeping held(*this);
    NB_ASSERT(mState != 0);
    mState = mState > 0 ? mState - 1 : 0;
    if (mState == 0) {
        mCondition->broadcast();
    }
    isReleased();
}

void RWMonitor::waitAtGate(int& numWaiting) {
    // The getter runs under the mutex here. The gate is known to be shut only while the mutex is
    // held, and only the wait itself releases the mutex.
    const ScopedTimer waiting(mGetter != nullptr ? mGetter() : nullptr);
    ++numWaiting;
    mCondition->wait(*mMutex);
    --numWaiting;
}
