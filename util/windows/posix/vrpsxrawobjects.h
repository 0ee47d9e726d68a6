#pragma once

// What a POSIX runtime in this process hands out, as the two sides share it: mutexes, conditions,
// sets of signals, mounts and messages. vrpsx.h has the runtime itself, says how all of this is
// called, and includes this file.

#include <cstddef>
#include <cstdint>

/// The objects of a POSIX runtime, as the two sides share them.
namespace vrpsx::raw {

struct system;
struct mutex;
struct cond;
struct sigset;
struct sigaction;
struct mount;
struct mount_option;
struct error_string;
struct uname_result;

/// What a `sigaction` does for a signal.
using disposition = uint64_t;

/// A point in time or a duration.
struct time {
    int64_t seconds;      ///< of a clock's time, since its start
    int64_t nanoseconds;  ///< 0 to 999999999
};

/// Characters of an object, not terminated; valid as long as the object is.
struct text {
    const char* data;  ///< may be null for an empty text
    size_t length;     ///< in bytes
};

/// A placeholder for entries that aren't used.
using entry = void (*)();

/// Owned by its holder. The entry that ends an owned object takes the address of the holder. It
/// can't report a failure through the object, so on failure it stores a counted reference to the
/// system in `errors`.
struct mutex_table {
    raw::system* (*system)(mutex*);  ///< returns the owning system, not counted
    entry reserved_8[1];
    /// Ends the mutex, which must be free.
    int (*disown)(mutex*, mutex** holder, raw::system** errors);
    int (*unlock)(mutex*);  ///< only by the thread that holds it
    int (*lock)(mutex*);    ///< waits until the mutex is free
};
/// A lock for threads of the POSIX side.
struct mutex {
    const mutex_table* table;  ///< not null
};

/// Owned, as a mutex is.
struct cond_table {
    raw::system* (*system)(cond*);  ///< as that of a mutex
    entry reserved_8[1];
    int (*disown)(cond*, cond** holder, raw::system** errors);  ///< no thread may wait for it
    int (*broadcast)(cond*);                                    ///< wakes all threads that wait
    entry reserved_32[2];
    /// Waits with the mutex free, at the latest until `deadline`, a time of the realtime clock.
    int (*timedwait)(cond*, mutex*, const time* deadline);
};
/// A condition that threads wait for.
struct cond {
    const cond_table* table;  ///< not null
};

/// In storage of the caller, so that nothing ends it.
struct sigset_table {
    raw::system* (*system)(sigset*);  ///< as that of a mutex
    entry reserved_8[6];
    int (*add)(sigset*, int signal);  ///< adds a signal to the set
};
/// A set of signals.
struct sigset {
    const sigset_table* table;  ///< not null
};

/// In storage of the caller, so that nothing ends it.
struct sigaction_table {
    entry reserved_0[5];
    int (*set_handler)(sigaction*, disposition handler);  ///< the return value means nothing
};
/// What happens at a signal.
struct sigaction {
    const sigaction_table* table;  ///< not null
};

/// An element of a list. The caller owns it together with all elements after it. `next` consumes it
/// and stores the element after it, or null at the end, in `next_holder`, which may be `holder`. If
/// `next_holder` is null, the whole rest of the list is disposed of. `errors` is as above, or null
/// if the caller doesn't need it.
struct mount_table {
    raw::system* (*system)(mount*);  ///< as that of a mutex
    entry reserved_8[1];
    int (*next)(mount*, mount** holder, mount** next_holder, raw::system** errors);  ///< steps on
    int (*device)(mount*, text* result);            ///< what is mounted
    int (*root)(mount*, text* result);              ///< where it appears
    int (*type)(mount*, text* result);              ///< of what kind it is
    int (*options)(mount*, mount_option** result);  ///< null if there is none
};
/// A mount, and the mounts after it.
struct mount {
    const mount_table* table;  ///< not null
};

/// The same for the options of a mount.
struct mount_option_table {
    raw::system* (*system)(mount_option*);  ///< as that of a mutex
    entry reserved_8[1];
    /// Steps on.
    int (*next)(mount_option*, mount_option** holder, mount_option** next_holder,
                raw::system** errors);
    int (*text)(mount_option*, raw::text* result);  ///< as the runtime spells it
};
/// An option of a mount, and the options after it.
struct mount_option {
    const mount_option_table* table;  ///< not null
};

/// Owned by whoever asked for it.
struct error_string_table {
    entry reserved_0[3];
    /// Ends the object.
    int (*release)(error_string*, error_string** holder);
    entry reserved_32[2];
    const char* (*text)(error_string*);  ///< null if the runtime has none
};
/// The message for an error code.
struct error_string {
    const error_string_table* table;  ///< not null
};

/// Owned by whoever asked for it.
struct uname_result_table {
    /// Ends the object.
    int (*dispose)(uname_result*, uname_result** holder);
    entry reserved_8[2];
    const char* (*release_text)(uname_result*);  ///< may be null
};
/// What the runtime says about itself.
struct uname_result {
    const uname_result_table* table;  ///< not null
};

}  // namespace vrpsx::raw
