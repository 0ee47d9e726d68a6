#include "testing/calls/threadcalls-pthreads.h"

#include <pthread.h>

#include "testing/calls/systemerror.h"

using namespace testing_support;

testing_support::ThreadCalls testing_support::gThreadCalls;

namespace {

/// Creates something that is counted in `made`. If `result` isn't 0, returns it without making the
/// call; otherwise returns the call's result.
template <class Call>
int makeCounted(int result, std::atomic<int>& made, Call call) {
    if (result == 0) {
        result = call();
        made += result == 0 ? 1 : 0;
    }
    return result;
}

/// How often the code under test has set a stack size. The sanitizers set one during a thread's
/// creation.
std::atomic<int> gStackSizeCalls{0};

}  // namespace

extern "C" {
using StartRoutine = void* (*)(void*);

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, StartRoutine routine,
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);
int __real_pthread_attr_init(pthread_attr_t* attributes);
int __real_pthread_attr_destroy(pthread_attr_t* attributes);
int __real_pthread_attr_setdetachstate(pthread_attr_t* attributes, int state);
int __real_pthread_attr_setstacksize(pthread_attr_t* attributes, size_t size);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, StartRoutine routine,
                          void* argument) {
    gThreadCalls.concurrency = pthread_getconcurrency();
    gThreadCalls.stackSizeCalls = gStackSizeCalls.exchange(0);
    if (attributes != nullptr) {
        int state = PTHREAD_CREATE_JOINABLE;
        pthread_attr_getdetachstate(attributes, &state);
        gThreadCalls.isDetached = state == PTHREAD_CREATE_DETACHED;
        size_t size = 0;
        pthread_attr_getstacksize(attributes, &size);
        gThreadCalls.stackSize = size;
    }
    if (const int result = gThreadCalls.createResult) {
        return result;
    }
    const int result = __real_pthread_create(thread, attributes, routine, argument);
    gStackSizeCalls = 0;
    return result;
}

int __wrap_pthread_join(pthread_t thread, void** result) {
    const int joined = __real_pthread_join(thread, result);
    if (const int replaced = gThreadCalls.joinResult) {
        testing_support::setSystemError(gThreadCalls.joinError);
        return replaced;
    }
    return joined;
}

int __wrap_pthread_attr_init(pthread_attr_t* attributes) {
    if (const int result = gThreadCalls.initResult) {
        return result;
    }
    ++gThreadCalls.attributes;
    return __real_pthread_attr_init(attributes);
}

int __wrap_pthread_attr_destroy(pthread_attr_t* attributes) {
    --gThreadCalls.attributes;
    const int destroyed = __real_pthread_attr_destroy(attributes);
    const int result = gThreadCalls.destroyResult;
    return result != 0 ? result : destroyed;
}

int __wrap_pthread_attr_setdetachstate(pthread_attr_t* attributes, int state) {
    const int result = gThreadCalls.detachResult;
    return result != 0 ? result : __real_pthread_attr_setdetachstate(attributes, state);
}

int __wrap_pthread_attr_setstacksize(pthread_attr_t* attributes, size_t size) {
    ++gStackSizeCalls;
    const int result = gThreadCalls.stackSizeResult;
    return result != 0 ? result : __real_pthread_attr_setstacksize(attributes, size);
}

int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_mutex_destroy(pthread_mutex_t* mutex);
int __real_pthread_rwlock_init(pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes);
int __real_pthread_rwlock_destroy(pthread_rwlock_t* lock);
int __real_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes);
int __real_pthread_cond_destroy(pthread_cond_t* condition);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return makeCounted(gThreadCalls.mutexResult, gThreadCalls.mutexes,
                       [&] { return __real_pthread_mutex_init(mutex, attributes); });
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex) {
    --gThreadCalls.mutexes;
    return __real_pthread_mutex_destroy(mutex);
}

int __wrap_pthread_rwlock_init(pthread_rwlock_t* lock, const pthread_rwlockattr_t* attributes) {
    return makeCounted(gThreadCalls.rwLockResult, gThreadCalls.rwLocks,
                       [&] { return __real_pthread_rwlock_init(lock, attributes); });
}

int __wrap_pthread_rwlock_destroy(pthread_rwlock_t* lock) {
    --gThreadCalls.rwLocks;
    return __real_pthread_rwlock_destroy(lock);
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    return makeCounted(gThreadCalls.conditionResult, gThreadCalls.conditions,
                       [&] { return __real_pthread_cond_init(condition, attributes); });
}

int __wrap_pthread_cond_destroy(pthread_cond_t* condition) {
    --gThreadCalls.conditions;
    return __real_pthread_cond_destroy(condition);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
    const int result = gThreadCalls.waitResult;
    return result != 0 ? result : __real_pthread_cond_timedwait(condition, mutex, deadline);
}
}
