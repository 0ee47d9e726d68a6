#include "util/mutex-pthreads.h"

#include "util/handle-pthreads.h"

namespace {

class MutexAttributes {
public:
    MutexAttributes() { pthread_mutexattr_init(&mAttributes); }
    ~MutexAttributes() { pthread_mutexattr_destroy(&mAttributes); }
    MutexAttributes(const MutexAttributes&) = delete;
    MutexAttributes& operator=(const MutexAttributes&) = delete;

    pthread_mutexattr_t* get() { return &mAttributes; }

private:
    pthread_mutexattr_t mAttributes{};
};

int initialize(pthread_mutex_t* mutex, MutexType type) {
    if (type == mutexDefault) {
        return pthread_mutex_init(mutex, /*attr=*/nullptr);
    }
    MutexAttributes attributes;
    switch (type) {
        case mutexPlain:
        case mutexDefaultByName:
            pthread_mutexattr_settype(attributes.get(), PTHREAD_MUTEX_NORMAL);
            break;
        case mutexErrorChecking:
            pthread_mutexattr_settype(attributes.get(), PTHREAD_MUTEX_ERRORCHECK);
            break;
        case mutexRecursive:
            pthread_mutexattr_settype(attributes.get(), PTHREAD_MUTEX_RECURSIVE);
            break;
        default:
            break;
    }
    return pthread_mutex_init(mutex, attributes.get());
}

// winpthreads allocates a lock when it is first taken. If it can't allocate the lock, it reports
// that the lock wasn't taken, and no caller checks that. Taking the lock once here makes the
// construction fail instead.

int useMutexOnce(pthread_mutex_t* mutex) {
    const int result = pthread_mutex_trylock(mutex);
    if (result == 0) {  // GCOVR_EXCL_BR_LINE: fails in winpthreads alone
        pthread_mutex_unlock(mutex);
    }
    return result;
}

int useRWLockOnce(pthread_rwlock_t* lock) {
    const int result = pthread_rwlock_trywrlock(lock);
    if (result == 0) {  // GCOVR_EXCL_BR_LINE: fails in winpthreads alone
        pthread_rwlock_unlock(lock);
    }
    return result;
}

}  // namespace

pthread_mutex_t* Mutex::makeHandle(MutexType type) {
    return makeHandleOrAbort<pthread_mutex_t>(
        [type](pthread_mutex_t* mutex) {
            const int result = initialize(mutex, type);
            return result != 0 ? result : useMutexOnce(mutex);
        },
        "Unable to initialize a new mutex");
}

Mutex::~Mutex() {
    pthread_mutex_destroy(mHandle);
    delete mHandle;  // GCOVR_EXCL_BR_LINE: it is never null
}

pthread_rwlock_t* RWLock::makeHandle() {
    return makeHandleOrAbort<pthread_rwlock_t>(
        [](pthread_rwlock_t* lock) {
            const int result = pthread_rwlock_init(lock, /*attr=*/nullptr);
            return result != 0 ? result : useRWLockOnce(lock);
        },
        "Unable to initialize a new rwlock");
}

RWLock::~RWLock() {
    pthread_rwlock_destroy(mHandle);
    delete mHandle;  // GCOVR_EXCL_BR_LINE: it is never null
}
