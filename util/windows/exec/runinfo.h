#pragma once

// What a caller tells `Exec::runCommand` about a command.

#include <cstdint>
#include <string>
#include <vector>

/// Where a command's standard output or standard error goes. Opening a stream with any other mode
/// fails.
using StreamMode = int32_t;
enum : StreamMode {
    streamOutput = 0,  ///< the caller's standard output, or the capture of it
    streamError = 1,   ///< the caller's standard error, or the capture of it
    streamFile = 2,    ///< the named file, emptied first
    streamAppend = 3,  ///< appended to the named file
};

/// A command and where its streams go; callers know it as `Exec::RunInfo`.
struct ExecRunInfo {
    /// The program file, used verbatim except that its double quotes are removed; it isn't searched
    /// for. If empty, the program is the first word of the command line.
    std::string mProgram;
    /// Exactly one text: the whole command line, quoted as the program expects it. With any other
    /// count, an assertion stops the process.
    std::vector<std::string> mDirectArgv;
    /// If not empty, its first text is the command line to start when the program can't be found or
    /// the streams can't be set up. `clearRedirections` is called before that.
    std::vector<std::string> mAlternateArgv;
    std::string mStdinFile;                 ///< empty: the command reads end-of-file at once
    std::string mStdoutFile;                ///< for streamFile and streamAppend
    std::string mStderrFile;                ///< for streamFile and streamAppend
    StreamMode mStdoutMode = streamOutput;  ///< of standard output
    StreamMode mStderrMode = streamError;   ///< of standard error
    /// A stream of streamError is treated as one of streamOutput, so that standard error goes where
    /// standard output does.
    bool mMergeOutput = false;
    /// Streams of streamOutput and streamError are captured and returned as text.
    bool mCaptureOutput = true;
    /// Treats the two texts as little-endian UTF-16 and converts them to UTF-8 if the run returns
    /// the exit code of the command. Only the command's own output survives this: the message of a
    /// failure, or the report of a cut, is garbled.
    bool mUtf16Output = false;
    /// The command is a Cygwin program, whose exit code reports signals.
    ///
    /// From version 1.7 of the connector on, a file with the system attribute is treated as a
    /// symbolic link and followed. A program that Windows can't find or start is tried once more,
    /// as a script or by its POSIX name. Both steps run Cygwin's own programs as commands, one by
    /// one, before the start. An abort doesn't reach these and takes effect after them. Their
    /// results are cached until `reset`: call that before a command in another directory.
    bool mCygwinCommand = false;

    /// Resets the five redirection fields to their defaults.
    void clearRedirections();
};
