#pragma once

#include <cstddef>
#include <cstdint>
#include <pthread.h>

#include <boost/function.hpp>

#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"

/// Owns the attributes for a new thread.
class ThreadAttributes {
public:
    /// If a call to create, detach or destroy the attributes fails, an assertion stops the process.
    ThreadAttributes();
    ~ThreadAttributes();
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    /// Makes threads that can't be joined. If that fails, an assertion stops the process.
    void setDetached();
    /// In bytes. If the thread library rejects the size, its default remains.
    void setStackSize(size_t bytes);

    pthread_attr_t raw;  ///< for pthread_create
};

/// A thread that can be asked to stop; classes derive from it.
///
///     class Worker : public Thread {
///         void* run() override {
///             MutexLock lock(mMutex);
///             while (mStopRequested == 0) {
///                 mCondition.wait(mMutex);
///             }
///             return nullptr;
///         }
///     };
///
/// One thread starts, joins and destroys the object; any thread can request a stop. From its start
/// until it is joined, the thread is included in the number passed to pthread_setconcurrency. That
/// number is only a hint, so no lock guards it.
///
/// The order of the virtual operations and of the fields is fixed.
class Thread {
public:
    Thread() = default;
    /// The thread must have been joined: otherwise an assertion stops the process.
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Requests a stop: locks the mutex and calls `stop(lock)`.
    virtual void stop() NB_EXCLUDES(mMutex);
    /// Does nothing; for derived classes.
    virtual void notify();
    /// Called by `join` if it fails. Does nothing.
    virtual void joinFailed();
    /// The work of the thread. `join` returns its result; an exception ends the process.
    virtual void* run() = 0;
    /// Sets the stop request, which remains set for later starts, and wakes a thread that waits for
    /// it. `lock` must hold the object's mutex: otherwise an assertion stops the process.
    virtual void stop(MutexLock& lock) NB_REQUIRES(mMutex);
    /// Makes the same assertion and does nothing else; for derived classes.
    virtual void notify(MutexLock& lock) NB_REQUIRES(mMutex);

    /// Starts `run` on a new thread, with `stackSize` bytes of stack, or the default size for 0.
    /// The previous thread must have been joined: otherwise an assertion stops the process. If no
    /// thread can be created, throws std::runtime_error ("Unable to start new thread: ...") and
    /// changes nothing; std::bad_alloc passes through.
    void start(size_t stackSize = 0);
    /// Waits until the thread ends and returns the result of `run`, or null if no thread was
    /// started. If that fails, the error is written to standard error and `joinFailed` is called;
    /// the thread then counts as joined, and the result is unspecified.
    void* join();

    /// Runs a copy of `f` on a thread that is never joined, with a stack as for `start`. Throws
    /// what `start` throws, and what copying `f` throws. An exception from `f` ends the process; so
    /// does an empty `f`, which throws boost::bad_function_call on that thread.
    static void startDetached(const boost::function<void()>& f, size_t stackSize = 0);

    [[nodiscard]] static pthread_t self() { return pthread_self(); }  ///< of the calling thread
    /// Lets other threads run.
    static void yield();

protected:
    Mutex mMutex;          ///< guards the stop request, and what derived classes add
    Condition mCondition;  ///< signals a stop request; its mutex is `mMutex`
    uint32_t mStopRequested NB_GUARDED_BY(mMutex) = 0;  ///< not 0 from a request on

private:
    static void* runThread(void* thread);

    pthread_t* mThread = nullptr;
};
