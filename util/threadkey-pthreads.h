#pragma once

#include <pthread.h>

#include "util/handle-pthreads.h"

/// One value per thread, of type `void*`, null until the thread sets it. When a thread ends and its
/// value isn't null, `destructor` (which may be null) is called with that value on that thread.
///
/// If the key can't be created, "Unable to initialize a new thread key" and the error's text go to
/// standard error, and the process aborts: any other key would be someone else's. A value that
/// can't be set is ignored. Any thread may call `get` and `set`.
class ThreadKey {
public:
    explicit ThreadKey(void (*destructor)(void*)) {
        abortIfFailed(pthread_key_create(&mKey, destructor),
                      "Unable to initialize a new thread key");
    }
    /// The destructor is not called for values that are still set.
    ~ThreadKey() { pthread_key_delete(mKey); }
    ThreadKey(const ThreadKey&) = delete;
    ThreadKey& operator=(const ThreadKey&) = delete;

    [[nodiscard]] void* get() const { return pthread_getspecific(mKey); }
    void set(void* value) { pthread_setspecific(mKey, value); }

private:
    pthread_key_t mKey{};
};
