#pragma once

#include <pthread.h>

/// One value per thread, of type `void*`, null until the thread sets it. When a thread ends and its
/// value isn't null, `destructor` (which may be null) is called with that value on that thread.
///
/// The results of the pthread calls are ignored. Any thread may call `get` and `set`.
class ThreadKey {
public:
    /// Makes a key whose value is null in every thread.
    explicit ThreadKey(void (*destructor)(void*)) { pthread_key_create(&mKey, destructor); }
    /// The destructor is not called for values that are still set.
    ~ThreadKey() { pthread_key_delete(mKey); }
    ThreadKey(const ThreadKey&) = delete;
    ThreadKey& operator=(const ThreadKey&) = delete;

    /// Returns the value of the calling thread.
    [[nodiscard]] void* get() const { return pthread_getspecific(mKey); }
    /// Sets the value of the calling thread.
    void set(void* value) { pthread_setspecific(mKey, value); }

private:
    pthread_key_t mKey{};
};
