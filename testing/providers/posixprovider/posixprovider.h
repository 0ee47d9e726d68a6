#pragma once

// posixprovider.dll: a POSIX runtime for tests, which is accessed only through the byte offsets of
// the binary interface. These functions control it: they set what a test needs and return what it
// checks afterwards. All may be called from any thread. Texts that they return are valid until the
// next reset.

#include <stddef.h>
#include <stdint.h>

#ifdef POSIXPROVIDER_BUILD
#define POSIXPROVIDER_API __declspec(dllexport)
#else
#define POSIXPROVIDER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// The constants have values that no runtime has, so that compiled-in ones are noticed. The 64-bit
// constants don't fit in 32 bits.
enum {
    POSIXPROVIDER_NOT_PERMITTED = 9001,     // unlock by a thread that isn't the owner
    POSIXPROVIDER_MISSING_ENTRY = 9102,     // error code at offset 780
    POSIXPROVIDER_MISSING_PROCESS = 9103,   // an unknown pid
    POSIXPROVIDER_INTERRUPTED = 9104,       // a wait that a reset ended
    POSIXPROVIDER_OUT_OF_MEMORY = 9112,     // an allocator that returned null
    POSIXPROVIDER_BUSY = 9116,              // the end of a mutex or cond that is in use
    POSIXPROVIDER_EXISTS = 9117,            // symlink where a link exists
    POSIXPROVIDER_INVALID_ARGUMENT = 9122,  // error code at offset 716
    POSIXPROVIDER_DEADLOCK = 9145,          // lock by the owner
    POSIXPROVIDER_TIMED_OUT = 9216,         // error code at offset 908
    POSIXPROVIDER_NO_TEXT = 9999,           // a code without a text: "error 9999"

    POSIXPROVIDER_BLOCK = 71,    // `how` at offset 1140
    POSIXPROVIDER_UNBLOCK = 73,  // `how` at offset 1148

    POSIXPROVIDER_SIGNALS = 64,  // the highest signal; the lowest is 1
    POSIXPROVIDER_SIGCHLD = 27,  // the only one that is ignored by default
    POSIXPROVIDER_SIGINT = 33,
    POSIXPROVIDER_SIGTERM = 37,
    POSIXPROVIDER_SIGUSR2 = 43,  // at offset 1032

    POSIXPROVIDER_SIGSET_SIZE = 40,     // at offset 1080, by default
    POSIXPROVIDER_SIGACTION_SIZE = 56,  // at offset 1096, by default

    POSIXPROVIDER_OWN_PID = 7042,
    POSIXPROVIDER_OWN_GROUP = 7001
};
#define POSIXPROVIDER_REALTIME_CLOCK INT64_C(0x5c10c00000001)           // at offset 1400
#define POSIXPROVIDER_DEFAULT_DISPOSITION UINT64_C(0xdefa000000000017)  // at offset 1056
#define POSIXPROVIDER_IGNORE_DISPOSITION UINT64_C(0xdefa000000000018)
#define POSIXPROVIDER_FIRST_THREAD UINT64_C(0x7e000000001)  // id of the first thread created

// Every entry of every object, in the order of the offsets.
enum posixprovider_entry {
    POSIXPROVIDER_INTERNALIZE_PID,
    POSIXPROVIDER_INTERNALIZE_PATH,
    POSIXPROVIDER_EXTERNALIZE_PATH,
    POSIXPROVIDER_INTERNALIZE_EXECUTION_PATH,
    POSIXPROVIDER_EXTERNALIZE_EXECUTION_PATH,
    POSIXPROVIDER_SYSTEM_DEALLOCATE,
    POSIXPROVIDER_SYSTEM_RELEASE,
    POSIXPROVIDER_SYSTEM_ADD_REF,
    POSIXPROVIDER_SYSTEM_ERROR_TEXT,
    POSIXPROVIDER_SYSTEM_EXIT,
    POSIXPROVIDER_SYSTEM_UNAME,
    POSIXPROVIDER_SYSTEM_CLOCK_GETTIME,
    POSIXPROVIDER_SYSTEM_NANOSLEEP,
    POSIXPROVIDER_SYSTEM_GETPID,
    POSIXPROVIDER_SYSTEM_GETPGID,
    POSIXPROVIDER_SYSTEM_KILL,
    POSIXPROVIDER_SYSTEM_STRSIGNAL,
    POSIXPROVIDER_SYSTEM_SIGSET_INIT,
    POSIXPROVIDER_SYSTEM_SIGACTION_INIT,
    POSIXPROVIDER_SYSTEM_SIGACTION,
    POSIXPROVIDER_SYSTEM_SIGWAIT,
    POSIXPROVIDER_SYSTEM_THREAD_SIGMASK,
    POSIXPROVIDER_SYSTEM_THREAD_CREATE,
    POSIXPROVIDER_SYSTEM_THREAD_JOIN,
    POSIXPROVIDER_SYSTEM_MUTEX_CREATE,
    POSIXPROVIDER_SYSTEM_COND_CREATE,
    POSIXPROVIDER_SYSTEM_SYMLINK,
    POSIXPROVIDER_SYSTEM_READLINK,
    POSIXPROVIDER_SYSTEM_PATH_CALL,
    POSIXPROVIDER_SYSTEM_CHDIR,
    POSIXPROVIDER_SYSTEM_GET_MOUNTS,
    POSIXPROVIDER_MUTEX_SYSTEM,
    POSIXPROVIDER_MUTEX_DISOWN,
    POSIXPROVIDER_MUTEX_UNLOCK,
    POSIXPROVIDER_MUTEX_LOCK,
    POSIXPROVIDER_COND_SYSTEM,
    POSIXPROVIDER_COND_DISOWN,
    POSIXPROVIDER_COND_BROADCAST,
    POSIXPROVIDER_COND_TIMEDWAIT,
    POSIXPROVIDER_SIGSET_SYSTEM,
    POSIXPROVIDER_SIGSET_ADD,
    POSIXPROVIDER_SIGACTION_SET_HANDLER,
    POSIXPROVIDER_MOUNT_SYSTEM,
    POSIXPROVIDER_MOUNT_NEXT,
    POSIXPROVIDER_MOUNT_DEVICE,
    POSIXPROVIDER_MOUNT_ROOT,
    POSIXPROVIDER_MOUNT_TYPE,
    POSIXPROVIDER_MOUNT_OPTIONS,
    POSIXPROVIDER_MOUNT_OPTION_SYSTEM,
    POSIXPROVIDER_MOUNT_OPTION_NEXT,
    POSIXPROVIDER_MOUNT_OPTION_TEXT,
    POSIXPROVIDER_ERROR_STRING_RELEASE,
    POSIXPROVIDER_ERROR_STRING_TEXT,
    POSIXPROVIDER_UNAME_RESULT_DISPOSE,
    POSIXPROVIDER_UNAME_RESULT_RELEASE_TEXT,
    POSIXPROVIDER_ENTRIES
};

// What is alive now, and what has gone wrong.
enum posixprovider_counter {
    POSIXPROVIDER_COUNT_REFERENCES,  // of all embeddings together
    POSIXPROVIDER_COUNT_MUTEXES,
    POSIXPROVIDER_COUNT_CONDS,
    POSIXPROVIDER_COUNT_MOUNTS,
    POSIXPROVIDER_COUNT_MOUNT_OPTIONS,
    POSIXPROVIDER_COUNT_ERROR_STRINGS,
    POSIXPROVIDER_COUNT_UNAME_RESULTS,
    POSIXPROVIDER_COUNT_BUFFERS,    // made without an allocator
    POSIXPROVIDER_COUNT_THREADS,    // created and not joined
    POSIXPROVIDER_COUNT_LEFTOVERS,  // objects of an embedding that were alive at its last release
    POSIXPROVIDER_COUNT_FAULTS,  // misuse: a second end, a wrong holder, an unlock by another, ...
    POSIXPROVIDER_COUNTERS
};

enum posixprovider_clock {
    POSIXPROVIDER_REAL_CLOCK,    // the system's; the default after a reset
    POSIXPROVIDER_MANUAL_CLOCK,  // stands still until it is set or advanced
    // Also stands still, but leaps to the deadline of each nanosleep. It leaps to the deadline of
    // each timedwait as soon as no thread holds its mutex or waits for it: threads that were
    // waiting come before the time-out.
    POSIXPROVIDER_LEAPING_CLOCK
};

/// Resets everything to the state after a fresh load. Waits in progress end with
/// POSIXPROVIDER_INTERRUPTED. Existing embeddings must not be used any more.
POSIXPROVIDER_API void posixprovider_reset(void);
/// Creates an embedding with one reference, which belongs to the caller. `release` is the result of
/// uname.
POSIXPROVIDER_API void* posixprovider_make_embedding(const char* release);
/// Drops that reference. This doesn't count as a call.
POSIXPROVIDER_API void posixprovider_drop_embedding(void* embedding);

POSIXPROVIDER_API int posixprovider_count(enum posixprovider_counter counter);
/// Returns the counter's name.
POSIXPROVIDER_API const char* posixprovider_counter_name(enum posixprovider_counter counter);
/// Returns the description of a fault, from index 0 on, or null after the last one that was stored
/// (at most 32 are).
POSIXPROVIDER_API const char* posixprovider_fault(int index);
/// Forgets all faults, which were expected: the counter is 0 and no description is stored.
POSIXPROVIDER_API void posixprovider_forget_faults(void);
/// Returns the number of calls of an entry since the reset.
POSIXPROVIDER_API int posixprovider_calls(enum posixprovider_entry entry);

/// Makes the `nth` call from now (1 is the next, 0 all of them) of an entry that returns an error
/// code fail with `code`. With `with_result`, the call does its work and returns its result
/// nevertheless. Without it, nothing happens and the result is null (-1 for a pid, 0 for a number).
///
/// Entries that end an object end it even if they fail. For a list, they then also end the rest,
/// unless `with_result` is set. Entries that don't fail leave their out parameter for a reference
/// to the system unchanged.
///
/// Each call of this function adds a failure of its own. Returns 0 if there are too many (64).
POSIXPROVIDER_API int posixprovider_fail(enum posixprovider_entry entry, int nth, int code,
                                         int with_result);

/// Sends a signal to this process, as kill with its own pid does, but doesn't count a call.
POSIXPROVIDER_API void posixprovider_raise(int signal);
/// Returns whether the signal is pending, until a thread unblocks it or waits for it.
POSIXPROVIDER_API int posixprovider_is_pending(int signal);
/// Returns whether the calling thread blocks the signal.
POSIXPROVIDER_API int posixprovider_is_blocked(int signal);
/// Returns what sigaction has stored for the signal, by default the default disposition.
POSIXPROVIDER_API uint64_t posixprovider_disposition(int signal);
/// Returns how often the signal was delivered to a thread that didn't block it and the process
/// survived: because the signal is ignored by default, or has another disposition, which is never
/// called.
POSIXPROVIDER_API int posixprovider_delivered(int signal);

/// Adds a process to those that internalize_pid, getpgid and kill know, in addition to this one.
POSIXPROVIDER_API void posixprovider_add_process(uint32_t windows_pid, int64_t pid, int64_t group);
/// Returns how often kill was called for one of these processes, or for a group that contains one.
POSIXPROVIDER_API int posixprovider_kill_count(void);
/// The target (negative: a group) and the signal of one of these calls, from index 0 on.
POSIXPROVIDER_API int64_t posixprovider_kill_target(int index);
POSIXPROVIDER_API int posixprovider_kill_signal(int index);

POSIXPROVIDER_API void posixprovider_set_clock(enum posixprovider_clock clock);
/// Set and advance the time of the manual and the leaping clock, which is 0 after a reset.
POSIXPROVIDER_API void posixprovider_set_time(int64_t seconds, int64_t nanoseconds);
POSIXPROVIDER_API void posixprovider_advance_time(int64_t seconds, int64_t nanoseconds);
/// Gets the time of the current clock.
POSIXPROVIDER_API void posixprovider_time(int64_t* seconds, int64_t* nanoseconds);
/// Returns how many times were passed to an entry: cond timedwait (deadlines) or nanosleep
/// (requests).
POSIXPROVIDER_API int posixprovider_time_count(enum posixprovider_entry entry);
/// Gets one of these times, from index 0 on. Returns 0 if there is none (256 are stored).
POSIXPROVIDER_API int posixprovider_time_given(enum posixprovider_entry entry, int index,
                                               int64_t* seconds, int64_t* nanoseconds);
/// Waits until `count` threads are blocked at once in sigwait, mutex lock, cond timedwait,
/// nanosleep or thread_join. A thread that was woken doesn't count until it waits again. Returns 0
/// if that isn't so after ten seconds.
POSIXPROVIDER_API int posixprovider_await_blocked(enum posixprovider_entry entry, int count);

/// Sets the sizes that the table reports for the storage of a sigset and of a sigaction. If an
/// object doesn't fit, its data is in the provider's own memory; so a size of 0 is valid.
POSIXPROVIDER_API void posixprovider_set_storage_sizes(uint64_t sigset, uint64_t sigaction);
/// Returns the storage that was last passed to sigset_init or sigaction_init. It is a fault to pass
/// null, or an address that isn't a multiple of 16.
POSIXPROVIDER_API const void* posixprovider_storage(enum posixprovider_entry entry);

/// Sets the mount table, one mount a line, with any number of options:
///
///     device<TAB>root<TAB>type<TAB>option<TAB>option...
///
/// Path conversions use it. Externalize replaces the longest root that the path begins with by its
/// device, and slashes by backslashes. Internalize does the reverse; it accepts either slash, and
/// any case of letters in devices. A root or device matches only up to the end of a name. Mounts of
/// the type "cygdrive" don't convert. A path that no mount covers gives null.
///
/// The pair for execution also adds ".exe" to a name without a dot when it externalizes, and
/// removes ".exe" when it internalizes.
POSIXPROVIDER_API void posixprovider_set_mounts(const char* text);
/// Returns the target of a link that symlink has created or readlink would find, or null if there
/// is none.
POSIXPROVIDER_API const char* posixprovider_link(const char* path);
/// The path that was last passed to chdir, and the one passed to the entry at offset 504; empty at
/// first.
POSIXPROVIDER_API const char* posixprovider_directory(void);
POSIXPROVIDER_API const char* posixprovider_path_call(void);

#ifdef __cplusplus
}
#endif
