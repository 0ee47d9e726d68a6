#pragma once

// Asks a Cygwin installation what a POSIX name means. Cygwin's own programs answer; they are found
// as `Exec` finds any program, started one by one and waited for, in the current directory and with
// the environment of the process. All text is UTF-8.
//
// If a program can't be started or ends with an exit code other than 0, only the result shows it,
// and the program's output is dropped. A current directory that has become unusable throws
// NumberedRuntimeError with the code directoryNotEntered (environment-win.h).
//
// Any thread may call these functions. Use relative names only while no other thread starts a
// command: during a start, the process is in the command's directory.

#include <string>

/// @{
/// Returns what `cygpath` or `readlink` writes for `options` and `path`, without leading and
/// trailing blanks and line ends; empty on failure. Both arguments go into the command line
/// verbatim: the caller quotes.
[[nodiscard]] std::string runCygpath(const std::string& path, std::string options);
[[nodiscard]] std::string runReadlink(const std::string& path, std::string options);
/// @}

/// Makes `link` a Cygwin symbolic link to `target`, with `ln -s`. Both names are put in double
/// quotes and must not contain any. Returns whether `ln` succeeded.
[[nodiscard]] bool makeCygwinSymlink(const std::string& target, const std::string& link);

/// Returns the Windows file that a POSIX or Windows name means, with links followed and with its
/// suffix: ".exe", none, ".com", ".cmd" or ".bat", tried in this order. A link is a file with
/// ".lnk" after the name and suffix, and hides a file without ".lnk". After a link that can't be
/// read, the remaining suffixes are tried alone, without the name.
///
/// If the name doesn't begin with `/` (it may begin with a drive) and the file is below the current
/// directory, the result is relative.
///
/// The result is empty if there is no such file, if `cygpath` has no answer, or if the tenth file
/// in a chain is still a link, as in a loop. If a link's target begins at the root, that is the
/// root of the link's drive, unless Cygwin mode is on (see pathfun.h).
[[nodiscard]] std::string resolveCygwinPath(const std::string& name);
