#include "util/thread-pthreads.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <utility>

#include "util/assertion.h"
#include "util/errortext.h"

namespace {

void changeConcurrency(int difference) {
    pthread_setconcurrency(pthread_getconcurrency() + difference);
}

/// Counts a thread while it isn't certain that it will exist. Removes the count unless it is kept.
class ConcurrencyRise {
public:
    ConcurrencyRise() { changeConcurrency(+1); }
    ~ConcurrencyRise() {
        if (!mIsKept) {
            changeConcurrency(-1);
        }
    }
    ConcurrencyRise(const ConcurrencyRise&) = delete;
    ConcurrencyRise& operator=(const ConcurrencyRise&) = delete;

    void keep() { mIsKept = true; }

private:
    bool mIsKept = false;
};

[[noreturn]] void throwStartFailure(int result) {
    std::string text = "Unable to start new thread: ";
    if (result == EAGAIN) {
        text += "not enough system resources available.";
    } else {
        const auto error = static_cast<uint32_t>(result);
        text += errorText(/*withCode=*/true, &error, errorOfEither);
    }
    throw std::runtime_error(text);
}

void* runDetached(void* argument) {
    const std::unique_ptr<boost::function<void()>> f(
        static_cast<boost::function<void()>*>(argument));
    (*f)();
    return nullptr;
}

void takeStackSize(ThreadAttributes& attributes, size_t bytes) {
    if (bytes != 0) {
        attributes.setStackSize(bytes);
    }
}

}  // namespace

ThreadAttributes::ThreadAttributes() { NB_ASSERT_AS(pthread_attr_init(&raw) == 0, "rc == 0"); }

ThreadAttributes::~ThreadAttributes() { NB_ASSERT(pthread_attr_destroy(&raw) == 0); }

void ThreadAttributes::setDetached() {
    NB_ASSERT_AS(pthread_attr_setdetachstate(&raw, PTHREAD_CREATE_DETACHED) == 0,
                 "pthread_attr_setdetachstate( &raw, PTHREAD_CREATE_DETACHED) == 0");
}

void ThreadAttributes::setStackSize(size_t bytes) { pthread_attr_setstacksize(&raw, bytes); }

Thread::~Thread() { NB_ASSERT_AS(mThread == nullptr, "mThread == 0"); }

void Thread::start(size_t stackSize) {
    NB_ASSERT_AS(mThread == nullptr, "mThread == 0");
    ConcurrencyRise rise;
    ThreadAttributes attributes;
    takeStackSize(attributes, stackSize);
    auto thread = std::make_unique<pthread_t>();
    const int result = pthread_create(thread.get(), &attributes.raw, runThread, this);
    if (result != 0) {
        throwStartFailure(result);
    }
    mThread = thread.release();
    rise.keep();
}

void* Thread::runThread(void* thread) { return static_cast<Thread*>(thread)->run(); }

void* Thread::join() {
    if (mThread == nullptr) {
        return nullptr;
    }
    void* result = nullptr;
    if (pthread_join(*mThread, &result) != 0) {
        std::fprintf(stderr, "Unable to join thread: %s\n",
                     errorText(/*withCode=*/true, /*error=*/nullptr, errorOfEither).c_str());
        joinFailed();
    }
    changeConcurrency(-1);
    const std::unique_ptr<pthread_t> joined(std::exchange(mThread, nullptr));
    return result;
}

void Thread::startDetached(const boost::function<void()>& f, size_t stackSize) {
    auto copy = std::make_unique<boost::function<void()>>(f);
    ThreadAttributes attributes;
    attributes.setDetached();
    takeStackSize(attributes, stackSize);
    pthread_t thread;
    const int result = pthread_create(&thread, &attributes.raw, runDetached, copy.get());
    if (result != 0) {
        throwStartFailure(result);
    }
    // The thread owns it from now on, and may have freed it already.
    static_cast<void>(copy.release());
}

void Thread::yield() { sched_yield(); }

void Thread::stop() {
    MutexLock lock(mMutex);
    stop(lock);
}

void Thread::stop(MutexLock& lock) {
    NB_ASSERT(lock.check(mMutex));
    mStopRequested = 1;
    mCondition.signal();
}

void Thread::notify() {}

void Thread::notify(MutexLock& lock) { NB_ASSERT(lock.check(mMutex)); }

void Thread::joinFailed() {}
