#pragma once

// Classes for the raw objects of vrpsx.h. Each holds one counted or owned handle. In posix/,
// vrpsxbuffers.h has the texts that the other side allocates, and vrpsxobjects-win.h the mutex, the
// condition and the lists; the latter includes this file.
//
// An operation that can fail throws system_exception_t, whose context is the operation's full name,
// such as "vrpsx::system::kill". With std::nothrow as the last argument it returns the runtime's
// error code instead, 0 for success, and stores its result through the parameter before. The
// previous value of that parameter is disposed of, which may throw (see vrpsxobjects-win.h). Some
// operations have only this form. A result that comes with a failure is taken and disposed of like
// any other.
//
// An empty handle may be tested for being empty, assigned, swapped, taken from and destroyed; with
// any other use, an assertion stops the process. Raw pointers and texts passed to these classes
// must not be null unless documented otherwise; nothing checks that.
//
// Nothing is locked here: any thread may use a system, and only one thread at a time a handle.

#include <cstddef>
#include <cstdint>
#include <malloc.h>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include "util/windows/posix/vrpsxbuffers.h"
#include "util/windows/vrpsx.h"

/// Classes for the objects of a POSIX runtime.
namespace vrpsx {

class system;
class mutex;
class cond;
class mount;

namespace raw {
// For boost::intrusive_ptr.
/// Adds a reference; an error code can't be passed to anyone.
inline void intrusive_ptr_add_ref(system* object) { object->table->add_ref(object); }
/// Drops a reference; an error code can't be passed to anyone.
inline void intrusive_ptr_release(system* object) { object->table->release(object, &object); }
}  // namespace raw

/// The message is "CONTEXT: " and the runtime's text for the code, which is missing if the runtime
/// has none.
class system_exception_t : public std::runtime_error {
public:
    /// Makes the message at once, from `source`.
    system_exception_t(std::string_view context, const system& source, int errorCode);

    int code;  ///< the runtime's error code
};

/// Writes the message that system_exception_t would have, and a line end, to standard error.
/// Failures of the report itself are ignored.
void report(const char* context, const system& source, int code) noexcept;

/// A set of signals, in storage that it doesn't own.
class sigset {
public:
    /// `raw` is what `sigset_init` of the runtime stored.
    explicit sigset(raw::sigset* raw) : _raw(raw) {}
    /// @{
    /// Adds a signal.
    void add(int signal) const;
    [[nodiscard]] int add(int signal, std::nothrow_t) const;
    /// @}
    /// Returns the set for the runtime.
    [[nodiscard]] raw::sigset* raw() const { return _raw; }

private:
    raw::sigset* _raw;
};

/// The action for a signal, in storage that it doesn't own.
class sigaction {
public:
    /// `raw` is what `sigaction_init` of the runtime stored.
    explicit sigaction(raw::sigaction* raw) : _raw(raw) {}
    /// Sets what happens at the signal; takes effect by `system::sigaction`.
    void set_handler(raw::disposition handler) const;
    /// Returns the action for the runtime.
    [[nodiscard]] raw::sigaction* raw() const { return _raw; }

private:
    raw::sigaction* _raw;
};

/// What the runtime says about itself.
class uname_result {
public:
    uname_result() = default;
    /// Takes ownership.
    explicit uname_result(raw::uname_result* raw) : _raw(raw) {}
    ~uname_result();
    /// @{
    /// Takes the handle over; `other` is empty from then on.
    uname_result(uname_result&& other) noexcept { swap(other); }
    uname_result& operator=(uname_result&& other) noexcept;
    /// @}
    uname_result(const uname_result&) = delete;
    uname_result& operator=(const uname_result&) = delete;

    /// Exchanges the handles.
    void swap(uname_result& other) noexcept { std::swap(_raw, other._raw); }
    /// Returns a text such as "1.7.35(0.287/5/3)", valid as long as the object is.
    [[nodiscard]] const char* release_text() const;

private:
    raw::uname_result* _raw = nullptr;
};

/// A counted reference to the runtime.
class system {
public:
    system() = default;
    /// Adds a reference, unless `isCounted` is set: then it takes over the caller's reference.
    explicit system(raw::system* raw, bool isCounted = false) : _raw(raw, !isCounted) {}

    /// Returns the runtime, not counted.
    [[nodiscard]] raw::system* raw() const;
    /// Returns whether the handle is empty.
    [[nodiscard]] bool is_null() const { return _raw == nullptr; }

    /// Returns the runtime's message for an error code; empty if there is none.
    [[nodiscard]] std::string error_text(int code) const;
    /// Ends the process as the runtime does, with this exit code.
    [[noreturn]] void exit(int code) const;
    /// @{
    /// Asks the runtime about itself.
    [[nodiscard]] uname_result uname() const;
    [[nodiscard]] int uname(uname_result& result, std::nothrow_t) const;
    /// @}
    /// Reads a clock, such as `realtime_clock`.
    [[nodiscard]] int clock_gettime(raw::clock_id clock, raw::time& result, std::nothrow_t) const;
    /// @{
    /// Sleeps for this time. A signal ends that: it is a failure, and the rest is in `remaining`.
    void nanosleep(const raw::time& requested) const;
    [[nodiscard]] int nanosleep(const raw::time& requested, raw::time& remaining,
                                std::nothrow_t) const;
    /// @}
    /// Returns the id of this process on the POSIX side.
    [[nodiscard]] raw::pid getpid() const;
    /// Finds the group of a process. Doesn't initialize `result`.
    [[nodiscard]] int getpgid(raw::pid process, raw::pid& result, std::nothrow_t) const;
    /// @{
    /// Sends a signal to a process, or to a group if `target` is negative.
    void kill(raw::pid target, int signal) const;
    [[nodiscard]] int kill(raw::pid target, int signal, std::nothrow_t) const;
    /// @}
    /// Returns the runtime's name of a signal; empty if there is none.
    [[nodiscard]] std::string strsignal(int signal) const;

    /// @{
    /// Creates the object in `storage`, of the size given in the table: see with_sigset.
    [[nodiscard]] sigset sigset_init(void* storage) const;
    [[nodiscard]] vrpsx::sigaction sigaction_init(void* storage) const;
    /// @}
    /// @{
    /// Sets what happens at a signal.
    void sigaction(int signal, const vrpsx::sigaction& action) const;
    [[nodiscard]] int sigaction(int signal, const vrpsx::sigaction& action, std::nothrow_t) const;
    /// @}
    /// Waits for one of these signals, which the calling thread blocks, and stores it in `signal`.
    [[nodiscard]] int sigwait(const sigset& signals, int& signal, std::nothrow_t) const;
    /// @{
    /// Changes the signals that the calling thread blocks; `how` is `block_signals` or
    /// `unblock_signals`.
    void thread_sigmask(int how, const sigset& signals) const;
    [[nodiscard]] int thread_sigmask(int how, const sigset& signals, std::nothrow_t) const;
    /// @}

    /// @{
    /// Starts a thread that runs `entry(argument)`. Somebody must join it.
    [[nodiscard]] raw::thread_id thread_create(raw::thread_entry entry, void* argument) const;
    [[nodiscard]] int thread_create(raw::thread_entry entry, void* argument, raw::thread_id& result,
                                    std::nothrow_t) const;
    /// @}
    /// Waits for the end of a thread. Its result is lost.
    [[nodiscard]] int thread_join(raw::thread_id thread, std::nothrow_t) const;
    /// @{
    /// Makes a mutex, which is free.
    [[nodiscard]] mutex mutex_create() const;
    [[nodiscard]] int mutex_create(mutex& result, std::nothrow_t) const;
    /// @}
    /// @{
    /// Makes a condition.
    [[nodiscard]] cond cond_create() const;
    [[nodiscard]] int cond_create(cond& result, std::nothrow_t) const;
    /// @}

    /// @{
    /// Makes `path` a symbolic link whose text is `target`.
    void symlink(const char* target, const char* path) const;
    [[nodiscard]] int symlink(const char* target, const char* path, std::nothrow_t) const;
    /// @}
    /// @{
    /// Returns the text of a symbolic link. `buffers` may be null.
    [[nodiscard]] buffer_result readlink(const char* path, raw::allocator* buffers) const;
    [[nodiscard]] int readlink(const char* path, raw::allocator* buffers, buffer_result& result,
                               std::nothrow_t) const;
    /// @}
    /// @{
    /// Changes the current directory of the POSIX side.
    void chdir(const char* path) const;
    [[nodiscard]] int chdir(const char* path, std::nothrow_t) const;
    /// @}
    /// Calls the entry of the table that has no name.
    [[nodiscard]] int path_call(const char* path, std::nothrow_t) const;
    /// @{
    /// Lists the mounts. Without any, the result is empty.
    [[nodiscard]] mount get_mounts() const;
    [[nodiscard]] int get_mounts(mount& result, std::nothrow_t) const;
    /// @}

    /// @name Constants of the runtime
    /// They are read from its table at each call.
    /// @{
    /// Returns the error code for an argument that can't be.
    [[nodiscard]] int invalid_argument() const { return raw()->table->invalid_argument; }
    /// Returns the error code for something that doesn't exist.
    [[nodiscard]] int missing_entry() const { return raw()->table->missing_entry; }
    /// Returns the error code for a wait that has ended at its deadline.
    [[nodiscard]] int timed_out() const { return raw()->table->timed_out; }
    /// Returns the signal that has no meaning of its own.
    [[nodiscard]] int sigusr2() const { return raw()->table->sigusr2; }
    /// Returns the value for the default action at a signal.
    [[nodiscard]] raw::disposition default_disposition() const {
        return raw()->table->default_disposition;
    }
    /// Returns the size of a sigset, in bytes.
    [[nodiscard]] uint64_t sigset_size() const { return raw()->table->sigset_size; }
    /// Returns the size of a sigaction, in bytes.
    [[nodiscard]] uint64_t sigaction_size() const { return raw()->table->sigaction_size; }
    /// Returns the `how` that blocks signals.
    [[nodiscard]] int block_signals() const { return raw()->table->block_signals; }
    /// Returns the `how` that stops blocking signals.
    [[nodiscard]] int unblock_signals() const { return raw()->table->unblock_signals; }
    /// Returns the clock of the time since 1970.
    [[nodiscard]] raw::clock_id realtime_clock() const { return raw()->table->realtime_clock; }
    /// @}

private:
    boost::intrusive_ptr<raw::system> _raw;
};

/// A counted reference to the runtime, together with its translations.
class embedding : public system {
public:
    embedding() = default;
    /// Adds a reference.
    explicit embedding(raw::embedding* raw) : system(&raw->system) {}

    /// Translates a Windows process id.
    [[nodiscard]] int internalize_pid(uint32_t external, raw::pid& result, std::nothrow_t) const;

    /// @name Paths
    /// `internalize` translates the Windows form of a path to its POSIX form, `externalize` the
    /// reverse; the `execution` functions are for paths of programs. `buffers` may be null. A null
    /// result means that the path stays unchanged.
    /// @{
    /// Translates a path to its POSIX form.
    [[nodiscard]] buffer_result internalize_path(const char* path, raw::allocator* buffers) const;
    /// \overload
    [[nodiscard]] int internalize_path(const char* path, raw::allocator* buffers,
                                       buffer_result& result, std::nothrow_t) const;
    /// Translates a path to its Windows form.
    [[nodiscard]] buffer_result externalize_path(const char* path, raw::allocator* buffers) const;
    /// \overload
    [[nodiscard]] int externalize_path(const char* path, raw::allocator* buffers,
                                       buffer_result& result, std::nothrow_t) const;
    /// Translates the path of a program to its POSIX form.
    [[nodiscard]] buffer_result internalize_execution_path(const char* path,
                                                           raw::allocator* buffers) const;
    /// \overload
    [[nodiscard]] int internalize_execution_path(const char* path, raw::allocator* buffers,
                                                 buffer_result& result, std::nothrow_t) const;
    /// Translates the path of a program to its Windows form.
    [[nodiscard]] buffer_result externalize_execution_path(const char* path,
                                                           raw::allocator* buffers) const;
    /// \overload
    [[nodiscard]] int externalize_execution_path(const char* path, raw::allocator* buffers,
                                                 buffer_result& result, std::nothrow_t) const;
    /// @}

private:
    using path_entry = int (*raw::embedding_table::*)(raw::embedding*, const char*, raw::allocator*,
                                                      char**);
    [[nodiscard]] int convert(path_entry entry, const char* path, raw::allocator* buffers,
                              buffer_result& result) const;
    [[nodiscard]] buffer_result convert(const char* context, path_entry entry, const char* path,
                                        raw::allocator* buffers) const;
    [[nodiscard]] raw::embedding* whole() const;
};

/// Returns how much storage to allocate for an object of this size.
[[nodiscard]] constexpr size_t storage_size(uint64_t size) {
    constexpr size_t alignment = 16;
    return size == 0 ? alignment
                     : (static_cast<size_t>(size) + alignment - 1) / alignment * alignment;
}

/// Calls `use(signals)` with an empty sigset on the stack, without using the heap.
template <class Use>
auto with_sigset(const system& source, Use use) {
    void* const storage = _alloca(storage_size(source.sigset_size()));
    return use(source.sigset_init(storage));
}
/// The same with a sigaction.
template <class Use>
auto with_sigaction(const system& source, Use use) {
    void* const storage = _alloca(storage_size(source.sigaction_size()));
    return use(source.sigaction_init(storage));
}

}  // namespace vrpsx
