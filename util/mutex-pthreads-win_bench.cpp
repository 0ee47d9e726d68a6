#include <memory>

#include "testing/benchmark/comparison.h"
#include "util/mutex-pthreads.h"

namespace {

using benchmark::compare;

NestedTimer* noTimer() { return nullptr; }

void compareUncontended(const char* operation, Mutex& mutex) {
    const auto freeBare = [](pthread_mutex_t* handle) {
        pthread_mutex_destroy(handle);
        delete handle;
    };
    const std::unique_ptr<pthread_mutex_t, decltype(freeBare)> bare(Mutex::makeHandle(mutexDefault),
                                                                    freeBare);
    compare(
        {operation, "pthread_mutex_lock, pthread_mutex_unlock", 1.15},
        [&] {
            mutex.lock();
            mutex.unlock();
        },
        [&] {
            pthread_mutex_lock(bare.get());
            pthread_mutex_unlock(bare.get());
        });
}

TEST(Benchmark, MutexLockWithoutGetter) {
    Mutex mutex;
    compareUncontended("Mutex::lock, unlock, free, without getter", mutex);
}

TEST(Benchmark, MutexLockWithGetter) {
    Mutex mutex(&noTimer);
    compareUncontended("Mutex::lock, unlock, free, with getter", mutex);
}

}  // namespace
