#pragma once

// Classes for the raw objects of vrpsx.h. Each holds one counted or owned handle. The file
// vrpsxobjects-win.h has the mutex, the condition and the lists, and includes this one.
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
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include "util/windows/vrpsx.h"

namespace vrpsx {

class system;
class mutex;
class cond;
class mount;

namespace raw {
// For boost::intrusive_ptr. The error codes of these two entries can't be passed to anyone.
inline void intrusive_ptr_add_ref(system* object) { object->table->add_ref(object); }
inline void intrusive_ptr_release(system* object) { object->table->release(object, &object); }
}  // namespace raw

/// The message is "CONTEXT: " and the runtime's text for the code, which is missing if the runtime
/// has none.
class system_exception_t : public std::runtime_error {
public:
    system_exception_t(std::string_view context, const system& source, int errorCode);

    int code;
};

/// Writes the message that system_exception_t would have, and a line end, to standard error.
/// Failures of the report itself are ignored.
void report(const char* context, const system& source, int code) noexcept;

/// A path from the other side, freed by the object that allocated it. Null is a valid result, too.
class buffer_result {
public:
    buffer_result() = default;
    /// `owner`, not null, must outlive the result.
    buffer_result(char* text, raw::buffer_owner* owner) : _text(text), _owner(owner) {}
    buffer_result(buffer_result&& other) noexcept { swap(other); }
    buffer_result& operator=(buffer_result&& other) noexcept;
    ~buffer_result();
    buffer_result(const buffer_result&) = delete;
    buffer_result& operator=(const buffer_result&) = delete;

    void swap(buffer_result& other) noexcept;
    /// Hands the text over to the caller; it is no longer freed here.
    [[nodiscard]] char* take();

private:
    char* _text = nullptr;
    raw::buffer_owner* _owner = nullptr;
};

/// Lets the other side write into a string. Meant for one result; of several, the last one remains.
class string_buffer_allocator : public raw::allocator {
public:
    string_buffer_allocator();
    string_buffer_allocator(const string_buffer_allocator&) = delete;
    string_buffer_allocator& operator=(const string_buffer_allocator&) = delete;

    /// The string, without the terminator that the buffer includes. No value if no buffer was
    /// requested, or if there was no memory for it.
    std::optional<std::string> text;
};

/// A set of signals, in storage that it doesn't own.
class sigset {
public:
    explicit sigset(raw::sigset* raw) : _raw(raw) {}
    void add(int signal) const;
    [[nodiscard]] int add(int signal, std::nothrow_t) const;
    [[nodiscard]] raw::sigset* raw() const { return _raw; }

private:
    raw::sigset* _raw;
};

/// The action for a signal, in storage that it doesn't own.
class sigaction {
public:
    explicit sigaction(raw::sigaction* raw) : _raw(raw) {}
    void set_handler(raw::disposition handler) const;
    [[nodiscard]] raw::sigaction* raw() const { return _raw; }

private:
    raw::sigaction* _raw;
};

class uname_result {
public:
    uname_result() = default;
    explicit uname_result(raw::uname_result* raw) : _raw(raw) {}
    ~uname_result();
    uname_result(uname_result&& other) noexcept { swap(other); }
    uname_result& operator=(uname_result&& other) noexcept;
    uname_result(const uname_result&) = delete;
    uname_result& operator=(const uname_result&) = delete;

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

    [[nodiscard]] raw::system* raw() const;
    [[nodiscard]] bool is_null() const { return _raw == nullptr; }

    /// Returns the runtime's message for an error code; empty if there is none.
    [[nodiscard]] std::string error_text(int code) const;
    [[noreturn]] void exit(int code) const;
    [[nodiscard]] uname_result uname() const;
    [[nodiscard]] int uname(uname_result& result, std::nothrow_t) const;
    [[nodiscard]] int clock_gettime(raw::clock_id clock, raw::time& result, std::nothrow_t) const;
    void nanosleep(const raw::time& requested) const;
    [[nodiscard]] int nanosleep(const raw::time& requested, raw::time& remaining,
                                std::nothrow_t) const;
    [[nodiscard]] raw::pid getpid() const;
    /// Doesn't initialize `result`.
    [[nodiscard]] int getpgid(raw::pid process, raw::pid& result, std::nothrow_t) const;
    void kill(raw::pid target, int signal) const;
    [[nodiscard]] int kill(raw::pid target, int signal, std::nothrow_t) const;
    [[nodiscard]] std::string strsignal(int signal) const;

    /// Creates the object in `storage`, of the size given in the table: see with_sigset.
    [[nodiscard]] sigset sigset_init(void* storage) const;
    [[nodiscard]] vrpsx::sigaction sigaction_init(void* storage) const;
    void sigaction(int signal, const vrpsx::sigaction& action) const;
    [[nodiscard]] int sigaction(int signal, const vrpsx::sigaction& action, std::nothrow_t) const;
    [[nodiscard]] int sigwait(const sigset& signals, int& signal, std::nothrow_t) const;
    void thread_sigmask(int how, const sigset& signals) const;
    [[nodiscard]] int thread_sigmask(int how, const sigset& signals, std::nothrow_t) const;

    [[nodiscard]] raw::thread_id thread_create(raw::thread_entry entry, void* argument) const;
    [[nodiscard]] int thread_create(raw::thread_entry entry, void* argument, raw::thread_id& result,
                                    std::nothrow_t) const;
    [[nodiscard]] int thread_join(raw::thread_id thread, std::nothrow_t) const;
    [[nodiscard]] mutex mutex_create() const;
    [[nodiscard]] int mutex_create(mutex& result, std::nothrow_t) const;
    [[nodiscard]] cond cond_create() const;
    [[nodiscard]] int cond_create(cond& result, std::nothrow_t) const;

    void symlink(const char* target, const char* path) const;
    [[nodiscard]] int symlink(const char* target, const char* path, std::nothrow_t) const;
    /// `buffers` may be null.
    [[nodiscard]] buffer_result readlink(const char* path, raw::allocator* buffers) const;
    [[nodiscard]] int readlink(const char* path, raw::allocator* buffers, buffer_result& result,
                               std::nothrow_t) const;
    void chdir(const char* path) const;
    [[nodiscard]] int chdir(const char* path, std::nothrow_t) const;
    /// Calls the entry of the table that has no name.
    [[nodiscard]] int path_call(const char* path, std::nothrow_t) const;
    [[nodiscard]] mount get_mounts() const;
    [[nodiscard]] int get_mounts(mount& result, std::nothrow_t) const;

    // Constants of the runtime.
    [[nodiscard]] int invalid_argument() const { return raw()->table->invalid_argument; }
    [[nodiscard]] int missing_entry() const { return raw()->table->missing_entry; }
    [[nodiscard]] int timed_out() const { return raw()->table->timed_out; }
    [[nodiscard]] int sigusr2() const { return raw()->table->sigusr2; }
    [[nodiscard]] raw::disposition default_disposition() const {
        return raw()->table->default_disposition;
    }
    [[nodiscard]] uint64_t sigset_size() const { return raw()->table->sigset_size; }
    [[nodiscard]] uint64_t sigaction_size() const { return raw()->table->sigaction_size; }
    [[nodiscard]] int block_signals() const { return raw()->table->block_signals; }
    [[nodiscard]] int unblock_signals() const { return raw()->table->unblock_signals; }
    [[nodiscard]] raw::clock_id realtime_clock() const { return raw()->table->realtime_clock; }

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

    // `internalize` translates the Windows form of a path to its POSIX form, `externalize` the
    // reverse; the `execution` functions are for paths of programs. `buffers` may be null. A null
    // result means that the path stays unchanged.
    [[nodiscard]] buffer_result internalize_path(const char* path, raw::allocator* buffers) const;
    [[nodiscard]] int internalize_path(const char* path, raw::allocator* buffers,
                                       buffer_result& result, std::nothrow_t) const;
    [[nodiscard]] buffer_result externalize_path(const char* path, raw::allocator* buffers) const;
    [[nodiscard]] int externalize_path(const char* path, raw::allocator* buffers,
                                       buffer_result& result, std::nothrow_t) const;
    [[nodiscard]] buffer_result internalize_execution_path(const char* path,
                                                           raw::allocator* buffers) const;
    [[nodiscard]] int internalize_execution_path(const char* path, raw::allocator* buffers,
                                                 buffer_result& result, std::nothrow_t) const;
    [[nodiscard]] buffer_result externalize_execution_path(const char* path,
                                                           raw::allocator* buffers) const;
    [[nodiscard]] int externalize_execution_path(const char* path, raw::allocator* buffers,
                                                 buffer_result& result, std::nothrow_t) const;

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
