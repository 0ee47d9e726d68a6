#include "util/condition-pthreads.h"

#include <cerrno>

#include "util/assertion.h"
#include "util/handle-pthreads.h"

Condition::Condition()
    : mHandle(makeHandleOrAbort<pthread_cond_t>(
          [](pthread_cond_t* condition) { return pthread_cond_init(condition, /*attr=*/nullptr); },
          "Unable to initialize a new condition variable")) {}

Condition::~Condition() {
    pthread_cond_destroy(mHandle);
    delete mHandle;  // GCOVR_EXCL_BR_LINE: it is never null
}

void Condition::wait(Mutex& m) { pthread_cond_wait(mHandle, m.mHandle); }

bool Condition::wait(Mutex& m, const timespec* timeout) {
    if (timeout == nullptr) {
        wait(m);
        return true;
    }
    constexpr long second = 1'000'000'000;  // nanoseconds
    NB_ASSERT_AS(timeout->tv_nsec < second, "timeout->tv_nsec < 1000000000L");
    return pthread_cond_timedwait(mHandle, m.mHandle, timeout) != ETIMEDOUT;
}
