#pragma once

// The binary interface to a POSIX runtime in this process, without linking against it.
//
// A module outside of this library creates one `embedding`; everything else is reached from it. An
// object holds a pointer to a table with entries and values at fixed offsets. The two sides share
// nothing else, so only integers, pointers and further objects cross the boundary, and no exception
// does. The calling convention is that of 64-bit Windows.
//
// Each entry takes the object as its first argument. Unless documented otherwise, it returns an
// error code of the runtime, 0 for success, and stores its result through the parameter named
// `result`. The caller owns the stored value even if the entry fails, null and -1 included. POSIX
// constants are read from the table of `system`. What the runtime hands out (mutexes, sets of
// signals, mounts, messages) is in posix/vrpsxrawobjects.h. vrpsxutilitycpp-win.h has classes for
// all this.

#include <cstddef>
#include <cstdint>

#include "util/windows/posix/vrpsxrawobjects.h"

namespace vrpsx::raw {

struct embedding;
struct buffer_owner;
struct allocator;

/// A process of the POSIX side; negative for a group of processes.
using pid = int64_t;
/// A thread of the POSIX side.
using thread_id = uint64_t;
/// What a thread runs. Nothing may be thrown out of it.
using thread_entry = void* (*)(void* argument);
/// One of the clocks of the runtime.
using clock_id = int64_t;

/// The object that frees a buffer: an allocator, or the system.
struct buffer_owner_table {
    void (*deallocate)(buffer_owner*, void* buffer);  ///< frees a buffer of this owner
};
/// Whatever frees buffers begins with this table.
struct buffer_owner {
    const buffer_owner_table* table;  ///< not null
};

/// Supplied by the caller, for the other side to allocate buffers. `allocate` returns null on
/// failure.
struct allocator_table {
    void (*deallocate)(allocator*, void* buffer);  ///< frees a buffer of this allocator
    void* (*allocate)(allocator*, size_t size);    ///< `size` is in bytes
};
/// An allocator of the caller.
struct allocator {
    const allocator_table* table;  ///< not null
};

/// Reference-counted: whoever gets a reference must release it.
struct system_table {
    /// Frees a buffer that an entry allocated without an allocator.
    void (*deallocate)(system*, void* buffer);
    entry reserved_8[2];
    int (*release)(system*, system** holder);  ///< drops a reference
    int (*add_ref)(system*);                   ///< adds a reference
    entry reserved_40[1];
    /// Returns the message for an error code.
    int (*error_text)(system*, int code, error_string** result);
    entry reserved_56[2];
    int (*exit)(system*, int code);                ///< doesn't return
    int (*uname)(system*, uname_result** result);  ///< describes the runtime
    entry reserved_88[10];
    /// Reads a clock.
    int (*clock_gettime)(system*, clock_id clock, time* result);
    /// Sleeps. A signal ends that, with the rest of the time in `remaining`.
    int (*nanosleep)(system*, const time* requested, time* remaining);
    entry reserved_184[2];
    pid (*getpid)(system*);  ///< returns the pid of this process
    entry reserved_208[1];
    /// Returns the group of a process.
    int (*getpgid)(system*, pid process, pid* result);
    int (*kill)(system*, pid target, int signal);  ///< a negative target is a process group
    entry reserved_232[1];
    const char* (*strsignal)(system*, int signal);  ///< returns the name
    /// Creates an empty set in the caller's storage, which has `sigset_size` bytes.
    int (*sigset_init)(system*, void* storage, sigset** result);
    /// Creates an action in the caller's storage, which has `sigaction_size` bytes.
    int (*sigaction_init)(system*, void* storage, raw::sigaction** result);
    /// Sets the action for a signal. `old`, unless null, becomes the one before.
    int (*sigaction)(system*, int signal, raw::sigaction* action, raw::sigaction* old);
    /// Waits for one of these signals, which the caller blocks.
    int (*sigwait)(system*, sigset* signals, int* result);
    /// Blocks signals for the calling thread, or no longer blocks them. `old`, unless null, becomes
    /// the mask before.
    int (*thread_sigmask)(system*, int how, sigset* signals, sigset* old);
    entry reserved_288[1];
    /// Starts a thread, which begins with the signal mask of the calling one.
    int (*thread_create)(system*, thread_id* result, thread_entry start, void* argument);
    entry reserved_304[1];
    /// Waits for the end of a thread. `result` may be null.
    int (*thread_join)(system*, thread_id thread, void** result);
    entry reserved_320[5];
    int (*mutex_create)(system*, mutex** result);  ///< the mutex is free
    entry reserved_368[3];
    int (*cond_create)(system*, cond** result);  ///< no thread waits for it
    entry reserved_400[8];
    /// Makes `path` a symbolic link whose text is `target`.
    int (*symlink)(system*, const char* target, const char* path);
    /// Returns the text of a symbolic link. `more` is a second result, which isn't used.
    int (*readlink)(system*, const char* path, allocator* buffers, char** result, int64_t* more);
    entry reserved_480[3];
    int (*path_call)(system*, const char* path);  ///< has no name of its own
    entry reserved_512[3];
    int (*chdir)(system*, const char* path);  ///< of the POSIX side
    entry reserved_544[2];
    int (*get_mounts)(system*, mount** result);  ///< null if there is none
    entry reserved_568[18];
    int32_t reserved_712;
    int32_t invalid_argument;  ///< error code
    int32_t reserved_720[15];
    int32_t missing_entry;  ///< error code
    int32_t reserved_784[31];
    int32_t timed_out;  ///< error code
    int32_t reserved_912[30];
    /// A signal without a meaning of its own.
    int32_t sigusr2;
    int32_t reserved_1036[5];
    /// What the runtime does with a signal that nobody handles.
    disposition default_disposition;
    int64_t reserved_1064[2];
    uint64_t sigset_size;  ///< in bytes
    int64_t reserved_1088[1];
    uint64_t sigaction_size;  ///< in bytes
    int32_t reserved_1104[9];
    int32_t block_signals;  ///< of `thread_sigmask`
    int32_t reserved_1144;
    int32_t unblock_signals;  ///< of `thread_sigmask`
    int64_t reserved_1152[31];
    /// The clock whose start is the year 1970.
    clock_id realtime_clock;
};
/// The runtime. Any thread may call its entries.
struct system {
    const system_table* table;  ///< not null
};

/// Its references are counted by its system. A null path result means that the path is the same in
/// both forms.
struct embedding_table {
    entry reserved_0[6];
    /// Translates a Windows process id, `length` bytes at `external`.
    int (*internalize_pid)(embedding*, const void* external, size_t length, pid* result);
    entry reserved_56[1];
    /// Translates a path of Windows to the POSIX side.
    int (*internalize_path)(embedding*, const char* path, allocator* buffers, char** result);
    /// Translates a path of the POSIX side to Windows.
    int (*externalize_path)(embedding*, const char* path, allocator* buffers, char** result);
    /// Translates the path of a program to the POSIX side.
    int (*internalize_execution_path)(embedding*, const char* path, allocator* buffers,
                                      char** result);
    /// Translates the path of a program to Windows.
    int (*externalize_execution_path)(embedding*, const char* path, allocator* buffers,
                                      char** result);
};
/// The runtime and its translations, in one object.
struct embedding {
    const embedding_table* table;  ///< not null
    raw::system system;            ///< counts the references of the whole object
};

// Those of posix/vrpsxrawobjects.h as well.
#define VRPSX_AT(table, name, offset) static_assert(offsetof(table, name) == (offset))
VRPSX_AT(buffer_owner_table, deallocate, 0);
VRPSX_AT(allocator_table, deallocate, 0);
VRPSX_AT(allocator_table, allocate, 8);
VRPSX_AT(system_table, deallocate, 0);
VRPSX_AT(system_table, release, 24);
VRPSX_AT(system_table, add_ref, 32);
VRPSX_AT(system_table, error_text, 48);
VRPSX_AT(system_table, exit, 72);
VRPSX_AT(system_table, uname, 80);
VRPSX_AT(system_table, clock_gettime, 168);
VRPSX_AT(system_table, nanosleep, 176);
VRPSX_AT(system_table, getpid, 200);
VRPSX_AT(system_table, getpgid, 216);
VRPSX_AT(system_table, kill, 224);
VRPSX_AT(system_table, strsignal, 240);
VRPSX_AT(system_table, sigset_init, 248);
VRPSX_AT(system_table, sigaction_init, 256);
VRPSX_AT(system_table, sigaction, 264);
VRPSX_AT(system_table, sigwait, 272);
VRPSX_AT(system_table, thread_sigmask, 280);
VRPSX_AT(system_table, thread_create, 296);
VRPSX_AT(system_table, thread_join, 312);
VRPSX_AT(system_table, mutex_create, 360);
VRPSX_AT(system_table, cond_create, 392);
VRPSX_AT(system_table, symlink, 464);
VRPSX_AT(system_table, readlink, 472);
VRPSX_AT(system_table, path_call, 504);
VRPSX_AT(system_table, chdir, 536);
VRPSX_AT(system_table, get_mounts, 560);
VRPSX_AT(system_table, invalid_argument, 716);
VRPSX_AT(system_table, missing_entry, 780);
VRPSX_AT(system_table, timed_out, 908);
VRPSX_AT(system_table, sigusr2, 1032);
VRPSX_AT(system_table, default_disposition, 1056);
VRPSX_AT(system_table, sigset_size, 1080);
VRPSX_AT(system_table, sigaction_size, 1096);
VRPSX_AT(system_table, block_signals, 1140);
VRPSX_AT(system_table, unblock_signals, 1148);
VRPSX_AT(system_table, realtime_clock, 1400);
VRPSX_AT(embedding, system, 8);
VRPSX_AT(embedding_table, internalize_pid, 48);
VRPSX_AT(embedding_table, internalize_path, 64);
VRPSX_AT(embedding_table, externalize_path, 72);
VRPSX_AT(embedding_table, internalize_execution_path, 80);
VRPSX_AT(embedding_table, externalize_execution_path, 88);
VRPSX_AT(mutex_table, system, 0);
VRPSX_AT(mutex_table, disown, 16);
VRPSX_AT(mutex_table, unlock, 24);
VRPSX_AT(mutex_table, lock, 32);
VRPSX_AT(cond_table, system, 0);
VRPSX_AT(cond_table, disown, 16);
VRPSX_AT(cond_table, broadcast, 24);
VRPSX_AT(cond_table, timedwait, 48);
VRPSX_AT(sigset_table, system, 0);
VRPSX_AT(sigset_table, add, 56);
VRPSX_AT(sigaction_table, set_handler, 40);
VRPSX_AT(mount_table, system, 0);
VRPSX_AT(mount_table, next, 16);
VRPSX_AT(mount_table, device, 24);
VRPSX_AT(mount_table, root, 32);
VRPSX_AT(mount_table, type, 40);
VRPSX_AT(mount_table, options, 48);
VRPSX_AT(mount_option_table, system, 0);
VRPSX_AT(mount_option_table, next, 16);
VRPSX_AT(mount_option_table, text, 24);
VRPSX_AT(error_string_table, release, 24);
VRPSX_AT(error_string_table, text, 48);
VRPSX_AT(uname_result_table, dispose, 0);
VRPSX_AT(uname_result_table, release_text, 24);
#undef VRPSX_AT

}  // namespace vrpsx::raw
