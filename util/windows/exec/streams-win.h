#pragma once

// Standard input, output and error of a child process.

#include <string>

#include <windows.h>

#include "util/windows/exec-win.h"

/// The records that start a child, with its standard handles and the files that capture its output.
/// The destructor closes the handles, except the caller's own streams, and removes the files; it
/// doesn't touch the child. The handles are plain ones: a start needs them in these records, and
/// some of them are the caller's own.
struct ChildStreams {
    ChildStreams();
    ~ChildStreams();
    ChildStreams(const ChildStreams&) = delete;
    ChildStreams& operator=(const ChildStreams&) = delete;

    /// Sets the child's desktop to the process's window station and the desktop of the calling
    /// thread. Returns an empty text, or the failure; the child then gets the default desktop.
    [[nodiscard]] std::string findDesktop();
    /// Closes the streams, except those that are the caller's own, and removes the files. The
    /// object can be set up again.
    void close() noexcept;
    /// Keeps children that are started from now on from inheriting the streams as well, which would
    /// hold the files open. The caller's own streams stay unchanged.
    void endInheritance() noexcept;

    STARTUPINFOW mStartup;                            ///< for CreateProcess
    PROCESS_INFORMATION mProcess;                     ///< filled by CreateProcess
    std::string mOutputTemp;                          ///< empty until the file is made
    std::string mErrorTemp;                           ///< empty until the file is made
    HANDLE mOutputTempHandle = INVALID_HANDLE_VALUE;  ///< not open without a file
    HANDLE mErrorTempHandle = INVALID_HANDLE_VALUE;   ///< not open without a file
    std::wstring mDesktop;                            ///< the name that `mStartup` refers to
    SECURITY_ATTRIBUTES mInherit;                     ///< makes a handle inheritable
};

/// Opens the three streams that `runInfo` asks for. Returns false, with the failure in `message`,
/// if one can't be opened; those already open are closed with `streams`. If another process holds a
/// file exclusively, the open is retried for up to a minute.
///
/// If both output streams share a handle that can't be duplicated, the function returns true, but
/// with the failure in `message`; the command then starts with one handle for both.
[[nodiscard]] bool setUpStreams(ChildStreams& streams, const Exec::RunInfo& runInfo,
                                std::string& message);

/// Appends the content of a file, from its start, to `text`. If the file has more than `maxBytes`
/// bytes, appends only the first `keepBytes`, with a report before them that names `command` and
/// `streamName`, and a line end after them.
///
/// Returns false, with the failure in GetLastError (ERROR_HANDLE_EOF for a short read), if exactly
/// this many bytes can't be read: `text` then has what was read, and no line end. Files of 2 GB and
/// more aren't supported: the size is taken from its lower 32 bits as a signed number, and a
/// negative size fails (ERROR_FILE_TOO_LARGE).
[[nodiscard]] bool readCapturedOutput(HANDLE file, int maxBytes, unsigned keepBytes,
                                      const char* command, const char* streamName,
                                      std::string& text);
