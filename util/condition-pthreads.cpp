#include "util/condition-pthreads.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "util/assertion.h"

Condition::Condition() : mHandle(nullptr) {
    auto handle = std::make_unique<pthread_cond_t>();
    if (const int result = pthread_cond_init(handle.get(), /*attr=*/nullptr)) {
        errno = result;
        std::perror("Unable to initialize a new condition variable");
        std::abort();
    }
    mHandle = handle.release();
}

Condition::~Condition() {
    pthread_cond_destroy(mHandle);
    delete mHandle;
}

void Condition::wait(Mutex& m) { pthread_cond_wait(mHandle, m.mHandle); }

bool Condition::wait(Mutex& m, const timespec* timeout) {
    if (timeout == nullptr) {
        wait(m);
        return true;
    }
    NB_ASSERT(timeout->tv_nsec < 1000000000L);
    return pthread_cond_timedwait(mHandle, m.mHandle, timeout) != ETIMEDOUT;
}
