#pragma once

#include <pthread.h>

/// One value per thread, of type `void*`, null until the thread sets it. When a thread ends with a
/// value that isn't null, `destructor` (which may be null) gets that value on that thread.
///
/// Results of the pthread calls are not examined. `get` and `set` may be called by any thread.
class ThreadKey {
public:
    explicit ThreadKey(void (*destructor)(void*)) { pthread_key_create(&mKey, destructor); }
    /// Destructors of values that are still set do not run.
    ~ThreadKey() { pthread_key_delete(mKey); }
    ThreadKey(const ThreadKey&) = delete;
    ThreadKey& operator=(const ThreadKey&) = delete;

    void* get() const { return pthread_getspecific(mKey); }
    void set(void* value) { pthread_setspecific(mKey, value); }

private:
    pthread_key_t mKey{};
};
