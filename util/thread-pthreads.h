#pragma once

#include <cstddef>
#include <cstdint>
#include <pthread.h>

#include <boost/function.hpp>

#include "util/condition-pthreads.h"
#include "util/mutex-pthreads.h"

/// Owns the attributes that a thread is made with.
class ThreadAttributes {
public:
    /// Attributes that can't be made, detached or destroyed stop the process by an assertion.
    ThreadAttributes();
    ~ThreadAttributes();
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    void setDetached();
    /// In bytes. A size that the thread library refuses leaves its default.
    void setStackSize(size_t bytes);

    pthread_attr_t raw;
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
/// One thread starts, joins and destroys the object; a stop can be requested by any. While it
/// exists, the thread counts in pthread_setconcurrency, a hint that no lock guards.
///
/// The order of the virtual operations and of the fields is fixed.
class Thread {
public:
    Thread() = default;
    /// The thread must have been joined: an assertion stops the process otherwise.
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Requests a stop: `stop(lock)` with the lock taken.
    virtual void stop();
    /// Does nothing; for derived classes.
    virtual void notify();
    /// Is called by `join` when that fails. Does nothing.
    virtual void joinFailed();
    /// What the thread does. The result is what `join` returns; an exception ends the process.
    virtual void* run() = 0;
    /// Sets the stop request, which stays for later starts, and wakes a thread that waits for it.
    /// `lock` holds the object's mutex: an assertion stops the process otherwise.
    virtual void stop(MutexLock& lock);
    /// Asserts the same and does nothing else; for derived classes.
    virtual void notify(MutexLock& lock);

    /// Starts `run` on a thread of its own, with so many bytes of stack, or the default for 0. The
    /// thread before must have been joined: an assertion stops the process otherwise. Throws
    /// std::runtime_error, with nothing changed, if no thread can be had ("Unable to start new
    /// thread: ..."); std::bad_alloc passes.
    void start(size_t stackSize = 0);
    /// Waits for the end of the thread and returns what `run` did; null if none was started. A
    /// failure goes to standard error and to `joinFailed`, and counts as the end; the result is
    /// then whatever was got.
    void* join();

    /// Runs a copy of `f` on a thread that nobody joins, with a stack as for `start`. Throws as
    /// `start` does, and what copying `f` throws. What `f` throws ends the process; so does an
    /// empty one, which throws boost::bad_function_call there.
    static void startDetached(const boost::function<void()>& f, size_t stackSize = 0);

    static pthread_t self() { return pthread_self(); }
    /// Lets other threads run.
    static void yield();

protected:
    Mutex mMutex;  ///< guards the stop request, and what derived classes add
    Condition mCondition;
    uint32_t mStopRequested = 0;

private:
    static void* runThread(void* thread);

    pthread_t* mThread = nullptr;
};
