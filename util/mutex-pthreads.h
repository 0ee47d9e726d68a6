#pragma once

#include <cerrno>
#include <pthread.h>

#include "util/threadannotations.h"
#include "util/timer.h"

/// Returns the timer that measures the wait for a busy lock, or null for none. It is called only
/// when a lock is busy, on the thread that is about to wait for it, so that the timer can be that
/// thread's own. It must not take that lock.
using TimerGetter = NestedTimer* (*)();

/// The type of a `Mutex`. Any other value means the thread library's default, created with an
/// attribute object that has no type set.
using MutexType = int;
enum : MutexType {
    /// The thread library's default, created without an attribute object.
    mutexDefault = 0,
    mutexPlain = 1,          ///< of PTHREAD_MUTEX_NORMAL
    mutexErrorChecking = 2,  ///< of PTHREAD_MUTEX_ERRORCHECK
    mutexRecursive = 3,      ///< of PTHREAD_MUTEX_RECURSIVE
    /// The same as mutexPlain.
    mutexDefaultByName = 4,
};

/// Takes a lock and measures the wait for it. `tryLock` and `lock` are the pthread calls and return
/// their results. Without a getter, only `lock()` is called. With a getter, `tryLock()` is called
/// first; only if the lock is busy, the getter is called and `lock()` runs in a scope of its timer.
/// So taking a free lock never reads the clock. Any other result of `tryLock` is ignored.
template <class TryLock, class Lock>
void lockMeasured(TimerGetter getter, TryLock tryLock, Lock lock) {
    // Hints, so that taking a free lock is straight-line code.
    if (getter == nullptr) [[likely]] {
        lock();
        return;
    }
    if (tryLock() == EBUSY) [[unlikely]] {
        const ScopedTimer blocked(getter());
        lock();
    }
}

/// A mutex within the process. Unless its type is mutexRecursive, a thread that holds it must not
/// lock it again: it would wait for itself for ever. With mutexErrorChecking the second locking
/// fails instead; as results are ignored, `lock` just returns.
///
/// The results of locking, unlocking and destroying are ignored. If the mutex can't be created,
/// "Unable to initialize a new mutex" and the error's text go to standard error, and the process
/// aborts.
class NB_CAPABILITY("mutex") Mutex {
public:
    /// Waits for this mutex aren't measured.
    explicit Mutex(MutexType type = mutexDefault) : mHandle(makeHandle(type)) {}
    /// Has the default type. Waits for this mutex are measured with the getter's timer.
    explicit Mutex(TimerGetter getter) : mHandle(makeHandle(mutexDefault)), mGetter(getter) {}
    /// The mutex must not be held.
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits until the mutex is free, and takes it.
    void lock() NB_ACQUIRE() {
        lockMeasured(
            mGetter, [this] { return pthread_mutex_trylock(mHandle); },
            [this] { return pthread_mutex_lock(mHandle); });
    }
    /// Returns true if the mutex was taken. Never waits.
    [[nodiscard]] bool tryLock() NB_TRY_ACQUIRE(true) {
        return pthread_mutex_trylock(mHandle) == 0;
    }
    /// Ends one hold of the calling thread.
    void unlock() NB_RELEASE() { pthread_mutex_unlock(mHandle); }

    /// Creates a bare pthread mutex. The caller destroys it with pthread_mutex_destroy and frees
    /// the memory with delete.
    [[nodiscard]] static pthread_mutex_t* makeHandle(MutexType type);

private:
    // Both need the bare handle to wait or to try.
    friend class Condition;
    friend class RWMonitor;

    pthread_mutex_t* mHandle;
    TimerGetter mGetter = nullptr;
};

/// Holds a mutex from construction to destruction. A function that must be called with a lock held
/// says so (NB_REQUIRES). If its callers may be compiled without that check, it takes a
/// `MutexLock&` as proof as well, and asserts `lock.check(mMutex)`.
class NB_SCOPED_CAPABILITY [[nodiscard]] MutexLock {
public:
    /// Waits until the mutex is free, and takes it. It must outlive this object.
    explicit MutexLock(Mutex& m) NB_ACQUIRE(m) : mMutex(&m) { mMutex->lock(); }
    ~MutexLock() NB_RELEASE() { mMutex->unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    /// Returns true if `m` is the mutex that this object holds.
    [[nodiscard]] bool check(const Mutex& m) const { return mMutex == &m; }

private:
    Mutex* mMutex;
};

/// A lock that many readers or one writer may hold. Whether a waiting writer blocks new readers
/// depends on the thread library; `RWMonitor` guarantees it. A thread that holds the lock for
/// writing must not lock it again, and a thread that holds it for reading must not lock it for
/// writing.
///
/// Results are ignored, as for `Mutex`. If the lock can't be created, "Unable to initialize a new
/// rwlock" and the error's text go to standard error, and the process aborts.
class NB_CAPABILITY("rwlock") RWLock {
public:
    RWLock() : RWLock(nullptr) {}
    /// Waits for this lock, for reading or writing, are measured with the getter's timer.
    explicit RWLock(TimerGetter getter) : mHandle(makeHandle()), mGetter(getter) {}
    /// The lock must not be held.
    ~RWLock();
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    /// Waits until the lock can be taken for reading, and takes it.
    void readLock() NB_ACQUIRE_SHARED() {
        lockMeasured(
            mGetter, [this] { return pthread_rwlock_tryrdlock(mHandle); },
            [this] { return pthread_rwlock_rdlock(mHandle); });
    }
    /// Waits until the lock can be taken for writing, and takes it.
    void writeLock() NB_ACQUIRE() {
        lockMeasured(
            mGetter, [this] { return pthread_rwlock_trywrlock(mHandle); },
            [this] { return pthread_rwlock_wrlock(mHandle); });
    }
    /// @{
    /// Return true if the lock was taken. Never wait.
    [[nodiscard]] bool tryReadLock() NB_TRY_ACQUIRE_SHARED(true) {
        return pthread_rwlock_tryrdlock(mHandle) == 0;
    }
    [[nodiscard]] bool tryWriteLock() NB_TRY_ACQUIRE(true) {
        return pthread_rwlock_trywrlock(mHandle) == 0;
    }
    /// @}
    /// Ends one hold of the calling thread, for reading or writing.
    void unlock() NB_RELEASE_GENERIC() { pthread_rwlock_unlock(mHandle); }

    /// Creates a bare pthread lock. The caller destroys it with pthread_rwlock_destroy and frees
    /// the memory with delete.
    [[nodiscard]] static pthread_rwlock_t* makeHandle();

private:
    pthread_rwlock_t* mHandle;
    TimerGetter mGetter;
};
