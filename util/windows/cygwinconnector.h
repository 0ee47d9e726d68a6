#pragma once

// The connection to a Cygwin side that lives in this process.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <boost/function.hpp>

#include "util/threadkey-pthreads.h"
#include "util/windows/posix/cygwinversion.h"
#include "util/windows/posix/vrpsxobjects-win.h"
#include "util/windows/vrpsxutilitycpp-win.h"

namespace cygwin {

/// Whether a Cygwin process started this one. Asked of the system once for the process; any thread
/// may call.
bool invoked_from_cygwin();

/// One place where the POSIX side mounts something.
struct mount_info {
    std::string device;  ///< with backslashes from version 1.7 on
    std::string type;
    std::string options;  ///< separated by commas
};

/// Longer texts first, those of one length by their bytes: so the first root that a path begins
/// with is the most specific one.
struct longer_first {
    bool operator()(const std::string& a, const std::string& b) const {
        return a.size() != b.size() ? a.size() > b.size() : a < b;
    }
};
/// By the root.
using mount_map = std::map<std::string, mount_info, longer_first>;

/// Holds an embedding, passes the signals that the POSIX side gets to handlers, and offers what is
/// needed to signal processes and to translate paths over there.
///
/// One thread owns it. The calls from `describe` on may be made by any thread; each thread
/// has a last error of its own. What throws, throws vrpsx::system_exception_t unless told
/// otherwise.
class connector {
public:
    using handler = boost::function<void(int signal)>;

    /// Adds a reference. Throws for a runtime whose release text has fewer than three numbers, with
    /// that text as context and the runtime's code for an invalid argument.
    explicit connector(const vrpsx::embedding& embedding);
    /// Stops the signal thread; what that throws goes to standard error. A thread that can't be
    /// stopped is left behind, and must not wake up any more. Throws for a lock that can't be
    /// disowned ("vrpsx::cond::disown", "vrpsx::mutex::disown"), unless an exception is unwinding
    /// already.
    ~connector() noexcept(false);
    connector(const connector&) = delete;
    connector& operator=(const connector&) = delete;

    /// An assertion stops the process if it is null.
    const vrpsx::embedding* embedding() const;

    /// Blocks the signals of these handlers and SIGUSR2 on the calling thread, for good, and starts
    /// a thread of the POSIX side that calls the handlers, one at a time and without a lock. Other
    /// threads that this side knows should block them, too: SIGUSR2 goes to the process, as a
    /// wake-up. Empty handlers are left out; one for SIGUSR2 stops the process by an assertion, as
    /// does a start while a thread is there. A handler of an earlier start stays, as do those of a
    /// start that throws. What a handler throws goes to standard error if it is a std::exception,
    /// and ends the process otherwise.
    void start_signal_thread(const std::map<int, handler>& handlers);
    /// Ends it and waits for it, up to ten times a quarter of a second; then it says so on standard
    /// error, the thread stays, and a later stop tries again. Not for handlers. Throws only if the
    /// lock can't be had or given back.
    void stop_signal_thread();

    /// Ends the process as the signal would, so that a POSIX parent sees it: stops the signal
    /// thread, and raises the signal with its default disposition, 32 times in 3.2 seconds. If the
    /// process is still there, it exits with the code, with a line on standard error. The signal
    /// `no_signal` exits at once. Nothing is taken from the heap unless something fails. What fails
    /// behind the stop throws, and the process goes on.
    [[noreturn]] void exit_with_signal(int exitCode, uint32_t signal);
    static constexpr uint32_t no_signal = 0x80000000;

    // Of these only those that return text throw, std::bad_alloc. Each that fails leaves the
    // runtime's error code for `last_error`.

    /// "version 1.7.35." and a line end; for a process that Cygwin started, "Invoked from a cygwin
    /// process" follows, with the record's magic unless it is known, and a full stop. Doesn't fail,
    /// and leaves the last error alone.
    std::string describe() const;
    /// The POSIX pid of a process of Windows, or -1.
    int64_t internalize_pid(uint32_t windowsPid) const;
    /// Sets the last error in any case. What a failure returns is the runtime's: -1.
    int64_t getpgid(int64_t pid) const;
    /// 0 or -1, and the last error is set in any case. A negative `pid` is a process group.
    int kill(int64_t pid, int signal) const;
    /// The last error of this thread; 0 if there was none.
    int last_error() const;
    std::string error_text(int code) const;
    std::string strsignal(int signal) const;
    /// The call of the runtime that has no name. 0 or -1.
    int path_call(const std::string& path) const;

    // Paths end at a NUL. "Internal" is the form of the POSIX side, "external" that of Windows; the
    // `execution` pair is for paths of programs. A path that the other side leaves alone comes back
    // as it was.
    std::string internalize_path(const std::string& path) const;
    std::string externalize_path(const std::string& path) const;
    std::string internalize_execution_path(const std::string& path) const;
    std::string externalize_execution_path(const std::string& path) const;
    /// As the link has it; nothing is resolved.
    std::string readlink(const std::string& path) const;
    void symlink(const std::string& target, const std::string& path) const;
    void chdir(const std::string& path) const;
    /// Reads the mounts anew, without the prefix of drives. What `mounts` held goes; after a throw
    /// it has some of them. Of two with the same root the later one's device and type count, and
    /// both ones' options.
    void get_mounts(mount_map& mounts) const;
    /// The folder that holds the drives. Throws "cygdrive missing", with the runtime's code for a
    /// missing entry, if there is none.
    void cygdrive(std::string& prefix) const;

    const runtime_version& version() const { return _version; }

private:
    using convert_path = vrpsx::buffer_result (vrpsx::embedding::*)(const char*,
                                                                    vrpsx::raw::allocator*) const;

    static void* run_signal_thread(void* self) noexcept;
    void receive_signals();
    bool end_if_stopped();
    void tell_end();
    void handle_signals(int signal);
    void wait_for_end();
    void raise(int signal) const;
    int* error_slot() const noexcept;
    void set_error(int code) const noexcept;
    std::string convert(convert_path conversion, const std::string& path) const;

    vrpsx::embedding _embedding;
    mutable ThreadKey _errno;
    vrpsx::mutex _mutex;  ///< guards the three below
    vrpsx::cond _cond;    ///< tells that the signal thread has ended
    std::optional<vrpsx::raw::thread_id> _signal_thread;
    bool _is_running = false;
    bool _has_finished = true;
    std::map<int, handler> _handlers;  ///< constant while the thread is there
    runtime_version _version;
};

}  // namespace cygwin
