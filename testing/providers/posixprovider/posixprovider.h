#pragma once

// posixprovider.dll: a POSIX runtime for tests, reached through nothing but the byte offsets of the
// binary interface. These are its controls: what a test sets, and what it asks afterwards. All may
// be called from any thread. Texts that they return are good until the next reset.

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

// The constants have values that no runtime has, so that compiled-in ones are noticed. Those that
// have 64 bits need more than 32.
enum {
    POSIXPROVIDER_NOT_PERMITTED = 9001,     // unlock by another than the owner
    POSIXPROVIDER_MISSING_ENTRY = 9102,     // error code at offset 780
    POSIXPROVIDER_MISSING_PROCESS = 9103,   // a pid that is in no table
    POSIXPROVIDER_INTERRUPTED = 9104,       // a wait that a reset has ended
    POSIXPROVIDER_OUT_OF_MEMORY = 9112,     // an allocator that returned null
    POSIXPROVIDER_BUSY = 9116,              // the end of a mutex or cond that is in use
    POSIXPROVIDER_EXISTS = 9117,            // symlink where there is one
    POSIXPROVIDER_INVALID_ARGUMENT = 9122,  // error code at offset 716
    POSIXPROVIDER_DEADLOCK = 9145,          // lock by the owner
    POSIXPROVIDER_TIMED_OUT = 9216,         // error code at offset 908
    POSIXPROVIDER_NO_TEXT = 9999,           // a code without a text: "error 9999"

    POSIXPROVIDER_BLOCK = 71,    // `how` at offset 1140
    POSIXPROVIDER_UNBLOCK = 73,  // `how` at offset 1148

    POSIXPROVIDER_SIGNALS = 64,  // signals are 1 to this
    POSIXPROVIDER_SIGCHLD = 27,  // the one that is ignored by default
    POSIXPROVIDER_SIGINT = 33,
    POSIXPROVIDER_SIGTERM = 37,
    POSIXPROVIDER_SIGUSR2 = 43,  // at offset 1032

    POSIXPROVIDER_SIGSET_SIZE = 40,     // at offset 1080 unless set
    POSIXPROVIDER_SIGACTION_SIZE = 56,  // at offset 1096 unless set

    POSIXPROVIDER_OWN_PID = 7042,
    POSIXPROVIDER_OWN_GROUP = 7001
};
#define POSIXPROVIDER_REALTIME_CLOCK INT64_C(0x5c10c00000001)           // at offset 1400
#define POSIXPROVIDER_DEFAULT_DISPOSITION UINT64_C(0xdefa000000000017)  // at offset 1056
#define POSIXPROVIDER_IGNORE_DISPOSITION UINT64_C(0xdefa000000000018)
#define POSIXPROVIDER_FIRST_THREAD UINT64_C(0x7e000000001)  // id of the first thread made

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

// What is alive now, and at the end what went wrong.
enum posixprovider_counter {
    POSIXPROVIDER_COUNT_REFERENCES,  // of all embeddings together
    POSIXPROVIDER_COUNT_MUTEXES,
    POSIXPROVIDER_COUNT_CONDS,
    POSIXPROVIDER_COUNT_MOUNTS,
    POSIXPROVIDER_COUNT_MOUNT_OPTIONS,
    POSIXPROVIDER_COUNT_ERROR_STRINGS,
    POSIXPROVIDER_COUNT_UNAME_RESULTS,
    POSIXPROVIDER_COUNT_BUFFERS,    // made without an allocator
    POSIXPROVIDER_COUNT_THREADS,    // made and not joined
    POSIXPROVIDER_COUNT_LEFTOVERS,  // objects of an embedding that were alive at its last release
    POSIXPROVIDER_COUNT_FAULTS,  // misuse: a second end, a wrong holder, an unlock by another, ...
    POSIXPROVIDER_COUNTERS
};

enum posixprovider_clock {
    POSIXPROVIDER_REAL_CLOCK,    // the system's; what there is after a reset
    POSIXPROVIDER_MANUAL_CLOCK,  // stands, until it is set or advanced
    // Stands as well, but leaps to the deadline of each nanosleep, and of each timedwait as soon as
    // nobody holds its mutex or waits for it: whoever was waiting comes before the time-out.
    POSIXPROVIDER_LEAPING_CLOCK
};

/// Forgets everything: back to the state of a fresh load. Waits that are under way end with
/// POSIXPROVIDER_INTERRUPTED, and embeddings must not be used any more.
POSIXPROVIDER_API void posixprovider_reset(void);
/// Makes an embedding with one reference, which belongs to the caller. `release` is what uname
/// says.
POSIXPROVIDER_API void* posixprovider_make_embedding(const char* release);
/// Drops that reference, without counting a call.
POSIXPROVIDER_API void posixprovider_drop_embedding(void* embedding);

POSIXPROVIDER_API int posixprovider_count(enum posixprovider_counter counter);
/// What is counted there, as words.
POSIXPROVIDER_API const char* posixprovider_counter_name(enum posixprovider_counter counter);
/// The description of a fault, from 0; null behind the last one that was kept (there is room for
/// 32).
POSIXPROVIDER_API const char* posixprovider_fault(int index);
/// The faults were expected: none is counted or kept any more.
POSIXPROVIDER_API void posixprovider_forget_faults(void);
/// The calls of an entry since the reset.
POSIXPROVIDER_API int posixprovider_calls(enum posixprovider_entry entry);

/// Lets the `nth` call from now (1 is the next, 0 all of them) of an entry that returns an error
/// code fail with `code`. With `with_result` it does what it does, and hands its result over,
/// nonetheless; without that nothing happens and the result is null (of a pid -1, of a number 0).
/// Entries that end an object end it in either case: of a list the rest too, without `with_result`.
/// Their out parameter for a reference to the system is left alone if they don't fail.
/// Each call of this function stands for itself. Returns 0 if there are too many (64).
POSIXPROVIDER_API int posixprovider_fail(enum posixprovider_entry entry, int nth, int code,
                                         int with_result);

/// Sends a signal to this process, as kill with its own pid does, without counting a call.
POSIXPROVIDER_API void posixprovider_raise(int signal);
/// Is the signal waiting for somebody to unblock it or to wait for it?
POSIXPROVIDER_API int posixprovider_is_pending(int signal);
/// Does the calling thread block the signal?
POSIXPROVIDER_API int posixprovider_is_blocked(int signal);
/// What sigaction has stored for the signal; the default disposition if nothing.
POSIXPROVIDER_API uint64_t posixprovider_disposition(int signal);
/// How often the signal was delivered to a thread that didn't block it, and the process survived:
/// it is ignored by default, or has another disposition, which is never called.
POSIXPROVIDER_API int posixprovider_delivered(int signal);

/// Adds a process to those that internalize_pid, getpgid and kill know besides this one.
POSIXPROVIDER_API void posixprovider_add_process(uint32_t windows_pid, int64_t pid, int64_t group);
/// How often kill was called for such a process, or for a group that has one.
POSIXPROVIDER_API int posixprovider_kill_count(void);
/// The target (negative: a group) and the signal of such a call, from 0.
POSIXPROVIDER_API int64_t posixprovider_kill_target(int index);
POSIXPROVIDER_API int posixprovider_kill_signal(int index);

POSIXPROVIDER_API void posixprovider_set_clock(enum posixprovider_clock clock);
/// The time of the manual and the leaping clock, 0 after a reset.
POSIXPROVIDER_API void posixprovider_set_time(int64_t seconds, int64_t nanoseconds);
POSIXPROVIDER_API void posixprovider_advance_time(int64_t seconds, int64_t nanoseconds);
/// The time of the clock that is set.
POSIXPROVIDER_API void posixprovider_time(int64_t* seconds, int64_t* nanoseconds);
/// How many times were given to an entry, cond timedwait (deadlines) or nanosleep (requests).
POSIXPROVIDER_API int posixprovider_time_count(enum posixprovider_entry entry);
/// Such a time, from 0. Returns 0 if there is none (256 are kept).
POSIXPROVIDER_API int posixprovider_time_given(enum posixprovider_entry entry, int index,
                                               int64_t* seconds, int64_t* nanoseconds);
/// Waits until `count` threads are blocked at once in sigwait, mutex lock, cond timedwait,
/// nanosleep or thread_join: those that something has woken meanwhile don't count before they wait
/// again. Returns 0 if that isn't so after ten seconds.
POSIXPROVIDER_API int posixprovider_await_blocked(enum posixprovider_entry entry, int count);

/// What sizes the table tells for the storage of a sigset and of a sigaction. An object that
/// doesn't fit in keeps its data in the provider's own memory; then 0 is fine.
POSIXPROVIDER_API void posixprovider_set_storage_sizes(uint64_t sigset, uint64_t sigaction);
/// The storage that was given last, to sigset_init or sigaction_init. Null, or an address that is
/// not a multiple of 16, is a fault.
POSIXPROVIDER_API const void* posixprovider_storage(enum posixprovider_entry entry);

/// The mount table, one mount a line: "device<TAB>root<TAB>type<TAB>option<TAB>option...", any
/// number of options. Path conversions go by it: externalize turns the longest root that the path
/// begins with into its device, and slashes into backslashes; internalize does the reverse, with
/// either slash and any case of letters in devices. A root or device counts only up to the end of a
/// name. Mounts of the type "cygdrive" don't convert. A path that no mount covers gives null. The
/// pair for execution also adds ".exe" to a name without a dot when it externalizes, and takes
/// ".exe" off when it internalizes.
POSIXPROVIDER_API void posixprovider_set_mounts(const char* text);
/// The target of a link that symlink has made or readlink would find; null if there is none.
POSIXPROVIDER_API const char* posixprovider_link(const char* path);
/// The path that chdir was given last, and the one given to the entry at offset 504; empty at
/// first.
POSIXPROVIDER_API const char* posixprovider_directory(void);
POSIXPROVIDER_API const char* posixprovider_path_call(void);

#ifdef __cplusplus
}
#endif
