#pragma once

// The connection to a Cygwin runtime in this process.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <boost/function.hpp>

#include "util/cygwinversion.h"
#include "util/threadannotations.h"
#include "util/threadkey-pthreads.h"
#include "util/windows/callresult.h"
#include "util/windows/posix/vrpsxobjects-win.h"
#include "util/windows/vrpsxutilitycpp-win.h"

/// Cygwin as a POSIX runtime.
namespace cygwin {

/// Returns whether a Cygwin process started this one. The system is asked only once per process;
/// any thread may call.
[[nodiscard]] bool invoked_from_cygwin();

/// A mount of the POSIX side.
struct mount_info {
    std::string device;   ///< with backslashes from version 1.7 on
    std::string type;     ///< as the runtime names it
    std::string options;  ///< separated by commas
};

/// Orders longer texts first, and texts of the same length by their bytes. The first root that a
/// path begins with is therefore the most specific one.
struct longer_first {
    /// Returns whether `a` comes first.
    bool operator()(const std::string& a, const std::string& b) const {
        return a.size() != b.size() ? a.size() > b.size() : a < b;
    }
};
/// The key is the root.
using mount_map = std::map<std::string, mount_info, longer_first>;

/// Holds an embedding, passes the signals of the POSIX side to handlers, and offers the functions
/// needed to signal its processes and to translate its paths.
///
/// One thread owns it. The functions from `describe` on may be called by any thread; each thread
/// has its own last error. Functions that throw, throw vrpsx::system_exception_t unless documented
/// otherwise.
class connector {
public:
    /// Called on the signal thread.
    using handler = boost::function<void(int signal)>;

    /// Adds a reference. Throws if the runtime's release text has fewer than three numbers; the
    /// exception has that text as context and the runtime's code for an invalid argument.
    explicit connector(const vrpsx::embedding& embedding);
    /// Stops the signal thread; an exception from that goes to standard error. A thread that can't
    /// be stopped keeps running; if it wakes up later, it uses the destroyed object. Throws if a
    /// lock can't be disowned ("vrpsx::cond::disown", "vrpsx::mutex::disown"), unless an exception
    /// is already unwinding.
    ~connector() noexcept(false);
    connector(const connector&) = delete;
    connector& operator=(const connector&) = delete;

    /// Never null: without an embedding, an assertion stops the process.
    [[nodiscard]] const vrpsx::embedding* embedding() const;

    /// Starts a thread of the POSIX side that calls the handlers, one at a time and without a lock.
    /// Blocks the signals of these handlers and SIGUSR2 permanently on the calling thread. Other
    /// threads known to the POSIX side should block them, too, because SIGUSR2 is sent to the
    /// process as a wake-up.
    ///
    /// Empty handlers are ignored. An assertion stops the process if there is a handler for
    /// SIGUSR2, or if a thread already exists. Handlers of an earlier start remain, even if that
    /// start threw. If a handler throws a std::exception, it goes to standard error; any other
    /// exception ends the process.
    void start_signal_thread(const std::map<int, handler>& handlers) NB_EXCLUDES(_mutex);
    /// Ends the thread and waits for it, up to ten times a quarter of a second. If it doesn't end,
    /// a message goes to standard error, the thread stays, and a later stop tries again. Handlers
    /// must not call this. Throws only if the lock can't be acquired or released.
    void stop_signal_thread() NB_EXCLUDES(_mutex);

    /// Ends the process as the signal would, so that a POSIX parent sees it: stops the signal
    /// thread, then raises the signal with its default disposition, 32 times in 3.2 seconds. If the
    /// process is still running, it exits with `exitCode`, after a line on standard error. With the
    /// signal `no_signal` it exits at once. Uses the heap only if something fails. A failure after
    /// the stop throws, and the process goes on.
    [[noreturn]] void exit_with_signal(int exitCode, uint32_t signal);
    static constexpr uint32_t no_signal = 0x80000000;  ///< a value that no signal has

    // Of the following functions, only those that return text throw: std::bad_alloc. Each function
    // that fails stores the runtime's error code for `last_error`.

    /// Returns "version 1.7.35." and a line end. If Cygwin started this process, "Invoked from a
    /// cygwin process" follows, then the record's magic unless it is known, and a full stop.
    /// Doesn't fail, and leaves the last error unchanged.
    [[nodiscard]] std::string describe() const;
    /// Returns the POSIX pid of a Windows process, or callFailed.
    [[nodiscard]] int64_t internalize_pid(uint32_t windowsPid) const;
    /// Always sets the last error. On failure it returns what the runtime stores: callFailed.
    [[nodiscard]] int64_t getpgid(int64_t pid) const;
    /// Always sets the last error. A negative `pid` is a process group.
    [[nodiscard]] CallResult kill(int64_t pid, int signal) const;
    /// Returns the last error of this thread; 0 if there was none.
    [[nodiscard]] int last_error() const;
    /// Returns the runtime's message for an error code; empty if there is none.
    [[nodiscard]] std::string error_text(int code) const;
    /// Returns the runtime's name of a signal; empty if there is none.
    [[nodiscard]] std::string strsignal(int signal) const;
    /// Calls the function of the runtime that has no name.
    [[nodiscard]] CallResult path_call(const std::string& path) const;

    /// @name Paths
    /// They end at the first NUL. "Internal" is the form of the POSIX side, "external" the form of
    /// Windows; the `execution` pair is for paths of programs. A path that the other side leaves
    /// alone is returned unchanged. Unlike the functions above, these throw on failure.
    /// @{
    /// Translates a path to its internal form.
    [[nodiscard]] std::string internalize_path(const std::string& path) const;
    /// Translates a path to its external form.
    [[nodiscard]] std::string externalize_path(const std::string& path) const;
    /// Translates the path of a program to its internal form.
    [[nodiscard]] std::string internalize_execution_path(const std::string& path) const;
    /// Translates the path of a program to its external form.
    [[nodiscard]] std::string externalize_execution_path(const std::string& path) const;
    /// Returns the target as stored in the link; nothing is resolved.
    [[nodiscard]] std::string readlink(const std::string& path) const;
    /// Makes `path` a symbolic link whose text is `target`, unchanged.
    void symlink(const std::string& target, const std::string& path) const;
    /// Changes the current directory of the POSIX side.
    void chdir(const std::string& path) const;
    /// Replaces the content of `mounts` by the current mounts, without the prefix of drives. After
    /// an exception, `mounts` has some of them. If two mounts have the same root, the device and
    /// type of the later one are used, and the options of both.
    void get_mounts(mount_map& mounts) const;
    /// Stores the folder that holds the drives. Throws "cygdrive missing", with the runtime's code
    /// for a missing entry, if there is none.
    void cygdrive(std::string& prefix) const;
    /// @}

    /// Returns the release of the runtime.
    [[nodiscard]] const runtime_version& version() const { return _version; }

private:
    using convert_path = vrpsx::buffer_result (vrpsx::embedding::*)(const char*,
                                                                    vrpsx::raw::allocator*) const;

    static void* run_signal_thread(void* self) noexcept;
    void receive_signals();
    [[nodiscard]] bool end_if_stopped() NB_EXCLUDES(_mutex);
    void announce_end() NB_REQUIRES(_mutex);
    void handle_signals(int signal);
    void wait_for_end() NB_REQUIRES(_mutex);
    void raise(int signal) const;
    [[nodiscard]] int* error_slot() const noexcept;
    void set_error(int code) const noexcept;
    [[nodiscard]] std::string convert(convert_path conversion, const std::string& path) const;

    vrpsx::embedding _embedding;
    mutable ThreadKey _last_error;
    vrpsx::mutex _mutex;
    vrpsx::cond _cond;  ///< signals that the signal thread has ended
    std::optional<vrpsx::raw::thread_id> _signal_thread NB_GUARDED_BY(_mutex);
    bool _is_running NB_GUARDED_BY(_mutex) = false;
    bool _has_finished NB_GUARDED_BY(_mutex) = true;
    std::map<int, handler> _handlers;  ///< constant while the thread exists
    runtime_version _version;
};

}  // namespace cygwin
