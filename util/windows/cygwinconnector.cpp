#include "util/windows/cygwinconnector.h"

#include <atomic>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <span>

#include <windows.h>

#include "util/assertion.h"
#include "util/cygwinchildinfo.h"

namespace cygwin {

namespace {

std::optional<uint32_t> parents_magic() {
    STARTUPINFOA info = {};
    GetStartupInfoA(&info);
    return child_info_magic(std::span<const unsigned char>(
        info.lpReserved2, info.lpReserved2 == nullptr ? 0 : info.cbReserved2));
}

void delete_error(void* error) { delete static_cast<int*>(error); }

/// Moves a time of the realtime clock forward by so many nanoseconds.
void add(vrpsx::raw::time& time, int64_t nanoseconds) {
    constexpr int64_t second = 1'000'000'000;
    time.nanoseconds += nanoseconds;
    if (time.nanoseconds >= second) {
        time.nanoseconds -= second;
        ++time.seconds;
    }
}

}  // namespace

bool invoked_from_cygwin() {
    static std::atomic<int> known{0};
    int answer = known.load(std::memory_order_relaxed);
    if (answer == 0) {
        const int found = parents_magic() ? 1 : -1;
        // The first thread decides; for any other, `answer` becomes the stored value.
        if (known.compare_exchange_strong(answer, found)) {
            answer = found;
        }
    }
    return answer > 0;
}

connector::connector(const vrpsx::embedding& embedding)
    : _embedding(embedding), _last_error(&delete_error) {
    const vrpsx::uname_result uname = _embedding.uname();
    const std::optional<runtime_version> version = parse_release(uname.release_text());
    if (!version) {
        throw vrpsx::system_exception_t(uname.release_text(), _embedding,
                                        _embedding.invalid_argument());
    }
    _version = *version;
    _mutex = _embedding.mutex_create();
    _cond = _embedding.cond_create();
}

// The destructors of the fields do the rest, from the last field to the first.
connector::~connector() noexcept(false) {
    try {
        stop_signal_thread();
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
    }
    // Deleting the key doesn't free values.
    delete_error(_last_error.get());
    _last_error.set(nullptr);
}

const vrpsx::embedding* connector::embedding() const {
    NB_ASSERT(!_embedding.is_null());
    return &_embedding;
}

void connector::start_signal_thread(const std::map<int, handler>& handlers) {
    vrpsx::with_sigset(_embedding, [&](const vrpsx::sigset& signals) {
        const vrpsx::mutex::scoped_lock lock(_mutex);
        NB_ASSERT_AS(!_signal_thread, "! _signal_thread");
        for (const auto& [signal, handle] : handlers) {
            if (handle.empty()) {
                continue;
            }
            NB_ASSERT_AS(signal != embedding()->sigusr2(), "p.first != embedding()->sigusr2()");
            signals.add(signal);
            _handlers.emplace(signal, handle);
        }
        signals.add(_embedding.sigusr2());
        // Before the thread exists, so that it starts with this mask.
        _embedding.thread_sigmask(_embedding.block_signals(), signals);
        _is_running = true;
        _has_finished = false;
        _signal_thread = _embedding.thread_create(&run_signal_thread, this);
    });
}

// Nothing may be thrown into the other side, which called this function. If locking fails in the
// handler below, the process ends.
void* connector::run_signal_thread(void* self) noexcept {
    auto& that = *static_cast<connector*>(self);
    try {
        that.receive_signals();
    } catch (const std::exception& e) {
        std::cerr << "exception in VRPSX signal handling: " << e.what() << '\n';
        const vrpsx::mutex::scoped_lock lock(that._mutex);
        that.announce_end();
    }
    return nullptr;
}

void connector::receive_signals() {
    vrpsx::with_sigset(_embedding, [this](const vrpsx::sigset& signals) {
        for (const auto& [signal, handle] : _handlers) {
            NB_ASSERT_AS(handle, "p.second");
            signals.add(signal);
        }
        signals.add(_embedding.sigusr2());
        while (!end_if_stopped()) {
            int signal = 0;
            const int code = _embedding.sigwait(signals, signal, std::nothrow);
            if (code != 0) {
                vrpsx::report("vrpsx::system::sigwait", _embedding, code);
            } else if (signal != _embedding.sigusr2()) {  // which only wakes this thread up
                handle_signals(signal);
            }
        }
    });
}

bool connector::end_if_stopped() {
    const vrpsx::mutex::scoped_lock lock(_mutex);
    if (_is_running) {
        return false;
    }
    announce_end();
    return true;
}

void connector::announce_end() {
    _has_finished = true;
    if (const int code = _cond.broadcast(std::nothrow)) {
        vrpsx::report("vrpsx::cond::broadcast", _embedding, code);
    }
}

void connector::handle_signals(int signal) {
    try {
        const auto found = _handlers.find(signal);
        // A copy, so that the call doesn't depend on the map.
        const handler call = found == _handlers.end() ? handler() : found->second;
        if (call.empty()) {
            std::cerr << "No handler for signal " << signal << " (" << strsignal(signal) << ")\n";
        } else {
            call(signal);
        }
    } catch (const std::exception& e) {
        std::cerr << "cygwin::connector::handle_signals caught " << e.what() << "!\n";
    }
}

void connector::stop_signal_thread() {
    const vrpsx::mutex::scoped_lock lock(_mutex);
    if (!_signal_thread) {
        return;
    }
    _is_running = false;
    constexpr int waits = 10;
    for (int i = 0; i < waits && !_has_finished; ++i) {
        wait_for_end();
    }
    if (!_has_finished) {
        std::cerr << "Giving up on signal handling thread.\n";
        return;
    }
    const int code = _embedding.thread_join(*_signal_thread, std::nothrow);
    _signal_thread.reset();
    if (code != 0) {
        vrpsx::report("vrpsx::system::thread_join", _embedding, code);
    }
}

void connector::wait_for_end() {
    if (const int code = _embedding.kill(_embedding.getpid(), _embedding.sigusr2(), std::nothrow)) {
        vrpsx::report("vrpsx::system::raise(sigusr2)", _embedding, code);
    }
    vrpsx::raw::time deadline = {0, 0};
    if (const int code =
            _embedding.clock_gettime(_embedding.realtime_clock(), deadline, std::nothrow)) {
        vrpsx::report("vrpsx::system::clock_gettime", _embedding, code);
        deadline = {0, 0};
    } else {
        constexpr int64_t quarter = 250'000'000;
        add(deadline, quarter);
    }
    const int code = _cond.timedwait(_mutex, deadline, std::nothrow);
    if (code != 0 && code != _embedding.timed_out()) {
        vrpsx::report("vrpsx::cond::timedwait", _embedding, code);
    }
}

void connector::exit_with_signal(int exitCode, uint32_t signal) {
    try {
        stop_signal_thread();
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
    }
    if (signal != no_signal) {
        raise(static_cast<int>(signal));
        std::cerr << "Failed to raise signal " << signal << "; instead exiting with code "
                  << exitCode << '\n';
    }
    _embedding.exit(exitCode);
}

void connector::raise(int signal) const {
    vrpsx::with_sigaction(_embedding, [&](const vrpsx::sigaction& action) {
        action.set_handler(_embedding.default_disposition());
        _embedding.sigaction(signal, action);
    });
    vrpsx::with_sigset(_embedding, [&](const vrpsx::sigset& signals) {
        signals.add(signal);
        _embedding.thread_sigmask(_embedding.unblock_signals(), signals);
    });
    constexpr int attempts = 32;
    constexpr int64_t tenth = 100'000'000;  // nanoseconds
    for (int i = 0; i < attempts; ++i) {
        _embedding.kill(_embedding.getpid(), signal);
        SwitchToThread();
        _embedding.nanosleep({0, tenth});
    }
}

std::string connector::describe() const {
    std::string text = "version ";
    text.append(version_text(_version)).append(".\n");
    const std::optional<uint32_t> magic = parents_magic();
    if (!magic) {
        return text;
    }
    text.append("Invoked from a cygwin process");
    if (!is_known_magic(*magic)) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "0x%x", static_cast<unsigned>(*magic));
        text.append(" with unknown CHILD_INFO_MAGIC ").append(digits);
    }
    return text.append(".");
}

int* connector::error_slot() const noexcept {
    auto* error = static_cast<int*>(_last_error.get());
    if (error == nullptr) {
        error = new (std::nothrow) int(0);  // owned by the key
        _last_error.set(error);
    }
    return error;
}

void connector::set_error(int code) const noexcept {
    // Without memory for it, the code is lost.
    if (int* const error = error_slot()) {
        *error = code;
    }
}

int64_t connector::internalize_pid(uint32_t windowsPid) const {
    int64_t pid = callFailed;
    if (const int code = _embedding.internalize_pid(windowsPid, pid, std::nothrow)) {
        set_error(code);
        return callFailed;
    }
    return pid;
}

int64_t connector::getpgid(int64_t pid) const {
    int64_t group = callFailed;  // in case the runtime stores none
    set_error(_embedding.getpgid(pid, group, std::nothrow));
    return group;
}

CallResult connector::kill(int64_t pid, int signal) const {
    const int code = _embedding.kill(pid, signal, std::nothrow);
    set_error(code);
    return code == 0 ? callSucceeded : callFailed;
}

int connector::last_error() const {
    const int* const error = error_slot();
    return error == nullptr ? 0 : *error;
}

std::string connector::error_text(int code) const { return _embedding.error_text(code); }

std::string connector::strsignal(int signal) const { return _embedding.strsignal(signal); }

CallResult connector::path_call(const std::string& path) const {
    if (const int code = _embedding.path_call(path.c_str(), std::nothrow)) {
        set_error(code);
        return callFailed;
    }
    return callSucceeded;
}

}  // namespace cygwin
