#pragma once

// When `Exec` takes a command for stalled.

#include <cstdint>
#include <string>

/// What a stall rule watches, and what a stall leads to; bits.
using StallFlags = uint32_t;
enum : StallFlags {
    watchTime = 1,   ///< a change of the job's processor times is progress
    watchIo = 2,     ///< a change of the job's counts of I/O operations is progress
    reportOnly = 4,  ///< a stall is only reported, and the command goes on
};

/// Defines when a command counts as stalled; callers know it as `Exec::StallRule`. Starting with
/// the first command that matches a rule, all commands of the object run in a job ("job mode"),
/// until `reset`. A command that matches a rule of the current list is watched, unless the rule's
/// timeout is 0 or it has neither watchTime nor watchIo.
struct ExecStallRule {
    std::string mPattern;  ///< POSIX extended; matches the whole line, ignoring case
    /// Milliseconds without progress; in effect a multiple of 500. A negative value acts as 500.
    int32_t mTimeout = 0;
    StallFlags mFlags = 0;  ///< what is watched
};
