#pragma once

#include <cerrno>
#include <pthread.h>

#include "util/timer.h"

/// Yields the timer that the wait for a busy lock is measured into, or null for none. It is called
/// only when a lock is found busy, on the thread that is about to wait for it, so that the timer
/// can be that thread's own. It must not take the lock in question.
using TimerGetter = NestedTimer* (*)();

/// The kind of a `Mutex`. Any other value is the thread library's default, made by way of an
/// attribute object without a type.
using MutexType = int;
enum : MutexType {
    /// The thread library's default, made without an attribute object.
    mutexDefault = 0,
    mutexPlain = 1,
    mutexErrorChecking = 2,
    mutexRecursive = 3,
    /// The same as mutexPlain.
    mutexDefaultByName = 4,
};

/// Takes a lock and measures the wait for it. `tryLock` and `lock` are the pthread calls and return
/// their results. Without a getter this is `lock()`. With one it is `tryLock()`, and only if that
/// finds the lock busy, the getter is called and `lock()` runs in a scope of its timer: taking a
/// free lock reads no clock. Any other result of `tryLock` is not examined.
template <class TryLock, class Lock>
void lockMeasured(TimerGetter getter, TryLock tryLock, Lock lock) {
    // Hints, so that the taking of a free lock is a straight run of code.
    if (getter == nullptr) [[likely]] {
        lock();
        return;
    }
    if (tryLock() == EBUSY) [[unlikely]] {
        const ScopedTimer blocked(getter());
        lock();
    }
}

/// A mutex of the process. Unless its type is mutexRecursive, a thread that holds it must not lock
/// it again: it would wait for itself for ever. One of mutexErrorChecking refuses instead; as
/// results are not examined, `lock` just returns.
///
/// Results of locking, unlocking and destroying are not examined. A mutex that can't be made ends
/// the process: "Unable to initialize a new mutex" on standard error, and abort.
class Mutex {
public:
    explicit Mutex(MutexType type = mutexDefault) : mHandle(makeHandle(type)) {}
    /// Of the default type. Waits for this mutex are measured into the getter's timer.
    explicit Mutex(TimerGetter getter) : mHandle(makeHandle(mutexDefault)), mGetter(getter) {}
    /// The mutex must not be held.
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() {
        lockMeasured(
            mGetter, [this] { return pthread_mutex_trylock(mHandle); },
            [this] { return pthread_mutex_lock(mHandle); });
    }
    /// True if the mutex was taken. Never waits.
    bool tryLock() { return pthread_mutex_trylock(mHandle) == 0; }
    void unlock() { pthread_mutex_unlock(mHandle); }

    /// A new pthread mutex for code that needs it bare. The caller ends it with
    /// pthread_mutex_destroy, and frees the cell with delete.
    static pthread_mutex_t* makeHandle(MutexType type);

private:
    // Both wait or try with the bare handle.
    friend class Condition;
    friend class RWMonitor;

    pthread_mutex_t* mHandle;
    TimerGetter mGetter = nullptr;
};

/// Holds a mutex from its construction to its end. A function that must be called with a lock held
/// takes a `MutexLock&` as the proof, and asserts `lock.check(mMutex)`.
class MutexLock {
public:
    explicit MutexLock(Mutex& m) : mMutex(&m) { mMutex->lock(); }
    ~MutexLock() { mMutex->unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    /// True if `m` is the very mutex that this one holds.
    bool check(const Mutex& m) const { return mMutex == &m; }

private:
    Mutex* mMutex;
};

/// A lock that many readers or one writer may hold. Whether a waiting writer holds back new readers
/// is up to the thread library: see `RWMonitor` for one that promises it. A thread that holds it to
/// write must not lock it again, nor one that reads lock it to write.
///
/// Results are not examined, as for `Mutex`. A lock that can't be made ends the process: "Unable to
/// initialize a new rwlock" on standard error, and abort.
class RWLock {
public:
    RWLock() : RWLock(nullptr) {}
    /// Waits for this lock, to read or to write, are measured into the getter's timer.
    explicit RWLock(TimerGetter getter) : mHandle(makeHandle()), mGetter(getter) {}
    /// The lock must not be held.
    ~RWLock();
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    void readLock() {
        lockMeasured(
            mGetter, [this] { return pthread_rwlock_tryrdlock(mHandle); },
            [this] { return pthread_rwlock_rdlock(mHandle); });
    }
    void writeLock() {
        lockMeasured(
            mGetter, [this] { return pthread_rwlock_trywrlock(mHandle); },
            [this] { return pthread_rwlock_wrlock(mHandle); });
    }
    /// True if the lock was taken. Neither ever waits.
    bool tryReadLock() { return pthread_rwlock_tryrdlock(mHandle) == 0; }
    bool tryWriteLock() { return pthread_rwlock_trywrlock(mHandle) == 0; }
    /// Ends one hold of the calling thread, whichever kind it is.
    void unlock() { pthread_rwlock_unlock(mHandle); }

    /// A new pthread lock for code that needs it bare. The caller ends it with
    /// pthread_rwlock_destroy, and frees the cell with delete.
    static pthread_rwlock_t* makeHandle();

private:
    pthread_rwlock_t* mHandle;
    TimerGetter mGetter;
};
