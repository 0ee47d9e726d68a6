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
// constants are read from the table of `system`. vrpsxutilitycpp-win.h has classes for all this.

#include <cstddef>
#include <cstdint>

namespace vrpsx::raw {

struct system;
struct embedding;
struct mutex;
struct cond;
struct sigset;
struct sigaction;
struct mount;
struct mount_option;
struct error_string;
struct uname_result;
struct buffer_owner;
struct allocator;

using pid = int64_t;
using thread_id = uint64_t;
using thread_entry = void* (*)(void* argument);
/// What a `sigaction` does for a signal.
using disposition = uint64_t;
using clock_id = int64_t;

struct time {
    int64_t seconds;
    int64_t nanoseconds;  ///< 0 to 999999999
};

/// Characters of an object, not terminated; valid as long as the object is.
struct text {
    const char* data;
    size_t length;  ///< in bytes
};

/// A placeholder for entries that aren't used.
using entry = void (*)();

/// The object that frees a buffer: an allocator, or the system.
struct buffer_owner_table {
    void (*deallocate)(buffer_owner*, void* buffer);
};
struct buffer_owner {
    const buffer_owner_table* table;
};

/// Supplied by the caller, for the other side to allocate buffers. `allocate` returns null on
/// failure.
struct allocator_table {
    void (*deallocate)(allocator*, void* buffer);
    void* (*allocate)(allocator*, size_t size);
};
struct allocator {
    const allocator_table* table;
};

/// Reference-counted: whoever gets a reference must release it.
struct system_table {
    /// Frees a buffer that an entry allocated without an allocator.
    void (*deallocate)(system*, void* buffer);
    entry reserved_8[2];
    int (*release)(system*, system** holder);
    int (*add_ref)(system*);
    entry reserved_40[1];
    int (*error_text)(system*, int code, error_string** result);
    entry reserved_56[2];
    int (*exit)(system*, int code);  ///< doesn't return
    int (*uname)(system*, uname_result** result);
    entry reserved_88[10];
    int (*clock_gettime)(system*, clock_id clock, time* result);
    int (*nanosleep)(system*, const time* requested, time* remaining);
    entry reserved_184[2];
    pid (*getpid)(system*);  ///< returns the pid of this process
    entry reserved_208[1];
    int (*getpgid)(system*, pid process, pid* result);
    int (*kill)(system*, pid target, int signal);  ///< a negative target is a process group
    entry reserved_232[1];
    const char* (*strsignal)(system*, int signal);  ///< returns the name
    /// These two create an object in the caller's storage, whose size is given below.
    int (*sigset_init)(system*, void* storage, sigset** result);
    int (*sigaction_init)(system*, void* storage, raw::sigaction** result);
    int (*sigaction)(system*, int signal, raw::sigaction* action, raw::sigaction* old);
    int (*sigwait)(system*, sigset* signals, int* result);
    int (*thread_sigmask)(system*, int how, sigset* signals, sigset* old);
    entry reserved_288[1];
    int (*thread_create)(system*, thread_id* result, thread_entry start, void* argument);
    entry reserved_304[1];
    int (*thread_join)(system*, thread_id thread, void** result);
    entry reserved_320[5];
    int (*mutex_create)(system*, mutex** result);
    entry reserved_368[3];
    int (*cond_create)(system*, cond** result);
    entry reserved_400[8];
    int (*symlink)(system*, const char* target, const char* path);
    /// `more` is a second result, which isn't used.
    int (*readlink)(system*, const char* path, allocator* buffers, char** result, int64_t* more);
    entry reserved_480[3];
    int (*path_call)(system*, const char* path);  ///< has no name of its own
    entry reserved_512[3];
    int (*chdir)(system*, const char* path);
    entry reserved_544[2];
    int (*get_mounts)(system*, mount** result);
    entry reserved_568[18];
    int32_t reserved_712;
    int32_t invalid_argument;  ///< error code
    int32_t reserved_720[15];
    int32_t missing_entry;  ///< error code
    int32_t reserved_784[31];
    int32_t timed_out;  ///< error code
    int32_t reserved_912[30];
    int32_t sigusr2;
    int32_t reserved_1036[5];
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
    clock_id realtime_clock;
};
struct system {
    const system_table* table;
};

/// Its references are counted by its system. A null path result means that the path is the same in
/// both forms.
struct embedding_table {
    entry reserved_0[6];
    int (*internalize_pid)(embedding*, const void* external, size_t length, pid* result);
    entry reserved_56[1];
    int (*internalize_path)(embedding*, const char* path, allocator* buffers, char** result);
    int (*externalize_path)(embedding*, const char* path, allocator* buffers, char** result);
    int (*internalize_execution_path)(embedding*, const char* path, allocator* buffers,
                                      char** result);
    int (*externalize_execution_path)(embedding*, const char* path, allocator* buffers,
                                      char** result);
};
struct embedding {
    const embedding_table* table;
    raw::system system;
};

/// Owned by its holder. The entry that ends an owned object takes the address of the holder. It
/// can't report a failure through the object, so on failure it stores a counted reference to the
/// system in `errors`.
struct mutex_table {
    raw::system* (*system)(mutex*);  ///< returns the owning system, not counted
    entry reserved_8[1];
    int (*disown)(mutex*, mutex** holder, raw::system** errors);
    int (*unlock)(mutex*);
    int (*lock)(mutex*);
};
struct mutex {
    const mutex_table* table;
};

/// Owned, as a mutex is.
struct cond_table {
    raw::system* (*system)(cond*);
    entry reserved_8[1];
    int (*disown)(cond*, cond** holder, raw::system** errors);
    int (*broadcast)(cond*);
    entry reserved_32[2];
    int (*timedwait)(cond*, mutex*, const time* deadline);
};
struct cond {
    const cond_table* table;
};

struct sigset_table {
    raw::system* (*system)(sigset*);
    entry reserved_8[6];
    int (*add)(sigset*, int signal);
};
struct sigset {
    const sigset_table* table;
};

struct sigaction_table {
    entry reserved_0[5];
    int (*set_handler)(sigaction*, disposition handler);  ///< the return value means nothing
};
struct sigaction {
    const sigaction_table* table;
};

/// An element of a list. The caller owns it together with all elements after it. `next` consumes it
/// and stores the element after it, or null at the end, in `next_holder`, which may be `holder`. If
/// `next_holder` is null, the whole rest of the list is disposed of. `errors` is as above, or null
/// if the caller doesn't need it.
struct mount_table {
    raw::system* (*system)(mount*);
    entry reserved_8[1];
    int (*next)(mount*, mount** holder, mount** next_holder, raw::system** errors);
    int (*device)(mount*, text* result);
    int (*root)(mount*, text* result);
    int (*type)(mount*, text* result);
    int (*options)(mount*, mount_option** result);
};
struct mount {
    const mount_table* table;
};

/// The same for the options of a mount.
struct mount_option_table {
    raw::system* (*system)(mount_option*);
    entry reserved_8[1];
    int (*next)(mount_option*, mount_option** holder, mount_option** next_holder,
                raw::system** errors);
    int (*text)(mount_option*, raw::text* result);
};
struct mount_option {
    const mount_option_table* table;
};

struct error_string_table {
    entry reserved_0[3];
    int (*release)(error_string*, error_string** holder);
    entry reserved_32[2];
    const char* (*text)(error_string*);
};
struct error_string {
    const error_string_table* table;
};

struct uname_result_table {
    int (*dispose)(uname_result*, uname_result** holder);
    entry reserved_8[2];
    const char* (*release_text)(uname_result*);
};
struct uname_result {
    const uname_result_table* table;
};

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
