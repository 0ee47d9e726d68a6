#pragma once

// Says which lock guards what, and what a function does with a lock. clang checks that when it
// compiles (-Wthread-safety); other compilers see nothing.
//
//     class Counter {
//     public:
//         void add() NB_EXCLUDES(mMutex) {
//             const MutexLock lock(mMutex);
//             addOne();
//         }
//
//     private:
//         void addOne() NB_REQUIRES(mMutex) { ++mCount; }
//
//         Mutex mMutex;
//         int mCount NB_GUARDED_BY(mMutex) = 0;
//     };
//
// `lock` is a lock or a pointer to one: a field, a parameter, a global, or an expression of these.
// The macros come after the name of a field, and after `const`, `noexcept` and `override` of a
// function. An override repeats those of the function that it overrides.
//
// The check looks into no constructor, destructor or catch clause. It doesn't see a lock that is
// held by a std::optional, a std::unique_ptr or the caller of a lambda, and knows no recursive
// locks.

/// How the compiler spells an annotation; the other macros use it.
#if defined(__clang__)
#define NB_THREAD_ANNOTATION(word) __attribute__((word))
#else
#define NB_THREAD_ANNOTATION(word)
#endif

/// A class that is a lock; `kind` is what messages call it.
#define NB_CAPABILITY(kind) NB_THREAD_ANNOTATION(capability(kind))
/// A class whose objects hold a lock from their constructor to their destructor.
#define NB_SCOPED_CAPABILITY NB_THREAD_ANNOTATION(scoped_lockable)

/// A field or global that only a holder of the lock may use.
#define NB_GUARDED_BY(lock) NB_THREAD_ANNOTATION(guarded_by(lock))
/// A pointer to what only a holder of the lock may use.
#define NB_PT_GUARDED_BY(lock) NB_THREAD_ANNOTATION(pt_guarded_by(lock))

/// The caller holds the lock.
#define NB_REQUIRES(lock) NB_THREAD_ANNOTATION(requires_capability(lock))
/// The caller doesn't hold the lock: the function takes it.
#define NB_EXCLUDES(lock) NB_THREAD_ANNOTATION(locks_excluded(lock))

/// @name For a function that takes or releases a lock
/// Without an argument, the lock is the object, or what a scoped object holds, and the function
/// isn't checked itself.
/// @{
/// The function takes the lock, for writing if it tells readers from writers.
#define NB_ACQUIRE(...) NB_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// The function takes the lock for reading.
#define NB_ACQUIRE_SHARED(...) NB_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
/// The function releases what is held for writing.
#define NB_RELEASE(...) NB_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// Releases what is held for reading or for writing.
#define NB_RELEASE_GENERIC(...) NB_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
/// The function returns `taken` if it took the lock.
#define NB_TRY_ACQUIRE(taken) NB_THREAD_ANNOTATION(try_acquire_capability(taken))
/// The same for a lock that is taken for reading.
#define NB_TRY_ACQUIRE_SHARED(taken) NB_THREAD_ANNOTATION(try_acquire_shared_capability(taken))
/// @}

/// A function that isn't checked; a comment says why.
#define NB_NO_THREAD_SAFETY_ANALYSIS NB_THREAD_ANNOTATION(no_thread_safety_analysis)
