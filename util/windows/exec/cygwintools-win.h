#pragma once

// Asks a Cygwin installation what a POSIX name means, by its own programs, found as `Exec` finds
// any: they are started one by one and waited for, in the current directory and with the
// environment of the process. All text is UTF-8. A program that can't be started or that ends with
// anything but 0 is told by the result alone, and what it wrote is dropped. A current directory
// that has become unusable throws NumberedRuntimeError, 5008. Any thread may call; relative names
// are for times when no other thread starts a command, whose directory the process has meanwhile.

#include <string>

/// What `cygpath` or `readlink` writes for `options` and `path`, without blanks and line ends at
/// both ends; empty on failure. Both stand in the line as they are: the caller quotes.
std::string runCygpath(const std::string& path, std::string options);
std::string runReadlink(const std::string& path, std::string options);

/// Makes `link` a Cygwin symbolic link to `target`, by `ln -s`. Both are put in double quotes and
/// must hold none.
bool makeCygwinSymlink(const std::string& target, const std::string& link);

/// The Windows file that a POSIX name, or one of Windows, means, with links followed and with the
/// suffix that it has: ".exe", none, ".com", ".cmd" or ".bat", tried in this order. A link is a
/// file with ".lnk" behind the name and suffix, and hides a file without. A name that doesn't
/// begin with `/`, one with a drive as well, gives a relative file if it lies below the current
/// directory. Behind a link that can't be read the suffixes that are left are looked for alone.
///
/// Empty if there is no such file, if `cygpath` has no answer, and where a tenth file in turn is
/// still a link, as in a loop. A path that a link names from the root is seen from the root of the
/// link's drive, unless Cygwin mode is on (see pathfun.h).
std::string resolveCygwinPath(const std::string& name);
