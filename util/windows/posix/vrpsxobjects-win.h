#pragma once

// The mutex, the condition and the lists of the POSIX side, as classes that own their handle.
//
// Ending a handle may fail. The destructor then throws system_exception_t with a context such as
// "vrpsx::cond::disown", unless an exception is already unwinding: a lost lock or a leaked object
// must not go unnoticed. Assigning a new handle disposes of the old one by the same rule, as do the
// operations that fill a handle, including their std::nothrow forms.

#include <cstddef>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "util/assertion.h"
#include "util/threadannotations.h"
#include "util/windows/vrpsx.h"
#include "util/windows/vrpsxutilitycpp-win.h"

namespace vrpsx {

namespace detail {

// These functions end a handle. For lists, a null `next_holder` disposes of the whole list.
[[nodiscard]] inline int end(raw::mutex** holder, raw::system** errors) {
    return (*holder)->table->disown(*holder, holder, errors);
}
[[nodiscard]] inline int end(raw::cond** holder, raw::system** errors) {
    return (*holder)->table->disown(*holder, holder, errors);
}
[[nodiscard]] inline int end(raw::mount** holder, raw::system** errors) {
    return (*holder)->table->next(*holder, holder, /*next_holder=*/nullptr, errors);
}
[[nodiscard]] inline int end(raw::mount_option** holder, raw::system** errors) {
    return (*holder)->table->next(*holder, holder, /*next_holder=*/nullptr, errors);
}

[[nodiscard]] inline constexpr const char* end_context(const raw::mutex*) {
    return "vrpsx::mutex::disown";
}
[[nodiscard]] inline constexpr const char* end_context(const raw::cond*) {
    return "vrpsx::cond::disown";
}
[[nodiscard]] inline constexpr const char* end_context(const raw::mount*) {
    return "vrpsx::mount::next";
}
[[nodiscard]] inline constexpr const char* end_context(const raw::mount_option*) {
    return "vrpsx::mount_option::next";
}

/// Throws if ending a handle failed, unless an exception is unwinding. `errors` is the counted
/// reference that came with the failure.
void check_end(const char* context, const system& errors, int code);

}  // namespace detail

/// An owned handle.
template <class Raw>
class [[nodiscard]] owner {
public:
    owner() = default;
    /// Takes ownership; null makes an empty handle.
    explicit owner(Raw* raw) : _raw(raw) {}
    /// Takes the handle over; `other` is empty from then on.
    owner(owner&& other) noexcept : _raw(other.take()) {}
    /// Throws if ending the old handle fails, as the destructor does.
    // NOLINTNEXTLINE(bugprone-exception-escape,performance-noexcept-move-constructor): see above
    owner& operator=(owner&& other) {
        assign(other.take());
        return *this;
    }
    // NOLINTNEXTLINE(bugprone-exception-escape): a leaked object must not go unnoticed
    ~owner() noexcept(false) { dispose(); }
    owner(const owner&) = delete;
    owner& operator=(const owner&) = delete;

    /// Does nothing if it already holds that handle. If ending the old handle throws, the new one
    /// is disposed of as well, and this object is empty.
    void assign(Raw* raw) {
        if (raw != _raw) {
            owner fresh(raw);
            dispose();
            swap(fresh);
        }
    }
    /// Exchanges the handles.
    void swap(owner& other) noexcept { std::swap(_raw, other._raw); }
    /// Hands the handle over to the caller, and is empty from then on.
    [[nodiscard]] Raw* take() { return std::exchange(_raw, nullptr); }
    /// Returns whether the handle is empty.
    [[nodiscard]] bool is_null() const { return _raw == nullptr; }
    /// Returns the handle, which stays with this object.
    [[nodiscard]] Raw* raw() const {
        NB_ASSERT(_raw != nullptr);
        return _raw;
    }

private:
    void dispose() {
        if (_raw != nullptr) {
            Raw* holder = take();
            raw::system* errors = nullptr;
            const int code = detail::end(&holder, &errors);
            detail::check_end(detail::end_context(_raw), system(errors, /*isCounted=*/true), code);
        }
    }

    Raw* _raw = nullptr;
};

/// A lock for threads of the POSIX side. Not known to be recursive.
class NB_CAPABILITY("mutex") mutex : public owner<raw::mutex> {
public:
    /// The handle is a mutex of the runtime.
    using owner::owner;
    /// @{
    /// Waits until the lock is free, and takes it.
    void lock() const NB_ACQUIRE();
    [[nodiscard]] int lock(std::nothrow_t) const NB_TRY_ACQUIRE(false);
    /// @}
    /// @{
    /// Frees the lock, which the calling thread holds.
    void unlock() const NB_RELEASE();
    [[nodiscard]] int unlock(std::nothrow_t) const NB_RELEASE();
    /// @}

    /// Holds the lock for a scope. A failed unlock throws by the same rule as ending a handle.
    class NB_SCOPED_CAPABILITY [[nodiscard]] scoped_lock {
    public:
        /// Takes the lock, which must outlive this object.
        explicit scoped_lock(const mutex& target) NB_ACQUIRE(target) : _target(target) {
            target.lock();
        }
        // NOLINTNEXTLINE(bugprone-exception-escape): a lost lock must not go unnoticed
        ~scoped_lock() noexcept(false) NB_RELEASE();
        scoped_lock(const scoped_lock&) = delete;
        scoped_lock& operator=(const scoped_lock&) = delete;

    private:
        const mutex& _target;
    };
};

/// A condition for threads of the POSIX side.
class cond : public owner<raw::cond> {
public:
    /// The handle is a condition of the runtime.
    using owner::owner;
    /// Wakes all threads that wait.
    [[nodiscard]] int broadcast(std::nothrow_t) const;
    /// Waits no longer than until `deadline`, a time of the realtime clock.
    [[nodiscard]] int timedwait(const mutex& locked, const raw::time& deadline,
                                std::nothrow_t) const NB_REQUIRES(locked);
};

/// An option of a mount, and the options after it.
class mount_option : public owner<raw::mount_option> {
public:
    /// The handle is an option of the runtime.
    using owner::owner;
    /// Steps to the next option; null after the last one.
    void next();
    /// On failure, `errors`, if not null, receives a reference to the system; on success it becomes
    /// empty. The reference that it held is released.
    [[nodiscard]] int next(system* errors, std::nothrow_t);
    /// @{
    /// Returns the option as the runtime spells it.
    [[nodiscard]] std::string text() const;
    [[nodiscard]] int text(std::string& result, std::nothrow_t) const;
    /// @}
};

/// A mount, and the mounts after it.
class mount : public owner<raw::mount> {
public:
    /// The handle is a mount of the runtime.
    using owner::owner;
    /// Steps to the next mount; null after the last one.
    void next();
    /// The same with `errors` as for an option.
    [[nodiscard]] int next(system* errors, std::nothrow_t);
    /// @{
    /// Returns what is mounted.
    [[nodiscard]] std::string device() const;
    [[nodiscard]] int device(std::string& result, std::nothrow_t) const;
    /// @}
    /// @{
    /// Returns where it appears.
    [[nodiscard]] std::string root() const;
    [[nodiscard]] int root(std::string& result, std::nothrow_t) const;
    /// @}
    /// @{
    /// Returns of what kind it is.
    [[nodiscard]] std::string type() const;
    [[nodiscard]] int type(std::string& result, std::nothrow_t) const;
    /// @}
    /// @{
    /// Returns the options; an empty handle if there are none.
    [[nodiscard]] mount_option options() const;
    [[nodiscard]] int options(mount_option& result, std::nothrow_t) const;
    /// @}
};

}  // namespace vrpsx
