#pragma once

// Standard input, output and error of a child process.

#include <string>

#include <windows.h>

#include "util/windows/exec-win.h"

/// The records that start a child, with its standard handles and the files that capture what it
/// writes. Closes all of them and removes those files when it ends; the child is not touched.
struct ChildStreams {
    ChildStreams();
    ~ChildStreams();
    ChildStreams(const ChildStreams&) = delete;
    ChildStreams& operator=(const ChildStreams&) = delete;

    /// Names the window station and the desktop of the calling thread for the child. Empty, or the
    /// failure, and then the child gets the default desktop.
    std::string findDesktop();
    /// Closes the streams, save those that are the caller's own, and removes the files. The object
    /// can be set up again.
    void close() noexcept;
    /// Keeps what other children are started from now on from getting the streams as well, which
    /// would hold the files open. Those that are the caller's own stay as they are.
    void endInheritance() noexcept;

    STARTUPINFOW mStartup;
    PROCESS_INFORMATION mProcess;
    std::string mOutputTemp;  ///< empty until the file is made
    std::string mErrorTemp;
    HANDLE mOutputTempHandle = INVALID_HANDLE_VALUE;
    HANDLE mErrorTempHandle = INVALID_HANDLE_VALUE;
    std::wstring mDesktop;
    SECURITY_ATTRIBUTES mInherit;
};

/// Opens the three streams that `runInfo` asks for. False, with the failure in `message`, if one
/// can't be opened; those opened by then are closed with `streams`. A file that another process
/// keeps for itself is tried for up to a minute.
///
/// True, and all the same a text in `message`, where the handle that both output streams share
/// can't be duplicated: the command then starts with one handle for the two.
bool setUpStreams(ChildStreams& streams, const Exec::RunInfo& runInfo, std::string& message);

/// Appends to `text` what a file holds from its start. Of one with over `maxBytes` bytes only the
/// first `keepBytes`, with a report in front that names `command` and `streamName`, and a line end
/// behind. False, with the failure in GetLastError (ERROR_HANDLE_EOF for a short read), if not
/// exactly so many bytes can be read: `text` then has what was read, and no line end. Files of 2 GB
/// and more are not handled: their size counts as what its lower 32 bits are as a signed number,
/// and a negative one fails (ERROR_FILE_TOO_LARGE).
bool readCapturedOutput(HANDLE file, int maxBytes, unsigned keepBytes, const char* command,
                        const char* streamName, std::string& text);
