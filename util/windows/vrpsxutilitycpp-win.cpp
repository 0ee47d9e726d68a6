#include "util/windows/vrpsxutilitycpp-win.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "util/assertion.h"
#include "util/windows/posix/vrpsxobjects-win.h"

namespace vrpsx {

namespace {

/// The message for an error code, valid as long as this object is.
class error_words {
public:
    error_words(const system& source, int code) {
        raw::system* const raw = source.raw();
        raw->table->error_text(raw, code, &_raw);
    }
    ~error_words() {
        if (_raw != nullptr) {
            _raw->table->release(_raw, &_raw);
        }
    }
    error_words(const error_words&) = delete;
    error_words& operator=(const error_words&) = delete;

    std::string_view text() const {
        const char* const text = _raw == nullptr ? nullptr : _raw->table->text(_raw);
        return text == nullptr ? std::string_view() : std::string_view(text);
    }

private:
    raw::error_string* _raw = nullptr;
};

constexpr std::string_view separator = ": ";

/// Builds the text in one allocation of its final size.
std::string failure_text(std::string_view context, const system& source, int code) {
    const error_words words(source, code);
    const std::string_view text = words.text();
    std::string result(context.size() + separator.size() + text.size(), '\0');
    auto it = std::copy(context.begin(), context.end(), result.begin());
    it = std::copy(separator.begin(), separator.end(), it);
    it = std::copy(text.begin(), text.end(), it);
    NB_ASSERT(it == result.end());
    return result;
}

void check(const char* context, const system& source, int code) {
    if (code != 0) {
        throw system_exception_t(context, source, code);
    }
}

/// Returns the result, unless its call failed. A result that came with a failure is disposed of
/// before the failure's message is requested.
template <class Result>
Result checked(const char* context, const system& source, int code, Result& result) {
    if (code != 0) {
        Result().swap(result);
    }
    check(context, source, code);
    return std::move(result);
}

raw::buffer_owner* owner_of(raw::system* source) {
    // The first entry of a system frees buffers, as for every owner of buffers.
    return reinterpret_cast<raw::buffer_owner*>(source);
}

raw::buffer_owner* owner_of(raw::allocator* buffers, raw::system* source) {
    return buffers != nullptr ? reinterpret_cast<raw::buffer_owner*>(buffers) : owner_of(source);
}

/// Moves what an entry stored to the caller's holder, whose old content is disposed of.
template <class Holder, class Raw>
void take_result(Holder& result, Raw* stored) {
    Holder fresh(stored);
    fresh.swap(result);
}

}  // namespace

system_exception_t::system_exception_t(std::string_view context, const system& source,
                                       int errorCode)
    : std::runtime_error(failure_text(context, source, errorCode)), code(errorCode) {}

void report(const char* context, const system& source, int code) noexcept {
    try {
        const error_words words(source, code);
        std::cerr << context << separator << words.text() << '\n';
    } catch (...) {
        return;  // the failure can't be reported anywhere else
    }
}

void sigset::add(int signal) const {
    if (const int code = add(signal, std::nothrow)) {
        throw system_exception_t("vrpsx::sigset::add", system(_raw->table->system(_raw)), code);
    }
}
int sigset::add(int signal, std::nothrow_t) const { return _raw->table->add(_raw, signal); }

void sigaction::set_handler(raw::disposition handler) const {
    _raw->table->set_handler(_raw, handler);
}

uname_result::~uname_result() {
    if (_raw != nullptr) {
        _raw->table->dispose(_raw, &_raw);
    }
}

uname_result& uname_result::operator=(uname_result&& other) noexcept {
    uname_result fresh(std::move(other));
    fresh.swap(*this);
    return *this;
}

const char* uname_result::release_text() const {
    NB_ASSERT(_raw != nullptr);
    const char* const text = _raw->table->release_text(_raw);
    return text == nullptr ? "" : text;
}

raw::system* system::raw() const {
    NB_ASSERT(_raw != nullptr);
    return _raw.get();
}

std::string system::error_text(int code) const {
    return std::string(error_words(*this, code).text());
}

void system::exit(int code) const {
    raw()->table->exit(raw(), code);
    std::abort();  // it doesn't return
}

uname_result system::uname() const {
    uname_result result;
    const int code = uname(result, std::nothrow);
    return checked("vrpsx::system::uname", *this, code, result);
}
int system::uname(uname_result& result, std::nothrow_t) const {
    raw::uname_result* stored = nullptr;
    const int code = raw()->table->uname(raw(), &stored);
    take_result(result, stored);
    return code;
}

int system::clock_gettime(raw::clock_id clock, raw::time& result, std::nothrow_t) const {
    return raw()->table->clock_gettime(raw(), clock, &result);
}

void system::nanosleep(const raw::time& requested) const {
    raw::time remaining = {0, 0};
    check("vrpsx::system::nanosleep", *this, nanosleep(requested, remaining, std::nothrow));
}
int system::nanosleep(const raw::time& requested, raw::time& remaining, std::nothrow_t) const {
    return raw()->table->nanosleep(raw(), &requested, &remaining);
}

raw::pid system::getpid() const { return raw()->table->getpid(raw()); }

int system::getpgid(raw::pid process, raw::pid& result, std::nothrow_t) const {
    return raw()->table->getpgid(raw(), process, &result);
}

void system::kill(raw::pid target, int signal) const {
    check("vrpsx::system::kill", *this, kill(target, signal, std::nothrow));
}
int system::kill(raw::pid target, int signal, std::nothrow_t) const {
    return raw()->table->kill(raw(), target, signal);
}

std::string system::strsignal(int signal) const {
    const char* const name = raw()->table->strsignal(raw(), signal);
    return name == nullptr ? std::string() : name;
}

sigset system::sigset_init(void* storage) const {
    raw::sigset* stored = nullptr;
    check("vrpsx::system::sigset_init", *this, raw()->table->sigset_init(raw(), storage, &stored));
    return sigset(stored);
}

vrpsx::sigaction system::sigaction_init(void* storage) const {
    raw::sigaction* stored = nullptr;
    check("vrpsx::system::sigaction_init", *this,
          raw()->table->sigaction_init(raw(), storage, &stored));
    return vrpsx::sigaction(stored);
}

void system::sigaction(int signal, const vrpsx::sigaction& action) const {
    check("vrpsx::system::sigaction", *this, sigaction(signal, action, std::nothrow));
}
int system::sigaction(int signal, const vrpsx::sigaction& action, std::nothrow_t) const {
    return raw()->table->sigaction(raw(), signal, action.raw(), /*old=*/nullptr);
}

int system::sigwait(const sigset& signals, int& signal, std::nothrow_t) const {
    return raw()->table->sigwait(raw(), signals.raw(), &signal);
}

void system::thread_sigmask(int how, const sigset& signals) const {
    check("vrpsx::system::thread_sigmask", *this, thread_sigmask(how, signals, std::nothrow));
}
int system::thread_sigmask(int how, const sigset& signals, std::nothrow_t) const {
    return raw()->table->thread_sigmask(raw(), how, signals.raw(), /*old=*/nullptr);
}

raw::thread_id system::thread_create(raw::thread_entry entry, void* argument) const {
    raw::thread_id result = 0;
    check("vrpsx::system::thread_create", *this,
          thread_create(entry, argument, result, std::nothrow));
    return result;
}
int system::thread_create(raw::thread_entry entry, void* argument, raw::thread_id& result,
                          std::nothrow_t) const {
    return raw()->table->thread_create(raw(), &result, entry, argument);
}

int system::thread_join(raw::thread_id thread, std::nothrow_t) const {
    return raw()->table->thread_join(raw(), thread, /*result=*/nullptr);
}

mutex system::mutex_create() const {
    mutex result;
    const int code = mutex_create(result, std::nothrow);
    return checked("vrpsx::system::mutex_create", *this, code, result);
}
int system::mutex_create(mutex& result, std::nothrow_t) const {
    raw::mutex* stored = nullptr;
    const int code = raw()->table->mutex_create(raw(), &stored);
    take_result(result, stored);
    return code;
}

cond system::cond_create() const {
    cond result;
    const int code = cond_create(result, std::nothrow);
    return checked("vrpsx::system::cond_create", *this, code, result);
}
int system::cond_create(cond& result, std::nothrow_t) const {
    raw::cond* stored = nullptr;
    const int code = raw()->table->cond_create(raw(), &stored);
    take_result(result, stored);
    return code;
}

void system::symlink(const char* target, const char* path) const {
    check("vrpsx::system::symlink", *this, symlink(target, path, std::nothrow));
}
int system::symlink(const char* target, const char* path, std::nothrow_t) const {
    return raw()->table->symlink(raw(), target, path);
}

buffer_result system::readlink(const char* path, raw::allocator* buffers) const {
    buffer_result result;
    const int code = readlink(path, buffers, result, std::nothrow);
    return checked("vrpsx::system::readlink", *this, code, result);
}
int system::readlink(const char* path, raw::allocator* buffers, buffer_result& result,
                     std::nothrow_t) const {
    char* text = nullptr;
    int64_t more = 0;  // the entry requires it; the text is complete without it
    const int code = raw()->table->readlink(raw(), path, buffers, &text, &more);
    result = buffer_result(text, owner_of(buffers, raw()));
    return code;
}

void system::chdir(const char* path) const {
    check("vrpsx::system::chdir", *this, chdir(path, std::nothrow));
}
int system::chdir(const char* path, std::nothrow_t) const {
    return raw()->table->chdir(raw(), path);
}

int system::path_call(const char* path, std::nothrow_t) const {
    return raw()->table->path_call(raw(), path);
}

mount system::get_mounts() const {
    mount result;
    const int code = get_mounts(result, std::nothrow);
    return checked("vrpsx::system::get_mounts", *this, code, result);
}
int system::get_mounts(mount& result, std::nothrow_t) const {
    raw::mount* stored = nullptr;
    const int code = raw()->table->get_mounts(raw(), &stored);
    take_result(result, stored);
    return code;
}

raw::embedding* embedding::whole() const {
    // The embedding and its system are parts of one object.
    return reinterpret_cast<raw::embedding*>(reinterpret_cast<char*>(raw()) -
                                             offsetof(raw::embedding, system));
}

int embedding::internalize_pid(uint32_t external, raw::pid& result, std::nothrow_t) const {
    return whole()->table->internalize_pid(whole(), &external, sizeof external, &result);
}

int embedding::convert(path_entry entry, const char* path, raw::allocator* buffers,
                       buffer_result& result) const {
    char* text = nullptr;
    const int code = (whole()->table->*entry)(whole(), path, buffers, &text);
    result = buffer_result(text, owner_of(buffers, raw()));
    return code;
}

buffer_result embedding::convert(const char* context, path_entry entry, const char* path,
                                 raw::allocator* buffers) const {
    buffer_result result;
    const int code = convert(entry, path, buffers, result);
    return checked(context, *this, code, result);
}

buffer_result embedding::internalize_path(const char* path, raw::allocator* buffers) const {
    return convert("vrpsx::embedding::internalize_path", &raw::embedding_table::internalize_path,
                   path, buffers);
}
int embedding::internalize_path(const char* path, raw::allocator* buffers, buffer_result& result,
                                std::nothrow_t) const {
    return convert(&raw::embedding_table::internalize_path, path, buffers, result);
}

buffer_result embedding::externalize_path(const char* path, raw::allocator* buffers) const {
    return convert("vrpsx::embedding::externalize_path", &raw::embedding_table::externalize_path,
                   path, buffers);
}
int embedding::externalize_path(const char* path, raw::allocator* buffers, buffer_result& result,
                                std::nothrow_t) const {
    return convert(&raw::embedding_table::externalize_path, path, buffers, result);
}

buffer_result embedding::internalize_execution_path(const char* path,
                                                    raw::allocator* buffers) const {
    return convert("vrpsx::embedding::internalize_execution_path",
                   &raw::embedding_table::internalize_execution_path, path, buffers);
}
int embedding::internalize_execution_path(const char* path, raw::allocator* buffers,
                                          buffer_result& result, std::nothrow_t) const {
    return convert(&raw::embedding_table::internalize_execution_path, path, buffers, result);
}

buffer_result embedding::externalize_execution_path(const char* path,
                                                    raw::allocator* buffers) const {
    return convert("vrpsx::embedding::externalize_execution_path",
                   &raw::embedding_table::externalize_execution_path, path, buffers);
}
int embedding::externalize_execution_path(const char* path, raw::allocator* buffers,
                                          buffer_result& result, std::nothrow_t) const {
    return convert(&raw::embedding_table::externalize_execution_path, path, buffers, result);
}

}  // namespace vrpsx
