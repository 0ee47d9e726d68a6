#include "util/windows/posix/vrpsxobjects-win.h"

namespace vrpsx {

namespace {

/// Throws if a call of the object returned a code other than 0.
template <class Raw>
void check(const char* context, Raw* object, int code) {
    if (code != 0) {
        throw system_exception_t(context, system(object->table->system(object)), code);
    }
}

/// Calls an entry that returns a text. The object owns the text, so it is copied before anything
/// else.
template <class Raw>
int copy_text(int (*entry)(Raw*, raw::text*), Raw* object, std::string& result) {
    raw::text text = {nullptr, 0};
    const int code = entry(object, &text);
    result.assign(text.data == nullptr ? "" : text.data, text.data == nullptr ? 0 : text.length);
    return code;
}

/// Steps a list. The holder may be filled again during the step.
template <class Holder, class Raw>
int step(Holder& holder, Raw* current, system* errors) {
    raw::system* reference = nullptr;
    const int code =
        current->table->next(current, &current, &current, errors != nullptr ? &reference : nullptr);
    system counted(reference, /*isCounted=*/true);
    holder.assign(current);
    if (errors != nullptr) {
        *errors = std::move(counted);
    }
    return code;
}

template <class Holder>
void step_or_throw(const char* context, Holder& holder) {
    system errors;
    const int code = holder.next(&errors, std::nothrow);
    if (code != 0) {
        throw system_exception_t(context, errors, code);
    }
}

}  // namespace

void detail::check_end(const char* context, const system& errors, int code) {
    if (code != 0 && std::uncaught_exceptions() == 0) {
        throw system_exception_t(context, errors, code);
    }
}

void mutex::lock() const { check("vrpsx::mutex::lock", raw(), lock(std::nothrow)); }
int mutex::lock(std::nothrow_t) const { return raw()->table->lock(raw()); }
void mutex::unlock() const { check("vrpsx::mutex::unlock", raw(), unlock(std::nothrow)); }
int mutex::unlock(std::nothrow_t) const { return raw()->table->unlock(raw()); }

// NOLINTNEXTLINE(bugprone-exception-escape): a lost lock must not go unnoticed
mutex::scoped_lock::~scoped_lock() noexcept(false) {
    const int code = _target.unlock(std::nothrow);
    if (std::uncaught_exceptions() == 0) {
        check("vrpsx::mutex::unlock", _target.raw(), code);
    }
}

int cond::broadcast(std::nothrow_t) const { return raw()->table->broadcast(raw()); }
int cond::timedwait(const mutex& locked, const raw::time& deadline, std::nothrow_t) const {
    return raw()->table->timedwait(raw(), locked.raw(), &deadline);
}

void mount_option::next() { step_or_throw("vrpsx::mount_option::next", *this); }
int mount_option::next(system* errors, std::nothrow_t) {
    NB_ASSERT(!is_null());
    return step(*this, take(), errors);
}
std::string mount_option::text() const {
    std::string result;
    check("vrpsx::mount_option::text", raw(), text(result, std::nothrow));
    return result;
}
int mount_option::text(std::string& result, std::nothrow_t) const {
    return copy_text(raw()->table->text, raw(), result);
}

void mount::next() { step_or_throw("vrpsx::mount::next", *this); }
int mount::next(system* errors, std::nothrow_t) {
    NB_ASSERT(!is_null());
    return step(*this, take(), errors);
}

std::string mount::device() const {
    std::string result;
    check("vrpsx::mount::device", raw(), device(result, std::nothrow));
    return result;
}
int mount::device(std::string& result, std::nothrow_t) const {
    return copy_text(raw()->table->device, raw(), result);
}

std::string mount::root() const {
    std::string result;
    check("vrpsx::mount::root", raw(), root(result, std::nothrow));
    return result;
}
int mount::root(std::string& result, std::nothrow_t) const {
    return copy_text(raw()->table->root, raw(), result);
}

std::string mount::type() const {
    std::string result;
    check("vrpsx::mount::type", raw(), type(result, std::nothrow));
    return result;
}
int mount::type(std::string& result, std::nothrow_t) const {
    return copy_text(raw()->table->type, raw(), result);
}

mount_option mount::options() const {
    mount_option result;
    const int code = options(result, std::nothrow);
    if (code != 0) {
        // Before the message for the failure is requested.
        mount_option().swap(result);
    }
    check("vrpsx::mount::options", raw(), code);
    return result;
}
int mount::options(mount_option& result, std::nothrow_t) const {
    raw::mount_option* stored = nullptr;
    const int code = raw()->table->options(raw(), &stored);
    mount_option fresh(stored);
    fresh.swap(result);
    return code;
}

}  // namespace vrpsx
